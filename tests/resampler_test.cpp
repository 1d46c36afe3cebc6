#include "ktv/resampler.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/pcm16.h"

namespace {

struct converter : Resampler_t {
  converter(int in_rate, int out_rate) { Resampler_config(this, in_rate, out_rate); }
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

// In the first three the output would fit, the signal behind the first stage would not.
TEST(Resampler, RefusesLengthsBeyondItsType) {
  const short sample = 0;
  short out = 99;
  constexpr int kTooMuch[][3] = {{48000, 32000, 1073742000},
                                 {22000, 32000, 1073741900},
                                 {32000, 48000, 715828480},
                                 {4000, 48000, INT32_MAX}};
  for (const auto& [in_rate, out_rate, length] : kTooMuch)
    EXPECT_EQ(converter(in_rate, out_rate).proc(&sample, length, &out, INT32_MAX), -1) << in_rate;
  for (int mode : {21, 1000, -1, INT32_MIN}) {
    converter c(8000, 16000);
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
