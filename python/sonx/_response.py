"""What a rack does to frequencies, measured with a sine sweep."""

from __future__ import annotations

from typing import Any, Literal

import numpy as np
import numpy.typing as npt

from ._audio import Stream
from ._effect import Effect
from ._library import Handle
from ._parameters import number_within
from ._rack import Rack

_LENGTH = 1 << 19  # of the sweep, in frames
_FROM = 10.0  # Hz
_LOWEST, _HIGHEST = 20.0, 20000.0  # Hz, of what is shown

Floats = npt.NDArray[np.float64]


class Response:
    """A measured response: `transfer` of the left and the right output at the `bins` in Hz.

    The latency is taken out of phase and delay, and both are NaN where the level is more than 60 dB
    below its highest.
    """

    def __init__(self, rack: Rack, transfer: npt.NDArray[np.complex128]) -> None:
        self.rate, self.latency, self.label = rack.rate, rack.latency, rack.name
        self.bins: Floats = np.fft.rfftfreq(_LENGTH, 1 / rack.rate)
        turns = np.exp(2j * np.pi * self.bins * rack.latency / rack.rate)
        self.transfer: npt.NDArray[np.complex128] = transfer * turns
        off = np.abs(self.level(smoothing=0) - self.level(smoothing=12)).max(axis=0)
        self.smoothing = 12 if np.median(off) > 0.5 else 0

    @property
    def frequencies(self) -> Floats:
        """The audible ones, 48 to an octave."""
        octaves = np.log2(min(_HIGHEST, 0.49 * self.rate) / _LOWEST)
        return np.asarray(_LOWEST * np.exp2(np.linspace(0, octaves, round(48 * octaves) + 1)))

    def level(self, hertz: Any = None, smoothing: int | None = None) -> Floats:
        """In dB, (2, frequencies): the mean power over 1/smoothing octave. Without `smoothing` it's
        a twelfth where the response is combed, as by echoes, else none (0)."""
        places = self._places(hertz)
        smoothing = self.smoothing if smoothing is None else smoothing
        if smoothing:
            number_within("smoothing", smoothing, 1, 48)
        power = np.abs(self.transfer) ** 2
        width = np.exp2(0.5 / smoothing) if smoothing else 1.0
        sums = np.concatenate([np.zeros((2, 1)), np.cumsum(power, axis=1)], axis=1)
        first = np.ceil(places / width).astype(int)
        last = np.minimum((places * width).astype(int), power.shape[1] - 1)
        wide = last > first
        below = places.astype(int)
        part = places - below
        between = (1 - part) * power[:, below] + part * power[:, below + 1]
        means = (sums[:, last + 1] - sums[:, first]) / np.maximum(last - first + 1, 1)
        return np.asarray(10 * np.log10(np.where(wide, means, between) + 1e-30))

    def phase(self, hertz: Any = None) -> Floats:
        """In degrees, -180 .. 180."""
        return self._where_heard(np.degrees(np.angle(self.transfer)), hertz)

    def delay(self, hertz: Any = None) -> Floats:
        """The group delay in ms, the mean by power over a twelfth of an octave."""
        slopes = np.zeros_like(self.transfer)
        slopes[:, :-1] = self.transfer[:, 1:] * np.conj(self.transfer[:, :-1])
        sums = np.concatenate([np.zeros((2, 1)), np.cumsum(slopes, axis=1)], axis=1)
        k = np.arange(len(self.bins))
        first = (k / 2 ** (1 / 24)).astype(int)
        last = np.minimum((k * 2 ** (1 / 24)).astype(int) + 1, len(k) - 2)
        slope = sums[:, last + 1] - sums[:, first]
        ms = -np.angle(slope) * _LENGTH / (2 * np.pi) * 1000 / self.rate
        return self._where_heard(ms, hertz)

    def _places(self, hertz: Any) -> Floats:
        """Frequencies as bins."""
        hertz = np.atleast_1d(self.frequencies if hertz is None else np.asarray(hertz, float))
        if not (hertz.size and np.all((hertz > 0) & (hertz < self.rate / 2))):
            raise ValueError(f"frequencies lie between 0 and {self.rate / 2:g} Hz")
        return np.asarray(hertz * _LENGTH / self.rate)

    def _where_heard(self, values: Floats, hertz: Any) -> Floats:
        power = np.abs(self.transfer) ** 2
        bins = np.rint(self._places(hertz)).astype(int)
        return np.where(power > 1e-6 * power.max(), values, np.nan)[:, bins]

    def plot(self, show: Literal["level", "phase", "delay"] = "level", ax: Any = None,
             label: str | None = None, **style: Any) -> Any:
        """Draws a curve into new or given axes of matplotlib, one for each channel where they
        differ, and returns the axes. Another response goes into the same picture by `ax`; `style`
        is what matplotlib takes for lines."""
        from ._plot import draw
        return draw(self, show, ax, self.label if label is None else label, style)

    def __repr__(self) -> str:
        levels = self.level()
        most = self.frequencies[np.argmax(levels.max(axis=0))]
        return (f"<Response of {self.label or 'a rack'} at {self.rate} Hz: "
                f"{levels.min():.1f} .. {levels.max():.1f} dB, most at {most:.0f} Hz>")


def response(rack: Rack | Effect, level: float = -9.0,
             input: Literal["both", "left", "right"] = "both", rate: int = 48000) -> Response:
    """Measures a rack, as it is set, or an effect at a rate: the way of `sonx response`.

    An exponential sweep of `level` dBFS goes through twice, and the second time is measured. What
    distorts is told without its harmonics, which such a sweep puts ahead of the impulse response.
    """
    if isinstance(rack, Effect):
        rack = Rack([rack.copy()], rate, rack.title)
    if not isinstance(rack, Rack):
        raise TypeError(f"what is measured is a rack or an effect, not {rack!r}")
    if input not in ("both", "left", "right"):
        raise ValueError(f"input is 'both', 'left' or 'right', not {input!r}")
    level = number_within("level", level, -90, 0, "dBFS")
    sweep = _sweep(level, rack.rate)
    sides = np.array([[input != "right"], [input != "left"]])
    stream = Stream(Handle(rack.rate, rack.preset))
    for _ in range(2):
        out = stream.run(sides * sweep)
    return Response(rack, np.stack([_transfer(sweep, side) for side in out]))


def _sweep(level: float, rate: int) -> npt.NDArray[np.float32]:
    """The tool's: rounded to single precision, then as the rack takes it."""
    t = np.arange(_LENGTH) / _LENGTH
    rise = np.log(0.49 * rate / _FROM)
    turns = _FROM * _LENGTH / rate / rise * np.expm1(t * rise)
    sweep = (10 ** (level / 20) * np.sin(2 * np.pi * turns)).astype(np.float32)
    return np.asarray(np.rint(sweep * np.float32(2**23)) / np.float32(2**23))


def _transfer(sweep: npt.NDArray[np.float32], out: Any) -> npt.NDArray[np.complex128]:
    x, y = np.fft.rfft(sweep), np.fft.rfft(out)
    power = np.abs(x) ** 2
    ratio = y * np.conj(x) / (power + 1e-9 * power.max())  # nothing where the sweep has nothing
    ratio[0] = ratio[1].real  # a constant that a filter rests at is no answer
    impulse = np.fft.irfft(ratio)
    # The second half is distortion; its end belongs to filters without a delay of their own.
    impulse[_length_of(impulse):-_LENGTH // 64] = 0
    return np.asarray(np.fft.rfft(impulse))


def _length_of(impulse: Floats) -> int:
    """Frames until it has sunk into the noise at its end, for longer than an echo's pause."""
    part = _LENGTH // 256
    powers = np.sum(impulse[:_LENGTH // 2].reshape(-1, part) ** 2, axis=1)
    silent = 0
    for k, power in enumerate(powers):
        silent = silent + 1 if power < 2 * powers[64:].mean() else 0
        if silent > 4:
            return (k - 3) * part
    return _LENGTH // 2
