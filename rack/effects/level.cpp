// Balance and volume: src/hp/channel_balance.h, src/hp/smooth_volume.h.
#include <algorithm>
#include <iterator>

#include "conversions.h"
#include "effect.h"
#include "hp/channel_balance.h"
#include "hp/smooth_volume.h"
#include "parameters.h"

namespace {

constexpr int kRates[] = {8000, 16000, 32000, 44100, 48000, 96000, 192000};

// ---- Balance.

constexpr sonx_parameter kBalanceParameters[] = {
    number("balance", "Balance", "%", {-100, 100, 0},
           "Below 0 mixes the left channel into the right one, above 0 the right into the left."),
    toggle("mono", "Mono", false, "Folds both channels to their mean.")};
enum { kRatio, kMono };

//   balance  100 % = 8192
//   mono     the module's mono form instead of its stereo form
class balance final : public processor {
 public:
  balance() { channel_balance_init(&balance_); }

  void start(const double* values) noexcept override {
    channel_balance_set_channel_ration(&balance_, percent_to_q13(values[kRatio]));
    mono_ = is_on(values[kMono]);
  }
  int take_over(const processor&, const double* values) noexcept override {
    start(values);
    return 0;
  }
  void process(int* left, int* right, int n) noexcept override {
    if (!mono_) return channel_balance_process_stereo(&balance_, left, right, left, right, n);
    channel_balance_process_mono(&balance_, left, right, left, n);
    std::copy_n(left, n, right);
  }

 private:
  channel_balance_t balance_;
  bool mono_ = false;
};

// ---- Volume.

constexpr double kSilence = -80.0;  // dB, and what stands for silence

constexpr sonx_parameter kVolumeParameters[] = {number(
    "gain", "Gain", "dB", {kSilence, 18, 0}, "Louder or softer; the lowest value is silence.")};

// 0 dB = 8192, -80 dB = 0. The gain is in force at once: the rack's fade takes the place of the
// module's own, which ends in a step of half a percent.
class volume final : public processor {
 public:
  volume() { smooth_volume_init(&volume_); }

  void start(const double* values) noexcept override {
    const int gain = values[0] <= kSilence ? 0 : db_to_q13(values[0]);
    smooth_volume_set_volume(&volume_, gain);
    smooth_volume_set_soft_volume(&volume_, gain);
  }
  int take_over(const processor&, const double* values) noexcept override {
    start(values);
    return 0;
  }
  void process(int* left, int* right, int n) noexcept override {
    smooth_volume_process(&volume_, left, right, left, right, n);
  }

 private:
  smooth_volume_t volume_;
};

}  // namespace

extern constinit const effect_definition kBalance = {
    .entry = {"balance", "Balance", "Evens the ears out, or folds stereo to mono.", 2, 2,
              std::size(kRates), kRates, std::size(kBalanceParameters), kBalanceParameters,
              "level"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = nothing,
    .tail = nothing,
    .make = [](int) -> std::unique_ptr<processor> { return std::make_unique<balance>(); }};

extern constinit const effect_definition kVolume = {
    .entry = {"volume", "Volume", "Louder or softer.", 2, 2, std::size(kRates), kRates,
              std::size(kVolumeParameters), kVolumeParameters, "level"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = nothing,
    .tail = nothing,
    .make = [](int) -> std::unique_ptr<processor> { return std::make_unique<volume>(); }};
