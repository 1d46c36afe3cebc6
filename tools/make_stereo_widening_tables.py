#!/usr/bin/env python3
"""The filter tables of the stereo widening: src/effects/stereo_widening_tables.inc.

Second-order sections made from analog prototypes by the bilinear transform with the frequency warped
onto the wanted one (R. Bristow-Johnson, "Cookbook formulae for audio EQ biquad filter coefficients"):

    w = 2 pi f / rate,  alpha = sin w / (2 Q),  everything divided by a0 = 1 + alpha
    a1 = -2 cos w,  a2 = 1 - alpha
    all-pass    b = 1 - alpha, -2 cos w, 1 + alpha
    low-pass    b = (1 - cos w) / 2, 1 - cos w, (1 - cos w) / 2
    high-pass   b = (1 + cos w) / 2, -(1 + cos w), (1 + cos w) / 2
    band-pass   b = alpha, 0, -alpha

A row is b0, b1, b2, -a1, -a2, each times 2^28 - 1 and truncated toward zero. The fourth row, 192 kHz,
is all zero: at that rate the sections are silent.

See generated_files.py for the arguments.
"""

import math

import generated_files

RATES = (44100, 48000, 96000)
SCALE = 2**28 - 1
BUTTERWORTH = math.sqrt(0.5)


def allpass(frequency, q):
    return ("all-pass", frequency, q)


def lowpass(frequency):
    return ("low-pass", frequency, BUTTERWORTH)


def highpass(frequency):
    return ("high-pass", frequency, BUTTERWORTH)


def bandpass(low, high):
    """Centred between two design edges; Q is the centre over their distance.

    The -3 dB band is not these edges: 1450 to 5500 Hz for (723, 5000) at 48000 Hz.
    """
    centre = (low + high) / 2
    return ("band-pass", centre, centre / (high - low))


def section(kind, frequency, q, rate):
    w = 2 * math.pi * frequency / rate
    cosine, alpha = math.cos(w), math.sin(w) / (2 * q)
    a0 = 1 + alpha
    numerator = {
        "all-pass": (1 - alpha, -2 * cosine, a0),
        "low-pass": ((1 - cosine) / 2, 1 - cosine, (1 - cosine) / 2),
        "high-pass": ((1 + cosine) / 2, -(1 + cosine), (1 + cosine) / 2),
        "band-pass": (alpha, 0, -alpha),
    }[kind]
    row = numerator + (2 * cosine, -(1 - alpha))
    return [math.trunc(value / a0 * SCALE) for value in row]


def rows(design):
    """The section's four rows as a C initialiser."""
    values = [section(*design, rate) for rate in RATES] + [[0] * 5]
    return "{" + ",\n ".join("{" + ", ".join(map(str, row)) + "}" for row in values) + "}"


def comment(note, design):
    kind, frequency, q = design
    return f"// {note}: {kind}, {frequency:g} Hz, Q {q:.4g}"


DIFFERENCE_CIRCUIT = (
    ("1, left", allpass(250, 13)),
    ("2, left", allpass(1675, 13)),
    ("3, left", allpass(18000, 13)),
    ("4, right", allpass(50, 13)),
    ("5, right", allpass(600, 13)),
    ("6, right", allpass(5580, 2)),
    ("7, spare, design edges 250 and 12000 Hz", bandpass(250, 12000)),
    ("8, difference", lowpass(200)),
    ("9, difference", highpass(7000)),
    ("10, sum, design edges 723 and 5000 Hz", bandpass(723, 5000)),
    ("11, sum", lowpass(200)),
)

SINGLE = (
    ("kCrossfeedAllpass", "Crossfeed, own channel", allpass(500, 2.5)),
    ("kCrossfeedLowpass", "Crossfeed, other channel", lowpass(1500)),
    ("kCrossfeedHighpass", "Crossfeed, own high band", highpass(1500)),
    ("kReflectorHighpass", "Early reflector, input", highpass(300)),
)


def make_files():
    lines = ["// Made by tools/make_stereo_widening_tables.py. Rows: 44100, 48000, 96000, 192000 Hz.",
             "", "constexpr section_rows kDifferenceCircuit[] = {"]
    for note, design in DIFFERENCE_CIRCUIT:
        lines.append(f"{comment(note, design)}\n{rows(design)},")
    lines.append("};")
    for name, note, design in SINGLE:
        lines.append(f"\n{comment(note, design)}\nconstexpr section_rows {name} =\n{rows(design)};")
    return {"src/effects/stereo_widening_tables.inc": "\n".join(lines) + "\n"}


def report():
    return "\n".join(comment(note, design)[3:] for note, design in DIFFERENCE_CIRCUIT +
                     tuple((note, design) for _, note, design in SINGLE))


if __name__ == "__main__":
    generated_files.run(make_files, report)
