// The howling canceller's inner parts: evidence says what is a howl, places decide where the
// notches stand.
#pragma once

#include "dsp/fft_peaks.h"
#include "dsp/log2.h"
#include "ktv/howling_cancel.h"

constexpr int kPlaces = 5;
constexpr int kFullDepth = 1 << 20;  // Q20
constexpr int kWidestRadius = 7168;  // Q13, 0.875: 1.9 kHz wide at 48 kHz
constexpr int kAlertFrames = 190;    // 1 s
constexpr int kLongHold = 11250;     // 60 s

// Level of a power of full scale - db, log2 Q10.
constexpr int level_of_dbfs(double db) { return level_of_db(93.3 + db); }

enum howling_phase { kFree, kTrial, kHolding, kReleasing };

// --- evidence

// Level of the newest frame around a frequency, three bins, log2 Q10.
int newest_level(int position);

// Follows the usual level, matches the frame's marked peaks with the suspects and adds to what
// speaks against them.
void gather_evidence(howlingCancel* canceller, const int* found);

bool is_howl(const howlingCancel* canceller, const howling_suspect& suspect);

// The level from which evidence is good enough for a long hold.
bool is_strong(const howlingCancel* canceller, const howling_suspect& suspect);

void forget_evidence(howlingCancel* canceller);

// A tone at this frequency and level went on when it was notched.
void learn_outsider(howlingCancel* canceller, int position, int level);

// --- places

// The place that has been given up, or is being given up, where a howl returns; -1 = none.
int place_of_return(const howlingCancel* canceller, int position);

// One frame further: trials end, holds end, what has faded out is moved.
void advance_places(howlingCancel* canceller, const int* found);

// Puts a notch on a howl.
void answer_howl(howlingCancel* canceller, const howling_suspect& howl);
