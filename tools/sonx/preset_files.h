// Presets by name: NAME.toml in a folder sonx/presets, the user's own or installed.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace sonx {

// All of them by name. The user's own, in $XDG_DATA_HOME, come before those beside the tool, and
// these before the system's, in $XDG_DATA_DIRS.
std::map<std::string, std::filesystem::path> named_presets();

// The file that an option means: one that is there, else the preset of this name, else itself.
std::string preset_file(const std::string& preset);

// Where a preset is written: for a bare name, like "evening", among the user's own.
std::filesystem::path preset_target(const std::string& out);

// "; did you mean 'late-evening'?", or nothing.
std::string preset_suggestion(const std::string& file);

}  // namespace sonx
