// The karaoke chain: src/ktv/teka_audio_tx_ktv.h. Its noise cancelling, which the chain itself
// keeps switched off, is no parameter.
#include "ktv/teka_audio_tx_ktv.h"

#include <algorithm>
#include <iterator>

#include "conversions.h"
#include "echo_words.h"
#include "effect.h"
#include "graphic_equalizer_words.h"
#include "howling_words.h"
#include "module.h"
#include "module_state.h"
#include "reverb_words.h"

namespace {

constexpr sonx_parameter kParameters[] = {
    number("voice", "Voice", "dB", {-24, 18, 0},
           "Gain of the voice, which the compressor keeps from clipping; heard with it on."),
    toggle("howling", "Howling canceller", true, "Keeps the microphone from howling."),
    toggle("gramophone", "Gramophone", false, "Makes the voice sound like an old record."),
    toggle("equalizer", "Equalizer", false, "Switches the bands on."),
    toggle("reverb", "Reverb", false, "Switches the room on."),
    toggle("echo", "Echo", true, "Switches the echo on."),
    toggle("compressor", "Compressor", false, "Switches gain and limiter of the voice on."),
    SONX_BAND_GAINS(""),
    SONX_REVERB_SETTINGS("reverb_", "Reverb: "),
    SONX_ECHO_SETTINGS("echo_", "Echo: "),
    SONX_HOWLING_SETTINGS("howling_", "Howling: ")};
enum {
  kVoice,
  kHowling,
  kGramophone_,
  kEqualizer,
  kReverb_,
  kEcho_,
  kCompressor_,
  kBandsFirst,
  kReverbFirst = kBandsFirst + kBands,
  kEchoFirst = kReverbFirst + kReverbSettings,
  kHowlingFirst = kEchoFirst + kEchoSettings
};

constexpr int kRates[] = {48000};
constexpr int kRate = kRates[0];

// voice: 0 dB = 8192; everything else as on its own.
class karaoke final : public processor {
 public:
  void start(const double* values) noexcept override {
    set(values);
    howling_canceling_reset(chain_->howling);
    elliptic_resetstate(chain_->gramophone->filter);
    equalizer_reset(chain_->eq);
    reverb_reset(chain_->reverb);
    iirecho_update(chain_->iirecho);
    compressor_reset(chain_->compressor);
  }
  // A stage that was off has nothing to go on from, and an echo of another length neither.
  int take_over(const processor& running, const double* values) noexcept override {
    const teka_audio_tx_ktv_t& from = *static_cast<const karaoke&>(running).chain_.get();
    set(values);
    const bool same_echo = from.iirecho->delay == chain_->iirecho->delay;
    if (switched_on(from) || (chain_->iirecho->status != 0 && !same_echo) ||
        !same_loops(*from.reverb, *chain_->reverb))
      return -1;
    copy_state(*from.howling, *chain_->howling);
    copy_state(*from.gramophone, *chain_->gramophone);
    copy_state(*from.eq, *chain_->eq);
    copy_state(*from.reverb, *chain_->reverb);
    if (same_echo) copy_state(*from.iirecho, *chain_->iirecho);
    copy_state(*from.compressor, *chain_->compressor);
    return frames_of(20, kRate);  // as the equalizer settles
  }
  // The chain takes the voice on the left.
  void process(int* left, int* right, int n) noexcept override {
    for (int i = 0; i < n; ++i) left[i] = (left[i] + right[i]) >> 1;
    teka_audio_tx_ktv_core_process(chain_.get(), left, right, n);
  }

 private:
  void set(const double* values) {
    teka_audio_tx_ktv_t* chain = chain_.get();
    const auto on = [&](int k) { return is_on(values[k]) ? 1 : 0; };
    teka_audio_tx_ktv_set_volume(chain, db_to_q13(values[kVoice]));
    teka_audio_tx_ktv_howling_canceling_setstatus(chain, on(kHowling));
    teka_audio_tx_ktv_gramophone_setstatus(chain, on(kGramophone_));
    teka_audio_tx_ktv_eq_setstatus(chain, on(kEqualizer));
    teka_audio_tx_ktv_reverb_setstatus(chain, on(kReverb_));
    teka_audio_tx_ktv_iirecho_setstatus(chain, on(kEcho_));
    teka_audio_tx_ktv_compressor_setstatus(chain, on(kCompressor_));
    int indices[kBands];
    band_indices(values + kBandsFirst, indices);
    teka_audio_tx_ktv_eq_set_param_index(chain, indices);
    set_reverb(chain->reverb, values + kReverbFirst);
    set_echo(chain->iirecho, values + kEchoFirst, kRate);
    set_howling(chain->howling, values + kHowlingFirst);
  }

  bool switched_on(const teka_audio_tx_ktv_t& from) const {
    const auto newly = [](const auto* before, const auto* now) {
      return now->status != 0 && before->status == 0;
    };
    return newly(from.howling, chain_->howling) || newly(from.gramophone, chain_->gramophone) ||
           newly(from.eq, chain_->eq) || newly(from.reverb, chain_->reverb) ||
           newly(from.iirecho, chain_->iirecho) || newly(from.compressor, chain_->compressor);
  }

  module<teka_audio_tx_ktv_t, teka_audio_tx_ktv_init, teka_audio_tx_ktv_end> chain_;
};

int warm_up(const double* values, int rate) {
  const int reverb = is_on(values[kReverb_]) ? reverb_warm_up(values + kReverbFirst, rate) : 0;
  const int echo = is_on(values[kEcho_]) ? echo_warm_up(values + kEchoFirst, rate) : 0;
  return std::max({reverb, echo, frames_of(300, rate)});
}

int tail(const double* values, int rate) {
  if (is_on(values[kGramophone_])) return -1;
  const int reverb = is_on(values[kReverb_]) ? reverb_tail(values + kReverbFirst, rate) : 0;
  const int echo = is_on(values[kEcho_]) ? echo_tail(values + kEchoFirst, rate) : 0;
  return reverb + echo + frames_of(400, rate);
}

}  // namespace

extern constinit const effect_definition kKaraoke = {
    .entry = {"karaoke", "Karaoke chain",
              "Colours a singer's voice: the mean of both channels goes in, stereo comes out.", 1,
              2, std::size(kRates), kRates, std::size(kParameters), kParameters, "chain"},
    .whole_blocks = true,
    .latency = no_latency,
    .warm_up = warm_up,
    .tail = tail,
    .make = [](int) -> std::unique_ptr<processor> { return std::make_unique<karaoke>(); }};
