// What works on 16-bit mono: the noise suppressor's band post-processing and the converters,
// sample by sample.
#pragma once

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "fixed.h"
#include "ktv/resampler.h"
#include "ns/band_post.h"
#include "ns/band_post_math.h"
#include "spl/by_two.h"
#include "spl/resample.h"

namespace plain {

namespace rate_tables {
#include "spl/resample_tables.inc"
}

// ---- Band post-processing: peaks before, limiter after. It measures frames, so it has no calls
// for one sample: here each sample is measured and multiplied by a call of its own, with what it
// changes in memory. The spectrum's share, BP_ns_app, works on bins and isn't among this.

struct frame_meter {
  short largest;
  uint32_t sum;
};

[[gnu::noinline]] inline void note_positive(short* peak, short x) { *peak = std::max(*peak, x); }

[[gnu::noinline]] inline void note_magnitude(frame_meter* meter, short x) {
  const int magnitude = std::abs(int{x});
  if (magnitude > meter->largest) meter->largest = static_cast<short>(magnitude);
  meter->sum += static_cast<uint32_t>(magnitude);
}

template <int length>
inline void shift_in(short (&history)[length], short newest) {
  for (int i = 1; i < length; ++i) history[i - 1] = history[i];
  history[length - 1] = newest;
}

inline void band_peaks(BPInfo_tag* bp, short* x, int n) {
  short peak = 1;
  for (int i = 0; i < n - 1; ++i) note_positive(&peak, x[i]);
  shift_in(bp->peak_history, peak);
  int sum = 0;
  for (const short p : bp->peak_history) sum += p;
  bp->peak_mean = sum / 50;
}

// What steps beyond the target, or back beyond the frame's start, is set to the target.
[[gnu::noinline]] inline short limited(short* gain, short start, short target, int step, short x) {
  const auto y = static_cast<short>((*gain * x) >> 15);
  const int next = start < target ? *gain + step : *gain - step;
  const bool inside = next >= std::min(start, target) && next <= std::max(start, target);
  *gain = inside ? static_cast<short>(next) : target;
  return y;
}

inline void band_limiter(BPInfo_tag* bp, short* in, int n, short* io) {
  frame_meter meter = {};
  for (int i = 0; i < n; ++i) note_magnitude(&meter, io[i]);
  const auto peak_times_n = static_cast<uint32_t>(wrap_mul(meter.largest, n));
  bp->crest = static_cast<short>(log_q8(peak_times_n + 1) - log_q8(meter.sum + 1));
  short target = 32767, newest = meter.largest;
  const bool transient = bp->crest >= 513;
  if (transient) {
    const int recent = *std::max_element(std::begin(bp->max_history), std::end(bp->max_history));
    target = static_cast<short>(std::min(wrap_div(recent * 65534, meter.largest), 32767));
    newest = static_cast<short>(std::min<int>(2 * recent, meter.largest));
  }
  shift_in(bp->max_history, newest);
  const short start = bp->post_gain;
  if (start == 32767 && target == 32767) return;
  for (int i = 0; i < n; ++i)
    io[i] = limited(&bp->post_gain, start, target, transient ? 32767 : 50, in[i]);
}

// ---- Converters. By two there is a call for one sample; the filter of the fixed ratio is written
// out, one tap after the other.

template <int taps>
[[gnu::noinline]] inline short filtered(const int16_t (&row)[taps], const short* newest) {
  int64_t sum = 16384;
  for (int j = 0; j < taps; ++j) sum += row[j] * newest[j - taps + 1];
  return saturate16(static_cast<int>(sum >> 15));
}

// Two halves of 240 samples: 48 to 96 kHz, and a third of that.
inline void from_48_to_32(Resampler_t* r, short* in, short* out) {
  constexpr int kPast = 143;
  short window[kPast + 480];
  short* const history = static_cast<tekaSpl_State48khzTo16khz*>(r->state2)->history;
  std::copy_n(history, kPast, window);
  for (int i = 0; i < 240; ++i)
    tekaSpl_UpsampleBy2(&in[i], 1, &window[kPast + 2 * i], static_cast<int*>(r->state1));
  for (int i = 0; i < 160; ++i)
    out[i] = filtered(rate_tables::kDownByThree[0], &window[kPast + 3 * i]);
  std::copy_n(window + 480, kPast, history);
}

// 160 samples to 480 at 96 kHz, and half of that.
inline void from_32_to_48(Resampler_t* r, short* in, short* out) {
  constexpr int kPast = 47;
  short window[kPast + 160], fast[480];
  short* const history = static_cast<tekaSpl_State16khzTo48khz*>(r->state1)->history;
  std::copy_n(history, kPast, window);
  std::copy_n(in, 160, window + kPast);
  for (int i = 0; i < 160; ++i)
    for (int phase = 0; phase < 3; ++phase)
      fast[3 * i + phase] = filtered(rate_tables::kUpByThree[phase], &window[kPast + i]);
  for (int i = 0; i < 240; ++i)
    tekaSpl_DownsampleBy2(&fast[2 * i], 2, &out[i], static_cast<int*>(r->state2));
  std::copy_n(window + 160, kPast, history);
}

}  // namespace plain
