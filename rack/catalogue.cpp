// The list of effects: one line each. An effect's file under effects/ defines it.
#include <cstring>
#include <iterator>

#include "effect.h"

extern const effect_definition kHeadphones, kKaraoke, kGraphicEqualizer, kParametricEqualizer,
    kReverb, kStereoWidening, kVirtualBass, kSmartVolume, kCompressor, kSpeakerBoost, kBalance,
    kVolume, kGramophone, kEcho, kHowlingCanceller, kNoiseSuppressor;

namespace {

constexpr const effect_definition* kEffects[] = {
    &kHeadphones, &kKaraoke,        &kGraphicEqualizer, &kParametricEqualizer,
    &kReverb,     &kStereoWidening, &kVirtualBass,      &kSmartVolume,
    &kCompressor, &kSpeakerBoost,   &kBalance,          &kVolume,
    &kGramophone, &kEcho,           &kHowlingCanceller, &kNoiseSuppressor,
};

}  // namespace

const effect_definition* definition_of(const sonx_effect* entry) {
  for (const effect_definition* effect : kEffects)
    if (&effect->entry == entry) return effect;
  return nullptr;
}

int sonx_effect_count() { return static_cast<int>(std::size(kEffects)); }

const sonx_effect* sonx_effect_at(int index) {
  return index >= 0 && index < sonx_effect_count() ? &kEffects[index]->entry : nullptr;
}

const sonx_effect* sonx_effect_find(const char* id) {
  if (id == nullptr) return nullptr;
  for (const effect_definition* effect : kEffects)
    if (std::strcmp(effect->entry.id, id) == 0) return &effect->entry;
  return nullptr;
}
