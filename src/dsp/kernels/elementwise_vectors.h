// Bodies of the kernels of elementwise.cpp in vectors, for every instruction set: included behind a
// vocabulary (vectors_avx2.h, vectors_neon.h) by the one file that is compiled for it. Each vector
// is read before it is written, so that out may be an input.
#pragma once

#include "dsp/kernels/kernels.h"
#include "dsp/kernels/nonlinear.h"
#include "dsp/kernels/overdrive.h"
#include "fixed.h"

namespace {

// Products of samples and gains, which saturate; or where none can.
struct saturating {
  template <int bits>
  static vector product(vector a, vector b) {
    return saturated_product<bits>(a, b);
  }
};
struct fitting {
  template <int bits>
  static vector product(vector a, vector b) {
    return fitting_product<bits>(a, b);
  }
};

// Whether no product saturates with a gain: up to 1.0.
inline bool fits(int gain, int one = kOneQ13) { return -one < gain && gain <= one; }

// Calls loop with the products for a gain that fits or doesn't.
template <typename Loop>
inline void with_products(bool fit, Loop loop) {
  fit ? loop(fitting()) : loop(saturating());
}

template <int bits, typename Products>
inline void scale_to_silence(Products with, const int* in, int gain, int* out, int n) {
  const vector gains = splat(gain);
  for_each_vector(n, [=](int i, auto lanes) {
    const vector y = with.template product<bits>(load(in + i, lanes), gains);
    store(out + i, silence_minus_one(y), lanes);
  });
}

// a x gain_a + b x gain_b and what finish makes of it.
template <typename Finish>
inline void mix_two(const int* a, int gain_a_q13, const int* b, int gain_b_q13, int* out, int n,
                    Finish finish) {
  const vector gains_a = splat(gain_a_q13), gains_b = splat(gain_b_q13);
  with_products(fits(gain_a_q13) && fits(gain_b_q13), [=](auto with) {
    for_each_vector(n, [=](int i, auto lanes) {
      const vector y = saturate_add(with.template product<13>(load(a + i, lanes), gains_a),
                                    with.template product<13>(load(b + i, lanes), gains_b));
      store(out + i, finish(y), lanes);
    });
  });
}

}  // namespace

void variant::scale_q13(const int* in, int gain_q13, int* out, int n) {
  const vector gains = splat(gain_q13);
  with_products(fits(gain_q13), [=](auto with) {
    for_each_vector(n, [=](int i, auto lanes) {
      store(out + i, with.template product<13>(load(in + i, lanes), gains), lanes);
    });
  });
}

void variant::scale_to_silence_q13(const int* in, int gain_q13, int* out, int n) {
  with_products(fits(gain_q13),
                [=](auto with) { scale_to_silence<13>(with, in, gain_q13, out, n); });
}

void variant::scale_to_silence_q17(const int* in, int gain_q17, int* out, int n) {
  with_products(fits(gain_q17, kOneQ17),
                [=](auto with) { scale_to_silence<17>(with, in, gain_q17, out, n); });
}

void variant::scale_each_to_silence_q17(const int* in, const int* gains_q17, int* out, int n) {
  for_each_vector(n, [=](int i, auto lanes) {
    const vector y = saturated_product<17>(load(in + i, lanes), load(gains_q17 + i, lanes));
    store(out + i, silence_minus_one(y), lanes);
  });
}

void variant::scale_twice_to_silence_q17(const int* in, const int* gains_q17, const int* gates_q17,
                                         int* out, int n) {
  for_each_vector(n, [=](int i, auto lanes) {
    const vector gain_q17 =
        saturated_product<17>(load(gates_q17 + i, lanes), load(gains_q17 + i, lanes));
    const vector y = saturated_product<17>(load(in + i, lanes), gain_q17);
    store(out + i, silence_minus_one(y), lanes);
  });
}

void variant::mix_two_q13(const int* a, int gain_a_q13, const int* b, int gain_b_q13, int* out,
                          int n) {
  mix_two(a, gain_a_q13, b, gain_b_q13, out, n, [](vector y) { return y; });
}

void variant::mix_two_to_silence_q13(const int* a, int gain_a_q13, const int* b, int gain_b_q13,
                                     int* out, int n) {
  mix_two(a, gain_a_q13, b, gain_b_q13, out, n, [](vector y) { return silence_minus_one(y); });
}

void variant::mix_difference_q13(const difference_signals& in, int gain_q13, int* left, int* right,
                                 int n) {
  const vector gains = splat(gain_q13);
  with_products(fits(gain_q13), [&, in](auto with) {
    for_each_vector(n, [&, in](int i, auto lanes) {
      const vector low = load(in.side_low + i, lanes), d = load(in.d + i, lanes);
      const vector lows =
          wrap_sub(wrap_add(wrap_add(low, low), shift_right<1>(d)), shift_right<1>(low));
      const vector side =
          with.template product<13>(wrap_add(load(in.side_high + i, lanes), lows), gains);
      const vector band = shift_right<2>(load(in.mid_band + i, lanes));
      const vector sum =
          wrap_add(wrap_add(load(in.s + i, lanes), band), load(in.mid_low + i, lanes));
      const vector mid = shift_right<1>(sum);
      const vector a = shift_right<2>(load(in.a + i, lanes));
      const vector b = shift_right<2>(load(in.b + i, lanes));
      store(left + i, wrap_add(wrap_add(mid, a), side), lanes);
      store(right + i, wrap_sub(wrap_add(mid, b), side), lanes);
    });
  });
}

void variant::mix_crossfeed_q13(const int* direct, const int* other, const int* high, int gain_q13,
                                int* out, int n) {
  const vector gains = splat(gain_q13);
  with_products(fits(gain_q13), [=](auto with) {
    for_each_vector(n, [=](int i, auto lanes) {
      const vector lows = with.template product<13>(load(other + i, lanes), gains);
      const vector highs = with.template product<15>(load(high + i, lanes), gains);
      store(out + i, saturate_add(saturate_add(load(direct + i, lanes), lows), highs), lanes);
    });
  });
}

void variant::mix_three_q13(const mix_input* three, int* out, int n) {
  const mix_input a = three[0], b = three[1], c = three[2];
  const vector gains_a = splat(a.gain_q13), gains_b = splat(b.gain_q13);
  const vector gains_c = splat(c.gain_q13);
  for_each_vector(n, [=](int i, auto lanes) {
    product_sums sums;
    sums.add(load(a.samples + i, lanes), gains_a);
    sums.add(load(b.samples + i, lanes), gains_b);
    sums.add(load(c.samples + i, lanes), gains_c);
    store(out + i, sums.saturated<13>(), lanes);
  });
}

void variant::mix_wrapping_q13(const mix_input* inputs, int count, int* out, int n) {
  for_each_vector(n, [=](int i, auto lanes) {
    product_sums sums;
    for (const mix_input* in = inputs; in < inputs + count; ++in)
      sums.add(load(in->samples + i, lanes), splat(in->gain_q13));
    store(out + i, silence_minus_one(sums.wrapped<13>()), lanes);
  });
}

void variant::add(const int* a, const int* b, int* out, int n) {
  for_each_vector(n, [=](int i, auto lanes) {
    store(out + i, saturate_add(load(a + i, lanes), load(b + i, lanes)), lanes);
  });
}

// The depth runs straight to its limit and stays there, so that a vector of depths moves by as many
// steps as it has lanes.
void variant::fade(fade_share* share, const int* other, int* x, int n) {
  const int whole = n - n % kLanes;
  if (whole >= kLanes) {
    const auto within = [](vector v, int low, int high) {
      return min(max(v, splat(low)), splat(high));
    };
    const vector step = splat(share->step_q20);
    const vector first = within(saturate_add(splat(share->depth_q20), step), 0, kFadeFull);
    const vector steps = within(step, -kFadeFull, kFadeFull);
    const vector advance = wrap_mul(steps, splat(kLanes));
    vector depths = within(wrap_add(first, wrap_mul(steps, lane_numbers())), 0, kFadeFull);
    for (int i = 0;;) {
      product_sums sums;
      sums.add(load(x + i), wrap_sub(splat(kFadeFull), depths));
      sums.add(load(other + i), depths);
      store(x + i, sums.wrapped<20>());
      i += kLanes;
      if (i == whole) break;
      depths = within(wrap_add(depths, advance), 0, kFadeFull);
    }
    share->depth_q20 = last_lane(depths);
  }
  if (whole < n) portable::fade(share, other + whole, x + whole, n - whole);
}

void variant::clip(const int* in, const int* limits, int* out, int n) {
  for_each_vector(n, [=](int i, auto lanes) {
    const vector x = load(in + i, lanes), limit = load(limits + i, lanes);
    store(out + i, where_greater(x, limit, limit, max(x, negative(limit))), lanes);
  });
}

void variant::polynomial(const int* coefficients, const int* in, int* out, int n) {
  vector c[kPolynomialOrder];
  for (int k = 0; k < kPolynomialOrder; ++k) c[k] = splat(coefficients[k]);
  for_each_vector(n, [&](int i, auto lanes) {
    const vector x = load(in + i, lanes);
    vector power = saturated_product<15>(c[0], x);
    vector sum = power;
    for (int k = 1; k < kPolynomialOrder; ++k) {
      power = saturated_product<23>(saturated_product<15>(c[k], x), power);
      sum = saturate_add(sum, power);
    }
    store(out + i, sum, lanes);
  });
}

// Where nothing saturates, the factors can stay where the multiplication takes them.
void variant::fitting_polynomial(const int* coefficients, const int* in, int* out, int n) {
  factors c[kPolynomialOrder];
  for (int k = 0; k < kPolynomialOrder; ++k) c[k] = widen(splat(coefficients[k]));
  for_each_vector(n, [&](int i, auto lanes) {
    const factors x = widen(load(in + i, lanes));
    factors power = product<15>(c[0], x);
    factors total = power;
    for (int k = 1; k < kPolynomialOrder; ++k) {
      power = product<23>(product<15>(c[k], x), power);
      total = sum(total, power);
    }
    store(out + i, narrow(total), lanes);
  });
}

namespace {

// overdrive_step. All three pieces are computed and one is selected, so that a piece may wrap or
// saturate where it isn't selected.
inline vector overdrive(vector x) {
  const vector d = wrap_add(x, x), a = magnitude(d), ceiling = splat(kCeiling);
  const vector t = wrap_sub(splat(2 * kCeiling), wrap_add(wrap_add(a, a), a));
  // A third of 1..2^25, rounded down: x (2^31 + 1) / 3 / 2^31.
  const vector bend = saturated_product<31>(saturated_product<23>(t, t), splat(715827883));
  const vector bent = where_greater(a, splat(kSoftLimit), ceiling, wrap_sub(ceiling, bend));
  const vector loud = where_greater(d, splat(0), bent, negative(bent));
  return where_greater(a, splat(kLinearLimit), loud, wrap_add(d, d));
}

// bit_shift_step.
inline vector bit_shift(vector y) {
  const vector low = bit_and(y, splat(0xFFFF));
  return wrap_add(y, where_greater(splat(0), y, wrap_sub(low, splat(0xFFFF)), low));
}

}  // namespace

void variant::overdrive_bit_shift(const int* in, int* out, int n) {
  for_each_vector(n, [=](int i, auto lanes) {
    store(out + i, bit_shift(overdrive(load(in + i, lanes))), lanes);
  });
}

block_level variant::level(const int* in, int n) {
  vector largest = splat(0);
  wide_sum sum;
  for_each_vector(n, [&](int i, auto lanes) {
    const vector x = magnitude(load(in + i, lanes));
    largest = max_unsigned(largest, x);
    sum.add_unsigned(x);
  });
  return {largest_lane_unsigned(largest), sum.total()};
}

// -2147483648 is its own magnitude here, and a negative one is never the larger.
int variant::peak(const int* in, int n) {
  vector largest = splat(0);
  for_each_vector(
      n, [&](int i, auto lanes) { largest = max(largest, magnitude(load(in + i, lanes))); });
  return static_cast<int>(largest_lane_unsigned(largest));
}

void variant::fir_sums(const int* x, const int* coefficients, int taps, int64_t* sums, int n) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    four_sums older, newer;
    for (int k = 0; k < taps; ++k) {
      older.add(x + i - k, coefficients[k]);
      newer.add(x + i + 4 - k, coefficients[k]);
    }
    older.store_to(sums + i);
    newer.store_to(sums + i + 4);
  }
  portable::fir_sums(x + i, coefficients, taps, sums + i, n - i);
}
