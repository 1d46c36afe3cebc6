#include "ktv/resampler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

#include "support/rate_kernels.h"

namespace {

// A rate pair for each mode, what an input length must be a multiple of, and the cascade by the
// kernels' letters.
constexpr struct mode_case {
  int in_rate, out_rate, block;
  std::string_view stages;
} kModes[] = {
    {48000, 48000, 1, ""},     {8000, 16000, 1, "u"},     {16000, 48000, 160, "T"},
    {8000, 32000, 1, "uu"},    {8000, 48000, 80, "uT"},   {4000, 48000, 40, "uuT"},
    {32000, 48000, 160, "Td"}, {4000, 22000, 80, "uE"},   {8000, 22000, 80, "E"},
    {16000, 22000, 160, "S"},  {22000, 32000, 110, "us"}, {11000, 32000, 110, "usu"},
    {16000, 8000, 1, "d"},     {48000, 16000, 480, "t"},  {32000, 8000, 1, "dd"},
    {48000, 8000, 480, "td"},  {48000, 4000, 480, "tdd"}, {48000, 32000, 240, "ut"},
    {22000, 4000, 220, "ed"},  {22000, 8000, 220, "e"},   {22000, 16000, 220, "s"},
};
constexpr int kLateRule = 17;
constexpr int kCommon = 10560;  // a length that every mode takes: twice the blocks' common multiple

struct converter : Resampler_t {
  converter(int in_rate, int out_rate) { Resampler_config(this, in_rate, out_rate); }
  explicit converter(const mode_case& m) : converter(m.in_rate, m.out_rate) {}
  ~converter() { Resampler_delete(this); }
  converter(const converter&) = delete;

  // The number of samples made, or -1 and nothing said.
  int proc(const short* in, int n, short* out, int room) {
    int made = -77;
    return Resampler_proc(this, in, n, out, room, &made) == 0 ? made : made == -77 ? -1 : -2;
  }
  pcm convert(const pcm& in) {
    pcm out(12 * in.size());
    out.resize(size_t(proc(in.data(), int(in.size()), out.data(), int(out.size()))));
    return out;
  }
};

// The cascade by hand, each stage over the whole stream.
pcm by_hand(std::string_view stages, pcm x) {
  for (char stage : stages)
    x = std::ranges::find(kRateKernels, stage, &rate_kernel::letter)->convert(x);
  return x;
}

}  // namespace

TEST(Resampler, CopiesAtOtherRatios) {
  const pcm in = pcm_wild(333, 1);
  const int pairs[][2] = {{44100, 48000}, {11025, 16000},  {48000, 44100}, {8000, 40000},
                          {48000, 47999}, {0, 8000},       {8000, 0},      {0, 0},
                          {-8000, 16000}, {-16000, -8000}, {INT32_MIN, -1}};
  for (const auto [in_rate, out_rate] : pairs) {
    converter c(in_rate, out_rate);
    EXPECT_EQ(c.mode, 0);
    EXPECT_EQ(c.convert(in), in) << in_rate << " to " << out_rate;
  }
  converter fresh(8000, 8000);
  std::memset(static_cast<Resampler_t*>(&fresh), 0x55, sizeof(Resampler_t));
  Resampler_init(&fresh);
  EXPECT_EQ(fresh.in_khz | fresh.out_khz | fresh.mode, 0);
  EXPECT_EQ(fresh.convert(in), in);  // and its end frees nothing
}

TEST(Resampler, ConvertsWithAnyOverlap) {
  for (const mode_case& m : kModes) {
    const int n = 2 * std::max(m.block, 80);
    const pcm in = pcm_wild(n, 4), expected = converter(m).convert(in);
    for (int in_at : {0, 1, 100, n, 2000})
      for (int out_at : {0, 7, n - 1}) {
        pcm buffer(16000, 99);
        std::copy(in.begin(), in.end(), buffer.begin() + in_at);
        converter c(m);
        c.proc(&buffer[size_t(in_at)], n, &buffer[size_t(out_at)], int(expected.size()));
        ASSERT_TRUE(std::equal(expected.begin(), expected.end(), buffer.begin() + out_at))
            << c.mode << ", in at " << in_at << ", out at " << out_at;
      }
  }
}

// Every mode: the full room is enough, one sample less is refused before anything happens, a length
// off the block is refused, and what stands behind the output stays. In mode 17 the first stage
// takes a wrong length, the second doesn't.
TEST(Resampler, KeepsToTheRoomGiven) {
  int mode = 0;
  for (const mode_case& m : kModes) {
    const int n = 2 * std::max(m.block, 60), length = int(int64_t{n} * m.out_rate / m.in_rate);
    const pcm in = pcm_noise(n, 20000, 5);
    converter c(m);
    SCOPED_TRACE(c.mode);
    EXPECT_TRUE(c.mode == mode++ && c.in_khz == m.in_rate / 1000 && c.out_khz == m.out_rate / 1000);
    pcm out(size_t(length) + 1, 99);
    EXPECT_EQ(c.proc(in.data(), n, out.data(), length - 1), -1);
    EXPECT_EQ(c.proc(in.data(), -m.block, out.data(), length), -1);
    for (int off : {n - 1, m.block / 2, 1})
      EXPECT_TRUE(m.block == 1 || c.mode == kLateRule ||
                  c.proc(in.data(), off, out.data(), length + 1) == -1);
    EXPECT_TRUE(out == pcm(size_t(length) + 1, 99)) << "a refused call wrote";
    EXPECT_EQ(c.proc(in.data(), 0, out.data(), 0), 0);
    EXPECT_EQ(c.proc(in.data(), n, out.data(), length), length);
    EXPECT_EQ(out.back(), 99);
    out.pop_back();
    EXPECT_TRUE(out == by_hand(m.stages, in)) << "a refused call left a trace";
  }
  EXPECT_EQ(converter(11025, 22050).mode, 1);
  const pcm both = pcm_noise(250 + 480, 20000, 6);
  pcm out(400, 99), doubled = up_by_2(both);
  converter late(kModes[kLateRule]);
  EXPECT_EQ(late.proc(both.data(), 250, out.data(), 165), -1) << "no room: refused at once";
  EXPECT_EQ(late.proc(both.data(), 250, out.data(), 400), -1);
  EXPECT_TRUE(out == pcm(400, 99));
  doubled.erase(doubled.begin(), doubled.begin() + 500);
  EXPECT_TRUE(late.convert(pcm(both.begin() + 250, both.end())) == by_hand("t", doubled));
}

// In the first three the output would fit, the signal behind the first stage would not.
TEST(Resampler, RefusesLengthsBeyondItsType) {
  const short sample = 0;
  short out = 99;
  for (const auto& [mode, length] :
       {std::pair{17, 1073742000}, {10, 1073741900}, {6, 715828480}, {5, INT32_MAX}})
    EXPECT_EQ(converter(kModes[mode]).proc(&sample, length, &out, INT32_MAX), -1) << mode;
  for (int mode : {21, 1000, -1, INT32_MIN}) {
    converter c(kModes[1]);
    c.mode = mode;
    EXPECT_EQ(Resampler_proc(&c, &sample, INT32_MAX, &out, 20, nullptr), 0);
  }
  EXPECT_EQ(out, 99);
}

// The leak check of a sanitized build watches this, and that no call holds memory.
TEST(Resampler, DeleteFreesWhatIsSet) {
  Resampler_t r, before;
  Resampler_config(&r, 48000, 4000);
  r.reserved1 = std::malloc(100);
  r.reserved2 = std::malloc(100);
  std::memcpy(&before, &r, sizeof r);
  Resampler_delete(&r);
  EXPECT_EQ(std::memcmp(&before, &r, sizeof r), 0);
}
