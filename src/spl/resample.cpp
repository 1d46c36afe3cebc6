#include "spl/resample.h"

#include <cstdint>

#include "fixed.h"
#include "spl/vectors.h"

namespace {

#include "spl/resample_tables.inc"

// Sum of row[j] x[j] (Q15 x samples) over x[0..taps), as a sample. The absolute values of each half
// of a row add up to less than 2.0, so that half of the sum fits in 32 bits and vectorises.
template <int taps>
inline short dot_product(const int16_t (&row)[taps], const int16_t* x) {
  int older = 0, newer = 0;
  for (int j = 0; j < taps / 2; ++j) older += row[j] * x[j];
  for (int j = taps / 2; j < taps; ++j) newer += row[j] * x[j];
  return saturate16(static_cast<int>((int64_t{older} + newer + 16384) >> 15));
}

// A block, chunk samples at a time; a chunk is a whole number of periods of M samples in, L out.
//
//   window[0 .. taps - 2]                    the samples before the chunk
//   window[taps - 1 .. taps - 2 + chunk]     the chunk
template <int block, int chunk, int M, int scratch_words, int L, int taps>
void resample(const int16_t (&rows)[L][taps], const short* in, short* out, short* history,
              void* scratch) {
  constexpr int kHistory = taps - 1;
  static_assert(block % chunk == 0 && chunk % M == 0);
  static_assert((kHistory + chunk) * sizeof(int16_t) <= scratch_words * sizeof(int32_t));
  int16_t* window = static_cast<int16_t*>(scratch);
  tekaSpl_Copy16(history, window, kHistory);
  for (int start = 0; start < block; start += chunk) {
    tekaSpl_Copy16(in + start, window + kHistory, chunk);
    for (int period = 0; period < chunk; period += M)
      for (int m = 0; m < L; ++m)
        *out++ = dot_product(rows[m * M % L], window + period + m * M / L);
    tekaSpl_Copy16(window + chunk, window, kHistory);
  }
  tekaSpl_Copy16(window, history, kHistory);
}

template <int length>
void clear(short (&history)[length]) {
  tekaSpl_Fill16(history, length, 0);
}

}  // namespace

void tekaSpl_ResetResample16khzTo48khz(tekaSpl_State16khzTo48khz* state) { clear(state->history); }
void tekaSpl_ResetResample48khzTo16khz(tekaSpl_State48khzTo16khz* state) { clear(state->history); }
void tekaSpl_ResetResample8khzTo22khz(tekaSpl_State8khzTo22khz* state) { clear(state->history); }
void tekaSpl_ResetResample16khzTo22khz(tekaSpl_State16khzTo22khz* state) { clear(state->history); }
void tekaSpl_ResetResample22khzTo16khz(tekaSpl_State22khzTo16khz* state) { clear(state->history); }
void tekaSpl_ResetResample22khzTo8khz(tekaSpl_State22khzTo8khz* state) { clear(state->history); }

void tekaSpl_Resample16khzTo48khz(const short* in, short* out, tekaSpl_State16khzTo48khz* state,
                                  void* scratch) {
  resample<160, 160, 1, tekaSpl_kScratch16khzTo48khz>(kUpByThree, in, out, state->history, scratch);
}

void tekaSpl_Resample48khzTo16khz(const short* in, short* out, tekaSpl_State48khzTo16khz* state,
                                  void* scratch) {
  resample<480, 480, 3, tekaSpl_kScratch48khzTo16khz>(kDownByThree, in, out, state->history,
                                                      scratch);
}

void tekaSpl_Resample8khzTo22khz(const short* in, short* out, tekaSpl_State8khzTo22khz* state,
                                 void* scratch) {
  resample<80, 80, 4, tekaSpl_kScratch8khzTo22khz>(kElevenPhases, in, out, state->history, scratch);
}

void tekaSpl_Resample16khzTo22khz(const short* in, short* out, tekaSpl_State16khzTo22khz* state,
                                  void* scratch) {
  resample<160, 80, 8, tekaSpl_kScratch16khzTo22khz>(kElevenPhases, in, out, state->history,
                                                     scratch);
}

void tekaSpl_Resample22khzTo16khz(const short* in, short* out, tekaSpl_State22khzTo16khz* state,
                                  void* scratch) {
  resample<220, 110, 11, tekaSpl_kScratch22khzTo16khz>(kEightPhases, in, out, state->history,
                                                       scratch);
}

void tekaSpl_Resample22khzTo8khz(const short* in, short* out, tekaSpl_State22khzTo8khz* state,
                                 void* scratch) {
  resample<220, 110, 11, tekaSpl_kScratch22khzTo8khz>(kFourPhases, in, out, state->history,
                                                      scratch);
}
