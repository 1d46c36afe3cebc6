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
#include <vector>

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

using sound = std::vector<int32_t>;

// The text's own bytes, as sound, through a rack with those kernels; then with other settings, until
// these are in force.
sound play(sonx_rack* rack, const kernel_table* table, const std::string& text, bool changes) {
  chosen_kernels = table;
  const int rounds = changes ? 100 : 1;
  sound all;
  for (int round = 0; round < rounds; ++round) {
    sound x(2 * kFrames);
    for (size_t i = 0; i < x.size(); ++i)
      x[i] = static_cast<int32_t>(static_cast<uint32_t>(text[i % text.size()]) << (i % 25));
    sonx_rack_process_s32(rack, x.data(), 2, kFrames);
    all.insert(all.end(), x.begin(), x.end());
    if (round % 50 > 0) continue;
    for (int slot = 0; slot < sonx_rack_slot_count(rack); ++slot)
      for (int p = 0; p < sonx_rack_slot(rack, slot)->parameter_count; ++p) {
        const sonx_parameter& parameter = sonx_rack_slot(rack, slot)->parameters[p];
        const int byte = text[static_cast<size_t>(p + round) % text.size()];
        const double share = (byte & 15) / 15.0;
        if (byte & 16)
          sonx_rack_set(rack, slot, p,
                        parameter.minimum + share * (parameter.maximum - parameter.minimum));
      }
  }
  return all;
}

void load(const std::string& preset, int rate, bool must, bool changes) {
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
    require(play(rack, best, text, changes) == play(again, portable, text, changes),
            "kernels give the same bits");
    char code[400];
    require(sonx_rack_export_c(rack, code, sizeof code) >= 0, "settings have a form in C");
    require(sonx_rack_tail(rack) >= -1, "a tail");
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
    load(preset, kRates[0], true, false);
#else
  load(text, kRates[data[0] & 3], false, data[0] & 4);
#endif
  return 0;
}
