#include "command_line.h"

#include <CLI/CLI.hpp>
#include <vector>

#include "commands.h"
#include "help_words.h"
#include "log.h"
#include "messages.h"

namespace sonx {

namespace {

std::vector<std::string> names_of_commands(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands({})) names.push_back(command->get_name());
  return names;
}

std::vector<std::string> names_of_options(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

const CLI::App& innermost(const CLI::App& app) {
  const auto commands = app.get_subcommands();
  return commands.empty() ? app : innermost(*commands.front());
}

const char* const kFooter =
    R"(A file to write that is there already is replaced; the file that is read is not.
'sonx COMMAND --help' tells more about each command. The exit status is 0, or 1
where standard error has a line that says why.

Examples:
  sonx effects reverb
  sonx play in.flac out.flac --preset late-evening
  sonx play in.wav out.wav --set reverb.room=60 --at 5:reverb.room=20
  sonx preset list
  sonx preset save mine --preset late-evening --set compressor.makeup=2
  sonx hp in.flac out.flac --effect widening
  sonx hp in.wav out.wav --effect eq --eq 6,4,2,0,0,0,0,1,2,3
  sonx hp in.wav out.wav --at 5:effect=bass --at 10:effect=reverb,room=90%
  sonx hp in.wav - --effect bass | aplay
  sonx import headphones.txt -o headphones.toml
  sonx response --preset headphones.toml --show level,phase --svg level.svg
  sonx compare headphones.toml bypass music.flac folder
  sonx report --preset headphones.toml --in music.flac -o report.html
  sonx ktv voice.wav out.wav --reverb room=70% --echo delay=250 --tail 2
  sonx denoise noisy.wav out.wav --policy 2
  sonx resample in.wav out.wav --rate 16000)";

}  // namespace

void set_up(CLI::App& app) {
  app.name("sonx");
  app.description("Runs audio files through the effects library, measures and shows what it does.");
  app.formatter(make_help_formatter());
  app.set_help_flag("-h,--help", "show this help");
  app.require_subcommand(1);
  app.footer(kFooter);
  app.set_version_flag("--version", "sonx " SONX_VERSION, "show the version");
  app.add_flag_callback(
      "--log", [] { show_debug_log(); }, "show the library's log lines on standard error");
  add_play_command(app);
  add_effects_command(app);
  add_preset_command(app);
  add_import_command(app);
  add_export_command(app);
  add_response_command(app);
  add_compare_command(app);
  add_report_command(app);
  add_hp_command(app);
  add_ktv_command(app);
  add_denoise_command(app);
  add_resample_command(app);
}

// An unknown word comes first: it's often the reason why something else is missing.
std::string explain(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& command = innermost(app);
  const std::vector<std::string> unknown = app.remaining(true);
  for (const std::string& one : unknown)
    if (one.starts_with('-') && one != "-")
      return "there is no option '" + one + "'" +
             suggestion(one.substr(0, one.find('=')), names_of_options(command));
  const std::vector<std::string> commands = names_of_commands(command);
  if (!unknown.empty())
    return commands.empty() ? "one argument too many: '" + unknown.front() + "'"
                            : "there is no command '" + unknown.front() + "'" +
                                  suggestion(unknown.front(), commands);
  if (error.get_name() == "RequiredError" && command.get_require_subcommand_min() > 0)
    return "a command is missing";
  const std::string text = error.what();
  if (error.get_name() == "ArgumentMismatch")
    return text.substr(0, text.find(':')) + " needs a value";
  return text.substr(0, text.find('\n'));
}

std::string called_command(const CLI::App& app) {
  const auto commands = app.get_subcommands();
  if (commands.empty()) return "";
  const std::string inner = called_command(*commands.front());
  return commands.front()->get_name() + (inner.empty() ? "" : " " + inner);
}

}  // namespace sonx
