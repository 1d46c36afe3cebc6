// The headphone chain: src/hp/teka_hp_effect.h.
#include "hp/teka_hp_effect.h"

#include <array>
#include <iterator>

#include "conversions.h"
#include "effect.h"
#include "export_c.h"
#include "graphic_equalizer_words.h"
#include "module.h"
#include "module_state.h"
#include "reverb_words.h"

namespace {

constexpr std::array<const char*, 6> kEffects = {"none",   "stereo-widening", "virtual-bass",
                                                 "preset", "reverb",          "graphic-equalizer"};
constexpr std::array<const char*, 8> kAdapters = {"none",    "closed-over-ear", "open-over-ear",
                                                  "on-ear",  "in-ear-deep",     "in-ear-shallow",
                                                  "ear-bud", "bone-conduction"};
constexpr sonx_parameter kParameters[] = {
    choice("effect", "Effect", kEffects, 0,
           "Which effect plays; the preset is a fixed parametric equalizer."),
    choice(
        "adapter", "Headphones", kAdapters, 0,
        "Which type of headphones is corrected, unless the effect is an equalizer; at 96 kHz, for "
        "which there are no corrections, none."),
    SONX_REVERB_SETTINGS("reverb_", "Reverb: "), SONX_BAND_GAINS("")};
enum { kEffect, kAdapter, kReverbFirst, kBandsFirst = kReverbFirst + kReverbSettings };

constexpr int kRates[] = {44100, 48000, 96000};
constexpr int kHistoryBlocks = 2;  // of the chain's compressor

int effect_of(const double* values) { return nearest(values[kEffect]); }

// The corrections' tables for 96000 Hz are all zero, which the chain would turn into silence.
int adapter_of(const double* values, int rate) {
  return rate == 96000 ? 0 : nearest(values[kAdapter]);
}

audio_effect_control_acdb_t record_of(const double* values, int rate) {
  audio_effect_control_acdb_t record = {effect_of(values), adapter_of(values, rate), {}};
  if (record.effect_type == SONX_EFFECT_REVERB) {
    const reverb_words words = reverb_words_of(values + kReverbFirst);
    record.data[0] = words.roomsize;
    record.data[1] = words.damp;
    record.data[2] = words.wet;
    record.data[3] = words.dry;
    record.data[4] = words.width;
    record.data[5] = words.gain;
  } else if (record.effect_type == SONX_EFFECT_GRAPHIC_EQUALIZER) {
    band_indices(values + kBandsFirst, record.data);
  }
  return record;
}

// effect, adapter: the record's words, the adapters in the order of docs/tuning.md; the reverb's as
// on its own; bands in whole dB. The record is applied at once: the chain's own fade through silence
// is for its other callers.
class headphones final : public processor {
 public:
  explicit headphones(int rate) : rate_(rate) {
    teka_hp_effect_set_sample_rate(chain_.get(), static_cast<unsigned>(rate));
    chain_->status = chain_->active_status = 1;
    smooth_volume_set_soft_volume(chain_->sv, kUnityWord);
  }

  void start(const double* values) noexcept override {
    teka_hp_effect_reset(chain_.get());
    set(values);
  }
  // Goes on where the same modules run; others would start in the middle of the sound.
  int take_over(const processor& running, const double* values) noexcept override {
    const teka_hp_effect_t& from = *static_cast<const headphones&>(running).chain_.get();
    set(values);
    if (from.params->effect_type != chain_->params->effect_type ||
        from.params->hpadapter_type != chain_->params->hpadapter_type ||
        !same_loops(*from.reverb, *chain_->reverb))
      return -1;
    copy_state(*from.eq, *chain_->eq);
    copy_state(*from.p_eq, *chain_->p_eq);
    copy_state(*from.reverb, *chain_->reverb);
    copy_state(*from.sws, *chain_->sws);
    copy_state(*from.vbs, *chain_->vbs);
    copy_state(*from.comp, *chain_->comp);
    return frames_of(20, rate_);  // as the equalizer settles
  }
  void process(int* left, int* right, int n) noexcept override {
    teka_hp_effect_core_process(chain_.get(), left, right, n);
  }

 private:
  void set(const double* values) {
    *chain_->params = record_of(values, rate_);
    compressor_set_volume(chain_->comp, kUnityWord);  // no effect leaves it as it is
    teka_hp_effect_update_parameter(chain_.get());
  }

  int rate_;
  module<teka_hp_effect_t, teka_hp_effect_init, teka_hp_effect_end> chain_;
};

std::string in_c(const double* values, int rate, const std::string& name) {
  return record_in_c(record_of(values, rate), name);
}

int look_ahead(int rate) { return kHistoryBlocks * block_frames(rate); }

int warm_up(const double* values, int rate) {
  const int reverb =
      effect_of(values) == SONX_EFFECT_REVERB ? reverb_warm_up(values + kReverbFirst, rate) : 0;
  return std::max(reverb, frames_of(500, rate));  // as long as the widening's all-passes take
}

int tail(const double* values, int rate) {
  switch (effect_of(values)) {
    case SONX_EFFECT_REVERB:
      return reverb_tail(values + kReverbFirst, rate);
    case SONX_EFFECT_STEREO_WIDENING:
      return 8 * rate;  // a small room at 87 %
    default:
      return frames_of(400, rate);
  }
}

}  // namespace

extern constinit const effect_definition kHeadphones = {
    .entry =
        {"headphones", "Headphone chain",
         "One effect at a time and a correction for a type of headphones, in front of a limiter.",
         2, 2, std::size(kRates), kRates, std::size(kParameters), kParameters, "chain"},
    .whole_blocks = true,
    .latency = look_ahead,
    .warm_up = warm_up,
    .tail = tail,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<headphones>(rate);
    },
    .in_c = in_c};
