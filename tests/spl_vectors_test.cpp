#include "spl/vectors.h"

#include <gtest/gtest.h>

#include "support/pcm16.h"
#include "support/signals.h"

TEST(SplVectors, FillsAndCopiesExactlyTheLengthGiven) {
  short small[] = {1, 2, 3, 4};
  int large[] = {1, 2, 3, 4};
  tekaSpl_Fill16(small + 1, 2, -7);
  tekaSpl_Fill32(large + 1, 2, -70000);
  EXPECT_EQ(pcm(small, small + 4), (pcm{1, -7, -7, 4}));
  EXPECT_EQ(samples(large, large + 4), (samples{1, -70000, -70000, 4}));
  tekaSpl_Fill16(small, 0, 9);
  tekaSpl_Fill32(large, -1, 9);
  tekaSpl_Copy16(small, small + 3, -1);
  EXPECT_EQ(small[0], 1);
  EXPECT_EQ(large[0], 1);
  tekaSpl_Copy16(small, small + 1, 3);  // overlapping, forwards
  tekaSpl_Copy32(large + 1, large, 3);  // and backwards
  EXPECT_EQ(pcm(small, small + 4), (pcm{1, 1, -7, -7}));
  EXPECT_EQ(samples(large, large + 4), (samples{-70000, -70000, 4, 4}));
}

TEST(SplVectors, FindExtremesAndTheFirstPlaceOfEach) {
  const short small[] = {5, -9, 12, 12, -32768, 3, -32768, 0};
  EXPECT_EQ(tekaSpl_MaxValue16(small, 8), 12);
  EXPECT_EQ(tekaSpl_MaxIndex16(small, 8), 2);
  EXPECT_EQ(tekaSpl_MinValue16(small, 8), -32768);
  EXPECT_EQ(tekaSpl_MinIndex16(small, 8), 4);
  EXPECT_EQ(tekaSpl_MaxAbsValue16(small, 8), 32768);
  EXPECT_EQ(tekaSpl_MaxAbsIndex16(small, 8), 4);
  EXPECT_EQ(tekaSpl_MaxAbsIndex16(small, 2), 1);

  const int large[] = {-5, -90000, 89999, INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN};
  EXPECT_EQ(tekaSpl_MaxValue32(large, 7), INT32_MAX);
  EXPECT_EQ(tekaSpl_MaxIndex32(large, 7), 3);
  EXPECT_EQ(tekaSpl_MinValue32(large, 7), INT32_MIN);
  EXPECT_EQ(tekaSpl_MinIndex32(large, 7), 4);
  EXPECT_EQ(tekaSpl_MaxAbsValue32(large, 7), 2147483648u);
  EXPECT_EQ(tekaSpl_MaxAbsIndex32(large, 7), 4);
  EXPECT_EQ(tekaSpl_MaxAbsValue32(large, 3), 90000u);
  EXPECT_EQ(tekaSpl_MaxValue32(large, 2), -5) << "nothing but negative values";
}

// At lengths around those of lanes, with the extremes at each place in turn.
TEST(SplVectors, FindAnExtremeWhereverItStands) {
  for (int n = 1; n <= 70; ++n)
    for (int place = 0; place < n; ++place) {
      pcm x = pcm_noise(n, 100, unsigned(n));
      x[size_t(place)] = -101;
      ASSERT_EQ(tekaSpl_MinIndex16(x.data(), n), place);
      ASSERT_EQ(tekaSpl_MaxAbsIndex16(x.data(), n), place);
      ASSERT_EQ(tekaSpl_MaxAbsValue16(x.data(), n), 101);
      x[size_t(place)] = 101;
      ASSERT_EQ(tekaSpl_MaxIndex16(x.data(), n), place);
      ASSERT_EQ(tekaSpl_MaxValue16(x.data(), n), 101);
    }
}

TEST(SplVectors, AnEmptyVectorHasNoExtremes) {
  int scale = 5;
  EXPECT_EQ(tekaSpl_MaxValue16(nullptr, 0), 0);
  EXPECT_EQ(tekaSpl_MinValue16(nullptr, -3), 0);
  EXPECT_EQ(tekaSpl_MaxAbsValue32(nullptr, 0), 0u);
  EXPECT_EQ(tekaSpl_MaxIndex16(nullptr, 0), -1);
  EXPECT_EQ(tekaSpl_MinIndex32(nullptr, 0), -1);
  EXPECT_EQ(tekaSpl_MaxAbsIndex32(nullptr, -1), -1);
  EXPECT_EQ(tekaSpl_Energy16(nullptr, 0, &scale), 0);
  EXPECT_EQ(scale, 0);
}

TEST(SplEnergy, IsTheExactSumUnderTheSmallestShiftThatFits) {
  int scale = -1;
  const short three[] = {3, -4, 0};
  EXPECT_EQ(tekaSpl_Energy16(three, 3, &scale), 25);
  EXPECT_EQ(scale, 0);
  const pcm rails(4, -32768);  // 2^30 each
  EXPECT_EQ(tekaSpl_Energy16(rails.data(), 1, &scale), 1 << 30);
  EXPECT_EQ(scale, 0);
  EXPECT_EQ(tekaSpl_Energy16(rails.data(), 2, &scale), 1 << 30) << "2^31 does not fit";
  EXPECT_EQ(scale, 1);
  EXPECT_EQ(tekaSpl_Energy16(rails.data(), 3, &scale), 3 << 29);
  EXPECT_EQ(scale, 1);
  for (unsigned seed = 0; seed < 300; ++seed) {
    const int n = 1 + int(seed * seed % 5000), amplitude = 1 + int(seed * 7919 % 32767);
    const pcm x = pcm_noise(n, amplitude, seed);
    uint64_t sum = 0;
    for (int v : x) sum += uint64_t(int64_t{v} * v);
    const int energy = tekaSpl_Energy16(x.data(), n, &scale);
    ASSERT_EQ(uint64_t(energy), sum >> scale);
    ASSERT_TRUE(scale == 0 || energy >= 1 << 30) << "a smaller shift would do";
  }
}

TEST(SplNorms, ShiftAValueToTheTopOfItsTypeAndNoFurther) {
  for (int v = INT16_MIN; v <= INT16_MAX; ++v) {
    if (v == 0) continue;
    const int norm = tekaSpl_Norm16(short(v)), top = v * (1 << norm);
    ASSERT_TRUE(top >= INT16_MIN && top <= INT16_MAX) << v;
    ASSERT_TRUE(norm == 15 || top * 2 < INT16_MIN || top * 2 > INT16_MAX) << v;
  }
  const struct {
    int value, norm;
  } words[] = {{0, 0},          {1, 30},         {-1, 31},        {2, 29},
               {-2, 30},        {INT32_MAX, 0},  {INT32_MIN, 0},  {1 << 30, 0},
               {-(1 << 30), 1}, {0x3FFFFFFF, 1}, {-0x40000001, 0}};
  for (const auto [value, norm] : words) EXPECT_EQ(tekaSpl_Norm32(value), norm) << value;
  EXPECT_EQ(tekaSpl_Norm16(0), 0);
  EXPECT_EQ(tekaSpl_NormU32(0), 0);
  EXPECT_EQ(tekaSpl_NormU32(1), 31);
  EXPECT_EQ(tekaSpl_NormU32(0x7FFFFFFF), 1);
  EXPECT_EQ(tekaSpl_NormU32(0xFFFFFFFF), 0);
}

// Every root has one interval of values; both of its ends for each of the 65536 roots, and values
// at random in between.
TEST(SplSqrt, IsExactOverTheFullUnsignedRange) {
  std::mt19937 generator(3);
  for (uint64_t root = 0; root <= 65535; ++root) {
    const uint64_t first = root * root, last = first + 2 * root;
    ASSERT_EQ(tekaSpl_SqrtFloor(unsigned(first)), int(root));
    ASSERT_EQ(tekaSpl_SqrtFloor(unsigned(last)), int(root));
    const uint64_t between = first + generator() % (2 * root + 1);
    ASSERT_EQ(tekaSpl_SqrtFloor(unsigned(between)), int(root));
  }
}
