// The karaoke chain: its order, its formats, and what its handle passes on.
#include <gtest/gtest.h>

#include <algorithm>

#include "dsp/sample_formats.h"
#include "ktv/sonx_ktv.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "support/log_capture.h"
#include "support/pcm16.h"
#include "support/signals.h"
#include "support/small_room.h"

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

TEST_F(KtvChain, StartsWithHowlingCancellerAndEchoOnAndTheOthersOffAndFollowsTheRate) {
  EXPECT_EQ(read(teka_audio_tx_ktv_howling_canceling_getstatus, &chain), 1);
  EXPECT_EQ(read(teka_audio_tx_ktv_noise_canceling_getstatus, &chain), 0);
  EXPECT_EQ(samples({chain.iirecho->status, chain.eq->status, chain.reverb->status,
                     chain.gramophone->status, chain.compressor->status, chain.volume,
                     chain.compressor->history_len}),
            samples({1, 0, 0, 0, 0, 8192, 0}));
  EXPECT_EQ(chain.resampler_down->mode, 17) << "3:2";
  EXPECT_EQ(chain.resampler_up->mode, 6) << "2:3";
  for (const auto& [hertz, type] :
       {std::pair{44100u, 0}, {22050u, 1}, {48000u, 1}, {96000u, 2}, {192000u, 3}, {0u, 1}}) {
    chain.hpf->state[1] = 99;
    teka_audio_tx_ktv_set_sample_rate(&chain, hertz);
    EXPECT_EQ(chain.sample_rate, type) << hertz;
    EXPECT_EQ(chain.hpf->state[1], 0);
    EXPECT_EQ(chain.compressor->left->frame_len, (samples{220, 240, 480, 960})[size_t(type)]);
  }
}

TEST_F(KtvChain, PassesTheVoiceToBothSidesWhenEverythingIsOff) {
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

// One long call against the modules called by hand, with the same settings, in blocks of 256.
TEST_F(KtvChain, RunsItsStagesInTheirOrderAndCutsALongCallIntoBlocks) {
  switch_all(1);
  teka_audio_tx_ktv_t stages;
  teka_audio_tx_ktv_init(&stages);
  int curve[10] = {6, 3, 0, -3, -6, 0, 3, 6, 9, -12};
  for (teka_audio_tx_ktv_t* each : {&chain, &stages}) {
    teka_audio_tx_ktv_eq_set_param_index(each, curve);
    teka_audio_tx_ktv_reverb_setdry(each, 4096);
    teka_audio_tx_ktv_reverb_setgain(each, 400);
    teka_audio_tx_ktv_iirecho_setdelay(each, 5);
    teka_audio_tx_ktv_set_volume(each, 6000);
  }
  pcm left = pcm_noise(2000, 8000, 60), right(2000), expected_left = left, expected_right(2000);
  for (size_t start = 0; start < 2000; start += 256) {
    const int n = static_cast<int>(std::min<size_t>(256, 2000 - start));
    int l[256], r[256];
    for (int i = 0; i < n; ++i) l[i] = left[start + size_t(i)] * 256;
    gramophone_process(stages.gramophone, l, l, n);
    equalizer_process_mono(stages.eq, l, l, n);
    std::copy_n(l, n, r);
    reverb_process_stereo_24(stages.reverb, l, r, l, r, unsigned(n));
    iirecho_processStereo(stages.iirecho, l, r, l, r, n);
    compressor_process(stages.compressor, l, r, l, r, n);
    std::transform(l, l + n, &expected_left[start], to_16_bit);
    std::transform(r, r + n, &expected_right[start], to_16_bit);
  }
  teka_audio_tx_ktv_process_16(&chain, left.data(), left.data(), right.data(), 2000);
  EXPECT_EQ(left, expected_left);
  EXPECT_EQ(right, expected_right);

  const int mean = chain.compressor->left->mean_env;
  teka_audio_tx_ktv_process_16(&chain, nullptr, nullptr, nullptr, 0);
  EXPECT_LT(chain.compressor->left->mean_env, mean) << "an empty block counts for the compressor";
  teka_audio_tx_ktv_process_24(&chain, nullptr, nullptr, nullptr, -5);
  teka_audio_tx_ktv_copy_left_to_right(nullptr, nullptr, -1);
  teka_audio_tx_ktv_end(&stages);
  const teka_audio_tx_ktv_t& x = stages;
  const void* const left_over[] = {x.reverb,         x.eq,           x.compressor, x.iirecho,
                                   x.howling,        x.gramophone,   x.hpf,        x.ns,
                                   x.resampler_down, x.resampler_up, x.buf_left,   x.buf_right};
  EXPECT_EQ(std::count(std::begin(left_over), std::end(left_over), nullptr), 12);
}

TEST_F(KtvChain, TakesCurvesByItsRateAndTheVoiceGainInTheCompressorOnly) {
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

  teka_audio_tx_ktv_set_sample_rate(&chain, 44100);
  int curve[10] = {0, 0, 0, 0, 0, 15}, kept[10], rows[10][5];
  teka_audio_tx_ktv_eq_set_param_index(&chain, curve);
  teka_audio_tx_ktv_eq_get_param_index(&chain, kept);
  EXPECT_TRUE(std::equal(curve, curve + 10, kept));
  teka_audio_tx_ktv_eq_getparameter(&chain, rows);
  EXPECT_EQ(rows[5][0]++, 310981976);
  teka_audio_tx_ktv_eq_setparameter(&chain, rows);
  EXPECT_EQ(chain.eq->left_section[5]->coef[0], 310981977);
}

TEST_F(KtvChain, SettingsReachTheirModulesAtOnceThroughTheHandleToo) {
  void* handle = sonx_ktv_init();
  int curve[10] = {15, 14, 13, 12, 11, -10, -9, -8, -7, -40};
  teka_audio_tx_ktv_eq_set_param_index(&chain, curve);
  sonx_ktv_eq_setparameter(handle, curve);
  teka_audio_tx_ktv_set_volume(&chain, 3000);
  sonx_ktv_set_voice_gain(handle, 3000);
  sonx_ktv_hw_howling_canceling_enable(handle, 1);
  EXPECT_EQ(read(teka_audio_tx_ktv_get_volume, &chain), 3000);
#define SETTING(module, name)                                              \
  {                                                                        \
    sonx_ktv_##module##_set##name, teka_audio_tx_ktv_##module##_set##name, \
        teka_audio_tx_ktv_##module##_get##name, &chain.module->name        \
  }
#define SWITCH(module)                                                  \
  {                                                                     \
    sonx_ktv_##module##_enable, teka_audio_tx_ktv_##module##_setstatus, \
        teka_audio_tx_ktv_##module##_getstatus, &chain.module->status   \
  }
  const struct {
    void (*set_by_handle)(void*, int);
    void (*set)(teka_audio_tx_ktv_t*, int);
    void (*get)(teka_audio_tx_ktv_t*, int*);
    const int* field;
  } settings[] = {SETTING(iirecho, feedback), SETTING(iirecho, delay), SETTING(iirecho, wet),
                  SETTING(iirecho, dry),      SWITCH(reverb),          SETTING(reverb, roomsize),
                  SETTING(reverb, damp),      SETTING(reverb, wet),    SETTING(reverb, dry),
                  SETTING(reverb, width),     SETTING(reverb, gain),   SWITCH(eq),
                  SWITCH(gramophone),         SWITCH(iirecho),         SWITCH(compressor)};
#undef SETTING
#undef SWITCH
  // After each setting, on and off again, both ways in must still agree to the bit.
  for (int value : {300, 0})
    for (const auto& s : settings) {
      if (value > 0) ++value;
      reverb_t* room = chain.reverb;
      if (s.field >= &room->wet_scaled && s.field <= &room->damp && s.field != &room->status)
        room->wet1 = room->comb_left[0]->feedback = -1;  // stale
      s.set_by_handle(handle, value);
      s.set(&chain, value);
      EXPECT_EQ(read(s.get, &chain), value);
      EXPECT_EQ(*s.field, value);
      EXPECT_TRUE(room->wet1 != -1 && room->comb_left[0]->feedback != -1) << value;
      pcm a = pcm_noise(480, 6000, 9), b = a, a_right(480), b_right(480);
      sonx_ktv_process_16(handle, a.data(), a.data(), a_right.data(), 480);
      teka_audio_tx_ktv_process(&chain, 16, b.data(), b.data(), b_right.data(), 480);
      EXPECT_TRUE(a == b && a_right == b_right) << value;
    }
  teka_audio_tx_ktv_howling_canceling_setstatus(&chain, 0);
  EXPECT_EQ(read(teka_audio_tx_ktv_howling_canceling_getstatus, &chain), 0);
  sonx_ktv_noise_canceling_enable(handle, 1);
  EXPECT_EQ(take_log().back(),
            (log_line{3, "_T_sonx_ktv_wrapper", "sonx_ktv_noise_canceling_enable: 1"}));
  sonx_ktv_deinit(handle);
  sonx_ktv_reverb_setgain(nullptr, 1);
  sonx_ktv_process_16(nullptr, nullptr, nullptr, nullptr, 10);
  sonx_ktv_deinit(nullptr);
}

// The whole way of a microphone that hears its loudspeaker: what a click starts dies away with the
// canceller on, as init leaves it, and grows to full scale with it off.
TEST(KtvHandle, KeepsALoopFromHowling) {
  const auto loudness = [](bool protect) {
    void* handle = sonx_ktv_init();
    sonx_ktv_iirecho_enable(handle, 0);
    if (!protect) sonx_ktv_hw_howling_canceling_enable(handle, 0);
    small_room room(1250.0, 1.9);
    const samples click = noise(kRoomPeriod, 300000, 3);
    int loudest = 0;
    for (int period = 0; period < 1000; ++period) {
      int heard[kRoomPeriod] = {};
      if (period == 0) std::copy(click.begin(), click.end(), heard);
      room.add_to(heard);
      short voice[kRoomPeriod], left[kRoomPeriod], right[kRoomPeriod];
      std::transform(heard, heard + kRoomPeriod, voice, [](int x) { return short(x / 256); });
      sonx_ktv_process_16(handle, voice, left, right, kRoomPeriod);
      std::transform(left, left + kRoomPeriod, heard, [](short x) { return x * 256; });
      room.play(heard);
      if (period >= 800)
        for (short x : left) loudest = std::max(loudest, std::abs(int{x}));
    }
    sonx_ktv_deinit(handle);
    return loudest;
  };
  EXPECT_GT(loudness(false), 20000);
  EXPECT_LT(loudness(true), 2000);
}
