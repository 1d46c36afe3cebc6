#include "dsp/kernels/audio_delay.h"

#include <algorithm>

#include "dsp/loop.h"

// Samples and cells change places: in out, which may be in.
void audio_delay_block(audio_delay* line, const int* in, int* out, int n) {
  if (in != out) std::copy_n(in, std::max(n, 0), out);
  if (line->delay == 0) return;
  line->index =
      walk_loop(line->buffer, line->index, line->delay, n, [=](int* cells, int start, int count) {
        std::swap_ranges(cells, cells + count, out + start);
      });
}

void audio_delay_unroll(const audio_delay* line, int* samples) {
  const int* const cells = line->buffer;
  std::rotate_copy(cells, cells + line->index, cells + line->delay, samples);
}

void audio_delay_roll(audio_delay* line, const int* newest, int n) {
  line->index = (line->index + n) % line->delay;
  const int to_end = line->delay - line->index;
  std::copy_n(newest, to_end, line->buffer + line->index);
  std::copy_n(newest + to_end, line->index, line->buffer);
}
