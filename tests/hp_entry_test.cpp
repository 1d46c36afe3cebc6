// The headphone entry points: formats, blocks, bypass and the fade, as a HAL meets them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "hp/sonx_hp_effect.h"
#include "hp/sonx_hp_handle.h"
#include "support/log_capture.h"
#include "support/pcm16.h"
#include "support/signals.h"
#include "support/step_of_change.h"

namespace {

constexpr char kTag[] = "_T_sonx_hp_wrapper";

class HpEntry : public testing::Test {
 protected:
  void open(unsigned rate, int format) {
    close();
    take_log();
    handle = static_cast<sonx_hp_handle_t*>(sonx_hp_effect_init(rate, format));
  }
  // A chain that is off and settled: the audio passes the smooth volume alone, at this gain.
  void open_settled(int format, int gain = 8192) {
    open(48000, format);
    teka_hp_effect_t& chain = handle->chain;
    teka_hp_effect_setstatus(&chain, 0);
    chain.switch_counter = -1;
    smooth_volume_set_soft_volume(chain.sv, gain);
    smooth_volume_set_volume(chain.sv, gain);
    take_log();
  }
  template <typename Word>
  std::vector<Word> processed(std::vector<Word> words) {
    sonx_hp_effect_process(handle, words.data(), words.size() * sizeof(Word));
    return words;
  }
  void set_effect(int effect, int adapter = 0) {
    audio_effect_control_acdb_t record = {effect, adapter, {}};
    sonx_hp_effect_set_parameters(handle, &record);
  }
  void run_blocks(int blocks) {
    while (blocks-- > 0) processed(pcm(480));
  }
  void close() { sonx_hp_effect_deinit(std::exchange(handle, nullptr)); }
  void TearDown() override { close(); }

  sonx_hp_handle_t* handle = nullptr;
};

}  // namespace

TEST_F(HpEntry, BypassesOtherRates) {
  const pcm in(480, 1000);
  for (unsigned rate : {0u, 32000u, 44049u, 44050u, 44100u, 48000u, 48050u, 48051u, 4294967295u}) {
    open(rate, 1);
    const std::string text = "sonx_hp_effect_init: sample_rate " + std::to_string(rate);
    std::vector<log_line> expected = {{3, kTag, text + ", format_type 1"}};
    const bool bypass = rate < 44050 || rate > 48050;
    if (bypass) expected.push_back({5, kTag, text + " unmatch, need bypass"});
    EXPECT_EQ(take_log(), expected);
    EXPECT_EQ(processed(in) == in, bypass);
    EXPECT_EQ(sonx_hp_effect_bypasses(handle), bypass);
    EXPECT_EQ(sonx_hp_effect_latency(handle), bypass ? 0 : rate == 44100 ? 440 : 480);
    EXPECT_EQ(take_log().empty(), bypass);
    EXPECT_EQ(handle->chain.sample_rate_type, rate == 44100 ? 0 : 1);
    set_effect(4);
    EXPECT_EQ(handle->params.effect_type, 4) << "parameters reach a bypassed handle too";
  }
}

TEST_F(HpEntry, CutsAPeriodIntoBlocks) {
  open(48000, 1);
  run_blocks(10);
  take_log();
  // frames -> block: divisible by 240, by 256, else the smaller remainder, 256 at a tie.
  const unsigned cases[][2] = {{960, 240}, {512, 256}, {1000, 256}, {300, 240}, {3840, 240},
                               {100, 256}, {241, 256}, {257, 240},  {0, 240}};
  for (const auto& [frames, block] : cases) {
    pcm buffer(2 * frames + 1);
    sonx_hp_effect_process(handle, buffer.data(), 4UL * frames);
    sonx_hp_effect_process(handle, buffer.data(), 4UL * frames);
    const std::string text = "sonx_hp_effect_process: frame size change to ";
    EXPECT_EQ(take_log(), (std::vector<log_line>{{3, kTag, text + std::to_string(block)}}));
    EXPECT_EQ(handle->block_frames, block) << frames;
  }
}

TEST_F(HpEntry, ConvertsSamplesByTheirFormat) {
  const pcm rails = {32767, -32768, -1, 1};
  open_settled(1);
  EXPECT_EQ(processed(rails), rails);
  open_settled(1, 16384);
  EXPECT_EQ(processed(rails), (pcm{32767, -32768, -2, 2}));
  open_settled(1, 4096);
  // Half of 1 is 128 of 256, which rounds up; half of -1 is -128, which rounds up to 0.
  EXPECT_EQ(processed(rails), (pcm{16384, -16384, 0, 1}));
  for (int format : {2, 4, 9}) {
    const samples words = {INT32_MAX, INT32_MIN, -1, 123456789};
    open_settled(format);
    EXPECT_EQ(processed(words), words);
  }
  open_settled(3);
  EXPECT_EQ(processed(samples{INT32_MAX, INT32_MIN, 0x7FFFFF7F, 127, 128, -128, -129, 0}),
            (samples{0x7FFFFF00, INT32_MIN, 0x7FFFFF00, 0, 256, 0, -256, 0}));
  open_settled(3, 16384);
  EXPECT_EQ(processed(samples{0x40000000, -0x40000000, 0x3FFFFF00, -0x40000100}),
            (samples{INT32_MAX, INT32_MIN, 0x7FFFFE00, INT32_MIN}));
  // An odd number of samples: the last one is no frame, but it is converted to 24 bits and back.
  open_settled(3, 0);
  EXPECT_EQ(processed(samples{5000, 5000, 5000}), (samples{0, 0, 5120}));
}

// From init on: two blocks fade out, the third switches, the output rises from the fifth.
TEST_F(HpEntry, FadesInFromTheFirstBlock) {
  open(48000, 1);
  const int counters[] = {5, 4, 3, 2, 1, 0, -1, -1};
  samples first, last;
  for (int block = 0; block < 8; ++block) {
    const auto out = processed(pcm(480, 10000));
    first.push_back(out[0]);
    last.push_back(out[478]);
    EXPECT_EQ(handle->chain.switch_counter, counters[block]);
    EXPECT_EQ(handle->chain.active_status, block < 2 ? 0 : 1);
  }
  EXPECT_EQ(first[0], 10000) << "gain 8192";
  EXPECT_NEAR(last[0], 10000 * std::pow(127.0 / 128.0, 239), 100);
  EXPECT_LT(last[1], 500);
  EXPECT_TRUE(last[2] == 0 && last[3] == 0 && first[4] == 0);
  EXPECT_GT(last[4], 2000);
  EXPECT_GT(last[7], last[4]);
}

TEST_F(HpEntry, FadesForAnyChangedWord) {
  open(48000, 1);
  run_blocks(10);
  audio_effect_control_acdb_t record = {}, copy;
  auto* words = reinterpret_cast<int32_t*>(&record);
  const auto counter_after_setting = [&] {
    sonx_hp_effect_set_parameters(handle, &record);
    sonx_hp_effect_process(handle, words, 0);
    return std::exchange(handle->chain.switch_counter, -1);
  };
  for (int word = 0; word < 31; ++word) {
    words[word] = 1000 + word;
    EXPECT_EQ(counter_after_setting(), 6) << word;
    EXPECT_EQ(counter_after_setting(), -1) << word;
  }
  words[30] = 0;
  sonx_hp_effect_set_parameters(handle, &record);
  words[30] = 1030;
  EXPECT_EQ(counter_after_setting(), 6) << "there and back between two calls is a change";
  sonx_hp_effect_get_parameters(handle, &copy);
  EXPECT_EQ(std::memcmp(&copy, &record, sizeof record), 0);
  EXPECT_EQ(take_log().back(),
            (log_line{3, kTag, "sonx_hp_effect_set_parameters: effect 1000 hpadapter 1001"}));
  handle->chain.eq->left_section[0]->state[1] = 5;
  sonx_hp_effect_reset(handle);
  sonx_hp_effect_process(handle, words, 0);
  EXPECT_EQ(handle->chain.eq->left_section[0]->state[1], 0);
}

// As the header says, wherever in a low tone's period the change comes.
TEST_F(HpEntry, ChangesWithoutAClickAtTheListedPeriods) {
  const change changes[] = {
      {{SONX_EFFECT_PARAMETRIC_EQUALIZER, 0, {}}, {SONX_EFFECT_STEREO_WIDENING, 0, {}}},
      {{SONX_EFFECT_STEREO_WIDENING, 0, {}}, {SONX_EFFECT_NONE, 0, {}}},
      {{SONX_EFFECT_GRAPHIC_EQUALIZER, 0, {}}, {SONX_EFFECT_GRAPHIC_EQUALIZER, 0, {3}}}};
  const auto worst = [&](int rate, int period) {
    double most = 0;
    for (const change& c : changes)
      for (int place = 0; place < 8; ++place)
        most = std::max(most, step_of_change(c, rate, period, 50, place / 8.0));
    return most;
  };
  for (const int rate : {48000, 44100})
    for (const int period : {240, 256, 480, 500, 512, 768, 960, 1000, 1024, 1152, 1536, 1764, 1920})
      EXPECT_LT(worst(rate, period), 3.75) << rate << " Hz, " << period << " frames";
  EXPECT_LT(worst(44100, 441), 3.75);
  EXPECT_GT(worst(48000, 441), 12) << "and it sees a click";
}

TEST_F(HpEntry, IgnoresNullArguments) {
  int16_t buffer[4] = {1, 2, 3, 4};
  audio_effect_control_acdb_t record = {};
  sonx_hp_effect_process(nullptr, buffer, sizeof buffer);
  sonx_hp_effect_reset(nullptr);
  sonx_hp_effect_set_parameters(nullptr, &record);
  sonx_hp_effect_get_parameters(nullptr, &record);
  sonx_hp_effect_deinit(nullptr);
  EXPECT_EQ(buffer[3], 4);
  EXPECT_EQ(sonx_hp_effect_bypasses(nullptr), 1);
  EXPECT_EQ(sonx_hp_effect_latency(nullptr), 0);
  open(48000, 1);
  take_log();
  sonx_hp_effect_process(handle, nullptr, 960);
  sonx_hp_effect_set_parameters(handle, nullptr);
  sonx_hp_effect_get_parameters(handle, nullptr);
  EXPECT_TRUE(take_log().empty());
}
