#include "effects/reverb.h"

#include <gtest/gtest.h>

#include <numeric>

#include "dsp/block.h"
#include "support/signals.h"
#include "support/splits.h"

namespace {

constexpr int kCombs[2][8] = {{1109, 1399, 1489, 1777, 1973, 2069, 2267, 2549},
                              {1151, 1423, 1523, 1801, 1997, 2099, 2293, 2579}};
constexpr int kAllpasses[2][4] = {{619, 523, 337, 241}, {643, 547, 367, 269}};

struct knobs {
  int roomsize, damp, wet, dry, width = 8192, gain = 8192;
};

struct room : reverb_t {
  room() { reverb_init(this); }
  ~room() { reverb_end(this); }

  // Sets everything and makes it heard.
  room& set(const knobs& k) {
    reverb_setroomsize(this, k.roomsize);
    reverb_setdamp(this, k.damp);
    reverb_setwet(this, k.wet);
    reverb_setdry(this, k.dry);
    reverb_setwidth(this, k.width);
    reverb_setgain(this, k.gain);
    reverb_update(this);
    return *this;
  }

  // The all-passes become plain delays of 1720 (left) and 1826 (right) samples in all.
  room& without_diffusion() {
    for (int k = 0; k < 4; ++k) {
      allpass_setfeedback(allpass_left[k], 0);
      allpass_setfeedback(allpass_right[k], 0);
    }
    return *this;
  }
};

// The same design in real numbers: what the integers may differ from by rounding only.
samples ideal_tail(int channel, double feedback, double damp, double height, int n) {
  std::vector<double> x(static_cast<size_t>(n)), sum(x.size());
  x[0] = height;
  for (int length : kCombs[channel]) {
    std::vector<double> loop(x.size());
    double lowpass = 0.0;
    for (size_t i = 0; i < x.size(); ++i) {
      const double delayed = i < size_t(length) ? 0.0 : loop[i - size_t(length)];
      lowpass = (1.0 - damp) * delayed + damp * lowpass;
      loop[i] = x[i] + feedback * lowpass;
      sum[i] += delayed;
    }
  }
  for (int length : kAllpasses[channel]) {
    std::vector<double> y(x.size());
    const size_t delay = size_t(length);
    for (size_t i = 0; i < x.size(); ++i)  // y[i] = x[i-N] + (x[i] - y[i-N]) / 2
      y[i] = 0.5 * sum[i] + (i < delay ? 0.0 : sum[i - delay] - 0.5 * y[i - delay]);
    sum = y;
  }
  samples out;
  double before = 0.0, y = 0.0;
  for (double v : sum) {
    y = 0.996 * (v - before + y);
    before = v;
    out.push_back(static_cast<int>(std::lround(y)));
  }
  return out;
}

struct stereo {
  samples left, right;
};

stereo render(reverb_t& reverb, stereo x) {
  reverb_process_stereo_24(&reverb, x.left.data(), x.right.data(), x.left.data(), x.right.data(),
                           static_cast<unsigned>(x.left.size()));
  return x;
}

}  // namespace

TEST(Reverb, StartsWithTheDefaultsAndTheirScaledForms) {
  room r;
  EXPECT_EQ(
      std::vector<int>({r.wet_scaled, r.wet1, r.wet2, r.dry_scaled, r.room_scaled, r.damp_scaled,
                        r.width, r.gain, r.status, r.wet, r.dry, r.roomsize, r.damp}),
      std::vector<int>({8190, 8190, 4095, 0, 6945, 1650, 8192, 127, 0, 2730, 0, 4096, 4096}));
  for (int k = 0; k < 8; ++k)
    for (comber* c : {r.comb_left[k], r.comb_right[k]}) {
      EXPECT_EQ(c->feedback, 6945);
      EXPECT_EQ(c->damp1, 1650);
      EXPECT_EQ(c->damp2, 8192 - 1650);
    }
}

TEST(Reverb, ScalesItsSettingsInSixtyFourBitsAndSaturatesTheLevels) {
  room r;
  r.set({INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MAX});
  EXPECT_EQ(r.room_scaled, 611581951 + 5779);  // 2333 x 2^18 - 1, and the smallest feedback
  EXPECT_EQ(r.damp_scaled, -865337344);        // -3301 x 2^18
  EXPECT_EQ(r.wet_scaled, INT32_MAX);
  EXPECT_EQ(r.dry_scaled, INT32_MIN);
  EXPECT_EQ(r.wet1, INT32_MAX);
  EXPECT_EQ(r.wet2, INT32_MIN);
  r.set({8192, 8192, 2731, 4096, -1});  // -1 / 2 is 0
  EXPECT_EQ(r.room_scaled, 8112);
  EXPECT_EQ(r.damp_scaled, 3301);
  EXPECT_EQ(r.wet1, 4096);  // floor(8193 / 2)
  EXPECT_EQ(r.wet2, 8193);
  r.set({8192, 8192, -1, 0, 0});
  EXPECT_EQ(r.wet1, -2) << "-3 / 2 rounds down, and here -1 and below stay";
}

TEST(Reverb, HearsRoomDampWetAndWidthOnlyAfterAnUpdate) {
  room r;
  reverb_setroomsize(&r, 8192);
  reverb_setdamp(&r, 0);
  reverb_setwet(&r, 0);
  EXPECT_EQ(r.comb_left[0]->feedback, 6945);
  EXPECT_EQ(r.comb_right[7]->damp1, 1650);
  EXPECT_EQ(r.wet1, 8190);
  reverb_update(&r);
  EXPECT_EQ(r.comb_left[0]->feedback, 8112);
  EXPECT_EQ(r.comb_right[7]->damp1, 0);
  EXPECT_EQ(r.wet1, 0);
}

// With plain delays for the all-passes and mono's missing DC remover the echoes stand alone: one
// per loop and round, each 5779 / 8192 of the one before.
TEST(Reverb, EchoesArriveAtTheLoopLengthsAndFallByTheFeedback) {
  room r;
  r.set({0, 0, 0, 0, 8192, 16384}).without_diffusion();
  r.wet1 = 8192;
  std::vector<short> x(1720 + 3 * 1109, 0), expected(x);
  x[0] = 16384;
  for (int length : kCombs[0])
    for (size_t at = 1720 + size_t(length), level = 16384; at < x.size();
         at += size_t(length), level = 11558)
      expected[at] = static_cast<short>(level);
  reverb_processMono(&r, x.data(), x.data(), static_cast<int>(x.size()));
  EXPECT_EQ(x, expected);
  for (comber* c : r.comb_right) EXPECT_EQ(c->index, 0) << "mono leaves the right bank alone";
}

TEST(Reverb, FollowsTheRealNumberedDesignInBothChannels) {
  constexpr int n = 20000;
  room r;
  r.set({4096, 4096, 0, 0});
  r.wet1 = 8192;
  const stereo out = render(r, {impulse(n, 1 << 21), impulse(n, 1 << 21)});
  const double g = 6945 / 8192.0, d = 1650 / 8192.0;
  const samples left = ideal_tail(0, g, d, 1 << 21, n), right = ideal_tail(1, g, d, 1 << 21, n);
  EXPECT_EQ(peak({out.left.begin(), out.left.begin() + 1109}), 0)
      << "nothing before the first loop";
  EXPECT_NEAR(out.left[1109], 0.996 * (1 << 21) / 16, 1) << "four halves of the first echo";
  int worst = 0;
  for (size_t i = 0; i < n; ++i)
    worst = std::max({worst, std::abs(out.left[i] - left[i]), std::abs(out.right[i] - right[i])});
  EXPECT_LT(worst, 40);  // the loops, all-passes and the DC remover each round down
}

// Energy left after time t: each comb's rounds still to come. Round m has the energy
// g^(2 (m - 1)) times the mean of |H|^(2 (m - 1)) over frequency, H being the damping low-pass; the
// rounds of different combs do not meet. All-passes keep energy and hold it back by their lengths
// on average, 1720 samples in all.
TEST(Reverb, DecaysAsRoomSizeAndDampingSay) {
  struct {
    int roomsize, damp;
  } const settings[] = {{0, 0}, {4096, 0}, {0, 8192}, {4096, 4096}};
  for (const auto& s : settings) {
    room r;
    r.set({s.roomsize, s.damp, 0, 0});
    r.wet1 = 8192;
    const double g = r.room_scaled / 8192.0, d = r.damp_scaled / 8192.0;
    std::vector<double> round_energy(80);
    constexpr int bins = 200;
    for (size_t m = 0; m < round_energy.size(); ++m)
      for (int k = 0; k < bins; ++k)
        round_energy[m] +=
            std::pow(
                g * (1 - d) / std::abs(1.0 - std::polar(d, std::numbers::pi * (k + 0.5) / bins)),
                2.0 * static_cast<double>(m)) /
            bins;
    const auto energy_after = [&](int t) {
      double sum = 0.0;
      for (int length : kCombs[0])
        for (size_t m = 0; m < round_energy.size(); ++m)
          if (static_cast<int>(m + 1) * length > t) sum += round_energy[m];
      return sum;
    };
    const double all = energy_after(0);
    int expected = 0;
    while (energy_after(expected) > 1e-4 * all) expected += 50;  // -40 dB

    const int n = 2 * expected + 1720;
    const samples out = render(r, {impulse(n, kFullScale), samples(size_t(n))}).left;
    std::vector<double> rest(out.begin(), out.end());  // Schroeder's backward integral
    for (double& v : rest) v *= v;
    std::partial_sum(rest.rbegin(), rest.rend(), rest.rbegin());
    int measured = 0;
    while (rest[size_t(measured)] > 1e-4 * rest[0]) ++measured;
    EXPECT_NEAR(measured, expected + 1720, 0.02 * expected) << s.roomsize << ", " << s.damp;
  }
}

TEST(Reverb, KeepsTheChannelsApartButForTheCrossMix) {
  constexpr int n = 6000;
  const stereo x = {noise(n, 1 << 20, 1), samples(n)};
  room apart, full, none;
  EXPECT_EQ(peak(render(apart.set({4096, 2048, 2730, 4096, 16384}), x).right), 0);
  const stereo wide = render(full.set({4096, 2048, 2730, 0, 8192}), x);
  const stereo narrow = render(none.set({4096, 2048, 2730, 0, 0}), x);
  EXPECT_GT(peak(wide.right), 1 << 18);
  for (size_t i = 0; i < n; ++i) ASSERT_NEAR(wide.right[i], 0.5 * wide.left[i], 12);
  // wet1 = 4095, wet2 = 8190 at width 0: the own half beside the other's whole.
  for (size_t i = 0; i < n; ++i) ASSERT_NEAR(narrow.left[i], 0.5 * narrow.right[i], 12);
}

TEST(Reverb, WithoutWetPassesTheInputThroughTheDcRemoverWhileTheTailBuilds) {
  room r;
  r.set({4096, 4096, 0, 4096, 8192, 127});
  const stereo x = {noise(3000, kFullScale, 2), noise(3000, kFullScale, 3)};
  stereo expected = x;
  dc_remove left{}, right{};
  for (size_t i = 0; i < 3000; ++i) {
    dc_remove_process_24(&left, &expected.left[i], &expected.left[i]);
    dc_remove_process_24(&right, &expected.right[i], &expected.right[i]);
  }
  const stereo out = render(r, x);
  EXPECT_EQ(out.left, expected.left);
  EXPECT_EQ(out.right, expected.right);
  reverb_setwet(&r, 2731);
  reverb_update(&r);
  EXPECT_GT(peak(render(r, {samples(3000), samples(3000)}).left), 10000) << "the tail was there";
  reverb_reset(&r);
  EXPECT_EQ(peak(render(r, {samples(3000), samples(3000)}).left), 0);
  EXPECT_EQ(r.wet, 2731);
}

TEST(Reverb, EndsItsTailInSilence) {
  constexpr int n = 170000;  // 66 rounds of the longest loop at -3 dB each: 2^28 down to 0
  room mono, narrow, wide;
  std::vector<short> x(n, 0), y(x), silent(2000, 0);
  for (size_t i = 0; i < 1000; ++i) x[i] = y[i] = static_cast<short>(i % 2 ? 20000 : -30000);
  std::vector<short> z = x;
  reverb_processMono(&mono.set({0, 4096, 2731, 4096}), x.data(), x.data(), n);
  EXPECT_TRUE(std::equal(silent.begin(), silent.end(), x.end() - 2000));
  reverb_process_stereo_16(&narrow.set({0, 0, 2731, 4096}), y.data(), z.data(), y.data(), z.data(),
                           n);
  EXPECT_TRUE(std::equal(silent.begin(), silent.end(), y.end() - 2000));
  EXPECT_TRUE(std::equal(silent.begin(), silent.end(), z.end() - 2000));
  // In 24 bits the DC remover's state stops at -v when 0.004 v < 1, v being 32 to the sample.
  render(wide.set({0, 4096, 2731, 4096}), {noise(1000, kFullScale, 4), noise(1000, kFullScale, 5)});
  const stereo end = render(wide, {samples(n), samples(n)});
  for (const samples& s : {end.left, end.right}) {
    EXPECT_EQ(samples(s.end() - 2000, s.end()), samples(2000, s.back()));
    EXPECT_LE(s.back(), 0);
    EXPECT_GE(s.back(), -8);
  }
  for (int k = 0; k < 4; ++k)
    EXPECT_EQ(samples(wide.allpass_left[k]->buffer,
                      wide.allpass_left[k]->buffer + wide.allpass_left[k]->length),
              samples(size_t(wide.allpass_left[k]->length)));
}

TEST(Reverb, SaturatesSixteenBitOutputAndWrapsOnlyMonosWildGains) {
  room r;
  r.set({8192, 0, 0, 8192});  // dry sound at 2.0: every sample of both channels is over the limit
  std::vector<short> left, right;
  for (int i = 0; i < 300; ++i) {
    left.push_back(i % 2 ? -32768 : 32767);
    right.push_back(i % 2 ? 32767 : -32768);
  }
  const std::vector<short> expected_left = left, expected_right = right;
  reverb_process_stereo_16(&r, left.data(), right.data(), left.data(), right.data(), 300);
  EXPECT_EQ(left, expected_left);
  EXPECT_EQ(right, expected_right);
  r.set({0, 0, 0, 1 << 29});  // dry_scaled 2^30: x = 2 makes -2^31, x = 4 makes 0
  short x[] = {1, 2, 4, -2}, y[4];
  reverb_processMono(&r, x, y, 4);
  EXPECT_EQ(std::vector<short>(y, y + 4), std::vector<short>({32767, -32768, 0, -32768}));
  for (int n : {0, -5}) reverb_processMono(&r, x, y, n);
  EXPECT_EQ(y[0], 32767);
}

TEST(Reverb, GivesTheSameBitsHoweverTheStreamIsCutAndWhateverBuffersCoincide) {
  constexpr int n = 4000;
  const knobs settings[] = {{4096, 4096, 2730, 4096, 8192, 127},
                            {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, -70000, INT32_MIN}};
  for (const auto& s : settings) {
    room single, cut, crossed;
    for (room* r : {&single, &cut, &crossed}) r->set(s);
    const stereo x = {wild(n, 6), wild(n, 7)};
    stereo one = x, in = x, two = x, swapped = x;
    for (size_t i = 0; i < n; ++i)
      reverb_process_stereo_24(&single, &one.left[i], &one.right[i], &one.left[i], &one.right[i],
                               1);
    over_random_splits(n, 700, 8, [&](int start, int count) {
      reverb_process_stereo_24(&cut, &in.left[size_t(start)], &in.right[size_t(start)],
                               &two.left[size_t(start)], &two.right[size_t(start)],
                               static_cast<unsigned>(count));
    });
    reverb_process_stereo_24(&crossed, swapped.left.data(), swapped.right.data(),
                             swapped.right.data(), swapped.left.data(), n);
    EXPECT_EQ(two.left, one.left);
    EXPECT_EQ(two.right, one.right);
    EXPECT_EQ(swapped.right, one.left);
    EXPECT_EQ(swapped.left, one.right);
  }
}

TEST(Reverb, SixteenBitFormsGiveTheSameBitsHoweverTheStreamIsCut) {
  constexpr int n = 4000;
  room single, cut;
  for (room* r : {&single, &cut}) r->set({8192, 1000, INT32_MAX, 3 << 20, 5, INT32_MAX});
  for (bool mono : {false, true}) {
    const samples words = wild(2 * n, 9);
    std::vector<short> x(words.begin(), words.end()), y = x;
    for (unsigned i = 0; i < n; ++i) {
      short *l = &x[i], *r = &x[n + i];
      mono ? reverb_processMono(&single, l, l, 1)
           : reverb_process_stereo_16(&single, l, r, l, r, 1);
    }
    over_random_splits(n, 700, 10, [&](int start, int count) {
      short *l = &y[size_t(start)], *r = &y[size_t(n + start)];
      mono ? reverb_processMono(&cut, l, l, count)
           : reverb_process_stereo_16(&cut, l, r, l, r, static_cast<unsigned>(count));
    });
    EXPECT_EQ(x, y);
  }
}

TEST(Blocks, CoverCountsBeyondThirtyOneBits) {
  int64_t expected = 0;
  for_each_block(3000000001u, [&](int64_t start, int count) {
    ASSERT_EQ(start, expected);
    expected += count;
  });
  EXPECT_EQ(expected, 3000000001);
  for_each_block(INT32_MIN, [](int64_t, int) { FAIL(); });
}
