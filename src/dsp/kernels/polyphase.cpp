#include "dsp/kernels/polyphase.h"

#include "dsp/kernels/kernels.h"

namespace {

inline void all_phases(const polyphase& f, int taps, const int16_t* x, int16_t* out, int periods) {
  for (; periods > 0; --periods, x += f.period)
    for (int m = 0; m < f.phases; ++m)
      *out++ = dot_product_q15(f.rows + m * f.period % f.phases * taps, x + m * f.period / f.phases,
                               taps);
}

}  // namespace

// Lengths that the compiler knows: those of the converters.
void portable::polyphase_q15(const polyphase& f, const int16_t* x, int16_t* out, int periods) {
  switch (f.taps) {
    case 48:
      return all_phases(f, 48, x, out, periods);
    case 64:
      return all_phases(f, 64, x, out, periods);
    case 128:
      return all_phases(f, 128, x, out, periods);
    case 144:
      return all_phases(f, 144, x, out, periods);
    default:
      return all_phases(f, f.taps, x, out, periods);
  }
}
