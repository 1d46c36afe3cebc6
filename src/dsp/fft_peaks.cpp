#include <algorithm>

#include "dsp/fft_frame.h"
#include "dsp/fft_peaks.h"
#include "dsp/log2.h"

namespace {

constexpr int kLowFirst = 2, kHighFirst = 18, kHighEnd = 61;

// Limits of the criteria; see howling_cancel.h for what they tell apart.
constexpr uint64_t kFloor = 256;           // -69 dBFS
constexpr uint64_t kLeastPower = 4096;     // peak to threshold: -57 dBFS
constexpr uint64_t kNeighbourRatio = 10;   // peak to its neighbours three bins away
constexpr uint64_t kAverageFraction = 32;  // peak to the whole spectrum: no less than 1/32 of it

struct spread_spectrum {
  const uint64_t* smoothed;    // the powers as they came
  uint64_t power[kNoBin + 1];  // bins 0..64; those without power hold the floor

  // Each bin with its two neighbours: a tone's three strongest bins, wherever it lies between them.
  explicit spread_spectrum(const uint64_t* smoothed_powers) : smoothed(smoothed_powers) {
    std::fill_n(power, kNoBin + 1, kFloor);
    for (int b = kFirstBin; b <= kLastBin; ++b) {
      uint64_t sum = smoothed[b];
      if (b > kFirstBin) sum += smoothed[b - 1];
      if (b < kLastBin) sum += smoothed[b + 1];
      power[b] = std::max(sum, kFloor);
    }
  }
};

uint64_t power_at(const uint64_t* smoothed, int bin) {
  return std::max(bin < kFirstBin || bin > kLastBin ? 0 : smoothed[bin], kFloor);
}

// A maximum that stands out from what lies three bins away on both sides, where the window has let
// a steady tone fall by 36 dB or more.
bool is_narrow_peak(const uint64_t* smoothed, int b) {
  const auto at = [=](int bin) { return power_at(smoothed, bin); };
  const uint64_t p = at(b);
  return p > at(b - 1) && p >= at(b + 1) && p / kNeighbourRatio > std::max(at(b - 3), at(b + 3));
}

// Where the parabola through the three levels around the newest maximum has its vertex: the
// window's main lobe is close to a Gauss curve, whose logarithm is a parabola.
int interpolated(const uint64_t* power, int bin) {
  if (bin > kFirstBin && power[bin - 1] > power[bin])
    --bin;
  else if (bin < kLastBin && power[bin + 1] > power[bin])
    ++bin;
  if (bin == kLastBin) return bin * 256;
  if (bin == kFirstBin) {  // bin 1 has no power: the parabola that falls by 3.44 dB in one bin
    const int fall = log2_q10(power[bin]) - log2_q10(power[bin + 1]);
    return bin * 256 + std::clamp(128 - fall * 256 / level_of_db(2 * 3.44), -128, 128);
  }
  const int left = log2_q10(power[bin - 1]), top = log2_q10(power[bin]),
            right = log2_q10(power[bin + 1]);
  const int curvature = 2 * top - left - right;
  const int offset = curvature > 0 ? (right - left) * 128 / curvature : 0;
  return bin * 256 + std::clamp(offset, -128, 128);
}

// The count strongest peaks of bins first..end-1, strongest first.
void mark_band(fft_int* fft, const spread_spectrum& spread, uint64_t least, int first, int end,
               int slot, int count) {
  int* marked = fft->marked_bins + slot;
  int64_t* peak_power = fft->peak_power + slot;
  std::fill_n(marked, count, kNoBin);
  for (int b = first; b < end; ++b) {
    if (spread.power[b] < least || !is_narrow_peak(spread.smoothed, b)) continue;
    const int64_t power = static_cast<int64_t>(spread.power[b] & INT64_MAX);
    int place = 0;
    while (place < count && peak_power[place] >= power) ++place;
    if (place == count) continue;
    std::copy_backward(marked + place, marked + count - 1, marked + count);
    std::copy_backward(peak_power + place, peak_power + count - 1, peak_power + count);
    marked[place] = b;
    peak_power[place] = power;
  }
}

}  // namespace

// smoothed ──► spread over neighbours, floor ──► maxima ──► 2 + 3 strongest ──► interpolation
//  powers                                                        marks           frequencies
void mark_peaks(fft_int* fft, const uint64_t* smoothed, const band_totals& totals,
                int* frequencies) {
  const spread_spectrum spread(smoothed);
  const uint64_t all = totals.low_5_17 + totals.high_18_62;
  const uint64_t least = std::max(kLeastPower, all / kAverageFraction);
  mark_band(fft, spread, least, kLowFirst, kHighFirst, 0, kLowPeaks);
  mark_band(fft, spread, least, kHighFirst, kHighEnd, kLowPeaks, kPeaks - kLowPeaks);
  if (!frequencies) return;
  for (int i = 0; i < kPeaks; ++i)
    frequencies[i] =
        fft->marked_bins[i] == kNoBin ? 0 : interpolated(fft->power, fft->marked_bins[i]);
}
