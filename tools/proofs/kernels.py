#!/usr/bin/env python3
"""Proves for all inputs what the block kernels rely on where they compute otherwise than the portable
form: reassociated sums, saturations that can't happen, transposed recursions, shifts that the
instruction set lacks. Needs z3 (Debian: python3-z3).

    tools/proofs/kernels.py          proves everything; ends with 0 if all holds
    tools/proofs/kernels.py WORD     only what has the word in its name or file

Two kinds of numbers stand for the machine's words. Bit vectors are the words themselves, bit for bit.
Integers without bounds are for identities of sums and products: what is equal as polynomials is equal
modulo 2^64 too, since taking the remainder is a ring homomorphism.
"""
import sys
import time

from z3 import (And, BitVec, BitVecVal, Extract, If, Int, LShR, Not, SignExt, Solver, ZeroExt, sat,
                unsat)

PROOFS = []


def proves(name, *files):
    """Registers a function that gives (premise, claim) or several of them; a premise may be True."""
    def register(function):
        PROOFS.append((name, files, function))
        return function
    return register


# ---- The vocabulary of fixed.h, on bit vectors of 32 and 64 bits.

INT32_MAX, INT32_MIN = 2**31 - 1, -2**31


def word(name):
    return BitVec(name, 32)


def wide(name):
    return BitVec(name, 64)


def extend(x):
    return SignExt(32, x)


def low(x):
    return Extract(31, 0, x)


def high(x):
    return Extract(63, 32, x)


def saturate32(x):
    limit = If(x > INT32_MAX, BitVecVal(INT32_MAX, 64), If(x < INT32_MIN, BitVecVal(INT32_MIN, 64), x))
    return low(limit)


def silence(x):
    return If(x == -1, BitVecVal(0, 32), x)


def limit_of(x):
    return (x >> 31) ^ INT32_MAX


# ---- Shifts and saturations that AVX2 lacks.


@proves("an arithmetic shift of 64 bits from a logical one", "fft_stage_avx2.cpp", "notch_avx2.cpp")
def lifted_shift():
    x = wide("x")
    for bits in (13, 15, 28):
        lifted = x ^ BitVecVal(2**63, 64)
        yield True, LShR(lifted, bits) - 2**(63 - bits) == x >> bits


@proves("a quotient's low word comes from a logical shift, in either half", "vectors_avx2.h",
        "comb_bank_avx2.cpp", "iir_rows_avx2.h")
def low_word_of_shift():
    x = wide("x")
    for bits in range(1, 32):
        yield True, And(low(LShR(x, bits)) == low(x >> bits), high(x << (32 - bits)) == low(x >> bits))


@proves("saturated_shift is the quotient saturated, for every shift", "vectors_avx2.h")
def saturated_shift():
    x = wide("x")
    for bits in range(1, 32):
        quotient = low(LShR(x, bits))
        fits = (high(x) >> (bits - 1)) == (high(x) >> 31)
        yield True, If(fits, quotient, limit_of(high(x))) == saturate32(x >> bits)


@proves("sums and differences saturate where one term keeps within limits of the other",
        "vectors_avx2.h")
def saturate_by_limits():
    def clamp(x, lowest, highest):
        x = If(x > lowest, x, lowest)
        return If(x < highest, x, highest)

    def least(x, y):
        return If(x < y, x, y)

    def most(x, y):
        return If(x > y, x, y)
    a, b = word("a"), word("b")
    total = a + clamp(b, INT32_MIN - least(a, 0), INT32_MAX - most(a, 0))
    yield True, total == saturate32(extend(a) + extend(b))
    difference = a - clamp(b, most(a, -1) - INT32_MAX, least(a, -1) - INT32_MIN)
    yield True, difference == saturate32(extend(a) - extend(b))


@proves("the sections' saturation, two rows at once", "iir_rows_avx2.h")
def lanes_saturate():
    x = wide("x")
    for shifted in (low(LShR(x, 28)), high(x << 4)):
        fits = (shifted >> 4) == high(x)
        mended = If(fits, If(shifted == -1, BitVecVal(0, 32), shifted), limit_of(high(x)))
        yield True, mended == silence(saturate32(x >> 28))


@proves("a sample five bits up is the clamped one, less 1 where that wraps",
        "iir_rows_avx2.h")
def scaled_input():
    x = word("x")
    beyond = BitVecVal(2**26, 32)
    clamped = If(x > beyond, beyond, If(x < -2**26, BitVecVal(-2**26, 32), x))
    yield True, (clamped << 5) - If(clamped == beyond, BitVecVal(1, 32), BitVecVal(0, 32)) == \
        saturate32(extend(x) * 32)


# ---- Sections in lanes.


@proves("a result five bits down and up again is itself without its low five bits", "iir_lanes.h",
        "band_tree.cpp")
def handed_on():
    y = word("y")
    yield True, saturate32(extend(y >> 5) * 32) == y & ~31


@proves("a section of b0 = 1.0 alone passes its input", "iir_lanes.h")
def passing_section():
    x = word("x")
    product = extend(x) << 28
    yield x & 31 == 0, silence(saturate32(product >> 28)) == x
    yield True, low(product >> 28) == x


@proves("carried sums are the direct form's products", "iir_lanes.h", "section_bank.cpp")
def carried_sums():
    b0, b1, b2, a1, a2 = (Int(name) for name in ("b0", "b1", "b2", "a1", "a2"))
    x, x1, x2, y, y1, y2, new = (Int(name) for name in ("x", "x1", "x2", "y", "y1", "y2", "new"))

    def first(x1, x2, y1, y2):
        return b1 * x1 + b2 * x2 + a1 * y1 + a2 * y2

    def second(x1, y1):
        return b2 * x1 + a2 * y1
    yield True, first(x1, x2, y1, y2) + b0 * x == b0 * x + b1 * x1 + b2 * x2 + a1 * y1 + a2 * y2
    # carry() with x and its result y keeps both what they are called, one sample on.
    yield True, second(x1, y1) + b1 * x + a1 * y == first(x, x1, y, y1)
    yield True, b2 * x + a2 * y == second(x, y)


@proves("partial sums are the sixth-order section's products", "elliptic.cpp")
def elliptic_partials():
    order = 6
    a = [None] + [Int(f"a{m}") for m in range(1, order + 1)]
    y = [Int(f"y{k}") for k in range(order + 1)]  # y[k]: k samples before the newest

    def partial(j, newest):
        return sum(a[m] * y[newest + m - j] for m in range(j, order + 1)) if j <= order else 0
    # Before y[0] is known the newest result is y[1]; the next one takes partial[1].
    yield True, partial(1, 1) == sum(a[m] * y[m] for m in range(1, order + 1))
    for j in range(1, order + 1):
        yield True, partial(j + 1, 1) + a[j] * y[0] == partial(j, 0)


@proves("the DC blocker's difference first", "dc_remove.h")
def dc_sum():
    x, x1, y1 = Int("x"), Int("x1"), Int("y1")
    yield True, (x - x1) + y1 == (x + y1) - x1


@proves("the loop filter's sums in passes", "iircomber.cpp")
def comber_sums():
    b0, b1, a1, x, x1, y1 = (Int(name) for name in ("b0", "b1", "a1", "x", "x1", "y1"))
    yield True, (b0 * x + b1 * x1) - a1 * y1 == b0 * x + b1 * x1 - a1 * y1


# ---- Products of 64 bits by 32, and what is built of them.


@proves("a word of 64 bits is its rounded high half and its signed low one", "fft_stage_avx2.cpp",
        "fft_stage_neon.cpp", "notch_avx2.cpp")
def halves():
    v = wide("v")
    for h in (low(LShR(v + 2**31, 32)), low((v + 2**31) >> 32)):  # AVX2's, NEON's
        yield True, (extend(h) << 32) + extend(low(v)) == v


@proves("their products add up to the product", "fft_stage_avx2.cpp", "fft_stage_neon.cpp",
        "notch_avx2.cpp")
def product_by_halves():
    h, l, f = Int("h"), Int("l"), Int("f")
    yield True, (h * 2**32 + l) * f == l * f + h * f * 2**32


@proves("a complex product from the halves of both parts", "fft_stage_avx2.cpp")
def complex_product():
    rh, rl, ih, il, w_re, w_im = (Int(name) for name in ("rh", "rl", "ih", "il", "w_re", "w_im"))
    re, im = rh * 2**32 + rl, ih * 2**32 + il
    yield True, re * w_re - im * w_im == (rl * w_re + il * -w_im) + (rh * w_re + ih * -w_im) * 2**32
    yield True, im * w_re + re * w_im == (il * w_re + rl * w_im) + (ih * w_re + rh * w_im) * 2**32


@proves("the notch's sum in the order of what is known first", "notch_avx2.cpp")
def notch_sum():
    x, x2, y1, pole, residue, zero, far = (
        Int(name) for name in ("x", "x2", "y1", "pole", "residue", "zero", "far"))
    portable = (zero - far) + (x + x2) * 8192 + residue - pole * y1
    yield True, ((residue + x2 * 8192 + zero) - far) + x * 8192 - y1 * pole == portable


@proves("the low word of a share's quotient", "notch_avx2.cpp")
def share_of_notch():
    total = wide("total")
    yield True, low(LShR(total, 20)) == low(total >> 20)


# ---- Converters.


@proves("half the sum of two words fits, and rounds as the whole sum does", "polyphase_avx2.cpp",
        "polyphase_neon.cpp")
def half_of_a_sum():
    a, b = word("a"), word("b")
    total = extend(a) + extend(b)
    half = (a >> 1) + (b >> 1) + (a & b & 1)
    yield True, extend(half) == total >> 1
    # AVX2 rounds in 32 bits: a half of a row is below 2.0, 65535 steps of Q15.
    most = 65535 * 32768
    within = And(a <= most, a >= -most, b <= most, b >= -most)
    yield within, extend((half + 2**13) >> 14) == (total + 2**14) >> 15
    # NEON's rounding shift doesn't wrap.
    yield True, (extend(half) + 2**13) >> 14 == (total + 2**14) >> 15


@proves("the product of a magnitude, rounded down, with the sign: rounded toward zero",
        "half_band_avx2.cpp", "half_band_neon.cpp")
def toward_zero_by_magnitude():
    a, x, magnitude = Int("a"), Int("x"), Int("magnitude")
    within = And(a >= 0, a < 2**24, magnitude == If(x < 0, -x, x))
    down = (magnitude * (a * 2**8)) / 2**32  # the high word, of NEON's doubled product too
    toward_zero = If(x < 0, -((a * magnitude) / 2**24), (a * magnitude) / 2**24)
    yield within, If(x < 0, -down, down) == toward_zero


# ---- The 16-bit transform.


@proves("a butterfly's result, rounded once, from 32 bits", "butterfly.h", "butterfly_vectors.h")
def butterfly_results():
    a, r = word("a"), word("r")
    # |cosine| + |sine| is 46342 steps of Q15 at most.
    most = 46342 * 32768
    within = And(a >= -32768, a <= 32767, r >= -most, r <= most)
    for shift in (0, 1, 2):
        exact = ((extend(a) << 15) + extend(r) + 2**(14 + shift)) >> (15 + shift)
        found = (a + ((r + 2**(14 + shift)) >> 15)) >> shift
        yield within, extend(found) == exact
        opposite = ((extend(a) << 15) - extend(r) + 2**(14 + shift)) >> (15 + shift)
        yield within, extend((a + ((-r + 2**(14 + shift)) >> 15)) >> shift) == opposite


@proves("half of a word, towards zero, by taking its sign from it", "butterfly_vectors.h")
def half_towards_zero():
    x = word("x")
    yield True, (x - (x >> 31)) >> 1 == x / 2  # of signed words z3 rounds towards zero


# ---- Saturations that can't happen.


def products_within(factor, value, product, most):
    """What 0 <= factor <= most and a 32-bit value say of their product, as linear bounds."""
    return And(factor >= 0, factor <= most, value >= INT32_MIN, value <= INT32_MAX,
               product >= factor * INT32_MIN, product <= factor * INT32_MAX)


@proves("a factor that isn't negative keeps a product between those of the limits", "comb_bank.h",
        "elementwise_vectors.h")
def product_bounds():
    d, a = Int("d"), Int("a")
    yield And(d >= 0, a >= INT32_MIN, a <= INT32_MAX), And(d * a >= d * INT32_MIN, d * a <= d * INT32_MAX)


@proves("a weighted mean, or a part of one, fits in 32 bits", "comb_bank.h")
def weighted_mean():
    d1, d2, a, b, p1, p2 = (Int(name) for name in ("d1", "d2", "a", "b", "p1", "p2"))
    both = And(products_within(d1, a, p1, 8192), products_within(d2, b, p2, 8192), d1 + d2 <= 8192)
    mean = (p1 + p2) / 8192  # rounded down
    yield both, And(mean >= INT32_MIN, mean <= INT32_MAX)


@proves("a product with a gain of 1.0 at most fits in 32 bits", "elementwise_vectors.h")
def gain_of_one():
    size, product = Int("size"), Int("product")
    # Between the products of the limits; a negative gain's are those of its size the other way round.
    for one, bits in ((2**13, 13), (2**13, 15), (2**17, 17)):
        for most, lowest, highest in ((one, INT32_MIN, INT32_MAX), (one - 1, -INT32_MAX, -INT32_MIN)):
            within = And(size >= 0, size <= most, product >= size * lowest, product <= size * highest)
            quotient = product / 2**bits  # rounded down
            yield within, And(quotient >= INT32_MIN, quotient <= INT32_MAX)


@proves("a product with one half is a shift and fits", "allpass_vectors.h")
def half():
    x = word("x")
    yield True, silence(saturate32((extend(x) * 4096) >> 13)) == silence(x >> 1)


@proves("where the polynomial's bounds fit nothing saturates", "nonlinear.h", "elementwise_vectors.h")
def polynomial_bounds():
    # One step of the bounds: a product within bound * largest, scaled down, stays within what
    # polynomial_fits computes; so do the sums, which add magnitudes.
    product, bound = Int("product"), Int("bound")
    for bits in (15, 23):
        quotient, limit = product / 2**bits, bound / 2**bits + 1
        yield And(product <= bound, product >= -bound), And(quotient <= limit, quotient >= -limit)
    # A product of magnitudes within their bounds is within the bounds' product.
    c, x, c_most, x_most = Int("c"), Int("x"), Int("c_most"), Int("x_most")
    within = And(c <= c_most, c >= -c_most, x <= x_most, x >= -x_most)
    yield within, And(c * x <= c_most * x_most, c * x >= -c_most * x_most)


@proves("a fade's share moves by any number of steps at once", "elementwise_vectors.h")
def fade_steps():
    full = 2**20

    def clamp(v, lowest, highest):
        return If(v < lowest, lowest, If(v > highest, highest, v))

    def one(depth, step):
        return clamp(clamp(depth + step, INT32_MIN, INT32_MAX), 0, full)
    depth, step = Int("depth"), Int("step")
    inside = And(depth >= 0, depth <= full, step >= INT32_MIN, step <= INT32_MAX)
    short = clamp(step, -full, full)
    single = depth
    for lanes in range(1, 9):
        single = one(single, step)
        yield inside, And(single == clamp(depth + lanes * short, 0, full),
                          depth + lanes * short <= INT32_MAX, depth + lanes * short >= INT32_MIN)


# ---- The gramophone's curve, and magnitudes.


@proves("three times |2x| is 6x or -6x by the sign of 2x, also where that wraps", "overdrive.h")
def three_magnitudes():
    x = word("x")
    d = x << 1
    a = If(d < 0, -d, d)
    yield True, a + a + a == If(d >= 1, 6 * x, -6 * x)


@proves("dividing by 2^22 and 6 at once or by 2^23 and 3", "overdrive.h")
def nested_quotients():
    square = Int("square")
    yield square >= 0, (square / 2**23) / 3 == square / (6 * 2**22)


@proves("a third by a multiplication, which fits", "elementwise_vectors.h")
def third():
    v = Int("v")
    quotient = v * 715827883 / 2**31
    yield And(v >= 0, v <= 2**25), And(quotient == v / 3, quotient <= INT32_MAX)


@proves("what the bent piece squares is small enough for that", "elementwise_vectors.h")
def bent_piece():
    a, t, square = Int("a"), Int("t"), Int("square")
    bent = And(a > 2796201, a <= 5592404, t == 2 * 8388607 - 3 * a, square == t * t)
    yield bent, And(t >= 2, t <= 8388611)
    yield And(t >= 2, t <= 8388611), And(t * t / 2**23 >= 0, t * t / 2**23 <= 2**25)


@proves("the grit of a negative value is its low 16 bits read as a negative number, plus 1",
        "overdrive.h", "elementwise_vectors.h")
def grit():
    y = word("y")
    yield True, (y & 0xFFFF) - 0xFFFF == (y | 0xFFFF0000) + 1


@proves("a magnitude that wraps is the right one without its sign", "elementwise_vectors.h")
def magnitudes():
    x = word("x")
    magnitude = If(x < 0, -x, x)
    exact = If(extend(x) < 0, -extend(x), extend(x))
    yield True, ZeroExt(32, magnitude) == exact
    yield magnitude < 0, x == INT32_MIN


# ---- Running.


def holds(premise, claim):
    """Whether the claim follows, and the premise is one that something meets."""
    solver = Solver()
    solver.set("timeout", 60_000)
    if premise is not True:
        solver.add(premise)
        if solver.check() != sat:
            return "nothing meets the premise"
    solver.add(Not(claim))
    result = solver.check()
    if result == unsat:
        return None
    return f"not so for {solver.model()}" if result == sat else "not decided"


def main(words):
    # A prover that agrees with everything would be no help.
    a, b = word("a"), word("b")
    if holds(True, saturate32(extend(a) + extend(b)) == a + b) is None:
        print("the prover takes a sum that saturates for one that wraps")
        return 1
    faults = claims = 0
    for name, files, function in PROOFS:
        if words and not any(w in text for w in words for text in (name, *files)):
            continue
        begin = time.monotonic()
        answers = [holds(premise, claim) for premise, claim in function()]
        wrong = [answer for answer in answers if answer]
        claims += len(answers)
        faults += len(wrong)
        seconds = time.monotonic() - begin
        print(f"{'FAILS ' if wrong else 'proved'} {seconds:6.2f} s  {name}  ({', '.join(files)})")
        for answer in wrong:
            print(f"        {answer}")
    print(f"{claims} claims, {faults} not proved")
    return 1 if faults or not claims else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
