#include "spl/vectors.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "square_root.h"

namespace {

// 32-bit magnitude without the overflow of -INT32_MIN.
unsigned int magnitude(int value) {
  return value < 0 ? 0u - static_cast<unsigned int>(value) : static_cast<unsigned int>(value);
}

// The largest key(x[i]); a plain loop, which compilers vectorise.
template <typename T, typename Key>
auto largest(const T* x, int n, Key key) {
  if (n < 1) return decltype(key(T{})){};
  auto best = key(x[0]);
  for (int i = 1; i < n; ++i) best = std::max(best, key(x[i]));
  return best;
}

template <typename T, typename Key>
int index_of_largest(const T* x, int n, Key key) {
  if (n < 1) return -1;
  const auto best = largest(x, n, key);
  int i = 0;
  while (key(x[i]) != best) ++i;
  return i;
}

template <typename T>
T smallest(const T* x, int n) {
  return n < 1 ? T{} : *std::min_element(x, x + n);
}

template <typename T>
int index_of_smallest(const T* x, int n) {
  return n < 1 ? -1 : static_cast<int>(std::min_element(x, x + n) - x);
}

template <typename T>
void copy(const T* x, T* out, int n) {
  if (n > 0) std::memmove(out, x, static_cast<size_t>(n) * sizeof(T));
}

constexpr auto kValue = [](auto value) { return value; };

}  // namespace

void tekaSpl_Fill16(short* out, int n, short value) { std::fill_n(out, std::max(n, 0), value); }
void tekaSpl_Fill32(int* out, int n, int value) { std::fill_n(out, std::max(n, 0), value); }

void tekaSpl_Copy16(const short* x, short* out, int n) { copy(x, out, n); }
void tekaSpl_Copy32(const int* x, int* out, int n) { copy(x, out, n); }

short tekaSpl_MaxValue16(const short* x, int n) { return largest(x, n, kValue); }
short tekaSpl_MinValue16(const short* x, int n) { return smallest(x, n); }
int tekaSpl_MaxAbsValue16(const short* x, int n) {
  return static_cast<int>(largest(x, n, magnitude));
}
int tekaSpl_MaxValue32(const int* x, int n) { return largest(x, n, kValue); }
int tekaSpl_MinValue32(const int* x, int n) { return smallest(x, n); }
unsigned int tekaSpl_MaxAbsValue32(const int* x, int n) { return largest(x, n, magnitude); }

int tekaSpl_MaxIndex16(const short* x, int n) { return index_of_largest(x, n, kValue); }
int tekaSpl_MinIndex16(const short* x, int n) { return index_of_smallest(x, n); }
int tekaSpl_MaxAbsIndex16(const short* x, int n) { return index_of_largest(x, n, magnitude); }
int tekaSpl_MaxIndex32(const int* x, int n) { return index_of_largest(x, n, kValue); }
int tekaSpl_MinIndex32(const int* x, int n) { return index_of_smallest(x, n); }
int tekaSpl_MaxAbsIndex32(const int* x, int n) { return index_of_largest(x, n, magnitude); }

// At most 2^31 squares of 2^30 each: the sum stays below 2^62.
int tekaSpl_Energy16(const short* x, int n, int* scale) {
  uint64_t energy = 0;
  for (int i = 0; i < n; ++i) energy += static_cast<uint64_t>(int{x[i]} * x[i]);
  *scale = std::max(static_cast<int>(std::bit_width(energy)) - 31, 0);
  return static_cast<int>(energy >> *scale);
}

int tekaSpl_Norm16(short value) { return value == 0 ? 0 : tekaSpl_Norm32(value) - 16; }

int tekaSpl_Norm32(int value) {
  const unsigned int bits = static_cast<unsigned int>(value < 0 ? ~value : value);
  return value == 0 ? 0 : std::countl_zero(bits) - 1;
}

int tekaSpl_NormU32(unsigned int value) { return value == 0 ? 0 : std::countl_zero(value); }

int tekaSpl_SqrtFloor(unsigned int value) { return static_cast<int>(floor_sqrt(value)); }
