// Prints what a rack takes, in KB of 1000 bytes, with one effect, at 48000 Hz where the effect runs
// there, else at its highest rate:
//   holds  what it has on the heap once its preset is loaded
//   most   the same at the highest, while one preset after another is loaded
//   stack  of a process call, with noise, at the effect's defaults and with each parameter at its ends
//   rack_memory [PRESET..]     files, with a line for each after the effects'
#include <malloc.h>
#include <sonx/rack.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "support/noise_player.h"

// ---- The heap, with all that glibc rounds up.

namespace {
long held = 0, most = 0;

void* taken(void* memory) {
  held += static_cast<long>(malloc_usable_size(memory));
  most = std::max(most, held);
  return memory;
}
}  // namespace

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void __libc_free(void* memory);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) { return taken(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) { return taken(__libc_calloc(count, size)); }
void* aligned_alloc(size_t alignment, size_t size) {
  return taken(__libc_memalign(alignment, size));
}
void free(void* memory) {
  held -= static_cast<long>(malloc_usable_size(memory));
  __libc_free(memory);
}
}

namespace {

constexpr int kFrames = 480, kCalls = 500;

double kilobytes(long bytes) { return static_cast<double>(bytes) / 1000; }

// Some periods, so that what was loaded is taken and what was replaced is given back.
void play(sonx_rack* rack) {
  int16_t silence[2 * kFrames] = {};
  for (int k = 0; k < kCalls; ++k) sonx_rack_process_s16(rack, silence, 2, kFrames);
}

void load(sonx_rack* rack, const char* name, const std::string& preset) {
  char error[200] = "no memory";
  if (sonx_rack_load(rack, preset.c_str(), error, sizeof error) == 0) return;
  std::fprintf(stderr, "%s: %s\n", name, error);
  std::exit(1);
}

// effect: the one of the preset, if it has one alone.
void print(const char* name, const std::string& preset, int rate, const sonx_effect* effect) {
  const long before = held;
  sonx_rack* const rack = sonx_rack_create(rate, kFrames);
  long once = 0;
  most = 0;
  for (int k = 0; k < 4; ++k) {
    load(rack, name, preset);
    if (k == 0) once = held;
    play(rack);
  }
  const long highest = most;
  noise_player player(rack);
  const int stack = effect != nullptr ? stack_of_process(rack, effect) : stack_of(player, 200);
  std::printf("| %s | %.0f | %.0f | %.1f |\n", name, kilobytes(once - before),
              kilobytes(highest - before), kilobytes(stack));
  sonx_rack_destroy(rack);
}

}  // namespace

int main(int count, char** words) {
  const std::string empty = "sonx = 1\n";
  std::puts("| Rack with | holds | most | stack |\n|---|---:|---:|---:|");
  print("nothing", empty, 48000, nullptr);
  for (int k = 0; k < sonx_effect_count(); ++k) {
    const sonx_effect& its = *sonx_effect_at(k);
    const int* const end = its.rates + its.rate_count;
    const int rate = std::find(its.rates, end, 48000) != end ? 48000 : end[-1];
    print(its.id, empty + "[[effect]]\nid = \"" + its.id + "\"\n", rate, &its);
  }
  for (int k = 1; k < count; ++k) {
    std::ifstream file(words[k]);
    print(words[k], std::string(std::istreambuf_iterator<char>(file), {}), 48000, nullptr);
  }
}
