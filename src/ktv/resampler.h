// Sample-rate converter for blocks of 16-bit mono samples between two fixed rates.
//
// A dispatcher over the kernels of the toolkit (spl/by_two.h, spl/resample.h, with their quality
// and latency): the rate pair, reduced by its greatest common divisor, picks one of these cascades.
// "up" and "down" are the by-two samplers, a pair such as 16>48 a fixed-ratio kernel.
//
//   mode  ratio  cascade            block   out       mode  ratio  cascade           block   out
//    0     1:1   copy                 1      L         11   11:32  up, 22>16, up      110   32L/11
//    1     1:2   up                   1     2L         12    2:1   down                 1     L/2
//    2     1:3   16>48              160     3L         13    3:1   48>16              480     L/3
//    3     1:4   up, up               1     4L         14    4:1   down, down           1     L/4
//    4     1:6   up, 16>48           80     6L         15    6:1   48>16, down        480     L/6
//    5    1:12   up, up, 16>48       40    12L         16   12:1   48>16, down, down  480    L/12
//    6     2:3   16>48, down        160    3L/2        17    3:2   up, 48>16          240    2L/3
//    7    2:11   up, 8>22            80   11L/2        18   11:2   22>8, down         220   2L/11
//    8    4:11   8>22                80   11L/4        19   11:4   22>8               220   4L/11
//    9    8:11   16>22              160   11L/8        20   11:8   22>16              220   8L/11
//   10   11:16   up, 22>16          110   16L/11
//
// Any other ratio copies (mode 0): the pass-through is intended. Ratios are taken from the rates in
// Hz, so 11025 to 16000 (441:640) or 44100 to 48000 (147:160) copies.
//
// L is the input's length, a multiple of the mode's block. Where the block is 1 and the rate goes
// down, a sample that doesn't fill an output is dropped (L odd; in mode 14 each stage drops its
// own), so a stream is to be cut into multiples of 2 or 4; then, as in every other mode, the
// samples do not depend on where it's cut.
//
// Memory: the stages' states, taken by Resampler_config, at most 286 bytes each. The signals between
// the stages and a kernel's scratch stand on the stack, 4 KB. A call with above 1056 samples between
// its stages (the input among them where a single stage would write over it) takes one piece of memory
// instead and frees it before returning: 10 ms at 48 kHz never does. Where memory is short, at either
// place, Resampler_proc refuses.
#pragma once

#include "../export.h"

struct Resampler_t {
  void *state1, *state2, *state3;  // kernel states in stage order, owned
  void *reserved1, *reserved2;     // freed if set; nothing here sets them
  int in_khz;                      // input rate / 1000, truncated
  int out_khz;                     // output rate / 1000, truncated
  int mode;                        // 0..20, the table above
};

// Clears every field: mode 0, a copy.
SONX_EXPORT void Resampler_init(Resampler_t* resampler);

// Clears every field, then sets up the conversion from in_rate to out_rate, in Hz, with silence as
// the past. A rate below 1 makes a copy. States that the record held before are lost, so delete
// first.
SONX_EXPORT void Resampler_config(Resampler_t* resampler, int in_rate, int out_rate);

// Converts one block of in_len samples, 0 or more, and writes the number of samples made to
// *out_len. out has room for out_max samples. out may be in, or overlap with it in any way.
//
// 0 on success, and for a mode above 20 or below 0, which does nothing and leaves *out_len alone.
// -1, with *out_len left alone, if the output would exceed out_max, if in_len is not a multiple of
// the mode's block, if in_len is negative, or if a signal between the stages would exceed 2^31 - 1
// samples. A refused call changes nothing, but in mode 17 a length off the block is noticed after
// the first stage, which has then taken the samples.
SONX_EXPORT int Resampler_proc(Resampler_t* resampler, const short* in, int in_len, short* out,
                               int out_max, int* out_len);

// Frees what the five pointers hold. They keep their values, the record stays the caller's: init or
// config comes next.
SONX_EXPORT void Resampler_delete(Resampler_t* resampler);
