#include "completions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <functional>
#include <vector>

#include "help_words.h"
#include "sonx/rack.h"

namespace sonx {

namespace {

constexpr const char* kHead = "# Made of the tool's own help and the effects' catalogue.\n";

// ---- What there is to complete.

// "sonx-preset-save": how the scripts call a command.
std::string path_of(const CLI::App& command) {
  const CLI::App* const outer = command.get_parent();
  return (outer == nullptr ? "" : path_of(*outer) + "-") + command.get_name();
}

// The command, and all inside it.
void for_each(const CLI::App& command, const std::function<void(const CLI::App&)>& what) {
  what(command);
  for (const CLI::App* inner : command.get_subcommands({})) for_each(*inner, what);
}

std::vector<option_words> words_of_all(const CLI::App& command, bool positional) {
  std::vector<option_words> all;
  for (const CLI::Option* option : command.get_options())
    if (option->get_positional() == positional) all.push_back(words_of(*option));
  return all;
}

std::string joined(const std::vector<std::string>& words, const char* between = " ") {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

std::string names_of_commands(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* inner : command.get_subcommands({})) names.push_back(inner->get_name());
  return joined(names);
}

enum value_kind {
  kNoValue,
  kAnything,
  kWords,
  kFiles,
  kFolders,
  kPresets,
  kEffects,
  kAssignments,
  kTimed
};

value_kind kind_of(const option_words& option) {
  if (option.type.empty()) return kNoValue;
  if (!option.choices.empty()) return kWords;
  if (option.type == "FILE") return kFiles;
  if (option.type == "FOLDER") return kFolders;
  if (option.type == "PRESET") return kPresets;
  if (option.type == "EFFECT") return kEffects;
  if (option.type == "EFFECT.PARAMETER=VALUE") return kAssignments;
  if (option.type == "SECONDS:EFFECT.PARAMETER=VALUE,..") return kTimed;
  return kAnything;
}

// The first clause.
std::string in_short(const std::string& explanation) {
  size_t end = explanation.size();
  for (const char* mark : {"; ", ". ", " (", " ["}) end = std::min(end, explanation.find(mark));
  return explanation.substr(0, end);
}

struct assignment_word {
  std::string word, explanation;  // "reverb.room=", or with a choice, "reverb.enabled=off"
};

std::vector<assignment_word> all_assignments() {
  std::vector<assignment_word> all;
  for (int e = 0; e < sonx_effect_count(); ++e) {
    const sonx_effect& effect = *sonx_effect_at(e);
    const std::string before = effect.id + std::string(".");
    const auto add = [&](const std::string& name, const std::string& value,
                         const std::string& explanation) {
      all.push_back({before + name + "=" + value, explanation});
    };
    for (const char* value : {"on", "off"}) add("enabled", value, effect.name);
    for (int k = 0; k < effect.parameter_count; ++k) {
      const sonx_parameter& parameter = effect.parameters[k];
      std::vector<std::string> values = {""};
      if (parameter.kind == SONX_SWITCH) values = {"on", "off"};
      if (parameter.kind == SONX_CHOICE)
        values.assign(parameter.choices, parameter.choices + parameter.choice_count);
      for (const std::string& value : values) add(parameter.id, value, parameter.name);
    }
  }
  return all;
}

std::string ids_of_effects() {
  std::vector<std::string> ids;
  for (int e = 0; e < sonx_effect_count(); ++e) ids.emplace_back(sonx_effect_at(e)->id);
  return joined(ids);
}

std::string quoted(const std::string& text, const std::string& quote_inside) {
  std::string result;
  for (const char c : text) result += c == '\'' ? quote_inside : std::string(1, c);
  return "'" + result + "'";
}

// Elements of an array in bash and zsh; a choice may have a space in it.
std::string assignment_words() {
  std::string text;
  for (const assignment_word& one : all_assignments()) text += "\n    " + quoted(one.word, "'\\''");
  return text + "\n";
}

// In bash and fish: the cases in which a word leads into a command.
std::string ways_in(const CLI::App& tool, const char* between) {
  std::vector<std::string> cases;
  for_each(tool, [&](const CLI::App& command) {
    if (const CLI::App* outer = command.get_parent())
      cases.push_back("'" + path_of(*outer) + " " + command.get_name() + "'");
  });
  return joined(cases, between);
}

// ---- bash.

std::string offer_in_bash(const option_words& option) {
  switch (kind_of(option)) {
    case kWords:
      return (option.list ? "_sonx_list '" : "_sonx_words '") + joined(option.choices) + "'";
    case kFiles:
      return "_filedir";
    case kFolders:
      return "_filedir -d";
    case kPresets:
      return "_sonx_presets";
    case kEffects:
      return "_sonx_words '" + ids_of_effects() + "'";
    case kAssignments:
      return "_sonx_assignments ''";
    case kTimed:
      return "_sonx_timed";
    default:
      return ":";
  }
}

std::string values_in_bash(const CLI::App& command) {
  std::string text;
  for (const option_words& option : words_of_all(command, false)) {
    if (kind_of(option) == kNoValue) continue;
    std::vector<std::string> patterns;
    for (const std::string& name : option.names)
      patterns.push_back("'" + path_of(command) + " " + name + "'");
    text += "    " + joined(patterns, " | ") + ") " + offer_in_bash(option) + " && return ;;\n";
  }
  return text;
}

std::string options_in_bash(const CLI::App& command) {
  std::vector<std::string> names;
  for (const option_words& option : words_of_all(command, false))
    names.insert(names.end(), option.names.begin(), option.names.end());
  return "      " + path_of(command) + ") _sonx_words '" + joined(names) + "' ;;\n";
}

std::string arguments_in_bash(const CLI::App& command) {
  const std::string before = "    " + path_of(command) + ") ", after = " ;;\n";
  if (const std::string names = names_of_commands(command); !names.empty())
    return before + "_sonx_words '" + names + "'" + after;
  // At any place what any place takes; with files come folders.
  std::vector<std::string> offers;
  for (const option_words& option : words_of_all(command, true))
    if (const std::string offer = offer_in_bash(option);
        std::find(offers.begin(), offers.end(), offer) == offers.end())
      offers.push_back(offer);
  if (offers.size() > 1) std::erase(offers, "_filedir -d");
  return offers.empty() ? "" : before + joined(offers, "; ") + after;
}

// ---- zsh.

std::string in_brackets(const std::string& explanation) {
  std::string result;
  for (const char c : in_short(explanation)) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') result += '\\';
    result += c;
  }
  return "[" + result + "]";
}

std::string offer_in_zsh(const option_words& option) {
  switch (kind_of(option)) {
    case kWords:
      return option.list ? ":value:_values -s , value " + joined(option.choices)
                         : ":value:(" + joined(option.choices) + ")";
    case kFiles:
      return ":file:_files";
    case kFolders:
      return ":folder:_files -/";
    case kEffects:
      return ":effect:(" + ids_of_effects() + ")";
    case kPresets:
      return ":preset:_sonx_presets";
    case kAssignments:
      return ":assignment:_sonx_assignments";
    case kTimed:
      return ":change:_sonx_timed";
    case kAnything:
      return ":" + in_brackets(option.type).substr(1, in_brackets(option.type).size() - 2) + ":";
    default:
      return "";
  }
}

std::string function_in_zsh(const CLI::App& command) {
  std::string name = path_of(command);
  std::replace(name.begin(), name.end(), '-', '_');
  const auto argument = [](const std::string& text) { return " \\\n    " + quoted(text, "'\\''"); };
  const bool has_commands = !command.get_subcommands({}).empty();
  std::string text = "_" + name + "() {\n" +
                     (has_commands ? "  local curcontext=$curcontext state line\n" : "") +
                     "  _arguments" + (has_commands ? " -C" : "");
  for (const option_words& option : words_of_all(command, false)) {
    const bool takes = kind_of(option) != kNoValue;
    for (const std::string& one : option.names) {
      const std::string others = option.repeats            ? "*"
                                 : option.names.size() > 1 ? "(" + joined(option.names) + ")"
                                                           : "";
      const char* const joint = !takes ? "" : one.starts_with("--") ? "=" : "+";
      text +=
          argument(others + one + joint + in_brackets(option.explanation) + offer_in_zsh(option));
    }
  }
  for (const option_words& option : words_of_all(command, true))
    text += argument((option.repeats ? "*" : "") + offer_in_zsh(option));
  if (!has_commands) return text + "\n}\n";

  text +=
      " \\\n    ':command:->command' '*::argument:->argument'\n  case $state in\n"
      "    command)\n      local -a commands=(";
  for (const CLI::App* inner : command.get_subcommands({}))
    text += "\n        " + quoted(inner->get_name() + ":" + inner->get_description(), "'\\''");
  return text + ")\n      _describe command commands\n      ;;\n    argument) (( $+functions[_" +
         name + "_$words[1]] )) && _" + name + "_$words[1] ;;\n  esac\n}\n";
}

// ---- fish.

std::string offer_in_fish(const option_words& option) {
  switch (kind_of(option)) {
    case kNoValue:
      return "";
    case kFiles:
      return " -rF";
    case kFolders:
      return " -xa '(__fish_complete_directories)'";
    case kWords:
      return (option.list ? " -xa '(__fish_append , " : " -xa '") + joined(option.choices) +
             (option.list ? ")'" : "'");
    case kEffects:
      return " -xa '" + ids_of_effects() + "'";
    case kPresets:
      return " -xa '(__sonx_presets)'";
    case kAssignments:
      return " -xa '(__sonx_assignments \"\")'";
    case kTimed:
      return " -xa '(__sonx_timed)'";
    default:
      return " -x";
  }
}

std::string lines_in_fish(const CLI::App& command) {
  const std::string start = "complete -c sonx -n '__sonx_in " + path_of(command) + "'";
  std::string text;
  const auto positionals = words_of_all(command, true);
  const bool files = std::any_of(
      positionals.begin(), positionals.end(),
      [](const option_words& one) { return kind_of(one) == kFiles || kind_of(one) == kFolders; });
  if (!files) text += start + " -f\n";
  for (const CLI::App* inner : command.get_subcommands({}))
    text += start + " -a " + inner->get_name() + " -d " + quoted(inner->get_description(), "\\'") +
            "\n";
  for (const option_words& option : positionals)
    if (kind_of(option) == kEffects || kind_of(option) == kPresets)
      text += start + offer_in_fish(option) + "\n";
  for (const option_words& option : words_of_all(command, false)) {
    text += start;
    for (const std::string& name : option.names)
      text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
    text += offer_in_fish(option) + " -d " + quoted(in_short(option.explanation), "\\'") + "\n";
  }
  return text;
}

}  // namespace

std::string bash_completion(const CLI::App& tool) {
  std::string values, options, arguments;
  for_each(tool, [&](const CLI::App& command) {
    values += values_in_bash(command);
    options += options_in_bash(command);
    arguments += arguments_in_bash(command);
  });
  return std::string(kHead) +
         R"(_sonx_words() { # WORDS
  mapfile -t COMPREPLY < <(compgen -W "$1" -- "$cur")
}

_sonx_list() { # WORDS, parted by commas
  local head=
  [[ $cur == *,* ]] && head=${cur%,*},
  mapfile -t COMPREPLY < <(compgen -P "$head" -W "$1" -- "${cur##*,}")
  compopt -o nospace
}

_sonx_presets() { # files and names
  local name
  _filedir toml
  while IFS= read -r name; do
    [[ $name == "$cur"* ]] && printf -v name %q "$name" && COMPREPLY+=("$name")
  done < <(sonx preset list 2>/dev/null | sed '1d; s/  .*//')
  return 0
}

_sonx_assignments() { # HEAD, which stands before it in the word
  local word=${cur#"$1"} one cut
  local slot=${word%%.*} all=()" +
         assignment_words() + R"(  )
  if [[ $word != *.* ]]; then
    mapfile -t COMPREPLY < <(compgen -P "$1" -S . -W ')" +
         ids_of_effects() + R"(' -- "$word")
  else
    for one in "${all[@]}"; do
      [[ $one == "${slot%%#*}."* ]] || continue
      one=$slot.${one#*.}
      [[ $one == "$word"* ]] && printf -v one %q "$one" && COMPREPLY+=("$1$one")
    done
  fi
  [[ ${COMPREPLY-} == *[.=] ]] && compopt -o nospace
  # Readline has cut the word behind its last = or : already.
  cut=${cur%"${cur##*[=:]}"}
  COMPREPLY=("${COMPREPLY[@]#"$cut"}")
}

_sonx_timed() { # the last of SECONDS:ASSIGNMENT,ASSIGNMENT
  [[ $cur != *:* ]] || _sonx_assignments "${cur%"${cur##*[:,]}"}"
}

_sonx() {
  local cur prev words cword
  _init_completion -n =: || return
  local command=sonx i
  for ((i = 1; i < cword; ++i)); do
    case "$command ${words[i]}" in
      )" +
         ways_in(tool, " | ") +
         R"()
        command+=-${words[i]} ;;
    esac
  done
  [[ $cur == --*=* ]] && prev=${cur%%=*} cur=${cur#*=}
  case "$command $prev" in
)" + values +
         R"(  esac
  if [[ $cur == -* ]]; then
    case $command in
)" + options +
         R"(    esac
    return
  fi
  case $command in
)" + arguments +
         R"(  esac
}

complete -F _sonx sonx
)";
}

std::string zsh_completion(const CLI::App& tool) {
  std::string functions;
  for_each(tool, [&](const CLI::App& command) { functions += "\n" + function_in_zsh(command); });
  return std::string("#compdef sonx\n") + kHead + R"(
_sonx_presets() {
  local lines=$(_call_program presets sonx preset list 2>/dev/null | sed '1d; s/   */:/')
  local -a named=(${(f)lines})
  _alternative 'presets:preset:{ _describe -t presets preset named }' 'files:file:_files -g "*.toml"'
}

_sonx_assignments() {
  if [[ $PREFIX != *.* ]]; then
    compadd -S . -- )" +
         ids_of_effects() + R"(
    return
  fi
  local slot=${PREFIX%%.*}
  local -a all=()" +
         assignment_words() + R"(  )
  all=(${${(M)all:#${slot%%\#*}.*}#*.})
  compset -P 1 '*.'
  compadd -S '' -- ${(M)all:#*=}
  compadd -- ${all:#*=}
}

_sonx_timed() { # the last of SECONDS:ASSIGNMENT,ASSIGNMENT
  if compset -P '*[:,]'; then
    _sonx_assignments
  else
    _message SECONDS:
  fi
}
)" + functions +
         "\n_sonx \"$@\"\n";
}

std::string fish_completion(const CLI::App& tool) {
  std::string text = std::string(kHead) + R"(function __sonx_in # COMMAND
    set -l command sonx
    for word in (commandline -opc)[2..]
        switch "$command $word"
            case )" + ways_in(tool, " ") +
                     R"(
                set command $command-$word
        end
    end
    test $command = $argv[1]
end

function __sonx_presets
    sonx preset list 2>/dev/null | tail -n +2 | string replace -r '  +' \t
    __fish_complete_suffix .toml
end

function __sonx_value # the word, or what stands behind --option=
    commandline -ct | string replace -r '^--[a-z-]*=' ''
end

function __sonx_timed # the last of SECONDS:ASSIGNMENT,ASSIGNMENT
    set -l head (__sonx_value | string match -r '^.*[:,]')
    and __sonx_assignments $head
end

function __sonx_assignments # HEAD, which stands before it in the word
    set -l number (string replace -- $argv[1] '' (__sonx_value) | string match -r '^[^#.]*(#\d+)\.')
    printf '%s\t%s\n')";
  for (const assignment_word& one : all_assignments())
    text += " \\\n        " + quoted(one.word, "\\'") + " " + quoted(one.explanation, "\\'");
  text += " |\n        string replace -r '^[a-z-]+' \"$argv[1]\\$0$number[2]\"\nend\n\n";
  for_each(tool, [&](const CLI::App& command) { text += lines_in_fish(command); });
  return text;
}

}  // namespace sonx
