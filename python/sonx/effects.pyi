# The classes of the catalogue's effects. Made by make_stub.py; not to be edited.
from collections.abc import Iterable, Mapping, Sequence
from typing import Any, Literal

from ._effect import Effect
from ._parameters import Choice, Number, Switch
from ._sections import Group, Section

sections: dict[str, type[Section]]
by_id: dict[str, type[Effect]]
__all__ = ['Band', 'Headphones', 'Karaoke', 'GraphicEqualizer', 'ParametricEqualizer', 'Reverb', 'StereoWidening', 'VirtualBass', 'SmartVolume', 'Compressor', 'SpeakerBoost', 'Balance', 'Volume', 'Gramophone', 'Echo', 'HowlingCanceller', 'NoiseSuppressor']

class Band(Section):
    """One of the bands of an effect, or a value to put there.

    type: type: 'peak', 'low-shelf', 'high-shelf', 'low-pass', 'high-pass', 'all-pass' or 'off',
        initially 'peak'. The section's shape.
    frequency: frequency: 20 .. 20000 Hz, initially as its place has it. Middle of a peak, an all-
        pass or a shelf's slope, or corner of a pass.
    gain: gain: -24 .. 12 dB, initially 0. Gain of a peak or shelf; other shapes have none.
    q: Q: 0.1 .. 20, initially 1. How narrow a peak is, how steep a shelf or how sharp a corner."""
    type: Choice[Literal['peak', 'low-shelf', 'high-shelf', 'low-pass', 'high-pass', 'all-pass', 'off']]
    """type: 'peak', 'low-shelf', 'high-shelf', 'low-pass', 'high-pass', 'all-pass' or 'off', initially 'peak'.
    The section's shape."""
    frequency: Number
    """frequency: 20 .. 20000 Hz, initially as its place has it.
    Middle of a peak, an all-pass or a shelf's slope, or corner of a pass."""
    gain: Number
    """gain: -24 .. 12 dB, initially 0.
    Gain of a peak or shelf; other shapes have none."""
    q: Number
    """Q: 0.1 .. 20, initially 1.
    How narrow a peak is, how steep a shelf or how sharp a corner."""
    def __init__(
        self,
        type: Literal['peak', 'low-shelf', 'high-shelf', 'low-pass', 'high-pass', 'all-pass', 'off'] = 'peak',
        frequency: float = ...,
        gain: float = 0,
        q: float = 1,
    ) -> None: ...

class Headphones(Effect):
    """One effect at a time and a correction for a type of headphones, in front of a limiter.

    Stereo to stereo, at 44100, 48000, 96000 Hz.

    effect: Effect: 'none', 'stereo-widening', 'virtual-bass', 'preset', 'reverb' or 'graphic-
        equalizer', initially 'none'. Which effect plays; the preset is a fixed parametric
        equalizer.
    adapter: Headphones: 'none', 'closed-over-ear', 'open-over-ear', 'on-ear', 'in-ear-deep', 'in-
        ear-shallow', 'ear-bud' or 'bone-conduction', initially 'none'. Which type of headphones is
        corrected, unless the effect is an equalizer; at 96 kHz, for which there are no corrections,
        none.
    reverb_room: Reverb: Room size: 0 .. 100 %, initially 50. How long the room's lows sound: at 48
        kHz from one second at 0 to over half a minute at 100.
    reverb_damp: Reverb: Damping: 0 .. 100 %, initially 50. How much sooner the highs of the room
        die away than its lows.
    reverb_wet: Reverb: Room level: 0 .. 300 %, initially 100. How loud the room is.
    reverb_dry: Reverb: Plain sound: 0 .. 200 %, initially 0. How loud the sound itself stays beside
        the room; 100 leaves it as it is.
    reverb_width: Reverb: Width: 0 .. 200 %, initially 100. How far the room's left and right are
        apart.
    reverb_gain: Reverb: Input gain: -20 .. 12 dB, initially 0. How strongly the sound goes into the
        room.
    band31: 31 Hz: -15 .. 15 dB, initially 0. Gain of everything below some 50 Hz.
    band62: 62 Hz: -15 .. 15 dB, initially 0. Gain of the band around 62 Hz.
    band125: 125 Hz: -15 .. 15 dB, initially 0. Gain of the band around 125 Hz.
    band250: 250 Hz: -15 .. 15 dB, initially 0. Gain of the band around 250 Hz.
    band500: 500 Hz: -15 .. 15 dB, initially 0. Gain of the band around 500 Hz.
    band1k: 1 kHz: -15 .. 15 dB, initially 0. Gain of the band around 1 kHz.
    band2k: 2 kHz: -15 .. 15 dB, initially 0. Gain of the band around 2 kHz.
    band4k: 4 kHz: -15 .. 15 dB, initially 0. Gain of the band around 4 kHz.
    band8k: 8 kHz: -15 .. 15 dB, initially 0. Gain of the band around 8 kHz.
    band16k: 16 kHz: -15 .. 15 dB, initially 0. Gain of everything above some 12 kHz."""
    effect: Choice[Literal['none', 'stereo-widening', 'virtual-bass', 'preset', 'reverb', 'graphic-equalizer']]
    """Effect: 'none', 'stereo-widening', 'virtual-bass', 'preset', 'reverb' or 'graphic-equalizer', initially 'none'.
    Which effect plays; the preset is a fixed parametric equalizer."""
    adapter: Choice[Literal['none', 'closed-over-ear', 'open-over-ear', 'on-ear', 'in-ear-deep', 'in-ear-shallow', 'ear-bud', 'bone-conduction']]
    """Headphones: 'none', 'closed-over-ear', 'open-over-ear', 'on-ear', 'in-ear-deep', 'in-ear-shallow', 'ear-bud' or 'bone-conduction', initially 'none'.
    Which type of headphones is corrected, unless the effect is an equalizer; at 96 kHz, for which there are no corrections, none."""
    reverb_room: Number
    """Reverb: Room size: 0 .. 100 %, initially 50.
    How long the room's lows sound: at 48 kHz from one second at 0 to over half a minute at 100."""
    reverb_damp: Number
    """Reverb: Damping: 0 .. 100 %, initially 50.
    How much sooner the highs of the room die away than its lows."""
    reverb_wet: Number
    """Reverb: Room level: 0 .. 300 %, initially 100.
    How loud the room is."""
    reverb_dry: Number
    """Reverb: Plain sound: 0 .. 200 %, initially 0.
    How loud the sound itself stays beside the room; 100 leaves it as it is."""
    reverb_width: Number
    """Reverb: Width: 0 .. 200 %, initially 100.
    How far the room's left and right are apart."""
    reverb_gain: Number
    """Reverb: Input gain: -20 .. 12 dB, initially 0.
    How strongly the sound goes into the room."""
    band31: Number
    """31 Hz: -15 .. 15 dB, initially 0.
    Gain of everything below some 50 Hz."""
    band62: Number
    """62 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 62 Hz."""
    band125: Number
    """125 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 125 Hz."""
    band250: Number
    """250 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 250 Hz."""
    band500: Number
    """500 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 500 Hz."""
    band1k: Number
    """1 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 1 kHz."""
    band2k: Number
    """2 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 2 kHz."""
    band4k: Number
    """4 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 4 kHz."""
    band8k: Number
    """8 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 8 kHz."""
    band16k: Number
    """16 kHz: -15 .. 15 dB, initially 0.
    Gain of everything above some 12 kHz."""
    def __init__(
        self,
        *,
        effect: Literal['none', 'stereo-widening', 'virtual-bass', 'preset', 'reverb', 'graphic-equalizer'] = 'none',
        adapter: Literal['none', 'closed-over-ear', 'open-over-ear', 'on-ear', 'in-ear-deep', 'in-ear-shallow', 'ear-bud', 'bone-conduction'] = 'none',
        reverb_room: float = 50,
        reverb_damp: float = 50,
        reverb_wet: float = 100,
        reverb_dry: float = 0,
        reverb_width: float = 100,
        reverb_gain: float = 0,
        band31: float = 0,
        band62: float = 0,
        band125: float = 0,
        band250: float = 0,
        band500: float = 0,
        band1k: float = 0,
        band2k: float = 0,
        band4k: float = 0,
        band8k: float = 0,
        band16k: float = 0,
        enabled: bool = True,
    ) -> None: ...

class Karaoke(Effect):
    """Colours a singer's voice: the mean of both channels goes in, stereo comes out.

    Mono to stereo, at 48000 Hz.

    voice: Voice: -24 .. 18 dB, initially 0. Gain of the voice, which the compressor keeps from
        clipping; heard with it on.
    howling: Howling canceller: True or False, initially True. Keeps the microphone from howling.
    gramophone: Gramophone: True or False, initially False. Makes the voice sound like an old
        record.
    equalizer: Equalizer: True or False, initially False. Switches the bands on.
    reverb: Reverb: True or False, initially False. Switches the room on.
    echo: Echo: True or False, initially True. Switches the echo on.
    compressor: Compressor: True or False, initially False. Switches gain and limiter of the voice
        on.
    band31: 31 Hz: -15 .. 15 dB, initially 0. Gain of everything below some 50 Hz.
    band62: 62 Hz: -15 .. 15 dB, initially 0. Gain of the band around 62 Hz.
    band125: 125 Hz: -15 .. 15 dB, initially 0. Gain of the band around 125 Hz.
    band250: 250 Hz: -15 .. 15 dB, initially 0. Gain of the band around 250 Hz.
    band500: 500 Hz: -15 .. 15 dB, initially 0. Gain of the band around 500 Hz.
    band1k: 1 kHz: -15 .. 15 dB, initially 0. Gain of the band around 1 kHz.
    band2k: 2 kHz: -15 .. 15 dB, initially 0. Gain of the band around 2 kHz.
    band4k: 4 kHz: -15 .. 15 dB, initially 0. Gain of the band around 4 kHz.
    band8k: 8 kHz: -15 .. 15 dB, initially 0. Gain of the band around 8 kHz.
    band16k: 16 kHz: -15 .. 15 dB, initially 0. Gain of everything above some 12 kHz.
    reverb_room: Reverb: Room size: 0 .. 100 %, initially 50. How long the room's lows sound: at 48
        kHz from one second at 0 to over half a minute at 100.
    reverb_damp: Reverb: Damping: 0 .. 100 %, initially 50. How much sooner the highs of the room
        die away than its lows.
    reverb_wet: Reverb: Room level: 0 .. 300 %, initially 100. How loud the room is.
    reverb_dry: Reverb: Plain sound: 0 .. 200 %, initially 0. How loud the sound itself stays beside
        the room; 100 leaves it as it is.
    reverb_width: Reverb: Width: 0 .. 200 %, initially 100. How far the room's left and right are
        apart.
    reverb_gain: Reverb: Input gain: -20 .. 12 dB, initially 0. How strongly the sound goes into the
        room.
    echo_time: Echo: Time: 1 .. 350 ms, initially 1. Time to the first repeat and between repeats.
    echo_feedback: Echo: Feedback: 0 .. 100 %, initially 50. How slowly the repeats fade: at 100
        each is 4.6 dB softer than the one before.
    echo_dry: Echo: Plain sound: 0 .. 100 %, initially 33. How loud the sound itself is; the echo's
        level holds some of it too.
    echo_wet: Echo: Echo level: 0 .. 100 %, initially 67. How loud the echo is, the sound that it
        starts with included.
    howling_shift: Howling: Shift: 0 .. 20 Hz, initially 0. Moves all frequencies up by so much, so
        that a howl can't settle: some 4 dB more gain. 3 to 5 are usual; for speech, and not beside
        an accompaniment.
    howling_shift_when: Howling: Shift when: 'always' or 'when needed', initially 'when needed'.
        Shifts always, or only while the notches alone don't hold the loop.
    howling_last_resort: Howling: Last resort: True or False, initially False. Takes gain away while
        a howl goes on though all notches are in use."""
    voice: Number
    """Voice: -24 .. 18 dB, initially 0.
    Gain of the voice, which the compressor keeps from clipping; heard with it on."""
    howling: Switch
    """Howling canceller: True or False, initially True.
    Keeps the microphone from howling."""
    gramophone: Switch
    """Gramophone: True or False, initially False.
    Makes the voice sound like an old record."""
    equalizer: Switch
    """Equalizer: True or False, initially False.
    Switches the bands on."""
    reverb: Switch
    """Reverb: True or False, initially False.
    Switches the room on."""
    echo: Switch
    """Echo: True or False, initially True.
    Switches the echo on."""
    compressor: Switch
    """Compressor: True or False, initially False.
    Switches gain and limiter of the voice on."""
    band31: Number
    """31 Hz: -15 .. 15 dB, initially 0.
    Gain of everything below some 50 Hz."""
    band62: Number
    """62 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 62 Hz."""
    band125: Number
    """125 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 125 Hz."""
    band250: Number
    """250 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 250 Hz."""
    band500: Number
    """500 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 500 Hz."""
    band1k: Number
    """1 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 1 kHz."""
    band2k: Number
    """2 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 2 kHz."""
    band4k: Number
    """4 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 4 kHz."""
    band8k: Number
    """8 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 8 kHz."""
    band16k: Number
    """16 kHz: -15 .. 15 dB, initially 0.
    Gain of everything above some 12 kHz."""
    reverb_room: Number
    """Reverb: Room size: 0 .. 100 %, initially 50.
    How long the room's lows sound: at 48 kHz from one second at 0 to over half a minute at 100."""
    reverb_damp: Number
    """Reverb: Damping: 0 .. 100 %, initially 50.
    How much sooner the highs of the room die away than its lows."""
    reverb_wet: Number
    """Reverb: Room level: 0 .. 300 %, initially 100.
    How loud the room is."""
    reverb_dry: Number
    """Reverb: Plain sound: 0 .. 200 %, initially 0.
    How loud the sound itself stays beside the room; 100 leaves it as it is."""
    reverb_width: Number
    """Reverb: Width: 0 .. 200 %, initially 100.
    How far the room's left and right are apart."""
    reverb_gain: Number
    """Reverb: Input gain: -20 .. 12 dB, initially 0.
    How strongly the sound goes into the room."""
    echo_time: Number
    """Echo: Time: 1 .. 350 ms, initially 1.
    Time to the first repeat and between repeats."""
    echo_feedback: Number
    """Echo: Feedback: 0 .. 100 %, initially 50.
    How slowly the repeats fade: at 100 each is 4.6 dB softer than the one before."""
    echo_dry: Number
    """Echo: Plain sound: 0 .. 100 %, initially 33.
    How loud the sound itself is; the echo's level holds some of it too."""
    echo_wet: Number
    """Echo: Echo level: 0 .. 100 %, initially 67.
    How loud the echo is, the sound that it starts with included."""
    howling_shift: Number
    """Howling: Shift: 0 .. 20 Hz, initially 0.
    Moves all frequencies up by so much, so that a howl can't settle: some 4 dB more gain. 3 to 5 are usual; for speech, and not beside an accompaniment."""
    howling_shift_when: Choice[Literal['always', 'when needed']]
    """Howling: Shift when: 'always' or 'when needed', initially 'when needed'.
    Shifts always, or only while the notches alone don't hold the loop."""
    howling_last_resort: Switch
    """Howling: Last resort: True or False, initially False.
    Takes gain away while a howl goes on though all notches are in use."""
    def __init__(
        self,
        *,
        voice: float = 0,
        howling: bool = True,
        gramophone: bool = False,
        equalizer: bool = False,
        reverb: bool = False,
        echo: bool = True,
        compressor: bool = False,
        band31: float = 0,
        band62: float = 0,
        band125: float = 0,
        band250: float = 0,
        band500: float = 0,
        band1k: float = 0,
        band2k: float = 0,
        band4k: float = 0,
        band8k: float = 0,
        band16k: float = 0,
        reverb_room: float = 50,
        reverb_damp: float = 50,
        reverb_wet: float = 100,
        reverb_dry: float = 0,
        reverb_width: float = 100,
        reverb_gain: float = 0,
        echo_time: float = 1,
        echo_feedback: float = 50,
        echo_dry: float = 33,
        echo_wet: float = 67,
        howling_shift: float = 0,
        howling_shift_when: Literal['always', 'when needed'] = 'when needed',
        howling_last_resort: bool = False,
        enabled: bool = True,
    ) -> None: ...

class GraphicEqualizer(Effect):
    """Ten bands an octave apart.

    Stereo to stereo, at 44100, 48000, 96000 Hz.

    band31: 31 Hz: -15 .. 15 dB, initially 0. Gain of everything below some 50 Hz.
    band62: 62 Hz: -15 .. 15 dB, initially 0. Gain of the band around 62 Hz.
    band125: 125 Hz: -15 .. 15 dB, initially 0. Gain of the band around 125 Hz.
    band250: 250 Hz: -15 .. 15 dB, initially 0. Gain of the band around 250 Hz.
    band500: 500 Hz: -15 .. 15 dB, initially 0. Gain of the band around 500 Hz.
    band1k: 1 kHz: -15 .. 15 dB, initially 0. Gain of the band around 1 kHz.
    band2k: 2 kHz: -15 .. 15 dB, initially 0. Gain of the band around 2 kHz.
    band4k: 4 kHz: -15 .. 15 dB, initially 0. Gain of the band around 4 kHz.
    band8k: 8 kHz: -15 .. 15 dB, initially 0. Gain of the band around 8 kHz.
    band16k: 16 kHz: -15 .. 15 dB, initially 0. Gain of everything above some 12 kHz.
    automatic: Automatic level: True or False, initially True. Sets the input gain from the bands,
        so that a boosted curve doesn't clip.
    gain: Input gain: -24 .. 12 dB, initially 0. The input gain where it isn't automatic."""
    band31: Number
    """31 Hz: -15 .. 15 dB, initially 0.
    Gain of everything below some 50 Hz."""
    band62: Number
    """62 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 62 Hz."""
    band125: Number
    """125 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 125 Hz."""
    band250: Number
    """250 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 250 Hz."""
    band500: Number
    """500 Hz: -15 .. 15 dB, initially 0.
    Gain of the band around 500 Hz."""
    band1k: Number
    """1 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 1 kHz."""
    band2k: Number
    """2 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 2 kHz."""
    band4k: Number
    """4 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 4 kHz."""
    band8k: Number
    """8 kHz: -15 .. 15 dB, initially 0.
    Gain of the band around 8 kHz."""
    band16k: Number
    """16 kHz: -15 .. 15 dB, initially 0.
    Gain of everything above some 12 kHz."""
    automatic: Switch
    """Automatic level: True or False, initially True.
    Sets the input gain from the bands, so that a boosted curve doesn't clip."""
    gain: Number
    """Input gain: -24 .. 12 dB, initially 0.
    The input gain where it isn't automatic."""
    def __init__(
        self,
        *,
        band31: float = 0,
        band62: float = 0,
        band125: float = 0,
        band250: float = 0,
        band500: float = 0,
        band1k: float = 0,
        band2k: float = 0,
        band4k: float = 0,
        band8k: float = 0,
        band16k: float = 0,
        automatic: bool = True,
        gain: float = 0,
        enabled: bool = True,
    ) -> None: ...

class ParametricEqualizer(Effect):
    """Ten sections of any shape, for both channels or for each.

    Stereo to stereo, at 8000, 16000, 32000, 44100, 48000, 96000, 192000 Hz.

    preamp: Preamp: -30 .. 12 dB, initially 0. Gain ahead of the sections, to make room for what
        they raise.
    separate: Right channel separately: True or False, initially False. Gives the right channel
        sections of its own.
    bands: Up to 10 of Band(type, frequency, gain, q); those left out are as at first.
    rights: Up to 10 of Band(type, frequency, gain, q); those left out are as at first."""
    preamp: Number
    """Preamp: -30 .. 12 dB, initially 0.
    Gain ahead of the sections, to make room for what they raise."""
    separate: Switch
    """Right channel separately: True or False, initially False.
    Gives the right channel sections of its own."""
    bands: Group[Band]
    rights: Group[Band]
    def __init__(
        self,
        *,
        preamp: float = 0,
        separate: bool = False,
        bands: Iterable[Band | Mapping[str, Any] | Sequence[Any]] = ...,
        rights: Iterable[Band | Mapping[str, Any] | Sequence[Any]] = ...,
        enabled: bool = True,
    ) -> None: ...

class Reverb(Effect):
    """Puts a room around the music.

    Stereo to stereo, at 44100, 48000, 96000, 192000 Hz.

    room: Room size: 0 .. 100 %, initially 50. How long the room's lows sound: at 48 kHz from one
        second at 0 to over half a minute at 100.
    damp: Damping: 0 .. 100 %, initially 50. How much sooner the highs of the room die away than its
        lows.
    wet: Room level: 0 .. 300 %, initially 100. How loud the room is.
    dry: Plain sound: 0 .. 200 %, initially 0. How loud the sound itself stays beside the room; 100
        leaves it as it is.
    width: Width: 0 .. 200 %, initially 100. How far the room's left and right are apart.
    gain: Input gain: -20 .. 12 dB, initially 0. How strongly the sound goes into the room."""
    room: Number
    """Room size: 0 .. 100 %, initially 50.
    How long the room's lows sound: at 48 kHz from one second at 0 to over half a minute at 100."""
    damp: Number
    """Damping: 0 .. 100 %, initially 50.
    How much sooner the highs of the room die away than its lows."""
    wet: Number
    """Room level: 0 .. 300 %, initially 100.
    How loud the room is."""
    dry: Number
    """Plain sound: 0 .. 200 %, initially 0.
    How loud the sound itself stays beside the room; 100 leaves it as it is."""
    width: Number
    """Width: 0 .. 200 %, initially 100.
    How far the room's left and right are apart."""
    gain: Number
    """Input gain: -20 .. 12 dB, initially 0.
    How strongly the sound goes into the room."""
    def __init__(
        self,
        *,
        room: float = 50,
        damp: float = 50,
        wet: float = 100,
        dry: float = 0,
        width: float = 100,
        gain: float = 0,
        enabled: bool = True,
    ) -> None: ...

class StereoWidening(Effect):
    """Takes music on headphones out of the head.

    Stereo to stereo, at 44100, 48000, 96000 Hz.

    side: Side: 0 .. 100 %, initially 50. How much stronger the difference between the channels
        gets.
    crossfeed: Crossfeed: 0 .. 100 %, initially 50. How much each ear hears of the other side, as
        from loudspeakers.
    dry: Plain sound: 0 .. 100 %, initially 75. How loud the sound itself is.
    wet: Room level: 0 .. 100 %, initially 75. How loud the small room around it is.
    room: Room size: 0 .. 100 %, initially 50. How long the small room sounds.
    damp: Damping: 0 .. 100 %, initially 50. How much sooner the highs of the room die away than its
        lows."""
    side: Number
    """Side: 0 .. 100 %, initially 50.
    How much stronger the difference between the channels gets."""
    crossfeed: Number
    """Crossfeed: 0 .. 100 %, initially 50.
    How much each ear hears of the other side, as from loudspeakers."""
    dry: Number
    """Plain sound: 0 .. 100 %, initially 75.
    How loud the sound itself is."""
    wet: Number
    """Room level: 0 .. 100 %, initially 75.
    How loud the small room around it is."""
    room: Number
    """Room size: 0 .. 100 %, initially 50.
    How long the small room sounds."""
    damp: Number
    """Damping: 0 .. 100 %, initially 50.
    How much sooner the highs of the room die away than its lows."""
    def __init__(
        self,
        *,
        side: float = 50,
        crossfeed: float = 50,
        dry: float = 75,
        wet: float = 75,
        room: float = 50,
        damp: float = 50,
        enabled: bool = True,
    ) -> None: ...

class VirtualBass(Effect):
    """Lets small loudspeakers and earphones sound as if they reached lower.

    Stereo to stereo, at 44100, 48000, 96000 Hz.

    harmonics: Harmonics: 0 .. 200 %, initially 50. How loud the harmonics are from which the ear
        hears the bass.
    bass: Plain bass: 0 .. 200 %, initially 50. How loud the bass below 250 Hz itself is.
    highs: Everything else: 0 .. 200 %, initially 100. How loud the rest above 250 Hz is.
    clip: Clip level: 1 .. 100 %, initially 25. Share of full scale from which the bass is squared
        off, which makes more harmonics.
    cutoff: Harmonics up to: 200 .. 2000 Hz, initially 500. Where the harmonics are cut off."""
    harmonics: Number
    """Harmonics: 0 .. 200 %, initially 50.
    How loud the harmonics are from which the ear hears the bass."""
    bass: Number
    """Plain bass: 0 .. 200 %, initially 50.
    How loud the bass below 250 Hz itself is."""
    highs: Number
    """Everything else: 0 .. 200 %, initially 100.
    How loud the rest above 250 Hz is."""
    clip: Number
    """Clip level: 1 .. 100 %, initially 25.
    Share of full scale from which the bass is squared off, which makes more harmonics."""
    cutoff: Number
    """Harmonics up to: 200 .. 2000 Hz, initially 500.
    Where the harmonics are cut off."""
    def __init__(
        self,
        *,
        harmonics: float = 50,
        bass: float = 50,
        highs: float = 100,
        clip: float = 25,
        cutoff: float = 500,
        enabled: bool = True,
    ) -> None: ...

class SmartVolume(Effect):
    """Keeps quiet and loud music at the same loudness.

    Stereo to stereo, at 44100, 48000, 96000 Hz.

    level: Level: -24 .. 12 dB, initially 0. The loudness aimed at; at 0 dB a tone of 1 kHz comes
        out at some -10 dBFS.
    attack: Attack: 5 .. 1280 ms, initially 40. How fast the loudness follows louder material.
    release: Release: 5 .. 10240 ms, initially 640. How fast the loudness follows quieter material."""
    level: Number
    """Level: -24 .. 12 dB, initially 0.
    The loudness aimed at; at 0 dB a tone of 1 kHz comes out at some -10 dBFS."""
    attack: Number
    """Attack: 5 .. 1280 ms, initially 40.
    How fast the loudness follows louder material."""
    release: Number
    """Release: 5 .. 10240 ms, initially 640.
    How fast the loudness follows quieter material."""
    def __init__(
        self,
        *,
        level: float = 0,
        attack: float = 40,
        release: float = 640,
        enabled: bool = True,
    ) -> None: ...

class Compressor(Effect):
    """Makes everything louder and keeps its peaks below a threshold.

    Stereo to stereo, at 44100, 48000, 96000, 192000 Hz.

    threshold: Threshold: -40 .. 0 dBFS, initially -0.5606. The level that peaks are held below; a
        loud beginning may exceed it until the gain has fallen, by 3 dB in 10 ms.
    makeup: Make-up: -24 .. 18 dB, initially 0. How much louder everything gets first.
    attack: Attack: 5 .. 160 ms, initially 5. How fast the level follower rises; 5 ms is at once.
    release: Release: 5 .. 10240 ms, initially 640. How fast the level follower falls.
    gate: Gate: -132.5 .. -30.2 dBFS, initially -132.5. The mean level below which the sound is
        turned down, by up to 14.5 dB."""
    threshold: Number
    """Threshold: -40 .. 0 dBFS, initially -0.5606.
    The level that peaks are held below; a loud beginning may exceed it until the gain has fallen, by 3 dB in 10 ms."""
    makeup: Number
    """Make-up: -24 .. 18 dB, initially 0.
    How much louder everything gets first."""
    attack: Number
    """Attack: 5 .. 160 ms, initially 5.
    How fast the level follower rises; 5 ms is at once."""
    release: Number
    """Release: 5 .. 10240 ms, initially 640.
    How fast the level follower falls."""
    gate: Number
    """Gate: -132.5 .. -30.2 dBFS, initially -132.5.
    The mean level below which the sound is turned down, by up to 14.5 dB."""
    def __init__(
        self,
        *,
        threshold: float = -0.5606,
        makeup: float = 0,
        attack: float = 5,
        release: float = 640,
        gate: float = -132.5,
        enabled: bool = True,
    ) -> None: ...

class SpeakerBoost(Effect):
    """Makes a small loudspeaker as loud and as full as it can safely be.

    Stereo to stereo, at 44100, 48000, 96000 Hz.

    harmonics_left: Left harmonics: 0 .. 200 %, initially 100. How loud the harmonics are that take
        the place of the left channel's lowest bass.
    harmonics_right: Right harmonics: 0 .. 200 %, initially 100. How loud the harmonics are that
        take the place of the right channel's lowest bass.
    harmonics_frequency: Harmonics around: 200 .. 2000 Hz, initially 400. The middle of the band
        that the harmonics are kept in.
    low_left_threshold: Left low threshold: -40 .. 0 dBFS, initially 0. The level that this band is
        limited to.
    low_left_makeup: Left low make-up: -24 .. 18 dB, initially 0. How loud this band gets, before
        its limit.
    low_left_attack: Left low attack: 5 .. 160 ms, initially 5. How fast this band's level follower
        rises; 5 ms is at once.
    low_left_release: Left low release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    low_left_gate: Left low gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below which
        this band is turned down, by up to 14.5 dB.
    mid_left_threshold: Left mid threshold: -40 .. 0 dBFS, initially 0. The level that this band is
        limited to.
    mid_left_makeup: Left mid make-up: -24 .. 18 dB, initially 0. How loud this band gets, before
        its limit.
    mid_left_attack: Left mid attack: 5 .. 160 ms, initially 5. How fast this band's level follower
        rises; 5 ms is at once.
    mid_left_release: Left mid release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    mid_left_gate: Left mid gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below which
        this band is turned down, by up to 14.5 dB.
    high_left_threshold: Left high threshold: -40 .. 0 dBFS, initially 0. The level that this band
        is limited to.
    high_left_makeup: Left high make-up: -24 .. 18 dB, initially 0. How loud this band gets, before
        its limit.
    high_left_attack: Left high attack: 5 .. 160 ms, initially 5. How fast this band's level
        follower rises; 5 ms is at once.
    high_left_release: Left high release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    high_left_gate: Left high gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below
        which this band is turned down, by up to 14.5 dB.
    full_left_threshold: Left whole threshold: -40 .. 0 dBFS, initially 0. The level that this band
        is limited to.
    full_left_makeup: Left whole make-up: -24 .. 18 dB, initially 0. How loud this band gets, before
        its limit.
    full_left_attack: Left whole attack: 5 .. 160 ms, initially 5. How fast this band's level
        follower rises; 5 ms is at once.
    full_left_release: Left whole release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    full_left_gate: Left whole gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below
        which this band is turned down, by up to 14.5 dB.
    low_right_threshold: Right low threshold: -40 .. 0 dBFS, initially 0. The level that this band
        is limited to.
    low_right_makeup: Right low make-up: -24 .. 18 dB, initially 0. How loud this band gets, before
        its limit.
    low_right_attack: Right low attack: 5 .. 160 ms, initially 5. How fast this band's level
        follower rises; 5 ms is at once.
    low_right_release: Right low release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    low_right_gate: Right low gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below
        which this band is turned down, by up to 14.5 dB.
    mid_right_threshold: Right mid threshold: -40 .. 0 dBFS, initially 0. The level that this band
        is limited to.
    mid_right_makeup: Right mid make-up: -24 .. 18 dB, initially 0. How loud this band gets, before
        its limit.
    mid_right_attack: Right mid attack: 5 .. 160 ms, initially 5. How fast this band's level
        follower rises; 5 ms is at once.
    mid_right_release: Right mid release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    mid_right_gate: Right mid gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below
        which this band is turned down, by up to 14.5 dB.
    high_right_threshold: Right high threshold: -40 .. 0 dBFS, initially 0. The level that this band
        is limited to.
    high_right_makeup: Right high make-up: -24 .. 18 dB, initially 0. How loud this band gets,
        before its limit.
    high_right_attack: Right high attack: 5 .. 160 ms, initially 5. How fast this band's level
        follower rises; 5 ms is at once.
    high_right_release: Right high release: 5 .. 10240 ms, initially 160. How fast this band's level
        follower falls.
    high_right_gate: Right high gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below
        which this band is turned down, by up to 14.5 dB.
    full_right_threshold: Right whole threshold: -40 .. 0 dBFS, initially 0. The level that this
        band is limited to.
    full_right_makeup: Right whole make-up: -24 .. 18 dB, initially 0. How loud this band gets,
        before its limit.
    full_right_attack: Right whole attack: 5 .. 160 ms, initially 5. How fast this band's level
        follower rises; 5 ms is at once.
    full_right_release: Right whole release: 5 .. 10240 ms, initially 160. How fast this band's
        level follower falls.
    full_right_gate: Right whole gate: -132.5 .. -30.2 dBFS, initially -90.31. The mean level below
        which this band is turned down, by up to 14.5 dB."""
    harmonics_left: Number
    """Left harmonics: 0 .. 200 %, initially 100.
    How loud the harmonics are that take the place of the left channel's lowest bass."""
    harmonics_right: Number
    """Right harmonics: 0 .. 200 %, initially 100.
    How loud the harmonics are that take the place of the right channel's lowest bass."""
    harmonics_frequency: Number
    """Harmonics around: 200 .. 2000 Hz, initially 400.
    The middle of the band that the harmonics are kept in."""
    low_left_threshold: Number
    """Left low threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    low_left_makeup: Number
    """Left low make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    low_left_attack: Number
    """Left low attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    low_left_release: Number
    """Left low release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    low_left_gate: Number
    """Left low gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    mid_left_threshold: Number
    """Left mid threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    mid_left_makeup: Number
    """Left mid make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    mid_left_attack: Number
    """Left mid attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    mid_left_release: Number
    """Left mid release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    mid_left_gate: Number
    """Left mid gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    high_left_threshold: Number
    """Left high threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    high_left_makeup: Number
    """Left high make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    high_left_attack: Number
    """Left high attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    high_left_release: Number
    """Left high release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    high_left_gate: Number
    """Left high gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    full_left_threshold: Number
    """Left whole threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    full_left_makeup: Number
    """Left whole make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    full_left_attack: Number
    """Left whole attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    full_left_release: Number
    """Left whole release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    full_left_gate: Number
    """Left whole gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    low_right_threshold: Number
    """Right low threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    low_right_makeup: Number
    """Right low make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    low_right_attack: Number
    """Right low attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    low_right_release: Number
    """Right low release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    low_right_gate: Number
    """Right low gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    mid_right_threshold: Number
    """Right mid threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    mid_right_makeup: Number
    """Right mid make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    mid_right_attack: Number
    """Right mid attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    mid_right_release: Number
    """Right mid release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    mid_right_gate: Number
    """Right mid gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    high_right_threshold: Number
    """Right high threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    high_right_makeup: Number
    """Right high make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    high_right_attack: Number
    """Right high attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    high_right_release: Number
    """Right high release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    high_right_gate: Number
    """Right high gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    full_right_threshold: Number
    """Right whole threshold: -40 .. 0 dBFS, initially 0.
    The level that this band is limited to."""
    full_right_makeup: Number
    """Right whole make-up: -24 .. 18 dB, initially 0.
    How loud this band gets, before its limit."""
    full_right_attack: Number
    """Right whole attack: 5 .. 160 ms, initially 5.
    How fast this band's level follower rises; 5 ms is at once."""
    full_right_release: Number
    """Right whole release: 5 .. 10240 ms, initially 160.
    How fast this band's level follower falls."""
    full_right_gate: Number
    """Right whole gate: -132.5 .. -30.2 dBFS, initially -90.31.
    The mean level below which this band is turned down, by up to 14.5 dB."""
    def __init__(
        self,
        *,
        harmonics_left: float = 100,
        harmonics_right: float = 100,
        harmonics_frequency: float = 400,
        low_left_threshold: float = 0,
        low_left_makeup: float = 0,
        low_left_attack: float = 5,
        low_left_release: float = 160,
        low_left_gate: float = -90.31,
        mid_left_threshold: float = 0,
        mid_left_makeup: float = 0,
        mid_left_attack: float = 5,
        mid_left_release: float = 160,
        mid_left_gate: float = -90.31,
        high_left_threshold: float = 0,
        high_left_makeup: float = 0,
        high_left_attack: float = 5,
        high_left_release: float = 160,
        high_left_gate: float = -90.31,
        full_left_threshold: float = 0,
        full_left_makeup: float = 0,
        full_left_attack: float = 5,
        full_left_release: float = 160,
        full_left_gate: float = -90.31,
        low_right_threshold: float = 0,
        low_right_makeup: float = 0,
        low_right_attack: float = 5,
        low_right_release: float = 160,
        low_right_gate: float = -90.31,
        mid_right_threshold: float = 0,
        mid_right_makeup: float = 0,
        mid_right_attack: float = 5,
        mid_right_release: float = 160,
        mid_right_gate: float = -90.31,
        high_right_threshold: float = 0,
        high_right_makeup: float = 0,
        high_right_attack: float = 5,
        high_right_release: float = 160,
        high_right_gate: float = -90.31,
        full_right_threshold: float = 0,
        full_right_makeup: float = 0,
        full_right_attack: float = 5,
        full_right_release: float = 160,
        full_right_gate: float = -90.31,
        enabled: bool = True,
    ) -> None: ...

class Balance(Effect):
    """Evens the ears out, or folds stereo to mono.

    Stereo to stereo, at 8000, 16000, 32000, 44100, 48000, 96000, 192000 Hz.

    balance: Balance: -100 .. 100 %, initially 0. Below 0 mixes the left channel into the right one,
        above 0 the right into the left.
    mono: Mono: True or False, initially False. Folds both channels to their mean."""
    balance: Number
    """Balance: -100 .. 100 %, initially 0.
    Below 0 mixes the left channel into the right one, above 0 the right into the left."""
    mono: Switch
    """Mono: True or False, initially False.
    Folds both channels to their mean."""
    def __init__(
        self,
        *,
        balance: float = 0,
        mono: bool = False,
        enabled: bool = True,
    ) -> None: ...

class Volume(Effect):
    """Louder or softer.

    Stereo to stereo, at 8000, 16000, 32000, 44100, 48000, 96000, 192000 Hz.

    gain: Gain: -80 .. 18 dB, initially 0. Louder or softer; the lowest value is silence."""
    gain: Number
    """Gain: -80 .. 18 dB, initially 0.
    Louder or softer; the lowest value is silence."""
    def __init__(
        self,
        *,
        gain: float = 0,
        enabled: bool = True,
    ) -> None: ...

class Gramophone(Effect):
    """Makes a voice sound like an old record through a horn; it keeps a faint noise.

    Mono to mono, at 44100, 48000 Hz."""
    def __init__(
        self,
        *,
        enabled: bool = True,
    ) -> None: ...

class Echo(Effect):
    """Repeats the sound again and again, each time softer.

    Stereo to stereo, at 44100, 48000 Hz.

    time: Time: 1 .. 350 ms, initially 1. Time to the first repeat and between repeats.
    feedback: Feedback: 0 .. 100 %, initially 50. How slowly the repeats fade: at 100 each is 4.6 dB
        softer than the one before.
    dry: Plain sound: 0 .. 100 %, initially 33. How loud the sound itself is; the echo's level holds
        some of it too.
    wet: Echo level: 0 .. 100 %, initially 67. How loud the echo is, the sound that it starts with
        included."""
    time: Number
    """Time: 1 .. 350 ms, initially 1.
    Time to the first repeat and between repeats."""
    feedback: Number
    """Feedback: 0 .. 100 %, initially 50.
    How slowly the repeats fade: at 100 each is 4.6 dB softer than the one before."""
    dry: Number
    """Plain sound: 0 .. 100 %, initially 33.
    How loud the sound itself is; the echo's level holds some of it too."""
    wet: Number
    """Echo level: 0 .. 100 %, initially 67.
    How loud the echo is, the sound that it starts with included."""
    def __init__(
        self,
        *,
        time: float = 1,
        feedback: float = 50,
        dry: float = 33,
        wet: float = 67,
        enabled: bool = True,
    ) -> None: ...

class HowlingCanceller(Effect):
    """Keeps a microphone that hears its own loudspeaker from howling.

    Mono to mono, at 44100, 48000, 96000 Hz.

    shift: Shift: 0 .. 20 Hz, initially 0. Moves all frequencies up by so much, so that a howl can't
        settle: some 4 dB more gain. 3 to 5 are usual; for speech, and not beside an accompaniment.
    shift_when: Shift when: 'always' or 'when needed', initially 'when needed'. Shifts always, or
        only while the notches alone don't hold the loop.
    last_resort: Last resort: True or False, initially False. Takes gain away while a howl goes on
        though all notches are in use."""
    shift: Number
    """Shift: 0 .. 20 Hz, initially 0.
    Moves all frequencies up by so much, so that a howl can't settle: some 4 dB more gain. 3 to 5 are usual; for speech, and not beside an accompaniment."""
    shift_when: Choice[Literal['always', 'when needed']]
    """Shift when: 'always' or 'when needed', initially 'when needed'.
    Shifts always, or only while the notches alone don't hold the loop."""
    last_resort: Switch
    """Last resort: True or False, initially False.
    Takes gain away while a howl goes on though all notches are in use."""
    def __init__(
        self,
        *,
        shift: float = 0,
        shift_when: Literal['always', 'when needed'] = 'when needed',
        last_resort: bool = False,
        enabled: bool = True,
    ) -> None: ...

class NoiseSuppressor(Effect):
    """Takes steady noise, a fan or a street, away from speech; long tones of music are noise to it.

    Mono to mono, at 8000, 16000, 32000, 48000 Hz.

    policy: Reduction: '6 dB', '12 dB', '18 dB' or '21 dB', initially '6 dB'. How far steady noise
        is turned down."""
    policy: Choice[Literal['6 dB', '12 dB', '18 dB', '21 dB']]
    """Reduction: '6 dB', '12 dB', '18 dB' or '21 dB', initially '6 dB'.
    How far steady noise is turned down."""
    def __init__(
        self,
        *,
        policy: Literal['6 dB', '12 dB', '18 dB', '21 dB'] = '6 dB',
        enabled: bool = True,
    ) -> None: ...
