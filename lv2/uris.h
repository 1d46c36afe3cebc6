// The names under which hosts know the plugins: the bundle's generator and its plugins agree here.
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
