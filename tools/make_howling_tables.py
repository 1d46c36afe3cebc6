#!/usr/bin/env python3
"""Tables of the howling canceller: the low-pass ahead of its analysis, where a notch stands, and the
all-pass sections of its frequency shifter.

The low-pass is a sixth-order elliptic filter for halving the sample rate: 0.5 dB ripple up to
0.172 of the rate (8256 Hz at 48 kHz), 80 dB stop-band. What would fold onto the analysed bins lies
above 0.328 of the rate. Designed by the closed form with Landen's transformation (Orfanidis,
"Lecture notes on elliptic filter design", 2006), bilinear transform, Q20, rounded to nearest.

The turn table holds -2 cos(pi b / 256) and 2 sin(pi b / 256) in Q28 for analysis bins b = 0..95.

The first quarter of a sine of 2048 steps, in Q30, serves the finer analysis.

The shifter's two chains of six first-order all-passes differ by a quarter of a turn from 0.00156 to
0.3646 of the sample rate (75 Hz to 17.5 kHz at 48 kHz), with equal ripple (Bedrosian, "Normalized
design of 90-degree phase-difference networks", IRE Trans. Circuit Theory 7, 1960), bilinear
transform, Q26, rounded to nearest.

See generated_files.py for the arguments.
"""

import cmath
import math

import generated_files

ORDER = 6
RIPPLE_DB = 0.5
STOP_DB = 80.0
EDGE = 0.172  # of the sample rate
Q20 = 1 << 20
Q28 = 1 << 28
Q26 = 1 << 26
Q30 = 1 << 30
LINE_FRAME = 2048
SHIFT_LOW, SHIFT_HIGH = 75 / 48000, 17500 / 48000  # of the sample rate
SHIFT_SECTIONS = 12


def landen(k):
    moduli = []
    while k > 1e-15:
        k = (k / (1 + math.sqrt(1 - k * k))) ** 2
        moduli.append(k)
    return moduli


def rise(w, k):
    for v in reversed(landen(k)):
        w = (1 + v) * w / (1 + v * w * w)
    return w


def cde(u, k):
    return rise(cmath.cos(u * math.pi / 2), k)


def sne(u, k):
    return rise(cmath.sin(u * math.pi / 2), k)


def asne(w, k):
    moduli = [k] + landen(k)
    for before, v in zip(moduli, moduli[1:]):
        w = 2 * w / ((1 + v) * (1 + cmath.sqrt(1 - w * w * before * before)))
    return 2 / math.pi * cmath.asin(w)


def design():
    """b and a of the digital filter, real."""
    ripple = math.sqrt(10 ** (RIPPLE_DB / 10) - 1)
    stop = math.sqrt(10 ** (STOP_DB / 10) - 1)
    k1 = ripple / stop
    half = range(1, ORDER // 2 + 1)
    complement = math.sqrt(1 - k1 * k1)
    kp = complement ** ORDER
    for i in half:
        kp *= sne((2 * i - 1) / ORDER, complement).real ** 4
    k = math.sqrt(1 - kp * kp)
    v0 = (-1j * asne(1j / ripple, k1) / ORDER).real
    warp = math.tan(math.pi * EDGE)
    b, a = [1.0], [1.0]
    for i in half:
        u = (2 * i - 1) / ORDER
        zero = 1j / (k * cde(u, k)) * warp
        pole = 1j * cde(u - 1j * v0, k) * warp
        b = times(b, pair((1 + zero) / (1 - zero)))
        a = times(a, pair((1 + pole) / (1 - pole)))
    gain = 10 ** (-RIPPLE_DB / 20) * sum(a) / sum(b)
    return [gain * c for c in b], a


def pair(root):
    return [1.0, -2 * root.real, abs(root) ** 2]


def times(p, q):
    result = [0.0] * (len(p) + len(q) - 1)
    for i, x in enumerate(p):
        for j, y in enumerate(q):
            result[i + j] += x * y
    return result


def words():
    b, a = design()
    return [round(Q20 * c) for c in b] + [round(-Q20 * c) for c in a[1:]]


def turns():
    return [(round(-2 * Q28 * math.cos(math.pi * b / 256)),
             round(2 * Q28 * math.sin(math.pi * b / 256))) for b in range(96)]


def sines():
    return [round(Q30 * math.sin(2 * math.pi * k / LINE_FRAME)) for k in range(LINE_FRAME // 4 + 1)]


def all_passes():
    """c of H(z) = (c + z^-1) / (1 + c z^-1) for the sections of either chain."""
    low, high = (math.tan(math.pi * f) for f in (SHIFT_LOW, SHIFT_HIGH))
    k = math.sqrt(1 - (low / high) ** 2)
    chains = [], []
    for r in range(SHIFT_SECTIONS):
        u = (4 * r + 1) / (2 * SHIFT_SECTIONS)
        behind = u > 1  # past the quarter period the pole is negative: it goes to the other chain
        u = 2 - u if behind else u
        sine = sne(u, k).real
        cosine = cde(u, k).real * math.sqrt(1 - (k * sine) ** 2)
        pole = low * sine / cosine
        chains[behind].append((pole - 1) / (pole + 1))
    return [[round(Q26 * c) for c in sorted(chain)] for chain in chains]


def make_files():
    made = "// Made by tools/make_howling_tables.py; do not edit."
    low_pass = [made, *[f"{word}," for word in words()]]
    table = [made,
             "// -2 cos and 2 sin of the angle of each analysis bin, Q28.",
             "constexpr int kTurns[96][2] = {",
             *[f"    {{{c}, {s}}}," for c, s in turns()],
             "};"]
    chains = [made,
              *[f"    {{{', '.join(str(c) for c in chain)}}}," for chain in all_passes()]]
    return {"src/ktv/howling_low_pass.inc": "\n".join(low_pass) + "\n",
            "src/ktv/frequency_shifter_chains.inc": "\n".join(chains) + "\n",
            "src/ktv/howling_sines.inc": "\n".join([made, *[f"{s}," for s in sines()]]) + "\n",
            "src/ktv/howling_turns.inc": "\n".join(table) + "\n"}


def report():
    w = words()
    a = [Q20] + [-c for c in w[7:]]
    lines = ["Response of the low-pass as quantised, at 48 kHz:"]
    for f in (0, 100, 500, 1000, 2000, 3000, 4000, 5000, 6000, 7000, 8000, 8256, 10000, 12000,
              15000, 18000, 20000, 23000):
        z = cmath.exp(-2j * math.pi * f / 48000)
        h = sum(c * z ** i for i, c in enumerate(w[:7])) / sum(c * z ** i for i, c in enumerate(a))
        lines.append(f"  {f:6d} Hz {20 * math.log10(abs(h) + 1e-12):8.2f} dB")
    lines.append("Image of the shifter beside what it shifts, at 48 kHz:")
    for f in (20, 40, 60, 75, 80, 100, 300, 1000, 3000, 10000, 16000, 17500, 20000):
        z = cmath.exp(-2j * math.pi * f / 48000)
        first, second = (math.prod((c / Q26 + z) / (1 + c / Q26 * z) for c in chain)
                         for chain in all_passes())
        up, down = abs(first + 1j * second), abs(first - 1j * second)
        lines.append(f"  {f:6d} Hz {20 * math.log10(min(up, down) / max(up, down)):8.2f} dB")
    return "\n".join(lines)


if __name__ == "__main__":
    generated_files.run(make_files, report)
