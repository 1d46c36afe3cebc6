// The biquad's steps, and one section over a block.
#pragma once

#include "dsp/iir.h"
#include "fixed.h"

// A section in registers: construct from the object, step over a block, store.
struct iir_registers {
  int b0, b1, b2, a1, a2;  // a1 and a2 negated, as stored
  int x0, x1, x2, y1, y2;

  explicit iir_registers(const IIR* section)
      : b0(section->coef[0]),
        b1(section->coef[1]),
        b2(section->coef[2]),
        a1(section->coef[3]),
        a2(section->coef[4]),
        x0(section->state[0]),
        x1(section->state[1]),
        x2(section->state[2]),
        y1(section->state[3]),
        y2(section->state[4]) {}

  void store(IIR* section) const {
    section->state[0] = x0;
    section->state[1] = x1;
    section->state[2] = x2;
    section->state[3] = y1;
    section->state[4] = y2;
  }

  // b0 x + b1 x[n-1] + b2 x[n-2] - a1 y[n-1] - a2 y[n-2] on top of a first term.
  int64_t accumulate(int64_t first, int x) const {
    return mac(mac(mac(mac(mac(first, b0, x), b1, x1), b2, x2), a1, y1), a2, y2);
  }

  void shift(int x, int y) {
    x2 = x1;
    x1 = x;
    y2 = y1;
    y1 = y;
  }
};

// Q28 coefficients, samples 5 bits up inside.
inline int iir_step_32(iir_registers& s, int in) {
  const int x = saturate32(int64_t{in} * 32);
  const int y = scale_down<28>(s.accumulate(0, x));
  s.x0 = x;
  s.shift(x, y);
  return y >> 5;
}

// Q20 coefficients, samples 13 bits up inside. The residue fed back is the low 13 bits of the
// accumulator, although 20 bits are shifted away: that is the filter's defined behaviour.
inline int16_t iir_step_16(iir_registers& s, int16_t in) {
  const int x = in * 8192;
  const int64_t sum = s.accumulate(s.x0, x);
  const int y = scale_down<20>(sum);
  s.shift(x, y);
  s.x0 = static_cast<int>(sum & 0x1FFF);
  return saturate16(silence_minus_one(y >> 13));
}

// Q28 coefficients, samples as they are; nothing saturates, a result keeps its low 32 bits.
inline int iir_step_wrapping(iir_registers& s, int x) {
  const int y = wrap32(s.accumulate(0, x) >> 28);
  s.x0 = x;
  s.shift(x, y);
  return y;
}

// n samples through one section by one of the steps above; in place allowed; n < 1 does nothing.
template <auto step>
inline void iir_block(IIR* section, const int* in, int* out, int n) {
  iir_registers registers(section);
  for (int i = 0; i < n; ++i) out[i] = step(registers, in[i]);
  registers.store(section);
}
