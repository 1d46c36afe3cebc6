// Graphic equalizer: src/effects/equalizer.h.
#include "graphic_equalizer_words.h"

#include <iterator>

#include "conversions.h"
#include "effect.h"
#include "export_c.h"
#include "module.h"
#include "module_state.h"

void band_indices(const double* values, int indices[kBands]) {
  for (int k = 0; k < kBands; ++k) indices[k] = nearest(values[k]);
}

namespace {

constexpr sonx_parameter kParameters[] = {
    SONX_BAND_GAINS(""),
    toggle("automatic", "Automatic level", true,
           "Sets the input gain from the bands, so that a boosted curve doesn't clip."),
    number("gain", "Input gain", "dB", {-24, 12, 0}, "The input gain where it isn't automatic.")};
enum { kAutomatic = kBands, kGain };

constexpr int kRates[] = {44100, 48000, 96000};

constexpr int kSettle = 40;  // ms: four time constants of the peak at 62.5 Hz

//   band       whole dB, the module's indices
//   automatic  the gain that the module finds from the indices
//   gain       0 dB = 8192
class graphic_equalizer final : public processor {
 public:
  explicit graphic_equalizer(int rate) : rate_(rate) {}

  void start(const double* values) noexcept override {
    equalizer_reset(equalizer_.get());
    set(values);
  }
  int take_over(const processor& running, const double* values) noexcept override {
    copy_state(*static_cast<const graphic_equalizer&>(running).equalizer_.get(), *equalizer_.get());
    set(values);
    return frames_of(kSettle, rate_);
  }
  void process(int* left, int* right, int n) noexcept override {
    equalizer_process_stereo(equalizer_.get(), left, right, left, right, n);
  }

 private:
  void set(const double* values) {
    int indices[kBands];
    band_indices(values, indices);
    equalizer_set_param_index(equalizer_.get(), indices,
                              sample_rate_type(static_cast<unsigned>(rate_)));
    if (!is_on(values[kAutomatic])) equalizer_set_gain(equalizer_.get(), db_to_q13(values[kGain]));
  }

  int rate_;
  module<equalizer_t, equalizer_init, equalizer_end> equalizer_;
};

std::string in_c(const double* values, int, const std::string& name) {
  audio_effect_control_acdb_t record = {SONX_EFFECT_GRAPHIC_EQUALIZER, 0, {}};
  band_indices(values, record.data);
  const std::string text = record_in_c(record, name);
  if (is_on(values[kAutomatic])) return text;
  return "// The handle finds its input gain itself; this one belongs to equalizer_set_gain.\n" +
         text + number_in_c(name + "_gain", db_to_q13(values[kGain]), "Q13: 8192 is 0 dB");
}

}  // namespace

extern constinit const effect_definition kGraphicEqualizer = {
    .entry = {"graphic-equalizer", "Graphic equalizer", "Ten bands an octave apart.", 2, 2,
              std::size(kRates), kRates, std::size(kParameters), kParameters, "equalizer"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = fixed_time<kSettle>,
    .tail = fixed_time<200>,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<graphic_equalizer>(rate);
    },
    .in_c = in_c};
