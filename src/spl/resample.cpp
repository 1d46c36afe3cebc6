#include "spl/resample.h"

#include <cstdint>
#include <iterator>

#include "dsp/kernels/kernels.h"
#include "spl/vectors.h"

namespace {

#include "spl/resample_tables.inc"

// dot_product_q15 wants each half of a row, and every other eight of its words, below 2.0.
template <int L, int taps>
constexpr bool halves_fit(const int16_t (&rows)[L][taps]) {
  for (const auto& row : rows) {
    int halves[2] = {}, eights[2] = {};
    for (int j = 0; j < taps; ++j) {
      const int size = row[j] < 0 ? -row[j] : row[j];
      halves[j / (taps / 2)] += size;
      eights[j / 8 % 2] += size;
    }
    for (const int sum : {halves[0], halves[1], eights[0], eights[1]})
      if (sum >= 1 << 16) return false;
  }
  return true;
}

// A block, chunk samples at a time; a chunk is a whole number of periods of M samples in, L out.
//
//   window[0 .. taps - 2]                    the samples before the chunk
//   window[taps - 1 .. taps - 2 + chunk]     the chunk
template <const auto& rows, int block, int chunk, int M, int scratch_words>
void resample(const short* in, short* out, short* history, void* scratch) {
  static_assert(halves_fit(rows));
  constexpr int L = std::size(rows), taps = std::size(rows[0]), kHistory = taps - 1;
  static_assert(block % chunk == 0 && chunk % M == 0);
  static_assert((kHistory + chunk) * sizeof(int16_t) <= scratch_words * sizeof(int32_t));
  constexpr polyphase kFilter = {rows[0], L, taps, M};
  int16_t* window = static_cast<int16_t*>(scratch);
  tekaSpl_Copy16(history, window, kHistory);
  for (int start = 0; start < block; start += chunk, out += chunk / M * L) {
    tekaSpl_Copy16(in + start, window + kHistory, chunk);
    kernels().polyphase_q15(kFilter, window, out, chunk / M);
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
  resample<kUpByThree, 160, 160, 1, tekaSpl_kScratch16khzTo48khz>(in, out, state->history, scratch);
}

void tekaSpl_Resample48khzTo16khz(const short* in, short* out, tekaSpl_State48khzTo16khz* state,
                                  void* scratch) {
  resample<kDownByThree, 480, 480, 3, tekaSpl_kScratch48khzTo16khz>(in, out, state->history,
                                                                    scratch);
}

void tekaSpl_Resample8khzTo22khz(const short* in, short* out, tekaSpl_State8khzTo22khz* state,
                                 void* scratch) {
  resample<kElevenPhases, 80, 80, 4, tekaSpl_kScratch8khzTo22khz>(in, out, state->history, scratch);
}

void tekaSpl_Resample16khzTo22khz(const short* in, short* out, tekaSpl_State16khzTo22khz* state,
                                  void* scratch) {
  resample<kElevenPhases, 160, 80, 8, tekaSpl_kScratch16khzTo22khz>(in, out, state->history,
                                                                    scratch);
}

void tekaSpl_Resample22khzTo16khz(const short* in, short* out, tekaSpl_State22khzTo16khz* state,
                                  void* scratch) {
  resample<kEightPhases, 220, 110, 11, tekaSpl_kScratch22khzTo16khz>(in, out, state->history,
                                                                     scratch);
}

void tekaSpl_Resample22khzTo8khz(const short* in, short* out, tekaSpl_State22khzTo8khz* state,
                                 void* scratch) {
  resample<kFourPhases, 220, 110, 11, tekaSpl_kScratch22khzTo8khz>(in, out, state->history,
                                                                   scratch);
}
