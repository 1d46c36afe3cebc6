// Every by-two sampler and fixed-ratio kernel as a function from a stream to a stream.
#pragma once

#include <algorithm>

#include "spl/by_two.h"
#include "spl/resample.h"
#include "support/pcm16.h"

struct rate_kernel {
  char letter;
  int in_rate, out_rate;
  int block;                      // the stream's length is a multiple of it
  pcm (*convert)(const pcm& in);  // from silence on
};

// Kernels that make a block shorter work in place: every other block does.
template <typename State, void (*reset)(State*), void (*run)(const short*, short*, State*, void*),
          int block_in, int block_out, int scratch_words>
pcm by_blocks(const pcm& in) {
  State state;
  reset(&state);
  std::vector<int> scratch(size_t{scratch_words}, -1);
  pcm out;
  for (size_t i = 0; i < in.size() / block_in; ++i) {
    short apart[block_out], block[block_in];
    std::copy_n(&in[i * block_in], block_in, block);
    short* to = block_out < block_in && i % 2 == 1 ? block : apart;
    run(block, to, &state, scratch.data());
    out.insert(out.end(), to, to + block_out);
  }
  return out;
}

inline pcm up_by_2(const pcm& in) {
  int state[tekaSpl_kBy2StateWords] = {};
  pcm out(2 * in.size());
  tekaSpl_UpsampleBy2(in.data(), int(in.size()), out.data(), state);
  return out;
}

inline pcm down_by_2(const pcm& in) {
  int state[tekaSpl_kBy2StateWords] = {};
  pcm out(in.size() / 2);
  tekaSpl_DownsampleBy2(in.data(), int(in.size()), out.data(), state);
  return out;
}

#define BY_BLOCKS(name, block_in, block_out)                                                    \
  by_blocks<tekaSpl_State##name, tekaSpl_ResetResample##name, tekaSpl_Resample##name, block_in, \
            block_out, tekaSpl_kScratch##name>
inline constexpr rate_kernel kRateKernels[] = {
    {'u', 24000, 48000, 1, up_by_2},
    {'d', 48000, 24000, 2, down_by_2},
    {'T', 16000, 48000, 160, BY_BLOCKS(16khzTo48khz, 160, 480)},
    {'t', 48000, 16000, 480, BY_BLOCKS(48khzTo16khz, 480, 160)},
    {'E', 8000, 22000, 80, BY_BLOCKS(8khzTo22khz, 80, 220)},
    {'S', 16000, 22000, 160, BY_BLOCKS(16khzTo22khz, 160, 220)},
    {'s', 22000, 16000, 220, BY_BLOCKS(22khzTo16khz, 220, 160)},
    {'e', 22000, 8000, 220, BY_BLOCKS(22khzTo8khz, 220, 80)}};
#undef BY_BLOCKS
