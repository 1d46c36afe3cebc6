// The rack against the modules it is made of.
#include "sonx/rack.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "biquad_design.h"
#include "effects/compressor.h"
#include "effects/equalizer.h"
#include "effects/parameter_equalizer.h"
#include "effects/reverb.h"
#include "effects/smart_volume_control.h"
#include "effects/speaker_boost_system.h"
#include "effects/stereo_widening_system.h"
#include "effects/virtual_bass_system.h"
#include "hp/teka_hp_effect.h"
#include "ktv/gramophone.h"
#include "ktv/howling_cancel.h"
#include "ktv/iirecho.h"
#include "ktv/resampler.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "ns/noise_suppressor.h"

namespace {

constexpr int kRate = 48000, kBlock = 240;

using rack_pointer = std::unique_ptr<sonx_rack, decltype(&sonx_rack_destroy)>;

// A rack with one slot for each id, initial values.
rack_pointer make_rack(const std::vector<std::string>& ids, int rate = kRate) {
  rack_pointer rack(sonx_rack_create(rate, kBlock), &sonx_rack_destroy);
  std::string preset = "sonx = 1\n";
  for (const std::string& id : ids) preset += "[[effect]]\nid = \"" + id + "\"\n";
  char error[200] = "";
  EXPECT_EQ(sonx_rack_load(rack.get(), preset.c_str(), error, sizeof error), 0) << error;
  return rack;
}

int parameter(sonx_rack* rack, int slot, const std::string& id) {
  const sonx_effect& effect = *sonx_rack_slot(rack, slot);
  for (int k = 0; k < effect.parameter_count; ++k)
    if (id == effect.parameters[k].id) return k;
  return -1;
}

// Interleaved stereo, 24 bits at the top of a word: tones, noise and pauses.
std::vector<int32_t> music(int frames) {
  std::mt19937 random(16);
  std::vector<int32_t> words(2 * static_cast<size_t>(frames));
  for (size_t i = 0; i < words.size(); ++i) {
    const double t = static_cast<double>(i / 2) / kRate, loud = std::fmod(t, 0.5) < 0.35 ? 1 : 0.01;
    const double noise = static_cast<double>(random() % 2000) / 1000 - 1;
    const double x = loud * (0.4 * std::sin(2 * M_PI * (i % 2 == 0 ? 110 : 131) * t) + 0.2 * noise);
    words[i] = static_cast<int32_t>(std::lrint(x * 8388607)) * 256;
  }
  return words;
}

std::vector<int32_t> through(sonx_rack* rack, std::vector<int32_t> words,
                             const std::function<int()>& next_length) {
  for (size_t i = 0; i < words.size();) {
    const int n = std::min<int>(next_length(), static_cast<int>(words.size() - i) / 2);
    sonx_rack_process_s32(rack, words.data() + i, 2, n);
    i += 2 * static_cast<size_t>(n);
  }
  return words;
}
std::vector<int32_t> through(sonx_rack* rack, const std::vector<int32_t>& words) {
  return through(rack, words, [] { return kBlock; });
}

using block_function = std::function<void(int*, int*, int)>;

// The same samples through a function that takes blocks in place; later is the rack's delay.
std::vector<int32_t> through(const block_function& process, const std::vector<int32_t>& words,
                             int later) {
  std::vector<int32_t> out(words.size() + 2 * static_cast<size_t>(later));
  for (size_t start = 0; start + 2 * kBlock <= words.size(); start += 2 * kBlock) {
    int left[kBlock], right[kBlock];
    for (size_t i = 0; i < kBlock; ++i) {
      left[i] = words[start + 2 * i] >> 8;
      right[i] = words[start + 2 * i + 1] >> 8;
    }
    process(left, right, kBlock);
    int32_t* to = out.data() + start + 2 * static_cast<size_t>(later);
    for (size_t i = 0; i < kBlock; ++i) {
      to[2 * i] = std::clamp(left[i], -0x800000, 0x7FFFFF) * 256;
      to[2 * i + 1] = std::clamp(right[i], -0x800000, 0x7FFFFF) * 256;
    }
  }
  out.resize(words.size());
  return out;
}

template <typename Record, auto end>
struct ended {
  Record record{};
  ~ended() { end(&record); }
};

// A module as its own init leaves it, at 48000 Hz.
template <typename Record, auto init, auto end, typename... Arguments>
std::shared_ptr<Record> own(Arguments... arguments) {
  auto holder = std::make_shared<ended<Record, end>>();
  init(&holder->record, arguments...);
  return {holder, &holder->record};
}

template <typename Module>
block_function stereo(std::shared_ptr<Module> module,
                      void (*process)(Module*, int*, int*, int*, int*, int)) {
  return [=](int* left, int* right, int n) { process(module.get(), left, right, left, right, n); };
}

template <typename Module>
block_function mono(std::shared_ptr<Module> left, std::shared_ptr<Module> right,
                    void (*process)(Module*, int*, int*, int)) {
  return [=](int* l, int* r, int n) {
    process(left.get(), l, l, n);
    process(right.get(), r, r, n);
  };
}

block_function own_reverb() {
  auto reverb = own<reverb_t, reverb_init, reverb_end>();
  return [=](int* left, int* right, int n) {
    reverb_process_stereo_24(reverb.get(), left, right, left, right, static_cast<unsigned>(n));
  };
}

block_function own_graphic_equalizer() {
  auto equalizer = own<equalizer_t, equalizer_init, equalizer_end>();
  int flat[10] = {};
  equalizer_set_param_index_48000(equalizer.get(), flat);
  return stereo(equalizer, equalizer_process_stereo);
}

block_function own_virtual_bass() {
  auto bass = own<virtual_bass_system, virtual_bass_system_init, virtual_bass_system_end>();
  return stereo(bass, virtual_bass_system_process);
}

block_function own_widening() {
  auto system =
      own<stereo_widening_system, stereo_widening_system_init, stereo_widening_system_end>();
  stereo_widening_system_set_sample_rate(system.get(), SAMPLE_RATE_48000);
  return stereo(system, stereo_widening_system_process);
}

block_function own_compressor() {
  auto compressor = own<compressor_t, compressor_init, compressor_end>(8192, 2);
  compressor_set_sample_rate(compressor.get(), SAMPLE_RATE_48000);
  compressor_set_volume(compressor.get(), 8192);
  return stereo(compressor, compressor_process);
}

block_function own_boost() {
  auto boost = own<speaker_boost_system_t, speaker_boost_system_init, speaker_boost_system_end>();
  speaker_boost_system_set_sample_rate(boost.get(), SAMPLE_RATE_48000);
  for (auto* controller :
       {boost->drc_low_left, boost->drc_mid_left, boost->drc_high_left, boost->drc_full_left,
        boost->drc_low_right, boost->drc_mid_right, boost->drc_high_right, boost->drc_full_right})
    dynamic_range_control_set_volume(controller, 8192);  // each gain starts at half of it
  return stereo(boost, speaker_boost_system_process_stereo);
}

block_function own_smart_volume() {
  auto control = own<smart_volume_control_t, smart_volume_control_init, smart_volume_control_end>();
  smart_volume_control_reset(control.get());
  control->gain = control->gain_init;  // the rack doesn't wait for a loud block
  return stereo(control, smart_volume_control_process);
}

block_function own_howling_canceller() {
  auto left = own<howlingCancel, howling_canceling_init, howling_canceling_end>();
  auto right = own<howlingCancel, howling_canceling_init, howling_canceling_end>();
  return mono(left, right, howling_canceling_process);
}

// Through the converter, which takes memory where the rack doesn't.
block_function own_noise_suppressor() {
  struct channel {
    NsxInst_t_ core;
    Resampler_t down, up;
    channel() {
      tekaNs_InitCore(&core, 32000);
      tekaNs_set_prior_source(&core, 2);
      Resampler_config(&down, 48000, 32000);
      Resampler_config(&up, 32000, 48000);
    }
    ~channel() {
      tekaNs_FreeCore(&core);
      Resampler_delete(&down);
      Resampler_delete(&up);
    }
    void process(int* samples, int n) {
      short words[kBlock] = {};
      int count = 0;
      for (int i = 0; i < n; ++i)
        words[i] = static_cast<short>(std::min((samples[i] + 128) >> 8, 32767));
      Resampler_proc(&down, words, n, words, n, &count);
      tekaNs_ProcessCore(&core, words, words);
      Resampler_proc(&up, words, count, words, n, &count);
      for (int i = 0; i < n; ++i) samples[i] = words[i] * 256;
    }
  };
  auto left = std::make_shared<channel>(), right = std::make_shared<channel>();
  return [=](int* l, int* r, int n) {
    left->process(l, n);
    right->process(r, n);
  };
}

block_function own_karaoke() {
  auto chain = own<teka_audio_tx_ktv_t, teka_audio_tx_ktv_init, teka_audio_tx_ktv_end>();
  return [=](int* left, int* right, int n) {
    for (int i = 0; i < n; ++i) left[i] = (left[i] + right[i]) >> 1;
    teka_audio_tx_ktv_core_process(chain.get(), left, right, n);
  };
}

// With the chain's own start, whose fade is over after a while.
block_function own_headphones() {
  auto chain = own<teka_hp_effect_t, teka_hp_effect_init, teka_hp_effect_end>();
  teka_hp_effect_set_sample_rate(chain.get(), kRate);
  teka_hp_effect_setstatus(chain.get(), 1);
  return [=](int* left, int* right, int n) {
    teka_hp_effect_core_process(chain.get(), left, right, n);
    if (chain->switch_counter >= 0) --chain->switch_counter;
  };
}

block_function nothing() {
  return [](int*, int*, int) {};
}

struct reference {
  const char* id;
  block_function process;
  int gathered;  // frames that the rack holds back
  int from = 0;  // frames until both must agree
};

std::vector<reference> references() {
  const auto gramophones =
      mono(own<gramophone, gramophone_init, gramophone_end>(),
           own<gramophone, gramophone_init, gramophone_end>(), gramophone_process);
  return {{"headphones", own_headphones(), kBlock, kRate},
          {"karaoke", own_karaoke(), kBlock},
          {"graphic-equalizer", own_graphic_equalizer(), 0},
          {"parametric-equalizer", nothing(), 0},
          {"reverb", own_reverb(), 0},
          {"stereo-widening", own_widening(), 0},
          {"virtual-bass", own_virtual_bass(), kBlock},
          {"smart-volume", own_smart_volume(), kBlock},
          {"compressor", own_compressor(), kBlock},
          {"speaker-boost", own_boost(), kBlock},
          {"balance", nothing(), 0},
          {"volume", nothing(), 0},
          {"gramophone", gramophones, 0},
          {"echo", stereo(own<iirecho, iirecho_init, iirecho_end>(), iirecho_processStereo), 0},
          {"howling-canceller", own_howling_canceller(), 0},
          {"noise-suppressor", own_noise_suppressor(), kBlock}};
}

int first_difference(const std::vector<int32_t>& a, const std::vector<int32_t>& b, int from = 0) {
  const auto start = 2 * from;
  const auto place = std::mismatch(a.begin() + start, a.end(), b.begin() + start).first;
  return place == a.end() ? -1 : static_cast<int>(place - a.begin()) / 2;
}

// Initial values are the modules' own, so that a rack does what a module does after its init.
TEST(Rack, OfOneEffectGivesTheModulesOwnBits) {
  const auto words = music(100 * kBlock * 2);
  const auto all = references();
  ASSERT_EQ(static_cast<int>(all.size()), sonx_effect_count());
  for (const reference& r : all) {
    auto rack = make_rack({r.id});
    const auto got = through(rack.get(), words), expected = through(r.process, words, r.gathered);
    EXPECT_EQ(first_difference(got, expected, std::min(r.from, 100 * kBlock)), -1) << r.id;
  }
}

// Settings change in the middle; they wait for the right frame however the stream is cut.
TEST(Rack, GivesTheSameBitsForEverySplit) {
  const auto words = music(60000);
  for (const std::vector<std::string>& ids :
       {std::vector<std::string>{"parametric-equalizer", "echo", "volume"},
        {"reverb", "compressor", "smart-volume"},
        {"noise-suppressor", "graphic-equalizer"}}) {
    std::mt19937 random(7);
    std::vector<int32_t> results[2];
    for (int split = 0; split < 2; ++split) {
      auto rack = make_rack(ids);
      const auto length = [&] { return split == 0 ? 480 : static_cast<int>(random() % 700); };
      const auto part = [&](int from, int to) {
        const auto out =
            through(rack.get(), {words.begin() + 2 * from, words.begin() + 2 * to}, length);
        results[split].insert(results[split].end(), out.begin(), out.end());
      };
      part(0, 10000);
      for (int slot = 0; slot < static_cast<int>(ids.size()); ++slot)
        sonx_rack_set(rack.get(), slot, 0, sonx_rack_slot(rack.get(), slot)->parameters[0].minimum);
      sonx_rack_enable(rack.get(), 1, 0);
      part(10000, 30011);
      sonx_rack_enable(rack.get(), -1, 0);
      part(30011, 60000);
    }
    EXPECT_EQ(first_difference(results[0], results[1]), -1) << ids[0];
  }
}

TEST(Rack, SwitchedOffPassesItsInputWithTheSameLatency) {
  const auto words = music(30000);
  for (int i = 0; i < sonx_effect_count(); ++i) {
    auto rack = make_rack({sonx_effect_at(i)->id});
    for (int slot : {-1, 0}) {
      sonx_rack_enable(rack.get(), slot, 0);
      sonx_rack_reset(rack.get());
      const int latency = sonx_rack_latency(rack.get());
      const auto out = through(rack.get(), words);
      EXPECT_TRUE(std::equal(out.begin() + 2 * latency, out.end(), words.begin()))
          << sonx_effect_at(i)->id << " slot " << slot;
      sonx_rack_enable(rack.get(), slot, 1);
    }
  }
}

// After a change and its fade: what an instance gives that had the settings from the beginning.
TEST(Rack, AfterAChangeGivesWhatTheNewSettingsGive) {
  const auto words = music(3 * kRate);
  const auto follows = [&](const char* id, const char* name, double value) {
    auto changed = make_rack({id}), always = make_rack({id});
    sonx_rack_set(always.get(), 0, parameter(always.get(), 0, name), value);
    std::vector<int32_t> head(words.begin(), words.begin() + kRate),
        tail(words.begin() + kRate, words.end());
    through(changed.get(), head);
    through(always.get(), head);
    sonx_rack_set(changed.get(), 0, parameter(changed.get(), 0, name), value);
    return first_difference(through(changed.get(), tail), through(always.get(), tail), kRate) == -1;
  };
  EXPECT_TRUE(follows("volume", "gain", -6));
  EXPECT_TRUE(follows("balance", "balance", 40));
  EXPECT_TRUE(follows("echo", "wet", 30));
  EXPECT_TRUE(follows("reverb", "wet", 20));
  EXPECT_TRUE(follows("compressor", "threshold", -12));
  EXPECT_TRUE(follows("virtual-bass", "highs", 50));
}

// Five peaks of 12 dB on one place: what they do to a soft tone the module does as well; a loud one
// is clipped where the module would wrap and so keeps its pitch.
TEST(Rack, EqualizerLimitsWhatWouldWrap) {
  auto rack = make_rack({"parametric-equalizer"});
  int rows[10][6] = {};
  for (int band = 0; band < 5; ++band) {
    sonx_rack_set(rack.get(), 0, 2 + 4 * band + 1, 1000);
    sonx_rack_set(rack.get(), 0, 2 + 4 * band + 2, 12);
    rows[band][0] = 1;
    design_biquad(biquad_type::peak, 1000, 12, 1, kRate, rows[band] + 1);
  }
  for (int band = 5; band < 10; ++band) sonx_rack_set(rack.get(), 0, 2 + 4 * band, 6);  // off
  const auto module = std::make_shared<parameter_equalizer_t>();
  parameter_equalizer_init(module.get());
  parameter_equalizer_setparameter_left(module.get(), rows);
  parameter_equalizer_setparameter_right(module.get(), rows);

  const auto tone = [](double level) {
    std::vector<int32_t> words(2 * 20 * kBlock);
    for (size_t i = 0; i < words.size(); ++i)
      words[i] =
          static_cast<int32_t>(level * std::sin(2 * M_PI * 1000 / kRate * (i / 2 + 0.5))) * 256;
    return words;
  };
  const auto soft = tone(3000), loud = tone(8388607);
  const auto expected = through(stereo(module, parameter_equalizer_process_stereo), soft, 0);
  EXPECT_EQ(first_difference(through(rack.get(), soft), expected), -1);
  const auto turns = [](const std::vector<int32_t>& words) {
    int count = 0;
    for (size_t i = 2; i < words.size(); ++i) count += (words[i] < 0) != (words[i - 2] < 0);
    return count;
  };
  EXPECT_NEAR(turns(through(rack.get(), loud)), turns(loud), 4);
}

TEST(Rack, TakesFloatsToTheNearestSampleAndLimitsThem) {
  rack_pointer rack(sonx_rack_create(kRate, 16), &sonx_rack_destroy);
  const float step = 0x1p-23F, nan = std::numeric_limits<float>::quiet_NaN();
  const float inf = std::numeric_limits<float>::infinity();
  const float in[] = {0.4F * step, 0.6F * step, -0.6F * step, nan, inf, -inf, 1.5F, -1.0F};
  const float expected[] = {0, step, -step, 0, 1 - step, -1, 1 - step, -1};
  float out[8];
  const float* ins[] = {in};
  float* outs[] = {out};
  sonx_rack_process_f32(rack.get(), ins, outs, 1, 8);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], expected[i]) << i;
  float peak_in[2], peak_out[2];
  sonx_rack_meters(rack.get(), peak_in, peak_out);
  EXPECT_EQ(peak_in[0], 1.0F);
  sonx_rack_meters(rack.get(), peak_in, peak_out);
  EXPECT_EQ(peak_out[1], 0.0F);
}

TEST(Rack, MetersEachSlot) {
  rack_pointer rack(sonx_rack_create(kRate, 480), &sonx_rack_destroy);
  const char* const preset =
      "sonx = 1\n[[effect]]\nid = \"volume\"\ngain = 12.0\n[[effect]]\nid = \"volume\"\n"
      "gain = -20.0\n";
  ASSERT_EQ(sonx_rack_load(rack.get(), preset, nullptr, 0), 0);
  int16_t tone[960];
  for (int i = 0; i < 960; ++i) tone[i] = i % 2 ? -16384 : 16384;
  sonx_rack_process_s16(rack.get(), tone, 2, 480);
  float in[2], out[2];
  ASSERT_EQ(sonx_rack_slot_meters(rack.get(), 1, in, out), 0);
  EXPECT_NEAR(in[1], 0.5F * 3.981F, 0.002F);  // above full scale, between slots
  EXPECT_NEAR(out[1], 0.05F * 3.981F, 0.0002F);
  sonx_rack_slot_meters(rack.get(), 1, in, out);
  EXPECT_EQ(in[0], 0.0F);
  EXPECT_EQ(sonx_rack_slot_meters(rack.get(), 2, in, out), -1);
}

TEST(Rack, KeepsTheWordsItsFormatsHave) {
  rack_pointer rack(sonx_rack_create(kRate, 16), &sonx_rack_destroy);
  int32_t wide[] = {0x123456FF, INT32_MIN, -1, 255};
  sonx_rack_process_s32(rack.get(), wide, 2, 2);
  EXPECT_EQ(wide[0], 0x12345600);
  EXPECT_EQ(wide[1], INT32_MIN);
  EXPECT_EQ(wide[2], -256);
  EXPECT_EQ(wide[3], 0);
  int16_t narrow[] = {INT16_MIN, INT16_MAX, -1, 1};
  sonx_rack_process_s16(rack.get(), narrow, 2, 2);
  EXPECT_EQ(narrow[0], INT16_MIN);
  EXPECT_EQ(narrow[1], INT16_MAX);
  EXPECT_EQ(narrow[2], -1);
  EXPECT_EQ(narrow[3], 1);
}

TEST(Rack, RefusesWhatItDoesNotHave) {
  EXPECT_EQ(sonx_rack_create(kRate, 0), nullptr);
  EXPECT_EQ(sonx_rack_create(11025, 256), nullptr);
  auto rack = make_rack({"volume"});
  EXPECT_EQ(sonx_rack_set(rack.get(), 1, 0, 0), -1);
  EXPECT_EQ(sonx_rack_set(rack.get(), 0, 1, 0), -1);
  EXPECT_EQ(sonx_rack_set(rack.get(), 0, 0, std::nan("")), -1);
  EXPECT_EQ(sonx_rack_enable(rack.get(), 1, 1), -1);
  EXPECT_EQ(sonx_rack_enabled(rack.get(), 1), -1);
  EXPECT_EQ(sonx_rack_enable(rack.get(), 0, 0), 0);
  EXPECT_EQ(sonx_rack_enabled(rack.get(), 0), 0);
  EXPECT_EQ(sonx_rack_enabled(rack.get(), -1), 1);
  EXPECT_EQ(sonx_rack_set(rack.get(), 0, 0, 1000), 0);
  EXPECT_EQ(sonx_rack_get(rack.get(), 0, 0), 18);
  EXPECT_TRUE(std::isnan(sonx_rack_get(rack.get(), 0, 1)));
  EXPECT_EQ(sonx_rack_slot(rack.get(), -1), nullptr);
}

}  // namespace
