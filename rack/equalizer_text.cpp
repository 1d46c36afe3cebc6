#include "equalizer_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <vector>

#include "curve_fit.h"
#include "preset.h"

namespace {

constexpr int kRate = 48000;  // at which the curve is looked at
constexpr size_t kPerEqualizer = 10;
constexpr double kButterworth = 0.707;

struct range {
  const char *name, *unit;
  double minimum, maximum;
};

const sonx_effect& equalizer() { return *sonx_effect_find("parametric-equalizer"); }

int parameter_index(const std::string& id) {
  for (int k = 0; k < equalizer().parameter_count; ++k)
    if (equalizer().parameters[k].id == id) return k;
  return -1;
}

range range_of(const char* id, const char* name) {
  const sonx_parameter& its = equalizer().parameters[parameter_index(id)];
  return {name, its.unit, its.minimum, its.maximum};
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), [](char c) { return lower(c); });
  return result;
}

bool blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

std::string printed(const char* format, double a, double b = 0) {
  char text[128];
  std::snprintf(text, sizeof text, format, a, b);
  return text;
}

// A piece of the text for a message: short and printable.
std::string quoted(std::string_view piece) {
  std::string shown = "'";
  for (const char c : piece.substr(0, 40)) shown += static_cast<unsigned char>(c) < ' ' ? '?' : c;
  return shown + (piece.size() > 40 ? "..'" : "'");
}

#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 200000
// Without std::from_chars for fractions. Phones and browsers, which have such a library, know no
// locale in which strtod wants a comma.
bool read_number(const std::string& text, double& number) {
  if (text.empty() || text.find_first_not_of("-.0123456789eE") != std::string::npos) return false;
  char* end = nullptr;
  number = std::strtod(text.c_str(), &end);
  return *end == '\0';
}
#else
bool read_number(const std::string& text, double& number) {
  const char* const last = text.data() + text.size();
  const auto [end, fault] = std::from_chars(text.data(), last, number);
  return fault == std::errc() && end == last;
}
#endif

// A whole word as a number, with a point or a comma; nothing if it isn't one.
std::optional<double> number_of(std::string_view word) {
  std::string text(word);
  if (text.starts_with('+')) text.erase(0, 1);
  if (const size_t comma = text.find(','); comma != std::string::npos) text[comma] = '.';
  double number = 0;
  if (!read_number(text, number) || !std::isfinite(number)) return std::nullopt;
  return number;
}

// "105Hz" is two words.
std::vector<std::string_view> words_of(std::string_view text) {
  std::vector<std::string_view> words;
  const auto part_of_number = [](char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == ',' || c == '-' || c == '+';
  };
  for (size_t i = 0; i < text.size();) {
    if (blank(text[i])) {
      ++i;
      continue;
    }
    size_t end = i + 1;
    const bool number = part_of_number(text[i]);
    while (end < text.size() && !blank(text[end]) && (!number || part_of_number(text[end]))) ++end;
    words.push_back(text.substr(i, end - i));
    i = end;
  }
  return words;
}

struct filter_type {
  const char* word;
  biquad_type type;
};
constexpr filter_type kTypes[] = {
    {"pk", biquad_type::peak},        {"peq", biquad_type::peak},
    {"ls", biquad_type::low_shelf},   {"lsc", biquad_type::low_shelf},
    {"lsq", biquad_type::low_shelf},  {"hs", biquad_type::high_shelf},
    {"hsc", biquad_type::high_shelf}, {"hsq", biquad_type::high_shelf},
    {"lp", biquad_type::low_pass},    {"lpq", biquad_type::low_pass},
    {"hp", biquad_type::high_pass},   {"hpq", biquad_type::high_pass},
    {"ap", biquad_type::all_pass}};

class reader {
 public:
  void read(std::string_view text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
      line_ = 1;
      return fault("this is text in UTF-16, to be saved as UTF-8 first");
    }
    while (!text.empty()) {
      const size_t end = std::min(text.find_first_of("\n\r"), text.size());
      ++line_;
      read_line(trimmed(text.substr(0, end)));
      const bool two = text.substr(end).starts_with("\r\n");
      text.remove_prefix(std::min(end + (two ? 2 : 1), text.size()));
    }
    if (faults_ == 0 && !preamp_ && filters_.empty() && points_.empty() && left_out_ == 0) {
      report_ += "there's no Preamp:, Filter: or GraphicEQ: line to import\n";
      ++faults_;
    }
  }

  imported_equalizer result(bool auto_preamp) {
    if (faults_ > 0) return {"", report_, faults_};
    double preamp = preamp_.value_or(0);
    if (!points_.empty()) preamp += fit();
    say_what_was_taken();
    preamp = make_room(preamp, auto_preamp);
    return {write_preset(settings(preamp)), report_, 0};
  }

 private:
  template <typename... Pieces>
  void fault(const Pieces&... pieces) {
    report_ += "line " + std::to_string(line_) + ": ";
    (report_ += ... += pieces);
    report_ += '\n';
    ++faults_;
  }

  void read_line(std::string_view line) {
    if (const size_t comment = line.find('#'); comment != std::string_view::npos)
      line = trimmed(line.substr(0, comment));
    if (line.empty() || line.front() == ';' || line.starts_with("//")) return;
    const size_t colon = std::min(line.find(':'), line.size());
    const std::string key = lower(trimmed(line.substr(0, colon)));
    const std::string_view rest = colon < line.size() ? line.substr(colon + 1) : "";
    if (colon == line.size())
      fault(quoted(line), " is no Preamp:, Filter: or GraphicEQ: line");
    else if (key == "preamp")
      read_preamp(words_of(rest));
    else if (key == "graphiceq")
      read_graphic(rest);
    else if (key.starts_with("filter"))
      read_filter(words_of(rest));
    else
      fault("lines of ", quoted(trimmed(line.substr(0, colon))), " aren't supported");
  }

  // A number with its unit, in its range. at is the number's place, and moves behind what was read.
  std::optional<double> read_value(const std::vector<std::string_view>& words, size_t& at,
                                   const range& its) {
    const auto number = at < words.size() ? number_of(words[at]) : std::nullopt;
    if (!number) {
      fault(its.name, at < words.size() ? " is no number: " + quoted(words[at]) : " has no number");
      return std::nullopt;
    }
    ++at;
    double value = *number;
    if (at < words.size() && lower(words[at]) == "khz" && lower(its.unit) == "hz") value *= 1000;
    if (at < words.size() && *its.unit &&
        (lower(words[at]) == lower(its.unit) || lower(words[at]) == "khz"))
      ++at;
    if (value >= its.minimum && value <= its.maximum) return value;
    fault(its.name, printed(" %.10g is out of range, it goes from", value),
          printed(" %g to %g", its.minimum, its.maximum), *its.unit ? " " : "", its.unit);
    return std::nullopt;
  }

  void read_preamp(const std::vector<std::string_view>& words) {
    size_t at = 0;
    const auto value = read_value(words, at, range_of("preamp", "the preamp"));
    if (!value) return;
    if (at < words.size()) return fault("what does ", quoted(words[at]), " mean?");
    if (preamp_) return fault("a second preamp");
    preamp_ = value;
  }

  void read_filter(const std::vector<std::string_view>& words) {
    if (!points_.empty()) return fault("a filter beside a GraphicEQ line");
    const std::string state = words.empty() ? "" : lower(words[0]);
    if (state != "on" && state != "off") return fault("a filter is ON or OFF");
    if (state == "off" || (words.size() > 1 && lower(words[1]) == "none")) {
      ++left_out_;
      return;
    }
    const std::string name = words.size() > 1 ? lower(words[1]) : "";
    const auto* const type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                          [&](const filter_type& one) { return name == one.word; });
    if (type == std::end(kTypes))
      return fault(words.size() > 1 ? "filter type " + quoted(words[1]) + " isn't supported"
                                    : "a filter without a type");
    read_section(words, type->type);
  }

  void read_section(const std::vector<std::string_view>& words, biquad_type type) {
    std::optional<double> frequency, gain, q;
    const int faults_before = faults_;
    for (size_t at = 2; at < words.size();) {
      const std::string key = lower(words[at]);
      ++at;
      const bool again = ((key == "fc" || key == "freq") && frequency) || (key == "gain" && gain) ||
                         ((key == "q" || key == "bw") && q);
      if (again) return fault("a second ", quoted(words[at - 1]));
      if (key == "fc" || key == "freq") {
        frequency = read_value(words, at, range_of("band1_frequency", "the frequency"));
      } else if (key == "gain") {
        gain = read_value(words, at, range_of("band1_gain", "the gain"));
      } else if (key == "q") {
        q = read_value(words, at, range_of("band1_q", "Q"));
      } else if (key == "bw" && at < words.size() && lower(words[at]) == "oct") {
        const auto octaves = read_value(words, ++at, {"the bandwidth", "", 0.072, 6.66});
        if (octaves) q = std::exp2(*octaves / 2) / (std::exp2(*octaves) - 1);
      } else {
        return fault("what does ", quoted(words[at - 1]), " mean?");
      }
      if (faults_ > faults_before) return;
    }
    const bool has_gain = type == biquad_type::peak || type == biquad_type::low_shelf ||
                          type == biquad_type::high_shelf;
    const bool needs_q = type == biquad_type::peak || type == biquad_type::all_pass;
    if (!frequency) return fault("the filter has no frequency, Fc");
    if (has_gain && !gain) return fault("the filter has no gain");
    if (!has_gain && gain.value_or(0) != 0) return fault("a filter of this type has no gain");
    if (needs_q && !q) return fault("the filter has no Q");
    if (!q) ++without_q_;
    filters_.push_back({type, *frequency, gain.value_or(0), q.value_or(kButterworth)});
  }

  // "20 0.0; 21 -0.3; .."
  void read_graphic(std::string_view rest) {
    if (!filters_.empty() || left_out_ > 0) return fault("a GraphicEQ line beside filters");
    if (!points_.empty()) return fault("a second GraphicEQ line");
    while (!trimmed(rest).empty()) {
      const size_t end = std::min(rest.find(';'), rest.size());
      const std::string_view pair = trimmed(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 1, rest.size()));
      if (!read_point(pair)) return points_.clear();
    }
    if (points_.size() < 2) fault("a GraphicEQ line needs two points at least");
  }

  bool read_point(std::string_view pair) {
    const auto words = words_of(pair);
    const auto frequency = words.size() == 2 ? number_of(words[0]) : std::nullopt;
    const auto level = words.size() == 2 ? number_of(words[1]) : std::nullopt;
    if (!frequency || !level) {
      fault(quoted(pair), " isn't a frequency and a level");
    } else if (*frequency <= 0 || *frequency > 192000) {
      fault(printed("the frequency %.10g is out of range", *frequency));
    } else if (*level < -60 || *level > 30) {
      fault(printed("the level %.10g is out of range, it goes from -60 to 30 dB", *level));
    } else if (!points_.empty() && *frequency <= points_.back().frequency) {
      fault("the frequencies must rise: ", quoted(pair));
    } else {
      points_.push_back({*frequency, *level});
      return true;
    }
    return false;
  }

  // The sections for the points, and what the preamp has to add.
  double fit() {
    const fitted_curve curve = fit_curve(points_);
    filters_ = curve.sections;
    report_ += std::to_string(points_.size()) + " points fitted by ten sections: off by " +
               printed("%.2f dB (rms), %.2f dB at the most", curve.rms, curve.largest) +
               printed(" (at %.0f Hz)", curve.largest_at);
    if (std::abs(curve.offset) >= 0.005)
      report_ += printed("; %+.2f dB at all frequencies go into the preamp", curve.offset);
    report_ += '\n';
    return curve.offset;
  }

  void say_what_was_taken() {
    const auto count = filters_.size();
    if (points_.empty())
      report_ +=
          std::to_string(count) + (count == 1 ? " filter" : " filters") +
          (left_out_ > 0 ? "; " + std::to_string(left_out_) + " off or None, left out" : "") +
          (without_q_ > 0
               ? "; " + std::to_string(without_q_) + printed(" without a Q got %g", kButterworth)
               : "") +
          "\n";
    if (count > kPerEqualizer)
      report_ +=
          "more than ten filters: " + std::to_string((count + kPerEqualizer - 1) / kPerEqualizer) +
          " parametric equalizers in a row\n";
  }

  // Says how much the curve raises, and gives the preamp.
  double make_room(double preamp, bool automatic) {
    double most = 0, at = 0;
    for (double frequency = 20; frequency <= 20000; frequency *= std::exp2(1.0 / 96)) {
      const double level = level_of(filters_, frequency, kRate);
      if (level <= most) continue;
      most = level;
      at = frequency;
    }
    report_ += most > 0 ? printed("the sections raise up to %.2f dB (at %.0f Hz)", most, at)
                        : "the sections raise nothing";
    if (automatic) {
      preamp = std::max(most > 0 ? -std::ceil(most * 10) / 10 : 0.0, -30.0);
      report_ += printed("; preamp set to %.1f dB\n", preamp);
    } else {
      report_ += printed("; the preamp, %.2f dB, ", preamp);
      const double over = most + preamp;
      report_ +=
          over <= 0 ? printed("covers that: %.2f dB to spare\n", 0.0 - over)
                    : printed("doesn't cover that: loud sounds will clip by up to %.2f dB\n", over);
    }
    const range its = range_of("preamp", "");
    return std::clamp(preamp, its.minimum, its.maximum);
  }

  rack_settings settings(double preamp) const {
    rack_settings result;
    for (size_t first = 0; first == 0 || first < filters_.size(); first += kPerEqualizer) {
      slot_settings slot{.effect = &equalizer(), .enabled = true, .values = {}};
      for (int k = 0; k < equalizer().parameter_count; ++k)
        slot.values.push_back(equalizer().parameters[k].initial);
      const auto set = [&](const std::string& id, double value) {
        slot.values[static_cast<size_t>(parameter_index(id))] = value;
      };
      if (first == 0) set("preamp", preamp);
      for (size_t k = 0; k < kPerEqualizer && first + k < filters_.size(); ++k) {
        const std::string band = "band" + std::to_string(k + 1);
        const equalizer_section& one = filters_[first + k];
        set(band + "_type", static_cast<double>(one.type));
        set(band + "_frequency", one.frequency);
        set(band + "_gain", one.gain);
        set(band + "_q", one.q);
      }
      result.slots.push_back(slot);
    }
    return result;
  }

  int line_ = 0;
  int faults_ = 0;
  int left_out_ = 0;   // filters that are off, or of type None
  int without_q_ = 0;  // those that got the default
  std::string report_;
  std::optional<double> preamp_;
  std::vector<equalizer_section> filters_;
  std::vector<curve_point> points_;
};

}  // namespace

imported_equalizer import_equalizer(std::string_view text, bool auto_preamp) {
  reader reader;
  reader.read(text);
  return reader.result(auto_preamp);
}
