// A rack as a filter chain of PipeWire, with the rack's effects as LV2 plugins.
#pragma once

#include <string>

#include "rack_host.h"

namespace sonx {

// A file for PipeWire's folder pipewire.conf.d: a sink that plays through the rack's effects, at the
// rack's rate. It's called by the preset's name, or by its file's where it has none. Throws for what
// a stereo chain can't hold.
std::string pipewire_text(const rack& its, const std::string& file_name);

}  // namespace sonx
