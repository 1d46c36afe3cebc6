// What has one form over a block against the step or the one-sample function that it stands for: the
// same bits over any split, in place and beside, at the rails and down to silence.
#include <gtest/gtest.h>

#include "dsp/block.h"
#include "dsp/gain_ramp.h"
#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/comber.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/iir.h"
#include "dsp/kernels/iircomber.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/notch.h"
#include "effects/gain_slew.h"
#include "support/delay_lines.h"
#include "support/splits.h"

namespace {

// Runs one object sample by sample and two others, made alike, in random blocks, one of them in
// place; blocks of 0 and of fewer samples change nothing in between. What the state holds at the
// end shows in a last stretch sample by sample.
//   make() -> Object; one(Object*, int) -> int; block(Object*, const int* in, int* out, int n)
template <typename Make, typename One, typename Block>
void expect_same_bits(Make make, One one, Block block) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    samples x = wild(1500, seed);
    for (const samples& part : {noise(1500, kFullScale, seed), noise(500, 3, seed), samples(1500)})
      x.insert(x.end(), part.begin(), part.end());
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

// A process function of the interface as one().
template <typename Object, typename Process>
auto one_by(Process process) {
  return [=](Object* object, int x) {
    process(object, &x, &x);
    return x;
  };
}

using blocker = owned<dc_remove, dc_remove_end>;

// Lengths around those of the blocks, and those that make a one-sample loop.
constexpr int kLengths[] = {INT32_MIN, 0, 1, 2, 7, 255, 256, 257, 619};

}  // namespace

TEST(Block, OfASectionMatchesOneSampleCalls) {
  for (const samples& set :
       {samples{279000000, -500000000, 230000000, 520000000, -258000000}, wild(5, 77),
        samples{INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN}})
    expect_same_bits([&] { return owned<IIR, IIR_end>(IIR_init, set.data()); },
                     one_by<IIR>(IIR_process_32), iir_block<iir_step_32>);
  for (const samples& table :
       {samples{16384, 98304, 245760, 327680, 245760, 98304, 16384, 0, -838860, 0, -209715, 0, -3},
        wild(13, 5), samples(13, INT32_MIN)})
    expect_same_bits([&] { return owned<elliptic, elliptic_end>(elliptic_init, table.data()); },
                     one_by<elliptic>(elliptic_process), elliptic_block);
  for (int radius : {7168, 8191, 0, INT32_MAX, INT32_MIN})
    for (int freq : {-496000000, 0, INT32_MAX, INT32_MIN})
      expect_same_bits([=] { return owned<notch, notch_end>(notch_init, radius, freq); },
                       one_by<notch>(notch_process), notch_block);
  const auto make = [] { return blocker(dc_remove_init); };
  expect_same_bits(make, one_by<dc_remove>(dc_remove_process_16), dc_remove_block_16);
  expect_same_bits(make, one_by<dc_remove>(dc_remove_process_24), dc_remove_block_24);
}

// With lengths that leave the position beyond a shorter line, and 0.
TEST(Block, OfADelayLineMatchesOneSampleCalls) {
  const auto one = [](auto* line, int x) { return step(*line, x); };
  const auto used = [](auto line, auto set_length, int length) {
    through(line, noise(280, kFullScale, 9));
    set_length(&line, length);
    return line;
  };
  const auto in_place_by = [](auto kernel) {
    return [=](auto* object, const int* in, int* out, int n) {
      if (in != out && n > 0) std::copy_n(in, n, out);
      kernel(object, out, n);
    };
  };
  for (int length : kLengths) {
    for (int gain : {0, 4096, -6000, 8192, 100000, INT32_MIN}) {
      expect_same_bits([=] { return allpass_section(length, gain); }, one,
                       in_place_by(portable::allpass_block));
      expect_same_bits([=] { return used(echo_comb(300, 300, gain), iircomber_setdelay, length); },
                       one, in_place_by(iircomber_block));
      // The kernel adds to a sum, which wraps.
      expect_same_bits([=] { return comb_filter(length, gain, 3000); },
                       [=](comber* c, int x) { return wrap_add(INT32_MAX, comb_process_24(x, c)); },
                       [=](comber* comb, const int* in, int* out, int n) {
                         samples sum(size_t(std::max(n, 0)), INT32_MAX);
                         comb_block_add_24(comb, in, sum.data(), n);
                         std::copy(sum.begin(), sum.end(), out);
                       });
    }
    for (int shorter : {INT32_MIN, -1, 0, 1, 100, 300, INT32_MAX})
      expect_same_bits(
          [=] {
            return used(delay_line(audio_delay_init, length), audio_delay_set_delay, shorter);
          },
          one, audio_delay_block);
  }
}

// All pairs of gains around the rules' edges, far and near, with wraps; nothing behind the last gain.
TEST(Block, OfAGainRampMatchesItsSteps) {
  const int kFrom[] = {0,    1,    31,     32,     33,      63,         64,        159, 4096,
                       4127, 9000, 131072, 524288, 8000000, 1000000000, INT32_MAX, -1,  INT32_MIN};
  for (int from : kFrom)
    for (int target : kFrom)
      for (int n : {0, 1, 2, 3, 256}) {
        samples expected(257, -7), gains = expected;
        int last = from;
        for (int i = 0; i < n; ++i) expected[size_t(i)] = last = gain_ramp_step<5, 7>(last, target);
        ASSERT_EQ((gain_ramp_block<5, 7>(from, target, gains.data(), n)), last) << from << target;
        ASSERT_EQ(gains, expected) << from << ' ' << target;
      }
}

TEST(Block, OfAGainSlewMatchesItsSteps) {
  samples levels = {0,         1,  7,        8, 9, 131072, 131071, 8 << 17, (8 << 17) + 1,
                    INT32_MAX, -1, INT32_MIN};
  for (int distance : {5, 7, 8, 31, 32, 33, 63, 64, 65, 1024, 1025, 8193, 16384, 16385, 300000})
    for (int sign : {-1, 1}) levels.push_back(131072 + sign * distance);
  for (int distance : {32, 64, 100, 255, 257, 767, 769, 1025})  // own steps are as large here
    levels.push_back((8 << 17) - distance);
  unsigned pair = 0;
  for (int from : levels)
    for (int target : levels) {
      const int gate_from = levels[++pair % levels.size()];
      const int gate_target = levels[pair / 7 % levels.size()];
      int expected[2] = {from, gate_from}, found[2] = {from, gate_from};
      for (int n : {0, 1, 37, 256, 256}) {  // on from where the last block ended
        samples gains(257, -7), gates = gains, gains_found = gains, gates_found = gains;
        for (size_t i = 0; i < size_t(n); ++i) {
          gains[i] = expected[0] = gain_slew_step(expected[0], target);
          gates[i] = expected[1] = gate_slew_step(expected[1], gate_target);
        }
        slew_block(found[0], target, found[1], gate_target, gains_found.data(), gates_found.data(),
                   n);
        ASSERT_TRUE(gains_found == gains && gates_found == gates) << from << ' ' << target;
        ASSERT_TRUE(found[0] == expected[0] && found[1] == expected[1]) << from << ' ' << target;
      }
    }
}
