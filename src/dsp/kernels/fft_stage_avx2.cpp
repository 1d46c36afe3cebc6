// The transform's stages on AVX2: two complex values in a vector, real and imaginary parts side by
// side, two butterflies at a time.
//
// A 64-bit value is v = h 2^32 + l with l its low word read as a signed one, and so the low 64 bits
// of v w, w of 32 bits, are l w + (h w << 32): two 32-bit multiplications.
#include <immintrin.h>

#include "dsp/kernels/kernels.h"

namespace {

inline __m256i load(const complex* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void store(complex* p, __m256i x) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), x); }

// Real and imaginary parts change places.
inline __m256i swap_parts(__m256i x) { return _mm256_shuffle_epi32(x, 0x4E); }

// a w1 + b w2
inline __m256i products(__m256i a, __m256i w1, __m256i b, __m256i w2) {
  return _mm256_add_epi64(_mm256_mul_epi32(a, w1), _mm256_mul_epi32(b, w2));
}

// multiply_q28 for both values. Arithmetic shift: an offset of 2^63 makes a logical one of it.
inline __m256i multiply_q28(__m256i b, __m256i w) {
  const __m256i minus_real = _mm256_setr_epi64x(-1, 0, -1, 0);
  const __m256i re = _mm256_unpacklo_epi64(w, w), im = _mm256_unpackhi_epi64(w, w);
  const __m256i cross = _mm256_sub_epi64(_mm256_xor_si256(im, minus_real), minus_real);  // -im, im
  const __m256i high =
      _mm256_srli_epi64(_mm256_add_epi64(b, _mm256_set1_epi64x(int64_t{1} << 31)), 32);
  const __m256i product =
      _mm256_add_epi64(products(b, re, swap_parts(b), cross),
                       _mm256_slli_epi64(products(high, re, swap_parts(high), cross), 32));
  const __m256i lifted = _mm256_xor_si256(product, _mm256_set1_epi64x(INT64_MIN));
  return _mm256_sub_epi64(_mm256_srli_epi64(lifted, 28), _mm256_set1_epi64x(int64_t{1} << 35));
}

}  // namespace

void avx2::fft_stage(complex* data, int n, int half, const complex* twiddles) {
  if (n % 4 != 0 || n % (2 * half) != 0) return portable::fft_stage(data, n, half, twiddles);
  if (half == 1) {  // a and b lie side by side, and all have one twiddle
    const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(twiddles));
    for (complex* a = data; a < data + n; a += 4) {
      const __m256i first = load(a), second = load(a + 2);
      const __m256i x = _mm256_permute2x128_si256(first, second, 0x20);
      const __m256i t = multiply_q28(_mm256_permute2x128_si256(first, second, 0x31),
                                     _mm256_broadcastsi128_si256(w));
      const __m256i sum = _mm256_add_epi64(x, t), difference = _mm256_sub_epi64(x, t);
      store(a, _mm256_permute2x128_si256(sum, difference, 0x20));
      store(a + 2, _mm256_permute2x128_si256(sum, difference, 0x31));
    }
    return;
  }
  for (complex* a = data; a < data + n; a += 2 * half)
    for (int j = 0; j < half; j += 2) {
      const __m256i x = load(a + j), t = multiply_q28(load(a + half + j), load(twiddles + j));
      store(a + j, _mm256_add_epi64(x, t));
      store(a + half + j, _mm256_sub_epi64(x, t));
    }
}
