#include "effects/nld.h"

#include <algorithm>
#include <array>

#include "dsp/fixed.h"
#include "dsp/memory.h"
#include "effects/nld_block.h"

namespace {

constexpr int kOrder = 8;

// Q15: 3.754, -0.0156, 21.333, -0.0105, 9.481, -0.0088, 3.556, -0.0078; given data.
constexpr int kCoefficients[kOrder] = {123008, -511, 699050, -345, 310689, -288, 116508, -256};

constexpr int kClipLevel = 8192;
constexpr int kLevelScale = 256;  // sample units per unit of clip_level

}  // namespace

void NLD_init(NLD* nld) {
  nld->coefficients = allocate<int>(kOrder);
  std::copy_n(kCoefficients, kOrder, nld->coefficients);
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

using polynomial = std::array<int, kOrder>;

polynomial polynomial_of(const NLD* nld) {
  polynomial c;
  std::copy_n(nld->coefficients, kOrder, c.begin());
  return c;
}

inline int clip_step(int& threshold, int target, int x) {
  threshold = wrap_add(threshold, wrap_sub(target, threshold) >> 7);
  if (x > threshold) return threshold;
  const int floor = wrap_neg(threshold);
  return x < floor ? floor : x;
}

inline int polynomial_step(const polynomial& c, int x) {
  int power = saturate32(int64_t{c[0]} * x >> 15);
  int sum = power;
  for (size_t k = 1; k < kOrder; ++k) {
    const int scaled = saturate32(int64_t{c[k]} * x >> 15);
    power = saturate32(int64_t{scaled} * power >> 23);
    sum = saturate_add(sum, power);
  }
  return sum;
}

void clip_block(NLD* nld, const int* in, int* out, int n) {
  const int target = nld->clip_level_scaled;
  int threshold = nld->clip_envelope;
  for (int i = 0; i < n; ++i) out[i] = clip_step(threshold, target, in[i]);
  nld->clip_envelope = threshold;
}

}  // namespace

void clip_process(NLD* nld, int* in, int* out) {
  if (nld->clip_flag != 0)
    clip_block(nld, in, out, 1);
  else
    *out = *in;
}

void multiplier_process(NLD* nld, int* in, int* out) {
  *out = polynomial_step(polynomial_of(nld), *in);
}

void NLD_process(NLD* nld, int* in, int* out) { nld_block(nld, in, out, 1); }

void nld_block(NLD* nld, const int* in, int* out, int n) {
  if (nld->clip_flag != 0) {
    clip_block(nld, in, out, n);
    in = out;
  }
  const polynomial c = polynomial_of(nld);
  for (int i = 0; i < n; ++i) out[i] = polynomial_step(c, in[i]);
}
