#include "settings.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "messages.h"

namespace sonx {

namespace {

constexpr int kUnity = 8192;  // 1.0 in Q13
constexpr int kBands = 10;
constexpr int kBandLimit = 15;  // dB
constexpr int kAdapters = 7;
constexpr int kFirstDataWord = 2;

const char* const kEffectNames[] = {"none", "widening", "bass", "preset", "reverb", "eq"};
constexpr int kEffects = 6;

// The reverb's data words, in their order, with the default of a medium room.
struct reverb_word {
  const char* name;
  int initial;  // Q13
  const char* help;
};
constexpr reverb_word kReverbWords[] = {
    {"room", 4096, "size of the room: how slowly the tail decays"},
    {"damp", 4096, "loss of treble in the tail"},
    {"wet", 5461, "level of the reverberation"},
    {"dry", 4096, "level of the direct sound (50% is unity)"},
    {"width", 8192, "stereo width of the reverberation"},
    {"gain", 127, "level into the reverberator; far above the default the tail saturates"},
};

[[noreturn]] void fail(const std::string& text) { throw std::runtime_error(text); }

int parse_effect(const std::string& text) {
  for (int effect = 0; effect < kEffects; ++effect) {
    if (text == kEffectNames[effect]) return effect;
  }
  if (!text.empty() && text.find_first_not_of("0123456789") == std::string::npos) {
    return parse_in_range(text, "effect", 0, kEffects - 1);
  }
  const std::string near =
      suggestion(text, std::vector<std::string>(std::begin(kEffectNames), std::end(kEffectNames)));
  fail("there is no effect '" + text + "'" +
       (near.empty() ? ": 0 none, 1 widening, 2 bass, 3 preset, 4 reverb, 5 eq" : near));
}

}  // namespace

int parse_in_range(const std::string& text, const std::string& what, long long low,
                   long long high) {
  const long long value = parse_integer(text, what);
  if (value < low || value > high) {
    fail(what + " must be from " + std::to_string(low) + " to " + std::to_string(high) + ", not '" +
         text + "'");
  }
  return static_cast<int>(value);
}

std::vector<std::string> split(const std::string& text, const char* separators) {
  std::vector<std::string> parts(1);
  for (const char c : text) {
    if (std::strchr(separators, c) != nullptr) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

void effect_settings::set(const std::string& name, const std::string& value) {
  if (name == "effect") {
    const int effect = parse_effect(value);
    if (effect != record_.effect_type) {
      std::fill(std::begin(record_.data), std::end(record_.data), 0);
      origins_.fill(origin::by_default);
    }
    record_.effect_type = effect;
    return;
  }
  if (name == "adapter") {
    record_.hpadapter_type = parse_in_range(value, "adapter", 0, kAdapters);
    return;
  }
  if (name == "eq") return set_equalizer(value);
  for (size_t i = 0; i < std::size(kReverbWords); ++i) {
    if (name != kReverbWords[i].name) continue;
    if (record_.effect_type != SONX_EFFECT_REVERB) fail("'" + name + "' needs effect reverb");
    return set_word(i, parse_level(value, name, kUnity, kUnity),
                    value.ends_with('%') ? origin::percent : origin::word);
  }
  if (name.empty() || name.find_first_not_of("0123456789") != std::string::npos) {
    std::vector<std::string> known = {"effect", "adapter", "eq"};
    for (const reverb_word& word : kReverbWords) known.push_back(word.name);
    fail("there is no setting '" + name + "'" + suggestion(name, known));
  }
  const int word = parse_in_range(name, "a word's number", kFirstDataWord, 30);
  set_word(static_cast<size_t>(word - kFirstDataWord),
           parse_in_range(value, "word " + name, std::numeric_limits<int32_t>::min(),
                          std::numeric_limits<int32_t>::max()),
           origin::word);
}

void effect_settings::set_word(size_t index, int value, origin from) {
  record_.data[index] = value;
  origins_[index] = from;
}

void effect_settings::set_equalizer(const std::string& value) {
  if (record_.effect_type != SONX_EFFECT_GRAPHIC_EQUALIZER) fail("'eq' needs effect eq");
  const auto bands = split(value, ",/");
  if (bands.size() > kBands) {
    fail("the equalizer has ten bands, not " + std::to_string(bands.size()));
  }
  for (size_t band = 0; band < kBands; ++band) {
    const int gain = band < bands.size() ? parse_in_range(bands[band], "an equalizer band (dB)",
                                                          -kBandLimit, kBandLimit)
                                         : 0;
    set_word(band, gain, origin::word);
  }
}

audio_effect_control_acdb_t effect_settings::record() const {
  audio_effect_control_acdb_t record = record_;
  if (record.effect_type == SONX_EFFECT_REVERB) {
    for (size_t i = 0; i < std::size(kReverbWords); ++i) {
      if (origins_[i] == origin::by_default) record.data[i] = kReverbWords[i].initial;
    }
  }
  return record;
}

std::string short_name(const audio_effect_control_acdb_t& record) {
  std::string name = kEffectNames[record.effect_type];
  if (record.hpadapter_type != 0) name += " + adapter " + std::to_string(record.hpadapter_type);
  return name;
}

std::string effect_settings::describe() const {
  const audio_effect_control_acdb_t words = record();
  std::string text = short_name(words);
  if (words.effect_type == SONX_EFFECT_REVERB) {
    for (size_t i = 0; i < std::size(kReverbWords); ++i) {
      const double percent = 100.0 * words.data[i] / kUnity;
      char value[64];
      if (origins_[i] == origin::percent) {
        std::snprintf(value, sizeof value, "%.4g %% (%d in Q13)", percent, words.data[i]);
      } else if (origins_[i] == origin::word) {
        std::snprintf(value, sizeof value, "%d in Q13 (%.4g %%)", words.data[i], percent);
      } else {
        std::snprintf(value, sizeof value, "%.4g %% by default", percent);
      }
      text += std::string(i == 0 ? ": " : ", ") + kReverbWords[i].name + " " + value;
    }
  } else if (words.effect_type == SONX_EFFECT_GRAPHIC_EQUALIZER) {
    for (int band = 0; band < kBands; ++band) {
      text += (band == 0 ? ": " : ", ") + std::to_string(words.data[band]);
    }
    text += " dB";
  }
  return text;
}

std::string effect_settings::idle_words() const {
  const int effect = record_.effect_type;
  const bool equalizes =
      effect == SONX_EFFECT_PARAMETRIC_EQUALIZER || effect == SONX_EFFECT_GRAPHIC_EQUALIZER;
  if (!equalizes || record_.hpadapter_type == 0) return "";
  return "adapter " + std::to_string(record_.hpadapter_type) + " is not applied beside effect " +
         kEffectNames[effect] + ", which is an equalizer itself";
}

std::vector<std::pair<std::string, std::string>> parse_pairs(const std::string& text) {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const std::string& part : split(text, ",/")) {
    const size_t equals = part.find('=');
    if (equals == 0 || (equals == std::string::npos && pairs.empty())) {
      fail("'" + part + "' is not of the form name=value");
    }
    if (equals == std::string::npos) {
      pairs.back().second += "," + part;
      continue;
    }
    pairs.emplace_back(part.substr(0, equals), part.substr(equals + 1));
  }
  return pairs;
}

long long parse_integer(const std::string& text, const std::string& what) {
  long long value = 0;
  const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, value);
  if (error != std::errc() || stop != end) {
    fail(what + " must be a whole number, not '" + text + "'");
  }
  return value;
}

double parse_number(const std::string& text, const std::string& what) {
  double value = 0;
  const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(begin, end, value);
  if (error != std::errc() || stop != end || !std::isfinite(value)) {
    fail(what + " must be a number, not '" + text + "'");
  }
  return value;
}

double parse_seconds(const std::string& text, const std::string& what) {
  const double value = parse_number(text, what);
  if (!(value >= 0 && value <= 1e6)) {
    fail(what + " must be a time in seconds, not '" + text + "'");
  }
  return value;
}

int parse_level(const std::string& text, const std::string& what, int unity, int highest) {
  if (!text.ends_with('%')) return parse_in_range(text, what, 0, highest);
  double percent = 0;
  const char* end = text.data() + text.size() - 1;
  const auto [stop, error] = std::from_chars(text.data(), end, percent);
  const double limit = 100.0 * highest / unity;
  if (error != std::errc() || stop != end || !(percent >= 0 && percent <= limit)) {
    char range[64];
    std::snprintf(range, sizeof range, "0%% to %g%% (or 0 to %d)", limit, highest);
    fail(what + " must be from " + range + ", not '" + text + "'");
  }
  return static_cast<int>(std::lround(percent / 100.0 * unity));
}

void effect_options::add_to(CLI::App& app) {
  std::string effects;
  for (const char* const name : kEffectNames) effects += std::string(name) + "|";
  app.add_option("--effect", effect_,
                 "by its name or number; without it the one that the other options belong to, or "
                 "none")
      ->type_name(effects + "0.." + std::to_string(kEffects - 1));
  app.add_option("--adapter", adapter_,
                 "correction for a headphone type; 0 is none (with effects preset and eq it is not "
                 "applied)")
      ->type_name("0.." + std::to_string(kAdapters));
  app.add_option("--words", words_, "data words of the record by number: 2=4915,3=1000")
      ->type_name("N=VALUE,..");
  app.add_option("--eq", equalizer_,
                 "ten band gains in whole dB, -15..15, from 31 Hz to 16 kHz: 3,2,0,... "
                 "(those left out are 0); for effect eq")
      ->type_name("DB,DB,..");
  for (size_t i = 0; i < std::size(kReverbWords); ++i) {
    const reverb_word& word = kReverbWords[i];
    char help[160];
    std::snprintf(help, sizeof help, "%s; for effect reverb [%.4g%%]", word.help,
                  100.0 * word.initial / kUnity);
    app.add_option(std::string("--") + word.name, reverb_[i], help)->type_name("PERCENT%|Q13");
  }
}

effect_settings effect_options::settings() const {
  const bool any_reverb = std::any_of(std::begin(reverb_), std::end(reverb_),
                                      [](const std::string& text) { return !text.empty(); });
  effect_settings settings;
  settings.set("effect", !effect_.empty()      ? effect_
                         : !equalizer_.empty() ? "eq"
                         : any_reverb          ? "reverb"
                                               : "none");
  if (!adapter_.empty()) settings.set("adapter", adapter_);
  if (!equalizer_.empty()) settings.set("eq", equalizer_);
  for (size_t i = 0; i < std::size(kReverbWords); ++i) {
    if (!reverb_[i].empty()) settings.set(kReverbWords[i].name, reverb_[i]);
  }
  if (!words_.empty()) {
    for (const auto& [name, value] : parse_pairs(words_)) {
      if (name.find_first_not_of("0123456789") != std::string::npos) {
        fail("--words takes word numbers, not '" + name + "'");
      }
      settings.set(name, value);
    }
  }
  return settings;
}

}  // namespace sonx
