// Writes the tool's manual pages and the shells' completions, from the command line that the tool
// itself reads.
//   make_manual FOLDER
// FOLDER gets man1/sonx.1, man1/sonx-COMMAND.1, bash/sonx, zsh/_sonx and fish/sonx.fish.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>

#include "command_line.h"
#include "completions.h"
#include "roff.h"
#include "sonx/rack.h"

namespace {

void write(const std::filesystem::path& file, const std::string& text) {
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file);
  out.exceptions(std::ios::badbit | std::ios::failbit);
  out << text;
}

}  // namespace

int main(int count, char** words) try {
  if (count != 2) {
    std::fputs("usage: make_manual FOLDER\n", stderr);
    return 1;
  }
  const std::filesystem::path folder = words[1];
  CLI::App app;
  sonx::set_up(app);
  const auto write_page = [&](const CLI::App& command) {
    write(folder / "man1" / sonx::page_name(command),
          sonx::manual_page(command, sonx_rack_version()));
  };
  write_page(app);
  for (const CLI::App* command : app.get_subcommands({})) write_page(*command);
  write(folder / "bash" / "sonx", sonx::bash_completion(app));
  write(folder / "zsh" / "_sonx", sonx::zsh_completion(app));
  write(folder / "fish" / "sonx.fish", sonx::fish_completion(app));
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "make_manual: %s\n", error.what());
  return 1;
}
