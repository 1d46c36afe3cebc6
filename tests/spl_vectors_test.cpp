#include "spl/vectors.h"

#include <gtest/gtest.h>

#include "support/pcm16.h"
#include "support/signals.h"

TEST(SplVectors, FillsAndCopiesExactlyTheLengthGiven) {
  pcm small = {1, 2, 3, 4};
  samples large = {1, 2, 3, 4};
  for (int n : {2, 0, -1}) {
    tekaSpl_Fill16(&small[1], n, short(-5 - n));
    tekaSpl_Fill32(&large[1], n, -70000 - n);
  }
  tekaSpl_Copy16(&small[0], &small[3], -1);
  tekaSpl_Copy16(&small[0], &small[1], 2);  // overlapping, forwards
  tekaSpl_Copy32(&large[1], &large[0], 2);  // and backwards
  EXPECT_EQ(small, (pcm{1, 1, -7, 4}));
  EXPECT_EQ(large, (samples{-70002, -70002, -70002, 4}));
}

TEST(SplVectors, FindExtremesAndTheFirstPlaceOfEach) {
  const short s[] = {5, -9, 12, 12, -32768, 3, -32768, 0};
  const int x[] = {-5, -90000, 89999, INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN};
  EXPECT_EQ((samples{tekaSpl_MinValue16(s, 8), tekaSpl_MaxAbsValue16(s, 8),
                     tekaSpl_MaxValue32(x, 7), tekaSpl_MinValue32(x, 7), tekaSpl_MaxValue32(x, 2)}),
            (samples{-32768, 32768, INT32_MAX, INT32_MIN, -5}));
  EXPECT_EQ(tekaSpl_MaxAbsValue32(x, 7), 2147483648u);
  EXPECT_EQ(
      (samples{tekaSpl_MaxIndex16(s, 8), tekaSpl_MinIndex16(s, 8), tekaSpl_MaxAbsIndex16(s, 8),
               tekaSpl_MaxIndex32(x, 7), tekaSpl_MinIndex32(x, 7), tekaSpl_MaxAbsIndex32(x, 7)}),
      (samples{2, 4, 4, 3, 4, 4}));
  EXPECT_EQ((samples{tekaSpl_MaxValue16(s, 0), tekaSpl_MinValue16(s, 0), tekaSpl_MaxIndex16(s, 0),
                     tekaSpl_MinIndex32(x, 0), tekaSpl_MaxAbsIndex32(x, -1)}),
            (samples{0, 0, -1, -1, -1}));
}

// At lengths around those of lanes, with the extremes at each place in turn.
TEST(SplVectors, FindAnExtremeWhereverItStands) {
  for (int n = 1; n <= 70; ++n)
    for (int place = 0; place < n; ++place) {
      pcm x = pcm_noise(n, 100, unsigned(n));
      x[size_t(place)] = -101;
      ASSERT_EQ(tekaSpl_MinIndex16(x.data(), n), place);
      ASSERT_EQ(tekaSpl_MaxAbsIndex16(x.data(), n), place);
      x[size_t(place)] = 101;
      ASSERT_EQ(tekaSpl_MaxIndex16(x.data(), n), place);
    }
}

TEST(SplEnergy, IsTheExactSumUnderTheSmallestShiftThatFits) {
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

TEST(SplNorms, ShiftAValueToTheTopOfItsTypeAndNoFurther) {
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
TEST(SplSqrt, IsExactOverTheFullUnsignedRange) {
  for (unsigned root = 0; root <= 65535; ++root)
    for (unsigned value : {root * root, root * root + 2 * root})
      ASSERT_EQ(tekaSpl_SqrtFloor(value), int(root));
}
