#!/usr/bin/env python3
"""Joins the manual into one Markdown page for pandoc: single_page.py SOURCE OUTPUT

SOURCE is the repository. The pages come in the order of docs/Doxyfile.in; the reference is the
headers as they are.
"""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
docs = source / "docs"
order = re.findall(r"@PROJECT_SOURCE_DIR@/(docs/[\w/]+\.md)", (docs / "Doxyfile.in").read_text())
pages = [source / path for path in dict.fromkeys(order)]
headers = [source / "include/kiv_base" / f"{name}.h" for name in
           ("export", "base", "containers", "event", "protocol", "http", "system")]
titles = {}
for page in pages:
    for title, name in re.findall(r"^#+ (.*?) \{#(\w+)\}$", page.read_text(), flags=re.M):
        titles[name] = title
stems = [header.stem for header in headers]


def fenced(path, language):
    return f"```{language}\n{path.read_text()}```\n"


def included(match):
    path = next(folder / match[2] for folder in (docs / "samples", source / "include/kiv_base")
                if (folder / match[2]).exists())
    return fenced(path, "" if match[1] == "verbinclude" else "cpp")


def link(match):
    name, text = match.groups()
    return f"[{text or titles[name]}](#{'header_' if name in stems else ''}{name})"


def converted(page):
    text = re.sub(r"^@(include|verbinclude) (\S+)$", included, page.read_text(), flags=re.M)
    text = re.sub(r'@ref (\w+)(?: "([^"]*)")?', link, text)
    text = re.sub(r'<img class="picture" src="([^"]*)"[^>]*alt="([^"]*)"/>', r"![\2](\1)", text)
    text = re.sub(r'<a href="(?:modules|globals)\.html">(.*?)</a>', r"[\1](#reference)", text)
    return text.replace("~~~{.c}", "~~~c")


parts = [converted(page) for page in pages if page.name != "cpp_reference.md"]
parts.append("# Reference {#reference}\n\nThe headers as they are.\n")
parts += [f"## {header.name} {{#header_{header.stem}}}\n\n{fenced(header, 'c')}" for header in headers]
parts.append(converted(docs / "manual/cpp_reference.md"))
pathlib.Path(sys.argv[2]).write_text("\n\n".join(parts))
