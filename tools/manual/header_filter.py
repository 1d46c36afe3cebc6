#!/usr/bin/env python3
"""Doxygen's input filter: a header whose plain comments have become documentation. The comment at the
top is the file's; one above a declaration belongs to all declarations up to the next blank line; one
behind a field is that field's; "// ---- Title." begins a section. One record of a header may do without:
it's what the header is about."""

import re
import sys

from comments import documentation, runs, whole_sentences, without_slashes

TRAILING = re.compile(r"^(?P<code>[^/\"]*(?:\"[^\"]*\"[^/\"]*)*?(?:/(?!/)[^/\"]*)*)(?P<mark>//)\s?(?P<text>.*)$")


SEVERAL = re.compile(r"^(\s*)((?:const |unsigned )?\w+) (\*?\w[\w\[\]]*(?:, \*?\w[\w\[\]]*)+);\s*$")


class Filter:
    def __init__(self, lines):
        self.lines = lines
        self.at = 0
        self.out = []
        self.opening = None  # what the header is about, and the one record without words of its own
        self.shared = None  # the comment of this paragraph's declarations
        self.in_section = False
        self.depth = 0

    def comment(self):
        """The block of full-line comments from here on."""
        block = []
        while self.at < len(self.lines) and self.lines[self.at].lstrip().startswith("//"):
            block.append(without_slashes(self.lines[self.at]))
            self.at += 1
        return block

    def put(self, text, command=""):
        self.out.append(f"/** {command}\n{text}\n*/")

    def run(self):
        head = self.comment()
        self.opening = documentation(whole_sentences(next(its for indented, its in runs(head) if not indented)))
        self.put(documentation(head), "@file")
        while self.at < len(self.lines):
            line = self.lines[self.at]
            if line.startswith("#"):
                self.directive()
            elif line.lstrip().startswith("//"):
                self.block()
            else:
                self.code(line)
                self.at += 1
        self.end_section()
        return "\n".join(self.out) + "\n"

    def directive(self):
        """With its further lines, as it is."""
        if re.match(r"#ifdef __cplusplus|#endif", self.lines[self.at]):
            self.end_section()
        if self.shared and self.lines[self.at].startswith("#define"):
            self.put(self.shared)
        while self.lines[self.at].endswith("\\"):
            self.out.append(self.lines[self.at])
            self.at += 1
        self.out.append(self.lines[self.at])
        self.at += 1

    def block(self):
        block = self.comment()
        title = re.match(r"---- ([^.]*)\. ?(.*)", block[0])
        stands_alone = self.at >= len(self.lines) or not self.lines[self.at].strip()
        if title:
            self.end_section()
            self.put(documentation([title[2], *block[1:]]), f"@name {title[1]}")
            self.out.append("/**@{*/")
            self.in_section = True
        elif not stands_alone:
            self.shared = documentation(block)

    def end_section(self):
        if self.in_section:
            self.out.append("/**@}*/")
        self.in_section = False

    def code(self, line):
        if not line.strip():
            self.shared = None
        if line.startswith("SONX_C_END"):
            self.end_section()
        found = TRAILING.match(line)
        code = found["code"].rstrip() if found else line
        text = None
        if self.starts_declaration(code):
            text = self.about(code, found)
        several = SEVERAL.match(code)
        for one in self.each(several) if several else [code]:
            if text is not None:
                self.put(text)
            self.out.append(one)
        if not code.startswith('extern "C"'):
            self.depth = max(self.depth + code.count("{") - code.count("}"), 0)
        if self.depth == 0 and code.startswith("}"):
            self.shared = None

    def each(self, several):
        indent, base, names = several.groups()
        return [f"{indent}{base} {name};" for name in names.split(", ")]

    def about(self, code, found):
        """The words for a declaration; None for what can't have any."""
        record = re.match(r"(typedef )?(struct|enum)\b.*{", code)
        if found and not record:
            return self.trailing(found)
        if self.shared is not None:
            text = self.shared
            if record:
                self.shared = None  # it's the record's, not its fields'
            return text
        if record:
            text, self.opening = self.opening, None
            return text
        return None

    def starts_declaration(self, code):
        """Not a line that goes on with the one before, a closing brace or a directive."""
        if not code.strip() or re.match(r"\s*([})]|SONX_C_|extern \"C\")", code):
            return False
        before = next((l for l in reversed(self.out) if l.strip() and not l.startswith("/**")), ";")
        goes_on = before.count("(") > before.count(")") or before.endswith((" int", "const int", "*"))
        ends = before.endswith((";", "{", "}", ",", "SONX_C_BEGIN", "SONX_C_END", "*/"))
        return before.startswith("#") or (ends and not goes_on)

    def trailing(self, found):
        """A comment behind a field, with the lines below that go on in the same column."""
        text, column = [found["text"]], found.start("mark")
        while self.at + 1 < len(self.lines):
            below = self.lines[self.at + 1]
            if not below.lstrip().startswith("//") or below.index("//") != column:
                break
            text.append(without_slashes(below).strip())
            self.at += 1
        return documentation([" ".join(text)])


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as header:
        sys.stdout.write(Filter(header.read().splitlines()).run())
