"""Parameters as attributes: what they are is the catalogue's, what they hold the library's."""

from __future__ import annotations

import difflib
import math
import re
from collections.abc import Iterable, Mapping
from typing import TYPE_CHECKING, Any, ClassVar, Generic, Self, TypeVar, cast, overload

from ._library import CParameter

Value = TypeVar("Value")
Text = TypeVar("Text", bound=str)


def number_text(value: float) -> str:
    """In the digits that a person would write."""
    return f"{value:.10g}"


def exact_text(value: float) -> str:
    """In as many digits as bring the same number back."""
    return repr(float(value)).removesuffix(".0")


def range_text(minimum: float, maximum: float, unit: str) -> str:
    return f"{number_text(minimum)} .. {number_text(maximum)} {unit}".rstrip()


def number_within(id: str, value: Any, minimum: float, maximum: float, unit: str = "") -> float:
    try:
        if isinstance(value, (str, bytes, bool)):
            raise TypeError
        number = float(value)
    except OverflowError:  # of a whole number that no float can hold
        number = math.inf if value > 0 else -math.inf
    except (TypeError, ValueError):
        raise TypeError(f"{id} is a number, not {value!r}") from None
    if not minimum <= number <= maximum:
        raise ValueError(f"{id} = {exact_text(number)} is outside {range_text(minimum, maximum, unit)}")
    return number


def switch_number(id: str, value: Any) -> float:
    if value not in (True, False):
        raise TypeError(f"{id} is True or False, not {value!r}")
    return float(value)


def nearest(word: str, known: Iterable[str]) -> str:
    close = difflib.get_close_matches(word, list(known), n=1)
    return f"; did you mean '{close[0]}'?" if close else ""


class Parameter(Generic[Value]):
    """A parameter of an effect, as the class has it: `Reverb.room.maximum`."""

    #: Its word in presets and on command lines.
    id: str
    #: What a person calls it.
    name: str
    #: dB, "Hz", "%", "ms", or nothing.
    unit: str
    description: str
    minimum: float
    maximum: float
    #: Values are rounded to whole steps above the minimum; 0: they aren't.
    step: float
    #: How a slider should move.
    logarithmic: bool
    #: Of sections: each place has an initial value of its own.
    by_place = False

    def __init__(self, entry: CParameter, index: int, id: str) -> None:
        self.id, self.unit = id, entry.unit.decode()
        self.name = re.sub(r"^\w+ \d+ ", "", entry.name.decode())  # a field's without its section
        self.description = entry.description.decode()
        self.minimum, self.maximum, self.step = entry.minimum, entry.maximum, entry.step
        self.logarithmic = bool(entry.logarithmic)
        self._initial, self._index = entry.initial, index
        self._describe()

    def _describe(self) -> None:
        self.__doc__ = f"{self.name}: {self.range}, {self._at_first}." \
            + (f"\n{self.description}" if self.description else "")

    @property
    def _at_first(self) -> str:
        return "initially as its place has it" if self.by_place else \
            f"initially {self.text(self._initial)}"

    @property
    def range(self) -> str:
        """What it can be, in words."""
        raise NotImplementedError

    @property
    def annotation(self) -> str:
        """The type of its values, as source."""
        raise NotImplementedError

    @property
    def initial(self) -> Value:
        return self.value(self._initial)

    def value(self, number: float) -> Value:
        """What the library's number means."""
        raise NotImplementedError

    def number(self, value: Any) -> float:
        """The library's number for a value. TypeError or ValueError if there is none."""
        raise NotImplementedError

    def text(self, number: float) -> str:
        """A value as source."""
        return repr(self.value(number))

    def words(self, number: float) -> str:
        """A value as people write it."""
        return f"{self.value(number)}"

    def __repr__(self) -> str:
        return f"<{self.id}: {self.range}, {self._at_first}>"

    @overload
    def __get__(self, owner: None, kind: type | None = None) -> Self: ...
    @overload
    def __get__(self, owner: Settings, kind: type | None = None) -> Value: ...
    def __get__(self, owner: Settings | None, kind: type | None = None) -> Any:
        return self if owner is None else self.value(owner._get(self))

    def __set__(self, owner: Settings, value: Value) -> None:
        owner._set(self, self.number(value))


class Number(Parameter[float]):
    __doc__ = Parameter.__doc__

    @property
    def range(self) -> str:
        return range_text(self.minimum, self.maximum, self.unit)

    @property
    def annotation(self) -> str:
        return "float"

    def value(self, number: float) -> float:
        return number

    def number(self, value: Any) -> float:
        return number_within(self.id, value, self.minimum, self.maximum, self.unit)

    def text(self, number: float) -> str:
        return exact_text(number)

    def words(self, number: float) -> str:
        return f"{number_text(number)} {self.unit}" if self.unit else f"{self.name} {number_text(number)}"


class Switch(Parameter[bool]):
    __doc__ = Parameter.__doc__

    @property
    def range(self) -> str:
        return "True or False"

    @property
    def annotation(self) -> str:
        return "bool"

    def value(self, number: float) -> bool:
        return number != 0

    def number(self, value: Any) -> float:
        return switch_number(self.id, value)

    def words(self, number: float) -> str:
        return "on" if number else "off"


class Choice(Parameter[Text]):
    __doc__ = Parameter.__doc__
    choices: tuple[Text, ...]

    def __init__(self, entry: CParameter, index: int, id: str) -> None:
        words = (entry.choices[k].decode() for k in range(entry.choice_count))
        self.choices = cast("tuple[Text, ...]", tuple(words))
        super().__init__(entry, index, id)

    @property
    def range(self) -> str:
        return ", ".join(map(repr, self.choices[:-1])) + f" or {self.choices[-1]!r}"

    @property
    def annotation(self) -> str:
        return f"Literal[{', '.join(map(repr, self.choices))}]"

    def value(self, number: float) -> Text:
        return self.choices[round(number)]

    def number(self, value: Any) -> float:
        if not isinstance(value, str):
            raise TypeError(f"{self.id} is one of {self.range}, not {value!r}")
        try:
            return float(self.choices.index(cast(Text, value)))
        except ValueError:
            hint = nearest(value, self.choices) or f": it is {self.range}"
            raise ValueError(f"{self.id} has no '{value}'{hint}") from None


def make_parameter(entry: CParameter, index: int, id: str) -> Parameter[Any]:
    kinds: tuple[type[Parameter[Any]], ...] = (Number, Switch, Choice)  # as the library counts them
    return kinds[entry.kind](entry, index, id)


class Strict:
    """What has the attributes of its class, and no others: a misspelt one is an error."""

    @classmethod
    def _words(cls) -> list[str]:
        return [name for name in dir(cls) if not name.startswith("_")]

    if not TYPE_CHECKING:  # type checkers tell the misspelt ones by themselves

        def __setattr__(self, name: str, value: Any) -> None:
            if not name.startswith("_") and not hasattr(type(self), name):
                self.__getattr__(name)
            super().__setattr__(name, value)

        def __getattr__(self, name: str) -> Any:
            hint = nearest(name, self._words())
            raise AttributeError(f"{type(self).__name__} has no '{name}'{hint}")


class Settings(Strict):
    """What has parameters as attributes."""

    parameters: ClassVar[Mapping[str, Parameter[Any]]] = {}

    def _get(self, parameter: Parameter[Any]) -> float:
        raise NotImplementedError

    def _set(self, parameter: Parameter[Any], number: float) -> None:
        raise NotImplementedError
