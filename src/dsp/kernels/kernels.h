// Which variant of the block kernels runs: one table of functions per instruction set, of which the
// first call chooses one for good.
//
// The portable variants define the results; the others give the same bits, faster. A family of
// kernels is a plain function (in its own header) that calls its entry of kernels(); the variants
// stand in files named after the instruction set, <family>_avx2.cpp and <family>_neon.cpp, which
// the build compiles with the flags that it needs, where it needs them.
#pragma once

#include <atomic>

#include "dsp/kernels/allpass.h"
#include "dsp/kernels/arithmetic.h"
#include "dsp/kernels/comb_bank.h"
#include "dsp/kernels/fade.h"
#include "dsp/kernels/fft_stage.h"
#include "dsp/kernels/fir.h"
#include "dsp/kernels/iir_chains.h"
#include "dsp/kernels/mix.h"
#include "dsp/kernels/notch.h"
#include "dsp/kernels/scale.h"
#include "dsp/kernels/shape.h"

struct kernel_table {
  const char* name;  // portable, avx2, neon
  decltype(::iir_chains_32)* iir_chains_32;
  decltype(::iir_chains_wrapping)* iir_chains_wrapping;
  const block_arithmetic* arithmetic;
  decltype(::comb_quartets_add_16)* comb_quartets_add_16;
  decltype(::comb_quartets_add_24)* comb_quartets_add_24;
  decltype(::allpass_block)* allpass_block;
  decltype(::mix_three_block)* mix_three_block;
  decltype(::mix_wrapping_block)* mix_wrapping_block;
  decltype(::fade_block)* fade_block;
  decltype(::fir_sums_block)* fir_sums_block;
  decltype(::notch_row_block)* notch_row_block;
  decltype(::fft_stage)* fft_stage;
  decltype(::scale_down_5_block)* scale_down_5_block;
  decltype(::shape_block)* shape_block;
};

// What runs: null until the first call of kernels(). Several threads may choose at once: they come
// to the same table.
extern std::atomic<const kernel_table*> chosen_kernels;

// The best table for this processor, chosen now.
const kernel_table* choose_kernels();

inline const kernel_table& kernels() {
  const kernel_table* table = chosen_kernels.load(std::memory_order_relaxed);
  return table != nullptr ? *table : *choose_kernels();
}

// For tests and benchmarks: from now on the table of that name runs. False, and no change, if this
// build or this processor doesn't have it.
bool select_kernels(const char* name);
