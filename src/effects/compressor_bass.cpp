#include "effects/compressor_bass.h"

#include <cstdint>

#include "dsp/block.h"
#include "dsp/gain_ramp.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"
#include "square_root.h"

namespace {

constexpr int kQuiet = 24576;  // block peak that takes the default gain: 0.75 of full scale

// Fixed gains beyond full scale, the highest level first.
constexpr struct {
  int above;  // level
  int gain_q17;
} kOverload[] = {{90112, 18432}, {65536, 47104}, {32768, 71680}};

}  // namespace

void compressor_bass_init(compressor_bass* compressor) {
  compressor->status = 1;
  compressor->default_gain = kOneQ17;
  compressor_bass_reset(compressor);
}

void compressor_bass_reset(compressor_bass* compressor) {
  compressor->gain = compressor->level = compressor->reserved = 0;
}

void compressor_bass_end(compressor_bass* compressor) {
  compressor_bass_init(compressor);
  compressor->status = 0;
}

void compressor_bass_setstatus(compressor_bass* compressor, int status) {
  compressor->status = status;
}
void compresso_bassr_getstatus(compressor_bass* compressor, int* status) {
  *status = compressor->status;
}

int find_current_max_bass(int* x, int n) { return kernels().peak(x, n) >> 8; }

// Once per block, and per sample the gain:
//
//   block ──► peak |x| >> 8 ──► level ──► target gain, Q17 ──► ramp ──► gain, Q17
//                                                                        │
//   x ─────────────────────────────────────────────────────────────────► × ──► >> 17 ──► out

namespace {

// 12288 / p x 15 x 65536 sqrt(2 sqrt(p / 3)) / 2^17 with p = peak / 32768: 0.756 p^-3/4 in Q17.
// Called with peaks of 24577 to 32768, for which nothing overflows; above, the level decides.
int levelling_gain_q17(int peak) {
  const unsigned int third = static_cast<unsigned int>(int64_t{peak} * 2 / 3);  // Q16
  const unsigned int root = sqrtFxQ16(2 * sqrtFxQ16(third));
  const unsigned int inverse = 402653184u / static_cast<unsigned int>(peak);
  return wrap32(int64_t{inverse} * 15 * root >> 17);
}

int target_gain_q17(const compressor_bass* compressor, int peak) {
  for (const auto& overload : kOverload)
    if (compressor->level > overload.above) return overload.gain_q17;
  return peak <= kQuiet ? compressor->default_gain : levelling_gain_q17(peak);
}

}  // namespace

void compressor_bass_process(compressor_bass* compressor, int* in, int* out, int n) {
  const int peak = find_current_max_bass(in, n);
  int& level = compressor->level;
  level = level < peak ? peak : wrap_sub(level, wrap_sub(level, peak) >> 5);

  const int target_q17 = target_gain_q17(compressor, peak);
  for_each_block(n, [=](int64_t start, int count) {
    int gains_q17[kBlockFrames];
    compressor->gain = gain_ramp_block<7, 9>(compressor->gain, target_q17, gains_q17, count);
    kernels().scale_each_to_silence_q17(in + start, gains_q17, out + start, count);
  });
}
