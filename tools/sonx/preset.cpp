// sonx preset: presets checked, shown and written.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "messages.h"
#include "pending_file.h"
#include "preset_files.h"
#include "rack_host.h"
#include "text_table.h"

namespace sonx {

namespace {

const char* const kFooter =
    R"(A preset is a file, or has a name: late-evening is late-evening.toml among your
own, in ~/.local/share/sonx/presets, or among those that are installed. A file
that is there comes first.

Examples:
  sonx preset list
  sonx preset show late-evening --set compressor.makeup=2
  sonx preset save mine --preset late-evening --set compressor.makeup=2
  sonx preset save room.toml --set reverb.room=60 --set reverb.dry=100
  sonx preset check presets/*.toml)";

struct preset_options {
  std::vector<std::string> files;
  std::string out = "-";
  rack_options rack;
  int rate = 0;
  bool all = false;
};

int count_faults(const std::vector<std::string>& files) {
  int faults = 0;
  for (const std::string& file : files) {
    try {
      const rack_recipe recipe = read_recipe(file);
      const std::vector<int> rates = recipe.rates();
      const int slots = rack(recipe, rates.back()).slots();
      say("%s: fine: %d effect%s, at %s Hz\n", file.c_str(), slots, slots == 1 ? "" : "s",
          rates_text(rates).c_str());
    } catch (const std::runtime_error& error) {
      std::fprintf(stderr, "sonx: %s\n", error.what());
      ++faults;
    }
  }
  return faults;
}

void check(const preset_options& options) {
  if (const int faults = count_faults(options.files); faults > 0) throw CLI::RuntimeError(1);
}

void show_slot(const rack& its, int slot, bool enabled, bool all) {
  const sonx_effect& effect = its.effect(slot);
  say("\n%d %s: %s%s\n", slot + 1, effect.id, effect.name, enabled ? "" : ", switched off");
  text_table table({"  parameter", "value", "default"});
  bool any = false;
  for (int k = 0; k < effect.parameter_count; ++k) {
    const sonx_parameter& parameter = effect.parameters[k];
    const double value = its.get(slot, k);
    if (!all && value == parameter.initial) continue;
    any = true;
    table.add({std::string("  ") + parameter.id, value_text(parameter, value),
               value_text(parameter, parameter.initial)});
  }
  if (any)
    table.print();
  else
    say("  every parameter at its default\n");
}

void show(const preset_options& options) {
  if (options.files.empty() && options.rack.preset.empty() && options.rack.sets.empty())
    throw CLI::RequiredError("PRESET, or a --set,");
  rack_options named = options.rack;
  if (!options.files.empty()) named.preset = options.files.front();
  const rack_recipe recipe = named.recipe();
  const rack its(recipe, recipe.rate_for(options.rate != 0 ? options.rate : 48000));
  const double rate = its.rate();
  say("%sat %d Hz: a latency of %d frames (%.1f ms), ",
      recipe.label.empty() ? "" : (recipe.label + ", ").c_str(), its.rate(), its.latency(),
      1000 * its.latency() / rate);
  if (its.tail() < 0)
    say("a tail without end\n");
  else
    say("a tail of %.1f s at the most\n", its.tail() / rate);
  const rack_notes notes = its.notes();
  if (!notes.enabled) say("the whole rack is switched off\n");
  for (int slot = 0; slot < its.slots(); ++slot)
    show_slot(its, slot, notes.slot_enabled[static_cast<size_t>(slot)], options.all);
}

void save(const preset_options& options) {
  const rack_recipe recipe = options.rack.recipe();
  const std::string text = rack(recipe, recipe.rates().back()).save();
  write_result(preset_target(options.out), text);
}

// What each calls itself; of one that can't be loaded, what is wrong.
std::string title_of(const std::string& preset) {
  try {
    const rack_recipe recipe = read_recipe(preset);
    return rack(recipe, recipe.rate_for(48000)).notes().name;
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

void list() {
  text_table table({"preset", "title"});
  for (const auto& [name, file] : named_presets()) table.add({name, title_of(file)});
  table.print();
}

}  // namespace

void add_preset_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("preset", "list, check, show and write presets");
  command->require_subcommand(1);
  command->footer(kFooter);

  command->add_subcommand("list", "those that have a name")->callback(list);

  auto checked = std::make_shared<preset_options>();
  CLI::App* checks = command->add_subcommand("check", "say what is wrong with presets, by line");
  checks->add_option("FILE", checked->files, "presets")->type_name("PRESET")->required();
  checks->callback([checked] { check(*checked); });

  auto shown = std::make_shared<preset_options>();
  CLI::App* shows = command->add_subcommand("show", "what would be in force");
  shows->add_option("FILE", shown->files, "a preset, as with --preset")
      ->type_name("PRESET")
      ->expected(0, 1);
  shown->rack.add_to(*shows);
  shows->add_flag("--all", shown->all, "parameters at their defaults too");
  shows->add_option("--rate", shown->rate, "at which it runs [48000, or the nearest above]")
      ->type_name("HZ");
  shows->callback([shown] { show(*shown); });

  auto saved = std::make_shared<preset_options>();
  CLI::App* saves = command->add_subcommand("save", "write a preset");
  saves
      ->add_option(
          "OUT", saved->out,
          "file to write, or to replace; a name without an ending, like evening, is one of "
          "your own presets from then on; - is standard output")
      ->type_name("FILE")
      ->required();
  saved->rack.add_to(*saves);
  saves->callback([saved] { save(*saved); });
}

}  // namespace sonx
