#include "export_c.h"

#include <algorithm>
#include <iterator>

#include "effect.h"

std::string number_in_c(const std::string& name, int value, const std::string& comment) {
  return "int " + name + " = " + std::to_string(value) + ";  // " + comment + "\n";
}

std::string record_in_c(const audio_effect_control_acdb_t& record, const std::string& name) {
  std::string text = "// For sonx_hp_effect_set_parameters: effect, adapter and data words.\n" +
                     ("struct audio_effect_control_acdb_t " + name + "_record = {") +
                     std::to_string(record.effect_type) + ", " +
                     std::to_string(record.hpadapter_type) + ", {";
  const auto* const end = std::find_if(std::make_reverse_iterator(std::end(record.data)),
                                       std::make_reverse_iterator(std::begin(record.data)),
                                       [](int word) { return word != 0; })
                              .base();
  for (const int* word = record.data; word != std::max(end, record.data + 1); ++word)
    text += (word == record.data ? "" : ", ") + std::to_string(*word);
  return text + "}};\n";
}

std::string write_c(const rack_settings& settings, int rate) {
  std::string text = "// A rack's settings at " + std::to_string(rate) + " Hz.\n" +
                     "#include <sonx_proc_hal/hp/audio_effect_control.h>\n";
  int number = 0;
  for (const slot_settings& slot : settings.slots) {
    const effect_definition& effect = *definition_of(slot.effect);
    text += "\n// Slot " + std::to_string(++number) + ", " + slot.effect->id +
            (slot.enabled ? "" : ", which is switched off") + ".\n";
    text += effect.in_c
                ? effect.in_c(slot.values.data(), rate, "slot" + std::to_string(number))
                : "// Neither a headphone handle's record nor the parametric equalizer has a form "
                  "for it.\n";
  }
  return text;
}
