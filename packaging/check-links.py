#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
"""check-links.py FOLDER: no link between the pages as HTML in FOLDER leads to nothing."""
import html.parser
import pathlib
import sys


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links = []
        self.names = set()
        self.feed(path.read_text())

    def handle_starttag(self, tag, attrs):
        for key, value in attrs:
            if key == "id":
                self.names.add(value)
            if (tag, key) in (("a", "href"), ("img", "src")):
                self.links.append(value)


def leads_somewhere(path, link, pages):
    file, _, name = link.partition("#")
    target = (path.parent / file).resolve() if file else path
    return target.exists() and (not name or target not in pages or name in pages[target].names)


root = pathlib.Path(sys.argv[1]).resolve()
pages = {path: Page(path) for path in root.rglob("*.html")}
links = [(path, link) for path, page in pages.items() for link in page.links if "://" not in link]
broken = [f"{path.relative_to(root)}: {link}" for path, link in links if not leads_somewhere(path, link, pages)]
print("\n".join(broken) or f"{len(pages)} pages, {len(links)} links")
sys.exit(bool(broken) or len(links) < 100)
