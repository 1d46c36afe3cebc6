// Chains of sections, portable.
#include "dsp/kernels/iir.h"
#include "dsp/kernels/kernels.h"

namespace {

// Two sections in one pass: the second computes while the first waits for its own last result.
template <auto step>
void pair(IIR* first, IIR* second, const int* in, int* out, int n) {
  iir_registers a(first), b(second);
  for (int i = 0; i < n; ++i) out[i] = step(b, step(a, in[i]));
  a.store(first);
  b.store(second);
}

// The last sections of two chains in one pass: neither depends on the other.
template <auto step>
void side_by_side(IIR* section, const int* in, int* out, IIR* other, const int* other_in,
                  int* other_out, int n) {
  iir_registers a(section), b(other);
  for (int i = 0; i < n; ++i) {
    const int x = in[i], other_x = other_in[i];
    out[i] = step(a, x);
    other_out[i] = step(b, other_x);
  }
  a.store(section);
  b.store(other);
}

// As many sections as there are pairs; returns what the next one takes.
template <auto step>
const int* pairs(const iir_chain& c, int n) {
  const int* in = c.in;
  for (int k = 0; k + 1 < c.count; k += 2) {
    pair<step>(c.sections[k], c.sections[k + 1], in, c.out, n);
    in = c.out;
  }
  return in;
}

template <auto step>
void all_chains(const iir_chain* c, int chain_count, int n) {
  const auto last_of = [](const iir_chain& chain) { return chain.sections[chain.count - 1]; };
  const auto odd = [](const iir_chain& chain) { return chain.count > 0 && chain.count % 2 == 1; };
  for (const iir_chain* const end = c + chain_count; c < end; ++c) {
    const int* const in = pairs<step>(*c, n);
    if (!odd(*c)) continue;
    if (c + 1 < end && c[1].count == c->count) {
      const int* const next_in = pairs<step>(c[1], n);
      side_by_side<step>(last_of(c[0]), in, c[0].out, last_of(c[1]), next_in, c[1].out, n);
      ++c;
    } else {
      iir_block<step>(last_of(*c), in, c->out, n);
    }
  }
}

}  // namespace

void portable::iir_chains_32(const iir_chain* chains, int chain_count, int n) {
  all_chains<iir_step_32>(chains, chain_count, n);
}

void portable::iir_chains_wrapping(const iir_chain* chains, int chain_count, int n) {
  all_chains<iir_step_wrapping>(chains, chain_count, n);
}
