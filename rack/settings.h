// What a preset says, as plain values.
#pragma once

#include <string>
#include <vector>

#include "sonx/rack.h"

struct slot_settings {
  const sonx_effect* effect;
  bool enabled = true;
  std::vector<double> values;  // by catalogue index
};

struct rack_settings {
  std::string name;
  bool enabled = true;
  std::vector<slot_settings> slots;
};
