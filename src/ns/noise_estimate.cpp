#include "ns/noise_estimate.h"

#include <algorithm>
#include <cstdlib>

#include "fixed.h"
#include "ns/logarithm.h"
#include "ns/noise_frame.h"
#include "spl/vectors.h"

// After noise_suppressor.h, whose declarations make the exported tables visible.
#include "ns/noise_estimate_tables.inc"

namespace {

// The quantile is the lower quartile, so a step up is a third of a step down.
constexpr int kFirstQuantile = 8 << 8;  // ln |X|, Q8
constexpr int kFirstDensity = 154;      // 0.3, Q9
constexpr int kOneDensity = 512;        // Q9
constexpr int kStep = 40 << 7;          // Q7, times the frame's share; divided by a density above 1
constexpr int kFirstCycleStep = 8 << 7;  // in the first cycle, at a density of 1 or less
constexpr int kWidth = 3;                // half width of the density's window, Q8
constexpr int kWindowDensity = 512 * 256 / (2 * kWidth);  // that of one value in the window, Q9

constexpr int kFirstModelBin = 5;  // of the parametric model: the bins below are left out

// One log magnitude (Q8) into one estimate: the quantile moves by a share of the step, which is
// divided by the density where values are dense; the density follows where the value is near the
// quantile. share = 1 / (age + 1), Q15.
void follow(short& quantile, short& density, int value, int step, int age, int share) {
  const int delta = density > kOneDensity ? (step << 9) / density : step;
  const int move = (delta * share) >> 14;  // Q7 to Q8
  quantile = static_cast<short>(std::max(
      0, value > quantile ? quantile + ((move + 2) >> 2) : quantile - ((3 * move + 2) >> 2)));
  if (std::abs(value - quantile) < kWidth)
    density =
        static_cast<short>((int64_t{density} * age * share + kWindowDensity * share + 16384) >> 15);
}

void set_quantile_noise(NsxInst_t_* ns, const short* quantile) {
  for (int k = 0; k < ns->bins; ++k)
    ns->quantile_noise[k] = exp_q12(quantile[k] * 16, 16 - ns->stages);  // |X| to |X| / N
}

// Each estimate's quantile is read at the end of its cycle, a third of a cycle after that of the
// estimate before it; during the first cycle, the last estimate's is read every frame.
void noise_estimation(NsxInst_t_* ns) {
  const bool first_cycle = ns->frame_count < kCycleFrames;
  for (int s = 0; s < kNsxEstimates; ++s) {
    int& age = ns->estimate_age[s];
    for (int k = 0; k < ns->bins; ++k) {
      short &quantile = ns->log_quantile[s][k], &density = ns->density[s][k];
      const int step = first_cycle && density <= kOneDensity ? kFirstCycleStep : kStep;
      follow(quantile, density, ns->log_magnitude[k], step, age, tekaNsx_kCounterDiv[age]);
    }
    if (age >= kCycleFrames) {
      age = 0;
      if (!first_cycle) set_quantile_noise(ns, ns->log_quantile[s]);
    }
    ++age;
  }
  if (first_cycle) set_quantile_noise(ns, ns->log_quantile[kNsxEstimates - 1]);
}

}  // namespace

void (*tekaNsx_NoiseEstimation)(NsxInst_t_*) = noise_estimation;
void use_portable_estimate() { dispatch(tekaNsx_NoiseEstimation, noise_estimation); }

void reset_noise_estimate(NsxInst_t_* ns) {
  for (int s = 0; s < kNsxEstimates; ++s) {
    tekaSpl_Fill16(ns->log_quantile[s], kNsxMaxBins, kFirstQuantile);
    tekaSpl_Fill16(ns->density[s], kNsxMaxBins, kFirstDensity);
    ns->estimate_age[s] = kCycleFrames * (s + 1) / kNsxEstimates;
  }
}

// White: the mean magnitude, overdriven. Pink: the line through ln |X| over ln(bin), by least
// squares; its level and its slope are limited, then averaged.
void collect_start_model(NsxInst_t_* ns) {
  int64_t magnitudes = 0;
  for (int k = 0; k < ns->bins; ++k) {
    ns->start_magnitude[k] += ns->magnitude[k];
    magnitudes += ns->magnitude[k];
  }
  ns->white_level += magnitudes / ns->bins * ns->overdrive >> 8;

  int64_t x = 0, xx = 0, y = 0, xy = 0;  // x in Q12, y in Q8
  for (int k = kFirstModelBin; k < ns->bins; ++k) {
    const int64_t log_bin = kLogOfBin[k], log_magnitude = ns->log_magnitude[k];
    x += log_bin;
    xx += log_bin * log_bin;
    y += log_magnitude;
    xy += log_bin * log_magnitude;
  }
  const int64_t n = ns->bins - kFirstModelBin, determinant = n * xx - x * x;
  // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): init sets 65 bins or more.
  const int64_t level = (xx * y - x * xy) / determinant;               // Q8
  const int64_t slope = ((x * y - n * xy) * (1 << 18)) / determinant;  // falling; Q20 / Q24 to Q14
  ns->pink_level += static_cast<int>(std::max<int64_t>(level, 0));
  ns->pink_slope += static_cast<int>(std::clamp<int64_t>(slope, 0, kOneQ14));
}

void start_noise(const NsxInst_t_* ns, unsigned int* noise) {
  const int frames = ns->frame_count + 1;
  const int64_t white = ns->white_level / frames;
  const int level = ns->pink_level * 16 / frames;  // Q12
  const int slope = ns->pink_slope / frames;
  for (int k = 0; k < ns->bins; ++k) {
    const int log_bin = kLogOfBin[std::max(k, kFirstModelBin)];
    noise[k] = slope == 0 ? static_cast<unsigned>(std::min<int64_t>(white, UINT32_MAX))
                          : exp_q12(level - (slope * log_bin >> 14), 16 - ns->stages);
  }
}
