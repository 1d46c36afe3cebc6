"""Arrays through a rack of the library, as streams and as whole recordings."""

from __future__ import annotations

import ctypes
import threading
from typing import Any, cast

import numpy as np
import numpy.typing as npt

from ._library import Handle, lib
from ._parameters import number_within

#: Arrays as the rack takes and gives them: (frames,) or (channels, frames).
Samples = npt.NDArray[Any]
_AT_ONCE = 1 << 20  # frames in one call, so that an interrupt gets its turn
_LONGEST_TAIL = 1e6  # seconds, as with `sonx play`


def checked(samples: Any) -> Samples:
    """As (channels, frames), in one of the three types."""
    array = np.asarray(samples)
    if array.dtype.kind == "f":
        array = array.astype(np.float32, copy=False)
    elif array.dtype.kind == "i" and array.dtype.itemsize in (2, 4):
        array = array.astype(array.dtype.newbyteorder("="), copy=False)
    else:
        raise TypeError(f"samples are float32, int16 or int32, not {array.dtype}")
    if array.ndim not in (1, 2):
        raise ValueError(f"samples are (frames,) or (channels, frames), not {array.shape}")
    planes = np.atleast_2d(array)
    if len(planes) not in (1, 2):
        hint = ", turned round: use .T" if planes.shape[1] in (1, 2) else ": 1 or 2 channels"
        raise ValueError(f"samples of shape {array.shape} aren't (channels, frames){hint}")
    return cast(Samples, planes)


class Stream:
    """A handle, and the arrays that go through it."""

    def __init__(self, handle: Handle) -> None:
        self.handle = handle
        self._busy = threading.Lock()  # the library wants one thread at a time

    def run(self, samples: Any) -> Samples:
        planes = checked(samples)
        with self._busy:
            out = self._floats(planes) if planes.dtype.kind == "f" else self._words(planes)
        return out.reshape(np.shape(samples))

    def reset(self) -> None:
        with self._busy:
            lib.sonx_rack_reset(self.handle)

    def _floats(self, planes: Samples) -> Samples:
        planes = np.ascontiguousarray(planes)
        out = np.empty_like(planes)
        pointers = ctypes.c_void_p * len(planes)
        for start in range(0, planes.shape[1], _AT_ONCE):
            frames = min(_AT_ONCE, planes.shape[1] - start)
            ins, outs = (pointers(*(plane[start:].ctypes.data for plane in its))
                         for its in (planes, out))
            lib.sonx_rack_process_f32(self.handle, ins, outs, len(planes), frames)
        return out

    def _words(self, planes: Samples) -> Samples:
        process = lib.sonx_rack_process_s16 if planes.dtype == np.int16 else lib.sonx_rack_process_s32
        interleaved = np.array(planes.T, order="C")
        for start in range(0, len(interleaved), _AT_ONCE):
            piece = interleaved[start:start + _AT_ONCE]
            process(self.handle, piece.ctypes.data, len(planes), len(piece))
        return np.ascontiguousarray(interleaved.T)

    def render(self, samples: Any, tail: float) -> Samples:
        """A whole recording, its latency taken out, and what sounds on for `tail` seconds."""
        tail = number_within("tail", tail, 0, _LONGEST_TAIL, "s")
        planes = checked(samples)
        latency = lib.sonx_rack_latency(self.handle)
        silence = latency + round(tail * self.handle.rate)
        out = self.run(np.pad(planes, ((0, 0), (0, silence))))[:, latency:]
        return np.ascontiguousarray(out if np.ndim(samples) == 2 else out[0])
