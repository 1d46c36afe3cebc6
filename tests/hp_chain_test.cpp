// The headphone chain: what a record switches on, who excludes whom, and the planar ways in.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <numeric>

#include "hp/teka_hp_effect.h"
#include "support/log_capture.h"
#include "support/pcm16.h"
#include "support/signals.h"

namespace {

template <typename Record>
using access = void (*)(teka_hp_effect_t*, Record*);

class HpChain : public testing::Test {
 protected:
  HpChain() {
    teka_hp_effect_init(&chain);
    take_log();
  }
  ~HpChain() override { teka_hp_effect_end(&chain); }

  // Switched on without a fade.
  void apply(audio_effect_control_acdb_t record) {
    *chain.params = record;
    chain.status = chain.active_status = 1;
    teka_hp_effect_update_parameter(&chain);
    smooth_volume_set_volume(chain.sv, 8192);
    smooth_volume_set_soft_volume(chain.sv, 8192);
  }
  // The left result of the same signal on both sides, in blocks of 240.
  samples rendered(samples left) {
    samples right = left;
    for (size_t i = 0; i + 240 <= left.size(); i += 240)
      teka_hp_effect_core_process(&chain, &left[i], &right[i], 240);
    return left;
  }
  template <typename Record>
  samples answer(access<Record> get) {
    Record record = {};
    get(&chain, &record);
    const auto words = std::bit_cast<std::array<int, sizeof record / sizeof(int)>>(record);
    return samples(words.begin(), words.end());
  }
  // A record of words of its own must come back whole, but for the words from `kept` on. Whether
  // the setter clears a history with a changed status and with the same one.
  template <typename Record>
  void expect_access(access<Record> set, access<Record> get, int* history, bool when_changed,
                     bool always, size_t kept = 1000) {
    std::array<int, sizeof(Record) / sizeof(int)> given;
    std::iota(given.begin(), given.end(), 1);
    auto record = std::bit_cast<Record>(given);
    for (const bool clears : {when_changed, always}) {
      *history = 5;
      set(&chain, &record);
      EXPECT_EQ(*history, clears ? 0 : 5);
    }
    if (kept < given.size()) std::fill(given.begin() + kept, given.end(), 0);
    EXPECT_EQ(answer(get), samples(given.begin(), given.end()));
  }

  teka_hp_effect_t chain;
};

}  // namespace

TEST_F(HpChain, TellsItsModulesTheRate) {
  EXPECT_EQ((samples{chain.status, chain.active_status, chain.switch_counter, chain.volume,
                     chain.sample_rate_type, chain.comp->history_len}),
            (samples{0, 0, -1, 8192, 1, 2}));
  const int bass = chain.vbs->align_bass->coef[0], level = chain.svc->low_pass_left[0]->coef[0];
  for (const auto& [hertz, type] :
       {std::pair{44100u, 0}, {44050u, 1}, {48000u, 1}, {192000u, 3}, {8000u, 1}, {96000u, 2}}) {
    teka_hp_effect_set_sample_rate(&chain, hertz);
    EXPECT_EQ(chain.sample_rate_type, type);
  }
  EXPECT_EQ(chain.sws->crossfeed->delay_left->delay, 47);
  EXPECT_NE(chain.vbs->align_bass->coef[0], bass);
  EXPECT_NE(chain.svc->low_pass_left[0]->coef[0], level);
  EXPECT_EQ(chain.comp->left->frame_len, 480);
}

TEST_F(HpChain, EnablesWhatTheRecordSelects) {
  chain.svc->status = 1;
  const struct {
    int effect, adapter;
    samples statuses;  // balance, bass, parametric, graphic, widening, reverb, smart volume
    int gain;
    const char* log;
  } cases[] = {
      {0, 0, {0, 0, 0, 0, 0, 0, 0}, 8192, "effect_type 0, hpadapter_type 0, gain 0x2000"},
      {1, 0, {0, 0, 0, 0, 1, 0, 0}, 5168, "effect_type 1, hpadapter_type 0, gain 0x1430"},
      {2, 8, {0, 1, 0, 0, 0, 0, 0}, 4608, "effect_type 2, hpadapter_type 8, gain 0x1200"},
      {3, 2, {0, 0, 1, 0, 0, 0, 0}, 6368, "effect_type 3, hpadapter_type 2, gain 0x18e0"},
      {4, 7, {0, 0, 1, 0, 0, 1, 0}, 6528, "effect_type 4, hpadapter_type 7, gain 0x1980"},
      {5, 7, {0, 0, 0, 1, 0, 0, 0}, 8192, "effect_type 5, hpadapter_type 7, gain 0x2000"},
      {4, -1, {0, 0, 0, 0, 0, 1, 0}, 6528, "effect_type 4, hpadapter_type -1, gain 0x1980"},
      // Nothing selected: the compressor keeps the volume that it had.
      {6, 0, {0, 0, 0, 0, 0, 0, 0}, 6528, "effect_type 6, hpadapter_type 0, gain 0x2000"},
      {-1, 1, {0, 0, 1, 0, 0, 0, 0}, 8192, "effect_type -1, hpadapter_type 1, gain 0x2000"},
  };
  for (const auto& c : cases) {
    apply({c.effect, c.adapter, {}});
    EXPECT_EQ((samples{chain.cb->status, chain.vbs->status, chain.p_eq->status, chain.eq->status,
                       chain.sws->status, chain.reverb->status, chain.svc->status}),
              c.statuses)
        << c.log;
    EXPECT_EQ(chain.comp->volume, c.gain) << c.log;
    EXPECT_EQ(take_log().back(), (log_line{3, "sonx_hp_proc", c.log}));
  }
}

TEST_F(HpChain, HandsTheEffectsTheirSettings) {
  teka_hp_effect_set_sample_rate(&chain, 44100);
  apply({1, 0, {}});
  EXPECT_EQ(answer(teka_hp_effect_sws_getparameter),
            (samples{1, 4096, 4096, 6656, 1536, 7168, 4096}));
  apply({2, 0, {}});
  EXPECT_EQ(answer(teka_hp_effect_vbs_getparameter),
            (samples{1, 8192, 4096, 6144, 8192, 324108, 648216, 324108, 509844742, -242705718}));
  apply({3, 0, {}});
  EXPECT_EQ(chain.p_eq->coef_left[0][0], 268066611);
  apply({0, 1, {}});
  EXPECT_EQ(chain.p_eq->coef_right[0][0], 268985936);
  apply({4, 0, {1, 2, 3, 4, 5, 6}});
  EXPECT_EQ(answer(teka_hp_effect_reverb_getparameter), (samples{1, 1, 2, 3, 4, 5, 6}));
  apply({5, 0, {0, -2, 3, -4, 5, 15, 7, -8, 9, 40}});
  EXPECT_EQ(answer(teka_hp_effect_eq_getparameter_index),
            (samples{1, 0, -2, 3, -4, 5, 15, 7, -8, 9, 15}));
  EXPECT_EQ(chain.eq->left_section[5]->coef[0], 310981976);
}

TEST_F(HpChain, DelaysByTheLookAhead) {
  const samples in = impulse(4800, 4000000);
  for (const auto& [rate, delay] :
       {std::pair{44100u, 440}, {48000u, 480}, {96000u, 960}, {192000u, 1920}}) {
    teka_hp_effect_set_sample_rate(&chain, rate);
    apply({0, 0, {}});
    const samples out = rendered(in);
    EXPECT_TRUE(out[size_t(delay)] != 0 && std::count(&out[0], &out[size_t(delay)], 0) == delay);
    apply({0, 3, {}});
    EXPECT_EQ(peak(rendered(in)) > 0, rate <= 48000) << rate;
    apply({3, 3, {}});
    EXPECT_GT(peak(rendered(in)), 0) << "an equalizer preset leaves the adapter aside";
  }
}

TEST_F(HpChain, FadesForAChange) {
  audio_effect_control_acdb_t record = {4, 0, {}};
  const auto fade = [this] {
    return samples{chain.switch_counter, chain.sv->volume, chain.sv->soft_volume};
  };
  teka_hp_effect_setparameter(&chain, &record);
  EXPECT_EQ(fade(), (samples{-1, 8192, 0})) << "off";
  teka_hp_effect_setstatus(&chain, 1);
  EXPECT_EQ(fade(), (samples{6, 0, 8192})) << "silence fades from full scale down";
  chain.switch_counter = 1;
  smooth_volume_set_soft_volume(chain.sv, 3000);
  record.effect_type = 5;
  teka_hp_effect_setparameter(&chain, &record);
  EXPECT_EQ(fade(), (samples{6, 0, 3000})) << "a part-risen gain falls from where it is";
  chain.switch_counter = -1;
  teka_hp_effect_setstatus(&chain, 1);
  EXPECT_EQ(chain.switch_counter, 6) << "an unchanged status fades too";

  apply(record);
  chain.switch_counter = -1;
  teka_hp_effect_debug_enable_setstatus(&chain, 1);
  chain.eq->left_section[0]->state[1] = 5;
  teka_hp_effect_setstatus(&chain, 0);
  EXPECT_EQ((samples{chain.switch_counter, chain.status, chain.active_status,
                     chain.eq->left_section[0]->state[1]}),
            (samples{-1, 0, 1, 0}));
  chain.switch_counter = 4;
  smooth_volume_set_volume(chain.sv, 0);
  rendered(samples(240));
  EXPECT_EQ(chain.active_status, 0);
  EXPECT_EQ(chain.switch_counter, 2) << "straight to the fade-in";
  EXPECT_EQ(chain.sv->volume, 8192);
}

// One history word of each module that has a history.
TEST_F(HpChain, ClearsHistories) {
  int* const histories[] = {&chain.eq->left_section[0]->state[1],
                            &chain.p_eq->state_left[0][1],
                            &chain.reverb->comb_right[0]->index,
                            &chain.sws->difference->section[0]->state[1],
                            &chain.vbs->split_left->low[0]->state[1],
                            &chain.svc->low_pass_left[0]->state[1],
                            &chain.comp->left->history[2]};
  const auto& [eq, p_eq, reverb, sws, vbs, svc, comp] = histories;
  const auto kept_by = [&](auto action) {  // a digit for each: 5 or 0
    for (int* word : histories) *word = 5;
    action();
    std::string digits;
    for (int* word : histories) digits += std::to_string(*word);
    return digits;
  };
  EXPECT_EQ(kept_by([&] { teka_hp_effect_reset(&chain); }), "0000000");
  const char* const kept[] = {"5555550", "5550550", "5555050", "5055550", "5505550", "0555550"};
  for (int effect : {5, 4, 3, 2, 1, 0})
    EXPECT_EQ(kept_by([&] { apply({effect, 0, {}}); }), kept[effect]);
  EXPECT_EQ(kept_by([&] { apply({0, 1, {}}); }), "5055550");

  // The setter and the getter of a module, which may come in two kinds.
#define ACCESS(module, kind) \
  teka_hp_effect_##module##_setparameter##kind, teka_hp_effect_##module##_getparameter##kind
  expect_access(ACCESS(eq, _data), eq, true, false);
  chain.eq->status = 0;
  expect_access(ACCESS(eq, _index), eq, true, false);
  expect_access(ACCESS(p_eq, ), p_eq, true, true, 3);  // rows clear histories, and stay inside
  expect_access(ACCESS(reverb, ), reverb, true, false);
  expect_access(ACCESS(vbs, ), vbs, true, true);
  expect_access(ACCESS(sws, ), sws, true, true);
  expect_access(ACCESS(svc, ), svc, false, false);
  expect_access(ACCESS(cb, ), comp, false, false);
#undef ACCESS
  samples level(2);
  teka_hp_effect_sv_set_volume(&chain, 77);
  teka_hp_effect_sv_set_smooth_buffer_num(&chain, 3);
  teka_hp_effect_sv_get_volume(&chain, &level[0]);
  teka_hp_effect_sv_get_smooth_buffer_num(&chain, &level[1]);
  EXPECT_EQ(level, (samples{77, 3}));
  EXPECT_EQ(chain.volume, 8192) << "the level that a fade-in returns to stays";
}
