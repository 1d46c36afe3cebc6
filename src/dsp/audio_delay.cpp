#include "dsp/audio_delay.h"

#include <algorithm>

#include "dsp/kernels/audio_delay.h"
#include "dsp/memory.h"

void audio_delay_init(audio_delay* line, int n) {
  line->capacity = line->delay = n;
  line->index = 0;
  if (!take(line->buffer, n)) audio_delay_end(line);  // a delay of 0 passes samples through
}

void audio_delay_reinit(audio_delay* line, int n) {
  audio_delay_set_delay(line, n);
  std::fill_n(line->buffer, std::max(line->delay, 0), 0);
}

void audio_delay_reset(audio_delay* line) {
  line->index = 0;
  if (line->buffer) std::fill_n(line->buffer, std::max(line->capacity, 1), 0);
}

void audio_delay_end(audio_delay* line) {
  release(line->buffer);
  line->capacity = line->delay = line->index = 0;
}

void audio_delay_set_delay(audio_delay* line, int n) {
  if (has_memory(line)) line->delay = std::min(line->capacity, n);
}
void audio_delay_get_delay(audio_delay* line, int* n) { *n = line->delay; }

int audio_delay_process(audio_delay* line, int x) {
  audio_delay_block(line, &x, &x, 1);
  return x;
}
