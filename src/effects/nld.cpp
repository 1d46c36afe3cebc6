#include "effects/nld.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/nonlinear.h"
#include "effects/block_forms.h"
#include "effects/memory.h"
#include "fixed.h"

namespace {

// Q15: 3.754, -0.0156, 21.333, -0.0105, 9.481, -0.0088, 3.556, -0.0078; given data.
constexpr polynomial_coefficients kCoefficients = {123008, -511, 699050, -345,
                                                   310689, -288, 116508, -256};

constexpr int kClipLevel = 8192;
constexpr int kGlide = 7;         // shift of the threshold's step
constexpr int kLevelScale = 256;  // sample units per unit of clip_level

}  // namespace

void NLD_init(NLD* nld) {
  if (take(nld->coefficients, kPolynomialOrder))
    std::copy_n(kCoefficients, kPolynomialOrder, nld->coefficients);
  nld->clip_flag = 1;
  NLD_set_clip_level(nld, kClipLevel);
  NLD_reset(nld);
}

void NLD_reset(NLD* nld) { nld->clip_envelope = kClipLevel * kLevelScale; }

void NLD_end(NLD* nld) { release(nld->coefficients); }

void NLD_set_clip_level(NLD* nld, int level) {
  nld->clip_level = level;
  nld->clip_level_scaled = saturate32(int64_t{level} * kLevelScale);
}
void NLD_get_clip_level(NLD* nld, int* level) { *level = nld->clip_level; }

void NLD_set_clip_flag(NLD* nld, int flag) { nld->clip_flag = flag; }
void NLD_get_clip_flag(NLD* nld, int* flag) { *flag = nld->clip_flag; }

// All wires at sample scale, 2^23 being full scale:
//
//   x ─► clip ─┬─► × c0 >> 15 = q1 ───────────────────────────────────► + ─► y
//              ├─► × c1 >> 15 ─► × q1 >> 23 = q2 ─────────────────────► +
//              ├─► × c2 >> 15 ─► × q2 >> 23 = q3 ─────────────────────► +
//              ┆                                                        ┆
//              └─► × c7 >> 15 ─► × q7 >> 23 = q8 ─────────────────────► +

namespace {

// limits[0..n): the clipper's threshold at each sample, which moves by 2^-kGlide of the distance to
// the one set; all arithmetic wraps. Only the distance is carried from sample to sample. It stops
// above 0, and the limits are constant from there on.
void glide(NLD* nld, int* limits, int n) {
  const int target = nld->clip_level_scaled;
  int distance = wrap_sub(target, nld->clip_envelope);
  int i = 0;
  for (; i < n && distance >> kGlide != 0; ++i) {
    distance = wrap_sub(distance, distance >> kGlide);
    limits[i] = wrap_sub(target, distance);
  }
  std::fill(limits + i, limits + n, wrap_sub(target, distance));
  nld->clip_envelope = wrap_sub(target, distance);
}

// The highest limit from now on: they stay between the one in force and the one set, unless one of
// these is negative and they may wrap.
int64_t highest_limit(const NLD* nld) {
  const int from = nld->clip_envelope, to = nld->clip_level_scaled;
  return from < 0 || to < 0 ? int64_t{1} << 31 : std::max(from, to);
}

void clip_block(NLD* nld, const int* in, int* out, int n) {
  for_each_block(n, [=](int64_t start, int count) {
    int limits[kBlockFrames];
    glide(nld, limits, count);
    kernels().clip(in + start, limits, out + start, count);
  });
}

}  // namespace

void clip_process(NLD* nld, int* in, int* out) {
  int x = *in;
  if (nld->clip_flag != 0) {
    int& limit = nld->clip_envelope;
    limit = wrap_add(limit, wrap_sub(nld->clip_level_scaled, limit) >> kGlide);
    x = clip_step(x, limit);
  }
  *out = x;
}

void multiplier_process(NLD* nld, int* in, int* out) {
  if (!has_memory(nld)) return pass(in, out, 1);
  *out = polynomial_step(nld->coefficients, *in);
}

void NLD_process(NLD* nld, int* in, int* out) {
  clip_process(nld, in, out);
  multiplier_process(nld, out, out);
}

void nld_block(NLD* nld, const int* in, int* out, int n) {
  int64_t largest = int64_t{1} << 31;
  if (nld->clip_flag != 0) {
    largest = highest_limit(nld);
    clip_block(nld, in, out, n);
    in = out;
  }
  const bool fits = polynomial_fits(nld->coefficients, largest);
  const auto polynomial = fits ? kernels().fitting_polynomial : kernels().polynomial;
  polynomial(nld->coefficients, in, out, n);
}
