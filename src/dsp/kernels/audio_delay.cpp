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
