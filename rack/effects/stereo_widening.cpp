// Stereo widening: src/effects/stereo_widening_system.h.
#include "effects/stereo_widening_system.h"

#include <algorithm>
#include <iterator>

#include "conversions.h"
#include "effect.h"
#include "module.h"
#include "module_state.h"
#include "parameters.h"

namespace {

constexpr sonx_parameter kParameters[] = {
    number("side", "Side", "%", {0, 100, 50},
           "How much stronger the difference between the channels gets."),
    number("crossfeed", "Crossfeed", "%", {0, 100, 50},
           "How much each ear hears of the other side, as from loudspeakers."),
    number("dry", "Plain sound", "%", {0, 100, 75}, "How loud the sound itself is."),
    number("wet", "Room level", "%", {0, 100, 75}, "How loud the small room around it is."),
    number("room", "Room size", "%", {0, 100, 50}, "How long the small room sounds."),
    number("damp", "Damping", "%", {0, 100, 50},
           "How much sooner the highs of the room die away than its lows.")};
enum { kSide, kCrossfeed, kDry, kWet, kRoom, kDamp };

constexpr int kRates[] = {44100, 48000, 96000};

constexpr int kLongestLoop = 1801;  // frames, of the reflector's combs
constexpr int kAllpasses = 610;     // frames, both in a row

double loop_gain(const double* values) {
  return (5779 + (percent_to_q13(values[kRoom]) * 2333 >> 13)) / 8192.0;
}

constexpr int kSettle = 500;  // ms: six time constants of the all-pass at 50 Hz

int warm_up(const double* values, int rate) {
  const int half_full = loop_decay(kLongestLoop, loop_gain(values), 3.0);
  return std::clamp(2 * half_full + 2 * kLongestLoop + kAllpasses, frames_of(kSettle, rate),
                    2 * rate);
}

int tail(const double* values, int) {
  return loop_decay(kLongestLoop, loop_gain(values), 70.0) + 2 * kAllpasses;
}

// All six: 100 % = 8192.
class stereo_widening final : public processor {
 public:
  explicit stereo_widening(int rate) {
    stereo_widening_system_set_sample_rate(system_.get(),
                                           sample_rate_type(static_cast<unsigned>(rate)));
  }

  void start(const double* values) noexcept override {
    stereo_widening_system_reset(system_.get());
    set(values);
  }
  int take_over(const processor& running, const double* values) noexcept override {
    const stereo_widening_system& from =
        *static_cast<const stereo_widening&>(running).system_.get();
    set(values);
    // What goes into the room's loops, and round in them, mustn't jump: it would come out again and
    // again as a click.
    if (from.difference->side_gain != system_->difference->side_gain ||
        from.crossfeed->gain != system_->crossfeed->gain ||
        from.reflector->roomsize != system_->reflector->roomsize ||
        from.reflector->damp != system_->reflector->damp)
      return -1;
    copy_state(from, *system_.get());
    return 0;
  }
  void process(int* left, int* right, int n) noexcept override {
    stereo_widening_system_process(system_.get(), left, right, left, right, n);
  }

 private:
  void set(const double* values) {
    stereo_widening_system* system = system_.get();
    stereo_widening_system_dc_set_side_gain(system, percent_to_q13(values[kSide]));
    stereo_widening_system_cfn_set_gain(system, percent_to_q13(values[kCrossfeed]));
    stereo_widening_system_er_set_dry_gain(system, percent_to_q13(values[kDry]));
    stereo_widening_system_er_set_wet_gain(system, percent_to_q13(values[kWet]));
    stereo_widening_system_er_set_roomsize(system, percent_to_q13(values[kRoom]));
    stereo_widening_system_er_set_damp(system, percent_to_q13(values[kDamp]));
  }

  module<stereo_widening_system, stereo_widening_system_init, stereo_widening_system_end> system_;
};

}  // namespace

extern constinit const effect_definition kStereoWidening = {
    .entry = {"stereo-widening", "Stereo widening", "Takes music on headphones out of the head.", 2,
              2, std::size(kRates), kRates, std::size(kParameters), kParameters, "stereo"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = warm_up,
    .tail = tail,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<stereo_widening>(rate);
    }};
