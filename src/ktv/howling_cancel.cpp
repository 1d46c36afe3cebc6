#include "ktv/howling_cancel.h"

#include <algorithm>

#include "allocation.h"
#include "dsp/block.h"
#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/kernels.h"
#include "fixed.h"
#include "ktv/howling_internal.h"

namespace {

// The analysis low-pass, b0..b6 and -a1..-a6 in Q20.
constexpr int kLowPass[13] = {
#include "ktv/howling_low_pass.inc"
};

constexpr int kFrame = 256;  // samples at half the rate
constexpr int kHop = 256;    // samples at the full rate from frame to frame
constexpr int kDeaf = 4;     // frames until the memory holds enough
// What the low-pass can't wrap on: DC blocker and low-pass together raise a peak up to 2.92 times,
// and 32 bits hold 2^26 at the section's inner scale.
constexpr int kLoudest = (1 << 24) - 1;

static_assert(kHop <= kBlockFrames);

void follow(howlingCancel* canceller) {
  int found[kPeaks];
  fft_int_dowin_process(canceller->analyser, canceller->frame, found, kFrame);
  if (++canceller->analyser->frames_heard < kDeaf) return;
  advance_places(canceller, found);
  gather_evidence(canceller, found);
  for (howling_suspect& suspect : canceller->suspects)
    if (is_howl(canceller, suspect)) {
      answer_howl(canceller, suspect);
      suspect = {};
    }
}

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
  canceller->notches = allocate<notch>(kPlaces);
  for (int i = 0; i < kPlaces; ++i) notch_init(&canceller->notches[i], kWidestRadius, 0);
  canceller->low_pass = allocate<elliptic>();
  elliptic_init(canceller->low_pass, kLowPass);
  canceller->dc = allocate<dc_remove>();
  canceller->analyser = allocate<fft_int>();
  fft_int_init(canceller->analyser, kFrame);
  canceller->frame = allocate<int>(kFrame);
  howling_canceling_reset(canceller);
}

void howling_canceling_reset(howlingCancel* canceller) {
  for (int i = 0; i < kPlaces; ++i) notch_setcoef(&canceller->notches[i], kWidestRadius, 0);
  elliptic_resetstate(canceller->low_pass);
  dc_remove_reset(canceller->dc);
  canceller->analyser->frames_heard = 0;
  canceller->analyser->samples_pending = 0;
  std::fill_n(canceller->analyser->marked_bins, kPeaks, kNoBin);
  for (auto& bin : fft_power_history) std::fill_n(bin, 8, uint64_t{0});
  std::fill_n(canceller->frame, kFrame, 0);
  std::fill_n(canceller->places, kPlaces, howling_place{});
  forget_evidence(canceller);
}

void howling_canceling_end(howlingCancel* canceller) {
  if (canceller->notches)
    for (int i = 0; i < kPlaces; ++i) notch_end(&canceller->notches[i]);
  release(canceller->notches);
  if (canceller->low_pass) elliptic_end(canceller->low_pass);
  release(canceller->low_pass);
  release(canceller->dc);
  if (canceller->analyser) fft_int_end(canceller->analyser);
  release(canceller->analyser);
  release(canceller->frame);
}

void howling_canceling_setstatus(howlingCancel* canceller, int status) {
  canceller->status = status;
}
void howling_canceling_getstatus(howlingCancel* canceller, int* status) {
  *status = canceller->status;
}

// in ─┬─► notch 1 ─► .. ─► notch 5 ─► out                                 24-bit samples
//     └─► DC blocker ─► low-pass ─► every other sample ─► frame ─► peaks ─► evidence ─► places
//                                                         each 256 samples        └► notches
//
// The notches take a new setting between two hops, so the cut of the stream doesn't matter.
void howling_canceling_process(howlingCancel* canceller, int* in, int* out, int n) {
  int64_t& pending = canceller->analyser->samples_pending;
  for (int start = 0; start < n;) {
    const int count = std::min(n - start, kHop - static_cast<int>(pending));
    int x[kBlockFrames];
    std::copy_n(in + start, count, x);
    listen(canceller, x, count);
    cut(canceller, x, count);
    std::copy_n(x, count, out + start);
    start += count;
    pending += count;
    if (pending < kHop) continue;
    pending = 0;
    follow(canceller);
    std::copy_n(canceller->frame + kFrame / 2, kFrame / 2, canceller->frame);
  }
}
