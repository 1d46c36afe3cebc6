#include "dsp/kernels/kernels.h"

#include <cstring>

#ifdef SONX_AVX2_KERNELS
#include <cpuid.h>
#include <immintrin.h>
#endif

constinit std::atomic<const kernel_table*> chosen_kernels = nullptr;

namespace {

#define SONX_COUNT(kernel) +1
static_assert(sizeof(kernel_table) == (1 SONX_KERNELS(SONX_COUNT)) * sizeof(void*),
              "every kernel is in SONX_KERNELS");

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

bool always() { return true; }

struct variant {
  kernel_table table;
  bool (*runs_here)();
};

#define SONX_PORTABLE(kernel) .kernel = portable::kernel,
#define SONX_AVX2(kernel) .kernel = avx2::kernel,
#define SONX_NEON(kernel) .kernel = neon::kernel,

// The fastest one first; the last one runs everywhere.
constexpr variant kVariants[] = {
#ifdef SONX_AVX2_KERNELS
    {{.name = "avx2", SONX_KERNELS(SONX_AVX2)}, has_avx2},
#endif
#ifdef SONX_NEON_KERNELS
    {{.name = "neon", SONX_KERNELS(SONX_NEON)}, always},
#endif
    {{.name = "portable", SONX_KERNELS(SONX_PORTABLE)}, always},
};

}  // namespace

const kernel_table* choose_kernels() {
  const variant* chosen = kVariants;
  while (!chosen->runs_here()) ++chosen;
  chosen_kernels.store(&chosen->table, std::memory_order_relaxed);
  return &chosen->table;
}

bool select_kernels(const char* name) {
  for (const variant& v : kVariants) {
    if (std::strcmp(v.table.name, name) != 0 || !v.runs_here()) continue;
    chosen_kernels.store(&v.table, std::memory_order_relaxed);
    return true;
  }
  return false;
}
