#!/usr/bin/env python3
"""Takes pictures of the chat page in a browser: pictures.py HOST DIRECTORY

HOST is the built chat program. The pictures show the page before joining, in an empty room and in a
conversation, at two widths and in both themes: chat_STATE_WIDTH_THEME.png. Needs chromium and
chromedriver.
"""
import base64
import json
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.parse
import urllib.request

HOST, DIRECTORY = sys.argv[1], pathlib.Path(sys.argv[2])


class Browser:
    def __init__(self, profile):
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True)
        port = next(found[1] for line in self.driver.stdout
                    if (found := re.search(r"started successfully on port (\d+)", line)))
        self.base = f"http://127.0.0.1:{port}/session"
        arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--hide-scrollbars", f"--user-data-dir={profile}"]
        answer = self.ask("", {"capabilities": {"alwaysMatch": {
            "goog:chromeOptions": {"args": arguments}}}})
        self.base += "/" + answer["sessionId"]
        self.ask("/timeouts", {"script": 20000})

    def ask(self, path, fields=None, method=None):
        data = None if fields is None else json.dumps(fields).encode()
        request = urllib.request.Request(self.base + path, data, method=method)
        with urllib.request.urlopen(request, timeout=60) as answer:
            return json.load(answer)["value"]

    def devtools(self, command, **parameters):
        self.ask("/goog/cdp/execute", {"cmd": command, "params": parameters})

    def type_into(self, selector, text):
        element = self.ask("/element", {"using": "css selector", "value": selector})
        self.ask(f"/element/{next(iter(element.values()))}/value", {"text": text + "\ue007"})

    def wait_for(self, text):
        self.ask("/execute/async", {"args": [text], "script": """
            const [text, done] = arguments;
            const look = () => document.body.innerText.includes(text) && done(true);
            new MutationObserver(look).observe(document.body, {subtree: true, childList: true});
            look();"""})

    def close(self):
        self.ask("", method="DELETE")
        self.driver.terminate()
        self.driver.wait()


def pictures(browser, state):
    for width, height in ((1000, 620), (390, 700)):
        for theme in ("light", "dark"):
            browser.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                             deviceScaleFactor=1, mobile=width < 500)
            browser.devtools("Emulation.setEmulatedMedia",
                             features=[{"name": "prefers-color-scheme", "value": theme}])
            picture = base64.b64decode(browser.ask("/screenshot"))
            (DIRECTORY / f"chat_{state}_{width}_{theme}.png").write_bytes(picture)


def post(url, path, **fields):
    data = urllib.parse.urlencode(fields).encode()
    with urllib.request.urlopen(url + path, data, timeout=20) as answer:
        return json.load(answer)


def main():
    with tempfile.TemporaryDirectory() as profile:
        words = pathlib.Path(profile) / "words"
        words.write_text("rude\n")
        port = 18080
        url = f"http://127.0.0.1:{port}"
        host = subprocess.Popen([HOST, "--port", str(port), "--words", str(words)],
                                stdout=subprocess.PIPE, text=True)
        if not host.stdout.readline():
            sys.exit("the host does not start")
        browser = Browser(profile)
        try:
            browser.ask("/url", {"url": url + "/"})
            pictures(browser, "outside")
            browser.type_into("#name", "eve")
            browser.wait_for("Nobody else is here yet")
            pictures(browser, "empty")
            token = post(url, "/join", name="ann")["token"]
            browser.wait_for("ann joined")
            post(url, "/say", token=token, text="hello! I am on a terminal")
            browser.type_into("#text", "and I am in a browser")
            browser.wait_for("in a browser")
            post(url, "/say", token=token, text="how r-u-d-e of me not to say so")
            browser.wait_for("marked")
            pictures(browser, "talk")
        finally:
            browser.close()
            host.terminate()
            host.wait()


main()
