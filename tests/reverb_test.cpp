#include "effects/reverb.h"

#include <gtest/gtest.h>

#include <numeric>

#include "dsp/block.h"
#include "support/pcm16.h"
#include "support/stereo.h"

namespace {

constexpr int kCombs[2][8] = {{1109, 1399, 1489, 1777, 1973, 2069, 2267, 2549},
                              {1151, 1423, 1523, 1801, 1997, 2099, 2293, 2579}};
constexpr int kAllpasses[2][4] = {{619, 523, 337, 241}, {643, 547, 367, 269}};

// The 16-bit forms behind words of 32 bits, in place.
void stereo_16(reverb_t* r, int* in_left, int* in_right, int* out_left, int* out_right, int n) {
  pcm left(in_left, in_left + n), right(in_right, in_right + n);
  reverb_process_stereo_16(r, left.data(), right.data(), left.data(), right.data(),
                           static_cast<unsigned>(n));
  std::copy(left.begin(), left.end(), out_left);
  std::copy(right.begin(), right.end(), out_right);
}
void mono_16(reverb_t* r, int* in_left, int*, int* out_left, int* out_right, int n) {
  pcm left(in_left, in_left + n);
  reverb_processMono(r, left.data(), left.data(), n);
  std::copy(left.begin(), left.end(), out_left);
  std::fill_n(out_right, n, 0);
}
template <auto process>
using room_of = effect<reverb_t, reverb_init, reverb_end, process>;
using room = room_of<reverb_process_stereo_24>;
using room_16 = room_of<stereo_16>;
using mono_room = room_of<mono_16>;

// Sets everything and makes it heard.
void set(reverb_t* r, int roomsize, int damp, int wet, int dry, int width = 8192, int gain = 8192) {
  reverb_setroomsize(r, roomsize);
  reverb_setdamp(r, damp);
  reverb_setwet(r, wet);
  reverb_setdry(r, dry);
  reverb_setwidth(r, width);
  reverb_setgain(r, gain);
  reverb_update(r);
}

// What a bank answers to an impulse, in real numbers.
std::vector<double> ideal_tail(int channel, double feedback, double damp, size_t n) {
  const auto past = [](const std::vector<double>& x, size_t i, int length) {
    return i < size_t(length) ? 0.0 : x[i - size_t(length)];
  };
  std::vector<double> sum(n), loop(n);
  for (int length : kCombs[channel]) {
    double lowpass = 0.0;
    for (size_t i = 0; i < n; ++i) {
      lowpass = (1.0 - damp) * past(loop, i, length) + damp * lowpass;
      sum[i] += past(loop, i, length);
      loop[i] = (i == 0) + feedback * lowpass;
    }
  }
  for (int length : kAllpasses[channel]) {
    std::vector<double> y(n);
    for (size_t i = 0; i < n; ++i)  // y[i] = x[i-N] + (x[i] - y[i-N]) / 2
      y[i] = 0.5 * sum[i] + past(sum, i, length) - 0.5 * past(y, i, length);
    sum = y;
  }
  return sum;
}

// Dry sound, room size, damping and width against the design in real numbers, which the integers
// may differ from by rounding only: the loops, all-passes and the DC remover each round down.
TEST(Reverb, FollowsItsDesign) {
  constexpr size_t n = 12000;
  constexpr int kSettings[][4] = {
      {4096, 4096, 16384, 0}, {0, 0, 8192, 2048}, {8192, 8192, 0, 0}, {4096, 0, 8192, 4096}};
  for (const auto& [roomsize, damp, width, dry] : kSettings)
    for (int channel : {0, 1}) {
      room r;
      set(&r, roomsize, damp, 2730, dry, width);
      const std::vector<double> tail =
          ideal_tail(channel, r.room_scaled / 8192.0, r.damp_scaled / 8192.0, n);
      stereo out = {samples(n), samples(n)};
      (channel == 0 ? out.left : out.right)[0] = 1 << 21;
      out = r.run(out);
      if (channel == 1) std::swap(out.left, out.right);
      // Both levels in the units of the input, before the DC remover.
      const double wet1 = 8190 * (width / 2 + 4096) / 0x1p5,
                   wet2 = 8190 * (8192 - width / 2) / 0x1p5;
      double own = 0.0, other = 0.0, worst = 0.0;
      for (size_t i = 0; i < n; ++i) {
        const double step = tail[i] - (i == 0 ? 0.0 : tail[i - 1]);
        own = 0.996 * (own + wet1 * step + dry * 512.0 * ((i == 0) - (i == 1)));
        other = 0.996 * (other + wet2 * step);
        worst = std::max({worst, std::abs(out.left[i] - own), std::abs(out.right[i] - other)});
      }
      EXPECT_LT(worst, 40.0) << roomsize << ", " << damp << ", " << width;
    }
}

TEST(Reverb, ForgetsItsTailAtAReset) {
  const stereo x = noise_pair(3000, kFullScale, 2), none = {samples(3000), samples(3000)};
  room used, fresh;
  set(&used, 4096, 4096, 0, 4096);
  used.run(x);
  for (room* r : {&used, &fresh}) set(r, 4096, 4096, 2731, 4096);
  EXPECT_GT(peak(used.run(none).left), 10000) << "the tail was there";
  reverb_reset(&used);
  EXPECT_EQ(used.run(none), none);
  EXPECT_EQ(used.run(x), fresh.run(x));
}

// 66 rounds of the longest loop at -3 dB each: 2^28 down to 0. In 24 bits the DC remover's state
// stops at -v when 0.004 v < 1, v being 32 to the sample.
template <typename Room>
stereo end_of_tail(int damp, stereo x) {
  Room r;
  set(&r, 0, damp, 2731, 4096);
  for (samples* side : {&x.left, &x.right}) side->resize(171000);
  x = r.run(x);
  return {{x.left.end() - 2000, x.left.end()}, {x.right.end() - 2000, x.right.end()}};
}
TEST(Reverb, EndsItsTailInSilence) {
  const stereo x = noise_pair(1000, 30000, 4), silence = {samples(2000), samples(2000)};
  EXPECT_EQ(end_of_tail<mono_room>(4096, x), silence);
  EXPECT_EQ(end_of_tail<room_16>(0, x), silence);
  const stereo end = end_of_tail<room>(4096, noise_pair(1000, kFullScale, 4));
  for (const samples& s : {end.left, end.right}) {
    EXPECT_EQ(s, samples(2000, s[0]));
    EXPECT_NEAR(s[0], -4, 4);
  }
}

TEST(Blocks, CoverCountsBeyond31Bits) {
  int64_t covered = 0;
  for_each_block(3000000001u, [&](int64_t start, int n) { covered += start == covered ? n : 1; });
  EXPECT_EQ(covered, 3000000001);
  for_each_block(INT32_MIN, [](int64_t, int) { FAIL(); });
}

// The time after which 1e-4 of the energy, -40 dB, is left, by Schroeder's backward integral.
int decay_time(std::vector<double> x) {
  for (double& v : x) v *= v;
  std::partial_sum(x.rbegin(), x.rend(), x.rbegin());
  return static_cast<int>(
      std::ranges::find_if(x, [&](double rest) { return rest <= 1e-4 * x[0]; }) - x.begin());
}

TEST(Reverb, DecayTimeFollowsTheRoom) {
  constexpr int kSettings[][2] = {{0, 0}, {4096, 0}, {0, 8192}, {4096, 4096}};
  for (const auto& [roomsize, damp] : kSettings) {
    room r;
    set(&r, roomsize, damp, 0, 0);
    r.wet1 = 8192;
    const samples out = r.run({impulse(120000, kFullScale), samples(120000)}).left;
    const int expected =
        decay_time(ideal_tail(0, r.room_scaled / 8192.0, r.damp_scaled / 8192.0, 120000));
    EXPECT_NEAR(decay_time({out.begin(), out.end()}), expected, 0.005 * expected)
        << roomsize << ", " << damp;
  }
}

}  // namespace
