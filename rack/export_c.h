// Settings as C initialisers, for programs that drive the effects' own library.
#pragma once

#include <string>

#include "hp/audio_effect_control.h"
#include "settings.h"

// A file of C: a comment for each slot, and what its effect gives.
std::string write_c(const rack_settings& settings, int rate);

// For the effects: the parameter record of the headphone handle, and a word.
std::string record_in_c(const audio_effect_control_acdb_t& record, const std::string& name);
std::string number_in_c(const std::string& name, int value, const std::string& comment);
