"""Audio effects for headphones and voices, in a row, by name and in real units.

    import sonx

    samples, rate = sonx.read("music.flac")
    rack = sonx.Rack([
        sonx.ParametricEqualizer(preamp=-6, bands=[sonx.Band("peak", 105, -3.2, 0.7)]),
        sonx.Reverb(room=60, dry=100),
    ], rate=rate)                      # it never converts rates
    louder = rack(samples)             # float32, int16 or int32; (channels, frames) or (frames,)
    rack[1].room = 20                  # a property, with its range and unit: help(sonx.Reverb)
    sonx.write("out.wav", rack(samples, tail=rack.tail), rate)

    rack = sonx.load("late-evening", rate)   # one of sonx.presets(), or a file
    for block in blocks:               # a stream; settings may change while it goes on
        out = rack.process(block)
    sonx.response(rack).plot()         # measured, drawn by matplotlib

The samples are whole numbers of 24 bits inside, so that results are the same everywhere, and the
same as those of the command `sonx play`.
"""

from ._audio import Samples
from ._effect import Effect, Meters
from ._files import read, write
from ._library import version as __version__
from ._parameters import Choice, Number, Parameter, Switch
from ._rack import Rack, import_equalizer, load, loads, parse_equalizer, presets
from ._response import Response, response
from .effects import *
from .effects import __all__ as _effect_names
from .effects import by_id as effects_by_id

__all__ = [
    "Choice", "Effect", "Meters", "Number", "Parameter", "Rack", "Response", "Samples", "Switch",
    "effects_by_id", "import_equalizer", "load", "loads", "parse_equalizer", "presets", "read",
    "response", "write",
]
__all__ += _effect_names

# What there is, at the top of help(sonx).
__doc__ = f"{__doc__}\nThe effects, help(sonx.Reverb) tells more of each:\n\n" + "".join(
    f"    {kind.__name__:19} {kind.about}\n" for kind in effects_by_id.values())
