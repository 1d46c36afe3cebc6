// The delay lines: one call per sample, as the interface has it, and the block kernels that the
// modules run.
#include <algorithm>
#include <vector>

#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/comber.h"
#include "dsp/kernels/iircomber.h"
#include "dsp/kernels/kernels.h"
#include "support.h"

namespace {

constexpr int kLength = 619;  // a loop of a reverb at 48 kHz

template <typename Step>
void one_sample_calls(benchmark::State& state, Step step) {
  const std::vector<int> noise = bench_noise();
  for (auto _ : state)
    for (int x : noise) benchmark::DoNotOptimize(step(x));
  report_frames(state);
}

// block(samples, n) works in place on a fresh copy of the noise; the copy is measured too.
template <typename Block>
void in_place_block_calls(benchmark::State& state, Block block) {
  const std::vector<int> noise = bench_noise();
  std::vector<int> samples(noise.size());
  for (auto _ : state) {
    std::copy(noise.begin(), noise.end(), samples.begin());
    block(samples.data(), kBenchFrames);
    benchmark::ClobberMemory();
  }
  report_frames(state);
}

void allpass_one_sample_calls(benchmark::State& state) {
  allpass section;
  allpass_init(&section, kLength);
  one_sample_calls(state, [&](int x) { return allpass_process(x, &section); });
  allpass_end(&section);
}
BENCHMARK(allpass_one_sample_calls);

void allpass_in_block(benchmark::State& state) {
  allpass section;
  allpass_init(&section, kLength);
  in_place_block_calls(state,
                       [&](int* samples, int n) { kernels().allpass_block(&section, samples, n); });
  allpass_end(&section);
}
BENCHMARK(allpass_in_block)->Name("allpass_block");

comber damped_comb() {
  comber comb;
  comb_init(&comb, kLength);
  comb_setfeedback(&comb, 6000);
  comb_setsetdamp(&comb, 2000);
  return comb;
}

void comb_16_one_sample_calls(benchmark::State& state) {
  comber comb = damped_comb();
  one_sample_calls(state, [&](int x) { return comb_process_16(x >> 8, &comb); });
  comb_end(&comb);
}
BENCHMARK(comb_16_one_sample_calls);

void comb_24_one_sample_calls(benchmark::State& state) {
  comber comb = damped_comb();
  one_sample_calls(state, [&](int x) { return comb_process_24(x, &comb); });
  comb_end(&comb);
}
BENCHMARK(comb_24_one_sample_calls);

void comb_24_block_add(benchmark::State& state) {
  comber comb = damped_comb();
  const std::vector<int> noise = bench_noise();
  in_place_block_calls(state,
                       [&](int* sum, int n) { comb_block_add_24(&comb, noise.data(), sum, n); });
  comb_end(&comb);
}
BENCHMARK(comb_24_block_add);

void audio_delay_one_sample_calls(benchmark::State& state) {
  audio_delay line;
  audio_delay_init(&line, kLength);
  one_sample_calls(state, [&](int x) { return audio_delay_process(&line, x); });
  audio_delay_end(&line);
}
BENCHMARK(audio_delay_one_sample_calls);

void audio_delay_in_block(benchmark::State& state) {
  audio_delay line;
  audio_delay_init(&line, kLength);
  in_place_block_calls(state,
                       [&](int* samples, int n) { audio_delay_block(&line, samples, samples, n); });
  audio_delay_end(&line);
}
BENCHMARK(audio_delay_in_block)->Name("audio_delay_block");

iircomber echo_comb() {
  iircomber comb;
  iircomber_init(&comb, kLength);
  iircomber_setdelay(&comb, kLength);
  return comb;
}

void iircomber_one_sample_calls(benchmark::State& state) {
  iircomber comb = echo_comb();
  one_sample_calls(state, [&](int x) { return iircomber_process(x, &comb); });
  iircomber_end(&comb);
}
BENCHMARK(iircomber_one_sample_calls);

void iircomber_in_block(benchmark::State& state) {
  iircomber comb = echo_comb();
  in_place_block_calls(state, [&](int* samples, int n) { iircomber_block(&comb, samples, n); });
  iircomber_end(&comb);
}
BENCHMARK(iircomber_in_block)->Name("iircomber_block");

}  // namespace
