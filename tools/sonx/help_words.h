// How a command and its options are put into words: what --help, the manual pages and the shells'
// completions are made of.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class FormatterBase;
class Option;
}  // namespace CLI

namespace sonx {

struct option_words {
  std::vector<std::string> names;    // "-o", "--out"; of a positional, "FILE" alone
  std::string type;                  // "FILE"; empty for a flag
  std::vector<std::string> choices;  // what it takes, where that's some words or a few numbers
  bool list = false;                 // takes several, parted by commas
  bool repeats = false;
  std::string argument;     // as it's written behind the name: "FILE", "both|left|right", "1..4"
  std::string explanation;  // with its range and default, as far as the argument doesn't say them
};

option_words words_of(const CLI::Option& option);

// The words behind "Usage: " of a command's help.
std::string usage_of(const CLI::App& command);

// A footer as --help shows it: prose, in which lines that begin with a space stay as they are, and
// the examples' command lines.
struct footer_words {
  std::string prose;
  std::vector<std::string> examples;
};

footer_words footer_of(const CLI::App& command);

std::shared_ptr<CLI::FormatterBase> make_help_formatter();

}  // namespace sonx
