"""Second-order filter design shared by the equalizers' table generators.

Bilinear transform of the analogue prototypes with K = tan(pi f / rate), as in U. Zoelzer, "Digital
Audio Signal Processing" (2nd edition, 2008), section 5.2: peaking section, second-order low shelf
and high shelf. A boost of g dB has V = 10^(g / 20); a cut is the reciprocal of the boost, so its
numerator and denominator change places. All in double precision.

A row is b0, b1, b2, -a1, -a2: divided by the denominator's first term, the feedback terms negated,
times a scale, truncated toward zero.
"""

import cmath
import math

Q28 = 268435456
UNITY = (Q28, 0, 0, 0, 0)


def peaking(k, v, q):
    n, d = v * k / q, k / q
    middle = 2 * (k * k - 1)
    return (1 + n + k * k, middle, 1 - n + k * k), (1 + d + k * k, middle, 1 - d + k * k)


def butterworth(k):
    root = math.sqrt(2) * k
    return 1 + root + k * k, 2 * (k * k - 1), 1 - root + k * k


def low_shelf(k, v, _q=None):
    root = math.sqrt(2 * v) * k
    vk = v * k * k
    return (1 + root + vk, 2 * (vk - 1), 1 - root + vk), butterworth(k)


def high_shelf(k, v, _q=None):
    root = math.sqrt(2 * v) * k
    return (v + root + k * k, 2 * (k * k - v), v - root + k * k), butterworth(k)


def design(shape, rate, frequency, decibels, q=None):
    """The real coefficients b0, b1, b2, a1, a2 of a section."""
    numerator, denominator = shape(
        math.tan(math.pi * frequency / rate), 10 ** (abs(decibels) / 20), q)
    if decibels < 0:
        numerator, denominator = denominator, numerator
    b = [term / denominator[0] for term in numerator]
    a = [term / denominator[0] for term in denominator]
    return b[0], b[1], b[2], a[1], a[2]


def quantise(section, scale):
    """The five integer words of a section."""
    b0, b1, b2, a1, a2 = section
    return tuple(math.trunc(term * scale) for term in (b0, b1, b2, -a1, -a2))


def response(words, frequency, rate, scale=Q28):
    """The complex gain of integer words at a frequency; scale is what the processing divides by."""
    b0, b1, b2, c1, c2 = (word / scale for word in words)
    z = cmath.exp(-2j * math.pi * frequency / rate)
    return (b0 + b1 * z + b2 * z * z) / (1 - c1 * z - c2 * z * z)


def decibels(gain):
    return 20 * math.log10(abs(gain))
