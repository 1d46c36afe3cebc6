#include "effects/parameter_equalizer.h"

#include <algorithm>

#include "dsp/arithmetic_block.h"
#include "dsp/block.h"
#include "dsp/fixed.h"

namespace {

constexpr int kBands = 10;
constexpr int kUnityGain = 8192;  // Q13

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
  equalizer->gain_left = kUnityGain;
  equalizer->gain_right = kUnityGain;
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
//            Q13      -1 to 0        each: Q28, whole steps, wraps
namespace {

// A band in registers: construct from the record, step over a block, store.
// y[n] = b0 x[n] + b1 x[n-1] + b2 x[n-2] + (-a1) y[n-1] + (-a2) y[n-2]
struct band_registers {
  int b0, b1, b2, a1, a2;  // a1 and a2 negated, as stored
  int x1, x2, y1, y2;

  band_registers(const int* coef, const int* state)
      : b0(coef[0]),
        b1(coef[1]),
        b2(coef[2]),
        a1(coef[3]),
        a2(coef[4]),
        x1(state[1]),
        x2(state[2]),
        y1(state[3]),
        y2(state[4]) {}

  int step(int x) {
    const int64_t sum = mac(mac(mac(mac(mac(0, b0, x), b1, x1), b2, x2), a1, y1), a2, y2);
    const int y = wrap32(sum >> 28);
    x2 = x1;
    x1 = x;
    y2 = y1;
    y1 = y;
    return y;
  }

  void store(int* state) const {
    state[0] = x1;  // the current input: once its sample is done, the same word as x[n-1]
    state[1] = x1;
    state[2] = x2;
    state[3] = y1;
    state[4] = y2;
  }
};

// n > 0 samples in place. Two bands run in one pass: while the first waits for its own last result,
// the second has work.
void channel_block(const band_words* coef, band_words* state, int bands, int* samples, int n) {
  int k = 0;
  for (; k + 1 < bands; k += 2) {
    band_registers first(coef[k], state[k]), second(coef[k + 1], state[k + 1]);
    for (int i = 0; i < n; ++i) samples[i] = second.step(first.step(samples[i]));
    first.store(state[k]);
    second.store(state[k + 1]);
  }
  if (k < bands) {
    band_registers last(coef[k], state[k]);
    for (int i = 0; i < n; ++i) samples[i] = last.step(samples[i]);
    last.store(state[k]);
  }
}

}  // namespace

void parameter_equalizer_process_stereo(parameter_equalizer_t* equalizer, int* in_left,
                                        int* in_right, int* out_left, int* out_right, int n) {
  parameter_equalizer_t& e = *equalizer;
  int left[kBlockFrames], right[kBlockFrames];
  for_each_block(n, [&](int start, int count) {
    arithmetic().scale_down(in_left + start, e.gain_left, left, count);
    arithmetic().scale_down(in_right + start, e.gain_right, right, count);
    channel_block(e.coef_left, e.state_left, e.band_count_left, left, count);
    channel_block(e.coef_left, e.state_right, e.band_count_right, right, count);
    std::copy_n(left, count, out_left + start);
    std::copy_n(right, count, out_right + start);
  });
}

void parameter_equalizer_process_mono(parameter_equalizer_t* equalizer, int* in, int* out, int n) {
  parameter_equalizer_t& e = *equalizer;
  for_each_block(n, [&](int start, int count) {
    arithmetic().scale_down(in + start, e.gain_left, out + start, count);
    channel_block(e.coef_left, e.state_left, e.band_count_left, out + start, count);
  });
}
