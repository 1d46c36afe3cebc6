#include "effects/spectral_band_split.h"

#include "dsp/kernels/kernels.h"
#include "effects/block_forms.h"
#include "effects/memory.h"

void spectral_band_split_init(spectral_band_split* split, const int* low, const int* high) {
  bool whole = true;
  for (IIR*& section : split->low) whole &= make(section, IIR_init, low);
  for (IIR*& section : split->high) whole &= make(section, IIR_init, high);
  if (!whole) spectral_band_split_end(split);
}

void spectral_band_split_reinit(spectral_band_split* split, const int* low, const int* high) {
  for (IIR* section : split->low) on(section, IIR_reinit, low);
  for (IIR* section : split->high) on(section, IIR_reinit, high);
}

void spectral_band_split_reset(spectral_band_split* split) {
  for (IIR* section : split->low) on(section, IIR_reset);
  for (IIR* section : split->high) on(section, IIR_reset);
}

void spectral_band_split_end(spectral_band_split* split) {
  for (IIR*& section : split->low) end_and_release(section, IIR_end);
  for (IIR*& section : split->high) end_and_release(section, IIR_end);
}

void spectral_band_split_process(spectral_band_split* split, int* in, int* low, int* high) {
  if (!has_memory(split)) return pass(in, in, low, high, 1);
  const int x = *in;
  int x_low, x_high;
  IIR_process_32(split->low[0], &x, &x_low);
  IIR_process_32(split->low[1], &x_low, low);
  IIR_process_32(split->high[0], &x, &x_high);
  IIR_process_32(split->high[1], &x_high, high);
}

//      ┌──► low 1 ──► low 2 ───► low
//   x ─┤
//      └──► high 1 ──► high 2 ─► high
void spectral_band_split_block(spectral_band_split* split, const int* in, int* low, int* high,
                               int n) {
  const iir_chain chains[] = {{in, low, split->low, 2}, {in, high, split->high, 2}};
  kernels().iir_chains_32(chains, 2, n);
}
