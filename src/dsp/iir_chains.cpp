#include "dsp/iir_chains_block.h"

#include "dsp/iir_block.h"
#include "dsp/kernels.h"

namespace {

template <auto step>
void block(IIR* section, const int* in, int* out, int n) {
  iir_registers registers(section);
  for (int i = 0; i < n; ++i) out[i] = step(registers, in[i]);
  registers.store(section);
}

// Two sections in one pass: while the first waits for its own last result, the second has work.
template <auto step>
void pair(IIR* first, IIR* second, const int* in, int* out, int n) {
  iir_registers a(first), b(second);
  for (int i = 0; i < n; ++i) out[i] = step(b, step(a, in[i]));
  a.store(first);
  b.store(second);
}

template <auto step>
void cascade(IIR* const* sections, int count, const int* in, int* out, int n) {
  int k = 0;
  for (; k + 1 < count; k += 2) {
    pair<step>(sections[k], sections[k + 1], in, out, n);
    in = out;
  }
  if (k < count) block<step>(sections[k], in, out, n);
}

}  // namespace

void iir_cascade_32(IIR* const* sections, int count, const int* in, int* out, int n) {
  const iir_chain chain = {in, out, sections, count};
  iir_chains_32(&chain, 1, n);
}

void iir_chains_32(const iir_chain* chains, int chain_count, int n) {
  kernels().iir_chains_32(chains, chain_count, n);
}

void iir_chains_wrapping(const iir_chain* chains, int chain_count, int n) {
  kernels().iir_chains_wrapping(chains, chain_count, n);
}

void iir_chains_32_portable(const iir_chain* chains, int chain_count, int n) {
  for (const iir_chain* c = chains; c < chains + chain_count; ++c)
    cascade<iir_step_32>(c->sections, c->count, c->in, c->out, n);
}

void iir_chains_wrapping_portable(const iir_chain* chains, int chain_count, int n) {
  for (const iir_chain* c = chains; c < chains + chain_count; ++c)
    cascade<iir_step_wrapping>(c->sections, c->count, c->in, c->out, n);
}
