#include "effects/crossfeed_network.h"

#include <algorithm>

#include "dsp/block.h"
#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/kernels.h"
#include "effects/memory.h"
#include "effects/rates.h"
#include "effects/stereo_widening_tables.h"
#include "effects/widening_stages.h"

namespace {

constexpr int kDelay[] = {23, 23, 47, 95};  // samples, by rate

}  // namespace

void crossfeed_network_init(crossfeed_network* network) {
  network->gain = 4096;
  bool whole = true;
  whole &= make(network->allpass_left, IIR_init, kCrossfeedAllpass[SAMPLE_RATE_48000]);
  whole &= make(network->allpass_right, IIR_init, kCrossfeedAllpass[SAMPLE_RATE_48000]);
  whole &= make(network->lowpass_left, IIR_init, kCrossfeedLowpass[SAMPLE_RATE_48000]);
  whole &= make(network->lowpass_right, IIR_init, kCrossfeedLowpass[SAMPLE_RATE_48000]);
  whole &= make(network->highpass_left, IIR_init, kCrossfeedHighpass[SAMPLE_RATE_48000]);
  whole &= make(network->highpass_right, IIR_init, kCrossfeedHighpass[SAMPLE_RATE_48000]);
  whole &= make(network->delay_left, audio_delay_init, kLongestCrossfeedDelay);
  whole &= make(network->delay_right, audio_delay_init, kLongestCrossfeedDelay);
  if (!whole) crossfeed_network_end(network);
}

void crossfeed_network_reset(crossfeed_network* network) {
  on(network->allpass_left, IIR_reset);
  on(network->allpass_right, IIR_reset);
  on(network->lowpass_left, IIR_reset);
  on(network->lowpass_right, IIR_reset);
  on(network->highpass_left, IIR_reset);
  on(network->highpass_right, IIR_reset);
  on(network->delay_left, audio_delay_reset);
  on(network->delay_right, audio_delay_reset);
}

void crossfeed_network_end(crossfeed_network* network) {
  end_and_release(network->allpass_left, IIR_end);
  end_and_release(network->allpass_right, IIR_end);
  end_and_release(network->lowpass_left, IIR_end);
  end_and_release(network->lowpass_right, IIR_end);
  end_and_release(network->highpass_left, IIR_end);
  end_and_release(network->highpass_right, IIR_end);
  end_and_release(network->delay_left, audio_delay_end);
  end_and_release(network->delay_right, audio_delay_end);
  network->gain = 0;
}

void crossfeed_network_set_sample_rate(crossfeed_network* network, SampleRateType rate) {
  const int row = rate_row(rate);
  on(network->allpass_left, IIR_reinit, kCrossfeedAllpass[row]);
  on(network->allpass_right, IIR_reinit, kCrossfeedAllpass[row]);
  on(network->lowpass_left, IIR_reinit, kCrossfeedLowpass[row]);
  on(network->lowpass_right, IIR_reinit, kCrossfeedLowpass[row]);
  on(network->highpass_left, IIR_reinit, kCrossfeedHighpass[row]);
  on(network->highpass_right, IIR_reinit, kCrossfeedHighpass[row]);
  on(network->delay_left, audio_delay_reinit, kDelay[row]);
  on(network->delay_right, audio_delay_reinit, kDelay[row]);
}

void crossfeed_network_set_gain(crossfeed_network* network, int gain) { network->gain = gain; }
void crossfeed_network_get_gain(crossfeed_network* network, int* gain) { *gain = network->gain; }

namespace {

// One block of at most so many frames, 24-bit samples throughout. The inputs are read before the outputs
// are written. Never inlined: a short block needn't make room for a long one.
//
//   x ─┬─► all-pass ───────────────────► + ─► + ─► out      y: the other channel
//      │                                 ▲    ▲             gain Q13
//      └─► high-pass ─► × gain / 4 ──────│────┘
//   y ───► delay ─► low-pass ─► × gain ──┘
template <int frames>
[[gnu::noinline]] void process(crossfeed_network* network, const int* in_left, const int* in_right,
                               int* out_left, int* out_right, int n) {
  int direct_left[frames], high_left[frames], from_left[frames];
  int direct_right[frames], high_right[frames], from_right[frames];

  audio_delay_block(network->delay_left, in_left, from_left, n);
  audio_delay_block(network->delay_right, in_right, from_right, n);
  const iir_chain chains[] = {{in_left, direct_left, &network->allpass_left, 1},
                              {in_right, direct_right, &network->allpass_right, 1},
                              {in_left, high_left, &network->highpass_left, 1},
                              {in_right, high_right, &network->highpass_right, 1},
                              {from_left, from_left, &network->lowpass_left, 1},
                              {from_right, from_right, &network->lowpass_right, 1}};
  kernels().iir_chains_32(chains, 6, n);

  kernels().mix_crossfeed_q13(direct_left, from_right, high_left, network->gain, out_left, n);
  kernels().mix_crossfeed_q13(direct_right, from_left, high_right, network->gain, out_right, n);
}

}  // namespace

void crossfeed_network_process_32(crossfeed_network* network, int* in_left, int* in_right,
                                  int* out_left, int* out_right) {
  if (!has_memory(network)) return pass(in_left, in_right, out_left, out_right, 1);
  process<kSliceFrames>(network, in_left, in_right, out_left, out_right, 1);
}

void crossfeed_network_process_block(crossfeed_network* network, int* in_left, int* in_right,
                                     int* out_left, int* out_right, int n) {
  if (!has_memory(network)) return pass(in_left, in_right, out_left, out_right, n);
  if (0 < n && n < kSliceFrames)
    return process<kSliceFrames>(network, in_left, in_right, out_left, out_right, n);
  for_each_block<kHalfBlockFrames>(n, [=](int64_t start, int count) {
    process<kHalfBlockFrames>(network, in_left + start, in_right + start, out_left + start,
                              out_right + start, count);
  });
}
