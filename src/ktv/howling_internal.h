// The howling canceller's inner parts: evidence says what is a howl, places decide where the notches
// stand, reserves come in when the notches don't suffice. The places ask the evidence, the reserves
// ask both, not the other way round; howling_cancel.cpp brings them together.
#pragma once

#include "dsp/fft_peaks.h"
#include "dsp/log2.h"
#include "ktv/howling_cancel.h"
#include "ktv/howling_lines.h"

constexpr int kPlaces = 5;
constexpr int kFullDepth = 1 << 20;  // Q20
constexpr int kWidestRadius = 7168;  // Q13, 0.875: 1.9 kHz wide at 48 kHz
constexpr int kAlertFrames = 190;    // 1 s
constexpr int kLongHold = 11250;     // 60 s
constexpr int kStrongHold = 375;     // 2 s: a first proof by strong evidence
constexpr int kProvedHowl = 256, kMostPressure = 8 * kProvedHowl;  // pressure, Q8
constexpr int kWholeGain = 1 << 28;                                // Q28

// Level of a power of full scale - db, log2 Q10.
constexpr int level_of_dbfs(double db) { return level_of_db(93.3 + db); }

constexpr int kGlided = 2;  // howling_place::loud of what has glided

enum howling_phase { kFree, kTrial, kHolding, kReleasing };

// --- evidence

// Level of the newest frame around a frequency, three bins, log2 Q10.
int newest_level(const howlingCancel* canceller, int position);

// Level of the newest frame but for that, log2 Q10.
int rest_level(const howlingCancel* canceller, int position);

// Follows the usual level, matches the frame's marked peaks with the suspects and adds to what
// speaks against them.
void gather_evidence(howlingCancel* canceller, const int* found);

// former is the place at which a howl of this frequency stood before, or null. A howl that returns
// needs less evidence.
bool is_howl(const howlingCancel* canceller, const howling_suspect& suspect,
             const howling_place* former);

// Whether a line has stood for long enough to be a ring, and is not about to end by itself.
bool is_slow_ring(const howlingCancel* canceller, const howling_line& line,
                  const howling_place* former);

// Whether the evidence is good enough for a long hold.
bool is_strong(const howlingCancel* canceller, const howling_suspect& suspect,
               const howling_place* former);

void forget_evidence(howlingCancel* canceller);

// What was taken for tones from outside is a howl: they are no excuse any more.
void forget_outsiders(howlingCancel* canceller);

// Whether a suspect that is louder than usual grows or stands, tones from outside excepted.
bool howl_stands(const howlingCancel* canceller);

// The position of a loud tone that rules the spectrum, from outside or not; 0 = none. A gliding one
// is what a howl becomes under the shift.
int ruling_tone(const howlingCancel* canceller, bool gliding);

// A tone at this frequency and level went on when it was notched.
void learn_outsider(howlingCancel* canceller, int position, int level);

// --- places

// The place that has been given up, or is being given up, where a howl returns; null = none.
const howling_place* former_place(const howlingCancel* canceller, int position);

// One frame further: trials end, holds end, what has faded out is moved.
void advance_places(howlingCancel* canceller, const int* found);

// How many notches stand on proved howls.
int holding(const howlingCancel* canceller);

// Whether all notches stand on howls.
bool all_in_use(const howlingCancel* canceller);

// Puts a notch on a howl, for long if the evidence is strong; slope is that of a slow ring's level.
void answer_howl(howlingCancel* canceller, int position, bool strong, bool slow = false,
                 int slope = 0);

// The same for what has moved between two frequencies.
void answer_sweep(howlingCancel* canceller, int low, int high);

// --- reserves

// Shift and gain as after init; settings stay.
void reset_reserves(howlingCancel* canceller);

// One frame further: whether the shift is needed, where the gain goes.
void advance_reserves(howlingCancel* canceller);

// Shifts and scales what the notches leave, n samples.
void apply_reserves(howlingCancel* canceller, int* x, int n);

// --- all

// Once per hop: analyses the frame, looks for howls, answers them.
void follow_howls(howlingCancel* canceller);
