// A user's way to name a headphone setting, and the parameter record that it stands for.
#pragma once

#include <hp/audio_effect_control.h>

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace sonx {

// The record under construction. Data words that nobody has set take the effect's defaults in
// record(); for the reverb that is a medium room, for all else zeros.
class effect_settings {
 public:
  // One setting by its name:
  //   effect   number or name; another effect than before drops the data words of the old one
  //   adapter  0..7
  //   eq       up to ten band gains in whole dB, separated by , or /
  //   room damp wet dry width gain   "60%" of full scale (8192) or the Q13 word itself, 0..8192
  //   2..30    that word of the record, any 32-bit value
  // Throws std::runtime_error for an unknown name or a value out of range.
  void set(const std::string& name, const std::string& value);

  audio_effect_control_acdb_t record() const;

  // In one line, and how each value was taken: "reverb: room 60 % (4915 in Q13), damp 1000 in Q13
  // (12.21 %), wet 66.66 % by default, ..".
  std::string describe() const;

  // What is set and not applied, in words, or nothing.
  std::string idle_words() const;

 private:
  enum class origin { by_default, percent, word };

  void set_equalizer(const std::string& value);
  void set_word(size_t index, int value, origin from);

  audio_effect_control_acdb_t record_{};
  std::array<origin, 29> origins_{};  // of the data words
};

// "reverb", "eq", "none + adapter 1": for tables and file names.
std::string short_name(const audio_effect_control_acdb_t& record);

// The parts between any of the separators.
std::vector<std::string> split(const std::string& text, const char* separators);

// "2=100,eq=3,2,0" into pairs. Parts are separated by , or /, and one without '=' goes on with the
// value before it. Throws when there is none.
std::vector<std::pair<std::string, std::string>> parse_pairs(const std::string& text);

// Strict number parsing; `what` names the option in the message of the std::runtime_error.
long long parse_integer(const std::string& text, const std::string& what);
int parse_in_range(const std::string& text, const std::string& what, long long low, long long high);
double parse_number(const std::string& text, const std::string& what);
double parse_seconds(const std::string& text, const std::string& what);

// A level as "60%" of `unity` or as the fixed-point word itself; throws outside 0..highest.
int parse_level(const std::string& text, const std::string& what, int unity, int highest);

// The options that name a setting, shared by the subcommands. settings() applies them in an order
// that makes sense whatever theirs was.
class effect_options {
 public:
  void add_to(CLI::App& app);
  effect_settings settings() const;

 private:
  std::string effect_;
  std::string adapter_;
  std::string words_;
  std::string equalizer_;
  std::string reverb_[6];
};

}  // namespace sonx
