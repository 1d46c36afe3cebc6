#!/usr/bin/env python3
"""Doxygen's input filter for the guides in docs/: links among them become references to pages and
headings of the manual, pictures figures; a link to another file of the sources becomes its path."""

import pathlib
import re
import sys

TOP = pathlib.Path(__file__).resolve().parent.parent.parent
CODE = re.compile(r"(^```.*?^```$)", re.MULTILINE | re.DOTALL)


def slug(heading):
    """The place of a heading, as sites that show Markdown make it."""
    return re.sub(r"[^\w -]", "", heading.lower()).strip().replace(" ", "-")


def label(guide, place=""):
    return f"guide_{guide}" + (f"_{place}" if place else "")


def heading(guide, level, text):
    return f"{level} {text} {{#{label(guide, slug(text) if len(level) > 1 else '')}}}"


def link(guide, text, target):
    path, _, place = target.partition("#")
    if re.match(r"https?://", target):
        return f"[{text}]({target})"
    if path and not re.fullmatch(r"\w+\.md", path):
        file = (TOP / "docs" / path).resolve().relative_to(TOP)
        return f"`{file}`" if text in (str(file), file.name) else f"{text} (`{file}`)"
    return f"[{text}](@ref {label(path.removesuffix('.md') or guide, place)})"


def figure(pictures):
    return f"@htmlonly\n<figure>{pictures.replace('pictures/', '')}</figure>\n@endhtmlonly"


def prose(guide, text):
    text = re.sub(r"^(#+) (.*)$", lambda m: heading(guide, m[1], m[2]), text, flags=re.MULTILINE)
    text = re.sub(r"<!--.*?-->\n?", "", text)
    text = re.sub(r"<picture>.*?</picture>", lambda m: figure(m[0]), text, flags=re.DOTALL)
    text = re.sub(r"!\[(.*?)\]\((.*?)\)", r'<img src="\2" alt="\1"/>', text)
    text = re.sub(r"^<img .*?>$", lambda m: figure(m[0]), text, flags=re.MULTILINE)
    return re.sub(r"(?<!!)\[([^]]*)\]\(([^)]*)\)", lambda m: link(guide, m[1], m[2]), text)


def main():
    path = pathlib.Path(sys.argv[1])
    pieces = CODE.split(path.read_text(encoding="utf-8"))
    sys.stdout.write("".join(piece if CODE.match(piece) else prose(path.stem, piece) for piece in pieces))


if __name__ == "__main__":
    main()
