#include <algorithm>

#include "dsp/kernels/arithmetic.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/nonlinear.h"
#include "fixed.h"

const block_arithmetic& arithmetic() { return *kernels().arithmetic; }

namespace {

void scale(const int* in, int gain, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = saturate32(int64_t{in[i]} * gain >> 13);
}

void scale_quarter(const int* in, int gain, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = saturate32(int64_t{in[i]} * gain >> 15);
}

void scale_down_13(const int* in, int gain, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<13>(int64_t{in[i]} * gain);
}

void scale_down_each(const int* in, const int* gains, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = scale_down<17>(int64_t{in[i]} * gains[i]);
}

void scale_down_twice(const int* in, const int* gains, const int* gates, int* out, int n) {
  for (int i = 0; i < n; ++i) {
    const int gain = saturate32(int64_t{gates[i]} * gains[i] >> 17);
    out[i] = scale_down<17>(int64_t{in[i]} * gain);
  }
}

void mix(const int* a, int gain_a, const int* b, int gain_b, int* out, int n) {
  for (int i = 0; i < n; ++i)
    out[i] = silence_minus_one(saturate_add(saturate32(int64_t{gain_a} * a[i] >> 13),
                                            saturate32(int64_t{gain_b} * b[i] >> 13)));
}

void add(const int* a, const int* b, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = saturate_add(a[i], b[i]);
}

void subtract(const int* a, const int* b, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = saturate_sub(a[i], b[i]);
}

void clip(const int* in, const int* limits, int* out, int n) {
  for (int i = 0; i < n; ++i) out[i] = clip_step(in[i], limits[i]);
}

void polynomial(const int* coefficients, const int* in, int* out, int n) {
  int c[kPolynomialOrder];  // out of the outputs' reach
  std::copy_n(coefficients, kPolynomialOrder, c);
  for (int i = 0; i < n; ++i) out[i] = polynomial_step(c, in[i]);
}

constexpr uint32_t magnitude(int x) {
  return x < 0 ? 0u - static_cast<uint32_t>(x) : static_cast<uint32_t>(x);
}

block_level level(const int* in, int n) {
  block_level found = {};
  for (int i = 0; i < n; ++i) {
    found.largest = std::max(found.largest, magnitude(in[i]));
    found.sum += magnitude(in[i]);
  }
  return found;
}

int peak(const int* in, int n) {
  int largest = 0;
  for (int i = 0; i < n; ++i) largest = std::max(largest, in[i] < 0 ? wrap_neg(in[i]) : in[i]);
  return largest;
}

int64_t energy(const int* in, int n) {
  int64_t sum = 0;
  for (int i = 0; i < n; ++i) sum = mac(sum, in[i], in[i]);
  return sum;
}

}  // namespace

const block_arithmetic kArithmeticPortable = {
    scale, scale_quarter, scale_down_13, scale_down_each, scale_down_twice, mix,
    add,   subtract,      clip,          polynomial,      polynomial,       level,
    peak,  energy};
