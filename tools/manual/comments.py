"""Comments of the headers as Doxygen reads them. What is indented in them, sketches and tables, stays
as it is; the rest is prose."""

import re
import sys


def escaped(text):
    """Signs that Doxygen or its Markdown would take for commands; code between ` stays."""
    pieces = re.split(r"(`[^`]+`)", text)
    return "".join(piece if piece.startswith("`") else escaped_prose(piece) for piece in pieces)


def escaped_prose(text):
    text = re.sub(r"[\\@<>#%&*]", r"\\\g<0>", text)
    return text.replace("--", "\\--").replace("](", "] (").replace(" ..", " …")


def runs(lines):
    """The lines in pieces of (indented, lines), cut at blank lines and where the indent changes."""
    pieces = []
    for line in lines:
        kind = None if not line.strip() else line.startswith("  ")
        item = kind and re.match(r"\s*(- |\d\. )", line)
        goes_on = pieces and kind is not None and pieces[-1][0] is kind
        if item and not (goes_on and pieces[-1][0] and not is_list(pieces[-1][1])):
            pieces.append((kind, [line]))
        elif goes_on:
            pieces[-1][1].append(line)
        elif kind and len(pieces) > 1 and pieces[-1][0] is None and pieces[-2][0]:
            pieces[-2][1].extend(["", line])  # one sketch with a blank line in it
            pieces.pop()
        else:
            pieces.append((kind, [] if kind is None else [line]))
    return [(kind, its) for kind, its in pieces if kind is not None]


def is_list(lines):
    return re.match(r"\s*(- |\d\. )", lines[0])


def dedented(lines):
    indent = min(len(line) - len(line.lstrip()) for line in lines if line.strip())
    return [line[indent:] for line in lines]


def documentation(lines):
    """Lines of a comment, without their slashes, as Doxygen's text."""
    out = []
    for indented, its in runs(lines):
        if indented and is_list(its):
            mark, text = re.match(r"\s*(- |\d\. )(.*)", " ".join(line.strip() for line in its)).groups()
            out.append(f"{mark}{escaped(text)}")
        elif indented:
            out += ["", "@verbatim", *dedented(its), "@endverbatim", ""]
        else:
            out += ["", escaped(" ".join(line.strip() for line in its)), ""]
    return "\n".join(out).strip()


def whole_sentences(lines):
    """Without what a list or a sketch would go on with."""
    text = "\n".join(lines)
    ends = [stop.end() for stop in re.finditer(r"\.(?=\s|$)", text)]
    if not ends:
        sys.exit(f"no sentence in: {text}")
    return text[:ends[-1]].splitlines()


def without_slashes(line):
    return re.sub(r"^\s*// ?", "", line.rstrip())
