#include "ktv/resampler.h"

#include <gtest/gtest.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <cstring>
#include <string>
#include <utility>

#include "spl/by_two.h"
#include "spl/resample.h"
#include "support/pcm16.h"
#include "support/splits.h"

namespace {

// A rate pair for each mode, what an input length must be a multiple of, and the cascade: u and d
// for the by-two samplers, T 16>48, t 48>16, E 8>22, S 16>22, s 22>16, e 22>8.
constexpr struct mode_case {
  int in_rate, out_rate, block;
  const char* stages;
} kModes[] = {
    {48000, 48000, 1, ""},     {8000, 16000, 1, "u"},     {16000, 48000, 160, "T"},
    {8000, 32000, 1, "uu"},    {8000, 48000, 80, "uT"},   {4000, 48000, 40, "uuT"},
    {32000, 48000, 160, "Td"}, {4000, 22000, 80, "uE"},   {8000, 22000, 80, "E"},
    {16000, 22000, 160, "S"},  {22000, 32000, 110, "us"}, {11000, 32000, 110, "usu"},
    {16000, 8000, 1, "d"},     {48000, 16000, 480, "t"},  {32000, 8000, 1, "dd"},
    {48000, 8000, 480, "td"},  {48000, 4000, 480, "tdd"}, {48000, 32000, 240, "ut"},
    {22000, 4000, 220, "ed"},  {22000, 8000, 220, "e"},   {22000, 16000, 220, "s"},
};
constexpr int kModeCount = 21;
constexpr int kLateRule = 17;

struct converter {
  Resampler_t it;
  explicit converter(int mode) {
    Resampler_config(&it, kModes[mode].in_rate, kModes[mode].out_rate);
  }
  converter(int in_rate, int out_rate) { Resampler_config(&it, in_rate, out_rate); }
  ~converter() { Resampler_delete(&it); }
  converter(const converter&) = delete;

  int proc(const pcm& in, pcm& out) {
    int made = -1;
    const int result =
        Resampler_proc(&it, in.data(), int(in.size()), out.data(), int(out.size()), &made);
    if (result == 0) out.resize(size_t(made));
    return result;
  }
  pcm convert(const pcm& in) {
    pcm out(in.size() * 12);
    EXPECT_EQ(proc(in, out), 0);
    return out;
  }
};

int expected_length(int mode, int n) {
  return int(int64_t{n} * kModes[mode].out_rate / kModes[mode].in_rate);
}

constexpr int kCommon = 10560;  // a length that every mode takes: twice the blocks' common multiple

template <typename State, typename Reset, typename Run>
pcm by_kernel(const pcm& in, int block_in, int block_out, Reset reset, Run run) {
  State state;
  reset(&state);
  int scratch[496];
  pcm out;
  for (size_t from = 0; from < in.size(); from += size_t(block_in)) {
    short block[480];
    run(&in[from], block, &state, scratch);
    out.insert(out.end(), block, block + block_out);
  }
  return out;
}

// One stage by hand, the whole stream at once.
pcm by_hand(char stage, const pcm& in) {
#define KERNEL(name, block_in, block_out)                                              \
  by_kernel<tekaSpl_State##name>(in, block_in, block_out, tekaSpl_ResetResample##name, \
                                 tekaSpl_Resample##name)
  switch (stage) {
    case 'T':
      return KERNEL(16khzTo48khz, 160, 480);
    case 't':
      return KERNEL(48khzTo16khz, 480, 160);
    case 'E':
      return KERNEL(8khzTo22khz, 80, 220);
    case 'S':
      return KERNEL(16khzTo22khz, 160, 220);
    case 's':
      return KERNEL(22khzTo16khz, 220, 160);
    case 'e':
      return KERNEL(22khzTo8khz, 220, 80);
  }
#undef KERNEL
  int state[8] = {};
  pcm out(stage == 'u' ? 2 * in.size() : in.size() / 2);
  (stage == 'u' ? tekaSpl_UpsampleBy2 : tekaSpl_DownsampleBy2)(in.data(), int(in.size()),
                                                               out.data(), state);
  return out;
}

}  // namespace

TEST(Resampler, ChoosesTheModeByTheReducedRatio) {
  for (int mode = 0; mode < kModeCount; ++mode) {
    const mode_case& m = kModes[mode];
    converter c(mode);
    EXPECT_EQ(c.it.mode, mode);
    EXPECT_EQ(c.it.in_khz, m.in_rate / 1000);
    EXPECT_EQ(c.it.out_khz, m.out_rate / 1000);
    const std::string stages = m.stages;
    EXPECT_EQ(c.it.state1 != nullptr, stages.size() > 0) << mode;
    EXPECT_EQ(c.it.state2 != nullptr, stages.size() > 1) << mode;
    EXPECT_EQ(c.it.state3 != nullptr, stages.size() > 2) << mode;
    EXPECT_EQ(c.it.reserved1, nullptr);
    EXPECT_EQ(c.it.reserved2, nullptr);
  }
  converter odd_rates(11025, 22050);
  EXPECT_EQ(odd_rates.it.mode, 1);
  EXPECT_EQ(odd_rates.it.in_khz, 11);
  EXPECT_EQ(odd_rates.it.out_khz, 22);
}

TEST(Resampler, CopiesWhereTheRatioIsNotSupported) {
  const int pairs[][2] = {{44100, 48000}, {11025, 16000},  {48000, 44100}, {8000, 40000},
                          {48000, 47999}, {0, 8000},       {8000, 0},      {0, 0},
                          {-8000, 16000}, {-16000, -8000}, {INT32_MIN, -1}};
  const pcm in = pcm_wild(333, 1);
  for (const auto [in_rate, out_rate] : pairs) {
    converter c(in_rate, out_rate);
    EXPECT_EQ(c.it.mode, 0);
    EXPECT_EQ(c.it.state1, nullptr);
    EXPECT_EQ(c.convert(in), in) << in_rate << " to " << out_rate;
  }
}

TEST(Resampler, InitLeavesACopyingConverter) {
  Resampler_t fresh;
  std::fill_n(reinterpret_cast<char*>(&fresh), sizeof fresh, char{0x55});
  Resampler_init(&fresh);
  EXPECT_EQ(fresh.state1, nullptr);
  EXPECT_EQ(fresh.reserved2, nullptr);
  EXPECT_EQ(fresh.in_khz, 0);
  EXPECT_EQ(fresh.out_khz, 0);
  EXPECT_EQ(fresh.mode, 0);
  const short in[] = {1, -2, 3};
  short out[3];
  int made = 0;
  EXPECT_EQ(Resampler_proc(&fresh, in, 3, out, 3, &made), 0);
  EXPECT_EQ(made, 3);
  EXPECT_TRUE(std::equal(in, in + 3, out));
  Resampler_delete(&fresh);
}

TEST(Resampler, RunsEachCascadeInItsOrder) {
  const pcm in = pcm_noise(kCommon, 20000, 2);
  for (int mode = 0; mode < kModeCount; ++mode) {
    pcm expected = in;
    for (const char* stage = kModes[mode].stages; *stage; ++stage)
      expected = by_hand(*stage, expected);
    EXPECT_EQ(expected.size(), size_t(expected_length(mode, kCommon)));
    EXPECT_TRUE(converter(mode).convert(in) == expected) << "mode " << mode;
  }
}

// The figures of the kernels, of which up to three add up here.
TEST(Resampler, KeepsATonesLevelAndFrequencyInEveryMode) {
  for (int mode = 0; mode < kModeCount; ++mode) {
    const mode_case& m = kModes[mode];
    const int hertz = std::min(m.in_rate, m.out_rate) * 3 / 10;
    const pcm out = converter(mode).convert(pcm_sine(kCommon, hertz, m.in_rate, 30000.0));
    const int n = m.out_rate / 100;  // 10 ms hold whole periods of the tone
    const tone_report r = tone_in(out, hertz, m.out_rate, n);
    EXPECT_NEAR(20.0 * std::log10(std::abs(r.tone) / 30000.0), 0.0, 0.01) << "mode " << mode;
    EXPECT_GT(10.0 * std::log10(std::norm(r.tone) / 2.0 / r.rest_power), 68.0) << "mode " << mode;
  }
}

TEST(Resampler, GivesTheSameSamplesHoweverTheStreamIsCut) {
  const pcm in = pcm_wild(kCommon, 3);
  for (int mode = 0; mode < kModeCount; ++mode) {
    const int unit = mode == 12 ? 2 : mode == 14 ? 4 : kModes[mode].block;
    converter c(mode);
    pcm cut;
    over_random_splits(kCommon / unit, 4 + 400 / unit, 17, [&](int start, int count) {
      const auto from = in.begin() + start * unit;
      const pcm piece = c.convert(pcm(from, from + count * unit));
      cut.insert(cut.end(), piece.begin(), piece.end());
    });
    EXPECT_TRUE(cut == converter(mode).convert(in)) << "mode " << mode;
  }
}

TEST(Resampler, ConvertsInPlaceAndWithAnyOverlap) {
  for (int mode = 0; mode < kModeCount; ++mode) {
    const int n = 2 * std::max(kModes[mode].block, 80);
    const pcm in = pcm_wild(n, 4), expected = converter(mode).convert(in);
    for (int in_at : {0, 1, 100, n, 2000})
      for (int out_at : {0, 7, n - 1}) {
        pcm buffer(16000, 99);
        std::copy(in.begin(), in.end(), buffer.begin() + in_at);
        int made = 0;
        converter c(mode);
        ASSERT_EQ(Resampler_proc(&c.it, &buffer[size_t(in_at)], n, &buffer[size_t(out_at)],
                                 int(expected.size()), &made),
                  0);
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), buffer.begin() + out_at))
            << "mode " << mode << ", in at " << in_at << ", out at " << out_at;
      }
  }
}

// Every mode: the full room is enough, one sample less is refused before anything happens, a length
// off the block is refused, and what stands behind the output stays.
TEST(Resampler, KeepsToTheBlockAndToTheRoomGiven) {
  for (int mode = 0; mode < kModeCount; ++mode) {
    SCOPED_TRACE(mode);
    const int block = kModes[mode].block, n = 2 * std::max(block, 60);
    const int length = expected_length(mode, n);
    const pcm in = pcm_noise(n + 1, 20000, 5), first(in.begin(), in.begin() + n);
    converter c(mode);
    pcm out(size_t(length) + 1, 99);
    int made = -77;
    EXPECT_EQ(Resampler_proc(&c.it, in.data(), n, out.data(), length - 1, &made), -1);
    EXPECT_EQ(made, -77);
    EXPECT_EQ(Resampler_proc(&c.it, in.data(), -block, out.data(), length, &made), -1);
    if (block > 1 && mode != kLateRule)
      for (int off : {n + 1, n - 1, block / 2, 1}) {
        EXPECT_EQ(Resampler_proc(&c.it, in.data(), off, out.data(), length + 1, &made), -1) << off;
        EXPECT_EQ(made, -77);
      }
    EXPECT_TRUE(out == pcm(size_t(length) + 1, 99)) << "a refused call wrote";
    EXPECT_EQ(Resampler_proc(&c.it, in.data(), 0, out.data(), 0, &made), 0);
    EXPECT_EQ(made, 0);
    EXPECT_EQ(Resampler_proc(&c.it, in.data(), n, out.data(), length, &made), 0);
    EXPECT_EQ(made, length);
    EXPECT_EQ(out.back(), 99);
    out.pop_back();
    EXPECT_TRUE(out == converter(mode).convert(first)) << "a refused call left a trace";
  }
}

TEST(Resampler, NoticesAWrongLengthLateFrom48To32Kilohertz) {
  const pcm wrong = pcm_noise(250, 20000, 6), right = pcm_noise(480, 20000, 7);
  pcm out(400);
  int made = -77;
  converter advanced(kLateRule), refused_for_room(kLateRule), fresh(kLateRule);
  EXPECT_EQ(Resampler_proc(&advanced.it, wrong.data(), 250, out.data(), 400, &made), -1);
  EXPECT_EQ(Resampler_proc(&refused_for_room.it, wrong.data(), 250, out.data(), 165, &made), -1);
  EXPECT_EQ(made, -77);
  EXPECT_TRUE(out == pcm(400));
  // The first stage has taken the 250 samples, the second has not.
  pcm doubled = by_hand('u', [&] {
    pcm both = wrong;
    both.insert(both.end(), right.begin(), right.end());
    return both;
  }());
  doubled.erase(doubled.begin(), doubled.begin() + 500);
  EXPECT_TRUE(advanced.convert(right) == by_hand('t', doubled));
  EXPECT_TRUE(refused_for_room.convert(right) == fresh.convert(right));
}

TEST(Resampler, AnswersTheKaraokeChainsCases) {
  converter down(48000, 32000), up(32000, 48000);
  pcm block(480), out(320);
  int made = 0;
  EXPECT_EQ(Resampler_proc(&down.it, block.data(), 240, block.data(), 480, &made), 0);
  EXPECT_EQ(made, 160);
  EXPECT_EQ(Resampler_proc(&up.it, block.data(), 160, block.data(), 240, &made), 0);
  EXPECT_EQ(made, 240);
  EXPECT_EQ(Resampler_proc(&down.it, block.data(), 480, out.data(), 319, &made), -1);
  EXPECT_EQ(Resampler_proc(&up.it, block.data(), 80, block.data(), 480, &made), -1);
}

TEST(Resampler, DropsWhatDoesNotFillAnOutputSample) {
  const pcm in = pcm_noise(7, 20000, 8);
  EXPECT_EQ(converter(12).convert(in).size(), 3u);
  EXPECT_EQ(converter(14).convert(in).size(), 1u);
  EXPECT_EQ(converter(14).convert(pcm(3)).size(), 0u);
}

TEST(Resampler, DoesNothingInAModeThatIsNone) {
  converter c(1);
  const pcm in = pcm_noise(10, 20000, 9);
  pcm out(20, 99);
  for (int mode : {21, 1000, -1, INT32_MIN}) {
    c.it.mode = mode;
    int made = -77;
    EXPECT_EQ(Resampler_proc(&c.it, in.data(), 10, out.data(), 20, &made), 0);
    EXPECT_EQ(made, -77);
  }
  EXPECT_TRUE(out == pcm(20, 99));
  EXPECT_EQ(Resampler_proc(&c.it, in.data(), INT32_MAX, out.data(), 20, nullptr), 0);
  c.it.mode = 5;
  EXPECT_EQ(Resampler_proc(&c.it, in.data(), INT32_MAX, out.data(), INT32_MAX, nullptr), -1)
      << "twelve times the length exceeds 32 bits";
}

// Here the output would fit, the signal behind the first stage would not.
TEST(Resampler, RefusesALengthThatOutgrowsItsTypeBetweenTheStages) {
  const short sample = 0;
  short out = 99;
  int made = -77;
  for (const auto& [mode, length] :
       {std::pair{17, 1073742000}, std::pair{10, 1073741900}, std::pair{6, 715828480}}) {
    converter c(mode);
    EXPECT_EQ(Resampler_proc(&c.it, &sample, length, &out, INT32_MAX, &made), -1) << mode;
    EXPECT_EQ(made, -77);
  }
  EXPECT_EQ(out, 99);
}

TEST(Resampler, DeleteFreesWhatIsSetAndLeavesTheFields) {
  Resampler_t r;
  Resampler_config(&r, 48000, 4000);
  r.reserved1 = std::malloc(100);  // the leak checker watches these two
  r.reserved2 = std::malloc(100);
  unsigned char before[sizeof r];
  std::memcpy(before, &r, sizeof r);
  Resampler_delete(&r);
  EXPECT_EQ(std::memcmp(before, &r, sizeof r), 0);
  Resampler_config(&r, 8000, 16000);
  EXPECT_EQ(r.mode, 1);
  EXPECT_EQ(r.state2, nullptr);
  Resampler_delete(&r);
}

#if defined(__GLIBC__)
// In a sanitized build this library's own heap takes over, and its leak check does the same work.
TEST(Resampler, HoldsNoMemoryBeyondItsStates) {
  const pcm in = pcm_noise(961, 20000, 10);
  pcm out(12 * 961);
  int made = 0;
  const auto round = [&] {
    for (int mode = 0; mode < kModeCount; ++mode) {
      Resampler_t r;
      Resampler_config(&r, kModes[mode].in_rate, kModes[mode].out_rate);
      Resampler_proc(&r, in.data(), 2 * kModes[mode].block, out.data(), int(out.size()), &made);
      Resampler_proc(&r, out.data(), 2 * kModes[mode].block, out.data(), int(out.size()), &made);
      Resampler_proc(&r, in.data(), 961, out.data(), int(out.size()), &made);  // off the block
      Resampler_proc(&r, in.data(), 960, out.data(), 1, &made);                // no room
      Resampler_delete(&r);
    }
  };
  // The allocator keeps some of what was freed at hand and counts it as taken; that settles. The
  // least that a path could leak, 32 bytes a round, would add up to 1600.
  constexpr int kRounds = 50;
  for (int i = 0; i < kRounds; ++i) round();
  const auto before = mallinfo2().uordblks;
  for (int i = 0; i < kRounds; ++i) round();
  EXPECT_LT(static_cast<int64_t>(mallinfo2().uordblks - before), 800);
}
#endif
