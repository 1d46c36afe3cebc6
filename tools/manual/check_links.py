#!/usr/bin/env python3
"""Fails on a dead link: check_links.py FOLDER. Each link, picture, style and script of its pages, HTML or
Markdown, must be there, and what stands behind # a place on its page. Nothing is fetched from
elsewhere; a page that wants to is a fault, but for a plain link."""

import html.parser
import pathlib
import re
import sys
from urllib.parse import unquote, urlsplit

CODE = re.compile(r"^```.*?^```|`[^`\n]+`", re.MULTILINE | re.DOTALL)
LINK = re.compile(r"(!?)\[[^\]]*\]\((\S+?)\)")
HEADING = re.compile(r"^#+ (.*)$", re.MULTILINE)


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.places = [], set()
        text = path.read_text(encoding="utf-8")
        if path.suffix == ".md":
            self.places = {place(words) for words in HEADING.findall(text)}
            text = CODE.sub("", text)
            self.links = [("img" if shown else "a", link) for shown, link in LINK.findall(text)]
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name") and value:
                self.places.add(value)
            if name in ("href", "src", "srcset") and value:
                self.links.append((tag, value))


def place(heading):
    """The name that a Markdown heading gets as a place."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")


def faults(folder):
    pages = {path: Page(path) for path in sorted(folder.rglob("*")) if path.suffix in (".html", ".md")}
    if not pages:
        yield f"no pages in {folder}"
    for path, page in pages.items():
        for tag, link in page.links:
            parts = urlsplit(link)
            if parts.scheme in ("http", "https") and tag == "a" or parts.scheme in ("javascript", "mailto"):
                continue
            target = (path.parent / unquote(parts.path)).resolve() if parts.path else path
            there = target.is_file() or path.suffix == ".md" and target.is_dir()
            if parts.scheme or not there:
                yield f"{path.relative_to(folder)}: {link}"
            elif parts.fragment and target in pages and unquote(parts.fragment) not in pages[target].places:
                yield f"{path.relative_to(folder)}: {link}: no such place"


def main():
    found = sorted(set(faults(pathlib.Path(sys.argv[1]).resolve())))
    for fault in found:
        print(fault, file=sys.stderr)
    if found:
        sys.exit(f"links: {len(found)} dead")
    print("links: fine")


if __name__ == "__main__":
    main()
