// Reverb: src/effects/reverb.h.
#include "effects/reverb.h"

#include <algorithm>

#include "conversions.h"
#include "effect.h"
#include "export_c.h"
#include "module.h"
#include "module_state.h"
#include "reverb_words.h"

namespace {

constexpr sonx_parameter kParameters[] = {SONX_REVERB_SETTINGS("", "")};
constexpr int kRates[] = {44100, 48000, 96000, 192000};

std::string in_c(const double* values, int, const std::string& name) {
  const reverb_words words = reverb_words_of(values);
  return record_in_c({SONX_EFFECT_REVERB,
                      0,
                      {words.roomsize, words.damp, words.wet, words.dry, words.width, words.gain}},
                     name);
}

class reverb_processor final : public processor {
 public:
  void start(const double* values) noexcept override {
    reverb_reset(reverb_.get());
    set_reverb(reverb_.get(), values);
  }
  int take_over(const processor& running, const double* values) noexcept override {
    const reverb_t& from = *static_cast<const reverb_processor&>(running).reverb_.get();
    set_reverb(reverb_.get(), values);
    if (!same_loops(from, *reverb_.get())) return -1;
    copy_state(from, *reverb_.get());
    return 0;
  }
  void process(int* left, int* right, int n) noexcept override {
    reverb_process_stereo_24(reverb_.get(), left, right, left, right, static_cast<unsigned>(n));
  }

 private:
  module<reverb_t, reverb_init, reverb_end> reverb_;
};

}  // namespace

extern constinit const effect_definition kReverb = {
    .entry = {"reverb", "Reverb", "Puts a room around the music.", 2, 2, std::size(kRates), kRates,
              std::size(kParameters), kParameters, "reverb"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = reverb_warm_up,
    .tail = reverb_tail,
    .make = [](int) -> std::unique_ptr<processor> { return std::make_unique<reverb_processor>(); },
    .in_c = in_c};
