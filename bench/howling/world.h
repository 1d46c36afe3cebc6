// A wide world of loops, each from a seed: rooms, loudspeakers, levels, voices.
//
//   direct sound after 3..15 ms, direct to tail -3..6 dB, eight early reflections, a diffuse tail of
//   0.15..0.6 s whose upper half decays twice as fast; a loudspeaker from 120..350 Hz (200 Hz in
//   one out of two) to 4..9 kHz (7 kHz), none to three housing resonances of 3..9 dB; one in four
//   has the microphone covered by a hand in the middle of the voice: a cavity that adds 4..8 dB at
//   0.8..2.5 kHz and takes what lies above
//   voice: speech, singing, speech beside music; -40..-18 dBFS
//
// Seeds of 100000 and up draw from a narrower family: 200 Hz to 7 kHz, none to two resonances, no
// hand; one of four voices that speak for 20 s at -30 dBFS.
#pragma once

#include <string>

#include "room.h"

enum class voice_kind { speech, singing, speech_beside_music };

struct world {
  signal response;       // at 0 dB of gain this one, or the next, is just stable
  signal covered;        // the same with a hand over the microphone; empty: none
  double open_limit_db;  // where the first alone is just stable
  signal voice;          // 24 s, in the narrow family 20 s
  double level_db;       // of its loud parts, dBFS
  voice_kind kind;
};

world world_of(unsigned seed);

// Notes without accompaniment, 20 s: sines, or a flute's few partials with breath and vibrato.
signal sine_notes(unsigned seed);
signal flute_notes(unsigned seed);

// 20 s without feedback: speech, singing with vibrato, held chords.
signal speech_alone(unsigned seed, double level_db);
signal singing_alone(unsigned seed, double level_db);
signal chords_alone(unsigned seed, double level_db);
