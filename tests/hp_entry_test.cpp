// The headphone entry points: formats, blocks, bypass and the fade, as a HAL meets them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "hp/sonx_hp_effect.h"
#include "hp/sonx_hp_handle_internal.h"
#include "support/log_capture.h"
#include "support/signals.h"

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
    std::vector<int16_t> silence(480);
    for (int i = 0; i < blocks; ++i) sonx_hp_effect_process(handle, silence.data(), 960);
  }
  void close() {
    sonx_hp_effect_deinit(handle);
    handle = nullptr;
  }
  void TearDown() override { close(); }

  sonx_hp_handle_t* handle = nullptr;
};

}  // namespace

TEST_F(HpEntry, BypassesRatesThatTheChainIsNotMadeForAndWarns) {
  const std::vector<int16_t> in = {1000, -1000, 32767, -32768};
  for (unsigned rate : {44050u, 44100u, 48000u, 48050u}) {
    open(rate, 1);
    EXPECT_EQ(take_log(), (std::vector<log_line>{{3, kTag,
                                                  "sonx_hp_effect_init: sample_rate " +
                                                      std::to_string(rate) + ", format_type 1"}}));
    EXPECT_NE(processed(std::vector<int16_t>(480, 1000)), std::vector<int16_t>(480, 1000));
  }
  for (unsigned rate : {0u, 32000u, 44049u, 48051u, 96000u, 4294967295u}) {
    open(rate, 1);
    const auto log = take_log();
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[1], (log_line{5, kTag,
                                "sonx_hp_effect_init: sample_rate " + std::to_string(rate) +
                                    " unmatch, need bypass"}));
    EXPECT_EQ(processed(in), in);
    EXPECT_TRUE(take_log().empty());
    set_effect(4);
    EXPECT_EQ(handle->params.effect_type, 4) << "parameters still reach a bypassed handle";
  }
}

TEST_F(HpEntry, KeepsTheRateAndTheFormatItWasGiven) {
  open(44050, 3);
  EXPECT_EQ(handle->chain.sample_rate_type, SAMPLE_RATE_48000) << "only 44100 itself is rate 0";
  const struct {
    int code;
    uint32_t type, bits, bytes;
  } formats[] = {{1, 1, 16, 2}, {2, 2, 32, 4}, {3, 3, 32, 4}, {4, 4, 32, 4},
                 {0, 0, 32, 4}, {5, 0, 32, 4}, {-1, 0, 32, 4}};
  for (const auto& format : formats) {
    open(44100, format.code);
    EXPECT_EQ(handle->chain.sample_rate_type, SAMPLE_RATE_44100);
    EXPECT_EQ(handle->format_type, format.type);
    EXPECT_EQ(handle->bits_per_sample, format.bits);
    EXPECT_EQ(handle->bytes_per_sample, format.bytes);
  }
}

TEST_F(HpEntry, CutsAPeriodIntoTheBlocksThatLeaveTheShorterRestAndLogsAChangeOnce) {
  open(48000, 1);
  run_blocks(10);
  take_log();
  // frames -> block: divisible by 240, by 256, else the smaller remainder, 256 at a tie.
  const int cases[][2] = {{960, 240}, {512, 256}, {1000, 256}, {300, 240}, {3840, 240},
                          {100, 256}, {241, 256}, {257, 240},  {0, 240}};
  for (const auto& [frames, block] : cases) {
    std::vector<int16_t> buffer(static_cast<size_t>(2 * frames) + 1);
    for (int repeat = 0; repeat < 2; ++repeat)
      sonx_hp_effect_process(handle, buffer.data(), static_cast<unsigned long>(4 * frames));
    EXPECT_EQ(
        take_log(),
        (std::vector<log_line>{
            {3, kTag, "sonx_hp_effect_process: frame size change to " + std::to_string(block)}}))
        << frames;
    EXPECT_EQ(handle->block_frames, static_cast<uint32_t>(block)) << frames;
  }
}

TEST_F(HpEntry, GivesTheSameStreamForEveryPeriodThatIsCutIntoTheSameBlocks) {
  samples music = noise(2 * 240 * 32, 20000, 5);
  std::vector<int16_t> reference(music.begin(), music.end());
  open(48000, 1);
  set_effect(4);
  for (size_t i = 0; i < reference.size(); i += 480)
    sonx_hp_effect_process(handle, &reference[i], 960);
  for (size_t blocks : {2, 4, 8, 32}) {
    std::vector<int16_t> other(music.begin(), music.end());
    open(48000, 1);
    set_effect(4);
    for (size_t i = 0; i < other.size(); i += 480 * blocks)
      sonx_hp_effect_process(handle, &other[i], 960 * blocks);
    EXPECT_EQ(other, reference);
  }
}

TEST_F(HpEntry, ConvertsSixteenBitSamplesWithRoundingAndSaturation) {
  const std::vector<int16_t> rails = {32767, -32768, -1, 1};
  open_settled(1);
  EXPECT_EQ(processed(rails), rails);
  open_settled(1, 16384);
  EXPECT_EQ(processed(rails), (std::vector<int16_t>{32767, -32768, -2, 2}));
  open_settled(1, 4096);
  // Half of 1 is 128 of 256, which rounds up; half of -1 is -128, which rounds up to 0.
  EXPECT_EQ(processed(rails), (std::vector<int16_t>{16384, -16384, 0, 1}));
}

TEST_F(HpEntry, ConvertsThirtyTwoBitSamplesAsTheFormatSays) {
  for (int format : {2, 4, 9}) {
    const std::vector<int32_t> words = {INT32_MAX, INT32_MIN, -1, 123456789};
    open_settled(format);
    EXPECT_EQ(processed(words), words);
  }
  open_settled(3);
  EXPECT_EQ(processed(std::vector<int32_t>{INT32_MAX, INT32_MIN, 0x7FFFFF7F, 0x7FFFFF80, 127, 128,
                                           -128, -129}),
            (std::vector<int32_t>{0x7FFFFF00, INT32_MIN, 0x7FFFFF00, 0x7FFFFF00, 0, 256, 0, -256}));
  open_settled(3, 16384);
  EXPECT_EQ(processed(std::vector<int32_t>{0x40000000, -0x40000000, 0x3FFFFF00, -0x40000100}),
            (std::vector<int32_t>{INT32_MAX, INT32_MIN, 0x7FFFFE00, INT32_MIN}));
  // An odd number of samples: the last one is no frame, but it is converted to 24 bits and back.
  open_settled(3, 0);
  EXPECT_EQ(processed(std::vector<int32_t>{5000, 5000, 5000}), (std::vector<int32_t>{0, 0, 5120}));
}

TEST_F(HpEntry, LeavesPartsOfAFrameAlone) {
  for (int format : {1, 2, 4}) {
    open_settled(format, 0);
    std::vector<unsigned char> bytes(64, 0x55);
    const size_t frame = format == 1 ? 4 : 8;
    sonx_hp_effect_process(handle, bytes.data(), 0);
    sonx_hp_effect_process(handle, bytes.data(), frame - 1);
    EXPECT_EQ(bytes, std::vector<unsigned char>(64, 0x55));
    sonx_hp_effect_process(handle, bytes.data(), 2 * frame - 1);
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0), static_cast<long>(frame));
  }
}

// From init on: two blocks fade out, the third switches, the output rises from the fifth.
TEST_F(HpEntry, FadesFromTheFirstBlockOn) {
  open(48000, 1);
  const int counters[] = {5, 4, 3, 2, 1, 0, -1, -1};
  int first_sample[8], last_sample[8];
  for (int block = 0; block < 8; ++block) {
    const auto out = processed(std::vector<int16_t>(480, 10000));
    first_sample[block] = out[0];
    last_sample[block] = out[478];
    EXPECT_EQ(handle->chain.switch_counter, counters[block]);
    EXPECT_EQ(handle->chain.active_status, block < 2 ? 0 : 1);
  }
  EXPECT_EQ(first_sample[0], 10000) << "gain 8192";
  EXPECT_NEAR(last_sample[0], 10000 * std::pow(127.0 / 128.0, 239), 100);
  EXPECT_LT(last_sample[1], 500);
  EXPECT_EQ(last_sample[2], 0);
  EXPECT_EQ(last_sample[3], 0);
  EXPECT_EQ(first_sample[4], 0);
  EXPECT_GT(last_sample[4], 2000);
  EXPECT_GT(last_sample[7], last_sample[4]);
}

TEST_F(HpEntry, AbsorbsAChangeWhileFadingOutAndSwitchesAgainAfterwards) {
  open(48000, 1);
  run_blocks(10);
  ASSERT_EQ(handle->chain.switch_counter, -1);

  set_effect(5);
  EXPECT_EQ(handle->chain.switch_counter, 6);
  run_blocks(1);
  set_effect(4);
  EXPECT_EQ(handle->chain.switch_counter, 5) << "absorbed by the fade-out under way";
  run_blocks(2);
  EXPECT_EQ(handle->chain.switch_counter, 3);
  EXPECT_EQ(handle->chain.reverb->status, 1) << "the later record is the one that took effect";
  EXPECT_EQ(handle->chain.eq->status, 0);

  for (int counter : {3, 2}) {
    handle->chain.switch_counter = counter;
    set_effect(counter);
    EXPECT_EQ(handle->chain.switch_counter, 4);
  }
  for (int counter : {1, 0, -1}) {
    handle->chain.switch_counter = counter;
    set_effect(10 + counter);
    EXPECT_EQ(handle->chain.switch_counter, 6);
  }
}

TEST_F(HpEntry, StartsAFadeForAnyChangedWordAndForNoUnchangedRecord) {
  open(48000, 1);
  run_blocks(10);
  audio_effect_control_acdb_t record = {}, copy;
  auto* words = reinterpret_cast<int32_t*>(&record);
  for (int word = 0; word < 31; ++word) {
    words[word] = 1000 + word;
    sonx_hp_effect_set_parameters(handle, &record);
    EXPECT_EQ(handle->chain.switch_counter, 6) << word;
    handle->chain.switch_counter = -1;
    sonx_hp_effect_set_parameters(handle, &record);
    EXPECT_EQ(handle->chain.switch_counter, -1) << word;
  }
  sonx_hp_effect_get_parameters(handle, &copy);
  EXPECT_EQ(std::memcmp(&copy, &record, sizeof record), 0);
  take_log();
  set_effect(3, 7);
  EXPECT_EQ(
      take_log(),
      (std::vector<log_line>{{3, kTag, "sonx_hp_effect_set_parameters: effect 3 hpadapter 7"}}));
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
  open(48000, 1);
  take_log();
  sonx_hp_effect_process(handle, nullptr, 960);
  sonx_hp_effect_set_parameters(handle, nullptr);
  sonx_hp_effect_get_parameters(handle, nullptr);
  EXPECT_TRUE(take_log().empty());
}
