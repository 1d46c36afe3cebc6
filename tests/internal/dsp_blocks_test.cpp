// The block kernels against the one-sample functions of the interface: the same bits over any
// split, in place and beside, at the rails and down to silence.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <vector>

#include "dsp/allpass_block.h"
#include "dsp/audio_delay_block.h"
#include "dsp/block.h"
#include "dsp/comber_block.h"
#include "dsp/dc_remove_block.h"
#include "dsp/elliptic_block.h"
#include "dsp/fixed.h"
#include "dsp/iir_block.h"
#include "dsp/iircomber_block.h"
#include "dsp/notch_block.h"
#include "support/signals.h"
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
//   make() -> Object*; one(Object*, int) -> int; block(Object*, const int* in, int* out, int n)
template <typename Make, typename One, typename Block>
void expect_same_bits(Make make, One one, Block block) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    const samples x = test_signal(seed);
    auto single = make(), beside = make(), in_place = make();
    samples expected, y(x.size()), z = x;
    for (int v : x) expected.push_back(one(&*single, v));
    over_random_splits(static_cast<int>(x.size()), seed % 2 ? 300 : 7, seed, [&](int start, int n) {
      for (int none : {0, -1, INT32_MIN}) {
        block(&*beside, x.data() + start, y.data() + start, none);
        block(&*in_place, z.data() + start, z.data() + start, none);
      }
      block(&*beside, x.data() + start, y.data() + start, n);
      block(&*in_place, z.data() + start, z.data() + start, n);
    });
    ASSERT_EQ(y, expected) << seed;
    ASSERT_EQ(z, expected) << seed;
    for (int v : noise(300, kFullScale, seed)) {
      const int last = one(&*single, v);
      ASSERT_EQ(one(&*beside, v), last);
      ASSERT_EQ(one(&*in_place, v), last);
    }
  }
}

// An object that ends itself; pointer-like so that records without an end can stand in its place.
template <typename Object, void (*end)(Object*)>
struct owned {
  Object object{};
  owned() = default;
  owned(owned&& other) noexcept : object(other.object) { other.object = Object{}; }
  owned(const owned&) = delete;
  owned& operator=(const owned&) = delete;
  ~owned() { end(&object); }
  Object& operator*() { return object; }
};

void end_iir(IIR* section) { IIR_end(section); }

using owned_iir = owned<IIR, end_iir>;

owned_iir make_iir(const std::vector<int>& coefficients) {
  owned_iir section;
  IIR_init(&section.object, coefficients.data());
  return section;
}

int iir_one(IIR* section, int x) {
  IIR_process_32(section, &x, &x);
  return x;
}

// A resonance near 1 kHz, and coefficients that mean nothing, at the rails too.
const std::vector<std::vector<int>>& iir_sets() {
  static const std::vector<std::vector<int>> sets = {
      {279000000, -500000000, 230000000, 520000000, -258000000},
      {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN},
      {INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN},
      wild(5, 77)};
  return sets;
}

constexpr int kWildGains[] = {0, 4096, -6000, 8192, 100000, INT32_MAX, INT32_MIN};

// Lengths around those of the blocks, and those that make a one-sample loop.
constexpr int kLengths[] = {INT32_MIN, -1, 0, 1, 2, 7, 255, 256, 257, 619};

}  // namespace

TEST(BlockKernels, OfTheBiquadGiveTheBitsOfOneSampleCalls) {
  for (const auto& set : iir_sets())
    expect_same_bits([&] { return make_iir(set); }, iir_one, iir_block_32);
}

TEST(BlockKernels, OfACascadeGiveTheBitsOfSectionsInARow) {
  struct cascade {
    std::array<owned_iir, 3> sections = {make_iir(iir_sets()[0]), make_iir(iir_sets()[3]),
                                         make_iir(iir_sets()[0])};
    cascade& operator*() { return *this; }
  };
  expect_same_bits([] { return cascade{}; },
                   [](cascade* c, int x) {
                     for (auto& section : c->sections) x = iir_one(&section.object, x);
                     return x;
                   },
                   [](cascade* c, const int* in, int* out, int n) {
                     IIR* const list[] = {&c->sections[0].object, &c->sections[1].object,
                                          &c->sections[2].object};
                     iir_cascade_32(list, 3, in, out, n);
                   });
}

// The 16-bit variant's step in registers, as a block pass inlines it.
TEST(BlockKernels, StepOfThe16BitBiquadGivesTheBitsOfOneSampleCalls) {
  const std::vector<std::vector<int>> sets = {
      std::vector<int>(kFilterCoefficients, kFilterCoefficients + 5), iir_sets()[1], iir_sets()[3]};
  for (const auto& set : sets)
    expect_same_bits([&] { return make_iir(set); },
                     [](IIR* section, int x) {
                       int16_t v = static_cast<int16_t>(x);
                       IIR_process_16(section, &v, &v);
                       return int{v};
                     },
                     [](IIR* section, const int* in, int* out, int n) {
                       iir_registers registers(section);
                       for (int i = 0; i < n; ++i)
                         out[i] = iir_step_16(registers, static_cast<int16_t>(in[i]));
                       registers.store(section);
                     });
}

TEST(BlockKernels, OfTheSixthOrderSectionGiveTheBitsOfOneSampleCalls) {
  // A gentle low-pass, then words without meaning.
  for (const samples& table :
       {samples{16384, 98304, 245760, 327680, 245760, 98304, 16384, 0, -838860, 0, -209715, 0, -3},
        wild(13, 5), samples(13, INT32_MIN)})
    expect_same_bits(
        [&] {
          owned<elliptic, elliptic_end> filter;
          elliptic_init(&filter.object, table.data());
          return filter;
        },
        [](elliptic* filter, int x) {
          elliptic_process(filter, &x, &x);
          return x;
        },
        elliptic_block);
}

TEST(BlockKernels, OfTheNotchGiveTheBitsOfOneSampleCalls) {
  for (int radius : {7168, 8191, 0, INT32_MAX, INT32_MIN})
    for (int freq : {-496000000, 0, INT32_MAX, INT32_MIN})
      expect_same_bits(
          [&] {
            owned<notch, notch_end> filter;
            notch_init(&filter.object, radius, freq);
            return filter;
          },
          [](notch* filter, int x) {
            notch_process(filter, &x, &x);
            return x;
          },
          notch_block);
}

TEST(BlockKernels, OfTheDcBlockerGiveTheBitsOfOneSampleCalls) {
  const auto make = [] {
    owned<dc_remove, dc_remove_end> filter;
    dc_remove_init(&filter.object);
    return filter;
  };
  const auto one_16 = [](dc_remove* filter, int x) {
    dc_remove_process_16(filter, &x, &x);
    return x;
  };
  const auto one_24 = [](dc_remove* filter, int x) {
    dc_remove_process_24(filter, &x, &x);
    return x;
  };
  expect_same_bits(make, one_16, dc_remove_block_16);
  expect_same_bits(make, one_24, dc_remove_block_24);
}

TEST(BlockKernels, OfTheAllpassGiveTheBitsOfOneSampleCalls) {
  for (int length : kLengths)
    for (int gain : kWildGains)
      expect_same_bits(
          [&] {
            owned<allpass, allpass_end> section;
            allpass_init(&section.object, length);
            allpass_setfeedback(&section.object, gain);
            return section;
          },
          [](allpass* section, int x) { return allpass_process(x, section); },
          [](allpass* section, const int* in, int* out, int n) {
            if (in != out && n > 0) std::copy_n(in, n, out);
            allpass_block(section, out, n);
          });
}

// The kernel adds to a sum: from 0 it is the comb's output, and the sum wraps.
TEST(BlockKernels, OfTheCombAddTheBitsOfOneSampleCallsToTheSum) {
  const auto run = [](auto one, auto block_add, int length, int gain, int damp) {
    expect_same_bits(
        [&] {
          owned<comber, comb_end> comb;
          comb_init(&comb.object, length);
          comb_setfeedback(&comb.object, gain);
          comb_setsetdamp(&comb.object, damp);
          return comb;
        },
        [&](comber* comb, int x) { return wrap_add(INT32_MAX, one(x, comb)); },
        [&](comber* comb, const int* in, int* out, int n) {
          samples sum(static_cast<size_t>(std::max(n, 0)), INT32_MAX);
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

// With changes of length on the way: a position left beyond a shorter line, and 0 in between.
TEST(BlockKernels, OfTheDelayGiveTheBitsOfOneSampleCalls) {
  for (int length : kLengths)
    for (int shorter : {INT32_MIN, -1, 0, 1, 100, 300, INT32_MAX})
      expect_same_bits(
          [&] {
            owned<audio_delay, audio_delay_end> line;
            audio_delay_init(&line.object, length);
            for (int x = 1; x <= 280; ++x) audio_delay_process(&line.object, x);
            audio_delay_set_delay(&line.object, shorter);
            return line;
          },
          audio_delay_process,
          [](audio_delay* line, const int* in, int* out, int n) {
            if (in != out && n > 0) std::copy_n(in, n, out);
            audio_delay_block(line, out, n);
          });
}

TEST(BlockKernels, OfTheEchoCombGiveTheBitsOfOneSampleCalls) {
  for (int length : kLengths)
    for (int gain : kWildGains)
      expect_same_bits(
          [&] {
            owned<iircomber, iircomber_end> comb;
            iircomber_init(&comb.object, 300);
            iircomber_setdelay(&comb.object, 300);
            for (int x = 1; x <= 280; ++x) iircomber_process(x, &comb.object);
            iircomber_setdelay(&comb.object, length);
            iircomber_setfeedback(&comb.object, gain);
            return comb;
          },
          [](iircomber* comb, int x) { return iircomber_process(x, comb); },
          [](iircomber* comb, const int* in, int* out, int n) {
            if (in != out && n > 0) std::copy_n(in, n, out);
            iircomber_block(comb, out, n);
          });
}

TEST(BlockKernels, StretchesCoverACallOfAnyLengthOnce) {
  for (int n : {INT32_MIN, -1, 0, 1, 255, 256, 257, 1000}) {
    int next = 0;
    for_each_block(n, [&](int start, int count) {
      EXPECT_EQ(start, next);
      EXPECT_GE(count, 1);
      EXPECT_LE(count, kBlockFrames);
      next += count;
    });
    EXPECT_EQ(next, std::max(n, 0));
  }
}
