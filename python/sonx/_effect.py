"""What all effects have in common."""

from __future__ import annotations

import re
from collections.abc import Mapping
from typing import Any, ClassVar, NamedTuple, Self, TypeVar

from ._audio import Samples, Stream
from ._library import EMPTY, Handle, lib
from ._parameters import Parameter, Settings, nearest, switch_number
from ._sections import Group

AnyEffect = TypeVar("AnyEffect", bound="Effect")


class Meters(NamedTuple):
    """The largest magnitudes, left and right, since they were asked for last; 1.0 is full scale."""

    input: tuple[float, float]
    output: tuple[float, float]


class Effect(Settings):
    """An effect with its settings. In a rack, what is set is heard; alone it waits for one."""

    #: Its word in presets and on command lines.
    id: ClassVar[str]
    #: What a person calls it.
    title: ClassVar[str]
    #: What it does, in a sentence.
    about: ClassVar[str]
    #: The kind of effect, for menus: "equalizer", "reverb", "dynamics" ..
    category: ClassVar[str]
    #: The sample rates that it has, in Hz.
    rates: ClassVar[tuple[int, ...]]
    #: Its lists of sections.
    groups: ClassVar[Mapping[str, Group[Any]]] = {}

    def __init__(self, *unnamed: Any, enabled: bool = True, **values: Any) -> None:
        rate = 48000 if 48000 in self.rates else self.rates[-1]
        self._stand_alone(rate, f'[[effect]]\nid = "{self.id}"\n')
        known = [*self.parameters, *self.groups]
        if unnamed:
            raise TypeError(f"{type(self).__name__} takes its parameters by name, as {known[0]}=..")
        for name, value in values.items():
            if name not in known:
                hint = nearest(name, known)
                raise TypeError(f"{type(self).__name__} has no parameter '{name}'{hint}")
            setattr(self, name, value)
        self.enabled = enabled

    def _place(self, handle: Handle, slot: int, in_rack: bool = True) -> None:
        self._handle, self._slot, self._in_rack = handle, slot, in_rack

    def _stand_alone(self, rate: int, text: str) -> None:
        self._place(Handle(rate, EMPTY + text), 0, in_rack=False)

    def _text(self) -> str:
        """Its part of a preset."""
        parts = re.split(r"^(?=\[\[effect\]\]$)", self._handle.text("save"), flags=re.MULTILINE)
        return parts[1 + self._slot]

    def _get(self, parameter: Parameter[Any]) -> float:
        return float(lib.sonx_rack_get(self._handle, self._slot, parameter._index))

    def _set(self, parameter: Parameter[Any], number: float) -> None:
        lib.sonx_rack_set(self._handle, self._slot, parameter._index, number)

    @property
    def enabled(self) -> bool:
        """Switched on. What is off passes the sound on as it is, with the same latency."""
        return bool(lib.sonx_rack_enabled(self._handle, self._slot) == 1)

    @enabled.setter
    def enabled(self, on: bool) -> None:
        lib.sonx_rack_enable(self._handle, self._slot, int(switch_number("enabled", on)))

    @property
    def meters(self) -> Meters:
        """What went in and came out since this was asked for last."""
        return Meters(*self._handle.meters(self._slot))

    def copy(self) -> Self:
        """Another one with the same settings, in no rack."""
        return _restore(type(self), self._handle.rate, self._text())

    def __call__(self, samples: Samples, rate: int, *, tail: float = 0.0) -> Samples:
        """What the effect alone makes of a recording; `Rack` says more."""
        return Stream(Handle(rate, EMPTY + self._text())).render(samples, tail)

    def __reduce__(self) -> tuple[Any, ...]:
        return _restore, (type(self), self._handle.rate, self._text())

    def __repr__(self) -> str:
        values = [f"{p.id}={p.text(self._get(p))}" for p in self.parameters.values()
                  if self._get(p) != p._initial]
        values += [f"{id}={getattr(self, id)!r}" for id in self.groups
                   if getattr(self, id).used()]
        values += [] if self.enabled else ["enabled=False"]
        return f"{type(self).__name__}({', '.join(values)})"


def _restore(kind: type[AnyEffect], rate: int, text: str) -> AnyEffect:
    effect = kind.__new__(kind)
    effect._stand_alone(rate, text)
    return effect
