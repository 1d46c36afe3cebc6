#include "effects/smart_volume_control.h"

#include <algorithm>
#include <iterator>

#include "dsp/block.h"
#include "dsp/fixed_math.h"
#include "dsp/gain_ramp.h"
#include "dsp/kernels/kernels.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "fixed.h"

namespace {

constexpr int kSplits = 3;
constexpr int kBands = kSplits + 1;

// Second-order low-passes, Q28: b0, b1, b2, -a1, -a2. The 44100 Hz row has the second filter of
// 48000 Hz, which puts it at 590 instead of 645 Hz.
constexpr int kLowPass[][kSplits][5] = {
    {{82205, 164410, 82205, 518080780, -249974146},          // 44100 Hz: 160 Hz,
     {1015678, 2031357, 1015678, 470823151, -206450411},     // 590 Hz,
     {29766420, 59532841, 29766420, 179315595, -29945823}},  // 4.4 kHz
    {{69585, 139170, 69585, 519583177, -251426062},          // 48000 Hz: 160 Hz,
     {1015678, 2031357, 1015678, 470823151, -206450411},     // 645 Hz,
     {26099321, 52198643, 26099321, 202063902, -38025733}},  // 4.4 kHz
    {{17677, 35354, 17677, 528157472, -259792727},           // 96000 Hz: 160 Hz,
     {269729, 539458, 269729, 502834479, -235477941},        // 645 Hz,
     {8468602, 16937205, 8468602, 346155487, -111594444}},   // 4.2 kHz
};

constexpr int kBandShift[kBands] = {3, 1, 0, 2};

constexpr int kLowestGainQ13 = kOneQ13 / 4;     // -12 dB
constexpr int kHighestGainQ13 = kOneQ13 * 4;    // +12 dB
constexpr int64_t kReferenceEnergy = 67277003;  // the target at level 8192
constexpr int kFullPeak = 32768;                // full scale of 24 bits as |sample| >> 8

}  // namespace

void smart_volume_control_init(smart_volume_control_t* control) {
  control->status = 0;
  control->gain = 0;
  control->gain_init = kOneQ17;
  control->attack_order = 3;
  control->release_order = 7;
  control->peak_env = 0;
  std::copy_n(kBandShift, kBands, control->band_shift);
  smart_volume_control_set_level(control, kOneQ13);
  bool whole = true;
  for (int k = 0; k < kSplits; ++k)
    for (IIR** section : {&control->low_pass_left[k], &control->low_pass_right[k]})
      whole &= make(*section, IIR_init, kLowPass[SAMPLE_RATE_48000][k]);
  if (!whole) smart_volume_control_end(control);
}

void smart_volume_control_reset(smart_volume_control_t* control) {
  control->gain = control->peak_env = control->hold_count = 0;
  control->energy_est = 0;
  for (IIR* section : control->low_pass_left) on(section, IIR_reset);
  for (IIR* section : control->low_pass_right) on(section, IIR_reset);
}

void smart_volume_control_end(smart_volume_control_t* control) {
  for (IIR** channel : {control->low_pass_left, control->low_pass_right}) {
    for (int k = 0; k < kSplits; ++k) {
      end_and_release(channel[k], IIR_end);
    }
  }
}

void smart_volume_control_set_sample_rate(smart_volume_control_t* control, SampleRateType rate) {
  const auto& sets = kLowPass[rate_row(rate, std::size(kLowPass))];
  for (int k = 0; k < kSplits; ++k) {
    on(control->low_pass_left[k], IIR_reinit, sets[k]);
    on(control->low_pass_right[k], IIR_reinit, sets[k]);
  }
}

void smart_volume_control_setstatus(smart_volume_control_t* control, int status) {
  control->status = status;
}
void smart_volume_control_getstatus(smart_volume_control_t* control, int* status) {
  *status = control->status;
}

void smart_volume_control_set_level(smart_volume_control_t* control, int level) {
  const int64_t energy = wrap_mul64(int64_t{level} * level, kReferenceEnergy);
  control->level = level;
  control->hold_count = 0;
  control->energy_floor = energy >> 34;   // 24 dB below the target
  control->energy_target = energy >> 26;  // level squared from Q26
  control->energy_est = energy >> 28;     // 6 dB below the target
}
void smart_volume_control_get_level(smart_volume_control_t* control, int* level) {
  *level = control->level;
}

void smart_volume_control_set_attact_order(smart_volume_control_t* control, int order) {
  control->attack_order = order;
}
void smart_volume_control_get_attact_order(smart_volume_control_t* control, int* order) {
  *order = control->attack_order;
}

void smart_volume_control_set_release_order(smart_volume_control_t* control, int order) {
  control->release_order = order;
}
void smart_volume_control_get_release_order(smart_volume_control_t* control, int* order) {
  *order = control->release_order;
}

// Once per block, for each channel:
//
//   x ─┬─► low-pass 1 ─┬─► band 1     each band: squared, summed over the block, >> band_shift;
//      └─► − ◄─────────┘              the four summed, the larger channel >> 24: loudness
//          ├─► low-pass 2 ─┬─► band 2
//          └─► − ◄─────────┘          loudness ─► follower ─► √(target / estimate), Q13 ─► clamp
//              ├─► low-pass 3 ─┬─► 3                                                         │
//              └─► − ◄─────────┘      peak >> 8 ─► follower ───────────────────► limit ◄─────┘
//                  └─► band 4                                                      │
//                                                                                  ▼ << 4
// and per sample, both channels alike:   in ─► × ◄──────────── gain, Q17 ◄─────── ramp
//                                              └─► >> 17, saturated, -1 becomes 0 ─► out

namespace {

// Largest |x| >> 8; the lowest 32-bit value, which has no magnitude, is passed over.
int block_peak(const int* x, int n) { return kernels().peak(x, n) >> 8; }

void follow_peak(smart_volume_control_t* control, int level) {
  int& peak = control->peak_env;
  peak = level > peak ? level : wrap_add(peak, wrap_sub(level, peak) >> 9);
}

// sum shifted right by the low 16 bits of `bits`, read as signed and modulo 64; negative shifts
// left.
int64_t weighted(int64_t sum, int bits) {
  const int16_t right = static_cast<int16_t>(bits);
  if (right >= 0) return shift_right64(sum, right);
  return static_cast<int64_t>(static_cast<uint64_t>(sum) << (-right & 63));
}

using band_energies = int64_t[kBands];

int64_t weighted(const band_energies& sums, const int* band_shift) {
  int64_t total = 0;
  for (int k = 0; k < kBands; ++k) total = wrap_add64(total, weighted(sums[k], band_shift[k]));
  return total;
}

// The louder channel's weighted energy over the block.
int64_t loudest(const smart_volume_control_t* control, const int* in_left, const int* in_right,
                int n) {
  band_energies sums[2] = {};  // left, right
  const split_channel channels[] = {{in_left, control->low_pass_left, sums[0]},
                                    {in_right, control->low_pass_right, sums[1]}};
  kernels().split_energies(channels, n);
  return std::max(weighted(sums[0], control->band_shift), weighted(sums[1], control->band_shift));
}

void follow_energy(smart_volume_control_t* control, int64_t loudness) {
  const int64_t distance = wrap_sub64(loudness, control->energy_est);
  const int order = distance > 0 ? control->attack_order : control->release_order;
  control->energy_est = wrap_add64(control->energy_est, shift_right64(distance, order));
}

// The gain that brings the estimate to the target, Q13: 1.0 within 3 dB of it, otherwise
// sqrt(0.875 target / estimate) from below and sqrt(1.25 target / estimate) from above.
// 448 and 640 are these factors in Q9; the root of twice the ratio, in Q10, is a gain in Q5. For an
// estimate below a 73rd of the target the argument is beyond the root's domain: the result, 256, is
// far above the highest gain. A quotient of 2^31 or more is cut to its low 32 bits.
int wanted_gain_q13(const smart_volume_control_t* control) {
  const int64_t target = control->energy_target, estimate = control->energy_est;
  const bool quiet = estimate < (target >> 1);
  const bool loud = estimate > wrap_mul64(target, 2);
  if (!quiet && !loud) return kOneQ13;
  const int64_t ratio = wrap_div64(wrap_mul64(target, quiet ? 448 : 640), estimate);
  return (sqrt_fixed(static_cast<uint32_t>(ratio) * 2) & 0xFFFF) << 8;
}

// Limits a boost: where the followed peak would exceed full scale, to 0.875 of full scale, or to
// 0.75 where it would exceed 1.5; never below a gain of 1.0.
int limited_gain_q13(int gain_q13, int peak) {
  const int boosted = saturate32((int64_t{gain_q13} * peak) >> 13);
  if (boosted <= kFullPeak) return gain_q13;  // so peak is positive below
  const int highest = boosted > kFullPeak * 3 / 2 ? kFullPeak / 4 * 3 : kFullPeak / 8 * 7;
  return std::max(highest * kOneQ13 / peak, kOneQ13);
}

// The block's gain, Q13: the present one while the block is below the energy floor.
int block_gain_q13(smart_volume_control_t* control, int64_t loudness) {
  if (loudness <= control->energy_floor) return control->gain >> 4;
  control->hold_count = 0;
  follow_energy(control, loudness);
  return limited_gain_q13(std::clamp(wanted_gain_q13(control), kLowestGainQ13, kHighestGainQ13),
                          control->peak_env);
}

}  // namespace

void smart_volume_control_process(smart_volume_control_t* control, int* in_left, int* in_right,
                                  int* out_left, int* out_right, int n) {
  if (!has_memory(control)) return pass(in_left, in_right, out_left, out_right, n);
  follow_peak(control, std::max(block_peak(in_left, n), block_peak(in_right, n)));
  const int64_t loudness = loudest(control, in_left, in_right, n) >> 24;
  const int target_q17 = saturate32(int64_t{block_gain_q13(control, loudness)} * 16);

  for_each_block(n, [=](int64_t start, int count) {
    int gains_q17[kBlockFrames], right[kBlockFrames];
    control->gain = gain_ramp_block<5, 7>(control->gain, target_q17, gains_q17, count);
    // The left output may be the right input, and the other way round.
    kernels().scale_each_to_silence_q17(in_right + start, gains_q17, right, count);
    kernels().scale_each_to_silence_q17(in_left + start, gains_q17, out_left + start, count);
    std::copy_n(right, count, out_right + start);
  });
}
