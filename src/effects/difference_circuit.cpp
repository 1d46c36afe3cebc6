#include "effects/difference_circuit.h"

#include <iterator>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "effects/stereo_widening_tables.h"
#include "effects/widening_stages.h"
#include "fixed.h"

namespace {

constexpr int kSections = static_cast<int>(std::size(kDifferenceCircuit));

// Indices of circuit->section; 6 is not run.
enum { kAllpassLeft = 0, kAllpassRight = 3, kSideLow = 7, kSideHigh, kMidBand, kMidLow };

}  // namespace

void difference_circuit_init(difference_circuit* circuit) {
  circuit->side_gain = 4096;
  bool whole = true;
  for (int k = 0; k < kSections; ++k)
    whole &= make(circuit->section[k], IIR_init, kDifferenceCircuit[k][SAMPLE_RATE_48000]);
  if (!whole) difference_circuit_end(circuit);
}

void difference_circuit_reset(difference_circuit* circuit) {
  for (IIR* section : circuit->section) on(section, IIR_reset);
}

void difference_circuit_end(difference_circuit* circuit) {
  for (IIR*& section : circuit->section) end_and_release(section, IIR_end);
  circuit->side_gain = 0;
}

void difference_circuit_set_sample_rate(difference_circuit* circuit, SampleRateType rate) {
  for (int k = 0; k < kSections; ++k)
    on(circuit->section[k], IIR_reinit, kDifferenceCircuit[k][rate_row(rate)]);
}

void difference_circuit_set_side_gain(difference_circuit* circuit, int gain) {
  circuit->side_gain = gain;
}
void difference_circuit_get_side_gain(difference_circuit* circuit, int* gain) {
  *gain = circuit->side_gain;
}

difference_sections sections_of(const difference_circuit* circuit) {
  IIR* const* section = circuit->section;
  return {section + kAllpassLeft, section + kAllpassRight, section[kMidBand],
          section[kMidLow],       section[kSideLow],       section[kSideHigh]};
}

void difference_sums(const int* a, const int* b, int* s, int* d, int n) {
  for (int i = 0; i < n; ++i) {
    s[i] = wrap_add(a[i], b[i]);
    d[i] = wrap_sub(a[i], b[i]);
  }
}

namespace {

// One block of at most so many frames, 24-bit samples throughout. The inputs are read before the outputs
// are written. Never inlined: a short block needn't make room for a long one.
//
//   left  ─► 3 all-passes ─► a       s = a + b       left  = mid + a / 4 + side
//   right ─► 3 all-passes ─► b       d = a - b       right = mid + b / 4 - side
//
//   s ─┬─────────────────────► + ─► / 2 ─► mid
//      ├─► band-pass ─► / 4 ─► +
//      └─► low-pass ─────────► +
//
//   d ─┬─► / 2 ────────────────► + ─► × side gain ─► side
//      ├─► low-pass ─► × 1.5 ──► +      Q13
//      └─► high-pass ──────────► +
template <int frames>
[[gnu::noinline]] void process(difference_circuit* circuit, const int* in_left, const int* in_right,
                               int* out_left, int* out_right, int n) {
  int a[frames], b[frames], s[frames], d[frames];
  int mid_band[frames], mid_low[frames];
  int side_high[frames], side_low[frames];
  const difference_sections section = sections_of(circuit);

  const iir_chain allpasses[] = {{in_left, a, section.allpass_left, 3},
                                 {in_right, b, section.allpass_right, 3}};
  kernels().iir_chains_32(allpasses, 2, n);
  difference_sums(a, b, s, d, n);
  const iir_chain bands[] = {{s, mid_band, &section.mid_band, 1},
                             {s, mid_low, &section.mid_low, 1},
                             {d, side_low, &section.side_low, 1},
                             {d, side_high, &section.side_high, 1}};
  kernels().iir_chains_32(bands, 4, n);
  kernels().mix_difference_q13({a, b, s, d, mid_band, mid_low, side_low, side_high},
                               circuit->side_gain, out_left, out_right, n);
}

}  // namespace

void difference_circuit_process_32(difference_circuit* circuit, int* in_left, int* in_right,
                                   int* out_left, int* out_right) {
  if (!has_memory(circuit)) return pass(in_left, in_right, out_left, out_right, 1);
  process<kSliceFrames>(circuit, in_left, in_right, out_left, out_right, 1);
}

void difference_circuit_process_block(difference_circuit* circuit, int* in_left, int* in_right,
                                      int* out_left, int* out_right, int n) {
  if (!has_memory(circuit)) return pass(in_left, in_right, out_left, out_right, n);
  if (0 < n && n < kSliceFrames)
    return process<kSliceFrames>(circuit, in_left, in_right, out_left, out_right, n);
  for_each_block<kHalfBlockFrames>(n, [=](int64_t start, int count) {
    process<kHalfBlockFrames>(circuit, in_left + start, in_right + start, out_left + start,
                              out_right + start, count);
  });
}
