// Smart volume and compressor: src/effects/smart_volume_control.h, compressor.h.
#include <iterator>

#include "conversions.h"
#include "effect.h"
#include "effects/compressor.h"
#include "effects/smart_volume_control.h"
#include "module.h"
#include "module_state.h"
#include "parameters.h"

namespace {

// ---- Smart volume.

constexpr sonx_parameter kSmartVolumeParameters[] = {
    number("level", "Level", "dB", {-24, 12, 0},
           "The loudness aimed at; at 0 dB a tone of 1 kHz comes out at some -10 dBFS."),
    ratio("attack", "Attack", "ms", {5, 1280, 40},
          "How fast the loudness follows louder material."),
    ratio("release", "Release", "ms", {5, 10240, 640},
          "How fast the loudness follows quieter material.")};
enum { kLevel, kSmartAttack, kSmartRelease };

constexpr int kSmartVolumeRates[] = {44100, 48000, 96000};

//   level            0 dB = 8192
//   attack, release  5 ms x 2^order
class smart_volume final : public processor {
 public:
  explicit smart_volume(int rate) : rate_(rate) {
    smart_volume_control_set_sample_rate(control_.get(),
                                         sample_rate_type(static_cast<unsigned>(rate)));
  }

  // Begins at a gain of 1, where the module's own is 0 until the first block above its floor: soft
  // music may never have one.
  void start(const double* values) noexcept override {
    set(values);
    smart_volume_control_reset(control_.get());
    control_->gain = control_->gain_init;
  }
  int take_over(const processor& running, const double* values) noexcept override {
    set(values);
    copy_state(*static_cast<const smart_volume&>(running).control_.get(), *control_.get());
    return frames_of(20, rate_);  // the gain's ramp
  }
  void process(int* left, int* right, int n) noexcept override {
    smart_volume_control_process(control_.get(), left, right, left, right, n);
  }

 private:
  void set(const double* values) {
    smart_volume_control_set_level(control_.get(), db_to_q13(values[kLevel]));
    smart_volume_control_set_attact_order(control_.get(), follower_order(values[kSmartAttack]));
    smart_volume_control_set_release_order(control_.get(), follower_order(values[kSmartRelease]));
  }

  int rate_;
  module<smart_volume_control_t, smart_volume_control_init, smart_volume_control_end> control_;
};

// The estimate falls from nothing: a few release times, which are longer than the attack's.
int smart_volume_warm_up(const double* values, int rate) {
  return frames_of(std::clamp(nearest(values[kSmartAttack] * 3), 100, 2000), rate);
}

// ---- Compressor.

constexpr sonx_parameter kCompressorParameters[] = {
    number("threshold", "Threshold", "dBFS", {-40, 0, -0.5606},
           "The level that peaks are held below; a loud beginning may exceed it until the gain has "
           "fallen, by 3 dB in 10 ms."),
    number("makeup", "Make-up", "dB", {-24, 18, 0}, "How much louder everything gets first."),
    ratio("attack", "Attack", "ms", {5, 160, 5},
          "How fast the level follower rises; 5 ms is at once."),
    ratio("release", "Release", "ms", {5, 10240, 640}, "How fast the level follower falls."),
    number("gate", "Gate", "dBFS", {-132.5, -30.2, -132.5},
           "The mean level below which the sound is turned down, by up to 14.5 dB.")};
enum { kThreshold, kMakeup, kAttack, kRelease, kGate };

constexpr int kCompressorRates[] = {44100, 48000, 96000, 192000};

constexpr int kLookAhead = 2;  // blocks

//   threshold        dBFS to |sample| >> 8, at most 32767
//   makeup           0 dB = 8192
//   attack, release  5 ms x 2^order; 5 ms is order 0, which follows at once
//   gate             dBFS to the mean |sample|
class compressor final : public processor {
 public:
  explicit compressor(int rate) : rate_(rate), compressor_(kUnityWord, kLookAhead) {
    compressor_set_sample_rate(compressor_.get(), sample_rate_type(static_cast<unsigned>(rate)));
  }

  void start(const double* values) noexcept override {
    set(values);
    compressor_reset(compressor_.get());
  }
  int take_over(const processor& running, const double* values) noexcept override {
    set(values);
    copy_state(*static_cast<const compressor&>(running).compressor_.get(), *compressor_.get());
    return frames_of(30, rate_);  // the look-ahead, and some of the slew
  }
  void process(int* left, int* right, int n) noexcept override {
    compressor_process(compressor_.get(), left, right, left, right, n);
  }

 private:
  void set(const double* values) {
    compressor_set_volume(compressor_.get(), db_to_q13(values[kMakeup]));
    for (dynamic_range_control_t* drc : {compressor_->left, compressor_->right}) {
      dynamic_range_control_set_threshold(drc, dbfs_to_peak(values[kThreshold]));
      dynamic_range_control_set_attact_order(drc, follower_order(values[kAttack]));
      dynamic_range_control_set_release_order(drc, follower_order(values[kRelease]));
      dynamic_range_control_set_denoise_threshold(drc,
                                                  nearest(8388608 * db_to_linear(values[kGate])));
    }
  }

  int rate_;
  module<compressor_t, compressor_init, compressor_end> compressor_;
};

int look_ahead(int rate) { return kLookAhead * block_frames(rate); }

}  // namespace

extern constinit const effect_definition kSmartVolume = {
    .entry = {"smart-volume", "Smart volume", "Keeps quiet and loud music at the same loudness.", 2,
              2, std::size(kSmartVolumeRates), kSmartVolumeRates, std::size(kSmartVolumeParameters),
              kSmartVolumeParameters, "dynamics"},
    .whole_blocks = true,
    .latency = no_latency,
    .warm_up = smart_volume_warm_up,
    .tail = nothing,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<smart_volume>(rate);
    }};

extern constinit const effect_definition kCompressor = {
    .entry = {"compressor", "Compressor",
              "Makes everything louder and keeps its peaks below a threshold.", 2, 2,
              std::size(kCompressorRates), kCompressorRates, std::size(kCompressorParameters),
              kCompressorParameters, "dynamics"},
    .whole_blocks = true,
    .latency = look_ahead,
    .warm_up = fixed_time<300>,
    .tail = nothing,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<compressor>(rate);
    }};
