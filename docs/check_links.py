#!/usr/bin/env python3
"""Checks the links that lead to files here: check_links.py SOURCE [BUILT]

SOURCE is the repository: every relative link of its Markdown pages leads to a file. BUILT is the
folder of the built manual: every link leads to a page and an anchor that exist.
"""
import html.parser
import pathlib
import re
import sys
import urllib.parse


def markdown_links(source):
    pages = [*source.glob("*.md"), *source.glob("docs/*.md"), *source.glob("bench/*.md")]
    for page in pages:
        text = re.sub(r"```.*?```", "", page.read_text(), flags=re.S)
        for link in re.findall(r"\]\(([^)\s]+)\)", text):
            if not re.match(r"[a-z]+:|#", link):
                if not (page.parent / link.partition("#")[0]).exists():
                    yield f"{page}: {link}"


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text(errors="replace"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name == "id" or (tag == "a" and name == "name"):
                self.anchors.add(value)
            elif name in ("href", "src", "data") and value:
                self.links.append(value)


def html_links(built):
    pages = {path.name: Page(path) for path in built.glob("*.html")}
    if "index.html" not in pages:
        yield f"{built}: no manual"
    for name, page in pages.items():
        for link in page.links:
            target = urllib.parse.urlsplit(link)
            if target.scheme or target.netloc:
                continue
            path = urllib.parse.unquote(target.path) or name
            anchor = urllib.parse.unquote(target.fragment)
            if not (built / path).exists():
                yield f"{name}: {link}"
            elif anchor and path in pages and anchor not in pages[path].anchors:
                yield f"{name}: {link}: no such anchor"


broken = list(markdown_links(pathlib.Path(sys.argv[1])))
if len(sys.argv) > 2:
    broken += html_links(pathlib.Path(sys.argv[2]))
print("\n".join(sorted(set(broken))) or "all links lead somewhere")
sys.exit(1 if broken else 0)
