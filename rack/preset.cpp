#include "preset.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <new>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "parameters.h"

// The parser returns its error: the exception that it throws otherwise can't be made without memory.
#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace {

constexpr int kVersion = 1;

// A parameter's place in a list of tables: band3_gain is `gain` in the third table of `band`.
struct list_place {
  std::string_view list;
  int number;  // from 1
  std::string_view key;

  bool operator==(const list_place&) const = default;
};

std::optional<list_place> place_in_list(std::string_view id) {
  const size_t digits = std::min(id.find_first_of("0123456789"), id.size());
  int number = 0;
  const auto [end, fault] = std::from_chars(id.data() + digits, id.data() + id.size(), number);
  const size_t mark = static_cast<size_t>(end - id.data());
  if (fault != std::errc() || digits == 0 || mark + 1 >= id.size() || id[mark] != '_')
    return std::nullopt;
  return list_place{id.substr(0, digits), number, id.substr(mark + 1)};
}

// The index of the first parameter for which is_it(parameter) holds, or -1.
template <typename Predicate>
int find_parameter(const sonx_effect& effect, Predicate is_it) {
  const sonx_parameter* const end = effect.parameters + effect.parameter_count;
  const sonx_parameter* const found = std::find_if(effect.parameters, end, is_it);
  return found == end ? -1 : static_cast<int>(found - effect.parameters);
}

int find_parameter(const sonx_effect& effect, std::string_view id) {
  return find_parameter(effect, [&](const sonx_parameter& p) { return p.id == id; });
}

int find_parameter(const sonx_effect& effect, const list_place& place) {
  return find_parameter(effect,
                        [&](const sonx_parameter& p) { return place_in_list(p.id) == place; });
}

// How many tables a list of an effect has; 0: the effect has no such list.
int list_length(const sonx_effect& effect, std::string_view list) {
  int length = 0;
  for (int k = 0; k < effect.parameter_count; ++k) {
    const auto place = place_in_list(effect.parameters[k].id);
    if (place && place->list == list) length = std::max(length, place->number);
  }
  return length;
}

// The shortest text that reads back as the same number. A continuous number shows that it is one.
std::string number_text(double value, bool continuous = false) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value + 0.0).ptr;  // no -0
  std::string number(text, end);
  if (continuous && number.find_first_of(".e") == std::string::npos) number += ".0";
  return number;
}

}  // namespace

// Reading.
namespace {

using words = std::vector<std::string_view>;

// A piece of the text to be shown in a message: one short line, cut between two characters.
std::string in_quotes(std::string_view piece) {
  constexpr size_t kLongest = 40;
  std::string shown = "\"";
  for (const char c : piece.substr(0, kLongest))
    shown += static_cast<unsigned char>(c) < ' ' || c == '\x7F' ? '?' : c;
  if (piece.size() > kLongest) {
    const auto inside = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
    for (size_t cut = kLongest; cut > 0 && inside(piece[cut]); --cut) shown.pop_back();
    shown += "..";
  }
  return shown += '"';
}

// How many letters to change, leave out, put in or exchange with their neighbours.
int edit_distance(std::string_view a, std::string_view b) {
  std::vector<int> before, last, row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (size_t i = 1; i <= a.size(); ++i) {
    before = std::exchange(last, row);
    row[0] = static_cast<int>(i);
    for (size_t j = 1; j <= b.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
  }
  return row[b.size()];
}

// ", did you mean ..?", or nothing if no word is near.
std::string suggestion(std::string_view wrong, const words& known) {
  constexpr size_t kLongest = 64;
  if (wrong.size() > kLongest) return "";
  int least = std::max(2, static_cast<int>(wrong.size()) / 3) + 1;
  std::string_view nearest;
  for (const std::string_view word : known) {
    const int distance = edit_distance(wrong, word);
    if (distance < least && distance < static_cast<int>(word.size())) {
      least = distance;
      nearest = word;
    }
  }
  return nearest.empty() ? "" : ", did you mean " + in_quotes(nearest) + "?";
}

// "44100, 48000 and 96000".
std::string enumeration(const int* values, int count) {
  std::string text;
  for (int k = 0; k < count; ++k) {
    if (k > 0) text += k == count - 1 ? " and " : ", ";
    text += number_text(values[k]);
  }
  return text;
}

const char* type_text(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return "a table";
    case toml::node_type::array:
      return "a list";
    case toml::node_type::string:
      return "a string";
    case toml::node_type::integer:
    case toml::node_type::floating_point:
      return "a number";
    case toml::node_type::boolean:
      return "true or false";
    default:
      return "a date or time";
  }
}

// Walks through the tables, fills in the settings and keeps the fault that stands first in the text.
class preset_reader {
 public:
  explicit preset_reader(int rate) : rate_(rate) {}

  void read(const toml::table& root, rack_settings& out) {
    if (!read_version(root)) return;
    for (const auto& [key, node] : root) {
      if (key == "name")
        read_string(key, node, out.name);
      else if (key == "enabled")
        read_switch(key, node, out.enabled);
      else if (key == "effect")
        read_tables(key, node, INT_MAX,
                    [&](const toml::table& table, int) { out.slots.push_back(read_slot(table)); });
      else if (key != "sonx")
        fault(key, "unknown key ", in_quotes(key),
              suggestion(key, {"sonx", "name", "enabled", "effect"}));
    }
  }

  bool failed() const { return failed_; }
  std::string take_error() { return std::move(error_); }

 private:
  template <typename... Pieces>
  void fault_at(const toml::source_position& place, const Pieces&... pieces) {
    if (failed_ && !(place < first_)) return;
    error_ = "line " + number_text(place.line) + ": ";
    (error_ += ... += pieces);
    first_ = place;
    failed_ = true;
  }
  template <typename Node, typename... Pieces>
  void fault(const Node& node, const Pieces&... pieces) {
    fault_at(node.source().begin, pieces...);
  }
  void wrong_type(const toml::key& key, const toml::node& node, const char* expected) {
    fault(node, key.str(), " takes ", expected, ", not ", type_text(node));
  }

  bool read_version(const toml::table& root) {
    const auto found = root.find("sonx");
    if (found == root.end()) {
      fault_at({1, 1},
               "the version is missing, a preset begins with sonx = ", number_text(kVersion));
    } else if (const auto* const version = found->second.as_integer(); !version) {
      wrong_type(found->first, found->second, "a whole number");
    } else if (version->get() > kVersion) {
      fault(*version, "preset version ", std::to_string(version->get()),
            " is newer than this library, which reads version ", number_text(kVersion));
    } else if (version->get() < 1) {
      fault(*version, "there is no preset version ", std::to_string(version->get()));
    }
    return !failed_;
  }

  void read_string(const toml::key& key, const toml::node& node, std::string& out) {
    if (const auto* const value = node.as_string())
      out = value->get();
    else
      wrong_type(key, node, "a string");
  }

  void read_switch(const toml::key& key, const toml::node& node, bool& out) {
    if (const auto* const value = node.as_boolean())
      out = value->get();
    else
      wrong_type(key, node, "true or false");
  }

  // Calls visit(table, number) for each table of a list; numbers begin with 1.
  template <typename Visit>
  void read_tables(const toml::key& key, const toml::node& node, int longest, Visit visit) {
    const toml::array* const list = node.as_array();
    if (!list) return wrong_type(key, node, "a list of tables");
    int number = 0;
    for (const toml::node& element : *list) {
      if (++number > longest)
        return fault(element, key.str(), " has ", number_text(longest), " tables at the most");
      if (const toml::table* const table = element.as_table())
        visit(*table, number);
      else
        wrong_type(key, element, "a list of tables");
    }
  }

  slot_settings read_slot(const toml::table& table) {
    slot_settings slot;
    slot.effect = read_effect(table);
    if (!slot.effect) return slot;
    const sonx_effect& effect = *slot.effect;
    for (int k = 0; k < effect.parameter_count; ++k)
      slot.values.push_back(effect.parameters[k].initial);
    std::vector<bool> given(slot.values.size());

    for (const auto& [key, node] : table) {
      if (key == "id") continue;
      if (key == "enabled")
        read_switch(key, node, slot.enabled);
      else if (const int length = list_length(effect, key))
        read_list(key, node, length, slot, given);
      else
        read_value(key, node, find_parameter(effect, key.str()), keys_of(effect), slot, given);
    }
    return slot;
  }

  const sonx_effect* read_effect(const toml::table& table) {
    const auto found = table.find("id");
    if (found == table.end()) return fault(table, "an effect without an id"), nullptr;
    std::string id;
    read_string(found->first, found->second, id);
    if (failed_) return nullptr;

    words known;
    for (int k = 0; k < sonx_effect_count(); ++k) {
      const sonx_effect* const effect = sonx_effect_at(k);
      known.push_back(effect->id);
      if (id != effect->id) continue;
      if (std::count(effect->rates, effect->rates + effect->rate_count, rate_) == 0)
        fault(found->second, id, " doesn't run at ", number_text(rate_), " Hz, but at ",
              enumeration(effect->rates, effect->rate_count), " Hz");
      return effect;
    }
    fault(found->second, "unknown effect ", in_quotes(id), suggestion(id, known));
    return nullptr;
  }

  void read_list(const toml::key& list, const toml::node& node, int length, slot_settings& slot,
                 std::vector<bool>& given) {
    read_tables(list, node, length, [&](const toml::table& table, int number) {
      for (const auto& [key, value] : table) {
        const int index = find_parameter(*slot.effect, list_place{list, number, key});
        read_value(key, value, index, keys_of(*slot.effect, list, number), slot, given);
      }
    });
  }

  // One parameter. index -1: the key isn't among the known ones.
  void read_value(const toml::key& key, const toml::node& node, int index, const words& known,
                  slot_settings& slot, std::vector<bool>& given) {
    if (index < 0)
      return fault(key, "unknown key ", in_quotes(key), " in ", slot.effect->id,
                   suggestion(key, known));
    const auto at = static_cast<size_t>(index);
    const sonx_parameter& parameter = slot.effect->parameters[index];
    if (given[at]) return fault(key, parameter.id, " is given twice");
    given[at] = true;
    switch (parameter.kind) {
      case SONX_NUMBER:
        return read_number(key, node, parameter, slot.values[at]);
      case SONX_CHOICE:
        return read_choice(key, node, parameter, slot.values[at]);
      case SONX_SWITCH:
        bool on = slot.values[at] != 0.0;
        read_switch(key, node, on);
        slot.values[at] = on;
    }
  }

  void read_number(const toml::key& key, const toml::node& node, const sonx_parameter& parameter,
                   double& out) {
    const auto value = node.is_number() ? node.value<double>() : std::nullopt;
    if (!value) return wrong_type(key, node, "a number");
    if (!(*value >= parameter.minimum && *value <= parameter.maximum))
      return fault(node, key.str(), " = ", number_text(*value), " is out of range, it goes from ",
                   number_text(parameter.minimum), " to ", number_text(parameter.maximum),
                   *parameter.unit ? " " : "", parameter.unit);
    out = settled(parameter, *value) + 0.0;  // no -0
  }

  void read_choice(const toml::key& key, const toml::node& node, const sonx_parameter& parameter,
                   double& out) {
    const auto* const value = node.as_string();
    if (!value) return wrong_type(key, node, "a string");
    const words known(parameter.choices, parameter.choices + parameter.choice_count);
    const auto found = std::find(known.begin(), known.end(), value->get());
    if (found != known.end()) {
      out = static_cast<double>(found - known.begin());
      return;
    }
    std::string hint = suggestion(value->get(), known);
    if (hint.empty()) {
      hint = ", it is one of";
      for (const std::string_view word : known) hint.append(" ").append(word);
    }
    fault(node, key.str(), " has no choice ", in_quotes(value->get()), hint);
  }

  // The keys that an effect's table takes.
  static words keys_of(const sonx_effect& effect) {
    words keys = {"id", "enabled"};
    for (int k = 0; k < effect.parameter_count; ++k) {
      const char* const id = effect.parameters[k].id;
      keys.push_back(id);
      if (const auto place = place_in_list(id); place && place->number == 1)
        keys.push_back(place->list);
    }
    return keys;
  }
  // The keys that a table of a list takes.
  static words keys_of(const sonx_effect& effect, std::string_view list, int number) {
    words keys;
    for (int k = 0; k < effect.parameter_count; ++k) {
      const auto place = place_in_list(effect.parameters[k].id);
      if (place && place->list == list && place->number == number) keys.push_back(place->key);
    }
    return keys;
  }

  int rate_;
  bool failed_ = false;
  toml::source_position first_ = {};
  std::string error_;
};

std::string_view line_of(std::string_view text, unsigned number) {
  for (; number > 1 && !text.empty(); --number)
    text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
  text = text.substr(0, text.find_first_of("\r\n"));
  return text.substr(std::min(text.find_first_not_of(" \t"), text.size()));
}

// What a word of the parser's message means to who has written the preset.
std::string_view plain_words(std::string_view message) {
  static constexpr std::pair<std::string_view, std::string_view> kWords[] = {
      {"end-of-file", "the text ends before this does"},
      {"utf-8", "the file isn't text in UTF-8"},
      {"could not determine", "a text stands in quotes"},
      {"control characters", "a text ends with a quote on its own line"},
      {"cannot redefine", "it stands there already, further up"},
      {"comment or whitespace", "something is left over behind the value"},
      {"expected value", "the value is missing"},
      {"expected '='", "a setting is a name, = and a value"},
      {"expected keys", "a line is [[effect]], or a name, = and a value"},
      {"']'", "a closing ] is missing"},
      {"'}'", "a closing } is missing"},
      {"zeroes", "a number doesn't begin with 0"},
  };
  for (const auto& [word, meaning] : kWords)
    if (message.find(word) != message.npos) return meaning;
  const size_t colon = message.find(": ");  // "Error while parsing array: "
  return colon == message.npos ? message : message.substr(colon + 2);
}

std::string syntax_error(std::string_view text, const toml::parse_error& fault) {
  const unsigned line = fault.source().begin.line;
  std::string error = "line " + number_text(line) + ": ";
  const std::string_view meaning = plain_words(fault.description());
  if (meaning.find("UTF-8") == meaning.npos)
    error += "can't read " + in_quotes(line_of(text, line)) + ": ";
  for (const char c : meaning) error += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
  return error;
}

}  // namespace

bool parse_preset(std::string_view text, int rate, rack_settings& out, std::string& error) {
  try {
    const toml::parse_result root = toml::parse(text);
    if (!root) {
      error = syntax_error(text, root.error());
      return false;
    }
    rack_settings settings;
    preset_reader reader(rate);
    reader.read(root.table(), settings);
    if (reader.failed()) {
      error = reader.take_error();
      return false;
    }
    out = std::move(settings);
    return true;
  } catch (const std::bad_alloc&) {
    error = "out of memory";  // short enough to need none
    return false;
  }
}

// Writing.
namespace {

// A basic string: what isn't plain is escaped.
std::string string_text(std::string_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string out = "\"";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\')
      (out += '\\') += c;
    else if (byte < ' ' || byte == 0x7F)
      ((out += "\\u00") += kDigits[byte >> 4]) += kDigits[byte & 15];
    else
      out += c;
  }
  return out += '"';
}

std::string value_text(const sonx_parameter& parameter, double value) {
  switch (parameter.kind) {
    case SONX_SWITCH:
      return value != 0.0 ? "true" : "false";
    case SONX_CHOICE:
      return string_text(parameter.choices[static_cast<int>(value)]);
    default:
      return number_text(value, parameter.step < 1.0);
  }
}

// One table of a list, or nothing if all its values are initial.
std::string table_text(const slot_settings& slot, std::string_view list, int number) {
  std::string text;
  bool all_initial = true;
  for (size_t k = 0; k < slot.values.size(); ++k) {
    const sonx_parameter& parameter = slot.effect->parameters[k];
    const auto place = place_in_list(parameter.id);
    if (!place || place->list != list || place->number != number) continue;
    if (!text.empty()) text += ", ";
    text.append(place->key).append(" = ").append(value_text(parameter, slot.values[k]));
    all_initial = all_initial && slot.values[k] == parameter.initial;
  }
  return all_initial ? "" : text;
}

// A list as far as its last table that says something.
std::string list_text(const slot_settings& slot, std::string_view list) {
  std::string text, unsaid;
  for (int number = 1; number <= list_length(*slot.effect, list); ++number) {
    const std::string table = table_text(slot, list, number);
    if (table.empty()) {
      unsaid += "  {},\n";
    } else {
      text.append(unsaid).append("  { ").append(table).append(" },\n");
      unsaid.clear();
    }
  }
  return text.empty() ? "" : std::string(list).append(" = [\n").append(text).append("]\n");
}

std::string slot_text(const slot_settings& slot) {
  std::string text = "\n[[effect]]\nid = " + string_text(slot.effect->id) + "\n";
  if (!slot.enabled) text += "enabled = false\n";
  words lists;
  for (size_t k = 0; k < slot.values.size(); ++k) {
    const sonx_parameter& parameter = slot.effect->parameters[k];
    const auto place = place_in_list(parameter.id);
    if (!place) {
      text.append(parameter.id) += " = " + value_text(parameter, slot.values[k]) + "\n";
    } else if (std::find(lists.begin(), lists.end(), place->list) == lists.end()) {
      lists.push_back(place->list);
      text += list_text(slot, place->list);
    }
  }
  return text;
}

}  // namespace

std::string write_preset(const rack_settings& settings) {
  std::string text = "sonx = " + number_text(kVersion) + "\n";
  if (!settings.name.empty()) text += "name = " + string_text(settings.name) + "\n";
  if (!settings.enabled) text += "enabled = false\n";
  for (const slot_settings& slot : settings.slots) text += slot_text(slot);
  return text;
}
