// Texts from strangers: a preset, and with SONX_FUZZ_EQUALIZER published equalizer settings.
//
// A preset that is taken must be written and read again to the same text, and must sound alike with
// the processor's kernels and with the portable ones. A preset made of an equalizer's settings must
// be taken.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "dsp/kernels/kernels.h"
#include "sonx/rack.h"

namespace {

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fault: %s\n", what);
  std::abort();
}

std::string saved(const sonx_rack* rack) {
  std::string text(1 << 16, '\0');
  const int length = sonx_rack_save(rack, text.data(), text.size());
  require(length >= 0 && size_t(length) < text.size(), "a rack's settings can be written");
  text.resize(static_cast<size_t>(length));
  return text;
}

constexpr int kRates[] = {48000, 44100, 16000, 192000};
constexpr int kFrames = 64;

// The text's own bytes, as sound, through a rack with those kernels.
void play(sonx_rack* rack, const kernel_table* table, const std::string& text, int32_t* sound) {
  chosen_kernels = table;
  for (size_t i = 0; i < 2 * kFrames; ++i)
    sound[i] = static_cast<int32_t>(static_cast<uint32_t>(text[i % text.size()]) << (i % 25));
  sonx_rack_process_s32(rack, sound, 2, kFrames);
}

void load(const std::string& preset, int rate, bool must) {
  static const kernel_table* const best = choose_kernels();
  static const kernel_table* const portable = select_kernels("portable") ? &kernels() : nullptr;
  char error[200];
  sonx_rack* const rack = sonx_rack_create(rate, kFrames);
  const int result = sonx_rack_load(rack, preset.c_str(), error, sizeof error);
  require(result == 0 || !must, "this preset can be loaded");
  require(result == 0 || std::strlen(error) > 0, "a fault has a line");
  if (result == 0) {
    const std::string text = saved(rack);
    sonx_rack* const again = sonx_rack_create(rate, kFrames);
    require(sonx_rack_load(again, text.c_str(), error, sizeof error) == 0, "what a rack writes");
    require(saved(again) == text, "settings survive being written and read");
    int32_t sound[2][2 * kFrames];
    play(rack, best, text, sound[0]);
    play(again, portable, text, sound[1]);
    require(std::memcmp(sound[0], sound[1], sizeof sound[0]) == 0, "kernels give the same bits");
    sonx_rack_destroy(again);
  }
  sonx_rack_destroy(rack);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return -1;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
#ifdef SONX_FUZZ_EQUALIZER
  static char preset[1 << 15], report[4000];
  if (sonx_rack_import(text.c_str(), data[0] & 1, preset, sizeof preset, report, sizeof report) ==
      0)
    load(preset, kRates[0], true);
#else
  load(text, kRates[data[0] & 3], false);
#endif
  return 0;
}
