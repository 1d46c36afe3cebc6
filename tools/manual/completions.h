// What the shells complete behind `sonx`: commands, options, their words, and the catalogue's effects
// and parameters.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace sonx {

std::string bash_completion(const CLI::App& tool);
std::string zsh_completion(const CLI::App& tool);
std::string fish_completion(const CLI::App& tool);

}  // namespace sonx
