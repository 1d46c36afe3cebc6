// Band post-processing of the noise suppressor: estimates for each frame whether a voice is
// present, and limits sudden peaks of the suppressor's output.
//
// Per frame of n samples, in this order:
//
//   BP_ns_pre    on the input frame: appends its peak to the last 50
//   BP_ns_app    on the frame's magnitude spectrum: presence, 0 = noise only, 32767 = voice
//   BP_ns_post   on the suppressor's output frame: the transient limiter
//
// Presence rests on two measures of irregularity, sums of natural logarithms:
//   spread     how far each of the last 50 peaks lies from their mean
//   deviation  how far each bin of the spectrum lies from their mean
// Each has a floor: the smallest value within 601 frames, if smallest and largest were far enough
// apart (150 in spread, 200 in deviation). Three trackers, their spans 100 to 300 frames apart, set
// it in turn. The smoothed measure less its floor goes through a sigmoid with its middle at 100
// (spread) or 200 (deviation) and a width of 10 or 40; each frame presence moves by 0.3 of the way
// to the mean of the two.
//
// THIS CAN END THE PROCESS. The sigmoid has no value at 19 widths or more from its middle; its
// division then prints "Division Error var1=32767  var2=-32768" to standard output and calls
// exit(0), so that the host ends with a status of success. It takes
//   a spread of 290 above its floor: 50 peaks some 330 steps from their mean (geometric mean of
//     1 + the distance), or
//   a deviation of 960 above its floor: with 129 bins at shift 0, 1700 from their mean.
// Speech at -20 dBFS reached that within ten frames, at -40 dBFS within 30, at -50 dBFS not at all
// (two recordings, by spread alone). So does every steady sound that starts with peaks of 673
// (-34 dBFS) or more: the peak history starts with zeros, and once half of it is filled, all 50 are
// half a peak from their mean. No setting prevents it: a host that must not end does not call
// BP_ns_app.
//
// The limiter: a frame with a crest factor (peak over mean magnitude) of e^2 or more, 17.4 dB, is a
// transient. From its second sample on the gain is such that the peak comes out at no more than
// twice the largest of the last ten frames' maxima; in the frames after it the gain rises by
// 50 / 32768 a sample. The gain starts at 0: the first 656 samples fade in.
//
// Latency: none. Memory: one record of 216 bytes, taken by BP_ns_init. Logarithms are Q8 (256 =
// 1.0), from a table of 256 entries; measures, floors, presence and gains are Q15.
#pragma once

#include "../export.h"

struct BPInfo_tag {
  int bins;                // spectrum bins that BP_ns_app looks at
  short peak_history[50];  // peaks of the last 50 input frames, oldest first
  short max_history[10];   // maxima of the last ten output frames, oldest first
  short crest;             // Q8 logarithm of the last output frame's crest factor
  short post_gain;         // Q15 gain of the limiter
  int frame_count;         // frames that BP_ns_app has seen; wraps
  int tracker_count[3];    // frames since each floor tracker started, 1..601
  int spread_smooth;       // smoothed spread, Q15
  int spread_min[3];       // each tracker's smallest spread, Q15
  int spread_max[3];       // each tracker's largest spread, Q15
  int spread_floor;        // floor of the spread, Q15
  int peak_mean;           // mean of peak_history
  int dev_smooth;          // smoothed deviation, Q15
  int dev_min[3];          // each tracker's smallest deviation, Q15
  int dev_max[3];          // each tracker's largest deviation, Q15
  int dev_floor;           // floor of the deviation, Q15
  short presence;          // Q15
};

// A new instance, all zero but for bins and the trackers' ages (600, 300, 200 frames). The first
// argument, the sample rate, is not used. bins is the number of magnitudes of a spectrum: 65 at
// 8000 Hz, 129 at 16000 and 32000 Hz; below 1 the spectrum is not looked at. Not checked: whether
// memory was there.
SONX_EXPORT BPInfo_tag* BP_ns_init(int rate, int bins);

// Appends the peak of an input frame of n samples, x[0..n), and updates peak_mean (sum / 50,
// rounded toward zero). The peak is the largest positive sample but for the last one of the frame,
// at least 1; n < 2 gives 1. The last argument is not used. Returns 0.
SONX_EXPORT int BP_ns_pre(BPInfo_tag* bp, short* x, int n, short* unused);

// Presence of a voice, Q15, from a magnitude spectrum: spectrum[0..bins), the true magnitudes times
// 2^shift, and total, their sum (used only for their mean, total / bins rounded down). shift is
// clamped to -15..15. A bin adds the logarithm of its distance from the mean, without the scaling,
// where that is positive; a bin at the mean counts as a distance of 1. In the first ten frames the
// measures are not smoothed, and each of these frames starts the trackers anew.
// Returns the new presence, 0..32767, or ENDS THE PROCESS: see above.
SONX_EXPORT short BP_ns_app(BPInfo_tag* bp, unsigned short* spectrum, unsigned int total,
                            short shift);

// The limiter: measures io[0..n), then writes in[0..n) times the gain to it, rounded down. in and
// io may be the same. A frame with the gain at 32767 and nothing to limit leaves io as it is,
// whatever in holds; n < 1 counts as a frame of silence. Returns 0.
//
// The search keeps the frame's maximum in 16 bits: a sample of -32768 turns it into -32768, which
// the next sample replaces. As the last sample of a frame it remains the maximum: the frame then
// counts as a transient with a wrong gain (0 or negative, as it wraps at 16 bits). Keep the output
// within -32767..32767 to avoid that.
SONX_EXPORT int BP_ns_post(BPInfo_tag* bp, short* in, int n, short* io);

// Frees an instance; a null pointer does nothing. Returns 0.
SONX_EXPORT int BP_ns_delete(BPInfo_tag* bp);

// The limiter's gain ramp alone: out[i] = in[i] * gain / 32768, rounded down, with the gain moving
// by step (Q15 per sample, not negative) from *gain toward target, where it stays; the final one is
// stored in *gain. Gains are Q15, 32767 counts as 1.0. With *gain and target both 32767 nothing is
// written. A step below 0 jumps to the target after one sample. in and out may be the same; n < 1
// does nothing.
SONX_EXPORT void soft_gain_proc(short* in, int n, short* out, short target, short* gain,
                                short step);
