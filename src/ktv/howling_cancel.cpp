#include "ktv/howling_cancel.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/fft_frame.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"
#include "ktv/frequency_shifter.h"
#include "ktv/howling_internal.h"
#include "ktv/howling_lines.h"
#include "ktv/memory.h"

namespace {

// The analysis low-pass, b0..b6 and -a1..-a6 in Q20.
constexpr int kLowPass[13] = {
#include "ktv/howling_low_pass.inc"
};

constexpr int kFrame = 256;  // samples at half the rate
constexpr int kHop = 256;    // samples at the full rate from frame to frame
constexpr int kDeaf = 4;     // frames without a decision, until the history holds enough
constexpr int kSweepEvidence = 6 * kGlideLook;  // 0.26 s
constexpr int kStepToPosition = 15;             // of the shifter's steps, 2^32 a turn
// The input is limited to this, so that the low-pass can't wrap: DC blocker and low-pass together
// raise a peak up to 3.07 times, and 32 bits hold 2^26 at the section's inner scale.
constexpr int kLoudest = (1 << 24) - 1;

static_assert(kHop <= kBlockFrames);

// Into the second half of the frame: the first holds the hop before.
void listen(howlingCancel* canceller, const int* in, int n) {
  int x[kBlockFrames];
  for (int i = 0; i < n; ++i) x[i] = std::clamp(in[i], -kLoudest, kLoudest);
  dc_remove_block_24(canceller->dc, x, x, n);
  elliptic_block(canceller->low_pass, x, x, n);
  const int pending = static_cast<int>(canceller->analyser->samples_pending);
  int* write = canceller->frame + kFrame / 2 + (pending + 1) / 2;
  for (int i = pending & 1; i < n; i += 2) *write++ = x[i];
}

// Every notch with its place's share in what it passes on; the shares fade.
void cut(howlingCancel* canceller, int* x, int n) {
  notch_share row[kPlaces];
  for (int i = 0; i < kPlaces; ++i) {
    const howling_place& place = canceller->places[i];
    row[i] = {&canceller->notches[i], {place.depth, place.depth_step}};
  }
  kernels().notch_row(row, kPlaces, x, n);
  for (int i = 0; i < kPlaces; ++i) canceller->places[i].depth = row[i].share.depth_q20;
}

static_assert(kFullDepth == kFadeFull);

}  // namespace

void howling_canceling_init(howlingCancel* canceller) {
  canceller->status = 1;
  bool whole = take(canceller->notches, kPlaces);
  for (int i = 0; whole && i < kPlaces; ++i) {
    notch_init(&canceller->notches[i], kWidestRadius, 0);
    whole = has_memory(&canceller->notches[i]);
  }
  whole &= make(canceller->low_pass, elliptic_init, kLowPass);
  whole &= make(canceller->dc, dc_remove_init);
  whole &= make(canceller->analyser, fft_init_own, kFrame);
  whole &= take(canceller->frame, kFrame);
  whole &= take(canceller->powers);
  whole &= take(canceller->shifter);
  whole &= take(canceller->lines);
  canceller->sample_rate = SAMPLE_RATE_48000;
  canceller->shift = 0;
  canceller->shift_mode = 0;
  canceller->last_resort = 0;
  if (!whole) howling_canceling_end(canceller);
  howling_canceling_reset(canceller);
}

void howling_canceling_reset(howlingCancel* canceller) {
  std::fill_n(canceller->places, kPlaces, howling_place{});
  forget_evidence(canceller);
  reset_reserves(canceller);
  if (!has_memory(canceller)) return;
  for (int i = 0; i < kPlaces; ++i) notch_setcoef(&canceller->notches[i], kWidestRadius, 0);
  elliptic_resetstate(canceller->low_pass);
  dc_remove_reset(canceller->dc);
  canceller->analyser->frames_heard = 0;
  canceller->analyser->samples_pending = 0;
  std::fill_n(canceller->analyser->marked_bins, kPeaks, kNoBin);
  std::fill_n(canceller->frame, kFrame, 0);
  *canceller->powers = {};
  reset(canceller->lines);
}

void howling_canceling_end(howlingCancel* canceller) {
  if (canceller->notches)
    for (int i = 0; i < kPlaces; ++i) notch_end(&canceller->notches[i]);
  release(canceller->notches);
  end_and_release(canceller->low_pass, elliptic_end);
  end_and_release(canceller->dc, dc_remove_end);
  end_and_release(canceller->analyser, fft_int_end);
  release(canceller->frame);
  release(canceller->powers);
  release(canceller->shifter);
  release(canceller->lines);
}

void howling_canceling_setstatus(howlingCancel* canceller, int status) {
  canceller->status = status;
}
void howling_canceling_getstatus(howlingCancel* canceller, int* status) {
  *status = canceller->status;
}

void follow_howls(howlingCancel* canceller) {
  int found[kPeaks];
  const int shift = is_heard(canceller->shifter) ? canceller->shifter->step >> kStepToPosition : 0;
  const bool looked =
      hear_hop(canceller->lines, canceller->frame + kFrame / 2, shift, canceller->usual_level);
  fft_analyse(canceller->analyser, canceller->powers, canceller->frame, found, kFrame);
  if (++canceller->analyser->frames_heard < kDeaf) return;
  advance_places(canceller, found);
  gather_evidence(canceller, found);
  for (howling_suspect& suspect : canceller->suspects) {
    const howling_place* former = former_place(canceller, suspect.position);
    if (!is_howl(canceller, suspect, former)) continue;
    answer_howl(canceller, suspect.position, is_strong(canceller, suspect, former));
    suspect = {};
  }
  for (howling_line& line : canceller->lines->lines) {
    if (!looked || !is_slow_ring(canceller, line, former_place(canceller, line.position))) continue;
    answer_howl(canceller, line.position, false, true, line.slope);
    line.evidence /= 2;
  }
  for (howling_sweep& sweep : canceller->lines->sweeps) {
    if (!looked || sweep.evidence < kSweepEvidence) continue;
    answer_sweep(canceller, sweep.low, sweep.high);
    sweep.evidence /= 2;
  }
  advance_reserves(canceller);
}

// in ─┬─► notch 1 ─► .. ─► notch 5 ─► [shift] ─► [gain] ─► out            24-bit samples
//     └─► DC blocker ─► low-pass ─► every other sample ─► frame ─► peaks ─► evidence ─► places
//                                                         each 256 samples        └► notches
//
// The notches take a new setting between two hops, so the cut of the stream doesn't matter.
void howling_canceling_process(howlingCancel* canceller, int* in, int* out, int n) {
  if (!has_memory(canceller)) return pass(in, out, n);
  int64_t& pending = canceller->analyser->samples_pending;
  for (int start = 0; start < n;) {
    const int count = std::min(n - start, kHop - static_cast<int>(pending));
    int x[kBlockFrames];
    std::copy_n(in + start, count, x);
    listen(canceller, x, count);
    cut(canceller, x, count);
    apply_reserves(canceller, x, count);
    std::copy_n(x, count, out + start);
    start += count;
    pending += count;
    if (pending < kHop) continue;
    pending = 0;
    follow_howls(canceller);
    std::copy_n(canceller->frame + kFrame / 2, kFrame / 2, canceller->frame);
  }
}
