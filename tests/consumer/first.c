#include <sonx_proc_hal/hp/sonx_hp_effect.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

enum { RATE = 48000, PERIOD = 480 };  // frames per second, frames per call

int main(void) {
  void* effect = sonx_hp_effect_init(RATE, SONX_FORMAT_16_BIT);
  if (!effect) return EXIT_FAILURE;

  // Ten bands of the graphic equalizer in whole dB, the lowest first.
  struct audio_effect_control_acdb_t record = {
      SONX_EFFECT_GRAPHIC_EQUALIZER, 0, {6, 6, 3, 0, 0, 0, 0, 0, 3, 6}};
  sonx_hp_effect_set_parameters(effect, &record);

  // A second of a 100 Hz square wave, ten milliseconds at a time, processed in place.
  int16_t buffer[2 * PERIOD];
  int peak = 0;
  for (int period = 0; period < RATE / PERIOD; ++period) {
    for (int i = 0; i < PERIOD; ++i)
      buffer[2 * i] = buffer[2 * i + 1] = i < PERIOD / 2 ? 8000 : -8000;
    sonx_hp_effect_process(effect, buffer, sizeof buffer);
    for (int i = 0; i < 2 * PERIOD; ++i)
      if (abs(buffer[i]) > peak) peak = abs(buffer[i]);
  }
  printf("peak in 8000, peak out %d\n", peak);

  sonx_hp_effect_deinit(effect);
  return EXIT_SUCCESS;
}
