// Proves that process takes no memory, no lock and no system call, while another thread sets,
// switches, loads, saves and reads.
//   rack_real_time           ends with 0 if process does nothing of the kind
//   rack_real_time memory    as if it took memory: ends with 1
//   rack_real_time lock      as if it took a lock: ends with 1
//   rack_real_time call      as if it made a system call: ends with 1
#include <sonx/rack.h>

#include "support/noise_player.h"
#include "support/watched_thread.h"

namespace {

std::string preset_of(const sonx_effect* effect) {
  return std::string("sonx = 1\n[[effect]]\nid = \"") + effect->id + "\"\n";
}

// Everything that other threads may do, while the audio thread runs.
int child(const sonx_effect* effect, const std::string& misdeed) {
  sonx_rack* const rack = sonx_rack_create(effect->rates[effect->rate_count - 1], 480);
  const std::string preset = preset_of(effect);
  char error[200] = "", text[1 << 14];
  if (sonx_rack_load(rack, preset.c_str(), error, sizeof error) != 0) return 2;
  if (misdeed.empty()) {
    const int stack = stack_of_process(rack, effect);
    std::printf("%-24s %6d bytes of stack\n", effect->id, stack);
    std::fflush(stdout);
    if (stack > kMostRackStack) return 3;
  }
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
