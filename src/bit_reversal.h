// The order in which the transforms' values stand.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// 0 .. 2^bits - 1, each with its bits the other way round.
template <int bits>
constexpr std::array<uint16_t, size_t{1} << bits> bit_reversal() {
  std::array<uint16_t, size_t{1} << bits> reversed = {};
  for (size_t i = 1; i < reversed.size(); ++i)
    reversed[i] = static_cast<uint16_t>(reversed[i / 2] / 2 + i % 2 * (reversed.size() / 2));
  return reversed;
}
