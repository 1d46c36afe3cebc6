// Every kernel's variants against its portable form, byte for byte: outputs, states, and what lies
// around the buffers. Each name in SONX_KERNELS has a run below.
#include <gtest/gtest.h>

#include <cmath>

#include "dsp/kernels/kernels.h"
#include "dsp/kernels/nonlinear.h"
#include "dsp/kernels/section_bank.h"
#include "fixed.h"
#include "support/signals.h"

namespace {

constexpr int kSize = 300;   // samples of a buffer
constexpr int kHistory = 8;  // of them before the first one that a kernel is told of
constexpr int kLengths[] = {240, 256, 1, 7, 8, 9, 15, 16, 17, 31, 255, 0, -1, -256, INT32_MIN};

// What a kernel reads and writes, made from a seed.
struct scene {
  std::mt19937_64 random;
  unsigned seed;
  samples a, b, out;
  std::vector<int64_t> wide;
  int *x, *y, *z, *to;  // in a, b and out, and one of the three
  int gain;

  explicit scene(unsigned from)
      : random(from),
        seed(from),
        a(signal(kSize)),
        b(signal(kSize)),
        out(signal(kSize)),
        x(a.data() + kHistory),
        y(b.data() + kHistory),
        z(out.data() + kHistory),
        to(pick({x, y, z})),
        gain(pick({8192, 4096, 1, 0, -8192, 131072, INT32_MAX, INT32_MIN, any()})) {
    for (int i = 0; i < kSize; ++i) wide.push_back(any_64());
  }

  int any() { return static_cast<int>(random()); }
  int64_t any_64() { return static_cast<int64_t>(random()) >> (random() % 64); }
  template <typename T = int>
  T pick(std::initializer_list<T> list) {
    return list.begin()[random() % list.size()];
  }

  // Any words, full scale, a whisper, or the surroundings of the overdrive's limits.
  samples signal(int n) {
    const auto kind = random() % 4, from = random();
    if (kind < 3)
      return kind == 0 ? wild(n, unsigned(from))
                       : noise(n, kind == 1 ? kFullScale : 40, unsigned(from));
    samples near(static_cast<size_t>(n));
    for (int& v : near)
      v = wrap_add(pick({1, -1}) * pick({0, 1398100, 2796202, 4194304, 1 << 30, INT32_MAX}),
                   static_cast<int>(random() % 9) - 4);
    return near;
  }

  void keep(std::initializer_list<int64_t> results) { wide.insert(wide.end(), results); }
  template <typename Word>
  void keep(const Word* words, int n) {
    wide.insert(wide.end(), words, words + n);
  }
};

using kernel_run = void (*)(const kernel_table& k, scene& s, int n);

namespace run {

constexpr kernel_run scale_q13 = [](auto& k, auto& s, int n) { k.scale_q13(s.x, s.gain, s.to, n); };
constexpr kernel_run scale_to_silence_q13 = [](auto& k, auto& s, int n) {
  k.scale_to_silence_q13(s.x, s.gain, s.to, n);
};
constexpr kernel_run scale_to_silence_q17 = [](auto& k, auto& s, int n) {
  k.scale_to_silence_q17(s.x, s.gain, s.to, n);
};
constexpr kernel_run scale_each_to_silence_q17 = [](auto& k, auto& s, int n) {
  k.scale_each_to_silence_q17(s.x, s.y, s.to, n);
};
constexpr kernel_run scale_twice_to_silence_q17 = [](auto& k, auto& s, int n) {
  k.scale_twice_to_silence_q17(s.x, s.y, s.z, s.to, n);
};
constexpr kernel_run mix_two_q13 = [](auto& k, auto& s, int n) {
  k.mix_two_q13(s.x, s.gain, s.y, s.pick({5000, s.any()}), s.to, n);
};
constexpr kernel_run mix_two_to_silence_q13 = [](auto& k, auto& s, int n) {
  k.mix_two_to_silence_q13(s.x, s.gain, s.y, s.pick({-8191, s.any()}), s.to, n);
};
constexpr kernel_run mix_difference_q13 = [](auto& k, auto& s, int n) {
  const samples band = s.signal(kSize), low = s.signal(kSize);
  const int *const c = band.data(), *const d = low.data();
  k.mix_difference_q13({s.x, s.y, s.z, c, d, s.x, s.y, d}, s.gain, s.x, s.to == s.x ? s.y : s.to,
                       n);
};
constexpr kernel_run mix_three_q13 = [](auto& k, auto& s, int n) {
  const mix_input three[] = {{s.x, s.gain}, {s.y, s.pick({4095, s.any()})}, {s.z, 8192}};
  k.mix_three_q13(three, s.to, n);
};
constexpr kernel_run mix_crossfeed_q13 = [](auto& k, auto& s, int n) {
  k.mix_crossfeed_q13(s.x, s.y, s.z, s.gain, s.to, n);
};
constexpr kernel_run mix_wrapping_q13 = [](auto& k, auto& s, int n) {
  const mix_input two[] = {{s.x, s.gain}, {s.y, s.any()}};
  k.mix_wrapping_q13(two, s.pick({0, 1, 2}), s.to, n);
};
constexpr kernel_run add = [](auto& k, auto& s, int n) { k.add(s.x, s.y, s.to, n); };
constexpr kernel_run fade = [](auto& k, auto& s, int n) {
  fade_share share = {s.pick({0, 524288, kFadeFull, kFadeFull + 100, -5, INT32_MAX}),
                      s.pick({0, 2048, -2048, kFadeFull, -4321, s.any()})};
  k.fade(&share, s.y, s.x, n);
  s.keep({share.depth_q20, share.step_q20});
};
constexpr kernel_run clip = [](auto& k, auto& s, int n) { k.clip(s.x, s.y, s.to, n); };
constexpr kernel_run polynomial = [](auto& k, auto& s, int n) {
  k.polynomial(s.template pick<samples>({samples(8, 32768), s.signal(8)}).data(), s.x, s.to, n);
};
// Inputs up to the largest that fits.
constexpr kernel_run fitting_polynomial = [](auto& k, auto& s, int n) {
  const samples c =
      s.template pick<samples>({{123008, -511, 699050, -345, 310689, -288, 116508, -256},
                                {-32768, 700000, -700000, 700000, 90000, -32768, 7, 0},
                                samples(8, 32768)});
  int largest = 1 << 30;
  while (!polynomial_fits(c.data(), largest)) largest -= largest / 100 + 1;
  ASSERT_GT(largest, 1 << 18);
  for (int& v : s.a) v = std::clamp(v, -largest, largest);
  k.fitting_polynomial(c.data(), s.x, s.to, n);
};
constexpr kernel_run overdrive_bit_shift = [](auto& k, auto& s, int n) {
  k.overdrive_bit_shift(s.x, s.to, n);
};
constexpr kernel_run level = [](auto& k, auto& s, int n) {
  const block_level found = k.level(s.x, n);
  s.keep({found.largest, found.sum});
};
constexpr kernel_run peak = [](auto& k, auto& s, int n) { s.keep({k.peak(s.x, n)}); };
constexpr kernel_run fir_sums = [](auto& k, auto& s, int n) {
  k.fir_sums(s.x, s.b.data(), s.pick({1, 2, 7}), s.wide.data(), n);
};

// Chains as the modules have them, and around the edges of what fits in lanes, with sections that
// ring, at the edge of stability, and without meaning; one after the other or from one input, which
// the last chain may overwrite.
template <auto kernel>
void chains(const kernel_table& k, scene& s, int n) {
  constexpr int one = 1 << 28;
  const samples counts = s.pick<samples>({{10, 10},
                                          {10},
                                          {2, 2, 2, 2},
                                          {2, 2, 3, 3},
                                          {3, 3},
                                          {1, 1, 1, 1},
                                          {1, 1, 1, 1, 1, 1},
                                          {1, 1},
                                          {20},
                                          {21},
                                          {5, 6, 3},
                                          {0, 3},
                                          {9, 9, 9},
                                          {2, 1, 2, 1, 2}});
  std::vector<samples> words;
  std::vector<IIR> sections;
  for (int i = 0; i < 27; ++i) {
    words.push_back(s.pick<samples>({{279000000, -500000000, 230000000, 520000000, -258000000},
                                     {274667, 549335, 274667, 512041066, -244704283},
                                     {one, 0, 0, 2 * one - 1, -one},
                                     {INT32_MAX, INT32_MIN, INT32_MAX, INT32_MIN, INT32_MIN},
                                     samples(5, INT32_MIN),
                                     wild(5, s.seed)}));
    words.push_back(wild(5, unsigned(s.random())));
  }
  std::vector<IIR*> pointers;
  for (size_t i = 0; i < 27; ++i)
    sections.push_back({words[2 * i].data(), words[2 * i + 1].data()});
  for (IIR& section : sections) pointers.push_back(&section);
  std::vector<samples> outs(counts.size(), samples(256, 7));
  std::vector<iir_chain> list;
  IIR* const* next = pointers.data();
  for (size_t c = 0; c < counts.size(); next += counts[c++])
    list.push_back({s.seed % 2 ? s.x : outs[c].data(), outs[c].data(), next, counts[c]});
  if (s.seed % 4 == 3) list.back().out = s.x;
  for (int length : {n, 16, n}) {
    (k.*kernel)(list.data(), static_cast<int>(list.size()), std::min(length, 256));
    for (const samples& out : outs) s.keep(out.data(), 256);
  }
  for (const samples& word : words) s.keep(word.data(), 5);
}
constexpr kernel_run iir_chains_32 = chains<&kernel_table::iir_chains_32>;
constexpr kernel_run iir_chains_wrapping = chains<&kernel_table::iir_chains_wrapping>;

// Sections that ring and sections without meaning.
constexpr kernel_run band_tree_32 = [](auto& k, auto& s, int n) {
  std::vector<samples> words;
  std::vector<IIR> sections;
  std::vector<IIR*> pointers;
  for (int i = 0; i < 26; ++i) {
    words.push_back(
        s.template pick<samples>({{1015678, 2031357, 1015678, 470823151, -206450411},
                                  {279000000, -500000000, 230000000, 520000000, -258000000},
                                  wild(5, s.seed)}));
    words.push_back(wild(5, unsigned(s.random())));
  }
  for (size_t i = 0; i < 26; ++i)
    sections.push_back({words[2 * i].data(), words[2 * i + 1].data()});
  for (IIR& section : sections) pointers.push_back(&section);
  std::vector<samples> bands(8, samples(256, 7));
  const auto tree = [&](int* in, IIR** first, samples* band) -> band_tree {
    return {in,
            first[0],
            {first + 1, first + 5, first + 9},
            {first + 3, first + 7, first + 11},
            {band[0].data(), band[1].data(), band[2].data(), band[3].data()}};
  };
  const band_tree two[] = {tree(s.x, &pointers[0], &bands[0]),
                           tree(s.pick({s.x, s.y}), &pointers[13], &bands[4])};
  for (int length : {n, 16, n}) k.band_tree_32(two, std::min(length, 256));
  for (const samples& word : words) s.keep(word.data(), 5);
  for (const samples& band : bands) s.keep(band.data(), 256);
};

// Sections of both kinds in any rows, some of them one behind the other, some lanes empty.
constexpr kernel_run section_slice = [](auto& k, auto& s, int) {
  section_bank bank;
  section_bank_init(&bank);
  std::vector<samples> words, slices(21, samples(kSliceFrames));
  std::vector<IIR> sections;
  for (int i = 0; i < 20; ++i) {
    words.push_back(
        s.template pick<samples>({{1015678, 2031357, 1015678, 470823151, -206450411},
                                  {279000000, -500000000, 230000000, 520000000, -258000000},
                                  samples(5, INT32_MIN),
                                  wild(5, s.seed)}));
    words.push_back(wild(5, unsigned(s.random())));
  }
  for (int i = 0; i < 20; ++i) sections.push_back({words[2 * i].data(), words[2 * i + 1].data()});
  for (int i = 0; i < 20; i += 2)
    for (int j : {i, i + 1}) {
      if (s.seed % 7 == 0 && i == 4) continue;
      bank.in[j / 4][j % 4] = s.seed % 3 == 0 && j > 1 ? slices[j - 2].data() : s.x + 3 * j;
      bank.out[j / 4][j % 4] = slices[j].data();
      section_bank_enter(&bank, j / 4, j % 4, &sections[j]);
    }
  const int first = static_cast<int>(s.random() % 5),
            rows = 1 + static_cast<int>(s.random() % (5 - first));
  for (int call = 0; call < 3; ++call) k.section_slice(&bank, first, rows);
  for (int j = 4 * first; j < 4 * (first + rows); ++j)
    section_bank_leave(&bank, j / 4, j % 4, &sections[j]);
  for (const samples& word : words) s.keep(word.data(), 5);
  for (const samples& slice : slices) s.keep(slice.data(), kSliceFrames);
};

// Low-passes and sections without meaning; both channels may share their input.
constexpr kernel_run split_energies = [](auto& k, auto& s, int n) {
  std::vector<samples> words;
  for (int i = 0; i < 6; ++i) {
    words.push_back(s.template pick<samples>({{1015678, 2031357, 1015678, 470823151, -206450411},
                                              {26099321, 52198643, 26099321, 202063902, -38025733},
                                              samples(5, INT32_MIN),
                                              wild(5, s.seed)}));
    words.push_back(wild(5, unsigned(s.random())));
  }
  std::vector<IIR> sections;
  for (int i = 0; i < 6; ++i) sections.push_back({words[2 * i].data(), words[2 * i + 1].data()});
  IIR* const pointers[] = {&sections[0], &sections[1], &sections[2],
                           &sections[3], &sections[4], &sections[5]};
  const split_channel two[] = {{s.x, pointers, s.wide.data()},
                               {s.pick({s.x, s.y}), pointers + 3, s.wide.data() + 4}};
  for (int length : {n, 9, n}) k.split_energies(two, length);
  for (const samples& word : words) s.keep(word.data(), 5);
};

// Notches as the canceller sets them, and with factors, outputs and states of more than 32 bits.
constexpr kernel_run notch_row = [](auto& k, auto& s, int n) {
  notch filters[6];
  notch_share row[6];
  const int count = s.pick({0, 3, 4, 5, 6});
  for (int i = 0; i < count; ++i) {
    filters[i] = {s.pick({7168, 8190, 8000, s.seed % 4 ? 7500 : 46341}),
                  s.any() >> (s.seed % 5 ? 3 : 0), s.wide.data() + 5 * i};
    for (int word : {0, 1})
      if (s.seed % 8) s.wide[size_t(5 * i + word)] = s.any();
    row[i] = {&filters[i], {static_cast<int>(s.random() % (kFadeFull + 1)), s.any() >> 19}};
  }
  k.notch_row(row, count, s.x, n);
  for (int i = 0; i < count; ++i) s.keep({row[i].share.depth_q20});
};

// Full scale and near silence, in pieces, from the states that earlier ones left.
constexpr kernel_run half_band_branches = [](auto& k, auto& s, int n) {
  int state[8] = {};
  for (int length : {n, 1, 2, 5, n}) {
    for (int* x : {s.x, s.y})
      for (int i = 0; i < kSize - kHistory; ++i) x[i] = s.any() % (s.seed % 3 ? 1 << 25 : 40);
    k.half_band_branches(state, s.x, s.y, length);
    s.keep(state, 8);
    s.keep(s.x, kSize - kHistory);
  }
};

// The converters' shapes, rows up to the bounds of their halves, samples up to the rails.
constexpr kernel_run polyphase_q15 = [](auto& k, auto& s, int n) {
  constexpr polyphase kShapes[] = {{nullptr, 3, 48, 1},  {nullptr, 1, 144, 3},
                                   {nullptr, 11, 48, 8}, {nullptr, 8, 64, 11},
                                   {nullptr, 3, 24, 2},  {nullptr, 4, 128, 11}};
  polyphase f = kShapes[s.random() % std::size(kShapes)];
  std::vector<int16_t> rows(11 * 144), x(4000), out(12 * 300, 7);
  const int most = 4 * 32767 / f.taps;  // of a word, so that half a row stays below 2.0
  const auto word = [&](int limit) {
    return static_cast<int16_t>(s.seed % 3 ? s.any() % (limit + 1) : s.pick({limit, -limit}));
  };
  for (int16_t& v : rows) v = word(most);
  for (int16_t& v : x) v = s.seed % 2 ? word(32767) : int16_t{-32768};
  f.rows = rows.data();
  k.polyphase_q15(f, x.data(), out.data(), std::min(n, 300));
  s.keep(out.data(), 12 * 300);
};

constexpr kernel_run allpass_block = [](auto& k, auto& s, int n) {
  allpass section = {s.pick({4096, 4096, -4096, INT32_MAX}), s.out.data(), 0, 0};
  section.length = s.pick({-1, 1, 7, 8, 100, 241, 300});
  for (int length : {n, 5, n}) k.allpass_block(&section, s.x, std::min(length, 256));
  s.keep({section.index});
};

// Loops longer and shorter than a block, gains on both sides of what can't saturate.
template <auto kernel>
void combs(const kernel_table& k, scene& s, int n) {
  const int length = s.pick({-40, 0, 1, 7, 40, 100, 260}), size = std::max(length, 1) + 35;
  const int feedback = s.pick({6945, 6945, 8192, 0, 8193, -1, INT32_MIN});
  const int damp1 = s.pick({1650, 1650, 0, 8192, 8193, -1, INT32_MAX});
  const int damp2 = s.pick({8192 - damp1 % 8193, 200, 0, 8192, INT32_MAX});
  samples loops = s.signal(8 * size);
  comber comb[8];
  comber* list[8];
  for (int i = 0; i < 8; ++i) {
    list[i] = &comb[i];
    comb[i] = {feedback, s.any(), damp1, damp2, loops.data() + i * size, length + 5 * i, 0};
    if (i < comb[i].length) comb[i].index = i;
  }
  comb[s.random() % 8].feedback = s.pick({feedback, INT32_MIN});
  const comb_quartet two[] = {{list, s.x, s.z}, {list + 4, s.x, s.pick({s.y, s.z})}};
  for (int call : {n, 3, n}) (k.*kernel)(two, call);
  for (const comber& c : comb) s.keep({c.index, c.filter_store});
  s.keep(loops.data(), 8 * size);
}
constexpr kernel_run comb_quartets_add_16 = combs<&kernel_table::comb_quartets_add_16>;
constexpr kernel_run comb_quartets_add_24 = combs<&kernel_table::comb_quartets_add_24>;

constexpr kernel_run fft_stage = [](auto& k, auto& s, int) {
  complex data[256 + 128], twiddles[128];
  for (complex& v : data) v = {s.any_64(), s.any_64()};
  for (complex& w : twiddles) w = {s.any() >> 2, s.any() >> 2};
  k.fft_stage(data, s.pick({256, 128, 100, 12, 6, 4, 3, 1, 0}), 1 << s.random() % 8, twiddles);
  s.keep(&data[0].re, 2 * (256 + 128));
};

// Stages of all spans, factors of all angles, words up to the rails.
constexpr kernel_run butterflies_q15 = [](auto& k, auto& s, int) {
  const int points = 1 << (1 + s.random() % 8), span = 1 << s.random() % 8;
  if (2 * span > points) return;
  int words[512], cosines[256], sines[256];
  for (int& word : words) word = s.seed % 3 ? int16_t(s.any()) : s.pick({-32768, 32767, 0});
  for (int i = 0; i < 256; ++i) {
    const double angle = s.pick({0.0, 0.25, 0.5, 1.0, 1.5}) * M_PI + (s.seed % 2) * s.any();
    cosines[i] = static_cast<int>(std::lround(32768 * std::cos(angle)));
    sines[i] = static_cast<int>(std::lround(32768 * std::sin(angle)));
  }
  k.butterflies_q15(words, words + 256,
                    {points, span, cosines, sines, s.random() % 2 == 0, int(s.random() % 3)});
  s.keep(words, 512);
};
constexpr kernel_run halving_butterflies_q30 = [](auto& k, auto& s, int) {
  const int points = 1 << (1 + s.random() % 8), span = 1 << s.random() % 8;
  if (2 * span > points) return;
  constexpr int kMost = (1 << 29) - 1;
  int words[512], cosines[256], sines[256];
  for (int& word : words) word = s.seed % 3 ? s.any() % kMost : s.pick({-kMost, kMost, -1, 0, 1});
  for (int i = 0; i < 256; ++i) {
    const double angle = s.pick({0.0, 0.25, 0.5, 1.0, 1.5}) * M_PI + (s.seed % 2) * s.any();
    cosines[i] = static_cast<int>(std::lround(std::ldexp(std::cos(angle), 30)));
    sines[i] = static_cast<int>(std::lround(std::ldexp(std::sin(angle), 30)));
  }
  k.halving_butterflies_q30(words, words + 256,
                            {points, span, cosines, sines, s.random() % 2 == 0, 0});
  s.keep(words, 512);
};

}  // namespace run

struct kernel_case {
  const char* name;
  kernel_run run;
};
#define SONX_CASE(kernel) {#kernel, run::kernel},
constexpr kernel_case kCases[] = {SONX_KERNELS(SONX_CASE)};

void PrintTo(const kernel_case& c, std::ostream* out) { *out << c.name; }

class Kernel : public testing::TestWithParam<kernel_case> {};

}  // namespace

TEST_P(Kernel, GivesThePortableBits) {
  const kernel_table* const before = &kernels();
  ASSERT_TRUE(select_kernels("portable"));
  const kernel_table& defining = kernels();
  for (const char* name : {"avx2", "neon"}) {
    if (!select_kernels(name)) continue;
    for (unsigned seed = 0; seed < 600; ++seed)
      for (int n : {kLengths[seed % std::size(kLengths)], static_cast<int>(seed % 258)}) {
        scene expected(seed), found(seed);
        GetParam().run(defining, expected, n);
        GetParam().run(kernels(), found, n);
        ASSERT_TRUE(found.a == expected.a && found.b == expected.b && found.out == expected.out &&
                    found.wide == expected.wide)
            << name << ", seed " << seed << ", n " << n;
      }
  }
  select_kernels(before->name);
}

INSTANTIATE_TEST_SUITE_P(Of, Kernel, testing::ValuesIn(kCases),
                         [](const auto& c) { return std::string(c.param.name); });
