#include "dsp/iir.h"

#include <algorithm>

#include "dsp/kernels/iir.h"
#include "dsp/memory.h"

namespace {

constexpr int kWords = 5;

IIR* section_of(void* section) { return static_cast<IIR*>(section); }

}  // namespace

// b0 = b2 = 0.97949, b1 = -1.95898, -a1 = 1.95361, -a2 = -0.95532.
const int kFilterCoefficients[5] = {1027072, -2054144, 1027072, 2048512, -1001728};

void IIR_init(void* section, const int* coefficients) {
  IIR* s = section_of(section);
  bool whole = take(s->coef, kWords);
  whole &= take(s->state, kWords);
  if (!whole) IIR_end(section);
  IIR_set_param(section, coefficients);
}

void IIR_reinit(void* section, const int* coefficients) {
  IIR_set_param(section, coefficients);
  IIR_reset(section);
}

void IIR_reset(void* section) {
  if (has_memory(section_of(section))) std::fill_n(section_of(section)->state, kWords, 0);
}

void IIR_end(void* section) {
  release(section_of(section)->coef);
  release(section_of(section)->state);
}

void IIR_set_param(void* section, const int* coefficients) {
  if (has_memory(section_of(section))) std::copy_n(coefficients, kWords, section_of(section)->coef);
}

void IIR_get_param(void* section, int* coefficients) {
  if (has_memory(section_of(section))) std::copy_n(section_of(section)->coef, kWords, coefficients);
}

void IIR_process_16(void* section, const int16_t* in, int16_t* out) {
  if (!has_memory(section_of(section))) return pass(in, out, 1);
  iir_registers registers(section_of(section));
  *out = iir_step_16(registers, *in);
  registers.store(section_of(section));
}

void IIR_process_32(void* section, const int32_t* in, int32_t* out) {
  if (!has_memory(section_of(section))) return pass(in, out, 1);
  iir_registers registers(section_of(section));
  *out = iir_step_32(registers, *in);
  registers.store(section_of(section));
}
