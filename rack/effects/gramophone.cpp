// Gramophone: src/ktv/gramophone.h, an instance per channel.
#include "ktv/gramophone.h"

#include <iterator>

#include "effect.h"
#include "module.h"

namespace {

constexpr int kRates[] = {44100, 48000};

class gramophones final : public processor {
 public:
  void start(const double*) noexcept override {
    elliptic_resetstate(left_->filter);
    elliptic_resetstate(right_->filter);
  }
  int take_over(const processor&, const double*) noexcept override { return -1; }
  void process(int* left, int* right, int n) noexcept override {
    gramophone_process(left_.get(), left, left, n);
    gramophone_process(right_.get(), right, right, n);
  }

 private:
  module<gramophone, gramophone_init, gramophone_end> left_, right_;
};

int never(const double*, int) { return -1; }

}  // namespace

extern constinit const effect_definition kGramophone = {
    .entry = {"gramophone", "Gramophone",
              "Makes a voice sound like an old record through a horn; it keeps a faint noise.", 1,
              1, std::size(kRates), kRates, 0, nullptr, "character"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = fixed_time<50>,
    .tail = never,
    .make = [](int) -> std::unique_ptr<processor> { return std::make_unique<gramophones>(); }};
