#include "effects/equalizer.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <iterator>

#include "dsp/block.h"
#include "dsp/kernels/iir.h"
#include "dsp/kernels/kernels.h"
#include "effects/equalizer_curve.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "fixed.h"
#include "log.h"

// The level law's bits depend on single-precision sums being rounded at each step.
static_assert(FLT_EVAL_METHOD == 0);

namespace {

constexpr int kBands = 10;
constexpr int kLargestIndex = 15;

constexpr int kPassThrough[5] = {268435456, 0, 0, 0, 0};  // Q28

using band_rows = int[2 * kLargestIndex + 1][5];  // -15 dB first

// By rate: 44100, 48000, 96000 Hz.
constexpr band_rows kTables[3][kBands] = {
#include "effects/equalizer_tables.inc"
};

// The level law counts all bands but the high shelf.
constexpr int kWeightedBands = 9;
constexpr float kWeights[kWeightedBands] = {4, 18, 20, 22, 22, 20, 18, 12, 4};
constexpr float kLargestOffset = 1680.0F;  // all bands at 7.6 dB

void set_band(equalizer_t* equalizer, int band, const int* row) {
  on(equalizer->left_section[band], IIR_set_param, row);
  on(equalizer->right_section[band], IIR_set_param, row);
}

int set_from_table(equalizer_t* equalizer, const equalizer_curve& curve, const band_rows* table) {
  for (int k = 0; k < kBands; ++k) {
    equalizer->gain_index[k] = curve.indices[k];
    set_band(equalizer, k, table[k][curve.indices[k] + kLargestIndex]);
  }
  return equalizer->gain = curve.gain_q13;
}

// A band's gain as the level law counts it, dB.
float counted(int index, bool boosts_only) {
  const auto v = static_cast<float>(index);
  if (v > 0.0F) return v;
  return boosts_only ? 0.0F : 0.75F * v + 0.0278F * (v * v);
}

}  // namespace

void equalizer_init(equalizer_t* equalizer) {
  equalizer->status = 0;
  equalizer->gain = kOneQ13;
  std::fill_n(equalizer->gain_index, kBands, 0);
  bool whole = true;
  for (int k = 0; k < kBands; ++k)
    for (IIR** section : {&equalizer->left_section[k], &equalizer->right_section[k]})
      whole &= make(*section, IIR_init, kPassThrough);
  if (!whole) equalizer_end(equalizer);
}

void equalizer_reset(equalizer_t* equalizer) {
  for (int k = 0; k < kBands; ++k) {
    on(equalizer->left_section[k], IIR_reset);
    on(equalizer->right_section[k], IIR_reset);
  }
}

void equalizer_end(equalizer_t* equalizer) {
  for (int k = 0; k < kBands; ++k) {
    equalizer->gain_index[k] = 0;
    end_and_release(equalizer->left_section[k], IIR_end);
    end_and_release(equalizer->right_section[k], IIR_end);
  }
}

void equalizer_setparameter(equalizer_t* equalizer, int (*rows)[5]) {
  for (int k = 0; k < kBands; ++k) set_band(equalizer, k, rows[k]);
}

void equalizer_getparameter(equalizer_t* equalizer, int (*rows)[5]) {
  for (int k = 0; k < kBands; ++k) {
    on(equalizer->left_section[k], IIR_get_param, rows[k]);
    on(equalizer->right_section[k], IIR_get_param, rows[k]);
  }
}

int equalizer_set_param_index_44100(equalizer_t* equalizer, int* indices) {
  return set_from_table(equalizer, make_curve(indices), kTables[SAMPLE_RATE_44100]);
}

int equalizer_set_param_index_48000(equalizer_t* equalizer, int* indices) {
  return set_from_table(equalizer, make_curve(indices), kTables[SAMPLE_RATE_48000]);
}

int equalizer_set_param_index_96000(equalizer_t* equalizer, int* indices) {
  return set_from_table(equalizer, make_curve(indices), kTables[SAMPLE_RATE_96000]);
}

int equalizer_set_param_index(equalizer_t* equalizer, int* indices, SampleRateType rate) {
  return equalizer_set_curve(equalizer, make_curve(indices), rate);
}

equalizer_curve make_curve(const int* indices) {
  equalizer_curve curve;
  for (int k = 0; k < kBands; ++k)
    curve.indices[k] = std::clamp(indices[k], -kLargestIndex, kLargestIndex);
  curve.gain_q13 = calc_gain_from_idxs(curve.indices);
  return curve;
}

int equalizer_set_curve(equalizer_t* equalizer, const equalizer_curve& curve, SampleRateType rate) {
  return set_from_table(equalizer, curve, kTables[rate_row(rate, std::size(kTables))]);
}

void equalizer_get_param_index(equalizer_t* equalizer, int* indices) {
  std::copy_n(equalizer->gain_index, kBands, indices);
}

void equalizer_setstatus(equalizer_t* equalizer, int status) { equalizer->status = status; }
void equalizer_getstatus(equalizer_t* equalizer, int* status) { *status = equalizer->status; }
void equalizer_set_gain(equalizer_t* equalizer, int gain) { equalizer->gain = gain; }
void equalizer_get_gain(equalizer_t* equalizer, int* gain) { *gain = equalizer->gain; }

// Every operation is rounded to single precision, in the order written; only the last line's power
// and product are in double precision.
int calc_gain_from_idxs(int* indices) {
  const int boost_count = static_cast<int>(
      std::count_if(indices, indices + kWeightedBands, [](int v) { return v > 8; }));
  float w[kWeightedBands];
  for (int k = 0; k < kWeightedBands; ++k) w[k] = counted(indices[k], boost_count > 1);

  float total = weighting_offset(0, w[0] + 0.3F * w[1]);
  for (int k = 1; k < kWeightedBands - 1; ++k)
    total += weighting_offset(k, 0.3F * w[k - 1] + w[k] + 0.3F * w[k + 1]);
  total += weighting_offset(8, 0.3F * w[7] + w[8]);

  const float total_offset = std::clamp(total, -kLargestOffset, kLargestOffset);
  const float gain_db = std::min(-21.0F * total_offset / kLargestOffset, 6.0F);
  const int gain = static_cast<int>(std::pow(10.0, double{gain_db} / 20.0) * kOneQ13);
  __android_log_print(kLogDebug, "_T_sonx_hp_proc",
                      "neg_flag %d, total_offset %f, calc_gain %fdB 0x%x", boost_count,
                      double{total_offset}, double{gain_db}, static_cast<unsigned>(gain));
  return gain;
}

float weighting_offset(int band, float value) {
  return band >= 0 && band < kWeightedBands ? value * kWeights[band] : value;
}

// One channel:
//
//   in ──► × gain ──► saturate, ──► band 0 ──► ... ──► band 9 ──► out
//            Q13      -1 to 0       each: 5 bits up, Q28, saturate, -1 to 0, 5 bits down
void equalizer_process_stereo(equalizer_t* equalizer, int* in_left, int* in_right, int* out_left,
                              int* out_right, int n) {
  if (!has_memory(equalizer)) return pass(in_left, in_right, out_left, out_right, n);
  int left[kBlockFrames], right[kBlockFrames];
  for_each_block(n, [&](int start, int count) {
    kernels().scale_to_silence_q13(in_left + start, equalizer->gain, left, count);
    kernels().scale_to_silence_q13(in_right + start, equalizer->gain, right, count);
    const iir_chain chains[] = {{left, left, equalizer->left_section, kBands},
                                {right, right, equalizer->right_section, kBands}};
    kernels().iir_chains_32(chains, 2, count);
    std::copy_n(left, count, out_left + start);
    std::copy_n(right, count, out_right + start);
  });
}

void equalizer_process_mono(equalizer_t* equalizer, int* in, int* out, int n) {
  if (!has_memory(equalizer)) return pass(in, out, n);
  for_each_block(n, [&](int start, int count) {
    kernels().scale_to_silence_q13(in + start, equalizer->gain, out + start, count);
    const iir_chain chain = {out + start, out + start, equalizer->left_section, kBands};
    kernels().iir_chains_32(&chain, 1, count);
  });
}
