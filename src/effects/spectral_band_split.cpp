#include "effects/spectral_band_split.h"

#include "dsp/iir_block.h"
#include "dsp/memory.h"
#include "effects/spectral_band_split_block.h"

void spectral_band_split_init(spectral_band_split* split, const int* low, const int* high) {
  for (IIR*& section : split->low) section = make<IIR>(IIR_init, low);
  for (IIR*& section : split->high) section = make<IIR>(IIR_init, high);
}

void spectral_band_split_reinit(spectral_band_split* split, const int* low, const int* high) {
  for (IIR* section : split->low) IIR_reinit(section, low);
  for (IIR* section : split->high) IIR_reinit(section, high);
}

void spectral_band_split_reset(spectral_band_split* split) {
  for (IIR* section : split->low) IIR_reset(section);
  for (IIR* section : split->high) IIR_reset(section);
}

void spectral_band_split_end(spectral_band_split* split) {
  for (IIR*& section : split->low) end_and_release(section, IIR_end);
  for (IIR*& section : split->high) end_and_release(section, IIR_end);
}

void spectral_band_split_process(spectral_band_split* split, int* in, int* low, int* high) {
  const int x = *in;
  spectral_band_split_block(split, &x, low, high, 1);
}

//      ┌──► low 1 ──► low 2 ───► low
//   x ─┤
//      └──► high 1 ──► high 2 ─► high
void spectral_band_split_block(spectral_band_split* split, const int* in, int* low, int* high,
                               int n) {
  iir_cascade_32(split->low, 2, in, low, n);
  iir_cascade_32(split->high, 2, in, high, n);
}
