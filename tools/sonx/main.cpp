// sonx: the effects library on a desk. Drives it as a phone's audio HAL would.
#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <filesystem>

#include "command_line.h"
#include "commands.h"
#include "log.h"
#include "progress.h"

namespace {

const char* const kExamples = R"(Examples:
  sonx effects reverb
  sonx play in.flac out.flac --preset late-evening.toml
  sonx play in.wav out.wav --set reverb.room=60 --at 5:reverb.room=20 --tail 3
  sonx preset save mine.toml --preset late-evening.toml --set compressor.makeup=2
  sonx hp in.flac out.flac --effect widening
  sonx hp in.wav out.wav --effect eq --eq 6,4,2,0,0,0,0,1,2,3
  sonx hp in.wav out.wav --at 5:effect=bass --at 10:effect=reverb,room=90%
  sonx hp in.wav - --effect bass | aplay
  sonx import headphones.txt -o headphones.toml
  sonx response --preset headphones.toml --show level,phase --svg picture.svg
  sonx compare headphones.toml bypass music.flac folder
  sonx report --preset headphones.toml --in music.flac -o report.html
  sonx ktv voice.wav out.wav --reverb room=70% --echo delay=250 --voice-gain 6 --tail 2
  sonx denoise noisy.wav out.wav --policy 2
  sonx resample in.wav out.wav --rate 16000
A file to write that is there already is replaced; the file that is read is not.
'sonx COMMAND --help' tells more about each.)";

int run(int argc, char** argv) {
  CLI::App app("Runs audio files through the effects library, measures it, and shows what it does.",
               "sonx");
  app.require_subcommand(1);
  app.footer(kExamples);
  app.set_version_flag("--version", "sonx " SONX_VERSION);
  app.add_flag_callback(
      "--log", [] { sonx::show_debug_log(); },
      "show the library's debug log lines on standard error");
  sonx::add_play_command(app);
  sonx::add_effects_command(app);
  sonx::add_preset_command(app);
  sonx::add_import_command(app);
  sonx::add_export_command(app);
  sonx::add_response_command(app);
  sonx::add_compare_command(app);
  sonx::add_report_command(app);
  sonx::add_hp_command(app);
  sonx::add_ktv_command(app);
  sonx::add_denoise_command(app);
  sonx::add_resample_command(app);
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
