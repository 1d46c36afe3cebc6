// Parametric equalizer: src/effects/parameter_equalizer.h, its sections designed here.
#include "effects/parameter_equalizer.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "biquad_design.h"
#include "conversions.h"
#include "dsp/kernels/iir.h"
#include "dsp/kernels/kernels.h"
#include "effect.h"
#include "export_c.h"
#include "module_state.h"
#include "parameters.h"

namespace {

constexpr int kSections = 10, kPerSection = 4;

enum { kPreamp, kSeparate, kFirst };
enum { kType, kFrequency, kGain, kQ };  // of a section

// ---- The catalogue: twenty sections, ten for both channels or the left one, ten for the right one.

struct text {
  char characters[24];
};

consteval text compose(const char* before, int number, const char* after) {
  text result{};
  char* end = result.characters;
  const auto append = [&](const char* from) {
    while (*from != '\0') *end++ = *from++;
  };
  append(before);
  if (number >= 10) *end++ = static_cast<char>('0' + number / 10);
  *end++ = static_cast<char>('0' + number % 10);
  append(after);
  return result;
}

using texts = std::array<text, 2 * kSections * kPerSection>;

consteval texts compose_all(const char* left, const char* right,
                            const std::array<const char*, kPerSection>& after) {
  texts all{};
  for (int i = 0; i < static_cast<int>(all.size()); ++i) {
    const int section = i / kPerSection;
    all[static_cast<size_t>(i)] =
        compose(section < kSections ? left : right, section % kSections + 1,
                after[static_cast<size_t>(i % kPerSection)]);
  }
  return all;
}

constexpr texts kIds = compose_all("band", "right", {"_type", "_frequency", "_gain", "_q"});
constexpr texts kNames = compose_all("Band ", "Right ", {" type", " frequency", " gain", " Q"});

constexpr std::array<const char*, 7> kTypes = {"peak",      "low-shelf", "high-shelf", "low-pass",
                                               "high-pass", "all-pass",  "off"};

consteval auto make_parameters() {
  std::array<sonx_parameter, kFirst + 2 * kSections * kPerSection> all{};
  all[kPreamp] = number("preamp", "Preamp", "dB", {-30, 12, 0},
                        "Gain ahead of the sections, to make room for what they raise.");
  all[kSeparate] = toggle("separate", "Right channel separately", false,
                          "Gives the right channel sections of its own.");
  double frequency = 31.25;
  for (size_t i = 0; i < kIds.size(); i += kPerSection) {
    const auto id = [&](size_t k) { return kIds[i + k].characters; };
    const auto name = [&](size_t k) { return kNames[i + k].characters; };
    sonx_parameter* section = &all[kFirst + i];
    section[kType] = choice(id(kType), name(kType), kTypes, 0, "The section's shape.");
    section[kFrequency] =
        ratio(id(kFrequency), name(kFrequency), "Hz",
              {kBiquadFrequencyMinimum, kBiquadFrequencyMaximum, frequency},
              "Middle of a peak, an all-pass or a shelf's slope, or corner of a pass.");
    section[kGain] =
        number(id(kGain), name(kGain), "dB", {kBiquadGainMinimum, kBiquadGainMaximum, 0},
               "Gain of a peak or shelf; other shapes have none.");
    section[kQ] = ratio(id(kQ), name(kQ), "", {kBiquadQMinimum, kBiquadQMaximum, 1},
                        "How narrow a peak is, how steep a shelf or how sharp a corner.");
    frequency = i + kPerSection == kIds.size() / 2 ? 31.25 : 2 * frequency;
  }
  return all;
}

constexpr auto kParameters = make_parameters();
constexpr int kRates[] = {8000, 16000, 32000, 44100, 48000, 96000, 192000};

// ---- Words.

constexpr int kPassThrough = 1 << 28;

using rows = int[kSections][6];

// A channel's sections as the module takes them, those in use first; one that is off isn't.
void design(const double* sections, int rate, rows& result) {
  std::fill_n(&result[0][0], sizeof result / sizeof result[0][0], 0);
  int used = 0;
  for (int k = 0; k < kSections; ++k) {
    const double* s = sections + k * kPerSection;
    int32_t words[5];
    design_biquad(static_cast<biquad_type>(nearest(s[kType])), s[kFrequency], s[kGain], s[kQ], rate,
                  words);
    if (words[0] == kPassThrough && std::count(words + 1, words + 5, 0) == 4) continue;
    result[used][0] = 1;
    std::copy_n(words, 5, result[used] + 1);
    ++used;
  }
}

// How many times its loudest input a channel's sections may reach at any place.
double reach(const double* sections) {
  double product = 1.0;
  for (const double* s = sections; s < sections + kSections * kPerSection; s += kPerSection)
    product *=
        std::max(biquad_reach(static_cast<biquad_type>(nearest(s[kType])), s[kGain], s[kQ]), 1.0);
  return product;
}

bool separate(const double* values) { return is_on(values[kSeparate]); }

// The time constant of the slowest section heard, in frames. A section's slower pole decays with
// Q / (pi f), up to the root of its gain slower for a boosting peak, or 1 / (pi f Q) where Q is
// small.
double slowest(const double* values, int rate) {
  double longest = 0.0;
  const int sections = separate(values) ? 2 * kSections : kSections;
  for (int k = 0; k < sections; ++k) {
    const double* s = values + kFirst + k * kPerSection;
    if (static_cast<biquad_type>(nearest(s[kType])) == biquad_type::off) continue;
    const bool flat = nearest(s[kType]) <= static_cast<int>(biquad_type::high_shelf);
    if (flat && s[kGain] == 0.0) continue;
    const double q = std::max(s[kQ] * db_to_linear(std::abs(s[kGain]) / 2), 1 / s[kQ]);
    longest = std::max(longest, q / (3.14 * s[kFrequency]));
  }
  return longest * rate;
}

int times_slowest(const double* values, int rate, double times, int least_ms, int most_ms) {
  return std::clamp(nearest(times * slowest(values, rate)), frames_of(least_ms, rate),
                    frames_of(most_ms, rate));
}

// To 0.1 %, or what is left after a second and a half.
int warm_up(const double* values, int rate) { return times_slowest(values, rate, 7, 20, 1500); }
int tail(const double* values, int rate) { return times_slowest(values, rate, 12, 20, 20000); }

// ---- The module, and what keeps it from wrapping.

constexpr int kSectionLimit = 1 << 30;  // 42 dB above full scale; the module wraps at 48

// The module's sections one after the other with limited results: the same bits as long as none is
// beyond the limit. A second-order section that saturates doesn't oscillate by it (P. M. Ebert, J. E.
// Mazo, M. G. Taylor, Bell System Technical Journal 48, 1969).
int limited_step(iir_registers& s, int x) {
  const int64_t y = s.accumulate(0, x) >> 28;
  s.x0 = x;
  s.shift(x, static_cast<int>(std::clamp<int64_t>(y, -kSectionLimit, kSectionLimit)));
  return s.y1;
}

void limited_sections(int (*words)[5], int (*states)[5], int count, int* samples, int n) {
  for (int k = 0; k < count; ++k) {
    IIR section = {words[k], states[k]};
    iir_block<limited_step>(&section, samples, samples, n);
  }
}

int loudest_of(const int* samples, int n) {
  int loudest = 0;
  for (int i = 0; i < n; ++i) loudest = std::max(loudest, std::abs(samples[i]));
  return loudest;
}

// Where the right channel has sections of its own, two modules, one for each channel, as one has one
// set of coefficients.
//
//   preamp  0 dB = 8192
class parametric_equalizer final : public processor {
 public:
  explicit parametric_equalizer(int rate) : rate_(rate) {
    parameter_equalizer_init(&left_);
    parameter_equalizer_init(&right_);
  }

  void start(const double* values) noexcept override {
    set(values);
    loudest_ = kFullScale;
    settling_ = 0;
  }

  int take_over(const processor& running, const double* values) noexcept override {
    const auto& from = static_cast<const parametric_equalizer&>(running);
    set(values);
    if (from.separate_ != separate_ || from.left_.band_count_left != left_.band_count_left ||
        from.right_.band_count_left != right_.band_count_left)
      return -1;
    copy_state(from.left_, left_);
    copy_state(from.right_, right_);
    for (parameter_equalizer_t* equalizer : {&left_, &right_})
      follow_preamp(from.left_, *equalizer);
    loudest_ = from.loudest_;
    return settling_ = times_slowest(values, rate_, 3, 10, 600);
  }

  void process(int* left, int* right, int n) noexcept override {
    loudest_ = std::max({loudest_, loudest_of(left, n), loudest_of(right, n)});
    const bool limits = settling_ > 0 || reach_ * loudest_ > kSectionLimit;
    settling_ = std::max(settling_ - n, 0);
    if (limits) {
      parameter_equalizer_t& second = separate_ ? right_ : left_;
      kernels().scale_to_silence_q13(left, left_.gain_left, left, n);
      kernels().scale_to_silence_q13(right, left_.gain_left, right, n);
      limited_sections(left_.coef_left, left_.state_left, left_.band_count_left, left, n);
      limited_sections(second.coef_left, separate_ ? second.state_left : second.state_right,
                       second.band_count_left, right, n);
    } else if (separate_) {
      parameter_equalizer_process_mono(&left_, left, left, n);
      parameter_equalizer_process_mono(&right_, right, right, n);
    } else {
      parameter_equalizer_process_stereo(&left_, left, right, left, right, n);
    }
  }

 private:
  static constexpr int kFullScale = 1 << 23;

  // Brings histories to the gain ahead of them.
  static void follow_preamp(const parameter_equalizer_t& from, parameter_equalizer_t& to) {
    const auto follow = [&](int& word) {
      word = static_cast<int>(std::clamp<int64_t>(int64_t{word} * to.gain_left / from.gain_left,
                                                  -kSectionLimit, kSectionLimit));
    };
    if (from.gain_left == to.gain_left) return;
    for (auto& section : to.state_left) std::for_each_n(section, 5, follow);
    for (auto& section : to.state_right) std::for_each_n(section, 5, follow);
  }

  // Clears the histories.
  void set(const double* values) {
    separate_ = separate(values);
    const int gain = db_to_q13(values[kPreamp]);
    for (parameter_equalizer_t* equalizer : {&left_, &right_}) {
      parameter_equalizer_set_gain_left(equalizer, gain);
      parameter_equalizer_set_gain_right(equalizer, gain);
    }
    const double* const second = values + kFirst + (separate_ ? kSections * kPerSection : 0);
    rows words;
    design(values + kFirst, rate_, words);
    parameter_equalizer_setparameter_left(&left_, words);
    parameter_equalizer_setparameter_right(&left_, words);
    if (separate_) design(second, rate_, words);
    parameter_equalizer_setparameter_left(&right_, words);
    reach_ = std::max(reach(values + kFirst), reach(second)) * db_to_linear(values[kPreamp]);
  }

  int rate_;
  bool separate_ = false;
  parameter_equalizer_t left_, right_;
  double reach_ = 1.0;        // of the present settings, preamp included
  int loudest_ = kFullScale;  // of the inputs since the start
  int settling_ = 0;          // frames in which histories of other settings ring
};

std::string rows_in_c(const std::string& name, const rows& words) {
  std::string text = "int " + name + "[10][6] = {\n";
  for (const auto& row : words) {
    text += "    {";
    for (int k = 0; k < 6; ++k) text += (k > 0 ? ", " : "") + std::to_string(row[k]);
    text += "},\n";
  }
  return text + "};\n";
}

std::string in_c(const double* values, int rate, const std::string& name) {
  rows words;
  design(values + kFirst, rate, words);
  std::string text =
      "// For parameter_equalizer_setparameter_left and _right: whether a section is used, then b0,"
      "\n// b1, b2, -a1, -a2 in Q28.\n" +
      rows_in_c(name + "_sections", words);
  if (separate(values)) {
    design(values + kFirst + kSections * kPerSection, rate, words);
    text += "// The right channel's own; each channel takes an equalizer.\n" +
            rows_in_c(name + "_sections_right", words);
  }
  return text + number_in_c(name + "_gain", db_to_q13(values[kPreamp]),
                            "for parameter_equalizer_set_gain_left and _right, Q13: 8192 is 0 dB");
}

}  // namespace

extern constinit const effect_definition kParametricEqualizer = {
    .entry = {"parametric-equalizer", "Parametric equalizer",
              "Ten sections of any shape, for both channels or for each.", 2, 2, std::size(kRates),
              kRates, static_cast<int>(kParameters.size()), kParameters.data(), "equalizer"},
    .whole_blocks = false,
    .latency = no_latency,
    .warm_up = warm_up,
    .tail = tail,
    .make = [](int rate) -> std::unique_ptr<processor> {
      return std::make_unique<parametric_equalizer>(rate);
    },
    .in_c = in_c};
