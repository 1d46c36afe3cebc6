#include "effects/stereo_widening_system.h"

#include <gtest/gtest.h>

#include <array>

#include "support/signals.h"
#include "support/splits.h"

namespace {

using complex = std::complex<double>;

constexpr int kRates[] = {44100, 48000, 96000};

struct stereo {
  samples left, right;

  bool operator==(const stereo&) const = default;
};

// A stage or the system under one hat.
template <typename Stage, auto init, auto end, auto set_rate, auto reset_stage, auto block>
struct effect : Stage {
  effect() { init(this); }
  ~effect() { end(this); }

  // A run-time value, so that one outside the enumeration stays what it is.
  void rate(int type) { set_rate(this, static_cast<SampleRateType>(type)); }
  void reset() { reset_stage(this); }

  stereo run(stereo x) {
    block(this, x.left.data(), x.right.data(), x.left.data(), x.right.data(),
          static_cast<int>(x.left.size()));
    return x;
  }
};

using circuit = effect<difference_circuit, difference_circuit_init, difference_circuit_end,
                       difference_circuit_set_sample_rate, difference_circuit_reset,
                       difference_circuit_process_block>;
using network = effect<crossfeed_network, crossfeed_network_init, crossfeed_network_end,
                       crossfeed_network_set_sample_rate, crossfeed_network_reset,
                       crossfeed_network_process_block>;
using reflector =
    effect<early_reflector, early_reflector_init, early_reflector_end,
           early_reflector_set_sample_rate, early_reflector_reset, early_reflector_process_block>;
using widening = effect<stereo_widening_system, stereo_widening_system_init,
                        stereo_widening_system_end, stereo_widening_system_set_sample_rate,
                        stereo_widening_system_reset, stereo_widening_system_process>;

// What a section is meant to be: analog prototype, frequency and Q, warped onto a rate.
struct design {
  char kind;  // a: all-pass, l: low-pass, h: high-pass, b: band-pass
  double frequency, q = std::numbers::sqrt2 / 2.0;

  std::array<double, 5> section(double rate) const {
    const double w = 2.0 * std::numbers::pi * frequency / rate;
    const double c = std::cos(w), alpha = std::sin(w) / (2.0 * q), a0 = 1.0 + alpha;
    std::array<double, 5> s = {};
    if (kind == 'a') s = {1.0 - alpha, -2.0 * c, a0};
    if (kind == 'l') s = {(1.0 - c) / 2.0, 1.0 - c, (1.0 - c) / 2.0};
    if (kind == 'h') s = {(1.0 + c) / 2.0, -1.0 - c, (1.0 + c) / 2.0};
    if (kind == 'b') s = {alpha, 0.0, -alpha};
    s[3] = 2.0 * c;
    s[4] = alpha - 1.0;
    for (double& v : s) v /= a0;
    return s;
  }

  complex response(double f, double rate) const {
    const auto [b0, b1, b2, a1, a2] = section(rate);
    const complex z = std::polar(1.0, -2.0 * std::numbers::pi * f / rate);
    return (b0 + z * (b1 + z * b2)) / (1.0 - z * (a1 + z * a2));
  }
};

constexpr design kDifference[] = {{'a', 250, 13},
                                  {'a', 1675, 13},
                                  {'a', 18000, 13},
                                  {'a', 50, 13},
                                  {'a', 600, 13},
                                  {'a', 5580, 2},
                                  {'b', 6125, 6125.0 / 11750.0},  // edges 250, 12000
                                  {'l', 200},
                                  {'h', 7000},
                                  {'b', 2861.5, 2861.5 / 4277.0},  // edges 723, 5000
                                  {'l', 200}};
constexpr design kCrossfeed[] = {{'a', 500, 2.5}, {'l', 1500}, {'h', 1500}};
constexpr design kReflector = {'h', 300};

// The design truncated to Q28, 1.0 being one unit short of 2^28.
void expect_section(IIR* section, const design& wanted, int type) {
  std::array<int, 5> expected = {};
  if (type < 3) {
    const std::array<double, 5> real = wanted.section(kRates[type]);
    for (size_t k = 0; k < 5; ++k) expected[k] = static_cast<int>(real[k] * 268435455.0);
  }
  std::array<int, 5> got;
  IIR_get_param(section, got.data());
  EXPECT_EQ(got, expected) << wanted.kind << " " << wanted.frequency << " Hz, rate " << type;
}

void expect_all_sections(widening& w, int type) {
  for (size_t k = 0; k < std::size(kDifference); ++k)
    expect_section(w.difference->section[k], kDifference[k], type);
  const crossfeed_network& c = *w.crossfeed;
  for (IIR* section : {c.allpass_left, c.allpass_right})
    expect_section(section, kCrossfeed[0], type);
  for (IIR* section : {c.lowpass_left, c.lowpass_right})
    expect_section(section, kCrossfeed[1], type);
  for (IIR* section : {c.highpass_left, c.highpass_right})
    expect_section(section, kCrossfeed[2], type);
  for (IIR* section : {w.reflector->highpass_left, w.reflector->highpass_right})
    expect_section(section, kReflector, type);
}

// Complex gain from a tone in one input (0 left, 1 right) to both outputs, settled for half a
// second, measured over a second.
template <typename Effect>
std::array<complex, 2> measured(Effect& effect, int input, double frequency, int rate) {
  const samples tone = sine(rate * 3 / 2, frequency, rate, 1 << 20), none(tone.size());
  const stereo out = input == 0 ? effect.run({tone, none}) : effect.run({none, tone});
  const auto level = [&](const samples& x) {
    return spectrum_at(x, frequency, rate, static_cast<size_t>(rate / 2));
  };
  return {level(out.left) / level(tone), level(out.right) / level(tone)};
}

double correlation(const stereo& x, size_t first) {
  double ll = 0.0, rr = 0.0, lr = 0.0;
  for (size_t i = first; i < x.left.size(); ++i) {
    const double l = x.left[i], r = x.right[i];
    ll += l * l;
    rr += r * r;
    lr += l * r;
  }
  return lr / std::sqrt(ll * rr);
}

void set_section(IIR* section, int b0) {
  const int c[5] = {b0, 0, 0, 0, 0};
  IIR_set_param(section, c);
}

size_t first_sound(const samples& x) {
  return static_cast<size_t>(std::find_if(x.begin(), x.end(), [](int v) { return v != 0; }) -
                             x.begin());
}

}  // namespace

TEST(StereoWidening, SectionsAreTheirDesignsAtEveryRateAndSilentAt192kHz) {
  widening w;
  expect_all_sections(w, 1);
  for (int type : {0, 2, 3, 1, 0, 4, 2, -1, 2, INT32_MAX}) {
    w.rate(type);
    expect_all_sections(w, type < 0 || type > 3 ? 1 : type);
  }
}

TEST(StereoWidening, DifferenceCircuitHasTheResponseOfItsMatrix) {
  for (int rate : {44100, 48000}) {
    for (double f : {40.0, 250.0, 620.0, 1700.0, 2800.0, 9000.0}) {
      complex h[11];
      for (size_t k = 0; k < 11; ++k) h[k] = kDifference[k].response(f, rate);
      const complex a = h[0] * h[1] * h[2], b = h[3] * h[4] * h[5];
      const double gain = 0.625;
      const complex mid = 0.5 * (1.0 + 0.25 * h[9] + h[10]);
      const complex side = gain * (h[8] + 1.5 * h[7] + 0.5);
      const complex expected[2][2] = {{a * (mid + side + 0.25), a * (mid - side)},
                                      {b * (mid - side), b * (mid + side + 0.25)}};
      for (int input : {0, 1}) {
        circuit c;
        c.rate(rate == 48000);
        difference_circuit_set_side_gain(&c, 5120);
        const auto got = measured(c, input, f, rate);
        for (size_t output : {0u, 1u})
          EXPECT_LT(std::abs(got[output] - expected[input][output]), 1e-3)
              << rate << " Hz, tone of " << f << " Hz, " << input << " to " << output;
      }
    }
  }
}

TEST(StereoWidening, SpareBandPassIsKeptUpButNeverRun) {
  circuit c, loud;
  IIR* spare = loud.section[6];
  set_section(spare, INT32_MAX);
  const stereo x = {noise(1000, kFullScale, 1), noise(1000, kFullScale, 2)};
  EXPECT_EQ(loud.run(x), c.run(x));
  for (int k = 0; k < 5; ++k) EXPECT_EQ(spare->state[k], 0);
  std::fill_n(spare->state, 5, 7);
  loud.reset();
  EXPECT_EQ(spare->state[4], 0);
  spare->state[4] = 7;
  loud.rate(1);
  EXPECT_EQ(spare->state[4], 0);
  expect_section(spare, kDifference[6], 1);
}

TEST(StereoWidening, MonoInputGetsADifference) {
  circuit c;
  const samples x = noise(48000, 1 << 20, 3);
  const stereo out = c.run({x, x});
  EXPECT_LT(correlation(out, 4800), 0.95);
  samples difference(x.size());
  for (size_t i = 0; i < x.size(); ++i) difference[i] = out.left[i] - out.right[i];
  EXPECT_GT(peak(difference), 1 << 19);
}

TEST(StereoWidening, CorrelationFallsForAStereoSignal) {
  const samples common = noise(48000, 1 << 20, 4);
  stereo x = {noise(48000, 1 << 19, 5), noise(48000, 1 << 19, 6)};
  for (size_t i = 0; i < common.size(); ++i) {
    x.left[i] += common[i];
    x.right[i] += common[i];
  }
  EXPECT_NEAR(correlation(x, 4800), 0.8, 0.01);  // 1 / (1 + 1/4)
  for (int type : {0, 1, 2}) {
    widening w;
    w.rate(type);
    EXPECT_LT(correlation(w.run(x), 4800), 0.6);
  }
}

TEST(StereoWidening, CrossfeedDelaysAreHalfAMillisecondAndTheCapacityBeforeARateIsSet) {
  constexpr size_t kDelay[] = {23, 23, 47, 95};
  for (int type = -1; type < 5; ++type) {
    network c;
    if (type >= 0) c.rate(type);
    for (IIR* s : {c.allpass_left, c.allpass_right, c.highpass_left, c.highpass_right})
      set_section(s, 0);
    for (IIR* s : {c.lowpass_left, c.lowpass_right}) set_section(s, 1 << 28);
    const stereo left = c.run({impulse(200, 8192), samples(200)});
    const size_t expected = type < 0 ? 95 : kDelay[type > 3 ? 1 : type];
    EXPECT_EQ(peak(left.left), 0);
    EXPECT_EQ(first_sound(left.right), expected);
    EXPECT_EQ(left.right[expected], 4096) << "gain 0.5 after init";
    const stereo right = c.run({samples(200), impulse(200, 8192)});
    EXPECT_EQ(first_sound(right.left), expected);
    EXPECT_EQ(peak(right.right), 0);
  }
}

TEST(StereoWidening, CrossfeedHasItsResponseAndWithoutGainIsItsAllpass) {
  for (double f : {100.0, 500.0, 1500.0, 6000.0}) {
    network c;
    c.rate(2);
    crossfeed_network_set_gain(&c, 6144);
    const auto got = measured(c, 1, f, 96000);
    const complex delay = std::polar(1.0, -2.0 * std::numbers::pi * f * 47 / 96000);
    EXPECT_LT(std::abs(got[0] - 0.75 * delay * kCrossfeed[1].response(f, 96000)), 1e-4) << f;
    EXPECT_LT(std::abs(got[1] - kCrossfeed[0].response(f, 96000) -
                       0.1875 * kCrossfeed[2].response(f, 96000)),
              1e-4)
        << f;
  }
  network c, alone;
  crossfeed_network_set_gain(&c, 0);
  stereo x = {wild(1000, 7), wild(1000, 8)};
  const stereo out = c.run(x);
  for (size_t i = 0; i < 1000; ++i) {
    IIR_process_32(alone.allpass_left, &x.left[i], &x.left[i]);
    IIR_process_32(alone.allpass_right, &x.right[i], &x.right[i]);
  }
  EXPECT_EQ(out, x);
}

// Sections as plain gains show where sums wrap and where each one saturates.
TEST(StereoWidening, DifferenceCircuitWrapsItsSumsAndCrossfeedSaturatesOneByOne) {
  circuit d;
  for (IIR* s : d.section) set_section(s, 1 << 28);
  set_section(d.section[9], 0);
  difference_circuit_set_side_gain(&d, INT32_MAX);
  // a = 2^26 - 1 (the sections' limit), b = 0: s = d = 2^26 - 1, mid = s,
  // side = (d + 2 d + d / 2 - d / 2) x 2^18 saturates, and its sum with mid and a / 4 wraps.
  const int a = (1 << 26) - 1;
  stereo out = d.run({{1 << 27}, {0}});
  EXPECT_EQ(out.left[0], static_cast<int>(uint32_t(INT32_MAX) + uint32_t(a) + uint32_t(a >> 2)));
  EXPECT_EQ(out.right[0], a - INT32_MAX);

  network c;
  c.rate(1);
  audio_delay_set_delay(c.delay_left, 0);
  audio_delay_set_delay(c.delay_right, 0);
  for (IIR* s : {c.allpass_left, c.allpass_right, c.lowpass_left, c.lowpass_right})
    set_section(s, 1 << 28);
  for (IIR* s : {c.highpass_left, c.highpass_right}) set_section(s, -(1 << 28));
  crossfeed_network_set_gain(&c, INT32_MAX);
  out = c.run({{20000}, {20000}});
  // The crossfed part and its sum clip at 2^31 - 1; 20000 x 2^16 is taken from what is left.
  EXPECT_NEAR(out.right[0], INT32_MAX - 20000 * 65536, 2);
}

TEST(StereoWidening, EarlyReflectionsArriveAtTheLoopLengthsOnTheirOwnSide) {
  constexpr size_t n = 3200;
  reflector r;
  for (IIR* s : {r.highpass_left, r.highpass_right}) set_section(s, 1 << 28);
  for (allpass* s : {r.allpass_left[0], r.allpass_left[1], r.allpass_right[0], r.allpass_right[1]})
    allpass_setfeedback(s, 0);  // delays of 241 + 337 and 269 + 367 samples
  early_reflector_set_dry_gain(&r, 4096);
  early_reflector_set_wet_gain(&r, 16384);
  early_reflector_set_damp(&r, 0);
  early_reflector_set_roomsize(&r, 8192);
  const int height = 1 << 22;
  samples left(n), right(n);
  left[0] = right[0] = height / 2;
  for (size_t k : {1109u, 1399u, 1489u, 1777u}) left[578 + k] = height / 2;
  for (size_t k : {1151u, 1423u, 1523u, 1801u}) right[636 + k] = height / 2;
  // Second rounds at 0.990 of the first.
  left[578 + 2 * 1109] = (height / 2) / 8192 * 8112;
  right[636 + 2 * 1151] = (height / 2) / 8192 * 8112;
  dc_remove dc_left{}, dc_right{};
  for (size_t i = 0; i < n; ++i) {
    dc_remove_process_24(&dc_left, &left[i], &left[i]);
    dc_remove_process_24(&dc_right, &right[i], &right[i]);
  }
  const samples none(n);
  stereo out = r.run({impulse(n, height), none});
  EXPECT_EQ(samples(out.left.begin(), out.left.begin() + 3000),
            samples(left.begin(), left.begin() + 3000));
  EXPECT_EQ(out.right, none);
  r.reset();
  EXPECT_EQ(r.run({none, impulse(n, height)}), (stereo{none, right}));
  for (int k = 0; k < 4; ++k) {
    EXPECT_EQ(r.comb_right[k]->feedback, 8112);
    EXPECT_EQ(r.comb_right[k]->damp1, 0);
  }
}

TEST(StereoWidening, SettingsReachTheirStages) {
  widening w;
  const auto values = [&] {
    int v[7];
    stereo_widening_system_getstatus(&w, &v[0]);
    stereo_widening_system_dc_get_side_gain(&w, &v[1]);
    stereo_widening_system_cfn_get_gain(&w, &v[2]);
    stereo_widening_system_er_get_dry_gain(&w, &v[3]);
    stereo_widening_system_er_get_wet_gain(&w, &v[4]);
    stereo_widening_system_er_get_roomsize(&w, &v[5]);
    stereo_widening_system_er_get_damp(&w, &v[6]);
    return samples(v, v + 7);
  };
  EXPECT_EQ(values(), samples({0, 4096, 4096, 6144, 6144, 4096, 4096}));
  EXPECT_EQ(w.reflector->comb_left[3]->feedback, 6945);
  EXPECT_EQ(w.reflector->comb_right[0]->damp1, 1650);
  stereo_widening_system_setstatus(&w, 1);
  stereo_widening_system_dc_set_side_gain(&w, 2);
  stereo_widening_system_cfn_set_gain(&w, 3);
  stereo_widening_system_er_set_dry_gain(&w, 4);
  stereo_widening_system_er_set_wet_gain(&w, 5);
  stereo_widening_system_er_set_roomsize(&w, INT32_MAX);
  stereo_widening_system_er_set_damp(&w, INT32_MIN);
  EXPECT_EQ(values(), samples({1, 2, 3, 4, 5, INT32_MAX, INT32_MIN}));
  EXPECT_EQ(w.reflector->comb_left[3]->feedback, 611581951 + 5779);  // 2333 x 2^18 - 1
  EXPECT_EQ(w.reflector->comb_right[0]->damp1, -865337344);          // -3301 x 2^18
  w.reset();
  w.rate(0);
  EXPECT_EQ(values(), samples({1, 2, 3, 4, 5, INT32_MAX, INT32_MIN}));
}

TEST(StereoWidening, At192kHzOnlyTheRoomsTailIsLeft) {
  constexpr int n = 120000;
  widening w;
  stereo_widening_system_er_set_roomsize(&w, 0);
  w.run({noise(4000, kFullScale, 9), noise(4000, kFullScale, 10)});
  w.rate(3);
  const stereo x = {noise(n, kFullScale, 11), noise(n, kFullScale, 12)};
  const stereo out = w.run(x);
  EXPECT_GT(peak({out.left.begin(), out.left.begin() + 2000}), 1 << 16);
  for (const samples& s : {out.left, out.right}) {
    EXPECT_EQ(samples(s.end() - 2000, s.end()), samples(2000, s.back()));
    EXPECT_NEAR(s.back(), -4, 4);  // the DC remover's resting place
  }
  w.reset();
  EXPECT_EQ(w.run(x), (stereo{samples(n), samples(n)}));
  int left = 5, right = 6;
  for (int count : {0, -1, INT32_MIN})
    stereo_widening_system_process(&w, &left, &right, &left, &right, count);
  EXPECT_EQ(left, 5);
  EXPECT_EQ(right, 6);
}

// One frame at a time (each stage's one-frame function), random blocks, and outputs crossed over
// the inputs, on ordinary and on wild samples and settings.
TEST(StereoWidening, GivesTheSameBitsHoweverTheStreamIsCutAndWhateverBuffersCoincide) {
  constexpr int n = 3000;
  for (int type = 0; type < 4; ++type) {
    widening single, cut, crossed;
    for (widening* w : {&single, &cut, &crossed}) {
      w->rate(type);
      if (type == 1) continue;
      stereo_widening_system_dc_set_side_gain(w, INT32_MAX);
      stereo_widening_system_cfn_set_gain(w, INT32_MIN);
      stereo_widening_system_er_set_dry_gain(w, INT32_MIN);
      stereo_widening_system_er_set_wet_gain(w, 123456789);
      stereo_widening_system_er_set_damp(w, INT32_MIN);
      stereo_widening_system_er_set_roomsize(w, INT32_MAX);
    }
    const stereo x = {wild(n, 13), wild(n, 14)};
    stereo one = x, in = x, two = x, swapped = x;
    for (size_t i = 0; i < n; ++i) {
      int *l = &one.left[i], *r = &one.right[i];
      difference_circuit_process_32(single.difference, l, r, l, r);
      crossfeed_network_process_32(single.crossfeed, l, r, l, r);
      early_reflector_process_32(single.reflector, l, r, l, r);
    }
    over_random_splits(n, 700, 15, [&](int start, int count) {
      const size_t at = static_cast<size_t>(start);
      stereo_widening_system_process(&cut, &in.left[at], &in.right[at], &two.left[at],
                                     &two.right[at], count);
    });
    EXPECT_EQ(two, one) << type;
    // Each stage on crossed buffers; three crossings leave the channels crossed.
    int *l = swapped.left.data(), *r = swapped.right.data();
    difference_circuit_process_block(crossed.difference, l, r, r, l, n);
    crossfeed_network_process_block(crossed.crossfeed, r, l, l, r, n);
    early_reflector_process_block(crossed.reflector, l, r, r, l, n);
    EXPECT_EQ(swapped, (stereo{one.right, one.left})) << type;
  }
}

TEST(StereoWidening, EndsTwiceAndStartsAgain) {
  widening w;
  circuit c;
  network f;
  for (int k = 0; k < 2; ++k) {
    stereo_widening_system_end(&w);
    difference_circuit_end(&c);
    crossfeed_network_end(&f);
  }
  EXPECT_EQ(w.difference, nullptr);
  EXPECT_EQ(c.section[10], nullptr);
  EXPECT_EQ(c.side_gain, 0);
  EXPECT_EQ(f.gain, 0);
  stereo_widening_system_init(&w);
  EXPECT_GT(peak(w.run({impulse(9, kFullScale), samples(9)}).left), 0);
}
