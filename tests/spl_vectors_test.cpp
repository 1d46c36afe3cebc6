#include "spl/vectors.h"

#include <gtest/gtest.h>

#include "support/pcm16.h"
#include "support/signals.h"

TEST(SplEnergy, IsTheExactSum) {
  int scale = -1;
  const short three[] = {3, -4, 0};
  EXPECT_EQ(tekaSpl_Energy16(three, 3, &scale), 25);
  for (int n : {0, 1, 2, 3, 50, 4999})
    for (int v = -32768; v < 32768; v += 331) {
      const int energy = tekaSpl_Energy16(pcm(size_t(n), short(v)).data(), n, &scale);
      ASSERT_TRUE(scale == 0 || (scale > 0 && energy >= 1 << 30)) << "a smaller shift would do";
      ASSERT_EQ(uint64_t(energy), uint64_t(n) * uint64_t(v * v) >> scale);
    }
}

TEST(SplNorms, FillTheType) {
  for (int v = INT16_MIN; v <= INT16_MAX; ++v) {
    const int norm = tekaSpl_Norm16(short(v)), top = v * (1 << norm);
    ASSERT_TRUE(v == 0 ? norm == 0 : top == short(top) && 2 * top != short(2 * top)) << v;
    ASSERT_EQ(tekaSpl_Norm32(v), v == 0 ? 0 : norm + 16) << v;
  }
  const int words[][2] = {{INT32_MAX, 0}, {INT32_MIN, 0}, {-(1 << 30), 1}, {-0x40000001, 0}};
  for (const auto [value, norm] : words) EXPECT_EQ(tekaSpl_Norm32(value), norm) << value;
  for (int bits = 0; bits < 32; ++bits) EXPECT_EQ(tekaSpl_NormU32(1u << bits), 31 - bits);
  EXPECT_EQ(tekaSpl_NormU32(0), 0);
}

// Every root has one interval of values; both of its ends for each of the 65536 roots.
TEST(SplSqrt, IsExact) {
  for (unsigned root = 0; root <= 65535; ++root)
    for (unsigned value : {root * root, root * root + 2 * root})
      ASSERT_EQ(tekaSpl_SqrtFloor(value), int(root));
}
