// The names under which hosts know the plugins and their ports.
#pragma once

#include <string>

// An effect's plugin: its id behind this.
#define SONX_LV2_EFFECT "urn:sonx:effect:"

// The plugin that plays a preset file, and its property, the file's path.
#define SONX_LV2_RACK "urn:sonx:rack"
#define SONX_LV2_RACK_PRESET SONX_LV2_RACK "#preset"

inline std::string effect_uri(const char* id) { return SONX_LV2_EFFECT + std::string(id); }

// Ports of an effect's plugin: audio in, audio out, then these, then the parameters in the
// catalogue's order. The rack's plugin has two more where the parameters would be.
enum fixed_port { kEnabledPort, kLatencyPort, kFixedPorts };
enum rack_port { kControlPort, kNotifyPort, kRackPorts };

// The symbol of an audio port, one of `count`: "in", or "in_left" and "in_right". The other ports'
// symbols are the parameters' ids, and these.
inline std::string audio_symbol(const char* direction, int count, int side) {
  return count == 1 ? direction : direction + std::string(side == 0 ? "_left" : "_right");
}
constexpr const char* kEnabledSymbol = "enabled";
