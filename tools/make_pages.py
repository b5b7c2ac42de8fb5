#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Turns the documents into web pages, for systems where a double click does not open Markdown: README.md
and its neighbours, and all of docs/, in the same folders as there, so that pictures and links between
them keep working. Needs cmark-gfm. Usage: make_pages.py ROOT FOLDER"""

import html
import pathlib
import re
import subprocess
import sys

FRONT = ("README.md", "CONTRIBUTING.md", "CHANGELOG.md")

PAGE = """<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>{title} - Larkspur</title>
<style>
:root {{ --text: #1f2328; --back: #ffffff; --soft: #f3f4f6; --line: #d0d4d9; --link: #0b57d0; }}
@media (prefers-color-scheme: dark) {{
  :root {{ --text: #e3e5e8; --back: #1b1d20; --soft: #282b2f; --line: #454a50; --link: #8ab4f8; }}
}}
body {{ max-width: 54rem; margin: 0 auto; padding: 1rem 1.5rem 4rem; color: var(--text);
  background: var(--back); font: 1rem/1.55 "Segoe UI", system-ui, sans-serif; }}
nav {{ padding-bottom: .6rem; border-bottom: 1px solid var(--line); }}
nav a {{ margin-right: 1.2rem; }}
h1, h2, h3 {{ line-height: 1.25; margin: 1.8em 0 .5em; }}
h1 {{ margin-top: 1rem; }}
a {{ color: var(--link); }}
img {{ max-width: 100%; height: auto; }}
code, pre {{ font: .9em/1.45 Consolas, "DejaVu Sans Mono", monospace; background: var(--soft); }}
code {{ padding: .1em .3em; border-radius: 3px; overflow-wrap: anywhere; }}
pre {{ padding: .8rem 1rem; border-radius: 4px; overflow-x: auto; }}
code.word {{ white-space: nowrap; }}
pre code {{ padding: 0; font-size: 1em; overflow-wrap: normal; }}
table {{ display: block; overflow-x: auto; border-collapse: collapse; margin: 1rem 0; }}
th, td {{ padding: .35rem .7rem; border: 1px solid var(--line); text-align: left;
  vertical-align: top; }}
th {{ background: var(--soft); }}
</style>
</head>
<body>
<nav><a href="{up}README.html">Larkspur</a><a href="{up}docs/guide.html">When a disk fails</a></nav>
{body}</body>
</html>
"""


def with_places(body):
    """Each heading with the name that links use for it: GitHub's, so that they work there as well."""
    taken = set()

    def heading(match):
        words = html.unescape(re.sub("<[^>]*>", "", match[2])).lower()
        place = first = re.sub(r"[^\w\- ]", "", words).replace(" ", "-")
        count = 0
        while place in taken:
            count += 1
            place = f"{first}-{count}"
        taken.add(place)
        return f'<h{match[1]} id="{place}">{match[2]}</h{match[1]}>'

    return re.sub(r"<h([1-6])>(.*?)</h\1>", heading, body)


def with_names(body, documents):
    """The documents by the names of their pages, in links and in words; short code in one piece."""
    body = re.sub(r"([\w-]+)\.md\b", lambda m: m[1] + ".html" if m[0] in documents else m[0], body)
    body = body.replace('href="LICENSE"', 'href="LICENSE.txt"')
    return re.sub(r"<code>(?=\S{1,30}</code>)", '<code class="word">', body)


def page(text, up, documents):
    body = subprocess.run(["cmark-gfm", "-e", "table"], input=text, capture_output=True, text=True,
                          encoding="utf-8", check=True).stdout
    title = re.search("<h1>(.*?)</h1>", body)
    return PAGE.format(title=re.sub("<[^>]*>", "", title[1]) if title else "Documents", up=up,
                       body=with_names(with_places(body), documents))


def main():
    root, folder = map(pathlib.Path, sys.argv[1:])
    paths = [*(root / name for name in FRONT), *sorted(root.glob("docs/**/*.md"))]
    documents = {path.name for path in paths}
    for path in paths:
        name = path.relative_to(root)
        target = folder / name.with_suffix(".html")
        target.parent.mkdir(parents=True, exist_ok=True)
        target.write_text(page(path.read_text("utf-8"), "../" * (len(name.parts) - 1), documents),
                          "utf-8", newline="\n")


if __name__ == "__main__":
    main()
