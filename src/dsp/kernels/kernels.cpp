#include "dsp/kernels/kernels.h"

#include <cstring>

#ifdef SONX_AVX2_KERNELS
#include <cpuid.h>
#include <immintrin.h>
#endif

constinit std::atomic<const kernel_table*> chosen_kernels = nullptr;

namespace {

constexpr kernel_table kPortable = {
    .name = "portable",
    .iir_chains_32 = iir_chains_32_portable,
    .iir_chains_wrapping = iir_chains_wrapping_portable,
    .arithmetic = &kArithmeticPortable,
    .comb_quartets_add_16 = comb_quartets_add_16_portable,
    .comb_quartets_add_24 = comb_quartets_add_24_portable,
    .allpass_block = allpass_block_portable,
    .mix_three_block = mix_three_block_portable,
    .mix_wrapping_block = mix_wrapping_block_portable,
    .fade_block = fade_block_portable,
    .fir_sums_block = fir_sums_block_portable,
    .notch_row_block = notch_row_block_portable,
    .fft_stage = fft_stage_portable,
    .scale_down_5_block = scale_down_5_block_portable,
    .shape_block = shape_block_portable,
};

#ifdef SONX_AVX2_KERNELS
constexpr kernel_table kAvx2 = {
    .name = "avx2",
    .iir_chains_32 = iir_chains_32_avx2,
    .iir_chains_wrapping = iir_chains_wrapping_avx2,
    .arithmetic = &kArithmeticAvx2,
    .comb_quartets_add_16 = comb_quartets_add_16_avx2,
    .comb_quartets_add_24 = comb_quartets_add_24_avx2,
    .allpass_block = allpass_block_avx2,
    .mix_three_block = mix_three_block_avx2,
    .mix_wrapping_block = mix_wrapping_block_avx2,
    .fade_block = fade_block_avx2,
    .fir_sums_block = fir_sums_block_avx2,
    .notch_row_block = notch_row_block_avx2,
    .fft_stage = fft_stage_avx2,
    .scale_down_5_block = scale_down_5_block_avx2,
    .shape_block = shape_block_avx2,
};
#endif

#ifdef SONX_NEON_KERNELS
constexpr kernel_table kNeon = {
    .name = "neon",
    .iir_chains_32 = iir_chains_32_neon,
    .iir_chains_wrapping = iir_chains_wrapping_neon,
    .arithmetic = &kArithmeticNeon,
    .comb_quartets_add_16 = comb_quartets_add_16_neon,
    .comb_quartets_add_24 = comb_quartets_add_24_neon,
    .allpass_block = allpass_block_neon,
    .mix_three_block = mix_three_block_neon,
    .mix_wrapping_block = mix_wrapping_block_neon,
    .fade_block = fade_block_neon,
    .fir_sums_block = fir_sums_block_neon,
    .notch_row_block = notch_row_block_portable,
    .fft_stage = fft_stage_neon,
    .scale_down_5_block = scale_down_5_block_neon,
    .shape_block = shape_block_neon,
};
#endif

// The best one first.
constexpr const kernel_table* kTables[] = {
#ifdef SONX_AVX2_KERNELS
    &kAvx2,
#endif
#ifdef SONX_NEON_KERNELS
    &kNeon,
#endif
    &kPortable,
};

#ifdef SONX_AVX2_KERNELS
// Which register files the system keeps for a process: bits 1 and 2 for the 256-bit registers.
// Only with OSXSAVE.
__attribute__((target("xsave"))) unsigned long long kept_registers() { return _xgetbv(0); }

// Asks the processor itself: the compiler's own question brings a static constructor with it.
bool has_avx2() {
  unsigned a, b, c, d;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_OSXSAVE) == 0) return false;
  if ((kept_registers() & 6) != 6) return false;
  return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_AVX2) != 0;
}
#endif

bool runs_here([[maybe_unused]] const kernel_table* table) {
#ifdef SONX_AVX2_KERNELS
  if (table == &kAvx2) return has_avx2();
#endif
  return true;
}

}  // namespace

const kernel_table* choose_kernels() {
  for (const kernel_table* table : kTables) {
    if (!runs_here(table)) continue;
    chosen_kernels.store(table, std::memory_order_relaxed);
    return table;
  }
  return &kPortable;
}

bool select_kernels(const char* name) {
  for (const kernel_table* table : kTables) {
    if (std::strcmp(table->name, name) != 0 || !runs_here(table)) continue;
    chosen_kernels.store(table, std::memory_order_relaxed);
    return true;
  }
  return false;
}
