"""The effects' classes, made from the entries of the catalogue."""

from __future__ import annotations

import inspect
import keyword
import re
import textwrap
from collections.abc import Mapping
from typing import Any

from ._effect import Effect
from ._library import CEffect
from ._parameters import Parameter, make_parameter
from ._sections import Group, Section

_MODULE = "sonx"  # where users find them

Parameters = dict[str, Parameter[Any]]


def make_class(entry: CEffect) -> type[Effect]:
    id, title, about = (text.decode() for text in (entry.id, entry.name, entry.description))
    parameters, numbered = _read(entry)
    groups = _make_groups(numbered)
    members: dict[str, Any] = {**parameters, **groups}
    taken = [name for name in members if hasattr(Effect, name) or keyword.iskeyword(name)]
    if taken:
        raise ImportError(f"{id}: attributes of every effect are called {taken}")
    rates = tuple(entry.rates[k] for k in range(entry.rate_count))
    ways = " to ".join("stereo" if count == 2 else "mono" for count in (entry.inputs, entry.outputs))
    text = f"{about}\n\n{ways.capitalize()}, at {', '.join(map(str, rates))} Hz.\n\n{_explain(members)}"
    return type("".join(word.capitalize() for word in id.split("-")), (Effect,), {
        **members, "parameters": parameters, "groups": groups,
        "id": id, "title": title, "about": about, "rates": rates,
        "category": entry.category.decode(),
        "__doc__": text.rstrip(), "__module__": _MODULE, "__signature__": _signature_of_effect(members),
    })


def _read(entry: CEffect) -> tuple[Parameters, dict[str, dict[int, Parameters]]]:
    """The parameters, and those that are numbered, band2_gain, by word, number and field."""
    parameters: Parameters = {}
    numbered: dict[str, dict[int, Parameters]] = {}
    for index in range(entry.parameter_count):
        described = entry.parameters[index]
        id = described.id.decode()
        if parts := re.fullmatch(r"([a-z]+)(\d+)_(\w+)", id):
            word, number, field = parts.groups()
            own = numbered.setdefault(word, {}).setdefault(int(number), {})
            own[field] = make_parameter(described, index, field)
        else:
            parameters[id] = make_parameter(described, index, id)
    return parameters, numbered


def _make_groups(numbered: dict[str, dict[int, Parameters]]) -> dict[str, Group[Any]]:
    """By their words in the plural. Those with the same fields share a class, the first one's."""
    kinds: dict[str, type[Section]] = {}
    groups: dict[str, Group[Any]] = {}
    for word, sections in numbered.items():
        fields = sections[1]
        for id, field in fields.items():
            if any(other[id]._initial != field._initial for other in sections.values()):
                field.by_place = True
                field._describe()
        kind = kinds.setdefault(repr(fields), _make_section(word, fields))
        groups[word + "s"] = Group(word + "s", kind, list(sections.values()))
    return groups


def _make_section(word: str, fields: Parameters) -> type[Section]:
    text = f"One of the {word}s of an effect, or a value to put there.\n\n{_explain(fields)}"
    arguments = _arguments(fields, inspect.Parameter.POSITIONAL_OR_KEYWORD)
    return type(word.capitalize(), (Section,), {
        **fields, "parameters": fields,
        "__doc__": text, "__module__": _MODULE, "__signature__": inspect.Signature(arguments),
    })


def _explain(members: Mapping[str, Any]) -> str:
    rows = [f"{id}: " + (member.__doc__ or "").replace("\n", " ") for id, member in members.items()]
    return "\n".join(textwrap.fill(row, 96, subsequent_indent="    ") for row in rows)


def _arguments(members: Mapping[str, Any], kind: Any) -> list[inspect.Parameter]:
    """As editors show them."""
    return [inspect.Parameter(id, kind, default=... if getattr(member, "by_place", False)
                              else getattr(member, "initial", []))
            for id, member in members.items()]


def _signature_of_effect(members: Mapping[str, Any]) -> inspect.Signature:
    kind = inspect.Parameter.KEYWORD_ONLY
    enabled = inspect.Parameter("enabled", kind, default=True)
    return inspect.Signature([*_arguments(members, kind), enabled])
