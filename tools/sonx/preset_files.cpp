#include "preset_files.h"

#include <cstdlib>
#include <sstream>
#include <system_error>
#include <vector>

#include "messages.h"

namespace sonx {

namespace {

namespace fs = std::filesystem;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

fs::path within(const fs::path& data) { return data / "sonx" / "presets"; }

// Empty for a user without a home.
fs::path own_folder() {
  if (const fs::path data = variable("XDG_DATA_HOME"); data.is_absolute()) return within(data);
  const fs::path home = variable("HOME");
  return home.is_absolute() ? within(home / ".local" / "share") : fs::path();
}

std::vector<fs::path> all_folders() {
  std::vector<fs::path> folders = {own_folder()};
  std::error_code none;
  const fs::path tool = fs::read_symlink("/proc/self/exe", none);
  if (!none) folders.push_back(within(tool.parent_path().parent_path() / "share"));
  const std::string dirs = variable("XDG_DATA_DIRS");
  std::istringstream all(dirs.empty() ? "/usr/local/share:/usr/share" : dirs);
  for (std::string data; std::getline(all, data, ':');)
    if (fs::path(data).is_absolute()) folders.push_back(within(data));
  return folders;
}

}  // namespace

std::map<std::string, fs::path> named_presets() {
  std::map<std::string, fs::path> found;
  for (const fs::path& folder : all_folders()) {
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(folder, none))
      if (entry.path().extension() == ".toml") found.emplace(entry.path().stem(), entry.path());
  }
  return found;
}

std::string preset_file(const std::string& preset) {
  std::error_code none;
  if (fs::exists(preset, none) && !fs::is_directory(preset, none)) return preset;
  const auto named = named_presets();
  const auto found = named.find(preset);
  return found == named.end() ? preset : found->second.string();
}

fs::path preset_target(const std::string& out) {
  if (out.find_first_of("./") != std::string::npos || out == "-") return out;
  const fs::path folder = own_folder();
  if (folder.empty()) return out;
  fs::create_directories(folder);
  return folder / (out + ".toml");
}

std::string preset_suggestion(const std::string& file) {
  std::vector<std::string> names;
  for (const auto& [name, path] : named_presets()) names.push_back(name);
  return suggestion(fs::path(file).stem(), names);
}

}  // namespace sonx
