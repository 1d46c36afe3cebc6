// sonx import and export: presets from other programs' equalizer settings, and presets as C or as
// a filter chain of the desktop's sound server.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "commands.h"
#include "messages.h"
#include "pending_file.h"
#include "pipewire_text.h"
#include "rack_host.h"

namespace sonx {

namespace {

const char* const kImportFooter =
    R"(Reads equalizer settings as headphone-correction projects and equalizer programs
publish them:
  Preamp: -6.2 dB
  Filter 1: ON PK Fc 105 Hz Gain -3.2 dB Q 0.70
with PK, LS, LSC, HS, HSC, LP, LPQ, HP, HPQ and AP, and BW Oct in Q's place; or
  GraphicEQ: 20 0.0; 21 -0.3; 23 -0.9; ..
which ten sections are fitted to. What can't be taken is said line by line, and
then nothing is written.

Examples:
  sonx import headphones.txt -o headphones.toml
  sonx import headphones.txt --auto-preamp -o headphones.toml)";

// A text is never replaced by what is made of it.
void refuse_the_source(const std::string& in, const std::string& out) {
  std::error_code ignored;
  if (out != "-" && std::filesystem::equivalent(in, out, ignored))
    throw std::runtime_error("'" + out + "' is the file that is read");
}

const char* const kOutHelp = "file to write, or to replace; without it standard output";

constexpr size_t kPresetSize = 1 << 16, kReportSize = 1 << 16;

struct import_options {
  std::string in, out = "-";
  bool auto_preamp = false;
};

void show_faults(const std::string& file, const std::string& report) {
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);)
    std::fprintf(stderr, "sonx: '%s': %s\n", file.c_str(), line.c_str());
}

void import(const import_options& options) {
  refuse_the_source(options.in, options.out);
  std::string preset(kPresetSize, '\0'), report(kReportSize, '\0');
  const int faults = sonx_rack_import(read_text(options.in).c_str(), options.auto_preamp ? 1 : 0,
                                      preset.data(), preset.size(), report.data(), report.size());
  if (faults < 0) throw std::runtime_error("'" + options.in + "': too many filters");
  if (faults > 0) {
    show_faults(options.in, report.c_str());
    throw CLI::RuntimeError(1);
  }
  write_result(options.out, preset.c_str(), report.c_str());
}

struct export_options {
  std::string preset, form = "c", out = "-";
  int rate = 0;
};

const char* const kExportFooter =
    R"(Examples:
  sonx export headphones.toml --as c -o headphones.h
  sonx export headphones.toml --as pipewire \
    -o ~/.config/pipewire/pipewire.conf.d/sonx-headphones.conf)";

void export_preset(const export_options& options) {
  refuse_the_source(options.preset, options.out);
  const rack_recipe recipe = read_recipe(options.preset);
  const rack made(recipe, options.rate != 0 ? options.rate : recipe.rate_for(48000));
  const std::string name = std::filesystem::path(options.preset).stem().string();
  write_result(options.out, options.form == "c" ? made.export_c() : pipewire_text(made, name));
}

}  // namespace

void add_import_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("import", "make a preset of published equalizer settings");
  auto options = std::make_shared<import_options>();
  command->footer(kImportFooter);
  command->add_option("FILE", options->in, "text to read")->type_name("FILE")->required();
  command->add_option("-o,--out", options->out, kOutHelp)->type_name("FILE");
  command->add_flag("--auto-preamp", options->auto_preamp,
                    "set the preamp to what the whole curve needs");
  command->callback([options] { import(*options); });
}

void add_export_command(CLI::App& app) {
  CLI::App* command = app.add_subcommand("export", "write a preset in another form");
  auto options = std::make_shared<export_options>();
  command->footer(kExportFooter);
  command->add_option("FILE", options->preset, "preset")->type_name("PRESET")->required();
  command
      ->add_option("--as", options->form,
                   "c: initialisers for the effects' library; pipewire: the effects as LV2 plugins "
                   "in a filter chain")
      ->check(CLI::IsMember({"c", "pipewire"}))
      ->capture_default_str();
  command
      ->add_option("--rate", options->rate,
                   "of the coefficients or of the chain [48000, or the nearest above]")
      ->type_name("HZ");
  command->add_option("-o,--out", options->out, kOutHelp)->type_name("FILE");
  command->callback([options] { export_preset(*options); });
}

}  // namespace sonx
