// The functions of arithmetic.h in vectors: included behind the vocabulary of an instruction
// set, in the one file that is compiled for it. Each vector is read before it is written, so that
// out may be an input.
#pragma once

#include "dsp/kernels/arithmetic.h"
#include "dsp/kernels/nonlinear.h"

namespace {

void scale(const int* in, int gain, int* out, int n) {
  const vector gains = splat(gain);
  in_vectors(n, [=](int i, auto words) {
    store(out + i, saturated_product<13>(load(in + i, words), gains), words);
  });
}

void scale_quarter(const int* in, int gain, int* out, int n) {
  const vector gains = splat(gain);
  in_vectors(n, [=](int i, auto words) {
    store(out + i, saturated_product<15>(load(in + i, words), gains), words);
  });
}

void scale_down(const int* in, int gain, int* out, int n) {
  const vector gains = splat(gain);
  in_vectors(n, [=](int i, auto words) {
    const vector y = saturated_product<13>(load(in + i, words), gains);
    store(out + i, silence_minus_one(y), words);
  });
}

void scale_down_each(const int* in, const int* gains, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    const vector y = saturated_product<17>(load(in + i, words), load(gains + i, words));
    store(out + i, silence_minus_one(y), words);
  });
}

void scale_down_twice(const int* in, const int* gains, const int* gates, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    const vector gain = saturated_product<17>(load(gates + i, words), load(gains + i, words));
    const vector y = saturated_product<17>(load(in + i, words), gain);
    store(out + i, silence_minus_one(y), words);
  });
}

void mix(const int* a, int gain_a, const int* b, int gain_b, int* out, int n) {
  const vector gains_a = splat(gain_a), gains_b = splat(gain_b);
  in_vectors(n, [=](int i, auto words) {
    const vector y = saturate_add(saturated_product<13>(load(a + i, words), gains_a),
                                  saturated_product<13>(load(b + i, words), gains_b));
    store(out + i, silence_minus_one(y), words);
  });
}

void add(const int* a, const int* b, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    store(out + i, saturate_add(load(a + i, words), load(b + i, words)), words);
  });
}

void subtract(const int* a, const int* b, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    store(out + i, saturate_sub(load(a + i, words), load(b + i, words)), words);
  });
}

void clip(const int* in, const int* limits, int* out, int n) {
  in_vectors(n, [=](int i, auto words) {
    const vector x = load(in + i, words), limit = load(limits + i, words);
    store(out + i, where_greater(x, limit, limit, larger(x, negative(limit))), words);
  });
}

void polynomial(const int* coefficients, const int* in, int* out, int n) {
  vector c[kPolynomialOrder];
  for (int k = 0; k < kPolynomialOrder; ++k) c[k] = splat(coefficients[k]);
  in_vectors(n, [&](int i, auto words) {
    const vector x = load(in + i, words);
    vector power = saturated_product<15>(c[0], x);
    vector sum = power;
    for (int k = 1; k < kPolynomialOrder; ++k) {
      power = saturated_product<23>(saturated_product<15>(c[k], x), power);
      sum = saturate_add(sum, power);
    }
    store(out + i, sum, words);
  });
}

// Without saturation the factors can stay where the multiplication takes them.
void fitting_polynomial(const int* coefficients, const int* in, int* out, int n) {
  factors c[kPolynomialOrder];
  for (int k = 0; k < kPolynomialOrder; ++k) c[k] = factors_of(splat(coefficients[k]));
  in_vectors(n, [&](int i, auto words) {
    const factors x = factors_of(load(in + i, words));
    factors power = product<15>(c[0], x);
    factors total = power;
    for (int k = 1; k < kPolynomialOrder; ++k) {
      power = product<23>(product<15>(c[k], x), power);
      total = sum(total, power);
    }
    store(out + i, words_of(total), words);
  });
}

block_level level(const int* in, int n) {
  vector largest = splat(0);
  wide_sum sum;
  in_vectors(n, [&](int i, auto words) {
    const vector x = magnitude(load(in + i, words));
    largest = larger_unsigned(largest, x);
    sum.add_unsigned(x);
  });
  return {largest_unsigned(largest), sum.total()};
}

// The lowest word, negative as its magnitude is, is never the larger one.
int peak(const int* in, int n) {
  vector largest = splat(0);
  in_vectors(n,
             [&](int i, auto words) { largest = larger(largest, magnitude(load(in + i, words))); });
  return static_cast<int>(largest_unsigned(largest));
}

int64_t energy(const int* in, int n) {
  wide_sum sum;
  in_vectors(n, [&](int i, auto words) { sum.add_squares(load(in + i, words)); });
  return sum.total();
}

constexpr block_arithmetic kVectorArithmetic = {
    scale, scale_quarter, scale_down, scale_down_each, scale_down_twice,   mix,
    add,   subtract,      clip,       polynomial,      fitting_polynomial, level,
    peak,  energy};

}  // namespace
