// Chains of sections side by side: every variant against the portable one, outputs and states.
#include <gtest/gtest.h>

#include <memory>

#include "dsp/block.h"
#include "dsp/kernels/iir_chains.h"
#include "support/kernels.h"
#include "support/signals.h"

namespace {

using chains_function = void(const iir_chain*, int, int);

// Chains with their sections and buffers, made from a seed.
struct chain_bank {
  std::vector<int> counts;
  std::vector<std::unique_ptr<int[]>> words;  // per section: 5 coefficients, 5 words of state
  std::vector<IIR> sections;
  std::vector<IIR*> pointers;
  std::vector<samples> buffers;

  chain_bank(const std::vector<int>& chain_counts, const std::vector<samples>& sets, unsigned seed)
      : counts(chain_counts) {
    std::mt19937 generator(seed);
    for (int count : counts) {
      for (int k = 0; k < count; ++k) {
        const samples& set = sets[generator() % sets.size()];
        const samples state = wild(5, generator());
        words.push_back(std::make_unique<int[]>(10));
        std::copy_n(set.data(), 5, words.back().get());
        // What follows another section needn't be what that one gave: a caller may set any state.
        std::copy_n(state.data(), 5, words.back().get() + 5);
        sections.push_back({words.back().get(), words.back().get() + 5});
      }
      buffers.emplace_back(kBlockFrames, 0x5A5A5A5A);
    }
    for (IIR& section : sections) pointers.push_back(&section);
  }

  // n samples; all chains read in, or in place when in is null.
  void run(chains_function* process, const samples* in, int n) {
    std::vector<iir_chain> chains;
    size_t first = 0;
    for (size_t c = 0; c < counts.size(); ++c) {
      int* const out = buffers[c].data();
      chains.push_back({in ? in->data() : out, out, pointers.data() + first, counts[c]});
      first += static_cast<size_t>(counts[c]);
    }
    process(chains.data(), static_cast<int>(chains.size()), n);
  }

  samples everything() const {
    samples all;
    for (const auto& w : words) all.insert(all.end(), w.get(), w.get() + 10);
    for (const samples& b : buffers) all.insert(all.end(), b.begin(), b.end());
    return all;
  }
};

constexpr int kOne = 1 << 28;

// Filters that ring, at the edge of stability, and not filters at all.
const std::vector<samples> kSound = {{279000000, -500000000, 230000000, 520000000, -258000000},
                                     {274667, 549335, 274667, 512041066, -244704283},
                                     {kOne, 0, 0, 0, 0},
                                     {216485068, -482129724, 268435455, 482129724, -216485068}};
const std::vector<samples> kWild = {{INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN},
                                    samples(5, INT32_MIN),
                                    samples(5, INT32_MAX),
                                    samples(5, -1),
                                    wild(5, 77),
                                    wild(5, 78),
                                    {kOne, 0, 0, 2 * kOne - 1, -kOne},
                                    {-kOne, 0, 0, 0, 0}};

// As the modules have them, and around the columns' and rows' edges.
const std::vector<std::vector<int>> kShapes = {
    {10, 10},           {10},      {2, 2, 2, 2}, {2, 2},    {3, 3}, {1, 1, 1, 1},
    {1, 1, 1, 1, 1, 1}, {1, 1},    {1, 9},       {20},      {21},   {5, 6, 3},
    {6, 6, 6},          {7, 1, 4}, {4, 8},       {3, 0, 3}, {0},    {9, 9, 9, 9, 9},
    {19, 20, 1},        {2, 1, 2}};

void expect_same(chains_function* process, chains_function* portable) {
  with_each_kernel([&] {
    unsigned seed = 1;
    for (const auto& shape : kShapes) {
      for (const auto* sets : {&kSound, &kWild}) {
        chain_bank bank(shape, *sets, ++seed), expected(shape, *sets, seed);
        for (int n : {256, 0, 1, 240, 8, -1, 7, 9, 20, 64, 255}) {
          // Any words, full scale, a whisper, silence; beside and in place.
          for (const samples& in : {wild(256, ++seed), noise(256, kFullScale, seed),
                                    noise(256, 2, seed), samples(256)}) {
            bank.run(process, &in, n);
            expected.run(portable, &in, n);
          }
          bank.run(process, nullptr, n);
          expected.run(portable, nullptr, n);
          ASSERT_EQ(bank.everything(), expected.everything())
              << testing::PrintToString(shape) << ", n " << n;
        }
      }
    }
  });
}

}  // namespace

TEST(IirChains, SaturatingSectionsGiveTheSameBitsInLanes) {
  expect_same(iir_chains_32, iir_chains_32_portable);
}

TEST(IirChains, WrappingSectionsGiveTheSameBitsInLanes) {
  expect_same(iir_chains_wrapping, iir_chains_wrapping_portable);
}

TEST(IirChains, AChainMayWriteOverTheInputOfOneBeforeIt) {
  with_each_kernel([] {
    chain_bank bank({2, 2}, kSound, 3), expected({2, 2}, kSound, 3);
    const samples in = noise(240, kFullScale, 5);
    samples low(240), high = in;
    const iir_chain shared[] = {{high.data(), low.data(), &bank.pointers[0], 2},
                                {high.data(), high.data(), &bank.pointers[2], 2}};
    iir_chains_32(shared, 2, 240);
    expected.run(iir_chains_32_portable, &in, 240);
    for (size_t i = 0; i < 240; ++i) {
      ASSERT_EQ(low[i], expected.buffers[0][i]);
      ASSERT_EQ(high[i], expected.buffers[1][i]);
    }
  });
}
