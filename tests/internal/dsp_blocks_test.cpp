// The block kernels against the one-sample functions of the interface: the same bits over any
// split, in place and beside, at the rails and down to silence.
#include <gtest/gtest.h>

#include "dsp/block.h"
#include "dsp/kernels/allpass.h"
#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/comber.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/iir.h"
#include "dsp/kernels/iircomber.h"
#include "dsp/kernels/notch.h"
#include "support/delay_lines.h"
#include "support/splits.h"

namespace {

// Any words, then full-scale noise, then a whisper, then nothing.
samples test_signal(unsigned seed) {
  samples x = wild(1500, seed);
  for (const samples& part : {noise(1500, kFullScale, seed), noise(500, 3, seed), samples(1500)})
    x.insert(x.end(), part.begin(), part.end());
  return x;
}

// Runs one object sample by sample and two others, made alike, in random blocks, one of them in
// place; blocks of 0 and of fewer samples change nothing in between. What the state holds at the
// end shows in a last stretch sample by sample.
//   make() -> Object; one(Object*, int) -> int; block(Object*, const int* in, int* out, int n)
template <typename Make, typename One, typename Block>
void expect_same_bits(Make make, One one, Block block) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    const samples x = test_signal(seed);
    auto single = make(), beside = make(), in_place = make();
    samples expected, y(x.size()), z = x;
    for (int v : x) expected.push_back(one(&single, v));
    over_random_splits(int(x.size()), seed % 2 ? 300 : 7, seed, [&](int start, int count) {
      for (int n : {0, -1, INT32_MIN, count}) {
        block(&beside, x.data() + start, y.data() + start, n);
        block(&in_place, z.data() + start, z.data() + start, n);
      }
    });
    ASSERT_EQ(y, expected) << seed;
    ASSERT_EQ(z, expected) << seed;
    for (int v : noise(300, kFullScale, seed)) {
      const int last = one(&single, v);
      ASSERT_EQ(one(&beside, v), last);
      ASSERT_EQ(one(&in_place, v), last);
    }
  }
}

// A process function of the interface as one(), and a kernel that works in place as block().
template <typename Object, typename Process>
auto one_by(Process process) {
  return [=](Object* object, int x) {
    process(object, &x, &x);
    return x;
  };
}
template <typename Object>
auto in_place_by(void (*kernel)(Object*, int*, int)) {
  return [=](Object* object, const int* in, int* out, int n) {
    if (in != out && n > 0) std::copy_n(in, n, out);
    kernel(object, out, n);
  };
}

using section = owned<IIR, IIR_end>;

// A resonance near 1 kHz, and coefficients that mean nothing, at the rails too.
const samples kIirSets[] = {{279000000, -500000000, 230000000, 520000000, -258000000},
                            {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN},
                            samples(5, INT32_MIN),
                            wild(5, 77),
                            samples(kFilterCoefficients, kFilterCoefficients + 5)};

constexpr int kWildGains[] = {0, 4096, -6000, 8192, 100000, INT32_MAX, INT32_MIN};

// Lengths around those of the blocks, and those that make a one-sample loop.
constexpr int kLengths[] = {INT32_MIN, -1, 0, 1, 2, 7, 255, 256, 257, 619};

}  // namespace

// The 16-bit step in registers, as a block pass inlines it.
TEST(BlockKernels, OfTheBiquadGiveTheBitsOfOneSampleCalls) {
  for (const samples& set : kIirSets) {
    const auto make = [&] { return section(IIR_init, set.data()); };
    expect_same_bits(make, one_by<IIR>(IIR_process_32), iir_block_32);
    expect_same_bits(
        make,
        [](IIR* iir, int x) {
          int16_t v = static_cast<int16_t>(x);
          IIR_process_16(iir, &v, &v);
          return int{v};
        },
        [](IIR* iir, const int* in, int* out, int n) {
          iir_registers registers(iir);
          for (int i = 0; i < n; ++i) out[i] = iir_step_16(registers, static_cast<int16_t>(in[i]));
          registers.store(iir);
        });
  }
}

TEST(BlockKernels, OfACascadeGiveTheBitsOfSectionsInARow) {
  using cascade = std::vector<section>;
  expect_same_bits(
      [] {
        cascade c;
        for (int set : {0, 3, 0}) c.emplace_back(IIR_init, kIirSets[set].data());
        return c;
      },
      [](cascade* c, int x) {
        for (section& s : *c) IIR_process_32(&s, &x, &x);
        return x;
      },
      [](cascade* c, const int* in, int* out, int n) {
        IIR* const list[] = {&c->at(0), &c->at(1), &c->at(2)};
        iir_cascade_32(list, 3, in, out, n);
      });
}

// A gentle low-pass, then words without meaning.
TEST(BlockKernels, OfTheSectionsWithBorrowedOrFewCoefficientsGiveTheBitsOfOneSampleCalls) {
  for (const samples& table :
       {samples{16384, 98304, 245760, 327680, 245760, 98304, 16384, 0, -838860, 0, -209715, 0, -3},
        wild(13, 5), samples(13, INT32_MIN)})
    expect_same_bits([&] { return owned<elliptic, elliptic_end>(elliptic_init, table.data()); },
                     one_by<elliptic>(elliptic_process), elliptic_block);
  for (int radius : {7168, 8191, 0, INT32_MAX, INT32_MIN})
    for (int freq : {-496000000, 0, INT32_MAX, INT32_MIN})
      expect_same_bits([=] { return owned<notch, notch_end>(notch_init, radius, freq); },
                       one_by<notch>(notch_process), notch_block);
  const auto make = [] { return owned<dc_remove, dc_remove_end>(dc_remove_init); };
  expect_same_bits(make, one_by<dc_remove>(dc_remove_process_16), dc_remove_block_16);
  expect_same_bits(make, one_by<dc_remove>(dc_remove_process_24), dc_remove_block_24);
}

// With lengths that leave the position beyond a shorter line, and 0.
TEST(BlockKernels, OfTheDelayLinesGiveTheBitsOfOneSampleCalls) {
  const auto one = [](auto* line, int x) { return step(*line, x); };
  const auto used = [](auto line, auto set_length, int length) {
    through(line, noise(280, kFullScale, 9));
    set_length(&line, length);
    return line;
  };
  for (int length : kLengths) {
    for (int gain : kWildGains) {
      expect_same_bits([=] { return allpass_section(length, gain); }, one,
                       in_place_by(allpass_block));
      expect_same_bits([=] { return used(echo_comb(300, 300, gain), iircomber_setdelay, length); },
                       one, in_place_by(iircomber_block));
    }
    for (int shorter : {INT32_MIN, -1, 0, 1, 100, 300, INT32_MAX}) {
      expect_same_bits(
          [=] {
            return used(delay_line(audio_delay_init, length), audio_delay_set_delay, shorter);
          },
          one, audio_delay_block);
    }
  }
}

// The kernel adds to a sum: from 0 it is the comb's output, and the sum wraps.
TEST(BlockKernels, OfTheCombAddTheBitsOfOneSampleCallsToTheSum) {
  const auto run = [](auto process, auto block_add, int length, int gain, int damp) {
    expect_same_bits([=] { return comb_filter(length, gain, damp); },
                     [=](comber* comb, int x) { return wrap_add(INT32_MAX, process(x, comb)); },
                     [=](comber* comb, const int* in, int* out, int n) {
                       samples sum(size_t(std::max(n, 0)), INT32_MAX);
                       block_add(comb, in, sum.data(), n);
                       std::copy(sum.begin(), sum.end(), out);
                     });
  };
  for (int length : kLengths)
    for (int gain : {4096, 8192, INT32_MIN})
      for (int damp : {0, 3000, INT32_MIN}) {
        run(comb_process_16, comb_block_add_16, length, gain, damp);
        run(comb_process_24, comb_block_add_24, length, gain, damp);
      }
}

TEST(BlockKernels, StretchesCoverACallOfAnyLengthOnce) {
  for (int n : {INT32_MIN, -1, 0, 1, 255, 256, 257, 1000}) {
    int next = 0;
    for_each_block(n, [&](int start, int count) {
      EXPECT_TRUE(start == next && count >= 1 && count <= kBlockFrames);
      next += count;
    });
    EXPECT_EQ(next, std::max(n, 0));
  }
}
