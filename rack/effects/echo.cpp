// Echo: src/ktv/iirecho.h.
#include <iterator>

#include "echo_words.h"
#include "effect.h"
#include "module.h"
#include "module_state.h"

namespace {

constexpr sonx_parameter kParameters[] = {SONX_ECHO_SETTINGS("", "")};
constexpr int kRates[] = {44100, 48000};

class echo_processor final : public processor {
 public:
  explicit echo_processor(int rate) : rate_(rate) {}

  void start(const double* values) noexcept override {
    set_echo(echo_.get(), values, rate_);
    iirecho_update(echo_.get());
  }
  // Of another length the loops have to fill anew: what sounds in the old ones would break off.
  int take_over(const processor& running, const double* values) noexcept override {
    const iirecho& from = *static_cast<const echo_processor&>(running).echo_.get();
    set_echo(echo_.get(), values, rate_);
    if (from.delay != echo_->delay) return -1;
    copy_state(from, *echo_.get());
    return 0;
  }
  void process(int* left, int* right, int n) noexcept override {
    iirecho_processStereo(echo_.get(), left, right, left, right, n);
  }

 private:
  int rate_;
  module<iirecho, iirecho_init, iirecho_end> echo_;
};

}  // namespace

extern constinit const effect_definition kEcho = {
    .entry = {"echo", "Echo", "Repeats the sound again and again, each time softer.", 2, 2,
              std::size(kRates), kRates, std::size(kParameters), kParameters, "delay"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = echo_warm_up,
    .tail = echo_tail,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<echo_processor>(rate);
    }};
