#include "dsp/fft_int.h"

#include <algorithm>
#include <array>

#include "bit_reversal.h"
#include "dsp/fft_frame.h"
#include "dsp/fft_peaks.h"
#include "dsp/kernels/fft_stage.h"
#include "dsp/kernels/kernels.h"
#include "dsp/memory.h"
#include "fixed.h"

namespace {

constexpr int kSize = 256;
constexpr int kStages = 8;
constexpr int kBins = 64;
constexpr int kHistory = 8;  // frames

// Analysis window, Q28.
constexpr int kWindow[kSize] = {
#include "dsp/fft_window.inc"
};

// cos(pi / 2^k) and sin(pi / 2^k), Q28: what a stage's twiddle factor turns by from one butterfly
// to the next. +-1.0 stands as +-268435455.
constexpr int kStepCos[kStages] = {-268435455, 0,         189812530, 248002022,
                                   263277543,  267142864, 268112112, 268354607};
constexpr int kStepSin[kStages] = {0,        268435455, 189812530, 102725801,
                                   52369159, 26311275,  13171503,  6587735};

// The twiddle factors of all stages, those of the stage with half = 2^k from half - 1 on. They are
// defined by their recurrence, w <- step w with w = 1.0 at first, not by their angle, and so carry
// its drift; worked out when compiling.
constexpr auto kTwiddles = [] {
  std::array<complex, kSize - 1> twiddles{};
  for (int k = 0; k < kStages; ++k) {
    const complex step = {kStepCos[k], -kStepSin[k]};
    complex w = {1 << 28, 0};
    const size_t half = size_t{1} << k;
    for (size_t j = 0; j < half; ++j) {
      twiddles[half - 1 + j] = w;
      w = multiply_q28(step, w);
    }
  }
  return twiddles;
}();

constexpr auto kBitReversal = bit_reversal<kStages>();

void run_stages(fft_int* fft) {
  for (int half = 1; half < std::min(fft->n, kSize); half *= 2)
    kernels().fft_stage(fft->data, fft->n, half, &kTwiddles[static_cast<size_t>(half - 1)]);
}

uint64_t power_of(const complex& value) {
  const uint64_t re = static_cast<uint64_t>(value.re >> 13);
  const uint64_t im = static_cast<uint64_t>(value.im >> 13);
  return (re * re + im * im) >> 10;
}

void push(uint64_t* history, uint64_t power) {
  for (int k = kHistory - 1; k > 0; --k) history[k] = history[k - 1];
  history[0] = power;
}

// P0 + P1 / first + P2 / (first + 1) + ... + P7 / (first + 6)
template <unsigned first>
uint64_t weighted_sum(const uint64_t* p) {
  return p[0] + p[1] / first + p[2] / (first + 1) + p[3] / (first + 2) + p[4] / (first + 3) +
         p[5] / (first + 4) + p[6] / (first + 5) + p[7] / (first + 6);
}

// Of a bin with this history, newest first.
uint64_t smoothed_power(int bin, const uint64_t* history, const int* marked) {
  if (bin < 5) return history[0];
  const bool boosted = bin < 18 ? bin == marked[0] || bin == marked[1]
                                : bin == marked[2] || bin == marked[3] || bin == marked[4];
  const uint64_t sum = bin < 9 ? weighted_sum<10>(history) : weighted_sum<9>(history);
  return boosted ? sum + (sum >> (bin < 9 ? 4 : 3)) : sum;
}

// Newest powers into the object and the history, [bin][age], and from there the smoothed ones.
band_totals update_powers(fft_int* fft, uint64_t (*history)[kHistory], uint64_t* smoothed) {
  band_totals totals = {};
  for (int b = kFirstBin; b <= kLastBin; ++b) {
    const uint64_t p = power_of(fft->data[b]);
    fft->power[b] = p;
    push(history[b], p);
    const uint64_t s = smoothed[b] = smoothed_power(b, history[b], fft->marked_bins);
    if (b >= 5) (b < 18 ? totals.low_5_17 : totals.high_18_62) += s;
  }
  return totals;
}

// in ──► window ──► transform ──► |X|^2 ──► history ──► smoothing ──► peaks ──► marks, out
//  24 bit     29 bit        37 bit     bins 2..62   8 frames
void analyse(fft_int* fft, uint64_t (*history)[kHistory], uint64_t* smoothed, const int* in,
             int* out, int len) {
  const int count = std::clamp(len, 0, std::clamp(fft->n, 0, kSize));
  const bool whole = fft->n == kSize;  // every value goes straight to where reversal would put it
  for (int i = 0; i < fft->n; ++i) {
    const size_t to = whole ? kBitReversal[static_cast<size_t>(i)] : static_cast<size_t>(i);
    fft->data[to] = {i < count ? int64_t{in[i]} * kWindow[i] >> 23 : 0, 0};
  }
  whole ? run_stages(fft) : fft_do_process(fft);
  std::fill_n(fft->peak_power, kPeaks, int64_t{0});
  const band_totals totals = update_powers(fft, history, smoothed);
  mark_peaks(fft, smoothed, totals, out);
}

}  // namespace

uint64_t fft_power_history[kBins][kHistory];
uint64_t fft_power_current[kBins];

void complex_init(complex* value, int re, int im) { *value = {re, im}; }
void complex_setvalue(complex* value, int re, int im) { *value = {re, im}; }
void complex_end(complex* value) { *value = {0, 0}; }

uint64_t complex_getpower(complex* value) { return power_of(*value); }

void complex_add(complex* a, complex* b, complex* out) {
  *out = {wrap_add64(a->re, b->re), wrap_add64(a->im, b->im)};
}

void complex_sub(complex* a, complex* b, complex* out) {
  *out = {wrap_sub64(a->re, b->re), wrap_sub64(a->im, b->im)};
}

void complex_mul(complex* a, complex* b, complex* out) { *out = multiply_q28(*a, *b); }

void complex_swap(complex* a, complex* b) { std::swap(*a, *b); }

void fft_init_own(fft_int* fft, int n) {
  fft->n = n;
  std::fill_n(fft->peak_power, kPeaks, int64_t{0});
  fft->frames_heard = 0;
  fft->samples_pending = 0;
  std::fill_n(fft->marked_bins, kPeaks, kNoBin);
  std::fill_n(fft->power, kBins, uint64_t{0});
  // The bit reversal reaches 256 values whatever n is, and the last butterfly half a span beyond n.
  if (!take(fft->data, int64_t{std::max(n, kSize)} + kSize / 2)) fft_int_end(fft);
}

void fft_int_init(fft_int* fft, int n) {
  fft_init_own(fft, n);
  std::fill_n(&fft_power_history[0][0], kBins * kHistory, uint64_t{0});
}

void fft_int_end(fft_int* fft) {
  release(fft->data);
  fft->n = 0;
}

void fft_do_process(fft_int* fft) {
  for (int i = 0; i < std::min(fft->n, kSize); ++i) {
    const int j = kBitReversal[static_cast<size_t>(i)];
    if (i < j) std::swap(fft->data[i], fft->data[j]);
  }
  run_stages(fft);
}

void fft_analyse(fft_int* fft, bin_powers* powers, const int* in, int* out, int len) {
  analyse(fft, powers->history, powers->smoothed, in, out, len);
}

void fft_int_dowin_process(fft_int* fft, int* in, int* out, int len) {
  if (has_memory(fft))
    analyse(fft, fft_power_history, fft_power_current, in, out, len);
  else if (out != nullptr)
    std::fill_n(out, kPeaks, 0);
}
