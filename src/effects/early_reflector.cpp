#include "effects/early_reflector.h"

#include <algorithm>
#include <iterator>

#include "allocation.h"
#include "dsp/block.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/kernels.h"
#include "effects/rates.h"
#include "effects/room.h"
#include "effects/stereo_widening_tables.h"
#include "fixed.h"

namespace {

// Loop lengths in samples, {left, right}; all are primes, and among those of the reverb.
constexpr int kCombs[][2] = {{1109, 1151}, {1399, 1423}, {1489, 1523}, {1777, 1801}};
constexpr int kAllpasses[][2] = {{241, 269}, {337, 367}};

}  // namespace

void early_reflector_init(early_reflector* reflector) {
  for (size_t k = 0; k < std::size(kCombs); ++k) {
    reflector->comb_left[k] = make<comber>(comb_init, kCombs[k][0]);
    reflector->comb_right[k] = make<comber>(comb_init, kCombs[k][1]);
  }
  for (size_t k = 0; k < std::size(kAllpasses); ++k) {
    reflector->allpass_left[k] = make<allpass>(allpass_init, kAllpasses[k][0]);
    reflector->allpass_right[k] = make<allpass>(allpass_init, kAllpasses[k][1]);
  }
  reflector->dc_left = make<dc_remove>(dc_remove_init);
  reflector->dc_right = make<dc_remove>(dc_remove_init);
  reflector->highpass_left = make<IIR>(IIR_init, kReflectorHighpass[SAMPLE_RATE_48000]);
  reflector->highpass_right = make<IIR>(IIR_init, kReflectorHighpass[SAMPLE_RATE_48000]);
  reflector->wet_gain = 6144;
  reflector->dry_gain = 6144;
  reflector->roomsize = 4096;
  reflector->damp = 4096;
  early_reflector_update(reflector);
}

void early_reflector_reset(early_reflector* reflector) {
  for (comber* comb : reflector->comb_left) comb_reset(comb);
  for (comber* comb : reflector->comb_right) comb_reset(comb);
  for (allpass* section : reflector->allpass_left) allpass_reset(section);
  for (allpass* section : reflector->allpass_right) allpass_reset(section);
  dc_remove_reset(reflector->dc_left);
  dc_remove_reset(reflector->dc_right);
  IIR_reset(reflector->highpass_left);
  IIR_reset(reflector->highpass_right);
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
  IIR_reinit(reflector->highpass_left, kReflectorHighpass[rate_row(rate)]);
  IIR_reinit(reflector->highpass_right, kReflectorHighpass[rate_row(rate)]);
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
    comb_setsetdamp(comb, room_damping_q13(reflector->damp));
    comb_setfeedback(comb, room_feedback_q13(reflector->roomsize));
  };
  std::for_each_n(reflector->comb_left, std::size(kCombs), set);
  std::for_each_n(reflector->comb_right, std::size(kCombs), set);
}

namespace {

// A quarter of the input, so that the sum of four combs doesn't overflow; -1 becomes 0.
inline void quarter(const int* in, int* fed, int n) {
  for (int i = 0; i < n; ++i) fed[i] = silence_minus_one(in[i] >> 2);
}

// wet = wet x wet gain + in x dry gain, gains Q13; each product and the sum saturate.
inline void mix(const early_reflector* reflector, const int* in, int* wet, int n) {
  int dry[kBlockFrames];
  kernels().scale_q13(in, reflector->dry_gain, dry, n);
  kernels().scale_q13(wet, reflector->wet_gain, wet, n);
  kernels().add(wet, dry, wet, n);
}

// One block of at most kBlockFrames frames, 24-bit samples outside the combs' loops. The inputs are
// read before the outputs are written.
//
//   in ─┬─► / 4 ─► high-pass ─► combs ─► all-passes ─► × wet ─► + ─► DC remover ─► out
//       └────────────────────────────────────────────► × dry ───┘    gains Q13
inline void process(early_reflector* reflector, const int* in_left, const int* in_right,
                    int* out_left, int* out_right, int n) {
  int fed_left[kBlockFrames], fed_right[kBlockFrames];
  int left[kBlockFrames], right[kBlockFrames];
  quarter(in_left, fed_left, n);
  quarter(in_right, fed_right, n);
  const iir_chain highpasses[] = {{fed_left, fed_left, &reflector->highpass_left, 1},
                                  {fed_right, fed_right, &reflector->highpass_right, 1}};
  kernels().iir_chains_32(highpasses, 2, n);
  sum_of_combs<24>(
      {{reflector->comb_left, fed_left, left}, {reflector->comb_right, fed_right, right}}, n);
  allpass_series(reflector->allpass_left, left, n);
  allpass_series(reflector->allpass_right, right, n);
  mix(reflector, in_left, left, n);
  mix(reflector, in_right, right, n);
  const dc_remove_channel channels[] = {{reflector->dc_left, left, out_left},
                                        {reflector->dc_right, right, out_right}};
  dc_remove_two_24(channels, n);
}

}  // namespace

void early_reflector_process_32(early_reflector* reflector, int* in_left, int* in_right,
                                int* out_left, int* out_right) {
  process(reflector, in_left, in_right, out_left, out_right, 1);
}

void early_reflector_process_block(early_reflector* reflector, int* in_left, int* in_right,
                                   int* out_left, int* out_right, int n) {
  for_each_block(n, [=](int64_t start, int count) {
    process(reflector, in_left + start, in_right + start, out_left + start, out_right + start,
            count);
  });
}
