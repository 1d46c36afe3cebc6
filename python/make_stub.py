#!/usr/bin/env python3
"""Writes sonx/effects.pyi, what type checkers and editors see of the classes that are made from the
catalogue. With --check it only tells whether the file is as it should be. The library is found as
the package finds it."""

import sys
import textwrap
from collections.abc import Mapping
from pathlib import Path
from typing import Any

sys.path.insert(0, str(Path(__file__).resolve().parent))
import sonx
from sonx import effects
from sonx._parameters import Choice, Parameter

FILE = Path(sonx.__file__).with_name("effects.pyi")
HEAD = '''# The classes of the catalogue's effects. Made by make_stub.py; not to be edited.
from collections.abc import Iterable, Mapping, Sequence
from typing import Any, Literal

from ._effect import Effect
from ._parameters import Choice, Number, Switch
from ._sections import Group, Section

sections: dict[str, type[Section]]
by_id: dict[str, type[Effect]]
'''


def kind(parameter: Parameter[Any]) -> str:
    name = type(parameter).__name__
    return f"Choice[{parameter.annotation}]" if isinstance(parameter, Choice) else name


def docstring(text: str | None) -> str:
    return textwrap.indent(f'"""{text}"""', "    ") + "\n"


def members(parameters: Mapping[str, Parameter[Any]]) -> str:
    return "".join(f"    {id}: {kind(p)}\n{docstring(p.__doc__)}" for id, p in parameters.items())


def init(arguments: list[str]) -> str:
    lines = "".join(f"        {argument},\n" for argument in arguments)
    return f"    def __init__(\n        self,\n{lines}    ) -> None: ...\n"


def values(parameters: Mapping[str, Parameter[Any]]) -> list[str]:
    return [f"{id}: {p.annotation} = {'...' if p.by_place else p.text(p._initial)}"
            for id, p in parameters.items()]


def stub() -> str:
    text = HEAD + f"__all__ = [{', '.join(map(repr, effects.__all__))}]\n"
    for name, section in effects.sections.items():
        text += (f"\nclass {name}(Section):\n{docstring(section.__doc__)}"
                 f"{members(section.parameters)}{init(values(section.parameters))}")
    for name in effects.__all__[len(effects.sections):]:
        effect = getattr(effects, name)
        groups = {id: group.section.__name__ for id, group in effect.groups.items()}
        text += f"\nclass {name}(Effect):\n{docstring(effect.__doc__)}{members(effect.parameters)}"
        text += "".join(f"    {id}: Group[{section}]\n" for id, section in groups.items())
        text += init(["*", *values(effect.parameters),
                      *(f"{id}: Iterable[{section} | Mapping[str, Any] | Sequence[Any]] = ..."
                        for id, section in groups.items()),
                      "enabled: bool = True"])
    return text


def main() -> None:
    if "--check" in sys.argv:
        if FILE.read_text(encoding="utf-8") != stub():
            sys.exit(f"{FILE} isn't what the catalogue gives: run python/make_stub.py")
    else:
        FILE.write_text(stub(), encoding="utf-8")


if __name__ == "__main__":
    main()
