// Howling canceller: src/ktv/howling_cancel.h, an instance per channel.
#include "ktv/howling_cancel.h"

#include <iterator>

#include "effect.h"
#include "module.h"

namespace {

constexpr int kRates[] = {44100, 48000, 96000};

class howling_cancellers final : public processor {
 public:
  void start(const double*) noexcept override {
    howling_canceling_reset(left_.get());
    howling_canceling_reset(right_.get());
  }
  int take_over(const processor&, const double*) noexcept override { return -1; }
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
              std::size(kRates), kRates, 0, nullptr},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = fixed_time<50>,
    .tail = fixed_time<200>,
    .make = [](int) -> std::unique_ptr<processor> {
      return std::make_unique<howling_cancellers>();
    }};
