#include "dsp/kernels/butterfly.h"

#include "dsp/kernels/kernels.h"

namespace {

template <int shift>
void run(int* re, int* im, const butterfly_stage& s) {
  const int groups = s.points / (2 * s.span);
  for (int group = 0; group < groups; ++group, re += 2 * s.span, im += 2 * s.span)
    for (int j = 0; j < s.span; ++j) {
      const int factor = s.factor_a_group ? group : j;
      const int cosine = s.cosines[factor], sine = s.sines[factor];
      const int b_re = re[j + s.span], b_im = im[j + s.span];
      const int t_re = cosine * b_re + sine * b_im, t_im = cosine * b_im - sine * b_re;
      re[j + s.span] = butterfly_result<shift>(re[j], -t_re);
      im[j + s.span] = butterfly_result<shift>(im[j], -t_im);
      re[j] = butterfly_result<shift>(re[j], t_re);
      im[j] = butterfly_result<shift>(im[j], t_im);
    }
}

inline int scaled_q30(int64_t product) { return static_cast<int>(product >> 30); }

}  // namespace

void portable::butterflies_q15(int* re, int* im, const butterfly_stage& s) {
  s.shift == 0 ? run<0>(re, im, s) : s.shift == 1 ? run<1>(re, im, s) : run<2>(re, im, s);
}

void portable::halving_butterflies_q30(int* re, int* im, const butterfly_stage& s) {
  const int groups = s.points / (2 * s.span);
  for (int group = 0; group < groups; ++group, re += 2 * s.span, im += 2 * s.span)
    for (int j = 0; j < s.span; ++j) {
      const int factor = s.factor_a_group ? group : j;
      const int64_t cosine = s.cosines[factor], sine = s.sines[factor];
      const int b_re = re[j + s.span], b_im = im[j + s.span];
      const int t_re = scaled_q30(cosine * b_re + sine * b_im),
                t_im = scaled_q30(cosine * b_im - sine * b_re);
      re[j + s.span] = (re[j] - t_re) / 2;
      im[j + s.span] = (im[j] - t_im) / 2;
      re[j] = (re[j] + t_re) / 2;
      im[j] = (im[j] + t_im) / 2;
    }
}
