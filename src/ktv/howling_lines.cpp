#include "ktv/howling_lines.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "bit_reversal.h"
#include "dsp/kernels/kernels.h"
#include "dsp/log2.h"
#include "fixed.h"
#include "ktv/howling_internal.h"

namespace {

constexpr int kHalf = kLineFrame / 2;  // points of the complex transform
constexpr int kHop = 128;
constexpr int kBin = 32;                         // positions
constexpr int kFirstLine = 13, kLastLine = 700;  // 152 Hz and 8.2 kHz
constexpr int kLeastLine = level_of_dbfs(-66.0);

// sin(2 pi k / 2048), k = 0..512, Q30.
constexpr int kQuarter[] = {
#include "ktv/howling_sines.inc"
};

// cos(2 pi k / 2048), Q30.
constexpr auto kCosines = [] {
  std::array<int, kLineFrame> cosines{};
  for (int k = 0; k <= kHalf / 2; ++k) {
    cosines[k] = cosines[(kLineFrame - k) % kLineFrame] = kQuarter[kHalf / 2 - k];
    cosines[kHalf - k] = cosines[kHalf + k] = -kQuarter[kHalf / 2 - k];
  }
  return cosines;
}();
int cosine(int k) { return kCosines[static_cast<size_t>(k & (kLineFrame - 1))]; }
int sine(int k) { return cosine(k - kHalf / 2); }

int scaled(int64_t product) { return static_cast<int>(product >> 30); }

constexpr auto kReversed = bit_reversal<10>();
static_assert(kReversed.size() == kHalf);

// Cosines and sines of the transform's stages, Q30. The first stages work in the input's order and
// take a factor a group; the later ones in the output's, and take a factor for each place of a group
// of 2 half: the half - kMiddle + j-th.
constexpr int kMiddle = 32;
struct stage_factors {
  int groups[2][kMiddle], places[2][kHalf - kMiddle];
};
constexpr auto kFactors = [] {
  stage_factors f = {};
  const auto turn = [](int k) { return kCosines[static_cast<size_t>(k & (kLineFrame - 1))]; };
  for (int quarter = 0; quarter < 2; ++quarter) {
    const int behind = quarter * (kHalf / 2);
    for (int g = 0; g < kMiddle; ++g)
      f.groups[quarter][g] = turn(kReversed[static_cast<size_t>(g)] - behind);
    for (int half = kMiddle; half < kHalf; half *= 2)
      for (int j = 0; j < half; ++j)
        f.places[quarter][half - kMiddle + j] = turn(j * (kHalf / half) - behind);
  }
  return f;
}();

struct points {
  int re[kHalf], im[kHalf];
};

// Each stage halves. The order is reversed in the middle, where groups are as long either way: so a
// vector's lanes are neighbours in all stages.
void transform(points& z) {
  for (int span = kHalf / 2; span >= kHalf / kMiddle; span /= 2)
    kernels().halving_butterflies_q30(
        z.re, z.im, {kHalf, span, kFactors.groups[0], kFactors.groups[1], true, 0});
  for (size_t i = 0; i < kHalf; ++i)
    if (const size_t r = kReversed[i]; i < r) {
      std::swap(z.re[i], z.re[r]);
      std::swap(z.im[i], z.im[r]);
    }
  for (int half = kMiddle; half < kHalf; half *= 2)
    kernels().halving_butterflies_q30(z.re, z.im,
                                      {kHalf, half, kFactors.places[0] + (half - kMiddle),
                                       kFactors.places[1] + (half - kMiddle), false, 0});
}

// Half of 1 - cosine over a frame, Q30.
int window_q30(int n) { return (1 << 29) - cosine(n) / 2; }

// Levels of the newest frame's bins, on the scale of a suspect's. Real samples go through a complex
// transform of half the length, whose two halves are then told apart.
constexpr int kLevels = kLastLine + 16;
void levels_of(const howling_lines* lines, int* level) {
  points z;
  for (int i = 0; i < kHalf; ++i) {
    const auto windowed = [&](int n) {
      const int64_t x = lines->past[(lines->newest + n) & (kLineFrame - 1)];
      return static_cast<int>(x * window_q30(n) >> 27);  // eight times, 29 bits
    };
    z.re[i] = windowed(2 * i);
    z.im[i] = windowed(2 * i + 1);
  }
  transform(z);
  for (int k = 0; k < kLevels; ++k) {
    const int opposite = (kHalf - k) % kHalf;
    const int64_t even_re = z.re[k] + z.re[opposite], even_im = z.im[k] - z.im[opposite];
    const int64_t odd_re = z.im[k] + z.im[opposite], odd_im = z.re[opposite] - z.re[k];
    const int64_t c = cosine(k), s = sine(k);
    const int64_t re = even_re + scaled(c * odd_re + s * odd_im);
    const int64_t im = even_im + scaled(c * odd_im - s * odd_re);
    level[k] = log2_q10((static_cast<uint64_t>(re * re) + static_cast<uint64_t>(im * im)) >> 20);
  }
}

struct peak {
  int position, level;
  bool harmonic;
};
// All maxima that stand out, the strongest kLinePeaks of them, by frequency.
int find_peaks(const int* level, peak* peaks) {
  int count = 0;
  for (int b = kFirstLine; b <= kLastLine; ++b) {
    const int l = level[b];
    if (l < kLeastLine || l <= level[b - 1] || l < level[b + 1]) continue;
    if (l - std::max(level[b - 4], level[b + 4]) < level_of_db(9.0)) continue;
    const int curvature = 2 * l - level[b - 1] - level[b + 1];
    const int offset = (level[b + 1] - level[b - 1]) * (kBin / 2) / std::max(curvature, 1);
    const peak p = {b * kBin + std::clamp(offset, -kBin / 2, kBin / 2), l, false};
    if (count < kLinePeaks) {
      peaks[count++] = p;
      continue;
    }
    peak* weakest = std::min_element(
        peaks, peaks + count, [](const peak& x, const peak& y) { return x.level < y.level; });
    if (weakest->level >= l) continue;
    std::copy(weakest + 1, peaks + count, weakest);
    peaks[count - 1] = p;
  }
  return count;
}

// A harmonic is a multiple of its distance from another, and beside the first two of a family
// there are more of them.
void mark_harmonics(peak* peaks, int count) {
  constexpr int kLowest = 190, kTolerance = 16;  // 70 Hz and 6 Hz
  constexpr int kHighestOrder = 12;
  const auto stands = [&](int position, int least) {
    return std::any_of(peaks, peaks + count, [=](const peak& p) {
      return std::abs(p.position - position) < kTolerance && p.level > least;
    });
  };
  for (int i = 0; i < count; ++i) {
    peak& p = peaks[i];
    const int least = p.level - level_of_db(30.0);
    for (int j = 0; j < count && !p.harmonic; ++j) {
      const int distance = std::abs(p.position - peaks[j].position);
      if (distance < kLowest || peaks[j].level < least) continue;
      const int order = (p.position + distance / 2) / distance;
      if (order < 1 || order > kHighestOrder ||
          std::abs(p.position - order * distance) > kTolerance + order * 4)
        continue;
      const bool below = stands(p.position - distance, least),
                 above = stands(p.position + distance, least);
      p.harmonic = order <= 2 || (below && above) ||
                   (below && stands(p.position - 2 * distance, least)) ||
                   (above && stands(p.position + 2 * distance, least));
    }
  }
}

constexpr int kSame = 14;              // 5 Hz
constexpr int kSeen = 4, kMost = 400;  // evidence of a look, and at most
constexpr int kSteady = level_of_db(4.0);

// A look in which a line stands counts four times what it loses in one without it.
void follow(howling_lines* lines, const peak* peaks, int count) {
  bool used[kLinePeaks] = {};
  for (howling_line& line : lines->lines) {
    if (line.position == 0) continue;
    int best = -1, least = kSame;
    for (int k = 0; k < count; ++k)
      if (!used[k] && std::abs(peaks[k].position - line.position) < least) {
        least = std::abs(peaks[k].position - line.position);
        best = k;
      }
    if (best < 0) {
      line.level = 0;
      if (--line.evidence <= 0) line = {};
      continue;
    }
    used[best] = true;
    const peak& p = peaks[best];
    const bool steady = std::abs(p.level - line.level) < kSteady;
    line.position += (p.position - line.position) / 4;
    line.slope += (std::clamp(p.level - line.level, -kSteady, kSteady) - line.slope) / 4;
    line.level = p.level;
    if (p.harmonic)
      line.evidence -= 2;
    else if (steady)
      line.evidence = std::min(line.evidence + kSeen, kMost);
    if (line.evidence <= 0) line = {};
  }
  for (int k = 0; k < count; ++k) {
    if (used[k] || peaks[k].harmonic) continue;
    howling_line* weakest = std::min_element(
        lines->lines, lines->lines + kLines,
        [](const howling_line& a, const howling_line& b) { return a.evidence < b.evidence; });
    if (weakest->evidence < kSeen) *weakest = {peaks[k].position, 2, 0, peaks[k].level};
  }
}

constexpr int kSoftestGlide = level_of_db(-12.0), kLoudGlide = level_of_db(3.0);  // above usual
constexpr int kLeastGlide = 3;                                                    // looks
constexpr int kNearSweep = 160, kWidestSweep = 1024;                              // 59 and 375 Hz

// To the sweep it meets, else to a new one in place of the weakest.
void add_glide(howling_lines* lines, int low, int high, int evidence) {
  const auto meets = [=](const howling_sweep& s) {
    return s.low && low < s.high + kNearSweep && high > s.low - kNearSweep &&
           std::max(high, s.high) - std::min(low, s.low) <= kWidestSweep;
  };
  howling_sweep* end = lines->sweeps + kSweeps;
  howling_sweep* sweep = std::find_if(lines->sweeps, end, meets);
  if (sweep == end) {
    const auto weaker = [](const howling_sweep& a, const howling_sweep& b) {
      return a.evidence < b.evidence;
    };
    sweep = std::min_element(lines->sweeps, end, weaker);
    *sweep = {low, high, 0};
  }
  sweep->low = std::min(sweep->low, low);
  sweep->high = std::max(sweep->high, high);
  sweep->evidence += evidence;
}

// A tone in a loop rises by the shift with each turn, and a turn takes 6 ms at least. At the edge of
// what the loop carries it slows down; on average it takes 40 ms a turn at most.
bool goes_on(const howling_glide& glide, const peak& p, int shift) {
  const int step = p.position - glide.position;
  return step >= 0 && step <= shift * 13 / 2 &&
         (glide.looks == 1 || std::abs(step - glide.step) <= 2 * shift);
}
bool rises(const howling_glide& glide, int shift) {
  return glide.looks >= kLeastGlide && glide.position - glide.first >= shift * (glide.looks - 1);
}

// Under the shift no line stands still. What glides like a loop's tone, alone, again and again in
// the same region, is none of a voice's: its glides have harmonics, and each a speed of its own.
void follow_glides(howling_lines* lines, const peak* peaks, int count, int shift, int usual) {
  for (howling_sweep& sweep : lines->sweeps)
    if (--sweep.evidence <= 0) sweep = {};
  if (shift == 0) return;
  bool used[kLinePeaks];
  for (int k = 0; k < count; ++k)
    used[k] = peaks[k].harmonic || peaks[k].level <= usual + kSoftestGlide;
  for (howling_glide& glide : lines->glides) {
    if (glide.position == 0) continue;
    int k = 0;
    while (k < count && (used[k] || !goes_on(glide, peaks[k], shift))) ++k;
    if (k == count) {
      glide = {};
      continue;
    }
    used[k] = true;
    glide = {glide.first, peaks[k].position, peaks[k].position - glide.position, glide.looks + 1};
    if (!rises(glide, shift)) continue;
    const int looks = glide.looks == kLeastGlide ? kLeastGlide : 1;
    const int weight = peaks[k].level > usual + kLoudGlide ? 2 : 1;
    add_glide(lines, glide.first, glide.position, looks * weight * kGlideLook);
  }
  for (int k = 0; k < count; ++k) {
    if (used[k]) continue;
    const auto unused = [](const howling_glide& g) { return g.position == 0; };
    howling_glide* end = lines->glides + kGlides;
    howling_glide* glide = std::find_if(lines->glides, end, unused);
    if (glide == end) break;
    *glide = {peaks[k].position, peaks[k].position, 0, 1};
  }
}

}  // namespace

void reset(howling_lines* lines) { *lines = {}; }

bool hear_hop(howling_lines* lines, const int* hop, int shift, int usual) {
  std::copy_n(hop, kHop, lines->past + lines->newest);
  lines->newest = (lines->newest + kHop) % kLineFrame;
  if (++lines->hops < kFramesPerLook) return false;
  lines->hops = 0;
  lines->doubt -= lines->doubt > 0;
  int level[kLevels];
  levels_of(lines, level);
  peak peaks[kLinePeaks];
  const int count = find_peaks(level, peaks);
  mark_harmonics(peaks, count);
  int* harmonics = lines->harmonics[lines->looks++ % 4];
  for (int k = 0; k < kLinePeaks; ++k)
    harmonics[k] = k < count && peaks[k].harmonic ? peaks[k].position : 0;
  follow(lines, peaks, count);
  follow_glides(lines, peaks, count, shift, usual);
  return true;
}

bool is_harmonic(const howling_lines* lines, int position) {
  for (const auto& frame : lines->harmonics)
    for (const int p : frame)
      if (p != 0 && std::abs(p - position) < kBin) return true;
  return false;
}

int narrow_level(const howling_lines* lines, int position, int ago) {
  const uint32_t step = static_cast<uint32_t>(position) << 16;  // 2^32 a turn
  uint32_t phase = 0;
  int64_t re = 0, im = 0;
  for (int n = 0; n < kHalf; ++n) {
    const int64_t x = int64_t{lines->past[(lines->newest + kHalf - ago + n) & (kLineFrame - 1)]} *
                          window_q30(2 * n) >>
                      29;
    const int k = static_cast<int>(phase >> 21);
    re += x * cosine(k) >> 24;
    im += x * sine(k) >> 24;
    phase += step;
  }
  re >>= 22;
  im >>= 22;
  return log2_q10(static_cast<uint64_t>(re * re + im * im));
}
