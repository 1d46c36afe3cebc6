// Several independent chains of 32-bit sections, side by side.
#pragma once

#include "dsp/iir.h"

// in through count sections in a row into out.
struct iir_chain {
  const int* in;
  int* out;
  IIR* const* sections;
  int count;
};

// Up to kBlockFrames samples through every chain: the same bits as one section after the other,
// while those that don't wait for each other step at once. No section may stand in two chains. out
// may be the same chain's in or that of a chain before it, but no other chain's buffer.
void iir_chains_32(const iir_chain* chains, int chain_count, int n);

// The same with sections of iir_step_wrapping.
void iir_chains_wrapping(const iir_chain* chains, int chain_count, int n);

// The variants.
void iir_chains_32_portable(const iir_chain* chains, int chain_count, int n);
void iir_chains_32_avx2(const iir_chain* chains, int chain_count, int n);
void iir_chains_32_neon(const iir_chain* chains, int chain_count, int n);
void iir_chains_wrapping_portable(const iir_chain* chains, int chain_count, int n);
void iir_chains_wrapping_avx2(const iir_chain* chains, int chain_count, int n);
void iir_chains_wrapping_neon(const iir_chain* chains, int chain_count, int n);
