// The stack that calls take, and how much they may: what headers and docs/integration.md promise of an
// optimised build.
#pragma once

#include <cstddef>

#ifdef __OPTIMIZE__
constexpr int kMostLibraryStack = 16 * 1024, kMostRackStack = 20 * 1024;  // bytes
#else
constexpr int kMostLibraryStack = 64 * 1024, kMostRackStack = 64 * 1024;
#endif

namespace painted {

constexpr unsigned char kPaint = 0xA5;
constexpr size_t kBytes = 96 * 1024, kGap = 512;  // the gap: stack_of's own frame and paint's

[[gnu::noinline]] inline void paint(volatile unsigned char* area) {
  for (size_t i = 0; i < kBytes; ++i) area[i] = kPaint;
}

}  // namespace painted

// Bytes that call(0) to call(blocks - 1) take at most: those below this frame that no longer hold what
// was painted there.
template <typename Call>
[[gnu::noinline]] int stack_of(Call& call, int blocks) {
  using namespace painted;
  auto* const top = static_cast<unsigned char*>(__builtin_frame_address(0)) - kGap;
  volatile unsigned char* const bottom = top - kBytes;
  paint(bottom);
  for (int k = 0; k < blocks; ++k) call(k);
  size_t untouched = 0;
  while (untouched < kBytes && bottom[untouched] == kPaint) ++untouched;
  return static_cast<int>(kGap + kBytes - untouched);
}
