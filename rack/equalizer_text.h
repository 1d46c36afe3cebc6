// Equalizer settings in the text forms in which they are published, as a preset.
//
//   Preamp: -6.2 dB
//   Filter 1: ON PK Fc 105 Hz Gain -3.2 dB Q 0.70
//   Filter 2: OFF HSC Fc 8000 Hz Gain 2.5 dB Q 0.71
//
//   GraphicEQ: 20 0.0; 21 -0.3; 23 -0.9; ..
//
// Comments begin with #, ; or //. Any line end, a byte order mark, decimal commas, and letters large
// or small will do. A filter of a type that has one may give its bandwidth, `BW Oct 1.5`, instead
// of its Q; shelves and passes without Q have that of Butterworth's, 0.707. Every ten filters
// become a parametric equalizer; a GraphicEQ line is fitted by one.
#pragma once

#include <string>
#include <string_view>

struct imported_equalizer {
  std::string preset;  // empty if there's a fault
  std::string report;  // lines: the faults, or what was taken and how much room it needs
  int faults = 0;
};

// auto_preamp: the preamp becomes what the curve needs, whatever the text says.
imported_equalizer import_equalizer(std::string_view text, bool auto_preamp);
