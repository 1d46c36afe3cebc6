// The howling canceller's parameters, which the karaoke chain has too.
#pragma once

#include <array>

#include "ktv/howling_cancel.h"
#include "parameters.h"

constexpr std::array<const char*, 2> kShiftTimes = {"always", "when needed"};

#define SONX_HOWLING_SETTINGS(prefix, title)                                                       \
  number(prefix "shift", title "Shift", "Hz", {0, 20, 0, 1},                                       \
         "Moves all frequencies up by so much, so that a howl can't settle: some 4 dB more gain. " \
         "3 to 5 "                                                                                 \
         "are usual; for speech, and not beside an accompaniment."),                               \
      choice(prefix "shift_when", title "Shift when", kShiftTimes, 1,                              \
             "Shifts always, or only while the notches alone don't hold the loop."),               \
      toggle(prefix "last_resort", title "Last resort", false,                                     \
             "Takes gain away while a howl goes on though all notches are in use.")
enum { kHowlingShift, kHowlingShiftWhen, kHowlingLastResort, kHowlingSettings };

inline void set_howling(howlingCancel* canceller, const double* values) {
  howling_canceling_set_shift(canceller, static_cast<int>(values[kHowlingShift]));
  howling_canceling_set_shift_mode(canceller, static_cast<int>(values[kHowlingShiftWhen]));
  howling_canceling_set_last_resort(canceller, static_cast<int>(values[kHowlingLastResort]));
}
