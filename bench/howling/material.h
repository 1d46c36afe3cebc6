// What is sung, spoken and played: real recordings and voices of other programs, brought to mono at
// 48 kHz. A missing program or file ends the run with its name and the Debian package that has it.
#pragma once

#include <string>
#include <vector>

#include "room.h"

struct clip {
  std::string name;
  signal samples;  // full scale 1.0
};

// Sentences by a speech synthesizer in several voices, and recorded announcements.
std::vector<clip> speech();

// Melodies and held notes without accompaniment, sampled voices and wind instruments.
std::vector<clip> singing();

// Held chords of sustained sampled instruments: organ, strings, flutes, accordion, brass, choir.
std::vector<clip> chords();

// Recorded pieces of music.
std::vector<clip> music();
