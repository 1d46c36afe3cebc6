#include "ktv/gramophone.h"

#include "dsp/block.h"
#include "dsp/elliptic_block.h"
#include "dsp/fixed.h"
#include "dsp/memory.h"

namespace {

// The band-pass, Q20: b0..b6, then -a1..-a6. The numerator is antisymmetric: zeros at 0 Hz and at
// half the sample rate. Data, designed once; its measured response is in the header.
constexpr int kBandPass[] = {617,     -1060,     268,      0,         -268,    1060,   -617,
                             5909563, -13956198, 17678109, -12667477, 4868827, -784265};

// Limits of the overdrive's pieces, on the magnitude of d = 2x: a third and two thirds of 2^23.
constexpr int kLinearLimit = 2796201;
constexpr int kSoftLimit = 5592404;
constexpr int kCeiling = 8388607;  // 24-bit full scale, on both sides

// x ──► d = 2x, a = |d|, both wrapping
//         a <= 2796201   y = 2d
//         a <= 5592404   y = +-(8388607 - t^2 / (6 * 2^22)), t = 16777214 - 3a
//         else           y = +-8388607
//
// The pieces join: 5592400 and 5592405 at the inputs around the first limit, 8388607 twice around
// the second. 3a stands for 6|x|: both are the same at 32 bits, also where 2x has wrapped. All
// three are worked out and one is chosen, so that the cost does not depend on the signal.
inline int overdrive(int x) {
  const int d = wrap_shl(x, 1);
  const int a = d < 0 ? wrap_neg(d) : d;  // stays -2^31 for d = -2^31, which takes the linear piece
  const uint32_t t = 2U * kCeiling - 3U * static_cast<uint32_t>(a);  // 2..8388611 where used
  // t^2 / 6 / 2^22 rounded down twice is t^2 / 2^23 / 3 rounded down twice.
  const int bend = static_cast<int>(static_cast<uint32_t>(uint64_t{t} * t >> 23) / 3);
  const int magnitude = a <= kSoftLimit ? kCeiling - bend : kCeiling;
  return a <= kLinearLimit ? wrap_shl(d, 1) : d > 0 ? magnitude : -magnitude;
}

// A negative value's term is its low 16 bits read as a negative number, plus 1.
inline int bit_shift(int y) {
  const int low = y & 0xFFFF;
  return wrap_add(y, y < 0 ? low - 0xFFFF : low);
}

}  // namespace

void gramophone_init(gramophone* effect) {
  effect->status = 0;
  effect->filter = allocate<elliptic>();
  elliptic_init(effect->filter, kBandPass);
}

void gramophone_end(gramophone* effect) {
  if (effect->filter) elliptic_end(effect->filter);
  release(effect->filter);
}

void gramophone_setstatus(gramophone* effect, int status) { effect->status = status; }
void gramophone_getstatus(gramophone* effect, int* status) { *status = effect->status; }

void overdrive_process(int* in, int* out) { *out = overdrive(*in); }
void bit_shift_porocess(int* in, int* out) { *out = bit_shift(*in); }

// in ──► overdrive ──► bit shift ──► band-pass ──► out     24-bit samples on every wire
void gramophone_process(gramophone* effect, int* in, int* out, int n) {
  for_each_block(n, [&](int start, int count) {
    int shaped[kBlockFrames];
    for (int i = 0; i < count; ++i) shaped[i] = bit_shift(overdrive(in[start + i]));
    elliptic_block(effect->filter, shaped, out + start, count);
  });
}
