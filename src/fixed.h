// The arithmetic vocabulary of the library: every helper's name says what happens at the edge.
//
//   saturate     clamps to the limits of the narrower type
//   wrap         keeps the low bits (two's complement), computed in unsigned arithmetic, so that a
//                deliberate overflow is told from a mistake and the sanitizer guards everything else
//   scale_down   arithmetic shift right of a 64-bit product, then saturate or wrap, then the rule
//                that a result of exactly -1 becomes 0
//   shift_right  arithmetic, by the count modulo the word's width, as machines do: a 32-bit word by
//                32 stays as it is
//
// About that rule: an arithmetic shift rounds toward minus infinity, so a decaying negative signal
// would stay at -1 for ever. With -1 replaced by 0 it ends in silence.
//
// Q formats: Qn means n fractional bits; 8192 is 1.0 in Q13.
#pragma once

#include <cstdint>

constexpr int kOneQ11 = 1 << 11;
constexpr int kOneQ13 = 1 << 13;
constexpr int kOneQ14 = 1 << 14;
constexpr int kOneQ17 = 1 << 17;

constexpr int saturate32(int64_t value) {
  return value > INT32_MAX ? INT32_MAX : value < INT32_MIN ? INT32_MIN : static_cast<int>(value);
}

constexpr int16_t saturate16(int value) {
  return static_cast<int16_t>(value > INT16_MAX   ? INT16_MAX
                              : value < INT16_MIN ? INT16_MIN
                                                  : value);
}

constexpr int saturate_add(int a, int b) { return saturate32(int64_t{a} + b); }
constexpr int saturate_sub(int a, int b) { return saturate32(int64_t{a} - b); }

constexpr int wrap32(int64_t value) { return static_cast<int>(static_cast<uint32_t>(value)); }

constexpr int wrap_add(int a, int b) { return wrap32(int64_t{a} + b); }
constexpr int wrap_sub(int a, int b) { return wrap32(int64_t{a} - b); }
constexpr int wrap_mul(int a, int b) { return wrap32(int64_t{a} * b); }
constexpr int wrap_neg(int a) { return wrap32(-int64_t{a}); }
constexpr int wrap_shl(int a, int bits) {
  return static_cast<int>(static_cast<uint32_t>(a) << bits);
}

constexpr int64_t wrap_add64(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) + static_cast<uint64_t>(b));
}
constexpr int64_t wrap_sub64(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b));
}
constexpr int64_t wrap_mul64(int64_t a, int64_t b) {
  return static_cast<int64_t>(static_cast<uint64_t>(a) * static_cast<uint64_t>(b));
}

// Truncates toward zero; the one quotient that doesn't fit (the lowest value by -1) wraps, and a
// divisor of 0 gives 0.
constexpr int wrap_div(int a, int b) { return b == 0 ? 0 : wrap32(int64_t{a} / b); }
constexpr int64_t wrap_div64(int64_t a, int64_t b) {
  return b == 0 ? 0 : b == -1 ? wrap_sub64(0, a) : a / b;
}

// Arithmetic shifts by a count that a caller may have set to anything.
constexpr int shift_right(int a, int bits) { return a >> (bits & 31); }
constexpr int64_t shift_right64(int64_t a, int bits) { return a >> (bits & 63); }

// acc + a * b: the product of two 32-bit values is exact, the 64-bit sum wraps.
constexpr int64_t mac(int64_t acc, int a, int b) { return wrap_add64(acc, int64_t{a} * b); }

constexpr int silence_minus_one(int value) { return value == -1 ? 0 : value; }

// product / 2^bits, saturated, -1 becomes 0.
template <int bits>
constexpr int scale_down(int64_t product) {
  return silence_minus_one(saturate32(product >> bits));
}

// product / 2^bits, low 32 bits, -1 becomes 0.
template <int bits>
constexpr int scale_down_wrapping(int64_t product) {
  return silence_minus_one(wrap32(product >> bits));
}
