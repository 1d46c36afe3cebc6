#!/usr/bin/env python3
"""Logarithms and exponentials of the noise suppressor's band post-processing, all times 256 and
rounded to the nearest:

    log2(1 + i / 256)    i = 0..255: the fractional part of a binary logarithm
    k ln 2               k = 0..15: the natural logarithm of a scaling by 2^k
    e^k                  k = 0..18

See generated_files.py for the arguments.
"""

import math

import generated_files


def array(declaration, values):
    words = [str(math.floor(256 * value + 0.5)) for value in values]
    lines = [", ".join(words[i:i + 12]) for i in range(0, len(words), 12)]
    return f"inline constexpr {declaration} = {{\n    " + ",\n    ".join(lines) + "};\n"


def make_files():
    text = "// Made by tools/make_band_post_tables.py; do not edit. All Q8.\n\n"
    text += "// log2(1 + i / 256).\n"
    text += array("uint16_t kLog2Fraction[256]", [math.log2(1 + i / 256) for i in range(256)])
    text += "\n// k ln 2.\n"
    text += array("uint16_t kLogOfShift[16]", [k * math.log(2) for k in range(16)])
    text += "\n// e^k.\n"
    text += array("int64_t kExponential[19]", [math.exp(k) for k in range(19)])
    return {"src/ns/band_post_tables.inc": text}


def report():
    return "256 binary logarithms, 16 logarithms of powers of 2, 19 exponentials, within half a step"


if __name__ == "__main__":
    generated_files.run(make_files, report)
