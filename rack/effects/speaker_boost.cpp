// Speaker boost: src/effects/speaker_boost_system.h.
#include "effects/speaker_boost_system.h"

#include <iterator>

#include "biquad_design.h"
#include "conversions.h"
#include "effect.h"
#include "module.h"
#include "module_state.h"
#include "parameters.h"

namespace {

#define SONX_CONTROLLER(id, name)                                           \
  number(id "_threshold", name " threshold", "dBFS", {-40, 0, 0},           \
         "The level that this band is limited to."),                        \
      number(id "_makeup", name " make-up", "dB", {-24, 18, 0},             \
             "How loud this band gets, before its limit."),                 \
      ratio(id "_attack", name " attack", "ms", {5, 160, 5},                \
            "How fast this band's level follower rises; 5 ms is at once."), \
      ratio(id "_release", name " release", "ms", {5, 10240, 160},          \
            "How fast this band's level follower falls."),                  \
      number(id "_gate", name " gate", "dBFS", {-132.5, -30.2, -90.31},     \
             "The mean level below which this band is turned down, by up to 14.5 dB.")

constexpr sonx_parameter kParameters[] = {
    number("harmonics_left", "Left harmonics", "%", {0, 200, 100},
           "How loud the harmonics are that take the place of the left channel's lowest bass."),
    number("harmonics_right", "Right harmonics", "%", {0, 200, 100},
           "How loud the harmonics are that take the place of the right channel's lowest bass."),
    ratio("harmonics_frequency", "Harmonics around", "Hz", {200, 2000, 400},
          "The middle of the band that the harmonics are kept in."),
    SONX_CONTROLLER("low_left", "Left low"),
    SONX_CONTROLLER("mid_left", "Left mid"),
    SONX_CONTROLLER("high_left", "Left high"),
    SONX_CONTROLLER("full_left", "Left whole"),
    SONX_CONTROLLER("low_right", "Right low"),
    SONX_CONTROLLER("mid_right", "Right mid"),
    SONX_CONTROLLER("high_right", "Right high"),
    SONX_CONTROLLER("full_right", "Right whole")};
enum { kHarmonicsLeft, kHarmonicsRight, kHarmonicsFrequency, kControllers };
enum { kThreshold, kMakeup, kAttack, kRelease, kGate, kPerController };

constexpr int kRates[] = {44100, 48000, 96000};

constexpr double kBandQ = 0.98;  // of the module's own band-pass

// A band-pass of 0 dB has the poles of an all-pass: a2 is (1 - alpha) / (1 + alpha), and b0,
// alpha / (1 + alpha), is half of 1 - a2.
void design_band_pass(double frequency, int rate, int words[5]) {
  design_biquad(biquad_type::all_pass, frequency, 0, kBandQ, rate, words);
  const int half = ((1 << 28) + words[4]) / 2;  // words[4] is -a2
  words[0] = half;
  words[1] = 0;
  words[2] = -half;
}

//   harmonics            100 % = 8192
//   harmonics_frequency  400 Hz: the module's own band-pass; any other: one of the same width
//   threshold            dBFS to |sample| >> 8, at most 32767
//   makeup               0 dB = 8192
//   attack, release      5 ms x 2^order; 5 ms is order 0, which follows at once
//   gate                 dBFS to the mean |sample|
class speaker_boost final : public processor {
 public:
  explicit speaker_boost(int rate) : rate_(rate) {
    speaker_boost_system_set_sample_rate(boost_.get(),
                                         sample_rate_type(static_cast<unsigned>(rate)));
    speaker_boost_system_get_nld_param(boost_.get(), own_band_);
  }

  void start(const double* values) noexcept override {
    set(values);
    speaker_boost_system_reset(boost_.get());
  }
  int take_over(const processor& running, const double* values) noexcept override {
    set(values);
    copy_state(*static_cast<const speaker_boost&>(running).boost_.get(), *boost_.get());
    return frames_of(30, rate_);  // the look-ahead, and some of the slew
  }
  void process(int* left, int* right, int n) noexcept override {
    speaker_boost_system_process_stereo(boost_.get(), left, right, left, right, n);
  }

 private:
  void set(const double* values) {
    speaker_boost_system_t* boost = boost_.get();
    speaker_boost_system_set_nld_gain_left(boost, percent_to_q13(values[kHarmonicsLeft]));
    speaker_boost_system_set_nld_gain_right(boost, percent_to_q13(values[kHarmonicsRight]));
    int words[5];
    design_band_pass(values[kHarmonicsFrequency], rate_, words);
    const bool own = values[kHarmonicsFrequency] == kParameters[kHarmonicsFrequency].initial;
    speaker_boost_system_set_nld_param(boost, own ? own_band_ : words);

    const double* v = values + kControllers;
    for (dynamic_range_control_t* drc :
         {boost->drc_low_left, boost->drc_mid_left, boost->drc_high_left, boost->drc_full_left,
          boost->drc_low_right, boost->drc_mid_right, boost->drc_high_right,
          boost->drc_full_right}) {
      dynamic_range_control_set_threshold(drc, dbfs_to_peak(v[kThreshold]));
      dynamic_range_control_set_volume(drc, db_to_q13(v[kMakeup]));
      dynamic_range_control_set_attact_order(drc, follower_order(v[kAttack]));
      dynamic_range_control_set_release_order(drc, follower_order(v[kRelease]));
      dynamic_range_control_set_denoise_threshold(drc, nearest(8388608 * db_to_linear(v[kGate])));
      v += kPerController;
    }
  }

  int rate_;
  int own_band_[5];
  module<speaker_boost_system_t, speaker_boost_system_init, speaker_boost_system_end> boost_;
};

int look_ahead(int) { return 240; }

}  // namespace

extern constinit const effect_definition kSpeakerBoost = {
    .entry = {"speaker-boost", "Speaker boost",
              "Makes a small loudspeaker as loud and as full as it can safely be.", 2, 2,
              std::size(kRates), kRates, std::size(kParameters), kParameters, "dynamics"},
    .whole_blocks = true,
    .latency = look_ahead,
    .warm_up = fixed_time<400>,
    .tail = fixed_time<100>,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<speaker_boost>(rate);
    }};
