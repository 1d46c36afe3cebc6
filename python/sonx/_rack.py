"""Effects in a row, and where their presets come from."""

from __future__ import annotations

import ctypes
import html
import json
import math
import os
import re
import tomllib
from collections.abc import Iterable, MutableSequence
from pathlib import Path
from typing import Any, overload

from ._audio import Samples, Stream
from ._effect import Effect, Meters
from ._library import EMPTY, Handle, lib
from ._parameters import Strict, nearest, switch_number
from .effects import by_id

PathLike = str | os.PathLike[str]


class Rack(Strict, MutableSequence[Effect]):
    """Effects in a row, for a sample rate in Hz: a list whose items the sound goes through.

    rack(samples) gives a whole recording with its latency taken out, and the same for the same
    settings, whatever else went through the rack. Threads may call it at once.

    rack.process(block) goes on with a stream, `latency` frames late, and reset() begins another. A
    setting that is changed between blocks comes in without a click.

    Samples are float32 (1.0 is full scale), int16 or int32 (of which the rack keeps the upper 24
    bits), of the shape (frames,) or (channels, frames) with one or two channels. One channel is
    heard on both sides, and their mean comes out. The result is a new array of the same type and
    shape; what was float64 is float32 then, which holds the rack's 24 bits.
    """

    def __init__(self, effects: Iterable[Effect] = (), rate: int = 48000, name: str = "") -> None:
        self._effects: list[Effect] = []
        self._name = ""
        self._stream = Stream(Handle(rate))
        self._report = ""
        if isinstance(effects, (str, Effect)) or not isinstance(effects, Iterable):
            raise TypeError(f"a rack takes a list of effects, [..], not {effects!r}")
        if name or effects:
            self._replace(list(effects), name)

    # ---- What is in it.

    def _replace(self, effects: list[Effect], name: str) -> None:
        for effect in effects:
            if not isinstance(effect, Effect):
                hint = "; call it: ()" if isinstance(effect, type) else ""
                raise TypeError(f"a rack holds effects, not {effect!r}{hint}")
            if effects.count(effect) > 1:
                raise ValueError(f"{effect!r} would be in the rack twice: use its copy(), or give "
                                 "another order by rack[:] = [..]")
            if effect._in_rack and effect not in self._effects:
                raise ValueError(f"{effect!r} is in a rack already: use its copy()")
        title = f"name = {json.dumps(name, ensure_ascii=False)}\n" if name else ""
        switch = "" if self.enabled else "enabled = false\n"
        preset = "".join([EMPTY, title, switch, *(effect._text() for effect in effects)])
        try:
            self._take_over(preset, effects)
        except ValueError as error:  # a line of a text that nobody wrote
            raise ValueError(re.sub(r"^line \d+: ", "", str(error))) from None
        self._name = name

    def _take_over(self, preset: str, effects: list[Effect] | None = None) -> None:
        """Loads a preset, whose effects are these, or new ones; those that were stand alone."""
        left = [(effect, effect._text()) for effect in self._effects if effect not in (effects or [])]
        self._handle.load(preset)
        for effect, text in left:
            effect._stand_alone(self.rate, text)
        ids = self._handle.effects()
        self._effects = effects or [by_id[id].__new__(by_id[id]) for id in ids]
        for slot, effect in enumerate(self._effects):
            effect._place(self._handle, slot)

    def __len__(self) -> int:
        return len(self._effects)

    @overload
    def __getitem__(self, index: int) -> Any: ...  # of a class that only its user knows
    @overload
    def __getitem__(self, index: slice) -> list[Effect]: ...
    def __getitem__(self, index: int | slice) -> Any:
        return self._effects[index]

    def __setitem__(self, index: Any, effect: Any) -> None:
        effects = list(self._effects)
        effects[index] = effect
        self._replace(effects, self.name)

    def __delitem__(self, index: int | slice) -> None:
        effects = list(self._effects)
        del effects[index]
        self._replace(effects, self.name)

    def insert(self, index: int, effect: Effect) -> None:
        effects = list(self._effects)
        effects.insert(index, effect)
        self._replace(effects, self.name)

    @property
    def name(self) -> str:
        """What the preset is called."""
        return self._name

    @name.setter
    def name(self, name: str) -> None:
        self._replace(self._effects, name)

    @property
    def rate(self) -> int:
        """The sample rate in Hz; `copy` makes a rack for another one."""
        return self._handle.rate

    @property
    def enabled(self) -> bool:
        """Switched on. What is off passes the sound on as it is, with the same latency."""
        return bool(lib.sonx_rack_enabled(self._handle, -1) == 1)

    @enabled.setter
    def enabled(self, on: bool) -> None:
        lib.sonx_rack_enable(self._handle, -1, int(switch_number("enabled", on)))

    def copy(self, rate: int | None = None) -> Rack:
        """Another rack with the same settings, for this rate or another."""
        return loads(self.preset, self.rate if rate is None else rate)

    def reverse(self) -> None:
        self[:] = self[::-1]

    # ---- The sound.

    @property
    def _handle(self) -> Handle:
        return self._stream.handle

    def __call__(self, samples: Samples, *, tail: float = 0.0) -> Samples:
        """A whole recording, its latency taken out, and `tail` more seconds of what sounds on."""
        return Stream(Handle(self.rate, self.preset)).render(samples, tail)

    def process(self, block: Samples) -> Samples:
        """The next block of a stream, of any length; what comes out is `latency` frames late."""
        return self._stream.run(block)

    def reset(self) -> None:
        """The next block begins a new stream."""
        self._stream.reset()

    @property
    def latency(self) -> int:
        """Frames by which a stream comes out late."""
        return int(lib.sonx_rack_latency(self._handle))

    @property
    def tail(self) -> float:
        """Seconds after the sound's end until nothing is heard any more, or more than that; inf
        where something always is."""
        frames = int(lib.sonx_rack_tail(self._handle))
        return math.inf if frames < 0 else (frames - self.latency) / self.rate

    @property
    def meters(self) -> Meters:
        """What the stream brought in and took out since this was asked for last."""
        return Meters(*self._handle.meters(-1))

    # ---- Presets.

    @property
    def preset(self) -> str:
        """The settings as text. A new text replaces all effects, also while a stream goes on."""
        return self._handle.text("save")

    @preset.setter
    def preset(self, text: str) -> None:
        self._take_over(text)
        self._name = tomllib.loads(self.preset).get("name", "")

    def save(self, path: PathLike) -> None:
        """Writes the preset to a file."""
        Path(path).write_text(self.preset, encoding="utf-8")

    def export_c(self) -> str:
        """The settings as C, for a program that drives the effects' own library."""
        return self._handle.text("export_c")

    @property
    def report(self) -> str:
        """What `import_equalizer` had to say."""
        return self._report

    def __reduce__(self) -> tuple[Any, ...]:
        return loads, (self.preset, self.rate)

    def __repr__(self) -> str:
        effects = "".join(f"\n    {effect!r}," for effect in self)
        name = f", name={self.name!r}" if self.name else ""
        return f"Rack([{effects}{chr(10) if effects else ''}], rate={self.rate}{name})"

    def _repr_html_(self) -> str:
        rows = "".join(
            f"<tr style='vertical-align:top'><th style='text-align:left'>{html.escape(effect.title)}"
            f"</th><td style='text-align:left'>{_html_settings(effect)}</td></tr>" for effect in self)
        late = f", {self.latency} frames late" if self.latency else ""
        about = f"{html.escape(self.name) or 'Rack'}, {self.rate} Hz{late}"
        return f"<table><caption>{about}</caption>{rows}</table>"


def _html_settings(effect: Effect) -> str:
    """The parameters on a line, each section on one of its own."""
    named = ", ".join(f"{p.name.lower()} {p.words(effect._get(p))}"
                      for p in effect.parameters.values())
    sections = (", ".join(p.words(section._get(p)) for p in section.parameters.values())
                for id in effect.groups for section in getattr(effect, id).used())
    lines = [*([] if effect.enabled else ["switched off"]), *([named] if named else []), *sections]
    return "<br>".join(map(html.escape, lines))


def loads(text: str, rate: int = 48000) -> Rack:
    """A rack from a preset's text. ValueError says which line is wrong."""
    rack = Rack(rate=rate)
    rack.preset = text
    return rack


def load(preset: PathLike, rate: int = 48000) -> Rack:
    """A rack from a preset's file, or from one of `presets()` by its name."""
    known = _named()
    path = Path(preset)
    there = path.exists() and not path.is_dir()
    if not there and str(preset) in known:
        path = known[str(preset)]
    elif not there:
        hint = nearest(path.stem, known) or "; sonx.presets() has those with a name"
        raise FileNotFoundError(f"there is no preset '{preset}'{hint}")
    try:
        return loads(path.read_text(encoding="utf-8"), rate)
    except ValueError as error:
        raise ValueError(f"{path}: {error}") from None


def presets() -> list[str]:
    """The names of your own presets and of those that come with the package or the library, for
    `load`."""
    return sorted(_named())


def _named() -> dict[str, Path]:
    """The user's own come first, as with the command; then those beside the package, as in a
    wheel, or in a tree of the source; then those of the system."""
    own = os.environ.get("XDG_DATA_HOME") or os.path.expanduser("~/.local/share")
    shared = os.environ.get("XDG_DATA_DIRS") or "/usr/local/share:/usr/share"
    here = Path(__file__).resolve().parent
    found: dict[str, Path] = {}
    for folder in (Path(own, "sonx/presets"), here / "presets", here.parents[1] / "presets",
                   *(Path(data, "sonx/presets") for data in shared.split(":"))):
        found = {path.stem: path for path in folder.glob("*.toml")} | found
    return found


def parse_equalizer(text: str, auto_preamp: bool = False, rate: int = 48000) -> Rack:
    """A rack from equalizer settings as they are published.

    Lines `Preamp: -6.2 dB` and `Filter 1: ON PK Fc 105 Hz Gain -3.2 dB Q 0.70`, or a line
    `GraphicEQ: 20 0.0; 21 -0.3; ..`, which sections are fitted to. auto_preamp makes the preamp
    what the whole curve needs. The rack's `report` says what was taken. ValueError has a line for
    each fault.
    """
    preset, report = (ctypes.create_string_buffer(1 << 16) for _ in range(2))
    faults = lib.sonx_rack_import(text.encode(), auto_preamp, preset, len(preset),
                                  report, len(report))
    if faults < 0:
        raise ValueError("too many filters")
    if faults > 0:
        raise ValueError(report.value.decode(errors="replace").rstrip())
    rack = loads(preset.value.decode(), rate)
    rack._report = report.value.decode()
    return rack


def import_equalizer(path: PathLike, auto_preamp: bool = False, rate: int = 48000) -> Rack:
    """A rack from a file of published equalizer settings; `parse_equalizer` says which."""
    text = Path(path).read_text(encoding="utf-8-sig", errors="replace")
    return parse_equalizer(text, auto_preamp, rate)
