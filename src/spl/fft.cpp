#include "spl/fft.h"

#include <algorithm>
#include <cstdint>

#include "bit_reversal.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"

namespace {

constexpr int kMostStages = 10;
constexpr int kMostPoints = 1 << kMostStages;

// sin(2 pi k / 1024), Q15, k = 0..767; the cosine starts at 256: tools/make_spl_fft_tables.py.
constexpr int kSine[] = {
#include "spl/fft_tables.inc"
};
constexpr const int* kCosine = kSine + kMostPoints / 4;

// Factors of the stages of each span from 1 to 512: e^(-pi i j / span) stands at span + j.
struct factor_tables {
  int cosines[kMostPoints], sines[kMostPoints];
};
constexpr factor_tables kFactors = [] {
  factor_tables t = {};
  for (int span = 1; span < kMostPoints; span *= 2)
    for (int j = 0; j < span; ++j) {
      t.cosines[span + j] = kCosine[j * (kMostPoints / 2 / span)];
      t.sines[span + j] = kSine[j * (kMostPoints / 2 / span)];
    }
  return t;
}();

// The same for the first stages, by groups: those of j = 0, 1/2, 1/4, 3/4 of a span.
constexpr int kEarlyStages = 3;
constexpr int kEarlyCosines[] = {kCosine[0], kCosine[256], kCosine[128], kCosine[384]};
constexpr int kEarlySines[] = {kSine[0], kSine[256], kSine[128], kSine[384]};

// The words of N pairs in 32 bits, real and imaginary parts apart.
struct planes {
  int words[2 * kMostPoints];
  int points, stages;

  explicit planes(int log2) : points(1 << log2), stages(log2) {}
  int* re() { return words; }
  int* im() { return words + points; }
};

constexpr auto kMirrored = bit_reversal<kMostStages>();

// Words in groups of so many change places with those at the reversed index.
template <int group, typename Word>
void reverse_bits(Word* x, int stages) {
  for (int k = 0; k < 1 << stages; ++k) {
    const int mirrored = kMirrored[k] >> (kMostStages - stages);
    if (k < mirrored) std::swap_ranges(x + group * k, x + group * (k + 1), x + group * mirrored);
  }
}

// All stages; shift_of() says by how much the next one scales down. An inverse transform is the
// forward one with real and imaginary parts exchanged.
//
//   a ──────┬──► + ──► a'       w = e^(-2 pi i j / (2 span)), Q15
//   b ─ ×w ─┴──► − ──► b'
//
// Pairs of the first stages lie close together in reversed order, and far apart in natural order. So
// those stages come before the reversal: all run over long rows.
template <typename Shift>
void transform(int* re, int* im, int stages, Shift shift_of) {
  const int points = 1 << stages, early = std::min(stages, kEarlyStages);
  for (int stage = 0; stage < early; ++stage)
    kernels().butterflies_q15(
        re, im, {points, points >> (stage + 1), kEarlyCosines, kEarlySines, true, shift_of()});
  reverse_bits<1>(re, stages);
  reverse_bits<1>(im, stages);
  for (int span = 1 << early; span < points; span *= 2)
    kernels().butterflies_q15(
        re, im, {points, span, kFactors.cosines + span, kFactors.sines + span, false, shift_of()});
}

void forward(planes& data) {
  transform(data.re(), data.im(), data.stages, [] { return 1; });
}

// A stage's results reach at most 1 + sqrt(2) times the largest word. Up to 13572 that
// fits as it is, up to 27144 halved once.
int inverse(planes& data) {
  int scale = 0;
  transform(data.im(), data.re(), data.stages, [&] {
    const int peak = kernels().peak(data.words, 2 * data.points);
    const int shift = peak <= 13572 ? 0 : peak <= 27144 ? 1 : 2;
    scale += shift;
    return shift;
  });
  return scale;
}

void load(const short* pairs, planes& data) {
  for (int k = 0; k < data.points; ++k) {
    data.re()[k] = pairs[2 * k];
    data.im()[k] = pairs[2 * k + 1];
  }
}
void store(planes& data, short* pairs, int n) {
  for (int k = 0; k < n; ++k) {
    pairs[2 * k] = static_cast<short>(data.re()[k]);
    pairs[2 * k + 1] = static_cast<short>(data.im()[k]);
  }
}

bool allowed(int stages) { return stages >= 1 && stages <= kMostStages; }

}  // namespace

int tekaSpl_ComplexBitReverse(short* data, int stages) {
  if (!allowed(stages)) return -1;
  reverse_bits<2>(data, stages);
  return 0;
}

int tekaSpl_ComplexFft(short* data, int stages) {
  if (!allowed(stages)) return -1;
  planes words(stages);
  load(data, words);
  forward(words);
  store(words, data, words.points);
  return 0;
}

int tekaSpl_ComplexInverseFft(short* data, int stages) {
  if (!allowed(stages)) return -1;
  planes words(stages);
  load(data, words);
  const int scale = inverse(words);
  store(words, data, words.points);
  return scale;
}

// A complex transform with imaginary parts of 0: twice the work of packing even and odd samples
// into one pair, but no intermediate word exceeds the largest sample.
int tekaSpl_RealFft(const short* x, short* bins, int stages) {
  if (!allowed(stages)) return -1;
  planes data(stages);
  std::copy_n(x, data.points, data.re());
  std::fill_n(data.im(), data.points, 0);
  forward(data);
  store(data, bins, data.points / 2 + 1);
  bins[1] = bins[data.points + 1] = 0;
  return 0;
}

int tekaSpl_RealInverseFft(const short* bins, short* x, int stages) {
  if (!allowed(stages)) return -1;
  planes data(stages);
  int *const re = data.re(), *const im = data.im(), half = data.points / 2;
  for (int k = 0; k <= half; ++k) {
    re[k] = bins[2 * k];
    im[k] = bins[2 * k + 1];
  }
  im[0] = im[half] = 0;
  for (int k = 1; k < half; ++k) {  // the upper half mirrors the lower
    re[data.points - k] = re[k];
    im[data.points - k] = saturate16(-im[k]);
  }
  const int scale = inverse(data);
  for (int n = 0; n < data.points; ++n) x[n] = static_cast<short>(re[n]);
  return scale;
}
