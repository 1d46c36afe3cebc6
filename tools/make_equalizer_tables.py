#!/usr/bin/env python3
"""The graphic equalizer's coefficients: 3 rates x 10 bands x 31 gains x 5 words.

Bands 1..8 are peaking sections an octave apart with Q = 2, band 0 is a low shelf, band 9 a high
shelf (biquad_design.py). One index is 1 dB. A real coefficient becomes a word by the scale
268435455 (2^28 - 1), truncated toward zero; the processing divides by 2^28, so every section stands
0.00000003 dB low.

See generated_files.py for the arguments.
"""

import math

import biquad_design as bq
import generated_files

SCALE = 268435455
RATES = (44100, 48000, 96000)
LARGEST = 15
FREQUENCIES = [31.25 * 2 ** band for band in range(9)] + [16000.0]
SHAPES = [bq.low_shelf] + [bq.peaking] * 8 + [bq.high_shelf]
Q = 2

# Rows that shipped tables must never leave: (rate, band, index) -> words.
FIXED_ROWS = {
    (48000, 0, 15): (269502361, -535307660, 265830485, 535318014, -266887037),
    (48000, 0, -15): (267372772, -533198797, 265830485, 533188484, -264778115),
    (48000, 1, 0): (268435455, -535757166, 267339642, 535757166, -267339642),
    (48000, 5, -15): (234216104, -449748710, 219413469, 449748710, -185194119),
    (48000, 5, 1): (269470496, -515457721, 250435089, 515457721, -251470130),
    (48000, 5, 15): (307654307, -515457721, 212251278, 515457721, -251470130),
    (48000, 9, 15): (600679916, -218379176, 117153571, -166484770, -64534086),
    (48000, 9, -15): (119960051, 74399715, 28839380, 97590600, -52354292),
    (44100, 5, 15): (310981976, -513212728, 207484123, 513212728, -250030644),
    (96000, 5, 15): (288401750, -527102883, 239832122, 527102883, -259798417),
}


def real_row(rate, band, index):
    return bq.design(SHAPES[band], rate, FREQUENCIES[band], index, Q)


def row(rate, band, index):
    return bq.quantise(real_row(rate, band, index), SCALE)


def band_name(band):
    kind = {0: "low shelf", 9: "high shelf"}.get(band, "peaking")
    return f"{kind} {FREQUENCIES[band]:g} Hz"


def make_files():
    for key, words in FIXED_ROWS.items():
        assert row(*key) == words, (key, row(*key), words)
    lines = ["// Made by tools/make_equalizer_tables.py; do not edit.",
             "// b0, b1, b2, -a1, -a2 in Q28, for gains of -15..15 dB."]
    for rate in RATES:
        lines.append(f"{{  // {rate} Hz")
        for band in range(10):
            lines.append(f"    {{  // band {band}: {band_name(band)}")
            for index in range(-LARGEST, LARGEST + 1):
                words = ", ".join(str(word) for word in row(rate, band, index))
                lines.append(f"        {{{words}}},")
            lines.append("    },")
        lines.append("},")
    return {"src/effects/equalizer_tables.inc": "\n".join(lines) + "\n"}


def report():
    grid = [20 * 1000 ** (step / 300) for step in range(301)]
    lines = ["Departure of the quantised rows from the real ones, 20 Hz to 20 kHz, all gains:"]
    for rate in RATES:
        for band in range(10):
            worst = max(departure(rate, band, index, f)
                        for index in range(-LARGEST, LARGEST + 1) for f in grid[::5])
            lines.append(f"  {rate} Hz, band {band} ({band_name(band)}): {worst:.6f} dB")
    lines.append("Largest gain of any partial cascade, input gain included; the words inside stand"
                 " 18.06 dB above 24-bit full scale:")
    cases = {"all bands +15": [15] * 10, "band 5 alone +15": [0] * 5 + [15] + [0] * 4,
             "band 9 alone +15": [0] * 9 + [15], "bands 8 and 9 +15": [0] * 8 + [15] * 2,
             "lows cut, top boosted": [-12, -10, -11, -13, -12, -11, 3, 8, 15, 15]}
    for rate in RATES:
        for name, indices in cases.items():
            gain = bq.decibels(input_gain(indices))
            highest = gain
            for frequency in grid:
                level = gain
                for band, index in enumerate(indices):
                    level += bq.decibels(bq.response(row(rate, band, index), frequency, rate))
                    highest = max(highest, level)
            lines.append(f"  {rate} Hz, {name}: {highest:+.2f} dB")
    return "\n".join(lines)


def departure(rate, band, index, frequency):
    real = tuple(term * bq.Q28 for term in real_row(rate, band, index))
    real = real[:3] + (-real[3], -real[4])
    return abs(bq.decibels(bq.response(row(rate, band, index), frequency, rate)) -
               bq.decibels(bq.response(real, frequency, rate)))


def input_gain(indices):
    """The level law of equalizer.cpp, in double precision."""
    boosted = sum(1 for v in indices[:9] if v > 8)
    w = [v if v > 0 else 0 if boosted > 1 else 0.75 * v + 0.0278 * v * v for v in indices[:9]]
    weights = (4, 18, 20, 22, 22, 20, 18, 12, 4)
    total = sum(weight * (w[k] + 0.3 * ((w[k - 1] if k else 0) + (w[k + 1] if k < 8 else 0)))
                for k, weight in enumerate(weights))
    decibels = min(-21 * max(-1680, min(1680, total)) / 1680, 6)
    return math.trunc(8192 * 10 ** (decibels / 20)) / 8192


if __name__ == "__main__":
    generated_files.run(make_files, report)
