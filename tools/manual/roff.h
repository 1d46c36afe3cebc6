// The manual's pages, in the language of man.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace sonx {

// "sonx.1" or "sonx-play.1".
std::string page_name(const CLI::App& command);

// The page of the whole tool, or that of a command with the commands inside it.
std::string manual_page(const CLI::App& command, const std::string& version);

}  // namespace sonx
