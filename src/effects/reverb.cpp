#include "effects/reverb.h"

#include <algorithm>
#include <iterator>

#include "dsp/block.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/kernels.h"
#include "effects/memory.h"
#include "effects/room.h"
#include "fixed.h"

namespace {

// Loop lengths in samples, {left, right}; all are primes.
constexpr int kCombs[][2] = {{1109, 1151}, {1399, 1423}, {1489, 1523}, {1777, 1801},
                             {1973, 1997}, {2069, 2099}, {2267, 2293}, {2549, 2579}};
constexpr int kAllpasses[][2] = {{619, 643}, {523, 547}, {337, 367}, {241, 269}};

}  // namespace

void reverb_init(reverb_t* reverb) {
  bool whole = true;
  for (size_t k = 0; k < std::size(kCombs); ++k) {
    whole &= make(reverb->comb_left[k], comb_init, kCombs[k][0]);
    whole &= make(reverb->comb_right[k], comb_init, kCombs[k][1]);
  }
  for (size_t k = 0; k < std::size(kAllpasses); ++k) {
    whole &= make(reverb->allpass_left[k], allpass_init, kAllpasses[k][0]);
    whole &= make(reverb->allpass_right[k], allpass_init, kAllpasses[k][1]);
  }
  whole &= make(reverb->dc_left, dc_remove_init);
  whole &= make(reverb->dc_right, dc_remove_init);
  if (!whole) reverb_end(reverb);
  reverb_setwet(reverb, 2730);
  reverb_setdry(reverb, 0);
  reverb_setroomsize(reverb, 4096);
  reverb_setdamp(reverb, 4096);
  reverb_setwidth(reverb, kOneQ13);
  reverb_setgain(reverb, 127);
  reverb_setstatus(reverb, 0);
  reverb_update(reverb);
}

void reverb_reset(reverb_t* reverb) {
  for (auto& bank : {reverb->comb_left, reverb->comb_right})
    for (size_t k = 0; k < std::size(kCombs); ++k) on(bank[k], comb_reset);
  for (auto& bank : {reverb->allpass_left, reverb->allpass_right})
    for (size_t k = 0; k < std::size(kAllpasses); ++k) on(bank[k], allpass_reset);
  on(reverb->dc_left, dc_remove_reset);
  on(reverb->dc_right, dc_remove_reset);
}

void reverb_end(reverb_t* reverb) {
  for (size_t k = 0; k < std::size(kCombs); ++k) {
    end_and_release(reverb->comb_left[k], comb_end);
    end_and_release(reverb->comb_right[k], comb_end);
  }
  for (size_t k = 0; k < std::size(kAllpasses); ++k) {
    end_and_release(reverb->allpass_left[k], allpass_end);
    end_and_release(reverb->allpass_right[k], allpass_end);
  }
  end_and_release(reverb->dc_left, dc_remove_end);
  end_and_release(reverb->dc_right, dc_remove_end);
}

void reverb_setroomsize(reverb_t* reverb, int v) {
  reverb->roomsize = v;
  reverb->room_scaled = room_feedback_q13(v);
}

void reverb_setdamp(reverb_t* reverb, int v) {
  reverb->damp = v;
  reverb->damp_scaled = room_damping_q13(v);
}

void reverb_setwet(reverb_t* reverb, int v) {
  reverb->wet = v;
  reverb->wet_scaled = saturate32(int64_t{v} * 3);
}

void reverb_setdry(reverb_t* reverb, int v) {
  reverb->dry = v;
  reverb->dry_scaled = saturate32(int64_t{v} * 2);
}

void reverb_setwidth(reverb_t* reverb, int v) { reverb->width = v; }
void reverb_setgain(reverb_t* reverb, int v) { reverb->gain = v; }
void reverb_setstatus(reverb_t* reverb, int v) { reverb->status = v; }

void reverb_getroomsize(reverb_t* reverb, int* v) { *v = reverb->roomsize; }
void reverb_getdamp(reverb_t* reverb, int* v) { *v = reverb->damp; }
void reverb_getwet(reverb_t* reverb, int* v) { *v = reverb->wet; }
void reverb_getdry(reverb_t* reverb, int* v) { *v = reverb->dry; }
void reverb_getwidth(reverb_t* reverb, int* v) { *v = reverb->width; }
void reverb_getgain(reverb_t* reverb, int* v) { *v = reverb->gain; }
void reverb_getstatus(reverb_t* reverb, int* v) { *v = reverb->status; }

void reverb_update(reverb_t* reverb) {
  const int half = reverb->width / 2;  // at most 2^30 in magnitude: the sums below stay in 32 bits
  reverb->wet1 = saturate32(int64_t{reverb->wet_scaled} * (half + kOneQ13 / 2) >> 13);
  reverb->wet2 = saturate32(int64_t{reverb->wet_scaled} * (kOneQ13 - half) >> 13);
  for (auto& bank : {reverb->comb_left, reverb->comb_right})
    for (size_t k = 0; k < std::size(kCombs); ++k) {
      on(bank[k], comb_setsetdamp, reverb->damp_scaled);
      on(bank[k], comb_setfeedback, reverb->room_scaled);
    }
}

namespace {

// One channel's eight combs and four all-passes.
template <int width>
inline void bank_block(comber* const (&combs)[8], allpass* const (&sections)[4], const int* in,
                       int* tail, int n) {
  sum_of_combs<width>({{combs, in, tail}, {combs + 4, in, tail}}, n);
  allpass_series(sections, tail, n);
}

// One block of at most kBlockFrames frames. The inputs are read before the outputs are written, so
// that buffers may coincide.
//
//   in ─┬─► × gain ──► combs ──► all-passes ──► tail_left, tail_right ──► mix ──► DC ──► out
//       │     Q13      13 (16-bit) or 5 (24-bit) bits up in the loops     ▲ Q13
//       └─────────────────────────────────────────────────────────────────┘
template <int width>
inline void process_block(reverb_t* reverb, const int* in_left, const int* in_right, int* out_left,
                          int* out_right, int n) {
  int left[kBlockFrames], right[kBlockFrames];  // into the combs, later the mix
  int tail_left[kBlockFrames], tail_right[kBlockFrames];

  kernels().scale_to_silence_q13(in_left, reverb->gain, left, n);
  kernels().scale_to_silence_q13(in_right, reverb->gain, right, n);
  bank_block<width>(reverb->comb_left, reverb->allpass_left, left, tail_left, n);
  bank_block<width>(reverb->comb_right, reverb->allpass_right, right, tail_right, n);

  const int dry_q13 = reverb->dry_scaled, wet1_q13 = reverb->wet1, wet2_q13 = reverb->wet2;
  const mix_input mix_left[] = {{in_left, dry_q13}, {tail_left, wet1_q13}, {tail_right, wet2_q13}};
  const mix_input mix_right[] = {
      {in_right, dry_q13}, {tail_right, wet1_q13}, {tail_left, wet2_q13}};
  kernels().mix_three_q13(mix_left, left, n);
  kernels().mix_three_q13(mix_right, right, n);
  const dc_remove_channel channels[] = {{reverb->dc_left, left, out_left},
                                        {reverb->dc_right, right, out_right}};
  width == 16 ? dc_remove_two_16(channels, n) : dc_remove_two_24(channels, n);
}

}  // namespace

void reverb_process_stereo_16(reverb_t* reverb, short* in_left, short* in_right, short* out_left,
                              short* out_right, unsigned int n) {
  if (!has_memory(reverb)) return pass(in_left, in_right, out_left, out_right, n);
  for_each_block(n, [=](int64_t start, int count) {
    int left[kBlockFrames], right[kBlockFrames];
    std::copy_n(in_left + start, count, left);
    std::copy_n(in_right + start, count, right);
    process_block<16>(reverb, left, right, left, right, count);
    std::transform(left, left + count, out_left + start, saturate16);
    std::transform(right, right + count, out_right + start, saturate16);
  });
}

void reverb_process_stereo_24(reverb_t* reverb, int* in_left, int* in_right, int* out_left,
                              int* out_right, unsigned int n) {
  if (!has_memory(reverb)) return pass(in_left, in_right, out_left, out_right, n);
  for_each_block(n, [=](int64_t start, int count) {
    process_block<24>(reverb, in_left + start, in_right + start, out_left + start,
                      out_right + start, count);
  });
}

// The left bank alone, with half the input; gain and mix in 32-bit words that wrap.
void reverb_processMono(reverb_t* reverb, short* in, short* out, int n) {
  if (!has_memory(reverb)) return pass(in, out, n);
  const int gain_q13 = reverb->gain, dry_q13 = reverb->dry_scaled, wet_q13 = reverb->wet1;
  for_each_block(n, [=](int64_t start, int count) {
    const short* x = in + start;
    int fed[kBlockFrames], tail[kBlockFrames];
    for (int i = 0; i < count; ++i) fed[i] = wrap_mul(gain_q13, x[i]) >> 14;
    bank_block<16>(reverb->comb_left, reverb->allpass_left, fed, tail, count);
    for (int i = 0; i < count; ++i)
      out[start + i] =
          saturate16(wrap_add(wrap_mul(dry_q13, x[i]), wrap_mul(wet_q13, tail[i])) >> 13);
  });
}
