"""What every table generator does with its output: write it, or check that it is what's committed.

    make_..._tables.py            writes the files
    make_..._tables.py --check    compares them with the committed ones; a difference ends with 1
    make_..._tables.py --report   prints what the tables do, and writes nothing
"""

import difflib
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent


def run(make_files, report):
    """make_files() gives {path below the project's root: text}; report() gives a text."""
    arguments = sys.argv[1:]
    if arguments == ["--report"]:
        print(report())
    elif arguments == ["--check"]:
        sys.exit(1 if any([differs(path, text) for path, text in make_files().items()]) else 0)
    elif not arguments:
        for path, text in make_files().items():
            (ROOT / path).parent.mkdir(parents=True, exist_ok=True)
            (ROOT / path).write_text(text, encoding="utf-8")
    else:
        sys.exit(__doc__)


def differs(path, text):
    file = ROOT / path
    committed = file.read_text(encoding="utf-8") if file.exists() else ""
    if committed == text:
        return False
    lines = difflib.unified_diff(committed.splitlines(), text.splitlines(),
                                 f"{path} (committed)", f"{path} (generated)", "", "", 1, "")
    print("\n".join(list(lines)[:40]))
    return True
