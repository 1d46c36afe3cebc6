"""Parameters that are numbered and alike, as lists of values: the bands of an equalizer."""

from __future__ import annotations

from collections.abc import Iterable, Mapping, Sequence
from typing import Any, Generic, TypeVar, Union, overload

from ._parameters import Parameter, Settings, nearest

AnySection = TypeVar("AnySection", bound="Section")


class Section(Settings):
    """A value of its own, or a part of an effect: then what is set here is heard."""

    _owner: Settings | None = None
    _own: Mapping[str, Parameter[Any]]

    def __init__(self, *values: Any, **named: Any) -> None:
        fields = list(self.parameters)
        if len(values) > len(fields):
            raise TypeError(f"{type(self).__name__} takes {', '.join(fields)}")
        self._given: dict[str, float] = {}
        for id, value in [*zip(fields, values), *named.items()]:
            if id not in self.parameters:
                raise TypeError(f"{type(self).__name__} has no '{id}'{nearest(id, fields)}")
            if id in self._given:
                raise TypeError(f"{type(self).__name__} is given {id} twice")
            setattr(self, id, value)

    def _get(self, parameter: Parameter[Any]) -> float:
        if self._owner is not None:
            return self._owner._get(self._own[parameter.id])
        return self._given.get(parameter.id, parameter._initial)

    def _set(self, parameter: Parameter[Any], number: float) -> None:
        if self._owner is not None:
            self._owner._set(self._own[parameter.id], number)
        else:
            self._given[parameter.id] = number

    def _all(self) -> dict[str, float]:
        """What was given, or everything that the effect has."""
        fields = self._given if self._owner is None else self.parameters
        return {id: self._get(self.parameters[id]) for id in fields}

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Section) and self.parameters.keys() == other.parameters.keys() \
            and all(getattr(self, id) == getattr(other, id) for id in self.parameters)

    def __repr__(self) -> str:
        values = (f"{id}={self.parameters[id].text(n)}" for id, n in self._all().items())
        return f"{type(self).__name__}({', '.join(values)})"


class Sections(Sequence[AnySection]):
    """An effect's sections, always as many as it has. Shown up to the last one in use."""

    def __init__(self, group: Group[AnySection], owner: Settings) -> None:
        self._group, self._owner = group, owner

    def __len__(self) -> int:
        return len(self._group.numbered)

    @overload
    def __getitem__(self, index: int) -> AnySection: ...
    @overload
    def __getitem__(self, index: slice) -> list[AnySection]: ...
    def __getitem__(self, index: int | slice) -> AnySection | list[AnySection]:
        if isinstance(index, slice):
            return [self[k] for k in range(len(self))[index]]
        section = self._group.section()
        section._own = self._group.numbered[index]
        section._owner = self._owner
        return section

    def __setitem__(self, index: int, section: AnySection | Mapping[str, Any] | Sequence[Any]) \
            -> None:
        self._group.put(self._owner, self._group.numbered[index], self._group.values(section))

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Sequence) and list(self) == list(other)

    def used(self) -> list[AnySection]:
        """Those up to the last one with a value of its own."""
        last = max((k for k, own in enumerate(self._group.numbered, 1)
                    if any(self._owner._get(p) != p._initial for p in own.values())), default=0)
        return self[:last]

    def __repr__(self) -> str:
        return repr(self.used())


class Group(Generic[AnySection]):
    """The sections as an attribute of the effect's class."""

    def __init__(self, id: str, section: type[AnySection],
                 numbered: list[dict[str, Parameter[Any]]]) -> None:
        self.id, self.section, self.numbered = id, section, numbered
        self.__doc__ = (f"Up to {len(numbered)} of {section.__name__}"
                        f"({', '.join(section.parameters)}); those left out are as at first.")

    def __repr__(self) -> str:
        return f"<{self.id}: up to {len(self.numbered)} of {self.section.__name__}>"

    @overload
    def __get__(self, owner: None, kind: type | None = None) -> Group[AnySection]: ...
    @overload
    def __get__(self, owner: Settings, kind: type | None = None) -> Sections[AnySection]: ...
    def __get__(self, owner: Settings | None, kind: type | None = None) \
            -> Group[AnySection] | Sections[AnySection]:
        return self if owner is None else Sections(self, owner)

    def __set__(self, owner: Settings,
                sections: Iterable[Union[AnySection, Mapping[str, Any], Sequence[Any]]]) -> None:
        if isinstance(sections, (str, Mapping, Section)) or not isinstance(sections, Iterable):
            raise TypeError(f"{self.id} is a list of {self.section.__name__}(..), not {sections!r}")
        values = [self.values(section) for section in sections]
        if len(values) > len(self.numbered):
            raise ValueError(f"{self.id}: {len(values)} are given, there are {len(self.numbered)}")
        values += [{}] * (len(self.numbered) - len(values))
        for own, some in zip(self.numbered, values):
            self.put(owner, own, some)

    def values(self, section: AnySection | Mapping[str, Any] | Sequence[Any]) \
            -> dict[str, float]:
        if isinstance(section, Section):
            return section._all()
        if isinstance(section, Mapping):
            return self.section(**section)._all()
        if isinstance(section, str) or not isinstance(section, Iterable):
            raise TypeError(f"{self.id} are {self.section.__name__}(..), not {section!r}")
        return self.section(*section)._all()

    @staticmethod
    def put(owner: Settings, own: Mapping[str, Parameter[Any]], values: Mapping[str, float]) -> None:
        for id, parameter in own.items():
            owner._set(parameter, values.get(id, parameter._initial))
