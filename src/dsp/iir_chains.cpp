#include "dsp/iir_chains_block.h"

#include "dsp/iir_block.h"
#include "dsp/kernels.h"

void iir_chains_32(const iir_chain* chains, int chain_count, int n) {
  kernels().iir_chains_32(chains, chain_count, n);
}

void iir_chains_32_portable(const iir_chain* chains, int chain_count, int n) {
  for (const iir_chain* c = chains; c < chains + chain_count; ++c)
    iir_cascade_32(c->sections, c->count, c->in, c->out, n);
}
