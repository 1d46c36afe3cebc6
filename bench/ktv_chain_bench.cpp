// The karaoke chain on blocks of 240 frames, stage by stage and with every stage on.
#include "ktv/teka_audio_tx_ktv.h"
#include "support.h"

namespace {

enum stages {
  kNone = 0,
  kGramophone = 1,
  kEqualizer = 2,
  kReverb = 4,
  kEcho = 8,
  kCompressor = 16
};

// range(0): the stages that are on.
void ktv_chain_block(benchmark::State& state) {
  const auto on = [&](int stage) { return (state.range(0) & stage) != 0 ? 1 : 0; };
  teka_audio_tx_ktv_t chain;
  teka_audio_tx_ktv_init(&chain);
  teka_audio_tx_ktv_gramophone_setstatus(&chain, on(kGramophone));
  teka_audio_tx_ktv_eq_setstatus(&chain, on(kEqualizer));
  teka_audio_tx_ktv_reverb_setstatus(&chain, on(kReverb));
  teka_audio_tx_ktv_iirecho_setstatus(&chain, on(kEcho));
  teka_audio_tx_ktv_iirecho_setdelay(&chain, 200);
  teka_audio_tx_ktv_compressor_setstatus(&chain, on(kCompressor));
  const std::vector<int> voice = bench_noise();
  std::vector<int> left(voice.size()), right(voice.size());
  for (auto _ : state) {
    left = voice;
    teka_audio_tx_ktv_core_process(&chain, left.data(), right.data(), kBenchFrames);
    benchmark::DoNotOptimize(right.data());
  }
  report_frames(state);
  teka_audio_tx_ktv_end(&chain);
}
BENCHMARK(ktv_chain_block)
    ->ArgName("stages")
    ->Arg(kNone)
    ->Arg(kGramophone)
    ->Arg(kEqualizer)
    ->Arg(kReverb)
    ->Arg(kEcho)
    ->Arg(kCompressor)
    ->Arg(kGramophone | kEqualizer | kReverb | kEcho | kCompressor);

}  // namespace
