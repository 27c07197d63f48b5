#!/usr/bin/env python3
"""fetch.py against a server of Python's own: fetch_test.py LIBRARY"""
import http.server
import os
import pathlib
import subprocess
import sys
import threading
import unittest

PROGRAM = pathlib.Path(__file__).parent.parent / "fetch.py"
LIBRARY = os.path.abspath(sys.argv.pop(1))


class Answers(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        if self.path == "/hangs-up":
            return
        self.send_response(404 if self.path == "/gone" else 200)
        body = b"x" * 100_000
        if self.path == "/until-close":
            self.send_header("Connection", "close")
        else:
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *arguments):
        pass


def fetch(*arguments):
    done = subprocess.run([sys.executable, PROGRAM, *arguments], capture_output=True, text=True,
                          timeout=60,
                          env={**os.environ, "KIV_BASE_LIBRARY": LIBRARY,
                               "PYTHONDONTWRITEBYTECODE": "1"})
    return done.returncode, done.stdout.splitlines()


class FetchTest(unittest.TestCase):
    def test_status_and_length(self):
        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answers) as server:
            threading.Thread(target=server.serve_forever).start()
            url = f"http://127.0.0.1:{server.server_port}"
            self.assertEqual(fetch(url + "/there"), (0, ["200 OK, 100000 bytes"]))
            self.assertEqual(fetch(url + "/gone"), (0, ["404 Not Found, 100000 bytes"]))
            self.assertEqual(fetch(url + "/until-close"), (0, ["200 OK, 100000 bytes"]))
            self.assertEqual(fetch(url + "/hangs-up"), (1, []))
            server.shutdown()
        self.assertEqual(fetch(url + "/there"), (1, []))
        self.assertEqual(fetch("ftp://h/")[0], 1)
        self.assertEqual(fetch()[0], 2)

    def test_parts(self):
        self.assertEqual(fetch("--parts", "http://ann@h.example:81/a%20b?c=d#e"), (0, [
            "uri: http://ann@h.example:81/a%20b?c=d#e", "scheme: http", "user: ann",
            "host: h.example", "port: 81", "path: /a b", "query: c=d", "fragment: e"]))
        self.assertEqual(fetch("--parts", "http://[")[0], 1)


unittest.main()
