#include "rack_host.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

#include "messages.h"
#include "preset_files.h"

namespace sonx {

namespace {

constexpr int kMaxFrames = 4096;

[[noreturn]] void fail(const std::string& text) { throw std::runtime_error(text); }

// A whole number of one or more digits; -1 for any other text.
int whole_number(const std::string& text) {
  int number = -1;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  return fault == std::errc() && end == text.data() + text.size() ? number : -1;
}

std::vector<std::string> ids_of_effects() {
  std::vector<std::string> ids;
  for (int i = 0; i < sonx_effect_count(); ++i) ids.emplace_back(sonx_effect_at(i)->id);
  return ids;
}

// Every rate that an effect has, and how many effects have it.
std::map<int, int> all_rates() {
  std::map<int, int> rates;
  for (int i = 0; i < sonx_effect_count(); ++i) {
    const sonx_effect& effect = *sonx_effect_at(i);
    for (int k = 0; k < effect.rate_count; ++k) ++rates[effect.rates[k]];
  }
  return rates;
}

// A choice by its word or its number.
double parse_choice(const sonx_parameter& parameter, const std::string& value) {
  const std::vector<std::string> words(parameter.choices,
                                       parameter.choices + parameter.choice_count);
  const auto found = std::find(words.begin(), words.end(), value);
  if (found != words.end()) return static_cast<double>(found - words.begin());
  std::string hint = suggestion(value, words);
  if (hint.empty()) {
    hint = ": it is one of";
    for (const std::string& word : words) hint += " " + word;
  }
  fail(std::string(parameter.id) + " has no choice '" + value + "'" + hint);
}

double parse_switch(const std::string& name, const std::string& value) {
  if (value == "on" || value == "true" || value == "1") return 1;
  if (value == "off" || value == "false" || value == "0") return 0;
  fail(name + " is on or off, not '" + value + "'");
}

double parse_number(const sonx_parameter& parameter, const std::string& value) {
  const size_t digits = value.starts_with('+') ? 1 : 0;
  double number = 0;
  const auto [end, fault] =
      std::from_chars(value.data() + digits, value.data() + value.size(), number);
  if (fault != std::errc() || end != value.data() + value.size() || std::isnan(number))
    fail(std::string(parameter.id) + " takes a number, not '" + value + "'");
  if (number < parameter.minimum || number > parameter.maximum)
    fail(std::string(parameter.id) + " = " + value + " is out of range: it goes from " +
         number_text(parameter.minimum) + " to " + value_text(parameter, parameter.maximum));
  return number;
}

double parse_value(const sonx_parameter& parameter, const std::string& value) {
  switch (parameter.kind) {
    case SONX_CHOICE:
      return parse_choice(parameter, value);
    case SONX_SWITCH:
      return parse_switch(parameter.id, value);
    default:
      return parse_number(parameter, value);
  }
}

// The load's own words, or nothing if the recipe runs at the rate.
std::string fault_at(const rack_recipe& recipe, int rate) {
  try {
    rack(recipe, rate);
    return "";
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

// A rack with each effect that is named, in the order of their first mention.
std::string preset_of(const std::vector<assignment>& sets) {
  std::string text = "sonx = 1\n";
  std::map<std::string, int> standing;
  for (const assignment& one : sets) {
    if (whole_number(one.effect) >= 0)
      fail("'" + one.text + "' names a slot by its number: that needs a --preset");
    require_effect(one.effect);
    for (int& count = standing[one.effect]; count < std::max(one.number, 1); ++count)
      text += "[[effect]]\nid = \"" + one.effect + "\"\n";
  }
  return text;
}

}  // namespace

std::string number_text(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value + 0.0).ptr};
}

const sonx_effect& require_effect(const std::string& id) {
  const sonx_effect* const effect = sonx_effect_find(id.c_str());
  if (effect == nullptr) fail("there is no effect '" + id + "'" + suggestion(id, ids_of_effects()));
  return *effect;
}

std::string read_text(const std::string& file) {
  if (std::filesystem::is_directory(file)) fail("'" + file + "' is a folder");
  errno = 0;
  std::ifstream in(file, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  if (!in || in.bad()) fail("cannot read '" + file + "': " + std::strerror(errno ? errno : EIO));
  return text.str();
}

assignment::assignment(const std::string& text_) : text(text_) {
  const size_t equals = text.find('='), dot = text.find('.');
  if (dot == std::string::npos || equals == std::string::npos || dot > equals || dot == 0 ||
      dot + 1 == equals)
    fail("'" + text + "' is not EFFECT.PARAMETER=VALUE");
  effect = text.substr(0, dot);
  parameter = text.substr(dot + 1, equals - dot - 1);
  value = text.substr(equals + 1);
  if (const size_t mark = effect.find('#'); mark != std::string::npos) {
    number = whole_number(effect.substr(mark + 1));
    if (number < 1) fail("'" + text + "': '" + effect.substr(mark) + "' is not a number from 1 on");
    effect.resize(mark);
  }
}

std::vector<int> rack_recipe::rates() const {
  const std::map<int, int> all = all_rates();
  std::vector<int> rates;
  for (const auto& [rate, effects] : all)
    if (fault_at(*this, rate).empty()) rates.push_back(rate);
  if (!rates.empty()) return rates;
  // The rate that most effects have: where no rate's the matter, it says what is.
  const auto usual = std::max_element(
      all.begin(), all.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
  fail(fault_at(*this, usual->first));
}

int rack_recipe::rate_for(int file_rate) const {
  const std::vector<int> all = rates();
  const auto above = std::lower_bound(all.begin(), all.end(), file_rate);
  return above == all.end() ? all.back() : *above;
}

rack::rack(const rack_recipe& recipe, int rate)
    : rate_(rate), state_(sonx_rack_create(rate, kMaxFrames)) {
  if (!state_) fail("no effect runs at " + std::to_string(rate) + " Hz");
  char error[512];
  if (sonx_rack_load(state_.get(), recipe.preset.c_str(), error, sizeof error) != 0)
    fail((recipe.label.empty() ? "" : "'" + recipe.label + "': ") + error);
  for (const assignment& one : recipe.sets) apply(find(one));
  if (recipe.bypass) enable(false);
}

// A text that the rack writes.
static std::string written(int (*write)(const sonx_rack*, char*, size_t), const sonx_rack* state) {
  const int length = write(state, nullptr, 0);
  if (length < 0) throw std::bad_alloc();
  std::string text(static_cast<size_t>(length) + 1, '\0');
  write(state, text.data(), text.size());
  text.pop_back();
  return text;
}

std::string rack::save() const { return written(sonx_rack_save, state_.get()); }

// Each of its own lines in what save() writes.
rack_notes rack::notes() const {
  rack_notes notes;
  std::istringstream lines(save());
  for (std::string line; std::getline(lines, line);) {
    if (line == "[[effect]]") notes.slot_enabled.push_back(true);
    if (line == "enabled = false" && notes.slot_enabled.empty()) notes.enabled = false;
    if (line == "enabled = false" && !notes.slot_enabled.empty()) notes.slot_enabled.back() = false;
    if (line.starts_with("name = \"") && notes.slot_enabled.empty())
      notes.name = line.substr(8, line.size() - 9);
  }
  return notes;
}

std::string rack::title() const {
  if (const std::string name = notes().name; !name.empty()) return name;
  if (slots() > 4) return "Rack of " + std::to_string(slots()) + " effects";
  std::string names;
  for (int i = 0; i < slots(); ++i) names += std::string(i ? ", " : "") + effect(i).name;
  return names.empty() ? "Empty rack" : names;
}

std::string rack::export_c() const { return written(sonx_rack_export_c, state_.get()); }

int rack::find_slot(const assignment& wanted) const {
  const std::string where = "'" + wanted.text + "': ";
  if (const int slot = whole_number(wanted.effect); slot >= 0) {
    if (slot >= 1 && slot <= slots()) return slot - 1;
    fail(where + "the rack has slots 1 to " + std::to_string(slots()));
  }
  require_effect(wanted.effect);
  std::vector<int> standing;
  for (int k = 0; k < slots(); ++k)
    if (wanted.effect == effect(k).id) standing.push_back(k);
  const auto count = static_cast<int>(standing.size());
  if (count == 0) fail(where + "the rack has no " + wanted.effect);
  if (wanted.number == 0 && count > 1)
    fail(where + wanted.effect + " stands there " + std::to_string(count) + " times: write " +
         wanted.effect + "#1 to " + wanted.effect + "#" + std::to_string(count));
  if (wanted.number > count)
    fail(where + wanted.effect + " stands there " + std::to_string(count) +
         (count == 1 ? " time" : " times"));
  return standing[static_cast<size_t>(std::max(wanted.number, 1) - 1)];
}

rack_change rack::find(const assignment& wanted) const {
  const int slot = find_slot(wanted);
  const sonx_effect& its = effect(slot);
  std::vector<std::string> ids = {"enabled"};
  for (int k = 0; k < its.parameter_count; ++k) ids.emplace_back(its.parameters[k].id);
  const auto found = std::find(ids.begin(), ids.end(), wanted.parameter);
  if (found == ids.end())
    fail(std::string(its.id) + " has no parameter '" + wanted.parameter + "'" +
         suggestion(wanted.parameter, ids));
  const int parameter = static_cast<int>(found - ids.begin()) - 1;
  return {slot, parameter,
          parameter < 0 ? parse_switch("enabled", wanted.value)
                        : parse_value(its.parameters[parameter], wanted.value)};
}

void rack::apply(const rack_change& change) {
  if (change.parameter < 0)
    sonx_rack_enable(state_.get(), change.slot, change.value != 0 ? 1 : 0);
  else
    sonx_rack_set(state_.get(), change.slot, change.parameter, change.value);
}

void rack_options::add_to(CLI::App& command) {
  command.add_option("--preset", preset, "the rack: a preset's file, or its name")
      ->type_name("PRESET");
  command
      .add_option("--set", sets,
                  "sets a parameter in its unit, reverb.room=60, or switches a slot, "
                  "reverb.enabled=off; reverb#2.room is the second reverb's, 3.room the third "
                  "slot's. Without --preset the rack has the effects that are named. Can be "
                  "repeated")
      ->type_name("EFFECT.PARAMETER=VALUE")
      ->expected(1)
      ->take_all()
      ->allow_extra_args(false);
}

rack_recipe rack_options::recipe() const {
  rack_recipe recipe;
  for (const std::string& text : sets) recipe.sets.emplace_back(text);
  if (preset.empty()) {
    recipe.preset = preset_of(recipe.sets);
  } else {
    recipe.label = preset_file(preset);
    if (!std::filesystem::exists(recipe.label))
      fail("there is no preset '" + preset + "'" + preset_suggestion(preset));
    recipe.preset = read_text(recipe.label);
  }
  return recipe;
}

rack_recipe read_recipe(const std::string& preset) {
  return rack_options{.preset = preset, .sets = {}}.recipe();
}

device make_device(const rack_recipe& recipe, int rate) {
  std::string label = recipe.label;
  for (const assignment& one : recipe.sets) label += (label.empty() ? "" : ", ") + one.text;
  return {label, rack(recipe, rate).latency(), [recipe, rate]() -> block_process {
            auto its = std::make_shared<rack>(recipe, rate);
            return [its, planes = std::vector<float>(2 * kBlock)](std::vector<float>& in,
                                                                  std::vector<float>& out) mutable {
              float* const at[] = {planes.data(), planes.data() + kBlock};
              for (size_t i = 0; i < in.size(); ++i) {
                in[i] = std::rint(in[i] * 0x1p23F) / 0x1p23F;  // as the rack takes it
                at[i % 2][i / 2] = in[i];
              }
              its->process(at, 2, static_cast<int>(kBlock));
              for (size_t i = 0; i < out.size(); ++i) out[i] = at[i % 2][i / 2];
            };
          }};
}

std::string value_text(const sonx_parameter& parameter, double value) {
  switch (parameter.kind) {
    case SONX_CHOICE:
      return parameter.choices[static_cast<int>(value)];
    case SONX_SWITCH:
      return value != 0 ? "on" : "off";
    default:
      return number_text(value) + (*parameter.unit ? " " : "") + parameter.unit;
  }
}

std::string rates_text(const std::vector<int>& rates) {
  std::string text;
  for (size_t k = 0; k < rates.size(); ++k)
    text += (k == 0 ? "" : k + 1 == rates.size() ? " and " : ", ") + std::to_string(rates[k]);
  return text;
}

}  // namespace sonx
