#!/usr/bin/env python3
"""Fetches a URL through kiv_base, and parses URIs.

    fetch.py URL            one line: the status and the length of the body
    fetch.py --parts URI    the parts of a URI, one per line

Exit status 0 on success, 1 on failure, 2 for a wrong command line.
"""
import signal
import sys

import kiv_base
from kiv_base import lib

TIME_LIMIT_MS = 60_000


class Fetch:
    """One exchange. The callbacks are members, so that they live as long as it does."""

    def __init__(self):
        self.status = None
        self.length = 0
        self.is_complete = False
        self.box = lib.kiv_box_new()
        self.request = lib.kiv_http_request_make()
        self.on_end = kiv_base.SocketCallback(lambda user, box, socket: self.end(False))
        # A body without a length of its own ends with the connection.
        self.on_close = kiv_base.SocketCallback(
            lambda user, box, socket: self.end(self.status is not None and self.lasts_until_close))
        self.on_time_limit = kiv_base.TimerCallback(lambda box, user, timer, times: self.end(False))
        self.on_response = kiv_base.ResponseCallback(self.respond)
        self.lasts_until_close = False

    def respond(self, user, box, socket, url, table, body, status):
        self.status = lib.kiv_http_table_GetStatus(table).decode(errors="replace")
        self.length += lib.zu_jitter_GetLen(body)
        self.lasts_until_close = status == kiv_base.HTTP_UNTIL_CLOSE
        if status == kiv_base.HTTP_COMPLETE:
            self.end(True)

    def end(self, is_complete):
        self.is_complete = is_complete
        lib.kiv_box_BreakLoop(self.box)

    def run(self, url):
        if self.box is None or self.request is None:
            return False
        lib.kiv_http_request_SetField(self.request, b"Connection", b"close")
        if lib.kiv_http_request_attach(self.box, 0, self.request, url.encode(), None, None,
                                       self.on_end, None, self.on_response, None, self.on_close,
                                       None) != 1:
            lib.kiv_box_free(self.box)  # the request has been freed
            return False
        lib.kiv_box_NewOnceTimer(self.box, TIME_LIMIT_MS, self.on_time_limit, None)
        lib.kiv_box_loop(self.box)  # frees the box
        lib.kiv_http_request_free(self.request)
        return self.is_complete


def show_parts(text):
    uri = lib.kiv_uri_malloc(text.encode())
    if uri is None:
        return False
    print("uri:", kiv_base.new_text(lib.kiv_uri_GetURIString(uri)))
    for name in ("Scheme", "User", "Host", "Port", "Path", "Query", "Fragment"):
        value = getattr(lib, "kiv_uri_Get" + name)(uri)
        if value:
            print(f"{name.lower()}:", value.decode(errors="replace") if name != "Port" else value)
    lib.kiv_uri_free(uri)
    return True


def main(arguments):
    signal.signal(signal.SIGINT, signal.SIG_DFL)  # no Python runs while the loop waits
    if len(arguments) == 2 and arguments[0] == "--parts":
        return 0 if show_parts(arguments[1]) else 1
    if len(arguments) != 1 or arguments[0].startswith("-"):
        print("usage: fetch.py URL | fetch.py --parts URI", file=sys.stderr)
        return 2
    fetch = Fetch()
    if not fetch.run(arguments[0]):
        print("fetch.py: no answer, or not all of it", file=sys.stderr)
        return 1
    print(f"{fetch.status}, {fetch.length} bytes")
    return 0


sys.exit(main(sys.argv[1:]))
