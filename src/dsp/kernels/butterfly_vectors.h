// The 16-bit transform's butterflies in vectors; for the files that include a vector vocabulary.
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

template <int shift>
void run_stage(int* re, int* im, const butterfly_stage& s) {
  const int groups = s.points / (2 * s.span);
  for (int group = 0; group < groups; ++group, re += 2 * s.span, im += 2 * s.span) {
    if (s.factor_a_group) {
      const vector cosine = splat(s.cosines[group]), sine = splat(s.sines[group]);
      for_each_vector(s.span, [=](int j, auto lanes) {
        butterflies<shift>(re + j, im + j, s.span, cosine, sine, lanes);
      });
    } else {
      for_each_vector(s.span, [=, &s](int j, auto lanes) {
        butterflies<shift>(re + j, im + j, s.span, load(s.cosines + j, lanes),
                           load(s.sines + j, lanes), lanes);
      });
    }
  }
}

}  // namespace

void variant::butterflies_q15(int* re, int* im, const butterfly_stage& s) {
  s.shift == 0   ? run_stage<0>(re, im, s)
  : s.shift == 1 ? run_stage<1>(re, im, s)
                 : run_stage<2>(re, im, s);
}
