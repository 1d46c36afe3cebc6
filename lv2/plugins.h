#pragma once

#include <lv2/core/lv2.h>

// The plugin of the catalogue's effect of that index; null beyond the last.
const LV2_Descriptor* effect_descriptor(uint32_t index);

// The plugin that plays a preset file.
extern const LV2_Descriptor kRackDescriptor;
