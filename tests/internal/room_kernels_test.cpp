// The variants of the rooms' kernels against the portable ones: the same bits in the outputs, in
// the loops and in all fields.
#include <gtest/gtest.h>

#include <array>

#include "dsp/kernels/allpass.h"
#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/mix.h"
#include "support/delay_lines.h"
#include "support/kernels.h"
#include "support/splits.h"

namespace {

// Any words, full scale, a whisper: what stands in loops and comes in.
samples signal(int n, unsigned seed) {
  return seed % 3 == 0 ? wild(n, seed) : noise(n, seed % 3 == 1 ? kFullScale : 40, seed);
}

template <typename Line>
samples fields(const Line& line, std::initializer_list<int> words) {
  samples all(words);
  all.insert(all.end(), line.buffer, line.buffer + std::max(line.length, 1));
  return all;
}

// Eight combs, any words in their loops; lengths from shortest on.
struct bank {
  std::vector<comb_filter> combs;
  std::array<comber*, 8> list = {};

  bank(int shortest, int feedback, int damp, unsigned seed) {
    for (int k = 0; k < 8; ++k) {
      comber& comb = combs.emplace_back(shortest + 5 * k, feedback, damp);
      const samples words = signal(std::max(comb.length, 1), seed + unsigned(k) / 3);
      std::copy(words.begin(), words.end(), comb.buffer);
      comb.filter_store = words[0];
      comb.index = k < comb.length ? k : 0;
    }
    for (size_t k = 0; k < 8; ++k) list[k] = &combs[k];
  }
};

void expect_same_combs(int shortest, int feedback, int damp, unsigned seed) {
  const samples in[] = {signal(1200, seed), signal(1200, seed + 1)};
  using process = decltype(&comb_quartets_add_24);
  for (const auto& [portable, kernel] :
       {std::pair<process, process>(comb_quartets_add_16_portable, comb_quartets_add_16),
        std::pair<process, process>(comb_quartets_add_24_portable, comb_quartets_add_24)})
    for (size_t sums : {1U, 2U}) {  // one bank of eight, two of four
      bank expected(shortest, feedback, damp, seed), found(shortest, feedback, damp, seed);
      samples sum[2][2] = {{signal(1200, 3), signal(1200, 4)}, {signal(1200, 3), signal(1200, 4)}};
      const auto run = [&](process add, bank& b, samples* out, int at, int n) {
        const comb_quartet two[] = {
            {b.list.data(), in[0].data() + at, out[0].data() + at},
            {b.list.data() + 4, in[sums - 1].data() + at, out[sums - 1].data() + at}};
        add(two, n);
      };
      over_random_splits(1200, 256, seed, [&](int start, int count) {
        for (int n : {0, -1, count}) run(kernel, found, sum[1], start, n);
        run(portable, expected, sum[0], start, count);
      });
      ASSERT_EQ(sum[1][0], sum[0][0]);
      ASSERT_EQ(sum[1][1], sum[0][1]);
      for (size_t k = 0; k < 8; ++k) {
        const comber &a = expected.combs[k], &b = found.combs[k];
        ASSERT_EQ(fields(b, {b.index, b.filter_store}), fields(a, {a.index, a.filter_store}));
      }
    }
}

}  // namespace

// Gains on both sides of what can't saturate, loops longer and shorter than a block.
TEST(RoomKernels, OfEightCombsGiveTheBitsOfThePortableOnes) {
  with_each_kernel([] {
    for (unsigned seed = 0; seed < 9; ++seed)
      for (int feedback : {6945, 8192, 0, 8193, -1, INT32_MIN})
        for (int damp : {1650, 0, 8192, 8193, -1, INT32_MAX}) {
          SCOPED_TRACE(testing::Message() << seed << ' ' << feedback << ' ' << damp);
          const bool common = feedback >= 0 && feedback <= 8192 && damp >= 0 && damp <= 8192;
          expect_same_combs(common ? 260 : 40, feedback, damp, seed);
        }
    for (int shortest : {-40, 0, 1, 7, 8, 100}) expect_same_combs(shortest, 6945, 1650, 1);
  });
}

// The weights needn't add up to 1.0: a caller may have set the fields.
TEST(RoomKernels, OfEightCombsTakeAnyPairOfWeights) {
  with_each_kernel([] {
    for (const auto& [damp1, damp2] : {std::pair(100, 200), std::pair(8192, 1), std::pair(1, 8192),
                                       std::pair(INT32_MAX, 2), std::pair(0, INT32_MAX)}) {
      samples sum[2] = {samples(250), samples(250)};
      const samples in = signal(250, 6);
      bank one(300, 8192, 0, 3), other(300, 8192, 0, 3);
      for (bank* b : {&one, &other})
        for (comb_filter& comb : b->combs) {
          comb.damp1 = damp1;
          comb.damp2 = damp2;
        }
      const auto quartets = [&](bank& b, samples& out) {
        return std::array<comb_quartet, 2>{
            {{b.list.data(), in.data(), out.data()}, {b.list.data() + 4, in.data(), out.data()}}};
      };
      comb_quartets_add_24_portable(quartets(one, sum[0]).data(), 250);
      comb_quartets_add_24(quartets(other, sum[1]).data(), 250);
      ASSERT_EQ(sum[1], sum[0]);
      for (size_t k = 0; k < 8; ++k)
        ASSERT_EQ(fields(other.combs[k], {other.combs[k].filter_store}),
                  fields(one.combs[k], {one.combs[k].filter_store}));
    }
  });
}

TEST(RoomKernels, OfTheAllPassGiveTheBitsOfThePortableOne) {
  with_each_kernel([] {
    for (unsigned seed = 0; seed < 9; ++seed)
      for (int length : {-1, 1, 7, 8, 100, 241, 300})
        for (int feedback : {4096, -4096, INT32_MAX}) {
          allpass_section expected(length, feedback), found(length, feedback);
          const samples words = signal(std::max(length, 1), seed + 1);
          std::copy(words.begin(), words.end(), expected.buffer);
          std::copy(words.begin(), words.end(), found.buffer);
          samples x = signal(1200, seed), y = x;
          over_random_splits(1200, 256, seed, [&](int start, int count) {
            allpass_block_portable(&expected, x.data() + start, count);
            for (int n : {0, -1, count}) allpass_block(&found, y.data() + start, n);
          });
          ASSERT_EQ(y, x) << seed << ' ' << length << ' ' << feedback;
          ASSERT_EQ(fields(found, {found.index}), fields(expected, {expected.index}));
        }
  });
}

TEST(RoomKernels, OfTheMixGiveTheBitsOfThePortableOne) {
  with_each_kernel([] {
    for (unsigned seed = 0; seed < 300; ++seed) {
      const int n = static_cast<int>(seed) - 1;
      const samples a = signal(300, seed), b = signal(300, seed + 1), c = signal(300, seed + 2),
                    gains = seed % 2 ? samples{8190, 4095, 8192} : wild(3, seed);
      const mix_input three[] = {{a.data(), gains[0]}, {b.data(), gains[1]}, {c.data(), gains[2]}};
      samples expected = b, beside = b, in_place = b;
      mix_three_block_portable(three, expected.data(), n);
      mix_three_block(three, beside.data(), n);
      const mix_input itself[] = {three[0], {in_place.data(), gains[1]}, three[2]};
      mix_three_block(itself, in_place.data(), n);
      ASSERT_EQ(beside, expected) << seed;
      ASSERT_EQ(in_place, expected) << seed;
    }
  });
}
