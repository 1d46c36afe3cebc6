#include "command_line.h"

#include <CLI/CLI.hpp>
#include <vector>

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

}  // namespace

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
  if (&command == &app && error.get_name() == "RequiredError") return "a command is missing";
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
