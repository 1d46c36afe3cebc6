// Eight combs side by side over a block, as the rooms run them.
#pragma once

#include "dsp/comber.h"

// Four combs that share an input and add up.
struct comb_quartet {
  comber* const* combs;  // four
  const int* in;
  int* sum;
};

// n samples of each quartet's in through its combs, added to its sum (32-bit, wrapping); n < 1 does
// nothing. Both quartets may share in or sum or both; no in may overlap a sum, and the eight combs
// are eight. The same bits as comb_block_add_16 or comb_block_add_24 for one comb after the other.
void comb_quartets_add_16(const comb_quartet* two, int n);
void comb_quartets_add_24(const comb_quartet* two, int n);

// The variants.
void comb_quartets_add_16_portable(const comb_quartet* two, int n);
void comb_quartets_add_24_portable(const comb_quartet* two, int n);
void comb_quartets_add_16_avx2(const comb_quartet* two, int n);
void comb_quartets_add_24_avx2(const comb_quartet* two, int n);
void comb_quartets_add_16_neon(const comb_quartet* two, int n);
void comb_quartets_add_24_neon(const comb_quartet* two, int n);

// --- for the variants in lanes

constexpr int kCombLanes = 8;

// Stretches of eight loops that don't wrap, and what meets them, a comb in each lane.
struct comb_lanes {
  int* cells[kCombLanes];  // delayed samples, to be replaced by new ones
  const int* in[2];        // of each quartet
  int* sum[2];
  alignas(32) int feedback[kCombLanes];
  alignas(32) int damp1[kCombLanes];
  alignas(32) int damp2[kCombLanes];
  alignas(32) int store[kCombLanes];
};

// Walks eight combs through n samples: the kernel takes stretches of a multiple of eight samples
// that reach no loop's end, all others are portable.
//
// Gains are in ranges in which no product of the kernel can saturate: damp1 and damp2 are not
// negative and at most 8192 together, feedback is 0..8192. (A weighted mean of 32-bit words, or a
// part of one, fits in 32 bits.) With other gains, or in less than eight samples, all is portable.
void walk_comb_lanes(const comb_quartet* two, int n, void (*kernel)(comb_lanes*, int),
                     void (*portable)(const comb_quartet*, int));
