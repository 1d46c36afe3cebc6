// Virtual bass: src/effects/virtual_bass_system.h.
#include "effects/virtual_bass_system.h"

#include <iterator>

#include "biquad_design.h"
#include "conversions.h"
#include "effect.h"
#include "module.h"
#include "parameters.h"

namespace {

constexpr sonx_parameter kParameters[] = {
    number("harmonics", "Harmonics", "%", {0, 200, 50},
           "How loud the harmonics are from which the ear hears the bass."),
    number("bass", "Plain bass", "%", {0, 200, 50}, "How loud the bass below 250 Hz itself is."),
    number("highs", "Everything else", "%", {0, 200, 100}, "How loud the rest above 250 Hz is."),
    number("clip", "Clip level", "%", {1, 100, 25},
           "Share of full scale from which the bass is squared off, which makes more harmonics."),
    ratio("cutoff", "Harmonics up to", "Hz", {200, 2000, 500}, "Where the harmonics are cut off.")};
enum { kHarmonics, kBass, kHighs, kClip, kCutoff };

constexpr int kRates[] = {44100, 48000, 96000};
constexpr double kButterworth = 0.70710678118654752;

//   harmonics, bass, highs  100 % = 8192
//   clip                    100 % = 32768, which counts as 32767
//   cutoff                  500 Hz: the module's own low-pass; any other: a Butterworth one
class virtual_bass final : public processor {
 public:
  explicit virtual_bass(int rate) : rate_(rate) {
    virtual_bass_system_set_sample_rate(bass_.get(), sample_rate_type(static_cast<unsigned>(rate)));
    virtual_bass_system_get_nld_band_param(bass_.get(), own_band_);
  }

  void start(const double* values) noexcept override {
    set(values);
    virtual_bass_system_reset(bass_.get());
  }
  // Its compressor forgets loud bass slowly: with softer settings a fresh one is there sooner.
  int take_over(const processor&, const double*) noexcept override { return -1; }
  void process(int* left, int* right, int n) noexcept override {
    virtual_bass_system_process(bass_.get(), left, right, left, right, n);
  }

 private:
  void set(const double* values) {
    virtual_bass_system* bass = bass_.get();
    virtual_bass_system_set_nld_gain(bass, percent_to_q13(values[kHarmonics]));
    virtual_bass_system_set_origin_gain(bass, percent_to_q13(values[kBass]));
    virtual_bass_system_set_high_band_gain(bass, percent_to_q13(values[kHighs]));
    virtual_bass_system_set_nld_clip_level(
        bass, std::min(nearest(values[kClip] * (32768 / 100.0)), 32767));
    int words[5];
    design_biquad(biquad_type::low_pass, values[kCutoff], 0, kButterworth, rate_, words);
    const bool own = values[kCutoff] == kParameters[kCutoff].initial;
    virtual_bass_system_set_nld_band_param(bass, own ? own_band_ : words);
  }

  int rate_;
  int own_band_[5];
  module<virtual_bass_system, virtual_bass_system_init, virtual_bass_system_end> bass_;
};

}  // namespace

extern constinit const effect_definition kVirtualBass = {
    .entry = {"virtual-bass", "Virtual bass",
              "Lets small loudspeakers and earphones sound as if they reached lower.", 2, 2,
              std::size(kRates), kRates, std::size(kParameters), kParameters, "bass"},
    .whole_blocks = true,
    .latency = no_latency,
    .warm_up = fixed_time<250>,
    .tail = fixed_time<100>,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<virtual_bass>(rate);
    }};
