#!/usr/bin/env python3
"""Lets the manual's search box find guides, effects and parameters by any of their words, where Doxygen
knows a title's first alone: search_words.py HTML."""

import html
import pathlib
import re
import sys

ANCHORED = re.compile(r'<a class="anchor" id="([^"]+)"></a>\s*([^<]+)</h\d>')
PARAMETER = re.compile(r'<a class="anchor" id="parameter_([^"]+)"></a>\s*<code>([^<]+)</code>')
COMMON = {"and", "from", "into", "other", "that", "the", "this", "what", "with"}


def words(text):
    return {word for word in re.findall(r"[a-z][a-z0-9]{2,}", text.lower()) if word not in COMMON}


def entries(page):
    """(words, shown, target, where) of a guide or an effect."""
    text = page.read_text(encoding="utf-8")
    title = html.unescape(re.search(r'<div class="title">([^<]*)', text)[1]).strip()
    yield words(title), title, page.name, ""
    for place, heading in ANCHORED.findall(text) if page.name.startswith("guide_") else []:
        yield words(heading), html.unescape(heading), f"{page.name}#{place}", title
    for place, name in PARAMETER.findall(text):
        yield words(name.replace("_", " ")), name, f"{page.name}#parameter_{place}", title


def quoted(text):
    return "'" + html.escape(text, quote=False).replace("'", "\\'") + "'"


def add(folder, found):
    """To the lists of all that can be found, one for each first letter."""
    letters = re.search(r'0: "([^"]*)"', (folder / "searchdata.js").read_text())[1]
    lines = {}
    shortest_first = sorted(found, key=lambda one: (one[0], len(one[1]), one))
    for number, (word, shown, target, where) in enumerate(shortest_first):
        if word[0] in letters:
            line = f"  ['{word}_w{number}',[{quoted(shown)},['../{target}',1,{quoted(where)}]]],\n"
            lines.setdefault(word[0], []).append(line)
    for letter, its in lines.items():
        file = folder / f"all_{letters.index(letter):x}.js"
        file.write_text(file.read_text().replace("[\n", "[\n" + "".join(its), 1))


def main():
    manual = pathlib.Path(sys.argv[1])
    pages = [page for kind in ("guide", "effect") for page in sorted(manual.glob(f"{kind}_*.html"))]
    found = {(word, *rest) for page in pages for its, *rest in entries(page) for word in its}
    if not found:
        sys.exit("search_words: nothing found")
    add(manual / "search", found)


if __name__ == "__main__":
    main()
