#include "roff.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <sstream>

#include "help_words.h"

namespace sonx {

namespace {

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\\')
      result += "\\e";
    else if (c == '-')
      result += "\\-";
    else if (c == '\'')
      result += "\\(aq";
    else if (c == '~')
      result += "\\(ti";
    else if (c == '^')
      result += "\\(ha";
    else if (c == '`')
      result += "\\(ga";
    else if (c == '.' && (result.empty() || result.back() == '\n'))
      result += "\\&.";
    else
      result += c;
  }
  return result;
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + escaped(text) + "\\fR"; }

std::string joined_names(const option_words& words) {
  std::string text;
  for (const std::string& name : words.names) text += (text.empty() ? "" : ", ") + bold(name);
  return text;
}

// The command's own words are bold, what stands for others is not.
std::string synopsis(const CLI::App& command) {
  std::istringstream usage(usage_of(command));
  std::string text;
  for (std::string word; usage >> word;) {
    const bool literal = word.starts_with('-') || std::islower(static_cast<unsigned char>(word[0]));
    text += (text.empty() ? "" : " ") + (literal ? bold(word) : italic(word));
  }
  return text + "\n";
}

// Prose flows. Of what is indented, `  TERM  what it is` is an item of a list, which goes on where
// a line is indented further; everything else stays as it is.
std::string paragraphs(const std::string& prose) {
  enum { kProse, kItem, kAsItIs } last = kProse;
  std::istringstream lines(prose);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const size_t start = std::min(line.find_first_not_of(' '), line.size());
    const size_t gap = line.find("  ", start);
    const bool term = start == 2 && gap != std::string::npos;
    const auto kind = start == 0 ? kProse : term || last == kItem ? kItem : kAsItIs;
    if (last == kAsItIs && kind != kAsItIs) text += ".fi\n";
    if (last != kProse && kind == kProse) text += ".PP\n";
    if (last != kAsItIs && kind == kAsItIs) text += ".PP\n.nf\n";
    if (term) text += ".TP\n" + bold(line.substr(start, gap - start)) + "\n";
    if (kind == kItem) line.erase(0, line.find_first_not_of(' ', term ? gap : start));
    text += line.empty() ? ".PP\n" : escaped(line) + "\n";
    last = kind;
  }
  return text + (last == kAsItIs ? ".fi\n" : "");
}

std::string options_of(const CLI::App& command, bool positional) {
  std::string text;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional() != positional) continue;
    const option_words words = words_of(*option);
    text += ".TP\n" + (positional ? italic(words.names.front()) : joined_names(words)) +
            (words.argument.empty() ? "" : " " + italic(words.argument)) + "\n" +
            escaped(words.explanation) + "\n";
  }
  return text;
}

std::string section(const std::string& title, const std::string& text) {
  return text.empty() || text == "\n" ? "" : ".SH " + title + "\n" + text;
}

std::string examples_of(const CLI::App& command) {
  std::string text;
  for (const std::string& example : footer_of(command).examples) text += escaped(example) + "\n";
  return text.empty() ? "" : ".nf\n" + text + ".fi\n";
}

std::string page_of(const CLI::App& command) {
  const CLI::App* const outer = command.get_parent();
  return (outer == nullptr ? "" : page_of(*outer) + "-") + command.get_name();
}

// Inside a command's page its own commands have sections; the tool's have pages.
std::string commands_of(const CLI::App& command) {
  const bool has_pages = command.get_parent() == nullptr;
  std::string text;
  for (const CLI::App* inner : command.get_subcommands({}))
    if (has_pages)
      text += ".TP\n" + bold(page_of(*inner)) + "(1)\n" + escaped(inner->get_description()) + "\n";
    else
      text += ".SS " + synopsis(*inner) + escaped(inner->get_description()) + "\n" +
              paragraphs(footer_of(*inner).prose) + options_of(*inner, true) +
              options_of(*inner, false);
  return text;
}

std::string see_also(const CLI::App& command) {
  const CLI::App* const outer = command.get_parent();
  if (outer == nullptr) return "";
  std::string text = ".BR " + escaped(page_of(*outer)) + " (1)";
  for (const CLI::App* other : outer->get_subcommands({}))
    if (other != &command) text += ",\n.BR " + escaped(page_of(*other)) + " (1)";
  return text + "\n";
}

}  // namespace

std::string page_name(const CLI::App& command) { return page_of(command) + ".1"; }

std::string manual_page(const CLI::App& command, const std::string& version) {
  const std::string page = page_of(command), description = command.get_description();
  std::string title = page;
  for (char& c : title) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  std::string brief = description.substr(0, description.find_last_not_of('.') + 1);
  brief[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(brief[0])));
  return ".\\\" Made of the tool's own help.\n.TH " + escaped(title) + " 1 \"\" \"sonx " + version +
         "\" \"User Commands\"\n" +
         section("NAME", escaped(page) + " \\- " + escaped(brief) + "\n") +
         section("SYNOPSIS", synopsis(command)) +
         section("DESCRIPTION", paragraphs(footer_of(command).prose)) +
         section("ARGUMENTS", options_of(command, true)) +
         section("OPTIONS", options_of(command, false)) +
         section("COMMANDS", commands_of(command)) + section("EXAMPLES", examples_of(command)) +
         section("SEE ALSO", see_also(command));
}

}  // namespace sonx
