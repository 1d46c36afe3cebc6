// Block kernels: loops that exist in several forms, of which the first call chooses the fastest that
// the processor runs.
//
//   kernels().scale_q13(in, gain_q13, out, n);
//
// The portable form defines the bits; the others give the same, faster. A kernel is declared once,
// as a member of kernel_table with its contract, registered once, in SONX_KERNELS below, and has a
// body in each of the namespaces portable, avx2 and neon.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "dsp/allpass.h"
#include "dsp/comber.h"
#include "dsp/fft_int.h"
#include "dsp/iir.h"
#include "dsp/notch.h"

// Magnitudes of a block; that of -2147483648 is 2147483648.
struct block_level {
  uint32_t largest;
  int64_t sum;
};

struct mix_input {
  const int* samples;
  int gain_q13;
};

struct section_bank;  // section_bank.h

constexpr int kFadeFull = 1 << 20;  // Q20

// The share of another signal: moves by step_q20 ahead of every sample and stays within 0..2^20.
struct fade_share {
  int depth_q20;
  int step_q20;
};

// A notch with its own share in its output.
struct notch_share {
  notch* filter;
  fade_share share;
};

// The signals of the difference circuit: a and b, their sum s and difference d, and bands of these.
struct difference_signals {
  const int *a, *b, *s, *d;
  const int *mid_band, *mid_low, *side_low, *side_high;
};

// Four combs that share an input and add up.
struct comb_quartet {
  comber* const* combs;  // four
  const int* in;
  int* sum;
};

// in through count sections one after the other into out.
struct iir_chain {
  const int* in;
  int* out;
  IIR* const* sections;
  int count;
};

// A channel that goes through a first section and then through three splits: a split's low sections
// make a band, its high sections what the next split takes. The last band is what the last one leaves.
struct band_tree {
  const int* in;
  IIR* first;
  IIR *const *high[3], *const *low[3];  // two sections each
  int* bands[4];
};

// A channel that three sections split in series: each takes what the one before it has left.
struct split_channel {
  const int* in;
  IIR* const* sections;  // three
  int64_t* energies;     // four
};

// A filter that makes `phases` samples of `period`, from the newest `taps` at each. rows holds a row
// of taps words, Q15, for every phase; polyphase.h has the bounds of a row.
struct polyphase {
  const int16_t* rows;
  int phases, taps, period;
};

// A stage of a transform: butterflies of values `span` apart, in points / (2 span) groups of twice as
// many. Factors cosine - i sine, either one for each place in a group or one a group. Results of
// butterflies_q15 are divided by 2^shift, 0..2.
struct butterfly_stage {
  int points, span;
  const int *cosines, *sines;
  bool factor_a_group;
  int shift;
};

struct kernel_table {
  const char* name;  // portable, avx2, neon

  // ---- Element by element. All take any n, and n < 1 does nothing. out may be any of the inputs.
  // Products and their sums are 64 bits wide, quotients round toward minus infinity, results
  // saturate at the 32-bit limits unless they are said to wrap. "To silence": a result of exactly
  // -1 becomes 0.

  // in x gain.
  void (*scale_q13)(const int* in, int gain_q13, int* out, int n);
  // in x gain, to silence.
  void (*scale_to_silence_q13)(const int* in, int gain_q13, int* out, int n);
  void (*scale_to_silence_q17)(const int* in, int gain_q17, int* out, int n);
  // in x gain, a gain for every sample, to silence.
  void (*scale_each_to_silence_q17)(const int* in, const int* gains_q17, int* out, int n);
  // in x (gain x gate), gain x gate in Q17 saturated too, to silence.
  void (*scale_twice_to_silence_q17)(const int* in, const int* gains_q17, const int* gates_q17,
                                     int* out, int n);
  // a x gain_a and b x gain_b, each saturated; their sum.
  void (*mix_two_q13)(const int* a, int gain_a_q13, const int* b, int gain_b_q13, int* out, int n);
  // The same, to silence.
  void (*mix_two_to_silence_q13)(const int* a, int gain_a_q13, const int* b, int gain_b_q13,
                                 int* out, int n);
  // side = (high + 2 low + d / 2 - low / 2) x gain, mid = (s + band / 4 + low) / 2: left is
  // mid + a / 4 + side, right is mid + b / 4 - side. The product saturates, every sum wraps.
  void (*mix_difference_q13)(const difference_signals& in, int gain_q13, int* left, int* right,
                             int n);
  // direct + other x gain + high x gain / 4; each product saturates, and each sum, from left to right.
  void (*mix_crossfeed_q13)(const int* direct, const int* other, const int* high, int gain_q13,
                            int* out, int n);
  // The sum of three inputs x gain; on wild gains the 64-bit sum wraps.
  void (*mix_three_q13)(const mix_input* three, int* out, int n);
  // The sum of count inputs x gain, wrapping: its low 32 bits, to silence.
  void (*mix_wrapping_q13)(const mix_input* inputs, int count, int* out, int n);
  // a + b.
  void (*add)(const int* a, const int* b, int* out, int n);
  // x + depth (other - x) / 2^20, in place of x.
  void (*fade)(fade_share* share, const int* other, int* x, int n);
  // clip_step with a limit for every sample.
  void (*clip)(const int* in, const int* limits, int* out, int n);
  // polynomial_step; the coefficients don't overlap the samples.
  void (*polynomial)(const int* coefficients, const int* in, int* out, int n);
  // The same where polynomial_fits says that nothing saturates.
  void (*fitting_polynomial)(const int* coefficients, const int* in, int* out, int n);
  // overdrive_step, then bit_shift_step.
  void (*overdrive_bit_shift)(const int* in, int* out, int n);

  // ---- Measures; n < 1 gives 0.

  // The largest magnitude and the sum of magnitudes.
  block_level (*level)(const int* in, int n);
  // The largest magnitude, -2147483648 left out.
  int (*peak)(const int* in, int n);

  // ---- Filters. n < 1 does nothing.

  // sums[i] = coefficients[0] x[i] + ... + coefficients[taps - 1] x[i - taps + 1], 64-bit sums that
  // wrap. Reads x[-(taps - 1) .. n-1].
  void (*fir_sums)(const int* x, const int* coefficients, int taps, int64_t* sums, int n);
  // Up to kBlockFrames samples through every chain: the same bits as one section after the other by
  // iir_step_32, but sections of a chain and of several chains step at once. No section may stand in
  // two chains. out may be the same chain's in or that of a chain before it, but no other chain's
  // buffer.
  void (*iir_chains_32)(const iir_chain* chains, int chain_count, int n);
  // The same with sections of iir_step_wrapping.
  void (*iir_chains_wrapping)(const iir_chain* chains, int chain_count, int n);
  // Up to kBlockFrames samples of both channels through their trees, by iir_step_32. No section stands
  // in two places; the bands overlap neither the inputs nor each other.
  void (*band_tree_32)(const band_tree* two, int n);
  // A slice of kSliceFrames samples through the sections in a bank's rows first_row .. first_row + rows
  // - 1 by iir_step_32, 1 <= rows <= kBankRows. An output may be the same section's input, or that
  // of one in a later row or in the next half of its row.
  void (*section_slice)(section_bank* bank, int first_row, int rows);
  // Both channels through their sections by iir_step_32: rest = x - y, saturated, is the next one's
  // x. Adds the sums of squares of the three results and of the last rest to energies[0..3]; wraps.
  // No section stands in two places.
  void (*split_energies)(const split_channel* two, int n);
  // x in place through count notches one after the other, each of which fades into its own share:
  // the same bits as notch_block and fade for each.
  void (*notch_row)(notch_share* row, int count, int* x, int n);

  // n samples of two signals in place, each through its branch of a half-band filter: the same bits
  // as half_band_step. State branch by branch; no sample or state reaches 2^30.
  void (*half_band_branches)(int* state, int* x0, int* x1, int n);
  // 16-bit samples, periods of them: out[p phases + m] is dot_product_q15 of the row m period mod
  // phases with x[p period + m period / phases ...]. out doesn't overlap x.
  void (*polyphase_q15)(const polyphase& filter, const int16_t* x, int16_t* out, int periods);

  // ---- Delay lines. n < 1 does nothing.

  // n samples in place: the same bits as n calls of allpass_process.
  void (*allpass_block)(allpass* section, int* samples, int n);
  // n samples of each quartet's in through its combs, added to its sum (32-bit, wrapping): the same
  // bits as comb_block_add_16 or comb_block_add_24 for one comb after the other. Both quartets may
  // share in or sum or both; no in may overlap a sum, and the eight combs are eight.
  void (*comb_quartets_add_16)(const comb_quartet* two, int n);
  void (*comb_quartets_add_24)(const comb_quartet* two, int n);

  // ---- Transform.

  // One radix-2 stage over n values: (a, b) <- (a + b w, a - b w), b half values behind a, w the
  // j-th twiddle (Q28) for the j-th of each half; half is a power of 2. Touches data[0 .. n-1], and
  // up to half values more where n is not a multiple of 2 half. Wraps at 64 bits.
  void (*fft_stage)(complex* data, int n, int half, const complex* twiddles);
  // (a, b) <- (a + b w, a - b w) for all pairs of a stage: 16-bit words in 32 bits, which
  // butterfly_result rounds and saturates.
  void (*butterflies_q15)(int* re, int* im, const butterfly_stage& stage);
  // (a, b) <- ((a + b w) / 2, (a - b w) / 2) for all pairs of a stage: b w rounds down, halves towards
  // zero. Factors are Q30, values below 2^29.
  void (*halving_butterflies_q30)(int* re, int* im, const butterfly_stage& stage);
};

// Registration, a kernel a line: what the variants' declarations and the tables are made from.
// clang-format off
#define SONX_KERNELS(kernel)         \
  kernel(scale_q13)                  \
  kernel(scale_to_silence_q13)       \
  kernel(scale_to_silence_q17)       \
  kernel(scale_each_to_silence_q17)  \
  kernel(scale_twice_to_silence_q17) \
  kernel(mix_two_q13)                \
  kernel(mix_two_to_silence_q13)     \
  kernel(mix_difference_q13)         \
  kernel(mix_crossfeed_q13)          \
  kernel(mix_three_q13)              \
  kernel(mix_wrapping_q13)           \
  kernel(add)                        \
  kernel(fade)                       \
  kernel(clip)                       \
  kernel(polynomial)                 \
  kernel(fitting_polynomial)         \
  kernel(overdrive_bit_shift)        \
  kernel(level)                      \
  kernel(peak)                       \
  kernel(fir_sums)                   \
  kernel(iir_chains_32)              \
  kernel(iir_chains_wrapping)        \
  kernel(band_tree_32)               \
  kernel(section_slice)              \
  kernel(split_energies)             \
  kernel(notch_row)                  \
  kernel(half_band_branches)         \
  kernel(polyphase_q15)              \
  kernel(allpass_block)              \
  kernel(comb_quartets_add_16)       \
  kernel(comb_quartets_add_24)       \
  kernel(fft_stage)                  \
  kernel(butterflies_q15)            \
  kernel(halving_butterflies_q30)
// clang-format on

#define SONX_DECLARE(kernel) std::remove_pointer_t<decltype(kernel_table::kernel)> kernel;
namespace portable {
SONX_KERNELS(SONX_DECLARE)
}
namespace avx2 {
SONX_KERNELS(SONX_DECLARE)
}
namespace neon {
SONX_KERNELS(SONX_DECLARE)
}
#undef SONX_DECLARE

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
