#include "effects/parameter_equalizer.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

namespace {

constexpr int kBands = 10;

using band_words = int[5];

// Returns the number of flagged rows.
int set_rows(const int (*rows)[6], band_words* coef, band_words* state) {
  int count = 0;
  for (int k = 0; k < kBands; ++k) {
    if (rows[k][0] >= 1) ++count;
    std::copy_n(rows[k] + 1, 5, coef[k]);
    std::fill_n(state[k], 5, 0);
  }
  return count;
}

}  // namespace

void parameter_equalizer_init(parameter_equalizer_t* equalizer) {
  *equalizer = {};
  equalizer->gain_left = kOneQ13;
  equalizer->gain_right = kOneQ13;
}

void parameter_equalizer_reset(parameter_equalizer_t* equalizer) {
  std::fill_n(equalizer->state_left[0], kBands * 5, 0);
  std::fill_n(equalizer->state_right[0], kBands * 5, 0);
}

void parameter_equalizer_end(parameter_equalizer_t* /*equalizer*/) {}

void parameter_equalizer_setparameter_left(parameter_equalizer_t* equalizer, const int (*rows)[6]) {
  equalizer->band_count_left = set_rows(rows, equalizer->coef_left, equalizer->state_left);
}

void parameter_equalizer_setparameter_right(parameter_equalizer_t* equalizer,
                                            const int (*rows)[6]) {
  equalizer->band_count_right = set_rows(rows, equalizer->coef_right, equalizer->state_right);
}

void parameter_equalizer_getparameter_left(parameter_equalizer_t* /*equalizer*/,
                                           int (* /*rows*/)[6]) {}
void parameter_equalizer_getparameter_right(parameter_equalizer_t* /*equalizer*/,
                                            int (* /*rows*/)[6]) {}

void parameter_equalizer_setstatus(parameter_equalizer_t* equalizer, int status) {
  equalizer->status = status;
}

void parameter_equalizer_getstatus(parameter_equalizer_t* equalizer, int* status) {
  *status = equalizer->status;
}

void parameter_equalizer_set_gain_left(parameter_equalizer_t* equalizer, int gain) {
  equalizer->gain_left = gain;
}

void parameter_equalizer_get_gain_left(parameter_equalizer_t* equalizer, int* gain) {
  *gain = equalizer->gain_left;
}

void parameter_equalizer_set_gain_right(parameter_equalizer_t* equalizer, int gain) {
  equalizer->gain_right = gain;
}

void parameter_equalizer_get_gain_right(parameter_equalizer_t* equalizer, int* gain) {
  *gain = equalizer->gain_right;
}

// One channel:
//
//   in ──► × gain ──► saturate, ──► band 0 ──► ... ──► band count - 1 ──► out
//            Q13      -1 to 0       each: Q28, rounded down to whole steps, wraps

namespace {

// A channel's bands as sections that point into the record.
struct channel_sections {
  IIR section[kBands];
  IIR* pointer[kBands];

  channel_sections(band_words* coef, band_words* state) {
    for (int k = 0; k < kBands; ++k) {
      section[k] = {coef[k], state[k]};
      pointer[k] = &section[k];
    }
  }
};

}  // namespace

void parameter_equalizer_process_stereo(parameter_equalizer_t* equalizer, int* in_left,
                                        int* in_right, int* out_left, int* out_right, int n) {
  parameter_equalizer_t& e = *equalizer;
  const channel_sections left_bands(e.coef_left, e.state_left);
  const channel_sections right_bands(e.coef_left, e.state_right);
  int left[kBlockFrames], right[kBlockFrames];
  for_each_block(n, [&](int start, int count) {
    kernels().scale_to_silence_q13(in_left + start, e.gain_left, left, count);
    kernels().scale_to_silence_q13(in_right + start, e.gain_right, right, count);
    const iir_chain chains[] = {{left, left, left_bands.pointer, e.band_count_left},
                                {right, right, right_bands.pointer, e.band_count_right}};
    kernels().iir_chains_wrapping(chains, 2, count);
    std::copy_n(left, count, out_left + start);
    std::copy_n(right, count, out_right + start);
  });
}

void parameter_equalizer_process_mono(parameter_equalizer_t* equalizer, int* in, int* out, int n) {
  parameter_equalizer_t& e = *equalizer;
  const channel_sections bands(e.coef_left, e.state_left);
  for_each_block(n, [&](int start, int count) {
    kernels().scale_to_silence_q13(in + start, e.gain_left, out + start, count);
    const iir_chain chain = {out + start, out + start, bands.pointer, e.band_count_left};
    kernels().iir_chains_wrapping(&chain, 1, count);
  });
}
