#include "ns/band_post.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "allocation.h"
#include "fixed.h"
#include "ns/band_post_math.h"

namespace {

constexpr int kTrackers = 3;
constexpr int kTrackerAges[kTrackers] = {600, 300, 200};
constexpr int kTrackerSpan = 601;
constexpr int kFirstFrames = 10;  // measures unsmoothed

constexpr int kSmoothing = 9830;  // 0.3, Q15

// Q15 logarithms: the range that a tracker must exceed to set a floor, and the sigmoid's middle.
constexpr int kSpreadRange = 150 << 15, kSpreadMiddle = 100 << 15, kSpreadWidth = 10;
constexpr int kDeviationRange = 200 << 15, kDeviationMiddle = 200 << 15, kDeviationWidth = 40;

constexpr int kUnityGain = 32767;       // Q15, as near to 1.0 as 16 bits come
constexpr int kTransient = 513;         // Q8 logarithm of the crest factor, about 2
constexpr int kRecovery = 50;           // gain steps per sample
constexpr int kAtOnce = 32767;          // from any gain to any target in one sample
constexpr int kTwice = 2 * kUnityGain;  // 2.0 in Q15 less two steps

template <int length>
void append(short (&history)[length], short newest) {
  std::copy(history + 1, history + length, history);
  history[length - 1] = newest;
}

}  // namespace

BPInfo_tag* BP_ns_init(int, int bins) {
  auto* bp = allocate<BPInfo_tag>();
  if (bp == nullptr) return nullptr;
  bp->bins = bins;
  std::copy_n(kTrackerAges, kTrackers, bp->tracker_count);
  return bp;
}

int BP_ns_delete(BPInfo_tag* bp) {
  release(bp);
  return 0;
}

int BP_ns_pre(BPInfo_tag* bp, short* x, int n, short*) {
  short peak = 1;
  for (int i = 0; i < n - 1; ++i) peak = std::max(peak, x[i]);
  append(bp->peak_history, peak);
  int sum = 0;
  for (const short p : bp->peak_history) sum += p;
  bp->peak_mean = sum / static_cast<int>(std::size(bp->peak_history));
  return 0;
}

namespace {

// Sum over the bins of ln(|magnitude - mean| / 2^shift), where that is positive; Q8.
int deviation(const unsigned short* spectrum, int bins, unsigned total, int shift) {
  if (bins < 1) return 0;
  const unsigned mean = total / static_cast<unsigned>(bins);
  const int steps = std::clamp(shift, -15, 15);
  const int scaling = steps <= 0 ? kLogOfShift[-steps] : -int{kLogOfShift[steps]};
  int sum = 0;
  for (int k = 0; k < bins; ++k) {
    const unsigned magnitude = spectrum[k];
    const unsigned distance = magnitude > mean ? magnitude - mean : mean - magnitude;
    sum = wrap_add(sum, std::max(0, scaling + log_q8(distance)));  // a distance of 0 adds none
  }
  return sum;
}

// Sum over the last peaks of ln(|peak - mean| + 1), Q8.
int peak_spread(const BPInfo_tag* bp) {
  int sum = 0;
  for (const short peak : bp->peak_history)
    sum += log_q8(static_cast<uint32_t>(std::abs(int64_t{peak} - bp->peak_mean) + 1));
  return sum;
}

// state + 0.3 (value - state), rounded down.
int smooth(int state, int value) {
  const int64_t step = ((int64_t{value} - state) * kSmoothing) >> 15;
  return wrap32(state + step);
}

void follow(int& smallest, int& largest, int value) {
  smallest = std::min(smallest, value);
  largest = std::max(largest, value);
}

// At the end of a tracker's span its smallest value becomes the floor if the range was wide enough.
void restart(int& smallest, int& largest, int value, int range, int& floor) {
  if (int64_t{largest} - smallest > range) floor = smallest;
  smallest = largest = value;
}

void update_floors(BPInfo_tag* bp, int spread, int dev) {
  for (int t = 0; t < kTrackers; ++t) {
    follow(bp->spread_min[t], bp->spread_max[t], spread);
    follow(bp->dev_min[t], bp->dev_max[t], dev);
    if (bp->tracker_count[t] < kTrackerSpan) {
      ++bp->tracker_count[t];
      continue;
    }
    restart(bp->spread_min[t], bp->spread_max[t], spread, kSpreadRange, bp->spread_floor);
    restart(bp->dev_min[t], bp->dev_max[t], dev, kDeviationRange, bp->dev_floor);
    bp->tracker_count[t] = 1;
  }
}

// The mean of the sigmoids of those measures that are above their floors, Q15.
int presence_now(const BPInfo_tag* bp) {
  int sum = 0, terms = 0;
  const auto add = [&](int measure, int floor, int middle, int width) {
    if (measure <= floor) return;
    sum += sigmoid(wrap_sub(wrap_sub(measure, floor), middle) / width);
    ++terms;
  };
  add(bp->spread_smooth, bp->spread_floor, kSpreadMiddle, kSpreadWidth);
  add(bp->dev_smooth, bp->dev_floor, kDeviationMiddle, kDeviationWidth);
  return terms == 0 ? 0 : sum / terms;
}

}  // namespace

//   spectrum ─► deviation ─┬─► smooth ──► − floor ─► sigmoid ─┐
//                          └─► trackers ──► ▲                 ├─► mean ─► smooth ─► presence, Q15
//   peaks ────► spread ────┬─► smooth ──► − floor ─► sigmoid ─┘
//               Q8 to Q15  └─► trackers ──► ▲                     all "smooth" by 0.3
short BP_ns_app(BPInfo_tag* bp, unsigned short* spectrum, unsigned int total, short shift) {
  const int dev = wrap_shl(deviation(spectrum, bp->bins, total, shift), 7);  // Q8 to Q15
  const int spread = wrap_shl(peak_spread(bp), 7);
  if (bp->frame_count >= kFirstFrames) {
    bp->spread_smooth = smooth(bp->spread_smooth, spread);
    bp->dev_smooth = smooth(bp->dev_smooth, dev);
  } else {
    bp->spread_smooth = spread;
    bp->dev_smooth = dev;
    std::fill_n(bp->spread_min, kTrackers, spread);
    std::fill_n(bp->spread_max, kTrackers, spread);
    std::fill_n(bp->dev_min, kTrackers, dev);
    std::fill_n(bp->dev_max, kTrackers, dev);
  }
  update_floors(bp, spread, dev);
  bp->frame_count = wrap_add(bp->frame_count, 1);

  const auto error = static_cast<short>(presence_now(bp) - bp->presence);
  bp->presence = static_cast<short>(bp->presence + ((error * kSmoothing) >> 15));
  return bp->presence;
}

namespace {

// out = in × gain, rounded down, while the gain moves from *gain to target by step (all Q15); a
// step beyond the target ends there.
void ramp(const short* in, int n, short* out, short target, short* gain, int step) {
  const int start = *gain, low = std::min<int>(start, target), high = std::max<int>(start, target);
  const int move = start < target ? step : -step;
  int g = start;
  for (int i = 0; i < n; ++i) {
    out[i] = static_cast<short>((g * in[i]) >> 15);
    g += move;
    if (g < low || g > high) g = target;
  }
  *gain = static_cast<short>(g);
}

}  // namespace

//   io ──► peak, mean ──► crest ──► target and step, Q15
//                                       ▼
//   in ──────────────────────────────► × gain, Q15 ──► io
int BP_ns_post(BPInfo_tag* bp, short* in, int n, short* io) {
  short largest = 0;  // in 16 bits: the magnitude of -32768 becomes -32768
  uint32_t sum = 0;
  for (int i = 0; i < n; ++i) {
    const int magnitude = std::abs(int{io[i]});
    if (magnitude > largest) largest = static_cast<short>(magnitude);
    sum += static_cast<uint32_t>(magnitude);
  }
  const auto peak_times_n = static_cast<uint32_t>(wrap_mul(largest, n));
  bp->crest = static_cast<short>(log_q8(peak_times_n + 1) - log_q8(sum + 1));

  if (bp->crest < kTransient) {
    append(bp->max_history, largest);
    if (bp->post_gain != kUnityGain) ramp(in, n, io, kUnityGain, &bp->post_gain, kRecovery);
    return 0;
  }
  const int recent = *std::max_element(std::begin(bp->max_history), std::end(bp->max_history));
  const auto target = static_cast<short>(std::min(wrap_div(recent * kTwice, largest), kUnityGain));
  append(bp->max_history, static_cast<short>(std::min<int>(2 * recent, largest)));
  soft_gain_proc(in, n, io, target, &bp->post_gain, kAtOnce);
  return 0;
}

void soft_gain_proc(short* in, int n, short* out, short target, short* gain, short step) {
  if (target == kUnityGain && *gain == kUnityGain) return;
  ramp(in, n, out, target, gain, step);
}
