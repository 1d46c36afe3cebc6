#!/usr/bin/env python3
"""Tables of the noise suppressor, rounded to the nearest:

    windows     sine over the overlap, 1 between: w(n)^2 + w(n + block)^2 = 1, Q14
    factors     by the energy ratio r / 256 of a frame after and before the gains, g = sqrt of it:
                  speech   1 + 1.3 (g - 0.5) above g = 0.5, but not beyond 1 / g; else 1
                  noise    1 - 0.3 (0.5 - max(g, bound)) below g = 0.5; else 1
                one table of noise factors per lower bound of the gain, Q13
    indicator   tanh(i / 4) / 2, Q14
    logarithms  log2(1 + i / 256) and 2^(i / 256), to be interpolated; ln(i) of a bin's number;
                k ln 2; 1 / (k + 1)

See generated_files.py for the arguments.
"""

import math
import textwrap

import generated_files

BOUNDS = (4096 / 16384, 2048 / 16384, 1475 / 16384)


def nearest(value):
    return math.floor(value + 0.5)


def array(declaration, values):
    text = textwrap.fill(", ".join(map(str, values)), 96, initial_indent="    ",
                         subsequent_indent="    ")
    return f"{declaration} = {{\n{text}}};\n"


def window(length, block):
    rise = length - block
    half = [math.sin(math.pi / 2 * n / rise) if n < rise else 1.0 for n in range(block)]
    fall = [math.cos(math.pi / 2 * n / rise) for n in range(rise)]
    return [nearest(16384 * w) for w in half + fall]


def speech_factor(ratio):
    g = math.sqrt(ratio / 256)
    if g <= 0.5:
        return 1.0
    return min(1 + 1.3 * (g - 0.5), 1 / g)


def noise_factor(ratio, bound):
    g = math.sqrt(ratio / 256)
    return 1.0 if g >= 0.5 else 1 - 0.3 * (0.5 - max(g, bound))


def factors(function):
    return [nearest(8192 * function(r)) for r in range(257)]


def make_files():
    head = "// Made by tools/make_noise_suppressor_tables.py; do not edit.\n"

    files = {}

    text = head + "\n// Windows, Q14: sine over the overlap, 1 between.\n"
    text += array("constexpr short kWindow128[128]", window(128, 80))
    text += array("constexpr short kWindow256[256]", window(256, 160))
    files["src/ns/noise_windows.inc"] = text

    text = head + "\n// Gain factors of a frame by its energy ratio (256 = 1.0), Q13: likely speech.\n"
    text += array("constexpr short kSpeechFactor[257]", factors(speech_factor))
    text += "\n// Likely noise, policies 1 to 3.\n"
    rows = [[str(v) for v in factors(lambda r: noise_factor(r, b))] for b in BOUNDS]
    text += "constexpr short kNoiseFactor[3][257] = {\n"
    for row in rows:
        text += "    {" + textwrap.fill(", ".join(row), 94, subsequent_indent="     ") + "},\n"
    text = text.rstrip(",\n") + "};\n"
    files["src/ns/noise_gain_factors.inc"] = text

    text = head + "\n// log2(1 + i / 256), Q16.\n"
    text += array("inline constexpr int kLog2Steps[257]",
                  [nearest(65536 * math.log2(1 + i / 256)) for i in range(257)])
    text += "\n// 2^(i / 256), Q30.\n"
    text += array("inline constexpr int64_t kPower2Steps[257]",
                  [nearest(2**30 * 2 ** (i / 256)) for i in range(257)])
    files["src/ns/logarithm_tables.inc"] = text

    text = head + "\n// ln of a bin's number, Q12; bin 0 has none.\n"
    text += array("constexpr short kLogOfBin[129]",
                  [0] + [nearest(4096 * math.log(i)) for i in range(1, 129)])
    text += "\n// k ln 2, Q8.\n"
    text += array("const short tekaNsx_kLogTable[9]",
                  [nearest(256 * k * math.log(2)) for k in range(9)])
    text += "\n// 1 / (k + 1), Q15.\n"
    text += array("const short tekaNsx_kCounterDiv[201]",
                  [min(nearest(32768 / (k + 1)), 32767) for k in range(201)])
    files["src/ns/noise_estimate_tables.inc"] = text

    text = head + "\n// tanh(i / 4) / 2, Q14.\n"
    text += array("constexpr short kIndicator[17]",
                  [nearest(8192 * math.tanh(i / 4)) for i in range(17)])
    files["src/ns/speech_indicator.inc"] = text
    return files


def report():
    flat = [window(128, 80), window(256, 160)]
    worst = 0
    for w, block in zip(flat, (80, 160)):
        for n in range(len(w) - block):
            worst = max(worst, abs((w[n] / 16384) ** 2 + (w[n + block] / 16384) ** 2 - 1))
    return f"windows add up to 1 within {worst:.1e}"


if __name__ == "__main__":
    generated_files.run(make_files, report)
