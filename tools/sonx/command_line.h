// The command line's own errors.
#pragma once

#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace sonx {

// What is wrong with the command line, in one line, with the nearest known name.
std::string explain(const CLI::App& app, const CLI::ParseError& error);

// The subcommand that was called, "response ktv", or nothing.
std::string called_command(const CLI::App& app);

}  // namespace sonx
