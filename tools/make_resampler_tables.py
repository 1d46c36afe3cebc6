#!/usr/bin/env python3
"""The filters of the sample-rate kernels: the by-two all-pass pair and three low-pass prototypes.

By two: an elliptic half-band filter of order 17 as the sum of two all-pass branches,
    H(z) = (A0(z^2) + A1(z^2) / z) / 2,
each a cascade of four first-order sections (a + z^-1) / (1 + a z^-1) running at the lower rate, one
word of state each. With all eight words spent on sections this is the sharpest filter that the
state can hold. The section coefficients follow in closed form from the pass-band edge through
theta-function series: R. A. Valenzuela, A. G. Constantinides, "Digital signal processing schemes
for efficient interpolation and decimation", IEE Proceedings G 130 (1983); L. Gazsi, "Explicit
formulas for lattice wave digital filters", IEEE Trans. CAS 32 (1985). Sections take turns between
the branches in rising order. Coefficients are Q24, rounded.

Fixed ratios L / M: a Kaiser-windowed sinc (J. F. Kaiser, "Nonrecursive digital filter design using
the I0-sinh window function", 1974; design formulas as in Oppenheim and Schafer, "Discrete-Time
Signal Processing", section 7.5) at L times the input rate, cut into L phases. The stop-band starts
at the Nyquist frequency of the lower of the two rates, its attenuation is ATTENUATION; the length
then sets where the pass-band ends. A phase's row is Q15 and adds up to exactly 32768, so that a
constant comes through unchanged in every phase: the terms are rounded down, and those with the
largest remainders get the missing ones.

See generated_files.py for the arguments.
"""

import cmath
import math

import generated_files

# Half-band: pass-band edge in cycles per sample of the higher rate; the stop-band is its mirror.
SECTIONS = 8
PASS_EDGE = 0.24
BY_TWO_ONE = 1 << 24

# Fixed ratios: name, phases L, taps per phase, virtual samples per sample of the lower rate.
ATTENUATION = 72.0
KERNELS = (
    ("kUpByThree", "16 to 48 kHz", 3, 48, 3),
    ("kDownByThree", "48 to 16 kHz", 1, 144, 3),
    ("kElevenPhases", "8 to 22 kHz (a step of 4 phases) and 16 to 22 kHz (8 phases)", 11, 48, 11),
    ("kEightPhases", "22 to 16 kHz", 8, 64, 11),
    ("kFourPhases", "22 to 8 kHz", 4, 128, 11),
)
ONE = 32768


def half_band_sections():
    k = math.tan(math.pi * PASS_EDGE) ** 2  # selectivity of the analogue prototype
    root = math.sqrt(math.sqrt(1 - k * k))
    e = (1 - root) / (1 + root) / 2
    q = e + 2 * e ** 5 + 15 * e ** 9 + 150 * e ** 13  # the nome of k
    order = 2 * SECTIONS + 1
    sections = []
    for i in range(1, SECTIONS + 1):
        numerator = 2 * q ** 0.25 * sum(
            (-1) ** m * q ** (m * (m + 1)) * math.sin((2 * m + 1) * math.pi * i / order)
            for m in range(8))
        denominator = 1 + 2 * sum(
            (-1) ** m * q ** (m * m) * math.cos(2 * math.pi * m * i / order) for m in range(1, 8))
        w = (numerator / denominator) ** 2
        real = math.sqrt((1 - w * k) * (1 - w / k)) / (1 + w)
        sections.append((1 - real) / (1 + real))
    return sections


def by_two_words():
    return [round(a * BY_TWO_ONE) for a in half_band_sections()]


def bessel_i0(x):
    total = term = 1.0
    m = 1
    while term > 1e-18 * total:
        term *= (x / (2 * m)) ** 2
        total += term
        m += 1
    return total


def transition(lower_rate_samples):
    """Width of the transition band, as a part of the lower Nyquist frequency (Kaiser)."""
    return (ATTENUATION - 7.95) / (2.285 * lower_rate_samples) / math.pi


def prototype(length, period):
    """Unity gain at 0 Hz; period = virtual samples per sample of the lower rate."""
    cutoff = (1 - transition(length / period) / 2) / (2 * period)  # -6 dB, cycles per sample
    beta = 0.1102 * (ATTENUATION - 8.7)
    centre = (length - 1) / 2
    h = []
    for n in range(length):
        angle = 2 * math.pi * cutoff * (n - centre)
        window = bessel_i0(beta * math.sqrt(1 - ((n - centre) / centre) ** 2))
        h.append(window * (math.sin(angle) / angle if angle else 1.0))
    total = sum(h)
    return [value / total for value in h]


def row(h, phases, phase):
    """One phase in the order of time (oldest sample first), Q15."""
    exact = [phases * value * ONE for value in h[phase::phases][::-1]]
    scale = ONE / sum(exact)
    exact = [value * scale for value in exact]
    words = [math.floor(value) for value in exact]
    by_remainder = sorted(range(len(words)), key=lambda j: words[j] - exact[j])
    for j in by_remainder[:ONE - sum(words)]:
        words[j] += 1
    assert sum(words) == ONE
    half = len(words) // 2  # each half is summed at 32 bits
    for part in (words[:half], words[half:]):
        assert sum(abs(word) for word in part) < 65536
    return words


def rows(kernel):
    _, _, phases, taps, period = kernel
    h = prototype(phases * taps, period)
    return [row(h, phases, phase) for phase in range(phases)]


HEAD = "// Made by tools/make_resampler_tables.py; do not edit.\n"


def make_files():
    words = by_two_words()
    by_two = HEAD + "// Section coefficients of the two branches, Q24.\n"
    for branch in (0, 1):
        by_two += "{" + ", ".join(str(word) for word in words[branch::2]) + "},\n"
    fixed = HEAD + "// Q15, [phase][tap], oldest sample first; a row adds up to 32768.\n"
    for kernel in KERNELS:
        name, title, phases, taps, _ = kernel
        fixed += f"\n// {title}\nalignas(16) constexpr int16_t {name}[{phases}][{taps}] = {{\n"
        for words in rows(kernel):
            lines = [", ".join(str(word) for word in words[i:i + 12])
                     for i in range(0, len(words), 12)]
            fixed += "    {" + ",\n     ".join(lines) + "},\n"
        fixed += "};\n"
    return {"src/dsp/kernels/half_band_tables.inc": by_two, "src/spl/resample_tables.inc": fixed}


def decibels(value):
    return 20 * math.log10(max(abs(value), 1e-12))


def half_band_response(sections, frequency):
    z2 = cmath.exp(-4j * math.pi * frequency)
    branches = [1.0, 1.0]
    for i, a in enumerate(sections):
        branches[i % 2] *= (a + z2) / (1 + a * z2)
    return (branches[0] + cmath.exp(-2j * math.pi * frequency) * branches[1]) / 2


def peak_gain(sections, n=4000):
    """Largest sum of |impulse response| from a branch's input to any of its outputs."""
    signal = [1.0] + [0.0] * n
    worst = 0.0
    for a in sections:
        state, out = 0.0, []
        for x in signal:
            y = state + a * x
            state = x - a * y
            out.append(y)
        signal = out
        worst = max(worst, sum(abs(y) for y in out))
    return worst


def report():
    sections = [word / BY_TWO_ONE for word in by_two_words()]
    grid = [t / 1000 for t in range(1001)]
    stop = max(decibels(half_band_response(sections, 0.5 - PASS_EDGE * t)) for t in grid)
    ripple = min(decibels(half_band_response(sections, PASS_EDGE * t)) for t in grid)
    lines = [f"by two: pass-band to {2 * PASS_EDGE} of the lower rate, {ripple:.6f} dB; stop-band"
             f" {stop:.1f} dB; -3 dB at 0.5 of it",
             "  peak gain inside the branches:"
             f" {peak_gain(sections[0::2]):.1f}, {peak_gain(sections[1::2]):.1f}"]
    for kernel in KERNELS:
        name, _, phases, taps, period = kernel
        words = rows(kernel)
        h = [0.0] * (phases * taps)
        for phase in range(phases):
            h[phase::phases] = [word / ONE / phases for word in words[phase][::-1]]
        response = lambda f: sum(v * cmath.exp(-2j * math.pi * f * n) for n, v in enumerate(h))
        edge = 1 - transition(len(h) / period)
        passed = [abs(response(edge * t / 2 / period)) for t in grid[::5]]
        stopped = max(abs(response((0.5 + (period - 1) / 2 * t) / period)) for t in grid)
        lines.append(f"{name}: pass-band to {edge:.3f} of the lower Nyquist frequency, ripple"
                     f" {decibels(max(passed) / min(passed)):.4f} dB; stop-band from it"
                     f" {decibels(stopped):.1f} dB; delay {(len(h) - 1) / 2 / phases:.2f} input"
                     f" samples; peak gain {max(sum(map(abs, r)) for r in words) / ONE:.3f}")
    return "\n".join(lines)


if __name__ == "__main__":
    generated_files.run(make_files, report)
