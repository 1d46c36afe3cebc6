// sonx effects: the catalogue, as tables and as JSON.
#include <sonx/rack.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "messages.h"
#include "numbered_id.h"
#include "rack_host.h"
#include "text_table.h"

namespace sonx {

namespace {

const char* const kFooter =
    R"(An effect's id and its parameters' ids are the words of --set, --at and presets.
What is numbered alike stands in one line: band1..10_gain is band1_gain to
band10_gain.

Examples:
  sonx effects
  sonx effects reverb
  sonx effects --json)";

struct effects_options {
  std::vector<std::string> ids;
  bool json = false;
};

std::vector<int> rates_of(const sonx_effect& effect) {
  return {effect.rates, effect.rates + effect.rate_count};
}

nlohmann::ordered_json to_json(const sonx_parameter& parameter) {
  static const char* const kKinds[] = {"number", "switch", "choice"};
  nlohmann::ordered_json json = {{"id", parameter.id},
                                 {"name", parameter.name},
                                 {"unit", parameter.unit},
                                 {"description", parameter.description},
                                 {"kind", kKinds[parameter.kind]},
                                 {"minimum", parameter.minimum},
                                 {"maximum", parameter.maximum},
                                 {"initial", parameter.initial},
                                 {"step", parameter.step},
                                 {"logarithmic", parameter.logarithmic != 0}};
  if (parameter.kind == SONX_CHOICE)
    json["choices"] =
        std::vector<std::string>(parameter.choices, parameter.choices + parameter.choice_count);
  return json;
}

nlohmann::ordered_json to_json(const sonx_effect& effect) {
  nlohmann::ordered_json json = {{"id", effect.id},
                                 {"name", effect.name},
                                 {"category", effect.category},
                                 {"description", effect.description},
                                 {"inputs", effect.inputs},
                                 {"outputs", effect.outputs},
                                 {"rates", rates_of(effect)},
                                 {"parameters", nlohmann::ordered_json::array()}};
  for (int k = 0; k < effect.parameter_count; ++k)
    json["parameters"].push_back(to_json(effect.parameters[k]));
  return json;
}

// The parameters that one line of the table stands for.
struct parameter_row {
  numbered_id id;
  std::vector<const sonx_parameter*> members;

  bool takes(const sonx_parameter& other) const {
    const numbered_id its(other.id);
    const sonx_parameter& first = *members.front();
    return its.number != 0 && its.before == id.before && its.after == id.after &&
           its.number == id.number + static_cast<int>(members.size()) &&
           first.minimum == other.minimum && first.maximum == other.maximum;
  }
  std::string name() const {
    if (members.size() == 1) return members.front()->id;
    const int last = id.number + static_cast<int>(members.size()) - 1;
    return id.before + std::to_string(id.number) + ".." + std::to_string(last) + id.after;
  }
  std::string initial() const {
    const sonx_parameter &first = *members.front(), &last = *members.back();
    std::string text = value_text(first, first.initial);
    if (last.initial != first.initial) text += " .. " + value_text(last, last.initial);
    return text;
  }
};

std::vector<parameter_row> rows_of(const sonx_effect& effect) {
  std::vector<parameter_row> rows;
  for (int k = 0; k < effect.parameter_count; ++k) {
    const sonx_parameter& parameter = effect.parameters[k];
    const auto home = std::find_if(rows.begin(), rows.end(),
                                   [&](const parameter_row& row) { return row.takes(parameter); });
    if (home == rows.end())
      rows.push_back({numbered_id(parameter.id), {&parameter}});
    else
      home->members.push_back(&parameter);
  }
  return rows;
}

std::string range_text(const sonx_parameter& parameter) {
  if (parameter.kind == SONX_SWITCH) return "on, off";
  std::string text;
  if (parameter.kind == SONX_CHOICE) {
    for (int k = 0; k < parameter.choice_count; ++k)
      text.append(k > 0 ? ", " : "").append(parameter.choices[k]);
    return text;
  }
  char range[96];
  std::snprintf(range, sizeof range, "%g .. ", parameter.minimum);
  text = range + value_text(parameter, parameter.maximum);
  if (parameter.step != 0 && parameter.step != 1) {
    std::snprintf(range, sizeof range, " by %g", parameter.step);
    text += range;
  }
  return text;
}

void print_effect(const sonx_effect& effect) {
  const auto sides = [](int count) { return count == 1 ? "mono" : "stereo"; };
  say("%s: %s\n%s\n%s to %s, at %s Hz\n\n", effect.id, effect.name, effect.description,
      sides(effect.inputs), sides(effect.outputs), rates_text(rates_of(effect)).c_str());
  text_table table({"parameter", "default", "range", ""});
  for (const parameter_row& row : rows_of(effect))
    table.add({row.name(), row.initial(), range_text(*row.members.front()),
               row.members.front()->description});
  table.print();
}

void print_all() {
  text_table table({"effect", "category", "parameters", "rates, kHz", ""});
  for (int i = 0; i < sonx_effect_count(); ++i) {
    const sonx_effect& effect = *sonx_effect_at(i);
    std::string rates;
    for (const int rate : rates_of(effect)) {
      char text[32];
      std::snprintf(text, sizeof text, "%s%g", rates.empty() ? "" : " ", rate / 1000.0);
      rates += text;
    }
    table.add({effect.id, effect.category, std::to_string(effect.parameter_count), rates,
               effect.description});
  }
  table.print();
}

std::vector<const sonx_effect*> named_effects(const std::vector<std::string>& ids) {
  std::vector<const sonx_effect*> effects;
  for (const std::string& id : ids) effects.push_back(&require_effect(id));
  if (!ids.empty()) return effects;
  for (int i = 0; i < sonx_effect_count(); ++i) effects.push_back(sonx_effect_at(i));
  return effects;
}

void run(const effects_options& options) {
  const auto effects = named_effects(options.ids);
  if (options.json) {
    auto all = nlohmann::ordered_json::array();
    for (const sonx_effect* effect : effects) all.push_back(to_json(*effect));
    say("%s\n",
        nlohmann::ordered_json{{"version", sonx_rack_version()}, {"effects", all}}.dump(2).c_str());
    return;
  }
  if (options.ids.empty()) return print_all();
  for (size_t i = 0; i < effects.size(); ++i) {
    if (i > 0) say("\n");
    print_effect(*effects[i]);
  }
}

}  // namespace

void add_effects_command(CLI::App& app) {
  CLI::App* command =
      app.add_subcommand("effects", "what effects there are, with their parameters");
  auto options = std::make_shared<effects_options>();
  command->footer(kFooter);
  command->add_option("ID", options->ids, "effects to tell of; without it all")
      ->type_name("EFFECT");
  command->add_flag("--json", options->json, "as JSON, with everything that is known of them");
  command->callback([options] { run(*options); });
}

}  // namespace sonx
