// The headphone chain: planar blocks of 240 frames by effect type, and a whole 16-bit period
// through the handle.
#include "hp/sonx_hp_effect.h"
#include "hp/teka_hp_effect.h"
#include "support.h"

namespace {

// Words that make each effect work: a large room, and an equalizer curve.
audio_effect_control_acdb_t record_of(int effect, int adapter) {
  audio_effect_control_acdb_t record = {effect, adapter, {}};
  const int room[] = {6000, 3000, 3000, 3000, 8192, 200};
  const int curve[] = {6, 4, 2, 0, -2, -2, 0, 2, 4, 6};
  if (effect == SONX_EFFECT_REVERB) std::copy(room, room + 6, record.data);
  if (effect == SONX_EFFECT_GRAPHIC_EQUALIZER) std::copy(curve, curve + 10, record.data);
  return record;
}

// range(0): effect type, range(1): adapter.
void hp_chain_block(benchmark::State& state) {
  teka_hp_effect_t chain;
  teka_hp_effect_init(&chain);
  teka_hp_effect_setstatus(&chain, 1);
  audio_effect_control_acdb_t record =
      record_of(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  teka_hp_effect_setparameter(&chain, &record);
  chain.switch_counter = 4;
  const std::vector<int> noise = bench_noise();
  std::vector<int> left(noise.size()), right(noise.size());
  for (auto _ : state) {
    left = right = noise;
    teka_hp_effect_core_process(&chain, left.data(), right.data(), kBenchFrames);
    chain.switch_counter = -1;
    benchmark::DoNotOptimize(left.data());
  }
  report_frames(state);
  teka_hp_effect_end(&chain);
}
BENCHMARK(hp_chain_block)
    ->ArgNames({"effect", "adapter"})
    ->Args({0, 0})
    ->Args({0, 1})
    ->Args({1, 0})
    ->Args({2, 0})
    ->Args({3, 0})
    ->Args({4, 0})
    ->Args({4, 1})
    ->Args({5, 0});

// range(0): format code. A period of 480 frames with no effect selected.
void hp_handle_period(benchmark::State& state) {
  const int format = static_cast<int>(state.range(0));
  void* handle = sonx_hp_effect_init(48000, format);
  const std::vector<int> noise = bench_noise(2 * 480);
  std::vector<int> buffer(noise.size());
  const unsigned long bytes = 480 * (format == SONX_FORMAT_16_BIT ? 4 : 8);
  for (auto _ : state) {
    buffer = noise;
    sonx_hp_effect_process(handle, buffer.data(), bytes);
    benchmark::DoNotOptimize(buffer.data());
  }
  report_frames(state, 480);
  sonx_hp_effect_deinit(handle);
}
BENCHMARK(hp_handle_period)->ArgName("format")->Arg(1)->Arg(2)->Arg(3);

}  // namespace
