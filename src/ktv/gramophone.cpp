#include "ktv/gramophone.h"

#include "dsp/block.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/overdrive.h"
#include "ktv/memory.h"

namespace {

// The band-pass, Q20: b0..b6, then -a1..-a6. The numerator is antisymmetric: zeros at 0 Hz and at
// half the sample rate. Data, designed once; its measured response is in the header.
constexpr int kBandPass[] = {617,     -1060,     268,      0,         -268,    1060,   -617,
                             5909563, -13956198, 17678109, -12667477, 4868827, -784265};

}  // namespace

void gramophone_init(gramophone* effect) {
  effect->status = 0;
  if (!make(effect->filter, elliptic_init, kBandPass)) gramophone_end(effect);
}

void gramophone_end(gramophone* effect) { end_and_release(effect->filter, elliptic_end); }

void gramophone_setstatus(gramophone* effect, int status) { effect->status = status; }
void gramophone_getstatus(gramophone* effect, int* status) { *status = effect->status; }

void overdrive_process(int* in, int* out) { *out = overdrive_step(*in); }
void bit_shift_porocess(int* in, int* out) { *out = bit_shift_step(*in); }

// in ──► overdrive ──► bit shift ──► band-pass ──► out     24-bit samples on every wire
void gramophone_process(gramophone* effect, int* in, int* out, int n) {
  if (!has_memory(effect)) return pass(in, out, n);
  for_each_block(n, [&](int start, int count) {
    int shaped[kBlockFrames];
    kernels().overdrive_bit_shift(in + start, shaped, count);
    elliptic_block(effect->filter, shaped, out + start, count);
  });
}
