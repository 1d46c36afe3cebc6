// The transform's stages on NEON: two butterflies at a time, real and imaginary parts in vectors of
// their own.
//
// A 64-bit value is v = h 2^32 + l with l its low word read as a signed one (h is v / 2^32
// rounded), and so the low 64 bits of v w, w of 32 bits, are l w + (h w << 32): two 32-bit
// multiplications.
#include <arm_neon.h>

#include "dsp/kernels/kernels.h"

namespace {

struct split {
  int32x2_t low, high;

  explicit split(int64x2_t x) : low(vmovn_s64(x)), high(vrshrn_n_s64(x, 32)) {}
};

// What the partial products add up to, / 2^28.
inline int64x2_t q28(int64x2_t low, int64x2_t high) {
  return vshrq_n_s64(vaddq_s64(low, vshlq_n_s64(high, 32)), 28);
}

// a + b w and a - b w.
inline void butterflies(int64x2_t* a, int64x2_t* b, int32x2_t w_re, int32x2_t w_im) {
  const split re(b[0]), im(b[1]);
  const int64x2_t t[] = {q28(vmlsl_s32(vmull_s32(re.low, w_re), im.low, w_im),
                             vmlsl_s32(vmull_s32(re.high, w_re), im.high, w_im)),
                         q28(vmlal_s32(vmull_s32(im.low, w_re), re.low, w_im),
                             vmlal_s32(vmull_s32(im.high, w_re), re.high, w_im))};
  for (int part = 0; part < 2; ++part) {
    b[part] = vsubq_s64(a[part], t[part]);
    a[part] = vaddq_s64(a[part], t[part]);
  }
}

}  // namespace

void neon::fft_stage(complex* data, int n, int half, const complex* twiddles) {
  if (n % 4 != 0 || n % (2 * half) != 0) return portable::fft_stage(data, n, half, twiddles);
  if (half == 1) {  // a and b lie side by side, and all have one twiddle
    const int32x2_t w_re = vdup_n_s32(static_cast<int>(twiddles->re));
    const int32x2_t w_im = vdup_n_s32(static_cast<int>(twiddles->im));
    for (complex* a = data; a < data + n; a += 4) {
      int64x2x4_t two = vld4q_s64(&a->re);
      butterflies(two.val, two.val + 2, w_re, w_im);
      vst4q_s64(&a->re, two);
    }
    return;
  }
  for (complex* a = data; a < data + n; a += 2 * half)
    for (int j = 0; j < half; j += 2) {
      int64x2x2_t x = vld2q_s64(&a[j].re), y = vld2q_s64(&a[half + j].re);
      const int64x2x2_t w = vld2q_s64(&twiddles[j].re);
      butterflies(x.val, y.val, vmovn_s64(w.val[0]), vmovn_s64(w.val[1]));
      vst2q_s64(&a[j].re, x);
      vst2q_s64(&a[half + j].re, y);
    }
}
