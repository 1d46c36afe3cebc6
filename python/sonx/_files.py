"""Recordings from and to files, by the package soundfile, which is looked for when it's needed."""

from __future__ import annotations

import os
from typing import Any

import numpy as np

from ._audio import Samples, checked
from ._library import whole
from ._parameters import number_within


def _soundfile() -> Any:
    try:
        import soundfile
    except ImportError:
        raise ImportError("reading and writing files takes the package soundfile") from None
    return soundfile


def read(path: str | os.PathLike[str], dtype: str = "float32") -> tuple[Samples, int]:
    """The samples of a file, (channels, frames) or (frames,), and its rate.

    WAV, FLAC, OGG and whatever else soundfile reads; dtype is float32, int16 or int32.
    """
    if not os.path.exists(path):
        raise FileNotFoundError(f"there is no file '{os.fspath(path)}'")
    samples, rate = _soundfile().read(os.fspath(path), dtype=dtype)
    return np.ascontiguousarray(samples.T), int(rate)


def write(path: str | os.PathLike[str], samples: Samples, rate: int, bits: int = 0) -> None:
    """Writes samples to a WAV, FLAC, CAF or W64 file, with 16 or 24 bits; by itself 16 for
    int16, 24 for others.

    What a rack gave becomes the file that `sonx play` writes, if it's as wide: that keeps a 16-bit
    file's width, so read such a file as int16.
    """
    planes, rate = checked(samples), whole(rate)
    number_within("rate", rate, 1, 2**31 - 1, "Hz")
    if planes.dtype.kind == "f":
        exact = np.atleast_2d(np.asarray(samples, np.float64))
        if np.isnan(exact).any():
            raise ValueError("the samples have NaN among them")
        words = np.clip(np.trunc(np.ldexp(exact, 31)), -2**31, 2**31 - 1).astype(np.int64)
    else:
        words = planes.astype(np.int64) * (0x10000 if planes.dtype == np.int16 else 1)
    bits = bits or (16 if planes.dtype == np.int16 else 24)
    if bits not in (16, 24):
        raise ValueError(f"bits is 16 or 24, not {bits!r}")
    if bits == 16:  # to the nearest, halves upward
        words = np.minimum((words + 0x8000) & ~0xFFFF, 0x7FFF0000)
    soundfile, kind = _soundfile(), os.path.splitext(path)[1][1:].upper()
    if kind not in ("WAV", "FLAC", "CAF", "W64"):
        raise ValueError(f"'{os.fspath(path)}' isn't called .wav, .flac, .caf or .w64")
    soundfile.write(os.fspath(path), words.astype(np.int32).T, rate, subtype=f"PCM_{bits}")
