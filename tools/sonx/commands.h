// The subcommands of the tool; each adds itself to the command line and does its work in a
// callback.
#pragma once

namespace CLI {
class App;
}

namespace sonx {

void add_play_command(CLI::App& app);
void add_effects_command(CLI::App& app);
void add_preset_command(CLI::App& app);
void add_import_command(CLI::App& app);
void add_export_command(CLI::App& app);
void add_hp_command(CLI::App& app);
void add_response_command(CLI::App& app);
void add_compare_command(CLI::App& app);
void add_report_command(CLI::App& app);
void add_ktv_command(CLI::App& app);
void add_denoise_command(CLI::App& app);
void add_resample_command(CLI::App& app);

}  // namespace sonx
