// Slow rings: a finer look at what the canceller hears. Near its limit a loop rings for seconds
// without growing, softer than the voice, but always at the same frequency. Frames of 85 ms, one
// every 43 ms, 11.7 Hz to a bin at 48 kHz, tell such a line from a voice, whose pitch never stands
// still and whose harmonics stand at multiples of each other. Under the shift a ring moves up by as
// much in each look, over the same stretch again and again: such glides are followed too.
#pragma once

#include "ktv/howling_cancel.h"

constexpr int kFramesPerLook = 8;
constexpr int kLineFrame = 2048;  // samples at half the rate
constexpr int kLines = 16;        // followed at a time
constexpr int kLinePeaks = 32;    // of one look
constexpr int kGlides = 8, kSweeps = 6;
constexpr int kGlideLook = 16;  // evidence of a look in which a tone glides

// A line of the spectrum that is being followed. Positions as howling_place has them.
struct howling_line {
  int position;  // 0 = unused
  int evidence;  // quarters of a frame
  int slope;     // of its level from look to look, averaged
  int level;     // newest, log2 Q10, as of howling_suspect
};

// A tone that moves up from look to look, as a howl does under the shift.
struct howling_glide {
  int first, position;  // where it began and is; 0 = unused
  int step;             // the latest
  int looks;            // so far
};

// Where such tones have been.
struct howling_sweep {
  int low, high;  // 0 = unused
  int evidence;   // fades by 1 with each look
};

struct howling_lines {
  int past[kLineFrame];  // at half the rate, a ring
  int newest;            // where the next hop goes
  int hops;              // since the last look
  int doubt;             // grows with every trial that a tone from outside has caused, Q8
  howling_line lines[kLines];
  howling_glide glides[kGlides];
  howling_sweep sweeps[kSweeps];
  unsigned looks;                // so far
  int harmonics[4][kLinePeaks];  // positions in the four latest looks; 0 = none
};

// Forgets what was heard.
void reset(howling_lines* lines);

// One hop at half the rate, 128 samples. Whether the lines have been looked at anew. shift is by how
// much all frequencies are moved, in positions; usual is the usual level.
bool hear_hop(howling_lines* lines, const int* hop, int shift, int usual);

// Whether a harmonic of a voice or an instrument was seen there lately.
bool is_harmonic(const howling_lines* lines, int position);

// Level around a frequency, 50 Hz to either side, in the 43 ms that ended some samples ago, log2 Q10.
int narrow_level(const howling_lines* lines, int position, int ago = 0);
