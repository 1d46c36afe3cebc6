// What the lock on the bits runs, and the handles, with a fuzzer's bytes for its dice. What comes out
// with the processor's kernels and with the portable ones must be the same.
//
// The bytes: which subject, the trial's number, which says how wild its settings are and what
// signals and blocks it has, its length, and the dice.
#include <cstdlib>

#include "bits/subjects.h"
#include "dsp/kernels/kernels.h"

extern const std::vector<subject> kHandles;

// The library's debug lines are not what this is about.
extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace {

// SONX_FUZZ_SUBJECTS: the beginnings of their names; with SONX_FUZZ_OTHERS all whose names begin
// otherwise.
bool is_chosen(const subject& s) {
#ifdef SONX_FUZZ_OTHERS
  constexpr bool kIfNamed = false;
#else
  constexpr bool kIfNamed = true;
#endif
  for (const char* beginning : {SONX_FUZZ_SUBJECTS})
    if (std::strncmp(s.name, beginning, std::strlen(beginning)) == 0) return kIfNamed;
  return !kIfNamed;
}

std::vector<subject> chosen_subjects() {
  std::vector<subject> chosen;
  for (const auto* group : {&kHandles, &kPrimitives, &kEffects, &kChains, &kSpeech})
    for (const subject& s : *group)
      if (is_chosen(s)) chosen.push_back(s);
  return chosen;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<subject> subjects = chosen_subjects();
  static const kernel_table* const best = choose_kernels();
  static const kernel_table* const portable = select_kernels("portable") ? &kernels() : nullptr;
  static const int announced = std::fprintf(stderr, "%s and portable kernels\n", best->name);
  if (size < 4 || announced < 0) return -1;
  const subject& s = subjects[data[0] % subjects.size()];
  // Short trials mostly: half of them have the least length, a quarter twice that, and so on.
  const int frames = SONX_FUZZ_FRAMES << std::min(std::countr_one(data[2]), SONX_FUZZ_DOUBLINGS);
  const auto hash = [&](const kernel_table* table) {
    chosen_kernels = table;
    trial t(1u + data[1], frames, {data + 3, size - 3});
    s.run(t);
    return t.hash();
  };
  if (const uint64_t expected = hash(best); hash(portable) != expected) {
    std::fprintf(stderr, "%s: %s and portable kernels differ, number %u, %d frames\n", s.name,
                 best->name, 1u + data[1], frames);
    std::abort();
  }
  return 0;
}
