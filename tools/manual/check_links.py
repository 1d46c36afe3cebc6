#!/usr/bin/env python3
"""Fails on a dead link: check_links.py FOLDER. Each link, picture, style and script of the pages must
be a file of the folder, and what stands behind # a place on its page. Nothing is fetched from
elsewhere; a page that wants to is a fault, but for a plain link."""

import html.parser
import pathlib
import sys
from urllib.parse import unquote, urlsplit


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.places = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name") and value:
                self.places.add(value)
            if name in ("href", "src") and value:
                self.links.append((tag, value))


def faults(folder):
    pages = {path: Page(path) for path in sorted(folder.rglob("*.html"))}
    if not pages:
        yield f"no pages in {folder}"
    for path, page in pages.items():
        for tag, link in page.links:
            parts = urlsplit(link)
            if parts.scheme in ("http", "https") and tag == "a" or parts.scheme in ("javascript", "mailto"):
                continue
            target = (path.parent / unquote(parts.path)).resolve() if parts.path else path
            if parts.scheme or not target.is_file():
                yield f"{path.name}: {link}"
            elif parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].places:
                yield f"{path.name}: {link}: no such place"


def main():
    found = sorted(set(faults(pathlib.Path(sys.argv[1]).resolve())))
    for fault in found:
        print(fault, file=sys.stderr)
    if found:
        sys.exit(f"links: {len(found)} dead")
    print("links: fine")


if __name__ == "__main__":
    main()
