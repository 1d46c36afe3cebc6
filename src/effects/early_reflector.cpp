#include "effects/early_reflector.h"

#include <algorithm>
#include <iterator>

#include "dsp/block.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/kernels.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "effects/room.h"
#include "effects/stereo_widening_tables.h"
#include "effects/widening_stages.h"
#include "fixed.h"

namespace {

// Loop lengths in samples, {left, right}; all are primes, and among those of the reverb.
constexpr int kCombs[][2] = {{1109, 1151}, {1399, 1423}, {1489, 1523}, {1777, 1801}};
constexpr int kAllpasses[][2] = {{241, 269}, {337, 367}};

}  // namespace

void early_reflector_init(early_reflector* reflector) {
  bool whole = true;
  for (size_t k = 0; k < std::size(kCombs); ++k) {
    whole &= make(reflector->comb_left[k], comb_init, kCombs[k][0]);
    whole &= make(reflector->comb_right[k], comb_init, kCombs[k][1]);
  }
  for (size_t k = 0; k < std::size(kAllpasses); ++k) {
    whole &= make(reflector->allpass_left[k], allpass_init, kAllpasses[k][0]);
    whole &= make(reflector->allpass_right[k], allpass_init, kAllpasses[k][1]);
  }
  whole &= make(reflector->dc_left, dc_remove_init);
  whole &= make(reflector->dc_right, dc_remove_init);
  whole &= make(reflector->highpass_left, IIR_init, kReflectorHighpass[SAMPLE_RATE_48000]);
  whole &= make(reflector->highpass_right, IIR_init, kReflectorHighpass[SAMPLE_RATE_48000]);
  if (!whole) early_reflector_end(reflector);
  reflector->wet_gain = 6144;
  reflector->dry_gain = 6144;
  reflector->roomsize = 4096;
  reflector->damp = 4096;
  early_reflector_update(reflector);
}

void early_reflector_reset(early_reflector* reflector) {
  for (comber* comb : reflector->comb_left) on(comb, comb_reset);
  for (comber* comb : reflector->comb_right) on(comb, comb_reset);
  for (allpass* section : reflector->allpass_left) on(section, allpass_reset);
  for (allpass* section : reflector->allpass_right) on(section, allpass_reset);
  on(reflector->dc_left, dc_remove_reset);
  on(reflector->dc_right, dc_remove_reset);
  on(reflector->highpass_left, IIR_reset);
  on(reflector->highpass_right, IIR_reset);
}

void early_reflector_end(early_reflector* reflector) {
  for (comber*& comb : reflector->comb_left) end_and_release(comb, comb_end);
  for (comber*& comb : reflector->comb_right) end_and_release(comb, comb_end);
  for (allpass*& section : reflector->allpass_left) end_and_release(section, allpass_end);
  for (allpass*& section : reflector->allpass_right) end_and_release(section, allpass_end);
  end_and_release(reflector->dc_left, dc_remove_end);
  end_and_release(reflector->dc_right, dc_remove_end);
  end_and_release(reflector->highpass_left, IIR_end);
  end_and_release(reflector->highpass_right, IIR_end);
}

void early_reflector_set_sample_rate(early_reflector* reflector, SampleRateType rate) {
  on(reflector->highpass_left, IIR_reinit, kReflectorHighpass[rate_row(rate)]);
  on(reflector->highpass_right, IIR_reinit, kReflectorHighpass[rate_row(rate)]);
}

void early_reflector_set_wet_gain(early_reflector* reflector, int gain) {
  reflector->wet_gain = gain;
}
void early_reflector_get_wet_gain(early_reflector* reflector, int* gain) {
  *gain = reflector->wet_gain;
}

void early_reflector_set_dry_gain(early_reflector* reflector, int gain) {
  reflector->dry_gain = gain;
}
void early_reflector_get_dry_gain(early_reflector* reflector, int* gain) {
  *gain = reflector->dry_gain;
}

void early_reflector_set_roomsize(early_reflector* reflector, int roomsize) {
  reflector->roomsize = roomsize;
  early_reflector_update(reflector);
}
void early_reflector_get_roomsize(early_reflector* reflector, int* roomsize) {
  *roomsize = reflector->roomsize;
}

void early_reflector_set_damp(early_reflector* reflector, int damp) {
  reflector->damp = damp;
  early_reflector_update(reflector);
}
void early_reflector_get_damp(early_reflector* reflector, int* damp) { *damp = reflector->damp; }

void early_reflector_update(early_reflector* reflector) {
  const auto set = [=](comber* comb) {
    on(comb, comb_setsetdamp, room_damping_q13(reflector->damp));
    on(comb, comb_setfeedback, room_feedback_q13(reflector->roomsize));
  };
  std::for_each_n(reflector->comb_left, std::size(kCombs), set);
  std::for_each_n(reflector->comb_right, std::size(kCombs), set);
}

// So that the sum of four combs doesn't overflow; -1 becomes 0.
void reflector_quarter(const int* in, int* fed, int n) {
  for (int i = 0; i < n; ++i) fed[i] = silence_minus_one(in[i] >> 2);
}

void reflector_feed(early_reflector* reflector, const int* in_left, const int* in_right,
                    int* fed_left, int* fed_right, int n) {
  reflector_quarter(in_left, fed_left, n);
  reflector_quarter(in_right, fed_right, n);
  const iir_chain highpasses[] = {{fed_left, fed_left, &reflector->highpass_left, 1},
                                  {fed_right, fed_right, &reflector->highpass_right, 1}};
  kernels().iir_chains_32(highpasses, 2, n);
}

void reflector_room(early_reflector* reflector, const int* in_left, const int* in_right,
                    const int* fed_left, const int* fed_right, int* out_left, int* out_right,
                    int n) {
  int left[kBlockFrames], right[kBlockFrames];
  sum_of_combs<24>(
      {{reflector->comb_left, fed_left, left}, {reflector->comb_right, fed_right, right}}, n);
  allpass_series(reflector->allpass_left, left, n);
  allpass_series(reflector->allpass_right, right, n);
  const int dry_q13 = reflector->dry_gain, wet_q13 = reflector->wet_gain;
  kernels().mix_two_q13(in_left, dry_q13, left, wet_q13, left, n);
  kernels().mix_two_q13(in_right, dry_q13, right, wet_q13, right, n);
  const dc_remove_channel channels[] = {{reflector->dc_left, left, out_left},
                                        {reflector->dc_right, right, out_right}};
  dc_remove_two_24(channels, n);
}

namespace {

// One block of at most kBlockFrames frames, 24-bit samples outside the combs' loops. The inputs are
// read before the outputs are written.
//
//   in ─┬─► / 4 ─► high-pass ─► combs ─► all-passes ─► × wet ─► + ─► DC remover ─► out
//       └────────────────────────────────────────────► × dry ───┘    gains Q13
inline void process(early_reflector* reflector, const int* in_left, const int* in_right,
                    int* out_left, int* out_right, int n) {
  int fed_left[kBlockFrames], fed_right[kBlockFrames];
  reflector_feed(reflector, in_left, in_right, fed_left, fed_right, n);
  reflector_room(reflector, in_left, in_right, fed_left, fed_right, out_left, out_right, n);
}

}  // namespace

void early_reflector_process_32(early_reflector* reflector, int* in_left, int* in_right,
                                int* out_left, int* out_right) {
  if (!has_memory(reflector)) return pass(in_left, in_right, out_left, out_right, 1);
  process(reflector, in_left, in_right, out_left, out_right, 1);
}

void early_reflector_process_block(early_reflector* reflector, int* in_left, int* in_right,
                                   int* out_left, int* out_right, int n) {
  if (!has_memory(reflector)) return pass(in_left, in_right, out_left, out_right, n);
  for_each_block(n, [=](int64_t start, int count) {
    process(reflector, in_left + start, in_right + start, out_left + start, out_right + start,
            count);
  });
}
