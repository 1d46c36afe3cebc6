// The plugins through LV2's own interface.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <random>

#include "host.h"

namespace {

constexpr int kFrames = 30000;
using channel = std::vector<float>;

// 24-bit noise.
channel noise(unsigned seed) {
  std::mt19937 random(seed);
  channel x(kFrames);
  for (float& sample : x)
    sample = static_cast<float>(static_cast<int>(random() >> 9) - (1 << 22)) * 0x1p-23F;
  return x;
}

std::string preset_file(const char* name) {
  return std::string(SONX_SOURCE_DIR "/presets/") + name + ".toml";
}
std::string text_of(const std::string& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

using rack_owner = std::unique_ptr<sonx_rack, void (*)(sonx_rack*)>;
rack_owner rack_with(const std::string& preset, int rate) {
  rack_owner rack(sonx_rack_create(rate, kFrames), sonx_rack_destroy);
  EXPECT_EQ(sonx_rack_load(rack.get(), preset.c_str(), nullptr, 0), 0);
  return rack;
}

// What a rack makes of the noise, left and right.
std::vector<channel> played(sonx_rack* rack, int inputs, int outputs) {
  std::vector<channel> x = {noise(1), inputs == 2 ? noise(2) : noise(1)};
  float* const samples[] = {x[0].data(), x[1].data()};
  sonx_rack_process_f32(rack, samples, samples, outputs, kFrames);
  x.resize(static_cast<size_t>(outputs));
  return x;
}

enum buffers { kApart, kInPlace, kCrosswise };

// What a plugin makes of it, in blocks of any length.
std::vector<channel> played(plugin& its, buffers how) {
  const std::vector<channel> in = {noise(1), noise(2)};
  std::vector<channel> memory(4, channel(kFrames)), out(static_cast<size_t>(its.outputs));
  float* const sides[] = {memory[0].data(), memory[1].data()};
  float* const crossed[] = {memory[1].data(), memory[0].data()};
  float* const apart[] = {memory[2].data(), memory[3].data()};
  its.connect_audio(sides, how == kApart ? apart : how == kInPlace ? sides : crossed);
  std::mt19937 random(3);
  for (int done = 0, turn = 0; done < kFrames; ++turn) {
    constexpr int kLengths[] = {0, 1, 64, 333, 10000};
    const int frames = std::min(kLengths[random() % std::size(kLengths)], kFrames - done);
    for (size_t c = 0; c < 2; ++c) std::copy_n(in[c].begin() + done, frames, memory[c].begin());
    its.run(frames);
    for (size_t c = 0; c < out.size(); ++c) {
      const float* const from = how == kApart ? apart[c] : how == kInPlace ? sides[c] : crossed[c];
      out[c].insert(out[c].end(), from, from + frames);
    }
    done += frames;
  }
  return out;
}

int rate_of(const sonx_effect& effect) { return effect.rates[effect.rate_count - 1]; }
std::string preset_of(const sonx_effect& effect) {
  return "sonx = 1\n[[effect]]\nid = \"" + std::string(effect.id) + "\"\n";
}

TEST(Lv2Effect, GivesTheRacksBitsWhateverTheBlocksAndBuffers) {
  test_host host;
  for (int e = 0; e < sonx_effect_count(); ++e) {
    const sonx_effect& effect = *sonx_effect_at(e);
    for (const buffers how : {kApart, kInPlace, kCrosswise}) {
      if (how == kCrosswise && effect.inputs != 2) continue;
      plugin its(host, &effect, rate_of(effect));
      const rack_owner rack = rack_with(preset_of(effect), rate_of(effect));
      for (int k = 0; k < effect.parameter_count; ++k) {  // a decimal that no binary fraction is
        const sonx_parameter& p = effect.parameters[k];
        const double value = std::round(10 * (p.minimum + 0.37 * (p.maximum - p.minimum))) / 10;
        its.controls[static_cast<size_t>(k)] = static_cast<float>(value);
        sonx_rack_set(rack.get(), 0, k, value);
      }
      EXPECT_EQ(played(its, how), played(rack.get(), effect.inputs, effect.outputs))
          << effect.id << ' ' << how;
      EXPECT_EQ(its.latency, sonx_rack_latency(rack.get())) << effect.id;
      its.descriptor->activate(its.handle);
      sonx_rack_reset(rack.get());
      EXPECT_EQ(played(its, how), played(rack.get(), effect.inputs, effect.outputs))
          << effect.id << ", activated again";
    }
  }
}

TEST(Lv2Effect, OffPassesItsInputOnAfterItsLatency) {
  test_host host;
  const sonx_effect& effect = *sonx_effect_find("compressor");
  plugin its(host, &effect, 48000);
  its.enabled = 0;
  const std::vector<channel> out = played(its, kInPlace);
  const auto latency = static_cast<std::ptrdiff_t>(its.latency);
  ASSERT_GT(latency, 0);
  for (const unsigned c : {0U, 1U})
    EXPECT_TRUE(std::equal(out[c].begin() + latency, out[c].end(), noise(c + 1).begin()));
}

TEST(Lv2Effect, SaysWhyItCantRunAtARate) {
  test_host host;
  const sonx_effect* const effect = sonx_effect_find("gramophone");
  EXPECT_EQ(plugin(host, effect, 96000).handle, nullptr);
  EXPECT_EQ(plugin(host, nullptr, 12345).handle, nullptr);
  EXPECT_EQ(host.log,
            "Sonx Gramophone runs at 44100 and 48000 Hz, not at 96000 Hz\n"
            "Sonx Rack runs at 8000, 16000, 32000, 44100, 48000, 96000 and 192000 Hz, not at 12345 "
            "Hz\n");

  host.features = {nullptr};
  testing::internal::CaptureStderr();
  EXPECT_NE(plugin(host, effect, 48000).handle, nullptr);
  EXPECT_EQ(plugin(host, effect, 96000).handle, nullptr);
  EXPECT_EQ(plugin(host, nullptr, 48000).handle, nullptr);  // which needs urid:map
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_NE(said.find("96000 Hz"), std::string::npos) << said;
  EXPECT_NE(said.find("urid:map"), std::string::npos) << said;
}

// ---- The rack's plugin.

// A state that keeps one path.
struct kept_path {
  LV2_URID key = 0, type = 0;
  std::string path;

  static LV2_State_Status store(void* state, uint32_t key, const void* value, size_t, uint32_t type,
                                uint32_t) {
    *static_cast<kept_path*>(state) = {key, type, static_cast<const char*>(value)};
    return LV2_STATE_SUCCESS;
  }
  static const void* retrieve(void* state, uint32_t key, size_t* size, uint32_t* type,
                              uint32_t* flags) {
    const auto& its = *static_cast<kept_path*>(state);
    *size = its.path.size() + 1;
    *type = its.type;
    *flags = LV2_STATE_IS_POD;
    return key == its.key ? its.path.c_str() : nullptr;
  }
};

// What the host's worker does between two blocks.
void work(test_host& host, const plugin& its) {
  const auto& worker = its.extension<LV2_Worker_Interface>(LV2_WORKER__interface);
  for (const std::string& job : std::exchange(host.jobs, {}))
    worker.work(
        its.handle,
        [](void* answers, uint32_t size, const void* data) {
          static_cast<test_host*>(answers)->answers.emplace_back(static_cast<const char*>(data),
                                                                 size);
          return LV2_WORKER_SUCCESS;
        },
        &host, static_cast<uint32_t>(job.size()), job.data());
  for (const std::string& answer : std::exchange(host.answers, {}))
    worker.work_response(its.handle, static_cast<uint32_t>(answer.size()), answer.data());
}

// The path that the plugin has sent, or nothing.
std::string told(test_host& host, const plugin& its) {
  const auto* const sequence = reinterpret_cast<const LV2_Atom_Sequence*>(its.notify);
  LV2_ATOM_SEQUENCE_FOREACH(sequence, event) {
    const auto* const object = reinterpret_cast<const LV2_Atom_Object*>(&event->body);
    const LV2_Atom* value = nullptr;
    lv2_atom_object_get(object, host.id(LV2_PATCH__value), &value, 0);
    if (object->body.otype == host.id(LV2_PATCH__Set) && value != nullptr)
      return static_cast<const char*>(LV2_ATOM_BODY_CONST(value));
  }
  return "";
}

TEST(Lv2Rack, PlaysTheFileThatItIsToldAndKeepsIt) {
  test_host host;
  plugin its(host, nullptr, 48000);
  const std::string file = preset_file("late-evening");
  its.send(file);
  its.run(0);
  work(host, its);
  its.send("");
  its.run(0);
  EXPECT_EQ(told(host, its), file);
  const std::vector<channel> expected = played(rack_with(text_of(file), 48000).get(), 2, 2);
  EXPECT_EQ(played(its, kInPlace), expected);

  its.send("/no/such/file.toml");
  its.run(0);
  work(host, its);
  EXPECT_NE(host.log.find("/no/such/file.toml: can't be read"), std::string::npos) << host.log;

  kept_path kept;
  const auto& state = its.extension<LV2_State_Interface>(LV2_STATE__interface);
  EXPECT_EQ(state.save(its.handle, kept_path::store, &kept, 0, nullptr), LV2_STATE_SUCCESS);
  EXPECT_EQ(kept.path, file);

  host.features = {&host.map_feature, nullptr};  // no worker
  plugin other(host, nullptr, 48000);
  other.send(preset_file("speech"));
  EXPECT_EQ(played(other, kInPlace)[0], noise(1));
  EXPECT_EQ(state.restore(other.handle, kept_path::retrieve, &kept, 0, nullptr), LV2_STATE_SUCCESS);
  other.descriptor->activate(other.handle);
  EXPECT_EQ(played(other, kInPlace), expected);

  kept.path = testing::TempDir();  // a folder: what can't be loaded now isn't forgotten
  EXPECT_NE(state.restore(other.handle, kept_path::retrieve, &kept, 0, nullptr), LV2_STATE_SUCCESS);
  kept_path again;
  EXPECT_EQ(state.save(other.handle, kept_path::store, &again, 0, nullptr), LV2_STATE_SUCCESS);
  EXPECT_EQ(again.path, kept.path);
}

}  // namespace
