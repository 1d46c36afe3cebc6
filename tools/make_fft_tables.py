#!/usr/bin/env python3
"""The integer FFT's analysis window: 256 words, Q28.

The periodic four-term window of Nuttall ("Some windows with very good sidelobe behavior", IEEE
Trans. ASSP 29, 1981) with side lobes below -98 dB:

    w[i] = a0 - a1 cos(2 pi i / 256) + a2 cos(4 pi i / 256) - a3 cos(6 pi i / 256)

A real value becomes a word by the scale 2^28, truncated. The peak, exactly 1.0, is held to 2^28 - 1.

See generated_files.py for the arguments.
"""

import math

import generated_files

SIZE = 256
Q28 = 1 << 28
TERMS = (0.3635819, 0.4891775, 0.1365995, 0.0106411)
FIXED_WORDS = {0: 97388, 1: 100508, 2: 109909, 128: 268435455}


def real_word(i):
    return Q28 * sum((-1) ** k * a * math.cos(2 * math.pi * k * i / SIZE)
                     for k, a in enumerate(TERMS))


def word(i):
    return min(math.floor(real_word(i)), Q28 - 1)


def make_files():
    for i, expected in FIXED_WORDS.items():
        assert word(i) == expected, (i, word(i))
    for i in range(SIZE):
        if i != SIZE // 2:  # nowhere else may the last bit of a double decide
            assert abs(real_word(i) - round(real_word(i))) > 1e-5, i
            assert word(i) == word((SIZE - i) % SIZE), i
    lines = ["// Made by tools/make_fft_tables.py; do not edit."]
    for start in range(0, SIZE, 8):
        lines.append(" ".join(f"{word(i)}," for i in range(start, start + 8)))
    return {"src/dsp/fft_window.inc": "\n".join(lines) + "\n"}


def report():
    energy = sum((word(i) / Q28) ** 2 for i in range(SIZE))
    mean = sum(word(i) / Q28 for i in range(SIZE))
    lines = [f"equivalent noise bandwidth: {SIZE * energy / mean ** 2:.3f} bins",
             "response of a tone at a distance in bins:"]
    for distance in (0, 0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4, 4.5, 5, 6, 8, 12):
        re = sum(word(i) / Q28 * math.cos(2 * math.pi * distance * (i - 128) / SIZE)
                 for i in range(SIZE))
        level = 20 * math.log10(max(abs(re) / mean, 1e-12))
        lines.append(f"  {distance:4.1f}  {level:8.2f} dB")
    return "\n".join(lines)


if __name__ == "__main__":
    generated_files.run(make_files, report)
