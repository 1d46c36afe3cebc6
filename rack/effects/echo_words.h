// The echo's settings and times, shared with the karaoke chain.
#pragma once

#include "ktv/iirecho.h"
#include "parameters.h"

#define SONX_ECHO_SETTINGS(id, name)                                                            \
  number(id "time", name "Time", "ms", {1, 350, 1, 1},                                          \
         "Time to the first repeat and between repeats."),                                      \
      number(id "feedback", name "Feedback", "%", {0, 100, 50},                                 \
             "How slowly the repeats fade: at 100 each is 4.6 dB softer than the one before."), \
      number(id "dry", name "Plain sound", "%", {0, 100, 33},                                   \
             "How loud the sound itself is; the echo's level holds some of it too."),           \
      number(id "wet", name "Echo level", "%", {0, 100, 67},                                    \
             "How loud the echo is, the sound that it starts with included.")

enum { kEchoTime, kEchoFeedback, kEchoDry, kEchoWet, kEchoSettings };

//   time      ms at 48000 Hz, rounded to whole ones of those 48 frames at other rates
//   feedback  100 % = 8192
//   dry, wet  100 % = 8192
// set clears the loops if time or feedback is another one.
void set_echo(iirecho* echo, const double* values, int rate);

// Until the repeats have filled to within 6 dB of what they will be.
int echo_warm_up(const double* values, int rate);

// Until full scale has died away to less than -60 dB.
int echo_tail(const double* values, int rate);
