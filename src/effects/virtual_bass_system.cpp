#include "effects/virtual_bass_system.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/kernels.h"
#include "effects/block_forms.h"
#include "effects/crossover_tables.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "fixed.h"

namespace {

// All sets are Q28: b0, b1, b2, -a1, -a2; given data.

// Butterworth low-pass, 500 Hz.
constexpr int kHarmonicBand[][5] = {
    {324110, 648220, 324110, 509848430, -242709417},  // 44100 Hz
    {274667, 549335, 274667, 512041066, -244704283},  // 48000 Hz
    {70236, 140473, 70236, 524449850, -256295343},    // 96000 Hz
    {},                                               // 192000 Hz: silence
};

// All-pass with a double real pole, phase -180 degrees at 820 Hz.
constexpr int kAlignment[][5] = {
    {212388409, -477546141, 268435455, 477546141, -212388409},  // 44100 Hz
    {216485068, -482129724, 268435455, 482129724, -216485068},  // 48000 Hz
    {241102264, -508804073, 268435455, 508804073, -241102264},  // 96000 Hz
    {},                                                         // 192000 Hz: silence
};

}  // namespace

void virtual_bass_system_init(virtual_bass_system* bass) {
  const crossover_set& crossover = kCrossover250[SAMPLE_RATE_48000];
  bass->status = 0;
  bass->origin_gain = 4096;
  bass->nld_gain = 4096;
  bass->high_band_gain = kOneQ13;
  bool whole = take(bass->bass_buffer, kBlockFrames);
  whole &= make(bass->nld, NLD_init);
  for (spectral_band_split** split : {&bass->split_left, &bass->split_right})
    whole &= make(*split, spectral_band_split_init, crossover.low, crossover.high);
  whole &= make(bass->nld_band, IIR_init, kHarmonicBand[SAMPLE_RATE_48000]);
  for (IIR** section : {&bass->align_left, &bass->align_right, &bass->align_bass})
    whole &= make(*section, IIR_init, kAlignment[SAMPLE_RATE_48000]);
  whole &= make(bass->bass_compressor, compressor_bass_init);
  if (!whole) virtual_bass_system_end(bass);
}

void virtual_bass_system_set_sample_rate(virtual_bass_system* bass, SampleRateType rate) {
  const int row = rate_row(rate);
  for (spectral_band_split* split : {bass->split_left, bass->split_right})
    on(split, spectral_band_split_reinit, kCrossover250[row].low, kCrossover250[row].high);
  on(bass->nld_band, IIR_reinit, kHarmonicBand[row]);
  for (IIR* section : {bass->align_left, bass->align_right, bass->align_bass})
    on(section, IIR_reinit, kAlignment[row]);
}

void virtual_bass_system_reset(virtual_bass_system* bass) {
  if (!has_memory(bass)) return;
  spectral_band_split_reset(bass->split_left);
  spectral_band_split_reset(bass->split_right);
  NLD_reset(bass->nld);
  for (IIR* section : {bass->nld_band, bass->align_left, bass->align_right, bass->align_bass})
    IIR_reset(section);
  compressor_bass_reset(bass->bass_compressor);
  std::fill_n(bass->bass_buffer, kBlockFrames, 0);
}

void virtual_bass_system_end(virtual_bass_system* bass) {
  for (spectral_band_split** split : {&bass->split_left, &bass->split_right})
    end_and_release(*split, spectral_band_split_end);
  end_and_release(bass->nld, NLD_end);
  for (IIR** section : {&bass->nld_band, &bass->align_left, &bass->align_right, &bass->align_bass})
    end_and_release(*section, IIR_end);
  end_and_release(bass->bass_compressor, compressor_bass_end);
  release(bass->bass_buffer);
}

void virtual_bass_system_setstatus(virtual_bass_system* bass, int status) { bass->status = status; }
void virtual_bass_system_getstatus(virtual_bass_system* bass, int* status) {
  *status = bass->status;
}

void virtual_bass_system_set_nld_gain(virtual_bass_system* bass, int gain) {
  bass->nld_gain = gain;
}
void virtual_bass_system_get_nld_gain(virtual_bass_system* bass, int* gain) {
  *gain = bass->nld_gain;
}

void virtual_bass_system_set_origin_gain(virtual_bass_system* bass, int gain) {
  bass->origin_gain = gain;
}
void virtual_bass_system_get_origin_gain(virtual_bass_system* bass, int* gain) {
  *gain = bass->origin_gain;
}

void virtual_bass_system_set_high_band_gain(virtual_bass_system* bass, int gain) {
  bass->high_band_gain = gain;
}
void virtual_bass_system_get_high_band_gain(virtual_bass_system* bass, int* gain) {
  *gain = bass->high_band_gain;
}

void virtual_bass_system_set_nld_band_param(virtual_bass_system* bass, const int* coefficients) {
  on(bass->nld_band, IIR_set_param, coefficients);
}
void virtual_bass_system_get_nld_band_param(virtual_bass_system* bass, int* coefficients) {
  on(bass->nld_band, IIR_get_param, coefficients);
}

void virtual_bass_system_set_nld_clip_level(virtual_bass_system* bass, int level) {
  on(bass->nld, NLD_set_clip_level, level);
}
void virtual_bass_system_get_nld_clip_level(virtual_bass_system* bass, int* level) {
  on(bass->nld, NLD_get_clip_level, level);
}

// Samples at input scale on all wires, gains Q13:
//
//   left ──► split ─┬─ high ─► all-pass ─► × high_band_gain ─► + bass ─► left
//                   └─ low, see below
//   right, the same
//
//   left low + right low ─► / 2 ─┬─► non-linear device ─► low-pass ─► × nld_gain ──► +
//                                └─► all-pass ──────────────────────► × origin_gain ► + ─┐
//                                                                  bass ◄─ compressor ◄──┘

namespace {

// All input is read before any output is written, and the outputs are written left first.
void process_block(virtual_bass_system* bass, const int* in_left, const int* in_right,
                   int* out_left, int* out_right, int n) {
  int low_left[kBlockFrames], low_right[kBlockFrames];
  int high_left[kBlockFrames], high_right[kBlockFrames];
  const spectral_band_split &left = *bass->split_left, &right = *bass->split_right;
  IIR* const aligned_left[] = {left.high[0], left.high[1], bass->align_left};
  IIR* const aligned_right[] = {right.high[0], right.high[1], bass->align_right};
  const iir_chain bands[] = {{in_left, low_left, left.low, 2},
                             {in_right, low_right, right.low, 2},
                             {in_left, high_left, aligned_left, 3},
                             {in_right, high_right, aligned_right, 3}};
  kernels().iir_chains_32(bands, 4, n);
  int* const plain = low_left;  // both in the place of what they are made of
  int* const harmonics = low_right;
  for (int i = 0; i < n; ++i) plain[i] = wrap_add(low_left[i], low_right[i]) >> 1;
  nld_block(bass->nld, plain, harmonics, n);
  const iir_chain mid[] = {{harmonics, harmonics, &bass->nld_band, 1},
                           {plain, plain, &bass->align_bass, 1}};
  kernels().iir_chains_32(mid, 2, n);
  kernels().mix_two_to_silence_q13(plain, bass->origin_gain, harmonics, bass->nld_gain,
                                   bass->bass_buffer, n);
  kernels().scale_to_silence_q13(high_left, bass->high_band_gain, out_left, n);
  kernels().scale_to_silence_q13(high_right, bass->high_band_gain, out_right, n);
  compressor_bass_process(bass->bass_compressor, bass->bass_buffer, bass->bass_buffer, n);
  kernels().add(out_left, bass->bass_buffer, out_left, n);
  kernels().add(out_right, bass->bass_buffer, out_right, n);
}

}  // namespace

void virtual_bass_system_process(virtual_bass_system* bass, int* in_left, int* in_right,
                                 int* out_left, int* out_right, int n) {
  if (!has_memory(bass)) return pass(in_left, in_right, out_left, out_right, n);
  for_each_block_or_empty(n, [=](auto start, int count) {
    process_block(bass, in_left + start, in_right + start, out_left + start, out_right + start,
                  count);
  });
}
