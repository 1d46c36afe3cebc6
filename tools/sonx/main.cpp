// sonx: the effects library on a desk. Drives it as a phone's audio HAL would.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>

#include "command_line.h"
#include "progress.h"

namespace {

int run(int argc, char** argv) {
  CLI::App app;
  sonx::set_up(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    return app.exit(help);
  } catch (const CLI::RuntimeError& said) {
    return said.get_exit_code();
  } catch (const CLI::ParseError& error) {
    const std::string command = sonx::called_command(app);
    std::fprintf(stderr, "sonx: %s ('sonx %s--help' tells more)\n",
                 sonx::explain(app, error).c_str(), command.empty() ? "" : (command + " ").c_str());
    return 1;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  sonx::catch_interrupts();
  try {
    return run(argc, argv);
  } catch (const std::filesystem::filesystem_error& error) {
    std::fprintf(stderr, "sonx: '%s': %s\n", error.path1().c_str(), error.code().message().c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "sonx: %s\n", error.what());
  }
  return 1;
}
