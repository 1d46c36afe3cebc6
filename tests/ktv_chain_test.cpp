// The karaoke chain: its order, its formats, and what its handle passes on.
#include <gtest/gtest.h>

#include <cstring>

#include "ktv/sonx_ktv.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "support/log_capture.h"
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
    teka_audio_tx_ktv_howling_canceling_setstatus(&chain, 0);
    teka_audio_tx_ktv_gramophone_setstatus(&chain, status);
    teka_audio_tx_ktv_eq_setstatus(&chain, status);
    teka_audio_tx_ktv_reverb_setstatus(&chain, status);
    teka_audio_tx_ktv_iirecho_setstatus(&chain, status);
    teka_audio_tx_ktv_compressor_setstatus(&chain, status);
  }

  teka_audio_tx_ktv_t chain;
};

int read(void (*get)(teka_audio_tx_ktv_t*, int*), teka_audio_tx_ktv_t* chain) {
  int value = -1;
  get(chain, &value);
  return value;
}

}  // namespace

TEST_F(KtvChain, StartsWithHowlingCancellerAndEchoOnAndTheOthersOff) {
  EXPECT_EQ(read(teka_audio_tx_ktv_howling_canceling_getstatus, &chain), 1);
  EXPECT_EQ(read(teka_audio_tx_ktv_iirecho_getstatus, &chain), 1);
  EXPECT_EQ(read(teka_audio_tx_ktv_eq_getstatus, &chain), 0);
  EXPECT_EQ(read(teka_audio_tx_ktv_reverb_getstatus, &chain), 0);
  EXPECT_EQ(read(teka_audio_tx_ktv_gramophone_getstatus, &chain), 0);
  EXPECT_EQ(read(teka_audio_tx_ktv_compressor_getstatus, &chain), 0);
  EXPECT_EQ(read(teka_audio_tx_ktv_noise_canceling_getstatus, &chain), 0);
  EXPECT_EQ(read(teka_audio_tx_ktv_get_volume, &chain), 8192);
  EXPECT_EQ(chain.compressor->history_len, 0);
  EXPECT_EQ(chain.resampler_down->mode, 17) << "3:2";
  EXPECT_EQ(chain.resampler_up->mode, 6) << "2:3";
}

TEST_F(KtvChain, MapsRatesAndRestartsTheHighPass) {
  const struct {
    unsigned hertz;
    int type;
  } rates[] = {{44100, 0}, {22050, 1}, {48000, 1}, {96000, 2}, {192000, 3}, {0, 1}};
  for (const auto& rate : rates) {
    chain.hpf->state[1] = 99;
    teka_audio_tx_ktv_set_sample_rate(&chain, rate.hertz);
    EXPECT_EQ(chain.sample_rate, rate.type) << rate.hertz;
    EXPECT_EQ(chain.hpf->state[1], 0);
  }
}

TEST_F(KtvChain, PassesTheVoiceToBothSidesWhenEverythingIsOff) {
  switch_all(0);
  short voice[] = {32767, -32768, -1, 0, 1}, left[5], right[5];
  teka_audio_tx_ktv_process(&chain, 16, voice, left, right, 5);
  EXPECT_TRUE(std::equal(voice, voice + 5, left));
  EXPECT_TRUE(std::equal(voice, voice + 5, right));

  int wide[] = {0x7FFFFFF0, INT32_MIN, 134217712, 31, -1}, wide_left[5], wide_right[5];
  const int expected[] = {0x07FFFFF0, -134217712, 134217712, 16, -16};
  teka_audio_tx_ktv_process(&chain, 24, wide, wide_left, wide_right, 5);
  EXPECT_TRUE(std::equal(expected, expected + 5, wide_left));
  EXPECT_TRUE(std::equal(expected, expected + 5, wide_right));
  EXPECT_EQ(chain.buf_left[1], -8388607) << "clamped in the work buffers too";
  EXPECT_EQ(chain.buf_right[0], 8388607);
}

TEST_F(KtvChain, RunsItsStagesInTheirOrder) {
  switch_all(1);
  int curve[10] = {6, 3, 0, -3, -6, 0, 3, 6, 9, -12};
  teka_audio_tx_ktv_eq_set_param_index(&chain, curve);
  teka_audio_tx_ktv_reverb_setdry(&chain, 4096);
  teka_audio_tx_ktv_reverb_setgain(&chain, 400);
  teka_audio_tx_ktv_iirecho_setdelay(&chain, 5);
  teka_audio_tx_ktv_set_volume(&chain, 6000);

  teka_audio_tx_ktv_t stages;  // the same settings, each module called by hand
  teka_audio_tx_ktv_init(&stages);
  equalizer_set_param_index(stages.eq, curve, SAMPLE_RATE_48000);
  reverb_setdry(stages.reverb, 4096);
  reverb_setgain(stages.reverb, 400);
  reverb_update(stages.reverb);
  iirecho_setdelay(stages.iirecho, 5);
  compressor_set_volume(stages.compressor, 6000);

  for (int block = 0; block < 8; ++block) {
    samples left = noise(240, 1 << 21, 60 + static_cast<unsigned>(block)), right(240);
    samples expected_left = left, expected_right(240);
    int *l = expected_left.data(), *r = expected_right.data();
    gramophone_process(stages.gramophone, l, l, 240);
    equalizer_process_mono(stages.eq, l, l, 240);
    expected_right = expected_left;
    r = expected_right.data();
    reverb_process_stereo_24(stages.reverb, l, r, l, r, 240);
    iirecho_processStereo(stages.iirecho, l, r, l, r, 240);
    compressor_process(stages.compressor, l, r, l, r, 240);
    teka_audio_tx_ktv_core_process(&chain, left.data(), right.data(), 240);
    EXPECT_EQ(left, expected_left);
    EXPECT_EQ(right, expected_right);
  }
  teka_audio_tx_ktv_end(&stages);
}

TEST_F(KtvChain, AppliesTheVoiceGainThroughTheCompressorOnly) {
  switch_all(0);
  samples voice(240, 100000), left = voice, right(240);
  teka_audio_tx_ktv_set_volume(&chain, 2048);
  teka_audio_tx_ktv_core_process(&chain, left.data(), right.data(), 240);
  EXPECT_EQ(left, voice);
  teka_audio_tx_ktv_compressor_setstatus(&chain, 1);
  for (int block = 0; block < 200; ++block) {
    std::copy(voice.begin(), voice.end(), left.begin());
    teka_audio_tx_ktv_core_process(&chain, left.data(), right.data(), 240);
  }
  EXPECT_NEAR(left[239], 25000, 30) << "a quarter";
}

TEST_F(KtvChain, SettingsReachTheirModulesAtOnceAndReadBack) {
  const struct {
    void (*set)(teka_audio_tx_ktv_t*, int);
    void (*get)(teka_audio_tx_ktv_t*, int*);
    const int* field;
  } settings[] = {
      {teka_audio_tx_ktv_set_volume, teka_audio_tx_ktv_get_volume, &chain.compressor->volume},
      {teka_audio_tx_ktv_reverb_setroomsize, teka_audio_tx_ktv_reverb_getroomsize,
       &chain.reverb->roomsize},
      {teka_audio_tx_ktv_reverb_setdamp, teka_audio_tx_ktv_reverb_getdamp, &chain.reverb->damp},
      {teka_audio_tx_ktv_reverb_setwet, teka_audio_tx_ktv_reverb_getwet, &chain.reverb->wet},
      {teka_audio_tx_ktv_reverb_setdry, teka_audio_tx_ktv_reverb_getdry, &chain.reverb->dry},
      {teka_audio_tx_ktv_reverb_setwidth, teka_audio_tx_ktv_reverb_getwidth, &chain.reverb->width},
      {teka_audio_tx_ktv_reverb_setgain, teka_audio_tx_ktv_reverb_getgain, &chain.reverb->gain},
      {teka_audio_tx_ktv_iirecho_setfeedback, teka_audio_tx_ktv_iirecho_getfeedback,
       &chain.iirecho->feedback},
      {teka_audio_tx_ktv_iirecho_setdelay, teka_audio_tx_ktv_iirecho_getdelay,
       &chain.iirecho->delay},
      {teka_audio_tx_ktv_iirecho_setwet, teka_audio_tx_ktv_iirecho_getwet, &chain.iirecho->wet},
      {teka_audio_tx_ktv_iirecho_setdry, teka_audio_tx_ktv_iirecho_getdry, &chain.iirecho->dry}};
  int value = 100;
  for (const auto& s : settings) {
    chain.reverb->wet1 = chain.reverb->comb_left[0]->feedback = -1;  // stale
    s.set(&chain, ++value);
    EXPECT_EQ(read(s.get, &chain), value);
    EXPECT_EQ(*s.field, value);
    const bool room = s.field >= &chain.reverb->wet_scaled && s.field <= &chain.reverb->damp;
    EXPECT_EQ(chain.reverb->wet1 != -1, room) << "updated " << value;
    EXPECT_EQ(chain.reverb->comb_left[0]->feedback != -1, room);
  }

  teka_audio_tx_ktv_set_sample_rate(&chain, 44100);
  EXPECT_EQ(chain.compressor->left->frame_len, 220);
  int curve[10] = {6}, rows[10][5], expected[10][5];
  teka_audio_tx_ktv_eq_set_param_index(&chain, curve);
  teka_audio_tx_ktv_eq_getparameter(&chain, rows);
  equalizer_t eq;
  equalizer_init(&eq);
  equalizer_set_param_index_44100(&eq, curve);
  equalizer_getparameter(&eq, expected);
  EXPECT_EQ(std::memcmp(rows, expected, sizeof rows), 0) << "indices go by the chain's rate";
  rows[3][1] = 12345;
  teka_audio_tx_ktv_eq_setparameter(&chain, rows);
  EXPECT_EQ(chain.eq->left_section[3]->coef[1], 12345);
  teka_audio_tx_ktv_eq_get_param_index(&chain, curve);
  EXPECT_EQ(curve[0], 6);
  equalizer_end(&eq);
}

TEST_F(KtvChain, LeavesNoPointerBehindAtItsEnd) {
  teka_audio_tx_ktv_t ended;
  teka_audio_tx_ktv_init(&ended);
  teka_audio_tx_ktv_set_volume(&ended, 777);
  teka_audio_tx_ktv_set_sample_rate(&ended, 96000);
  teka_audio_tx_ktv_end(&ended);
  for (const void* pointer :
       {static_cast<void*>(ended.reverb), static_cast<void*>(ended.eq),
        static_cast<void*>(ended.compressor), static_cast<void*>(ended.iirecho),
        static_cast<void*>(ended.howling), static_cast<void*>(ended.gramophone),
        static_cast<void*>(ended.hpf), static_cast<void*>(ended.ns),
        static_cast<void*>(ended.resampler_down), static_cast<void*>(ended.resampler_up),
        static_cast<void*>(ended.buf_left), static_cast<void*>(ended.buf_right)})
    EXPECT_EQ(pointer, nullptr);
  EXPECT_EQ(ended.volume, 777);
  EXPECT_EQ(ended.sample_rate, SAMPLE_RATE_96000);
}

TEST_F(KtvChain, SwitchesNoiseCancellingOffAtTheNextCall) {
  switch_all(0);
  teka_audio_tx_ktv_noise_canceling_setstatus(&chain, 1);
  EXPECT_EQ(read(teka_audio_tx_ktv_noise_canceling_getstatus, &chain), 1);
  short voice[] = {1, 2, 3}, left[3], right[3];
  teka_audio_tx_ktv_process_16(&chain, voice, left, right, 3);
  EXPECT_TRUE(std::equal(voice, voice + 3, left));
  EXPECT_EQ(read(teka_audio_tx_ktv_noise_canceling_getstatus, &chain), 0);
}

TEST_F(KtvChain, CutsALongCallIntoBlocksAndTouchesNothingForAnEmptyOne) {
  teka_audio_tx_ktv_t cut;
  teka_audio_tx_ktv_init(&cut);
  for (teka_audio_tx_ktv_t* each : {&chain, &cut}) {
    teka_audio_tx_ktv_reverb_setstatus(each, 1);
    teka_audio_tx_ktv_reverb_setdry(each, 4096);
    teka_audio_tx_ktv_compressor_setstatus(each, 1);
  }
  const samples music = noise(1000, 20000, 8);
  std::vector<short> voice(music.begin(), music.end()), left(1000), right(1000), cut_left(1000),
      cut_right(1000);
  teka_audio_tx_ktv_process_16(&chain, voice.data(), left.data(), right.data(), 1000);
  for (size_t i = 0; i < 1000; i += 256)
    teka_audio_tx_ktv_process_16(&cut, &voice[i], &cut_left[i], &cut_right[i],
                                 static_cast<int>(std::min<size_t>(256, 1000 - i)));
  EXPECT_EQ(left, cut_left);
  EXPECT_EQ(right, cut_right);
  EXPECT_NE(left, voice);

  const int mean = chain.compressor->left->mean_env;
  teka_audio_tx_ktv_process_16(&chain, nullptr, nullptr, nullptr, 0);
  EXPECT_LT(chain.compressor->left->mean_env, mean) << "an empty block counts for the compressor";
  teka_audio_tx_ktv_process_24(&chain, nullptr, nullptr, nullptr, -5);
  teka_audio_tx_ktv_copy_left_to_right(nullptr, nullptr, 0);
  teka_audio_tx_ktv_copy_left_to_right(nullptr, nullptr, -1);
  teka_audio_tx_ktv_end(&cut);
}

TEST_F(KtvChain, IsReachedThroughTheHandleAtSixteenBitsAnd48000Hertz) {
  void* handle = sonx_ktv_init();
  int curve[10] = {15, 14, 13, 12, 11, -10, -9, -8, -7, -40};
  teka_audio_tx_ktv_eq_set_param_index(&chain, curve);
  sonx_ktv_eq_setparameter(handle, curve);
  const struct {
    void (*handle_setter)(void*, int);
    void (*chain_setter)(teka_audio_tx_ktv_t*, int);
    int value;
  } settings[] = {
      {sonx_ktv_set_voice_gain, teka_audio_tx_ktv_set_volume, 9000},
      {sonx_ktv_reverb_setroomsize, teka_audio_tx_ktv_reverb_setroomsize, 5000},
      {sonx_ktv_reverb_setdamp, teka_audio_tx_ktv_reverb_setdamp, 3000},
      {sonx_ktv_reverb_setwet, teka_audio_tx_ktv_reverb_setwet, 2000},
      {sonx_ktv_reverb_setdry, teka_audio_tx_ktv_reverb_setdry, 1000},
      {sonx_ktv_reverb_setwidth, teka_audio_tx_ktv_reverb_setwidth, 4000},
      {sonx_ktv_reverb_setgain, teka_audio_tx_ktv_reverb_setgain, 300},
      {sonx_ktv_iirecho_setfeedback, teka_audio_tx_ktv_iirecho_setfeedback, 2500},
      {sonx_ktv_iirecho_setdelay, teka_audio_tx_ktv_iirecho_setdelay, 3},
      {sonx_ktv_iirecho_setwet, teka_audio_tx_ktv_iirecho_setwet, 4500},
      {sonx_ktv_iirecho_setdry, teka_audio_tx_ktv_iirecho_setdry, 5500},
      {sonx_ktv_reverb_enable, teka_audio_tx_ktv_reverb_setstatus, 1},
      {sonx_ktv_eq_enable, teka_audio_tx_ktv_eq_setstatus, 1},
      {sonx_ktv_gramophone_enable, teka_audio_tx_ktv_gramophone_setstatus, 1},
      {sonx_ktv_hw_howling_canceling_enable, teka_audio_tx_ktv_howling_canceling_setstatus, 1},
      {sonx_ktv_compressor_enable, teka_audio_tx_ktv_compressor_setstatus, 1},
      {sonx_ktv_iirecho_enable, teka_audio_tx_ktv_iirecho_setstatus, 1}};
  // After each setting both ways in must still agree to the bit.
  for (const auto& setting : settings) {
    setting.handle_setter(handle, setting.value);
    setting.chain_setter(&chain, setting.value);
    const samples music = noise(480, 6000, static_cast<unsigned>(setting.value));
    std::vector<short> voice(music.begin(), music.end()), a(480), b(480), c(480), d(480);
    sonx_ktv_process_16(handle, voice.data(), a.data(), b.data(), 480);
    teka_audio_tx_ktv_process(&chain, 16, voice.data(), c.data(), d.data(), 480);
    EXPECT_EQ(a, c) << setting.value;
    EXPECT_EQ(b, d) << setting.value;
  }
  take_log();
  sonx_ktv_noise_canceling_enable(handle, 1);
  EXPECT_EQ(
      take_log(),
      (std::vector<log_line>{{3, "_T_sonx_ktv_wrapper", "sonx_ktv_noise_canceling_enable: 1"}}));
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
