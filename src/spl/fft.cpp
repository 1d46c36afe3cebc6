#include "spl/fft.h"

#include <algorithm>
#include <cstdint>

#include "fixed.h"
#include "spl/vectors.h"

namespace {

constexpr int kMostStages = 10;
constexpr int kMostPoints = 1 << kMostStages;

// sin(2 pi k / 1024), Q15, k = 0..767; the cosine starts at 256: tools/make_spl_fft_tables.py.
constexpr int kSine[] = {
#include "spl/fft_tables.inc"
};
constexpr const int* kCosine = kSine + kMostPoints / 4;

// q15 / 2^(15 + shift), rounded, saturated: a butterfly's one rounding.
inline short rounded(int64_t q15, int shift) {
  const int64_t value = (q15 + (int64_t{1} << (14 + shift))) >> (15 + shift);
  return saturate16(static_cast<int>(value));
}

// One stage: butterflies of the pairs k and k + span within groups of 2 span, both results divided
// by 2^shift.
//
//   a ──────┬──► + ──► a'       w = e^(-+ 2 pi i j / (2 span)), Q15; sign = +1 forward, -1 inverse
//   b ─ ×w ─┴──► − ──► b'
void butterfly_stage(short* data, int points, int span, int sign, int shift) {
  const int step = kMostPoints / (2 * span);
  for (int j = 0; j < span; ++j) {
    const int64_t cosine = kCosine[j * step], sine = sign * kSine[j * step];
    for (int k = j; k < points; k += 2 * span) {
      short* a = data + 2 * k;
      short* b = a + 2 * span;
      const int64_t real = cosine * b[0] + sine * b[1];
      const int64_t imaginary = cosine * b[1] - sine * b[0];
      const int64_t a_real = int64_t{a[0]} * 32768, a_imaginary = int64_t{a[1]} * 32768;
      a[0] = rounded(a_real + real, shift);
      a[1] = rounded(a_imaginary + imaginary, shift);
      b[0] = rounded(a_real - real, shift);
      b[1] = rounded(a_imaginary - imaginary, shift);
    }
  }
}

void bit_reverse(short* data, int stages) {
  const int points = 1 << stages;
  for (int k = 1, mirrored = 0; k < points; ++k) {
    // mirrored + 1 in reversed binary: the carry goes to lower bits.
    int bit = points >> 1;
    for (; mirrored & bit; bit >>= 1) mirrored ^= bit;
    mirrored ^= bit;
    if (k < mirrored) std::swap_ranges(data + 2 * k, data + 2 * k + 2, data + 2 * mirrored);
  }
}

void forward(short* data, int stages) {
  bit_reverse(data, stages);
  for (int span = 1; span < 1 << stages; span *= 2) butterfly_stage(data, 1 << stages, span, +1, 1);
}

// A stage's results reach at most 1 + sqrt(2) times the largest word. Up to 13572 that
// fits as it is, up to 27144 halved once.
int inverse(short* data, int stages) {
  int scale = 0;
  bit_reverse(data, stages);
  for (int span = 1; span < 1 << stages; span *= 2) {
    const int peak = tekaSpl_MaxAbsValue16(data, 2 << stages);
    const int shift = peak <= 13572 ? 0 : peak <= 27144 ? 1 : 2;
    butterfly_stage(data, 1 << stages, span, -1, shift);
    scale += shift;
  }
  return scale;
}

bool allowed(int stages) { return stages >= 1 && stages <= kMostStages; }

}  // namespace

int tekaSpl_ComplexBitReverse(short* data, int stages) {
  if (!allowed(stages)) return -1;
  bit_reverse(data, stages);
  return 0;
}

int tekaSpl_ComplexFft(short* data, int stages) {
  if (!allowed(stages)) return -1;
  forward(data, stages);
  return 0;
}

int tekaSpl_ComplexInverseFft(short* data, int stages) {
  return allowed(stages) ? inverse(data, stages) : -1;
}

// A complex transform with imaginary parts of 0: twice the work of packing even and odd samples
// into one pair, but no intermediate word exceeds the largest sample.
int tekaSpl_RealFft(const short* x, short* bins, int stages) {
  if (!allowed(stages)) return -1;
  const int points = 1 << stages;
  short data[2 * kMostPoints];
  for (int n = 0; n < points; ++n) {
    data[2 * n] = x[n];
    data[2 * n + 1] = 0;
  }
  forward(data, stages);
  tekaSpl_Copy16(data, bins, points + 2);
  bins[1] = bins[points + 1] = 0;
  return 0;
}

int tekaSpl_RealInverseFft(const short* bins, short* x, int stages) {
  if (!allowed(stages)) return -1;
  const int points = 1 << stages;
  short data[2 * kMostPoints];
  tekaSpl_Copy16(bins, data, points + 2);
  data[1] = data[points + 1] = 0;
  for (int k = 1; k < points / 2; ++k) {  // the upper half mirrors the lower
    data[2 * (points - k)] = bins[2 * k];
    data[2 * (points - k) + 1] = saturate16(-bins[2 * k + 1]);
  }
  const int scale = inverse(data, stages);
  for (int n = 0; n < points; ++n) x[n] = data[2 * n];
  return scale;
}
