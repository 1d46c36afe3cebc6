#include "dsp/kernels/polyphase.h"

#include "dsp/kernels/kernels.h"

namespace {

// An output's place in the input is whole + phase / phases samples.
inline void all_phases(const polyphase& f, int taps, const int16_t* x, int16_t* out, int periods) {
  const int step = f.period / f.phases, part = f.period % f.phases;
  for (; periods > 0; --periods, x += f.period)
    for (int m = 0, whole = 0, phase = 0; m < f.phases; ++m) {
      *out++ = dot_product_q15(f.rows + phase * taps, x + whole, taps);
      phase += part;
      const bool next = phase >= f.phases;
      whole += step + next;
      phase -= next ? f.phases : 0;
    }
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
