"""The rack's C library, found and declared.

It is looked for in this order: in $SONX_LIBRARY, a file or the folder that it is in (a build tree,
say); beside this package, where a wheel carries it; where the system's loader looks.
"""

from __future__ import annotations

import ctypes
import functools
import os
import weakref
from ctypes import POINTER, c_char_p, c_double, c_float, c_int, c_size_t, c_void_p
from pathlib import Path
from typing import Any

_NAME = "libsonx_rack.so.1"
EMPTY = "sonx = 1\n"  # a preset without effects


class CParameter(ctypes.Structure):
    id: bytes
    name: bytes
    unit: bytes
    description: bytes
    kind: int
    minimum: float
    maximum: float
    initial: float
    step: float
    logarithmic: int
    choice_count: int
    _fields_ = [
        ("id", c_char_p), ("name", c_char_p), ("unit", c_char_p), ("description", c_char_p),
        ("kind", c_int),
        ("minimum", c_double), ("maximum", c_double), ("initial", c_double), ("step", c_double),
        ("logarithmic", c_int),
        ("choice_count", c_int),
        ("choices", POINTER(c_char_p)),
    ]


class CEffect(ctypes.Structure):
    id: bytes
    name: bytes
    description: bytes
    inputs: int
    outputs: int
    rate_count: int
    parameter_count: int
    category: bytes
    _fields_ = [
        ("id", c_char_p), ("name", c_char_p), ("description", c_char_p),
        ("inputs", c_int), ("outputs", c_int),
        ("rate_count", c_int), ("rates", POINTER(c_int)),
        ("parameter_count", c_int), ("parameters", POINTER(CParameter)),
        ("category", c_char_p),
    ]


_Pair = c_float * 2
_FUNCTIONS = {
    "sonx_rack_version": (c_char_p,),
    "sonx_effect_count": (c_int,),
    "sonx_effect_at": (POINTER(CEffect), c_int),
    "sonx_rack_import": (c_int, c_char_p, c_int, c_char_p, c_size_t, c_char_p, c_size_t),
    "sonx_rack_create": (c_void_p, c_int, c_int),
    "sonx_rack_destroy": (None, c_void_p),
    "sonx_rack_load": (c_int, c_void_p, c_char_p, c_char_p, c_size_t),
    "sonx_rack_save": (c_int, c_void_p, c_char_p, c_size_t),
    "sonx_rack_export_c": (c_int, c_void_p, c_char_p, c_size_t),
    "sonx_rack_slot_count": (c_int, c_void_p),
    "sonx_rack_slot": (POINTER(CEffect), c_void_p, c_int),
    "sonx_rack_set": (c_int, c_void_p, c_int, c_int, c_double),
    "sonx_rack_get": (c_double, c_void_p, c_int, c_int),
    "sonx_rack_enable": (c_int, c_void_p, c_int, c_int),
    "sonx_rack_enabled": (c_int, c_void_p, c_int),
    "sonx_rack_latency": (c_int, c_void_p),
    "sonx_rack_tail": (c_int, c_void_p),
    "sonx_rack_reset": (None, c_void_p),
    "sonx_rack_process_f32": (None, c_void_p, POINTER(c_void_p), POINTER(c_void_p), c_int, c_int),
    "sonx_rack_process_s32": (None, c_void_p, c_void_p, c_int, c_int),
    "sonx_rack_process_s16": (None, c_void_p, c_void_p, c_int, c_int),
    "sonx_rack_meters": (None, c_void_p, _Pair, _Pair),
    "sonx_rack_slot_meters": (c_int, c_void_p, c_int, _Pair, _Pair),
}


def _find() -> str:
    if chosen := os.environ.get("SONX_LIBRARY"):
        path = Path(chosen)
        return str(path / _NAME if path.is_dir() else path)
    carried = Path(__file__).with_name(_NAME)
    return str(carried) if carried.exists() else _NAME


def _load() -> ctypes.CDLL:
    """CDLL, not PyDLL: other threads of Python run while one is in the library."""
    found = _find()
    try:
        library = ctypes.CDLL(found)
        for name, (result, *arguments) in _FUNCTIONS.items():
            function = getattr(library, name)
            function.restype, function.argtypes = result, arguments
    except (OSError, AttributeError) as error:
        raise ImportError(
            f"the library {found} can't be used ({error}): install sonx_rack, or let SONX_LIBRARY "
            "name its file or its folder"
        ) from error
    return library


lib = _load()
version: str = lib.sonx_rack_version().decode()


def whole(rate: Any) -> int:
    try:
        if int(rate) == rate:
            return int(rate)
    except (TypeError, ValueError, OverflowError):
        pass
    raise TypeError(f"rate is a whole number of Hz, not {rate!r}")


@functools.cache
def _rates() -> list[int]:
    """Those that some effect has, in Hz."""
    effects = (lib.sonx_effect_at(k).contents for k in range(lib.sonx_effect_count()))
    return sorted({its.rates[k] for its in effects for k in range(its.rate_count)})


class Handle:
    """A rack of the library: the settings and the state of one stream."""

    def __init__(self, rate: int, preset: str = EMPTY) -> None:
        rate = whole(rate)
        if rate not in _rates():
            raise ValueError(f"rate: no effect has {rate} Hz, only {', '.join(map(str, _rates()))}")
        pointer = lib.sonx_rack_create(rate, 4096)
        if not pointer:
            raise MemoryError
        self._as_parameter_ = c_void_p(pointer)
        self.rate = rate
        weakref.finalize(self, lib.sonx_rack_destroy, self._as_parameter_)
        self.load(preset)

    def load(self, preset: str) -> None:
        if "\0" in preset:
            raise ValueError("a preset has no zero bytes")
        error = ctypes.create_string_buffer(1000)
        if lib.sonx_rack_load(self, preset.encode(), error, len(error)) != 0:
            raise ValueError(error.value.decode(errors="replace"))

    def text(self, write: str) -> str:
        """What a function of the library writes, save or export_c."""
        function = getattr(lib, f"sonx_rack_{write}")
        size = function(self, None, 0) + 1
        buffer = ctypes.create_string_buffer(size)
        if size == 0 or function(self, buffer, size) < 0:
            raise MemoryError
        return buffer.value.decode()

    def effects(self) -> list[str]:
        """The ids of what is in the slots."""
        slots = range(lib.sonx_rack_slot_count(self))
        return [lib.sonx_rack_slot(self, k).contents.id.decode() for k in slots]

    def meters(self, slot: int) -> tuple[tuple[float, float], tuple[float, float]]:
        """Of a slot, or with -1 of the whole."""
        peak_in, peak_out = _Pair(), _Pair()
        if slot < 0:
            lib.sonx_rack_meters(self, peak_in, peak_out)
        else:
            lib.sonx_rack_slot_meters(self, slot, peak_in, peak_out)
        return (peak_in[0], peak_in[1]), (peak_out[0], peak_out[1])
