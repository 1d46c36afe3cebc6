// Howling canceller: src/ktv/howling_cancel.h, an instance per channel.
#include "ktv/howling_cancel.h"

#include <iterator>

#include "effect.h"
#include "howling_words.h"
#include "module.h"
#include "module_state.h"

namespace {

constexpr sonx_parameter kParameters[] = {SONX_HOWLING_SETTINGS("", "")};
constexpr int kRates[] = {44100, 48000, 96000};

class howling_cancellers final : public processor {
 public:
  explicit howling_cancellers(int rate) {
    for (howlingCancel* canceller : {left_.get(), right_.get()})
      howling_canceling_set_sample_rate(canceller, sample_rate_type(static_cast<unsigned>(rate)));
  }
  void start(const double* values) noexcept override {
    for (howlingCancel* canceller : {left_.get(), right_.get()}) {
      set_howling(canceller, values);
      howling_canceling_reset(canceller);
    }
  }
  int take_over(const processor& running, const double* values) noexcept override {
    const auto& from = static_cast<const howling_cancellers&>(running);
    set_howling(left_.get(), values);
    set_howling(right_.get(), values);
    copy_state(*from.left_.get(), *left_.get());
    copy_state(*from.right_.get(), *right_.get());
    return 0;
  }
  void process(int* left, int* right, int n) noexcept override {
    howling_canceling_process(left_.get(), left, left, n);
    howling_canceling_process(right_.get(), right, right, n);
  }

 private:
  module<howlingCancel, howling_canceling_init, howling_canceling_end> left_, right_;
};

}  // namespace

extern constinit const effect_definition kHowlingCanceller = {
    .entry = {"howling-canceller", "Howling canceller",
              "Keeps a microphone that hears its own loudspeaker from howling.", 1, 1,
              std::size(kRates), kRates, std::size(kParameters), kParameters, "voice"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = fixed_time<50>,
    .tail = fixed_time<200>,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<howling_cancellers>(rate);
    }};
