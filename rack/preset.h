// A rack's settings as text, in TOML: written to be read by people, and stable. A later library
// reads what an earlier one wrote; a newer text is refused, by its version.
//
//   sonx = 1
//   name = "Late evening"
//
//   [[effect]]
//   id = "parametric-equalizer"
//   preamp = -6.0
//   band = [
//     { type = "peak", frequency = 105.0, gain = -3.2, q = 0.7 },
//   ]
//
//   [[effect]]
//   id = "reverb"
//   enabled = false
//   room = 60
//
// An effect's keys are the ids of its parameters in the catalogue: numbers in the parameter's unit,
// switches as true or false, choices as strings. Parameters that are numbered alike, band1_type,
// band1_gain, band2_type .., may stand as a list of tables instead, as above, and are written so.
// What is left out has its initial value.
#pragma once

#include <string>
#include <string_view>

#include "settings.h"

// Reads a preset for a rack at a rate in Hz. False: out is as it was, and error is one line: "line
// 7: " and what is wrong there, the first fault if there are several; or "out of memory". Faults
// are text that isn't TOML, a missing or newer version, unknown keys, ids and choices (with the
// nearest known one), a value of the wrong type or out of range, one that is given twice, and an
// effect that doesn't have the rate (with those it has).
bool parse_preset(std::string_view text, int rate, rack_settings& out, std::string& error);

// The text of the settings: the same text for the same settings, and reading it gives them back to
// the last bit. Every parameter is written, but for the tables at a list's end that hold initial
// values only. Throws std::bad_alloc.
std::string write_preset(const rack_settings& settings);
