// Moves all frequencies by the same few hertz, so that what goes round a loop of microphone and
// loudspeaker never meets itself: a frequency at which the loop would ring is left again after a few
// rounds (E. Berdahl and D. Harris, "Frequency shifting for acoustic howling suppression",
// DAFx-10).
//
//        ┌─► six all-passes ─► × cos ─┐
//   in ──┤                            ├─ sum ─► fade ─► out
//        └─► six all-passes ─► × sin ─┘         from in
//
// The chains' outputs are a quarter of a turn apart, so the sum has one sideband only: the other lies
// 62 dB and more below it from 75 Hz to 17.5 kHz at 48 kHz, and the level is the same within
// 0.01 dB there. Harmonics don't stay harmonic: 5 Hz are a semitone less at 80 Hz and nothing to
// hear above 1 kHz. Delay: that of the all-passes, below 1 ms above 360 Hz at 48 kHz.
//
// The shift glides, and the shifter fades in and out over 21 ms; out of use it passes the samples as
// they are and costs nothing. 24-bit samples in 32-bit words; beyond 25 bits they are limited.
// Inside they stand 7 bits up, in 64-bit words. Products are cut towards zero, so that what has been
// shifted ends in silence.
#pragma once

#include <cstdint>

constexpr int kShiftSections = 6;

// What a carrier advances with each sample for one hertz, at 44100, 48000, 96000 and 192000 Hz.
constexpr int kStepsPerHertz[] = {97391, 89478, 44739, 22370};

struct frequency_shifter {
  int64_t chains[2][kShiftSections + 1];  // the latest input and each section's output
  uint32_t phase;                         // of the carrier, 2^32 a turn
  int step;                               // its advance with each sample
  int share;                              // of the shifted in the output, Q20
};

// Histories cleared, not in use.
void reset(frequency_shifter* shifter);

// n samples in place; the step glides to target, and the share to full where in_use, else to 0.
void shift_block(frequency_shifter* shifter, int target, bool in_use, int* x, int n);

// Whether it changes anything.
inline bool is_heard(const frequency_shifter* shifter) { return shifter->share > 0; }
