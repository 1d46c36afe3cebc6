// Parameters that several effects have: a module on its own and the chains that hold it, which put
// a prefix to ids and names.
#pragma once

#include "parameters.h"

// Ten band gains of the graphic equalizer, lowest first.
#define SONX_BAND_GAIN(id, hertz) \
  number(id, hertz, "dB", {-15, 15, 0, 1}, "Gain of the band around " hertz ".")
#define SONX_BAND_GAINS(prefix)                                                                    \
  number(prefix "band31", "31 Hz", "dB", {-15, 15, 0, 1}, "Gain of everything below some 50 Hz."), \
      SONX_BAND_GAIN(prefix "band62", "62 Hz"), SONX_BAND_GAIN(prefix "band125", "125 Hz"),        \
      SONX_BAND_GAIN(prefix "band250", "250 Hz"), SONX_BAND_GAIN(prefix "band500", "500 Hz"),      \
      SONX_BAND_GAIN(prefix "band1k", "1 kHz"), SONX_BAND_GAIN(prefix "band2k", "2 kHz"),          \
      SONX_BAND_GAIN(prefix "band4k", "4 kHz"), SONX_BAND_GAIN(prefix "band8k", "8 kHz"),          \
      number(prefix "band16k", "16 kHz", "dB", {-15, 15, 0, 1},                                    \
             "Gain of everything above some 12 kHz.")

// The reverb's six settings.
#define SONX_REVERB_SETTINGS(id, name)                                                           \
  number(id "room", name "Room size", "%", {0, 100, 50},                                         \
         "How long the room's lows sound: at 48 kHz from one second at 0 to over half a minute " \
         "at 100."),                                                                             \
      number(id "damp", name "Damping", "%", {0, 100, 50},                                       \
             "How much sooner the highs of the room die away than its lows."),                   \
      number(id "wet", name "Room level", "%", {0, 300, 100}, "How loud the room is."),          \
      number(id "dry", name "Plain sound", "%", {0, 200, 0},                                     \
             "How loud the sound itself stays beside the room; 100 leaves it as it is."),        \
      number(id "width", name "Width", "%", {0, 200, 100},                                       \
             "How far the room's left and right are apart."),                                    \
      number(id "gain", name "Input gain", "dB", {-20, 12, 0},                                   \
             "How strongly the sound goes into the room.")

enum { kRoom, kDamp, kWet, kDry, kWidth, kReverbGain, kReverbSettings };
