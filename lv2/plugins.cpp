// What a host finds in the bundle's binary.
#include "plugins.h"

#include "sonx/rack.h"

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) try {
  const auto effects = static_cast<uint32_t>(sonx_effect_count());
  return index == effects ? &kRackDescriptor : effect_descriptor(index);
} catch (...) {
  return nullptr;
}
