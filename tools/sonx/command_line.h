// The command line: all commands together, and its own errors.
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace sonx {

// Everything that the tool takes: the commands, their options, the help.
void set_up(CLI::App& app);

// What is wrong with the command line, in one line, with the nearest known name.
std::string explain(const CLI::App& app, const CLI::ParseError& error);

// The subcommand that was called, "response ktv", or nothing.
std::string called_command(const CLI::App& app);

}  // namespace sonx
