#!/usr/bin/env python3
"""The 16-bit transform's sine table: round(32768 sin(2 pi k / 1024)) for k = 0..767.

Three quarters of a period, so that the cosine is the same table a quarter (256) further on. The
values reach 32768 itself and therefore stand in 32-bit words.

See generated_files.py for the arguments.
"""

import math

import generated_files

POINTS = 1024


def make_files():
    words = [round(32768 * math.sin(2 * math.pi * k / POINTS)) for k in range(POINTS * 3 // 4)]
    text = "// Made by tools/make_spl_fft_tables.py; do not edit.\n"
    text += "// sin(2 pi k / 1024) for k = 0..767, Q15.\n"
    for i in range(0, len(words), 12):
        text += ", ".join(str(word) for word in words[i:i + 12]) + ",\n"
    return {"src/spl/fft_tables.inc": text}


def report():
    return "sine table: 768 words, each within half a step of the exact value"


if __name__ == "__main__":
    generated_files.run(make_files, report)
