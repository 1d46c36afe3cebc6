// The karaoke chain: its order, its formats, and what its handle passes on.
#include <gtest/gtest.h>

#include <algorithm>

#include "dsp/sample_formats.h"
#include "ktv/sonx_ktv.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "support/log_capture.h"
#include "support/pcm16.h"
#include "support/signals.h"
#include "version.h"

namespace {

class KtvChain : public testing::Test {
 protected:
  KtvChain() {
    teka_audio_tx_ktv_init(&chain);
    take_log();
  }
  ~KtvChain() override { teka_audio_tx_ktv_end(&chain); }

  void switch_all(int status) {
    for (auto set : {teka_audio_tx_ktv_gramophone_setstatus, teka_audio_tx_ktv_eq_setstatus,
                     teka_audio_tx_ktv_reverb_setstatus, teka_audio_tx_ktv_iirecho_setstatus,
                     teka_audio_tx_ktv_compressor_setstatus})
      set(&chain, status);
    teka_audio_tx_ktv_howling_canceling_setstatus(&chain, 0);
  }

  teka_audio_tx_ktv_t chain;
};

int read(void (*get)(teka_audio_tx_ktv_t*, int*), teka_audio_tx_ktv_t* chain) {
  int value = -1;
  get(chain, &value);
  return value;
}

}  // namespace

TEST_F(KtvChain, PassesTheVoiceWhenAllIsOff) {
  switch_all(0);
  teka_audio_tx_ktv_noise_canceling_setstatus(&chain, 1);
  EXPECT_EQ(read(teka_audio_tx_ktv_noise_canceling_getstatus, &chain), 1);
  pcm left = {32767, -32768, -1, 0, 1}, right(5);
  teka_audio_tx_ktv_process(&chain, 16, left.data(), left.data(), right.data(), 5);
  EXPECT_EQ(read(teka_audio_tx_ktv_noise_canceling_getstatus, &chain), 0) << "off at once";
  EXPECT_TRUE(left == pcm({32767, -32768, -1, 0, 1}) && right == left);
  samples wide = {0x7FFFFFF0, INT32_MIN, 134217712, 31, -1}, wide_right(5);
  teka_audio_tx_ktv_process(&chain, 24, wide.data(), wide.data(), wide_right.data(), 5);
  EXPECT_EQ(wide, samples({0x07FFFFF0, -134217712, 134217712, 16, -16}));
  EXPECT_EQ(wide_right, wide);
  EXPECT_EQ(chain.buf_left[1], -8388607) << "clamped in the work buffers too";
  EXPECT_EQ(chain.buf_right[0], 8388607);
}

TEST_F(KtvChain, VoiceGainActsInTheCompressor) {
  switch_all(0);
  teka_audio_tx_ktv_set_volume(&chain, 2048);
  samples left(240, 100000), right(240);
  teka_audio_tx_ktv_core_process(&chain, left.data(), right.data(), 240);
  EXPECT_EQ(left, samples(240, 100000));
  teka_audio_tx_ktv_compressor_setstatus(&chain, 1);
  left.assign(48000, 100000);
  for (size_t i = 0; i < 48000; i += 240)
    teka_audio_tx_ktv_core_process(&chain, &left[i], right.data(), 240);
  EXPECT_NEAR(left[47999], 25000, 30) << "a quarter";
}

TEST(KtvHandle, IgnoresNull) {
  void* handle = sonx_ktv_init();
  short in[4] = {1, 2, 3, 4}, out[4] = {};
  sonx_ktv_process_16(handle, nullptr, out, out, 4);
  sonx_ktv_process_16(handle, in, nullptr, out, 4);
  sonx_ktv_process_16(handle, in, out, nullptr, 4);
  sonx_ktv_process_16(nullptr, in, out, out, 4);
  sonx_ktv_process_16(handle, nullptr, nullptr, nullptr, 0);
  sonx_ktv_eq_setparameter(handle, nullptr);
  sonx_ktv_reverb_setgain(nullptr, 1);
  EXPECT_EQ(out[3], 0);
  EXPECT_EQ(sonx_ktv_latency(handle), 0);
  EXPECT_EQ(sonx_ktv_bypasses(handle), 0);
  sonx_ktv_hw_howling_canceling_enable(handle, 0);
  sonx_ktv_iirecho_enable(handle, 0);
  EXPECT_EQ(sonx_ktv_bypasses(handle), 1);
  sonx_ktv_process_16(handle, in, in, out, 4);
  EXPECT_EQ(out[3], 4);
  sonx_ktv_deinit(handle);
  sonx_ktv_deinit(nullptr);
  EXPECT_EQ(sonx_ktv_bypasses(nullptr), 1);
  EXPECT_STREQ(sonx_version(), SONX_PROJECT_VERSION);
}
