// The stack that the handles' calls take in a host that knows nothing else of the library: what the
// compiler and the linker put into one frame depends on who calls.
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "hp/sonx_hp_effect.h"
#include "support/karaoke_switches.h"
#include "support/stack_of.h"

extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace {

constexpr int kPeriods[] = {480, 441, 1000, 255, 241, 100, 7}, kLongest = 1000;
constexpr int kBlocks = 70;

unsigned word = 1;
int noise() { return static_cast<int>(word = word * 1664525u + 1013904223u); }

bool fits(const char* name, int which, int stack) {
  std::printf("%s %d: %d bytes of stack\n", name, which, stack);
  return stack <= kMostLibraryStack;
}

bool headphones_fit(int effect) {
  static int samples[2 * kLongest];
  void* const handle = sonx_hp_effect_init(48000, SONX_FORMAT_32_BIT);
  audio_effect_control_acdb_t record = {effect, 1, {3, 4096, 2000, 2000}};
  sonx_hp_effect_set_parameters(handle, &record);
  const auto play = [&](int k) {
    for (int& sample : samples) sample = noise();
    const int frames = kPeriods[k % 7];
    sonx_hp_effect_process(handle, samples, 2 * sizeof samples[0] * static_cast<unsigned>(frames));
  };
  const int stack = stack_of(play, kBlocks);
  sonx_hp_effect_deinit(handle);
  return fits("headphones, effect", effect, stack);
}

// A bit of the stages for each stage that is on.
bool karaoke_fits(int stages) {
  void* const handle = sonx_ktv_init();
  for (size_t e = 0; e < std::size(kKaraokeSwitches); ++e)
    kKaraokeSwitches[e](handle, stages >> e & 1);
  sonx_ktv_howling_canceling_set_shift(handle, 5);
  sonx_ktv_howling_canceling_set_last_resort(handle, 1);
  static short voice[kLongest], left[kLongest], right[kLongest];
  const auto play = [&](int k) {
    for (short& sample : voice) sample = static_cast<short>(noise() >> 16);
    sonx_ktv_process_16(handle, voice, left, right, kPeriods[k % 7]);
  };
  const int stack = stack_of(play, kBlocks);
  sonx_ktv_deinit(handle);
  return fits("karaoke, stages", stages, stack);
}

}  // namespace

int main() {
  bool fit = true;
  for (int effect = SONX_EFFECT_NONE; effect <= SONX_EFFECT_GRAPHIC_EQUALIZER; ++effect)
    fit &= headphones_fit(effect);
  constexpr int kStages = std::size(kKaraokeSwitches);
  for (int stage = 0; stage < kStages; ++stage) fit &= karaoke_fits(1 << stage);
  fit &= karaoke_fits((1 << kStages) - 1);
  return fit ? EXIT_SUCCESS : EXIT_FAILURE;
}
