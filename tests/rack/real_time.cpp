// Proves that process takes no memory, no lock and no system call, while another thread sets,
// switches, loads, saves and reads.
//   rack_real_time           ends with 0 if process does nothing of the kind
//   rack_real_time memory    as if it took memory: ends with 1
//   rack_real_time lock      as if it took a lock: ends with 1
//   rack_real_time call      as if it made a system call: ends with 1
#include <sonx/rack.h>

#include "support/watched_thread.h"

namespace {

constexpr int kFrames = 500;  // above the rack's 480: calls are split too

// What the audio thread does: a block of noise in each of the formats.
class noise_player {
 public:
  explicit noise_player(sonx_rack* rack) : rack_(rack) {}

  void operator()(int block) {
    for (int32_t& word : words_)
      word = static_cast<int32_t>(value_ = value_ * 1664525u + 1013904223u);
    for (size_t i = 0; i < floats_.size(); ++i)
      floats_[i] = static_cast<float>(words_[i]) * 0x1p-31f;
    for (size_t i = 0; i < shorts_.size(); ++i) shorts_[i] = static_cast<int16_t>(words_[i] >> 16);
    float* const channels[] = {floats_.data(), floats_.data() + kFrames};
    sonx_rack_process_s32(rack_, words_.data(), 2, kFrames);
    sonx_rack_process_f32(rack_, channels, channels, 2, kFrames);
    sonx_rack_process_s16(rack_, shorts_.data(), 1, kFrames);
    if (block == 200) sonx_rack_reset(rack_);
  }

 private:
  sonx_rack* rack_;
  unsigned value_ = 1;
  std::vector<int32_t> words_ = std::vector<int32_t>(2 * kFrames);
  std::vector<float> floats_ = std::vector<float>(2 * kFrames);
  std::vector<int16_t> shorts_ = std::vector<int16_t>(2 * kFrames);
};

std::string preset_of(const sonx_effect* effect) {
  return std::string("sonx = 1\n[[effect]]\nid = \"") + effect->id + "\"\n";
}

// Everything that other threads may do, while the audio thread runs.
int child(const sonx_effect* effect, const std::string& misdeed) {
  sonx_rack* const rack = sonx_rack_create(effect->rates[effect->rate_count - 1], 480);
  const std::string preset = preset_of(effect);
  char error[200] = "", text[1 << 14];
  if (sonx_rack_load(rack, preset.c_str(), error, sizeof error) != 0) return 2;
  watched_thread audio(noise_player{rack}, misdeed);
  for (int p = 0; p < effect->parameter_count; ++p)
    for (const double value : {effect->parameters[p].maximum, effect->parameters[p].minimum}) {
      sonx_rack_set(rack, 0, p, value);
      audio.wait(p % 20 == 0 ? 60 : 3);
    }
  for (int k = 0; k < 8; ++k) {
    sonx_rack_enable(rack, k % 4 < 2 ? 0 : -1, k % 2);
    float in[2], out[2];
    sonx_rack_meters(rack, in, out);
    sonx_rack_slot_meters(rack, 0, in, out);
    audio.wait(20);
    sonx_rack_save(rack, text, sizeof text);
    sonx_rack_load(rack, k % 2 ? "sonx = 1" : preset.c_str(), nullptr, 0);
    audio.wait(20);
  }
  return audio.finish() == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
  const std::string misdeed = count > 1 ? words[1] : "";
  return run_in_processes(
      misdeed.empty() ? sonx_effect_count() : 1, [](int k) { return sonx_effect_at(k)->id; },
      [&](int k) { return child(sonx_effect_at(k), misdeed); });
}
