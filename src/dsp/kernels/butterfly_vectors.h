// The transforms' butterflies in vectors; for the files that include a vector vocabulary.
#pragma once

namespace {

// butterfly_result.
template <int shift>
inline vector butterfly_result(vector a, vector r) {
  vector sum = wrap_add(a, shift_right<15>(wrap_add(r, splat(1 << (14 + shift)))));
  if constexpr (shift > 0) sum = shift_right<shift>(sum);
  return min(max(sum, splat(INT16_MIN)), splat(INT16_MAX));
}

// One group's a + b w and a - b w, b being span behind a.
template <int shift, typename Lanes>
inline void butterflies(int* re, int* im, int span, vector cosine, vector sine, Lanes lanes) {
  const vector b_re = load(re + span, lanes), b_im = load(im + span, lanes);
  const vector t_re = wrap_add(wrap_mul(cosine, b_re), wrap_mul(sine, b_im));
  const vector t_im = wrap_sub(wrap_mul(cosine, b_im), wrap_mul(sine, b_re));
  const vector a_re = load(re, lanes), a_im = load(im, lanes);
  store(re + span, butterfly_result<shift>(a_re, negative(t_re)), lanes);
  store(im + span, butterfly_result<shift>(a_im, negative(t_im)), lanes);
  store(re, butterfly_result<shift>(a_re, t_re), lanes);
  store(im, butterfly_result<shift>(a_im, t_im), lanes);
}

// Half, towards zero.
inline vector half_of(vector x) { return shift_right<1>(wrap_sub(x, shift_right<31>(x))); }

// One group's (a + b w) / 2 and (a - b w) / 2, b being span behind a.
template <typename Lanes>
inline void halving_butterflies(int* re, int* im, int span, vector cosine, vector sine,
                                Lanes lanes) {
  const vector b_re = load(re + span, lanes), b_im = load(im + span, lanes);
  product_sums real, imaginary;
  real.add(cosine, b_re);
  real.add(sine, b_im);
  imaginary.add(cosine, b_im);
  imaginary.add(negative(sine), b_re);
  const vector t_re = real.wrapped<30>(), t_im = imaginary.wrapped<30>();
  const vector a_re = load(re, lanes), a_im = load(im, lanes);
  store(re + span, half_of(wrap_sub(a_re, t_re)), lanes);
  store(im + span, half_of(wrap_sub(a_im, t_im)), lanes);
  store(re, half_of(wrap_add(a_re, t_re)), lanes);
  store(im, half_of(wrap_add(a_im, t_im)), lanes);
}

// Calls step(j, cosine, sine, lanes) for the butterflies at j of all groups.
template <typename Step>
inline void for_each_butterfly(const butterfly_stage& s, Step step) {
  const int groups = s.points / (2 * s.span);
  for (int group = 0; group < groups; ++group) {
    const int start = group * 2 * s.span;
    if (s.factor_a_group) {
      const vector cosine = splat(s.cosines[group]), sine = splat(s.sines[group]);
      for_each_vector(s.span, [=](int j, auto lanes) { step(start + j, cosine, sine, lanes); });
    } else {
      for_each_vector(s.span, [=, &s](int j, auto lanes) {
        step(start + j, load(s.cosines + j, lanes), load(s.sines + j, lanes), lanes);
      });
    }
  }
}

template <int shift>
void run_stage(int* re, int* im, const butterfly_stage& s) {
  for_each_butterfly(s, [=, &s](int j, vector cosine, vector sine, auto lanes) {
    butterflies<shift>(re + j, im + j, s.span, cosine, sine, lanes);
  });
}

}  // namespace

void variant::butterflies_q15(int* re, int* im, const butterfly_stage& s) {
  s.shift == 0   ? run_stage<0>(re, im, s)
  : s.shift == 1 ? run_stage<1>(re, im, s)
                 : run_stage<2>(re, im, s);
}

void variant::halving_butterflies_q30(int* re, int* im, const butterfly_stage& s) {
  for_each_butterfly(s, [=, &s](int j, vector cosine, vector sine, auto lanes) {
    halving_butterflies(re + j, im + j, s.span, cosine, sine, lanes);
  });
}
