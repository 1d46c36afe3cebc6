// The variants of the voice path's kernels against the portable ones, and two channels in one pass
// against one after the other: the same bits.
#include <gtest/gtest.h>

#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/fft_stage.h"
#include "dsp/kernels/fir.h"
#include "dsp/kernels/iircomber.h"
#include "dsp/kernels/mix.h"
#include "dsp/kernels/notch.h"
#include "dsp/kernels/scale.h"
#include "dsp/kernels/shape.h"
#include "support/delay_lines.h"
#include "support/kernels.h"
#include "support/splits.h"

namespace {

constexpr int kLongest = 260;

samples signal(int n, unsigned seed) {
  return seed % 3 == 0 ? wild(n, seed) : noise(n, seed % 3 == 1 ? kFullScale : 40, seed);
}

// 64-bit words of any size.
int64_t wild_64(std::mt19937_64& generator) {
  const int64_t word = static_cast<int64_t>(generator());
  return word >> (generator() % 64);
}

// check(seed, n) with each variant for lengths from -1 to beyond a block.
template <typename Check>
void with_kernels_and_lengths(Check check) {
  with_each_kernel([=] {
    for (unsigned seed = 0; seed < 3 * kLongest; ++seed) {
      SCOPED_TRACE(seed);
      check(seed, static_cast<int>(seed % kLongest) - 1);
      if (testing::Test::HasFatalFailure()) return;
    }
  });
}

}  // namespace

TEST(KaraokeKernels, OfMixShapeAndScalingGiveTheBitsOfThePortableOnes) {
  with_kernels_and_lengths([](unsigned seed, int n) {
    const samples a = signal(kLongest, seed), b = signal(kLongest, seed + 1), gains = wild(2, seed);
    const mix_input two[] = {{a.data(), gains[0]}, {b.data(), gains[1]}};
    for (int count : {0, 1, 2}) {
      samples expected = a, found = a;
      mix_wrapping_block_portable(two, count, expected.data(), n);
      const mix_input itself[] = {{found.data(), gains[0]}, two[1]};
      mix_wrapping_block(itself, count, found.data(), n);
      ASSERT_EQ(found, expected) << count;
    }
    samples expected = a, found = a;
    shape_block_portable(a.data(), expected.data(), n);
    shape_block(found.data(), found.data(), n);
    ASSERT_EQ(found, expected);

    std::mt19937_64 generator(seed);
    std::vector<int64_t> wide(kLongest);
    for (int64_t& x : wide) x = wild_64(generator);
    scale_down_5_block_portable(wide.data(), expected.data(), n);
    scale_down_5_block(wide.data(), found.data(), n);
    ASSERT_EQ(found, expected);
  });
}

// All inputs around the limits of the overdrive's pieces, and where doubling wraps.
TEST(KaraokeKernels, OfTheShapeMeetThePortableOneAtTheLimitsOfItsPieces) {
  samples x;
  for (int64_t limit : {0, 1398100, 2796202, 4194304, 1 << 30, INT32_MAX})
    for (int64_t sign : {-1, 1})
      for (int64_t d = -300; d <= 300; ++d) x.push_back(wrap32(sign * limit + d));
  samples expected(x.size()), found(x.size());
  shape_block_portable(x.data(), expected.data(), static_cast<int>(x.size()));
  with_each_kernel([&] {
    shape_block(x.data(), found.data(), static_cast<int>(x.size()));
    EXPECT_EQ(found, expected);
  });
}

TEST(KaraokeKernels, OfTheSumsOverTimeGiveTheBitsOfThePortableOne) {
  with_kernels_and_lengths([](unsigned seed, int n) {
    const samples x = signal(kLongest + 6, seed), c = wild(7, seed + 1);
    for (int taps : {1, 2, 7}) {
      std::vector<int64_t> expected(kLongest, 1), found(kLongest, 1);
      fir_sums_block_portable(x.data() + 6, c.data(), taps, expected.data(), n);
      fir_sums_block(x.data() + 6, c.data(), taps, found.data(), n);
      ASSERT_EQ(found, expected) << taps;
    }
  });
}

// Against the fade's words: depth moves first, and neither depth nor step needs to be in range.
TEST(KaraokeKernels, OfTheFadeFollowItsDefinition) {
  with_kernels_and_lengths([](unsigned seed, int n) {
    const samples other = signal(kLongest, seed + 1);
    for (int depth : {0, 524288, 1048576, 1048676, -5, INT32_MAX})
      for (int step : {0, 2048, -2048, 1 << 20, -4321, INT32_MIN}) {
        samples expected = signal(kLongest, seed), found = expected;
        fade f = {depth, step};
        fade_block(&f, other.data(), found.data(), n);
        int64_t share = depth;
        for (int i = 0; i < n; ++i) {
          share = std::clamp<int64_t>(share + step, 0, 1 << 20);
          int& x = expected[size_t(i)];
          x = saturate32(x + ((int64_t{other[size_t(i)]} - x) * share >> 20));
        }
        ASSERT_EQ(found, expected) << depth << ' ' << step;
        ASSERT_TRUE(f.depth == share && f.step == step) << depth << ' ' << step;
      }
  });
}

// Notches as the canceller sets them, with outputs and states of more than 32 bits, and of which
// some can't run in lanes.
TEST(KaraokeKernels, OfNotchesInARowGiveTheBitsOfThePortableOnes) {
  using filters = std::vector<owned<notch, notch_end>>;
  constexpr int kRadius[] = {7168, 8190, 8000, 46340, 46341, INT32_MAX};
  with_kernels_and_lengths([&](unsigned seed, int n) {
    std::mt19937_64 generator(seed);
    const size_t count = seed % 7;
    filters sets[2];
    std::vector<notch_share> rows[2];
    for (size_t k = 0; k < count; ++k) {
      const int radius = kRadius[generator() % (seed % 4 == 0 ? 6 : 3)];
      const int freq = static_cast<int>(generator()) >> (seed % 5 == 0 ? 0 : 3);
      const int depth = static_cast<int>(generator() % (kFadeFull + 1));
      const int step = static_cast<int>(generator() % 8192) - 4096;
      for (filters& set : sets) set.emplace_back(notch_init, radius, freq);
      for (int word = 0; word < 5; ++word) {
        int64_t value = wild_64(generator);
        if (word < 2 && seed % 8 != 0) value = static_cast<int>(value);
        for (filters& set : sets) set[k].state[word] = value;
      }
      for (auto& row : rows) row.push_back({nullptr, {depth, step}});
    }
    for (size_t s : {0U, 1U})
      for (size_t k = 0; k < count; ++k) rows[s][k].filter = &sets[s][k];
    samples expected = signal(kLongest, seed), found = expected;
    notch_row_block_portable(rows[0].data(), static_cast<int>(count), expected.data(), n);
    notch_row_block(rows[1].data(), static_cast<int>(count), found.data(), n);
    ASSERT_EQ(found, expected);
    for (size_t k = 0; k < count; ++k) {
      ASSERT_EQ(rows[1][k].share.depth, rows[0][k].share.depth);
      ASSERT_TRUE(std::equal(sets[0][k].state, sets[0][k].state + 5, sets[1][k].state)) << k;
    }
  });
}

TEST(KaraokeKernels, OfTheTransformGiveTheBitsOfThePortableOne) {
  with_each_kernel([] {
    std::mt19937_64 generator(3);
    for (int n : {256, 128, 100, 12, 6, 4, 3, 1, 0})
      for (int half = 1; half <= 128; half *= 2) {
        std::vector<complex> expected(size_t(std::max(n, 256)) + 256), twiddles(128);
        for (complex& x : expected) x = {wild_64(generator), wild_64(generator)};
        for (complex& w : twiddles)
          w = {static_cast<int>(generator()) >> 2, static_cast<int>(generator()) >> 2};
        std::vector<complex> found = expected;
        fft_stage_portable(expected.data(), n, half, twiddles.data());
        fft_stage(found.data(), n, half, twiddles.data());
        for (size_t i = 0; i < found.size(); ++i)
          ASSERT_TRUE(found[i].re == expected[i].re && found[i].im == expected[i].im)
              << n << ' ' << half << ' ' << i;
      }
  });
}

// Over random splits, with loops that wrap at different places, or are short.
TEST(KaraokeKernels, OfTwoChannelsGiveTheBitsOfOneAfterTheOther) {
  for (unsigned seed = 0; seed < 12; ++seed) {
    samples expected[2] = {signal(2000, seed), signal(2000, seed + 1)};
    samples found[2] = {expected[0], expected[1]};
    const int length = seed % 2 ? 1 << seed : 300;
    echo_comb single[] = {echo_comb(2100, length, 5000), echo_comb(2100, length + 24, -6000)};
    echo_comb twin[] = {echo_comb(2100, length, 5000), echo_comb(2100, length + 24, -6000)};
    using blocker = owned<dc_remove, dc_remove_end>;
    blocker one[] = {blocker(dc_remove_init), blocker(dc_remove_init)};
    blocker other[] = {blocker(dc_remove_init), blocker(dc_remove_init)};
    for (size_t c : {0U, 1U}) {
      iircomber_block(&single[c], expected[c].data(), 2000);
      (seed < 6 ? dc_remove_block_16 : dc_remove_block_24)(&one[c], expected[c].data(),
                                                           expected[c].data(), 2000);
    }
    over_random_splits(2000, 300, seed, [&](int start, int count) {
      int *left = found[0].data() + start, *right = found[1].data() + start;
      const iircomber_channel loops[] = {{&twin[0], left}, {&twin[1], right}};
      const dc_remove_channel channels[] = {{&other[0], left, left}, {&other[1], right, right}};
      for (int n : {0, -1, count}) {
        iircomber_two_block(loops, n);
        (seed < 6 ? dc_remove_two_16 : dc_remove_two_24)(channels, n);
      }
    });
    ASSERT_EQ(found[0], expected[0]) << seed;
    ASSERT_EQ(found[1], expected[1]) << seed;
  }
}
