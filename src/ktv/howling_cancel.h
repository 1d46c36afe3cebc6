// Howling canceller: keeps a microphone that hears its own loudspeaker from howling, with five
// notches that it places where the loop starts to ring. A singer can stand some 5 dB louder than
// without it.
//
// docs/howling.md has the figures and how they were measured.
//
// How a howl is found. Every 256 samples a frame of 256 samples at half the rate (DC blocker and
// sixth-order low-pass in front) goes through the integer spectrum analysis, 93.75 Hz to a bin at
// 48 kHz, eight frames (43 ms) of memory. The criteria are those of the published howling
// detectors (T. van Waterschoot and M. Moonen, "Fifty years of acoustic feedback control: state of
// the art and future challenges", Proc. IEEE 99, 2011, section on notch-filter-based howling
// suppression), with limits of our own:
//   peak to threshold    a peak has -57 dBFS at least, and what it must show besides depends on
//                        its level above the usual one, a slow measure of how loud the voice is
//   peak to average      no less than 1/32 of the whole spectrum; 1/2 where a tone that does not
//                        grow is to count (1/8 where it is 10 dB above the usual level)
//   peak to neighbours   10 dB above what lies three bins away on either side
//   peak to harmonics    12 dB above what lies at 1/3, 1/2, 2/3, 4/3, 2, 8/3 and 3 times its
//                        frequency, until it has stood for half a second
//   slope over frames    the level's straight line over eight frames, within 1.5 dB: its rise,
//                        summed up while the frequency stays within 9 Hz, is the main evidence. A
//                        howl grows on a straight line in decibels; a note's onset does not last
//   persistence          frames in which the peak was steady, and in which it ruled the spectrum;
//                        these are remembered for some seconds, since a ring near the limit comes
//                        and goes with the voice, but always at the same frequency
// For a second after a howl has been proved more of them are likely: what is louder than usual then
// needs less evidence, and harmonics don't clear it: howls stand at each other's multiples too.
// A frequency between bins is that of the parabola through three levels.
//
// A ring near the limit needn't grow at all. A second look in frames of 85 ms (howling_lines.h)
// follows single lines of the spectrum for seconds, below the voice too, and tells which tones are
// harmonics of something: those are no suspects unless they are far louder than usual.
//
// The last test is made with the notch itself (an active probe): in a closed loop the tone dies
// away as soon as the notch cuts it; a note from outside goes on in front of the notch. If the
// level has not fallen by 1.2 dB within 43 ms, or by 7 dB (11 dB where the evidence was weak) within
// 107 ms, the notch is taken back, the frequency left alone for 3 s, and more evidence asked for the
// next ones. What falls faster than a loop can, or together with all else that is heard, has ended by
// itself and proves nothing, unless it was 12 dB above the usual level. A notch that was there before
// goes back to where it stood.
//
// How it is cut. A notch of 5/16 of its frequency between the -3 dB points takes its centre out
// entirely. Howls on its slopes or beside it widen it and draw its centre, to 12/16 at most; when all
// five are in use the two that lie closest become one. What stands in its very middle comes from
// outside, and quarters its time. It stays for 0.4 s the first time (0.8 s where the ring was slow, 2 s
// where it was far louder than a voice or others had just been proved), four times as long each time
// the howl returns, or for 60 s at once where it returns loudly. Then it gives up its depth over 4.4 s
// (0.7 s where it stayed for less than 6.4 s) and is put back at the first sign of the howl. Depth
// fades, in 2.7 ms going in; to be moved, a notch fades out and in.
//
// Two more lines of defence, both off until they are asked for. The first shifts all frequencies by a
// few hertz (frequency_shifter.h): what rings glides and leaves the frequency at which it grew. Where
// a loudspeaker's resonance carries a whole region, it grows on its way through it, again and again.
// So lines that glide as a loop lets them, alone, get a notch over their whole way when they have done
// so for a quarter of a second in all (howling_lines.h).
// That lets the loop stand some 4 dB louder, and doesn't suit a voice that is heard together with an
// accompaniment it has to be in tune with. It may come in by itself: when three howls have been
// proved within seconds, three notches stand, or a loud tone without harmonics just goes on. The
// second, the last resort, takes gain away, 26 dB in a second, while a howl goes on though all
// notches are in use, or nothing ends it, and gives it back by 1 dB in 5 s. A tone that neither
// glides with the shift nor falls with the gain comes from outside: it is left alone for the next 10
// s.
//
// What it doesn't do: howls below some 150 Hz and above 8.2 kHz (at 48 kHz) are not heard, above
// 5.8 kHz only slowly, and more than five narrow ones at once are cut only by wide notches. A solo note
// without harmonics may lose a twentieth of a second to a trial, and half a second, seldom seconds,
// where it ends by itself just while it is on trial.
//
// The analysis works on half of whatever rate it gets. All frequencies and times above hold at
// 48 kHz (within a tenth at 44.1 kHz); at 96 kHz bins are twice as wide and howls are found from
// 300 Hz to 11.6 kHz, in half the time.
//
// 24-bit samples in 32-bit words. Latency: none. While no notch is placed the samples pass as they
// are. Memory: 23 KB, all taken by init. Cancellers share nothing.
#pragma once

#include <stdint.h>

#include "../dsp/dc_remove.h"
#include "../dsp/elliptic.h"
#include "../dsp/fft_int.h"
#include "../dsp/notch.h"
#include "../dsp/sample_rate.h"
#include "../export.h"

// One notch's place and progress. Frequencies and widths are in 1/256 of an analysis bin (0.366 Hz
// at 48 kHz); times are in frames (5.3 ms).
struct howling_place {
  int phase;       // 0 free, 1 on trial, 2 holding, 3 giving up its depth
  int position;    // centre; 0 = none. Of a free place, where it stood last
  int width;       // between the -3 dB points
  int depth;       // share of the notch in its output, Q20: 1048576 takes the centre out entirely
  int depth_step;  // added to depth with every sample, while depth lies within 0..1048576
  int retune;      // the notch moves to position and width as soon as its depth is 0
  int timer;       // frames spent in this phase
  int hold;        // frames to hold the notch once its trial is passed
  int level;       // highest level in front of the notch during its trial, log2 Q10
  int attempts;    // trials that did not settle the matter
  int slope;       // fall of its level in eight frames, ahead of the trial, log2 Q10
  int slow;        // non-zero = a slow ring: its trial listens to a narrow band
  int strong;      // non-zero = the evidence was good
  int loud;        // 1 = far louder than a voice, or a howl had just been proved; 2 = it glided
  int heard;       // frequency that the trial listens to
  int rest;        // level of all that lies beside it when its trial began, log2 Q10
  // Where it stood when it went on trial once more; position 0 = nowhere.
  int proven_position, proven_width, proven_hold, proven_timer;
};

// A spectral peak that is being watched.
struct howling_suspect {
  int position;  // frequency, averaged over some frames; 0 = unused
  int growth;    // rise of its level while it was steady, log2 Q10
  int steady;    // frames in which it was steady
  int loud;      // frames in which it was steady and ruled the spectrum without growing fast
  int missed;    // frames in a row without the peak
  int level;     // newest, log2 Q10
};

// How long a tone that is no suspect any more has been loud.
struct howling_memory {
  int position;  // 0 = unused
  int loud;      // frames, fading
};

struct bin_powers;  // of the eight latest frames
struct frequency_shifter;
struct howling_lines;

// A tone that went on when it was notched, so comes from outside of the loop.
struct howling_outsider {
  int position;  // 0 = unused
  int timer;     // frames to go
};

struct howlingCancel {
  int status;      // non-zero = the owner runs this stage; processing itself does not look at it
  notch* notches;  // five, owned
  elliptic* low_pass;             // ahead of halving the rate, owned
  dc_remove* dc;                  // ahead of the low-pass, owned
  fft_int* analyser;              // owned
  int* frame;                     // the 256 latest samples at half the rate, oldest first; owned
  howling_place places[5];        // of the five notches
  howling_suspect suspects[8];    // peaks that are being watched
  howling_outsider outsiders[8];  // tones that were tried and came from outside
  int usual_level;                // of the loud parts of what is heard, slowly followed, log2 Q10
  int alert;           // frames to go in which more howls are likely: one has just been proved
  int doubt;           // grows with every trial that a tone from outside has caused, Q8
  bin_powers* powers;  // of the analysed frames, owned
  frequency_shifter* shifter;  // owned
  SampleRateType sample_rate;  // turns hertz into the shifter's steps, and nothing else
  int shift;                   // Hz; 0 = none
  int shift_mode;              // 0 = always, 1 = while the notches alone don't hold the loop
  int shift_hold;              // frames for which the automatic shift stays; below 0, since it left
  int shift_stay;              // frames for which it stays when it comes in the next time
  int pressure;                // howls proved lately, Q8
  int last_resort;             // non-zero = gain may go down
  int gain;                    // of the last resort, now, Q28
  int gain_step;               // added to gain with every sample, within its limits
  int ruler;                   // the tone that rules what is heard, as places have it; 0 = none
  int ruler_frames;            // for which it has stood there
  int sweep_frames;            // for which tones have ruled, wherever
  int sweep_low, sweep_high;   // between which they have moved
  int voice_frames;            // that the usual level has followed
  howling_memory memories[8];  // of tones that are no suspects any more
  int trust;                   // frames for which a ruling tone counts as one from outside
  howling_lines* lines;        // slow rings, owned
};

// Takes all memory; no notch placed; status 1 (on). Where memory is short, all pointers are null and
// the samples pass as they are.
SONX_EXPORT void howling_canceling_init(howlingCancel* canceller);

// Forgets all notches, histories and what was learnt about the voice; the status stays.
SONX_EXPORT void howling_canceling_reset(howlingCancel* canceller);

// Frees all memory and nulls the pointers; calling it again does nothing.
SONX_EXPORT void howling_canceling_end(howlingCancel* canceller);

// Stored as given; any non-zero value is on. Notches and histories stay.
SONX_EXPORT void howling_canceling_setstatus(howlingCancel* canceller, int status);
SONX_EXPORT void howling_canceling_getstatus(howlingCancel* canceller, int* status);

// Rate by its index (sample_rate.h), 48000 Hz after init. Only the shift's hertz depend on it; beyond
// the table it counts as 48000 Hz. Settings, this one and those below, stay through a reset.
SONX_EXPORT void howling_canceling_set_sample_rate(howlingCancel* canceller, SampleRateType rate);

// Shift of all frequencies in Hz, 0..20, clamped; 0, which is set by init, is none. 3 to 5 are usual.
// The shift glides to its new value by 24 Hz in a second, and fades in and out over 21 ms (at
// 48 kHz; both go by samples).
SONX_EXPORT void howling_canceling_set_shift(howlingCancel* canceller, int hertz);
SONX_EXPORT void howling_canceling_get_shift(howlingCancel* canceller, int* hertz);

// When to shift: 0 always (set by init), any other value only while the notches alone don't hold
// the loop. It then stays for 10 s after the last howl, and twice as long each time it has to come
// back soon, up to 160 s.
SONX_EXPORT void howling_canceling_set_shift_mode(howlingCancel* canceller, int mode);
SONX_EXPORT void howling_canceling_get_shift_mode(howlingCancel* canceller, int* mode);

// Whether gain may be taken away as the last resort: 0 = no (set by init), else yes; and the gain
// that is left, Q13, 8192 = all of it.
SONX_EXPORT void howling_canceling_set_last_resort(howlingCancel* canceller, int on);
SONX_EXPORT void howling_canceling_get_last_resort(howlingCancel* canceller, int* on);
SONX_EXPORT void howling_canceling_get_gain(howlingCancel* canceller, int* gain);

// n samples of one channel, any n; in place allowed; n < 1 does nothing. The same bits however the
// stream is cut. Samples beyond 24 bits are limited to 25 bits for the analysis. Nothing
// saturates for 24-bit samples; from about 2^30 on a placed notch may wrap. Five notches always
// run: the cost hardly depends on the signal, but every 256th sample brings an analysis,
// and every 2048th a longer one.
SONX_EXPORT void howling_canceling_process(howlingCancel* canceller, int* in, int* out, int n);
