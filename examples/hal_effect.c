// A HAL's effect around the headphone handle: periods of any length, and records from a slider.
#include <sonx_proc_hal/hp/sonx_hp_effect.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { RATE = 48000, GATHERED = 480, SETTLE_MS = 150 };

struct hal_effect {
  void* handle;
  int16_t frames[GATHERED][2];  // in front of `next` gathered, from there on processed
  size_t next;
  struct audio_effect_control_acdb_t wanted, sent;  // the settings' thread's
  int64_t sent_ms;
};

// Audio thread: in place, any number of frames, delayed by GATHERED frames.
static void hal_process(struct hal_effect* e, int16_t (*buffer)[2], size_t frames) {
  for (size_t i = 0; i < frames; ++i) {
    int16_t out[2];
    memcpy(out, e->frames[e->next], sizeof out);
    memcpy(e->frames[e->next], buffer[i], sizeof out);
    memcpy(buffer[i], out, sizeof out);
    if (++e->next < GATHERED) continue;
    sonx_hp_effect_process(e->handle, e->frames, sizeof e->frames);
    e->next = 0;
  }
}

// What the HAL reports, in frames.
static int hal_latency(const struct hal_effect* e) {
  return GATHERED + sonx_hp_effect_latency(e->handle);
}

// Settings' thread, every few milliseconds: the newest record, once the one before has settled.
static void hal_settle(struct hal_effect* e, int64_t now_ms) {
  if (memcmp(&e->wanted, &e->sent, sizeof e->sent) == 0 || now_ms - e->sent_ms < SETTLE_MS) return;
  e->sent = e->wanted;
  e->sent_ms = now_ms;
  sonx_hp_effect_set_parameters(e->handle, &e->sent);
}

// 16-bit stereo from standard input to standard output, as many frames a call as the argument says.
int main(int argc, char** argv) {
  const size_t period = argc > 1 ? strtoul(argv[1], NULL, 10) : 192;
  int16_t(*buffer)[2] = calloc(period, sizeof *buffer);
  struct hal_effect effect = {.handle = sonx_hp_effect_init(RATE, SONX_FORMAT_16_BIT),
                              .wanted = {SONX_EFFECT_GRAPHIC_EQUALIZER, 0, {6, 3, 0, -3}},
                              .sent_ms = -SETTLE_MS};
  if (period == 0 || !effect.handle || !buffer) return EXIT_FAILURE;
  fprintf(stderr, "latency %d frames\n", hal_latency(&effect));
  int64_t played = 0;
  for (size_t frames; (frames = fread(buffer, sizeof *buffer, period, stdin)) > 0;) {
    hal_settle(&effect, 1000 * played / RATE);
    hal_process(&effect, buffer, frames);
    fwrite(buffer, sizeof *buffer, frames, stdout);
    played += (int64_t)frames;
  }
  sonx_hp_effect_deinit(effect.handle);
  free(buffer);
}
