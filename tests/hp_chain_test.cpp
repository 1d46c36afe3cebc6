// The headphone chain: what a record switches on, who excludes whom, and the planar ways in.
#include <gtest/gtest.h>

#include <cstring>

#include "hp/teka_hp_effect.h"
#include "support/log_capture.h"
#include "support/signals.h"

namespace {

class HpChain : public testing::Test {
 protected:
  HpChain() {
    teka_hp_effect_init(&chain);
    take_log();
  }
  ~HpChain() override { teka_hp_effect_end(&chain); }

  // Switched on without waiting for the fade: the next block applies the record.
  void apply(audio_effect_control_acdb_t record) {
    teka_hp_effect_setparameter(&chain, &record);
    chain.status = 1;
    chain.switch_counter = 4;
    samples silence(240);
    teka_hp_effect_core_process(&chain, silence.data(), silence.data(), 0);
    chain.switch_counter = -1;
    smooth_volume_set_volume(chain.sv, 8192);
    smooth_volume_set_soft_volume(chain.sv, 8192);
  }
  // Off, with a smooth volume at unity: audio passes the planar conversions alone.
  void pass_through() {
    chain.active_status = 0;
    smooth_volume_set_soft_volume(chain.sv, 8192);
  }
  // The stereo result of a signal in blocks of 240, left and right one after the other.
  samples rendered(samples left, samples right) {
    for (size_t i = 0; i + 240 <= left.size(); i += 240)
      teka_hp_effect_core_process(&chain, &left[i], &right[i], 240);
    left.insert(left.end(), right.begin(), right.end());
    return left;
  }
  // Status words in the order balance, bass, parametric, graphic, widening, reverb, smart volume.
  std::vector<int> statuses() const {
    return {chain.cb->status,  chain.vbs->status,    chain.p_eq->status, chain.eq->status,
            chain.sws->status, chain.reverb->status, chain.svc->status};
  }

  teka_hp_effect_t chain;
};

}  // namespace

TEST_F(HpChain, StartsOffWithTheDefaultsOfItsRecord) {
  EXPECT_EQ(chain.status, 0);
  EXPECT_EQ(chain.active_status, 0);
  EXPECT_EQ(chain.switch_counter, -1);
  EXPECT_EQ(chain.volume, 8192);
  EXPECT_EQ(chain.sample_rate_type, 1);
  EXPECT_EQ(chain.comp->history_len, 2);
  const struct {
    unsigned hertz;
    int type;
  } rates[] = {{44100, 0}, {44050, 1}, {48000, 1}, {96000, 2}, {192000, 3}, {8000, 1}};
  for (const auto& rate : rates) {
    teka_hp_effect_set_sample_rate(&chain, rate.hertz);
    EXPECT_EQ(chain.sample_rate_type, rate.type);
  }
}

TEST_F(HpChain, EnablesWhatTheRecordSelectsAtTheEffectsMakeUpGain) {
  const struct {
    int effect, adapter;
    std::vector<int> statuses;
    int gain;
    const char* log;
  } cases[] = {
      {0, 0, {0, 0, 0, 0, 0, 0, 0}, 8192, "effect_type 0, hpadapter_type 0, gain 0x2000"},
      {1, 0, {0, 0, 0, 0, 1, 0, 0}, 5168, "effect_type 1, hpadapter_type 0, gain 0x1430"},
      {2, 8, {0, 1, 0, 0, 0, 0, 0}, 4608, "effect_type 2, hpadapter_type 8, gain 0x1200"},
      {3, 2, {0, 0, 1, 0, 0, 0, 0}, 6368, "effect_type 3, hpadapter_type 2, gain 0x18e0"},
      {4, 2, {0, 0, 1, 0, 0, 1, 0}, 6528, "effect_type 4, hpadapter_type 2, gain 0x1980"},
      {5, 7, {0, 0, 0, 1, 0, 0, 0}, 8192, "effect_type 5, hpadapter_type 7, gain 0x2000"},
      {4, -1, {0, 0, 0, 0, 0, 1, 0}, 6528, "effect_type 4, hpadapter_type -1, gain 0x1980"},
      // Nothing selected: the compressor keeps the volume that it had.
      {6, 0, {0, 0, 0, 0, 0, 0, 0}, 6528, "effect_type 6, hpadapter_type 0, gain 0x2000"},
      {-1, 1, {0, 0, 1, 0, 0, 0, 0}, 8192, "effect_type -1, hpadapter_type 1, gain 0x2000"},
  };
  for (const auto& c : cases) {
    take_log();
    apply({c.effect, c.adapter, {}});
    EXPECT_EQ(statuses(), c.statuses) << c.log;
    EXPECT_EQ(chain.comp->volume, c.gain) << c.log;
    EXPECT_EQ(take_log().back(), (log_line{3, "sonx_hp_proc", c.log}));
  }
}

TEST_F(HpChain, HandsTheEffectsTheirFixedAndTheirGivenSettings) {
  apply({1, 0, {}});
  stereo_param_acdb_t widening;
  teka_hp_effect_sws_getparameter(&chain, &widening);
  EXPECT_EQ(std::vector<int>(&widening.status, &widening.status + 7),
            (std::vector<int>{1, 4096, 4096, 6656, 1536, 7168, 4096}));
  apply({2, 0, {}});
  virtual_bass_param_acdb_t bass;
  teka_hp_effect_vbs_getparameter(&chain, &bass);
  EXPECT_EQ(
      std::vector<int>(&bass.status, &bass.status + 10),
      (std::vector<int>{1, 8192, 4096, 6144, 8192, 274666, 549332, 274666, 512037650, -244700858}));
  apply({4, 0, {1, 2, 3, 4, 5, 6}});
  reverb_param_acdb_t reverb;
  teka_hp_effect_reverb_getparameter(&chain, &reverb);
  EXPECT_EQ(std::vector<int>(&reverb.status, &reverb.status + 7),
            (std::vector<int>{1, 1, 2, 3, 4, 5, 6}));
  apply({5, 0, {1, -2, 3, -4, 5, -6, 7, -8, 9, 40}});
  equalizer_params equalizer;
  teka_hp_effect_eq_getparameter_index(&chain, &equalizer);
  EXPECT_EQ(std::vector<int>(&equalizer.status, &equalizer.status + 11),
            (std::vector<int>{1, 1, -2, 3, -4, 5, -6, 7, -8, 9, 15}));
}

// The chain against its modules called one by one, in the order in which they stand.
TEST_F(HpChain, RunsItsModulesInTheirOrder) {
  teka_hp_effect_t stages;
  teka_hp_effect_init(&stages);
  for (const bool room : {false, true}) {  // which of the two that exclude each other
    for (teka_hp_effect_t* each : {&chain, &stages}) {
      channel_balance_param_acdb_t balance = {1, 2, -3000};
      virtual_bass_param_acdb_t bass = {
          1, 8192, 4096, 6144, 8192, {274666, 549332, 274666, 512037650, -244700858}};
      equalizer_params curve = {1, {6, -3, 2, 0, 4, -6, 1, 0, 3, -2}};
      stereo_param_acdb_t widening = {room ? 0 : 1, 4096, 4096, 6656, 1536, 7168, 4096};
      reverb_param_acdb_t reverb = {1, 5000, 3000, 2000, 4096, 6000, 500};
      smart_volume_control_param_acdb_t level = {1, 8192, 3, 7};
      each->active_status = 1;
      smooth_volume_set_soft_volume(each->sv, 8192);
      teka_hp_effect_cb_setparameter(each, &balance);
      teka_hp_effect_vbs_setparameter(each, &bass);
      teka_hp_effect_eq_setparameter_index(each, &curve);
      teka_hp_effect_sws_setparameter(each, &widening);
      teka_hp_effect_reverb_setparameter(each, &reverb);
      teka_hp_effect_svc_setparameter(each, &level);
    }
    for (unsigned block = 0; block < 12; ++block) {
      samples left = noise(240, 1 << 21, 70 + block), right = noise(240, 1 << 20, 90 + block);
      samples expected_left = left, expected_right = right;
      int *l = expected_left.data(), *r = expected_right.data();
      channel_balance_process_stereo(stages.cb, l, r, l, r, 240);
      virtual_bass_system_process(stages.vbs, l, r, l, r, 240);
      equalizer_process_stereo(stages.eq, l, r, l, r, 240);
      if (room)
        reverb_process_stereo_24(stages.reverb, l, r, l, r, 240);
      else
        stereo_widening_system_process(stages.sws, l, r, l, r, 240);
      smart_volume_control_process(stages.svc, l, r, l, r, 240);
      compressor_process(stages.comp, l, r, l, r, 240);
      smooth_volume_process(stages.sv, l, r, l, r, 240);
      teka_hp_effect_core_process(&chain, left.data(), right.data(), 240);
      EXPECT_EQ(left, expected_left) << room << block;
      EXPECT_EQ(right, expected_right) << room << block;
    }
  }
  teka_hp_effect_end(&stages);
}

TEST_F(HpChain, NeverRunsBothEqualizersNorBothRooms) {
  const samples in = noise(240, 100000, 1);
  apply({4, 1, {8192, 0, 8192, 8192, 8192, 8192}});
  chain.sws->status = 1;
  chain.eq->status = 1;
  int flat[10] = {};
  equalizer_set_param_index(chain.eq, flat, SAMPLE_RATE_48000);
  rendered(in, in);
  EXPECT_EQ(chain.reverb->comb_left[0]->index, 0) << "the reverb has not run";
  EXPECT_EQ(chain.eq->left_section[0]->state[1], 0) << "the graphic equalizer has not run";
  EXPECT_NE(chain.p_eq->state_left[0][1], 0);
  chain.sws->status = 0;
  chain.p_eq->status = 2;  // any status but 0 is on
  rendered(in, in);
  EXPECT_EQ(chain.reverb->comb_left[0]->index, 240);
  EXPECT_EQ(chain.eq->left_section[0]->state[1], 0);
  chain.p_eq->status = 0;
  rendered(in, in);
  EXPECT_NE(chain.eq->left_section[0]->state[1], 0);
}

TEST_F(HpChain, IsSilentWithAnAdapterAtRatesThatHaveNoCorrections) {
  const samples in = noise(2400, 1000000, 2);
  for (unsigned rate : {48000u, 96000u, 192000u}) {
    teka_hp_effect_set_sample_rate(&chain, rate);
    apply({0, 3, {}});
    EXPECT_EQ(peak(rendered(in, in)) > 0, rate == 48000) << rate;
    apply({3, 3, {}});
    EXPECT_GT(peak(rendered(in, in)), 0) << "an equalizer preset leaves the adapter aside";
  }
}

TEST_F(HpChain, DelaysByTheCompressorsLookAheadWithNoEffectSelected) {
  for (const auto& [rate, delay] :
       {std::pair{44100u, 440}, {48000u, 480}, {96000u, 960}, {192000u, 1920}}) {
    teka_hp_effect_set_sample_rate(&chain, rate);
    apply({0, 0, {}});
    const samples in = impulse(4800, 4000000);
    samples out = rendered(in, in);
    out.resize(in.size());
    const auto first = std::find_if(out.begin(), out.end(), [](int x) { return x != 0; });
    EXPECT_EQ(first - out.begin(), delay) << rate;
  }
}

TEST_F(HpChain, SwitchesOffWithAFadeAndResetsInsteadWhenDebugging) {
  apply({0, 0, {}});
  teka_hp_effect_setstatus(&chain, 1);
  EXPECT_EQ(chain.switch_counter, 6) << "an unchanged status fades too";
  chain.switch_counter = -1;
  teka_hp_effect_debug_enable_setstatus(&chain, 1);
  chain.eq->left_section[0]->state[1] = 5;
  teka_hp_effect_setstatus(&chain, 0);
  EXPECT_EQ(chain.switch_counter, -1);
  EXPECT_EQ(chain.status, 0);
  EXPECT_EQ(chain.active_status, 1);
  EXPECT_EQ(chain.eq->left_section[0]->state[1], 0);
  teka_hp_effect_debug_enable_setstatus(&chain, 0);

  chain.switch_counter = 4;
  samples x(240, 1000);
  teka_hp_effect_core_process(&chain, x.data(), x.data(), 240);
  EXPECT_EQ(chain.active_status, 0);
  EXPECT_EQ(chain.switch_counter, 2) << "straight to the fade-in";
  EXPECT_EQ(chain.sv->volume, 8192);
}

TEST_F(HpChain, ConvertsPlanarSixteenBitSamplesRoundingDown) {
  pass_through();
  short left[] = {32767, -32768, -1, 1}, right[] = {5, 6, 7, 8};
  short out_left[4], out_right[4];
  teka_hp_effect_process_v2(&chain, 16, left, right, out_left, out_right, 4);
  EXPECT_EQ(std::memcmp(out_left, left, sizeof left), 0);
  EXPECT_EQ(std::memcmp(out_right, right, sizeof right), 0);
  smooth_volume_set_volume(chain.sv, 4096);
  smooth_volume_set_soft_volume(chain.sv, 4096);
  teka_hp_effect_process_16(&chain, left, right, left, right, 4);
  const short halves[] = {16383, -16384, -1, 0};
  EXPECT_EQ(std::memcmp(left, halves, sizeof halves), 0);
}

TEST_F(HpChain, ConvertsPlanarThirtyTwoBitSamplesWithASymmetricClamp) {
  pass_through();
  const int in[] = {8388607 * 16, INT32_MIN, -8388608 * 16, 31, -1};
  const int out[] = {8388607 * 16, -8388607 * 16, -8388607 * 16, 16, -16};
  int left[5], right[5];
  std::copy(in, in + 5, left);
  std::copy(in, in + 5, right);
  teka_hp_effect_process_v2(&chain, 24, left, right, left, right, 5);
  EXPECT_EQ(std::memcmp(left, out, sizeof out), 0);
  EXPECT_EQ(std::memcmp(right, out, sizeof out), 0);
  EXPECT_EQ(chain.work_left[1], -8388607) << "clamped in the work buffer too";
  EXPECT_EQ(chain.work_right[2], -8388607);
}

TEST_F(HpChain, GivesTheLeftResultTwiceWhenTheChannelCountIsNotTwo) {
  pass_through();
  channel_balance_param_acdb_t balance = {1, 1, 0};
  teka_hp_effect_cb_setparameter(&chain, &balance);
  short left16[] = {1, 2}, right16[] = {3, 4};
  teka_hp_effect_process_16(&chain, left16, right16, left16, right16, 2);
  EXPECT_EQ(right16[1], 2);
  int left[] = {16, 32}, right[] = {48, 64};
  teka_hp_effect_process_24(&chain, left, right, left, right, 2);
  EXPECT_EQ(right[0], 16);
}

TEST_F(HpChain, SplitsACallOfMoreThan256FramesWithOneSwitchPointAtItsStart) {
  const samples in = noise(1000, 1 << 26, 3);
  audio_effect_control_acdb_t record = {4, 0, {4096, 4096, 4096, 4096, 8192, 4096}};
  samples whole_left = in, whole_right = in, cut_left = in, cut_right = in;
  apply(record);
  chain.switch_counter = 4;
  teka_hp_effect_process_24(&chain, whole_left.data(), whole_right.data(), whole_left.data(),
                            whole_right.data(), 1000);
  EXPECT_EQ(chain.switch_counter, 4) << "left to the caller";
  apply(record);
  chain.switch_counter = 4;
  for (size_t i = 0; i < 1000; i += 256) {
    const int n = static_cast<int>(std::min<size_t>(256, 1000 - i));
    teka_hp_effect_process_24(&chain, &cut_left[i], &cut_right[i], &cut_left[i], &cut_right[i], n);
    chain.switch_counter = 3;
  }
  EXPECT_EQ(whole_left, cut_left);
  EXPECT_EQ(whole_right, cut_right);
}

TEST_F(HpChain, AnswersEveryDirectSetterWithItsGetter) {
  // Each record is filled with words of its own and must come back whole.
  const auto comes_back = [this](auto set, auto get, auto record, int skip_from = 1000) {
    int words[sizeof record / sizeof(int)], answer[sizeof record / sizeof(int)];
    for (size_t i = 0; i < std::size(words); ++i) words[i] = static_cast<int>(i) + 1;
    std::memcpy(&record, words, sizeof record);
    set(&chain, &record);
    std::memset(&record, 0, sizeof record);
    get(&chain, &record);
    std::memcpy(answer, &record, sizeof record);
    for (int i = 0; i < static_cast<int>(std::size(words)); ++i)
      if (answer[i] != (i < skip_from ? words[i] : 0)) return i;
    return -1;
  };
  EXPECT_EQ(comes_back(teka_hp_effect_eq_setparameter_data, teka_hp_effect_eq_getparameter_data,
                       eq_param_acdb_t{}),
            -1);
  EXPECT_EQ(comes_back(teka_hp_effect_eq_setparameter_index, teka_hp_effect_eq_getparameter_index,
                       equalizer_params{}),
            -1);
  EXPECT_EQ(comes_back(teka_hp_effect_p_eq_setparameter, teka_hp_effect_p_eq_getparameter,
                       param_eq_param_acdb_t{}, 3),
            -1)
      << "the rows are left as they were";
  EXPECT_EQ(comes_back(teka_hp_effect_reverb_setparameter, teka_hp_effect_reverb_getparameter,
                       reverb_param_acdb_t{}),
            -1);
  EXPECT_EQ(comes_back(teka_hp_effect_vbs_setparameter, teka_hp_effect_vbs_getparameter,
                       virtual_bass_param_acdb_t{}),
            -1);
  EXPECT_EQ(comes_back(teka_hp_effect_sws_setparameter, teka_hp_effect_sws_getparameter,
                       stereo_param_acdb_t{}),
            -1);
  EXPECT_EQ(comes_back(teka_hp_effect_svc_setparameter, teka_hp_effect_svc_getparameter,
                       smart_volume_control_param_acdb_t{}),
            -1);
  EXPECT_EQ(comes_back(teka_hp_effect_cb_setparameter, teka_hp_effect_cb_getparameter,
                       channel_balance_param_acdb_t{}),
            -1);
  int volume, number;
  teka_hp_effect_sv_set_volume(&chain, 77);
  teka_hp_effect_sv_set_smooth_buffer_num(&chain, 3);
  teka_hp_effect_sv_get_volume(&chain, &volume);
  teka_hp_effect_sv_get_smooth_buffer_num(&chain, &number);
  EXPECT_EQ(volume, 77);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(chain.volume, 8192) << "the level that a fade-in returns to stays";
}

// One history word of each module that has a history.
TEST_F(HpChain, ClearsHistoriesOnResetAtASwitchAndOnDirectAccessWhereTheModuleAsksForIt) {
  int* const histories[] = {&chain.eq->left_section[0]->state[1],
                            &chain.p_eq->state_left[0][1],
                            &chain.reverb->comb_right[0]->index,
                            &chain.sws->difference->section[0]->state[1],
                            &chain.vbs->split_left->low[0]->state[1],
                            &chain.svc->low_pass_left[0]->state[1],
                            &chain.comp->left->history[2]};
  enum { kEq, kPeq, kReverb, kSws, kVbs, kSvc, kComp };
  const auto cleared_by = [&](auto action) {
    for (int* word : histories) *word = 5;
    action();
    std::vector<int> cleared;
    for (int k = kEq; k <= kComp; ++k)
      if (*histories[k] == 0) cleared.push_back(k);
    return cleared;
  };
  const auto list = [](auto... k) { return std::vector<int>{k...}; };
  EXPECT_EQ(cleared_by([&] { teka_hp_effect_reset(&chain); }),
            list(kEq, kPeq, kReverb, kSws, kVbs, kSvc, kComp));

  const auto switched_to = [&](int effect, int adapter) {
    return cleared_by([&] {
      *chain.params = {effect, adapter, {}};
      teka_hp_effect_update_parameter(&chain);
    });
  };
  EXPECT_EQ(switched_to(0, 0), list(kComp));
  EXPECT_EQ(switched_to(0, 1), list(kPeq, kComp));
  EXPECT_EQ(switched_to(1, 0), list(kSws, kComp));
  EXPECT_EQ(switched_to(2, 0), list(kVbs, kComp));
  EXPECT_EQ(switched_to(3, 0), list(kPeq, kComp));
  EXPECT_EQ(switched_to(4, 0), list(kReverb, kComp));
  EXPECT_EQ(switched_to(5, 0), list(kEq, kComp));

  eq_param_acdb_t eq = {};
  equalizer_params indices = {};
  param_eq_param_acdb_t p_eq = {};
  reverb_param_acdb_t reverb = {};
  virtual_bass_param_acdb_t bass = {};
  stereo_param_acdb_t widening = {};
  smart_volume_control_param_acdb_t level = {};
  for (const int status : {0, 1, 1}) {  // changed, changed, unchanged
    const bool changed = chain.eq->status != status;
    eq.status = indices.status = p_eq.status = reverb.status = status;
    bass.status = widening.status = level.status = status;
    const auto if_changed = [&](int k) { return changed ? list(k) : list(); };
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_eq_setparameter_data(&chain, &eq); }),
              if_changed(kEq));
    chain.eq->status = changed ? 1 - status : status;
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_eq_setparameter_index(&chain, &indices); }),
              if_changed(kEq));
    chain.p_eq->status = chain.reverb->status = changed ? 1 - status : status;
    // The parametric equalizer's rows clear the histories by themselves.
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_p_eq_setparameter(&chain, &p_eq); }), list(kPeq));
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_reverb_setparameter(&chain, &reverb); }),
              if_changed(kReverb));
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_vbs_setparameter(&chain, &bass); }), list(kVbs));
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_sws_setparameter(&chain, &widening); }), list(kSws));
    EXPECT_EQ(cleared_by([&] { teka_hp_effect_svc_setparameter(&chain, &level); }), list());
  }
}

TEST_F(HpChain, HandsTheRateToTheModulesThatHaveFiltersForIt) {
  const int bass = chain.vbs->align_bass->coef[0], level = chain.svc->low_pass_left[0]->coef[0];
  teka_hp_effect_set_sample_rate(&chain, 96000);
  EXPECT_EQ(chain.sws->crossfeed->delay_left->delay, 47);
  EXPECT_NE(chain.vbs->align_bass->coef[0], bass);
  EXPECT_NE(chain.svc->low_pass_left[0]->coef[0], level);
  EXPECT_EQ(chain.comp->left->frame_len, 480);
}

TEST_F(HpChain, FadesForANewRecordOnlyWhenOnAndFromTheGainThatItHas) {
  audio_effect_control_acdb_t record = {4, 0, {}};
  teka_hp_effect_setparameter(&chain, &record);
  EXPECT_EQ(chain.switch_counter, -1) << "off";
  chain.status = 1;
  chain.switch_counter = 1;
  smooth_volume_set_soft_volume(chain.sv, 3000);
  record.effect_type = 5;
  teka_hp_effect_setparameter(&chain, &record);
  EXPECT_EQ(chain.switch_counter, 6);
  EXPECT_EQ(chain.sv->volume, 0);
  EXPECT_EQ(chain.sv->soft_volume, 3000) << "a part-risen gain falls from where it is";
  record.effect_type = 4;
  chain.switch_counter = -1;
  smooth_volume_set_soft_volume(chain.sv, 0);
  teka_hp_effect_setparameter(&chain, &record);
  EXPECT_EQ(chain.sv->soft_volume, 8192) << "silence fades from full scale down";
}
