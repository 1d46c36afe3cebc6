#include "help_words.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <regex>
#include <sstream>

namespace sonx {

namespace {

constexpr size_t kNamesWidth = 30, kTextWidth = 50;  // columns, 80 in all

std::vector<std::string> split_at(const std::string& text, char mark) {
  std::vector<std::string> parts;
  std::istringstream all(text);
  for (std::string part; std::getline(all, part, mark);) parts.push_back(part);
  return parts;
}

std::string joined(const std::vector<std::string>& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : between) + part;
  return text;
}

bool is_of_the_language(const std::string& type) {  // as CLI11 calls it
  return type == "TEXT" || type == "INT" || type == "FLOAT";
}

// What may be written for "both|left|right|0..2": the words, or without any all of a few numbers.
std::vector<std::string> words_in(const std::string& argument) {
  static const std::regex word("[a-z0-9-]*[a-z0-9]"), span(R"((\d+)\.\.(\d+))");
  std::vector<std::string> words;
  for (const std::string& part : split_at(argument, '|'))
    if (std::regex_match(part, word)) words.push_back(part);
  std::smatch ends;
  if (!words.empty() || !std::regex_match(argument, ends, span)) return words;
  const long first = std::stol(ends[1]), last = std::stol(ends[2]);
  for (long n = first; n <= last && last - first < 10; ++n) words.push_back(std::to_string(n));
  return words;
}

// A note comes in front of a default, "how loud [50]".
std::string with_note(const std::string& text, const std::string& note) {
  const size_t end = text.ends_with(']') ? text.rfind(" [") : text.size();
  return text.substr(0, end) + " (" + note + ")" + text.substr(end);
}

std::string wrapped(const std::string& text) {
  std::string result;
  size_t column = 0;
  for (const std::string& word : split_at(text, ' ')) {
    const bool fits = column == 0 || column + 1 + word.size() <= kTextWidth;
    if (column != 0) result += fits ? ' ' : '\n';
    column = fits && column != 0 ? column + 1 + word.size() : word.size();
    result += word;
  }
  return result;
}

class help_formatter : public CLI::Formatter {
 public:
  help_formatter() {
    column_width(kNamesWidth);
    label("Positionals", "Arguments");
  }

  std::string make_option_name(const CLI::Option* option, bool) const override {
    return joined(words_of(*option).names, ", ");
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string argument = words_of(*option).argument;
    return (argument.empty() ? "" : " ") + argument;
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    return wrapped(words_of(*option).explanation);
  }
  std::string make_usage(const CLI::App* command, std::string) const override {
    return "Usage: " + usage_of(*command) + "\n";
  }
};

}  // namespace

option_words words_of(const CLI::Option& option) {
  option_words words;
  words.explanation = option.get_description();
  const bool many = option.get_expected_max() >= CLI::detail::expected_max_vector_size;
  words.list = option.get_delimiter() != '\0';
  words.repeats =
      option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll && !words.list;
  words.type = option.get_type_size() == 0 ? "" : option.get_type_name();
  std::smatch parts;  // CLI11 shows what a value is checked for behind its type
  static const std::regex checked(R"((.*):(?:\{(.*)\}|\w+ in \[(.*) - (.*)\]|NONNEGATIVE))");
  std::string range;
  if (const std::string type = words.type; std::regex_match(type, parts, checked)) {
    words.choices = split_at(parts[2], ',');
    if (parts[3].matched) range = parts[3].str() + ".." + parts[4].str();
    words.type = parts[1];
  }
  words.argument = words.type;
  const std::string limits = words.choices.empty() ? range : joined(words.choices, "|");
  if (!limits.empty()) {
    if (is_of_the_language(words.type))
      words.argument = limits;
    else
      words.explanation = with_note(words.explanation, limits);
  }
  words.choices = words_in(words.choices.empty() ? words.argument : limits);
  if (!option.get_default_str().empty()) words.explanation += " [" + option.get_default_str() + "]";
  if (option.get_positional()) {
    words.names = {option.get_name(true)};
    words.argument.clear();
    words.repeats = many;
    return words;
  }
  for (const std::string& name : option.get_snames()) words.names.push_back("-" + name);
  for (const std::string& name : option.get_lnames()) words.names.push_back("--" + name);
  return words;
}

std::string usage_of(const CLI::App& command) {
  std::string text = command.get_name();
  for (const CLI::App* outer = command.get_parent(); outer != nullptr; outer = outer->get_parent())
    text = outer->get_name() + " " + text;
  for (const CLI::Option* option : command.get_options())
    if (!option->get_positional() && option->get_required()) {
      const option_words words = words_of(*option);
      text += " " + words.names.back() + " " + words.argument;
    }
  text += " [OPTIONS]";
  for (const CLI::Option* option : command.get_options()) {
    if (!option->get_positional()) continue;
    const option_words words = words_of(*option);
    const std::string name = words.names.front() + (words.repeats ? "..." : "");
    text += option->get_required() ? " " + name : " [" + name + "]";
  }
  if (!command.get_subcommands({}).empty())
    text += command.get_require_subcommand_min() == 0 ? " [COMMAND]" : " COMMAND";
  return text;
}

footer_words footer_of(const CLI::App& command) {
  footer_words words;
  const CLI::App* const outer = command.get_parent();
  if (outer != nullptr && outer->get_footer() == command.get_footer()) return words;  // inherited
  bool examples = false;
  for (const std::string& line : split_at(command.get_footer(), '\n')) {
    if (line == "Examples:")
      examples = true;
    else if (!examples)
      words.prose += line + "\n";
    else if (line.starts_with("   "))  // what goes on from the line above
      words.examples.back() += "\n" + line.substr(2);
    else
      words.examples.push_back(line.substr(2));
  }
  while (words.prose.ends_with("\n\n")) words.prose.pop_back();
  return words;
}

std::shared_ptr<CLI::FormatterBase> make_help_formatter() {
  return std::make_shared<help_formatter>();
}

}  // namespace sonx
