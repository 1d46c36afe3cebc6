// The element-wise kernels, the measures and the FIR sums, portable: what defines their bits.
#include <algorithm>

#include "dsp/kernels/kernels.h"
#include "dsp/kernels/nonlinear.h"
#include "dsp/kernels/overdrive.h"
#include "fixed.h"

void portable::scale_q13(const int* in, int gain_q13, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = saturate32(int64_t{in[i]} * gain_q13 >> 13);
}

void portable::scale_to_silence_q13(const int* in, int gain_q13, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<13>(int64_t{in[i]} * gain_q13);
}

void portable::scale_to_silence_q17(const int* in, int gain_q17, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<17>(int64_t{in[i]} * gain_q17);
}

void portable::scale_each_to_silence_q17(const int* in, const int* gains_q17, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<17>(int64_t{in[i]} * gains_q17[i]);
}

void portable::scale_twice_to_silence_q17(const int* in, const int* gains_q17, const int* gates_q17,
                                          int* out, int n) {
  for (int i = 0; i < n; ++i) {
    const int gain_q17 = saturate32(int64_t{gates_q17[i]} * gains_q17[i] >> 17);
    out[i] = scale_down<17>(int64_t{in[i]} * gain_q17);
  }
}

namespace {

int sum_of_two_q13(int a, int gain_a_q13, int b, int gain_b_q13) {
  return saturate_add(saturate32(int64_t{gain_a_q13} * a >> 13),
                      saturate32(int64_t{gain_b_q13} * b >> 13));
}

}  // namespace

void portable::mix_two_q13(const int* a, int gain_a_q13, const int* b, int gain_b_q13, int* out,
                           int n) {
  for (int i = 0; i < n; ++i) out[i] = sum_of_two_q13(a[i], gain_a_q13, b[i], gain_b_q13);
}

void portable::mix_two_to_silence_q13(const int* a, int gain_a_q13, const int* b, int gain_b_q13,
                                      int* out, int n) {
  for (int i = 0; i < n; ++i)
    out[i] = silence_minus_one(sum_of_two_q13(a[i], gain_a_q13, b[i], gain_b_q13));
}

void portable::mix_difference_q13(const difference_signals& in, int gain_q13, int* left, int* right,
                                  int n) {
  for (int i = 0; i < n; ++i) {
    const int low = in.side_low[i];
    const int lows = wrap_sub(wrap_add(wrap_shl(low, 1), in.d[i] >> 1), low >> 1);
    const int side = saturate32(int64_t{wrap_add(in.side_high[i], lows)} * gain_q13 >> 13);
    const int sum = wrap_add(wrap_add(in.s[i], in.mid_band[i] >> 2), in.mid_low[i]);
    const int mid = sum >> 1, a = in.a[i] >> 2, b = in.b[i] >> 2;
    left[i] = wrap_add(wrap_add(mid, a), side);
    right[i] = wrap_sub(wrap_add(mid, b), side);
  }
}

// A gain in Q13 is a quarter of itself in Q15.
void portable::mix_crossfeed_q13(const int* direct, const int* other, const int* high, int gain_q13,
                                 int* out, int n) {
  for (int i = 0; i < n; ++i) {
    const int lows = saturate32(int64_t{other[i]} * gain_q13 >> 13);
    const int highs = saturate32(int64_t{high[i]} * gain_q13 >> 15);
    out[i] = saturate_add(saturate_add(direct[i], lows), highs);
  }
}

void portable::mix_three_q13(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  for (int i = 0; i < n; ++i) {
    const int64_t two = mac(int64_t{a.samples[i]} * a.gain_q13, b.samples[i], b.gain_q13);
    out[i] = saturate32(mac(two, c.samples[i], c.gain_q13) >> 13);
  }
}

void portable::mix_wrapping_q13(const mix_input* inputs, int count, int* out, int n) {
  for (int i = 0; i < n; ++i) {
    int64_t sum = 0;
    for (int k = 0; k < count; ++k) sum = mac(sum, inputs[k].samples[i], inputs[k].gain_q13);
    out[i] = scale_down_wrapping<13>(sum);
  }
}

void portable::add(const int* a, const int* b, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = saturate_add(a[i], b[i]);
}

// A weighted mean of 32-bit words: it fits.
void portable::fade(fade_share* share, const int* other, int* x, int n) {
  int depth = share->depth_q20;
  for (int i = 0; i < n; ++i) {
    depth = std::clamp(saturate_add(depth, share->step_q20), 0, kFadeFull);
    x[i] = wrap32((int64_t{kFadeFull - depth} * x[i] + int64_t{depth} * other[i]) >> 20);
  }
  share->depth_q20 = depth;
}

void portable::clip(const int* in, const int* limits, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = clip_step(in[i], limits[i]);
}

void portable::polynomial(const int* coefficients, const int* in, int* out, int n) {
  int c[kPolynomialOrder];  // a copy that no output can overwrite stays in registers
  std::copy_n(coefficients, kPolynomialOrder, c);
  for (int i = 0; i < n; ++i) out[i] = polynomial_step(c, in[i]);
}

void portable::fitting_polynomial(const int* coefficients, const int* in, int* out, int n) {
  polynomial(coefficients, in, out, n);
}

void portable::overdrive_bit_shift(const int* in, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = bit_shift_step(overdrive_step(in[i]));
}

namespace {

constexpr uint32_t magnitude(int x) {
  return x < 0 ? 0u - static_cast<uint32_t>(x) : static_cast<uint32_t>(x);
}

}  // namespace

block_level portable::level(const int* in, int n) {
  block_level found = {};
  for (int i = 0; i < n; ++i) {
    found.largest = std::max(found.largest, magnitude(in[i]));
    found.sum += magnitude(in[i]);
  }
  return found;
}

int portable::peak(const int* in, int n) {
  int largest = 0;
  for (int i = 0; i < n; ++i) largest = std::max(largest, in[i] < 0 ? wrap_neg(in[i]) : in[i]);
  return largest;
}

void portable::fir_sums(const int* x, const int* coefficients, int taps, int64_t* sums, int n) {
  for (int i = 0; i < n; ++i) {
    int64_t sum = 0;
    for (int k = 0; k < taps; ++k) sum = mac(sum, coefficients[k], x[i - k]);
    sums[i] = sum;
  }
}
