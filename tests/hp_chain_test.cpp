// The headphone chain: what a record switches on, and how a change fades.
#include <gtest/gtest.h>

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

  teka_hp_effect_t chain;
};

}  // namespace

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
