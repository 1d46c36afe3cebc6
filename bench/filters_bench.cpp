// The recursive filters: one call per sample, as the interface has it, and the block kernels that
// the modules run.
#include <cstdint>
#include <vector>

#include "dsp/kernels/dc_remove.h"
#include "dsp/kernels/elliptic.h"
#include "dsp/kernels/iir.h"
#include "dsp/kernels/kernels.h"
#include "dsp/kernels/notch.h"
#include "support.h"

namespace {

// A bell of +6 dB at 1 kHz, Q28.
constexpr int kBell[] = {280000000, -516000000, 239000000, 516000000, -250000000};

// A sixth-order low-pass of small coefficients, Q20.
constexpr int kSixthOrder[] = {16384, 98304,   245760, 327680,  245760, 98304, 16384,
                               0,     -838860, 0,      -209715, 0,      -3};

constexpr int kNotchRadius = 7168, kNotchFreq = -496000000;

// step(in, out): one sample; out of place, so that the signal stays the same in every round.
template <typename Step>
void one_sample_calls(benchmark::State& state, Step step) {
  std::vector<int> in = bench_noise(), out(in.size());
  for (auto _ : state) {
    for (size_t i = 0; i < in.size(); ++i) step(&in[i], &out[i]);
    benchmark::ClobberMemory();
  }
  report_frames(state);
}

// block(in, out, n)
template <typename Block>
void block_calls(benchmark::State& state, Block block) {
  const std::vector<int> in = bench_noise();
  std::vector<int> out(in.size());
  for (auto _ : state) {
    block(in.data(), out.data(), kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
}

void iir_16_one_sample_calls(benchmark::State& state) {
  IIR section;
  IIR_init(&section, kFilterCoefficients);
  std::vector<int16_t> in, out(kBenchFrames);
  for (int x : bench_noise()) in.push_back(static_cast<int16_t>(x >> 8));
  for (auto _ : state) {
    for (size_t i = 0; i < in.size(); ++i) IIR_process_16(&section, &in[i], &out[i]);
    benchmark::ClobberMemory();
  }
  report_frames(state);
  IIR_end(&section);
}
BENCHMARK(iir_16_one_sample_calls);

void iir_32_one_sample_calls(benchmark::State& state) {
  IIR section;
  IIR_init(&section, kBell);
  one_sample_calls(state, [&](int* in, int* out) { IIR_process_32(&section, in, out); });
  IIR_end(&section);
}
BENCHMARK(iir_32_one_sample_calls);

void iir_32_block(benchmark::State& state) {
  IIR section;
  IIR_init(&section, kBell);
  block_calls(
      state, [&](const int* in, int* out, int n) { iir_block<iir_step_32>(&section, in, out, n); });
  IIR_end(&section);
}
BENCHMARK(iir_32_block);

void iir_32_cascade_of_ten_block(benchmark::State& state) {
  constexpr int kSections = 10;
  IIR sections[kSections];
  IIR* list[kSections];
  for (int k = 0; k < kSections; ++k) {
    IIR_init(&sections[k], kBell);
    list[k] = &sections[k];
  }
  block_calls(state, [&](const int* in, int* out, int n) {
    const iir_chain chain = {in, out, list, kSections};
    kernels().iir_chains_32(&chain, 1, n);
  });
  for (IIR& section : sections) IIR_end(&section);
}
BENCHMARK(iir_32_cascade_of_ten_block);

void elliptic_one_sample_calls(benchmark::State& state) {
  elliptic filter;
  elliptic_init(&filter, kSixthOrder);
  one_sample_calls(state, [&](int* in, int* out) { elliptic_process(&filter, in, out); });
  elliptic_end(&filter);
}
BENCHMARK(elliptic_one_sample_calls);

void elliptic_in_block(benchmark::State& state) {
  elliptic filter;
  elliptic_init(&filter, kSixthOrder);
  block_calls(state, [&](const int* in, int* out, int n) { elliptic_block(&filter, in, out, n); });
  elliptic_end(&filter);
}
BENCHMARK(elliptic_in_block)->Name("elliptic_block");

void notch_one_sample_calls(benchmark::State& state) {
  notch filter;
  notch_init(&filter, kNotchRadius, kNotchFreq);
  one_sample_calls(state, [&](int* in, int* out) { notch_process(&filter, in, out); });
  notch_end(&filter);
}
BENCHMARK(notch_one_sample_calls);

void notch_in_block(benchmark::State& state) {
  notch filter;
  notch_init(&filter, kNotchRadius, kNotchFreq);
  block_calls(state, [&](const int* in, int* out, int n) { notch_block(&filter, in, out, n); });
  notch_end(&filter);
}
BENCHMARK(notch_in_block)->Name("notch_block");

void dc_remove_24_one_sample_calls(benchmark::State& state) {
  dc_remove filter;
  dc_remove_init(&filter);
  one_sample_calls(state, [&](int* in, int* out) { dc_remove_process_24(&filter, in, out); });
}
BENCHMARK(dc_remove_24_one_sample_calls);

void dc_remove_24_block(benchmark::State& state) {
  dc_remove filter;
  dc_remove_init(&filter);
  block_calls(state,
              [&](const int* in, int* out, int n) { dc_remove_block_24(&filter, in, out, n); });
}
BENCHMARK(dc_remove_24_block);

void dc_remove_16_one_sample_calls(benchmark::State& state) {
  dc_remove filter;
  dc_remove_init(&filter);
  one_sample_calls(state, [&](int* in, int* out) { dc_remove_process_16(&filter, in, out); });
}
BENCHMARK(dc_remove_16_one_sample_calls);

void dc_remove_16_block(benchmark::State& state) {
  dc_remove filter;
  dc_remove_init(&filter);
  block_calls(state,
              [&](const int* in, int* out, int n) { dc_remove_block_16(&filter, in, out, n); });
}
BENCHMARK(dc_remove_16_block);

}  // namespace
