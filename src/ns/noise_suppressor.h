// Noise suppressor: reduces steady noise (a fan, a street, a hissing microphone) in one channel of
// speech.
//
// How it works. Overlapping windowed frames of the signal are transformed; each bin of the spectrum
// gets a gain between a lower bound and 1 by its ratio to the noise, and the frames are transformed
// back and added up. The noise is estimated from the same signal:
//
//   noise estimate    the lower quartile over time of each bin's log magnitude, by stochastic
//                     approximation; three estimates, each of which starts over every 200 frames, a
//                     third of that apart; in the first 50 frames blended with white or pink noise
//                     fitted to the mean spectrum
//   speech or noise   per bin, from a smoothed likelihood ratio between the two and the prior
//                     probability of a pause
//   noise update      the noise moves toward the magnitudes where a pause is likely
//   gain              of Wiener's type, SNR / (overdrive + SNR), with the SNR estimated from the
//                     frame before and the present one
//   gain factor       one more gain for the frame as a whole, by the share of its energy that is
//                     left
//
// Frames and rates. A call of tekaNs_ProcessCore takes one block and gives one:
//
//   rate (Hz)      block (samples)   analysis length   bins   latency
//   8000           80, 10 ms         128               65     48 samples, 6 ms
//   16000          160, 10 ms        256               129    96 samples, 6 ms
//   32000          160, 5 ms         256               129    96 samples, 3 ms
//
// 32000 Hz runs on the sizes of 16000 Hz, with bins twice as wide and everything that counts frames
// twice as fast.
//
// A host sets the policy, how far noise is reduced:
//
//   policy   overdrive   lower bound of a bin's gain   gain factor
//   0        1.0         0.5    (-6 dB)                off
//   1        1.0         0.25   (-12 dB)               on
//   2        1.1         0.125  (-18 dB)               on
//   3        1.25        0.09   (-21 dB)               on
//
// and where the prior probability of a pause comes from (tekaNs_set_prior_source):
//
//   0, presence   from the band post-processing (band_post.h). This is the default, and it has two
//                 effects that a host must know. SPEECH CAN END THE PROCESS: ordinary speech at
//                 -20 dBFS within a few frames reaches values for which the band post-processing
//                 has no result; it then prints "Division Error ..." and calls exit(0). So does any
//                 steady sound that starts with peaks above some -34 dBFS. And steady noise louder
//                 than about -55 dBFS counts as a voice: nothing is then suppressed.
//   1, own        from the suppressor's own features of the signal: likelihood ratio, spectral
//                 flatness, spectral difference from the pauses before, each compared with a
//                 threshold that is renewed every 512 frames. The band post-processing's presence
//                 is not computed, so the process can't end.
//   2, tracked    no prior for the frame as a whole, but another estimate and another gain, on the
//                 same frames, transforms and bounds; below. It follows a change of the noise
//                 within 1.6 s, turns steady noise down by exactly the policy's bound and takes
//                 least from a voice. New hosts should use this one.
//
// With sources 0 and 1 the output fades in over the first 656 samples and passes through the
// transient limiter of the band post-processing; with 2 neither.
//
// Source 2, a bin at a time:
//
//   minimum        of the power, smoothed over three bins and some 20 ms, in the last 1.1 s. A voice
//                  has gaps in that time, a noise hasn't
//   absence        how likely the power is noise alone: from where it and the smoothed power stand
//                  over the minimum
//   noise          follows the power as far as speech is absent
//   SNR a priori   0.9 of what was left of the frame before, 0.1 of the present frame
//   presence       of speech, from the SNRs of the bin, of its neighbours and of the frame: all three
//                  must speak for it
//   gain           the policy's bound, and as far as speech is present Wiener's SNR / (1 + SNR), and
//                  more where the noise is 30 dB below the speech of the bins around and isn't heard
//                  beside it. Overdrive and gain factor aren't used
//
// The noise starts as the first frame's power. A frame of zeros is one without noise.
//
// Published sources: quantile-based noise estimation (V. Stahl, A. Fischer, R. Bippus, ICASSP
// 2000); decision-directed SNR and likelihood ratio (Y. Ephraim, D. Malah, IEEE Trans. ASSP 32,
// 1984; J. Sohn, N. S. Kim, W. Sung, IEEE Signal Processing Letters 6, 1999). For source 2: noise
// by minima-controlled averaging (I. Cohen, IEEE Trans. Speech and Audio Processing 11, 2003);
// minima of smoothed powers (R. Martin, IEEE Trans. Speech and Audio Processing 9, 2001); presence
// of speech from the SNRs around (I. Cohen, B. Berdugo, Signal Processing 81, 2001); Wiener's gain
// (P. Scalart, J. V. Filho, ICASSP 1996).
//
// Memory: the record below, 27 KiB, held by the caller, and the 216 bytes of the band
// post-processing, taken by tekaNs_InitCore; nothing is allocated per frame. One instance is used
// from one thread at a time; the six dispatch pointers are the process's.
#pragma once

#include <stdint.h>

#include "../export.h"
#include "band_post.h"

enum {
  kNsxMaxFrame = 256,                  // analysis length, samples
  kNsxMaxBins = kNsxMaxFrame / 2 + 1,  // magnitudes of a spectrum, bin 0 and the last one included
  kNsxEstimates = 3,                   // quantile estimates that run side by side
  kNsxFeatures = 3,                    // likelihood ratio, flatness, difference: in this order
  kNsxHistogramBins = 1000,
  kNsxStages = 7  // complete parts of the window in which minima are sought
};

// Magnitudes "in Q16" are |X| / N, X being the N-point transform of a windowed frame of 16-bit
// samples: for a sine at full scale about 0.36 * 32767 * 65536. SNRs are ratios of magnitudes:
// a priori, that of the speech alone to the noise; a posteriori, the whole magnitude to the noise.
struct NsxInst_t_ {
  int status;              // for the owner's use: nothing here reads it
  BPInfo_tag* band_post;   // made by tekaNs_InitCore, freed by tekaNs_FreeCore
  short prior_non_speech;  // prior probability of a pause, Q14

  // Set by init and policy.
  int initialized;  // 1 after tekaNs_InitCore
  unsigned int sample_rate;
  int block_length;  // 80 or 160
  int frame_length;  // N, 128 or 256
  int bins;          // N / 2 + 1
  int stages;        // log2 N
  const short* window;
  int policy;
  int overdrive;       // Q8
  int denoise_bound;   // lowest gain of a bin, Q14
  int gain_factor_on;  // the gain factor of a frame is in use

  // The present frame.
  int zero_input;     // all samples of the frame are 0
  int norm;           // block normalisation: the frame was shifted up by this before the transform
  int64_t energy_in;  // of the windowed frame
  unsigned int magnitude_sum;           // of the bins' 16-bit magnitudes, times 2^norm
  int64_t magnitude_energy;             // sum of the squares of |X| / N, Q32
  short spectrum[kNsxMaxFrame + 2];     // pairs, real part first, X / N times 2^norm
  unsigned int magnitude[kNsxMaxBins];  // Q16
  short log_magnitude[kNsxMaxBins];     // ln |X|, Q8
  unsigned short gain[kNsxMaxBins];     // Q14

  // History of samples.
  short analysis_buffer[kNsxMaxFrame];   // the last N input samples, oldest first
  short synthesis_buffer[kNsxMaxFrame];  // overlap-add in progress, next output sample first
  int frame_count;                       // frames with a signal since init; stays at its limit

  // Start-up model of the noise, sums over the frames so far.
  int64_t start_magnitude[kNsxMaxBins];  // Q16
  int64_t white_level;                   // overdriven mean magnitude, Q16
  int pink_level;                        // ln |X| at bin 1, Q8
  int pink_slope;                        // fall of ln |X| per ln(bin), Q14

  // Quantile noise estimate.
  short log_quantile[kNsxEstimates][kNsxMaxBins];  // ln |X|, Q8
  short density[kNsxEstimates][kNsxMaxBins];       // at the quantile, per 1.0 of ln |X|, Q9
  int estimate_age[kNsxEstimates];                 // frames since each estimate started over
  unsigned int quantile_noise[kNsxMaxBins];        // Q16

  // Noise and signal of the frame before.
  unsigned int noise[kNsxMaxBins];               // Q16, updated by speech probability
  unsigned int pause_magnitude[kNsxMaxBins];     // Q16, mean spectrum of the pauses
  unsigned int previous_magnitude[kNsxMaxBins];  // Q16

  // Speech probability.
  int log_likelihood[kNsxMaxBins];  // smoothed log-likelihood ratio, Q12
  int feature[kNsxFeatures];        // Q12
  int threshold[kNsxFeatures];      // Q12
  int weight[kNsxFeatures];         // Q14, together 1
  int64_t energy_norm;              // mean of magnitude_energy that scales the difference
  int64_t energy_sum;               // of the window in progress, each frame's part by 512
  int window_age;                   // frames since the histograms were started
  unsigned short histogram[kNsxFeatures][kNsxHistogramBins];

  int prior_source;  // 0: presence of the band post-processing, 1: own features, 2: minima

  // Prior source 2. Powers are |X|^2 / N^2, Q24.
  int64_t smooth_power[kNsxMaxBins];              // over three bins and 50 ms
  int64_t past_minimum[kNsxStages][kNsxMaxBins];  // of smooth_power, in the stages before
  int64_t window_minimum[kNsxMaxBins];            // the least of these
  int64_t stage_minimum[kNsxMaxBins];             // in the stage in progress
  int64_t noise_power[kNsxMaxBins];
  int64_t speech_power[kNsxMaxBins];  // what Wiener's gain left of the frame before
  int smooth_snr[kNsxMaxBins];        // a priori, of powers, Q12
  int tracked_frames;                 // since the source was chosen; stays at a window's length
  int stage;                          // the oldest one, which is written next
  int stage_age;                      // frames in the stage in progress
  int64_t voice_around[kNsxMaxBins];  // of speech_power, the mean over the bins around, held
};

// ln(2^k), Q8, k = 0..8.
extern SONX_EXPORT const short tekaNsx_kLogTable[9];
// 1 / (k + 1), Q15, k = 0..200; the first is 32767.
extern SONX_EXPORT const short tekaNsx_kCounterDiv[201];

// The stages of which a platform may have a faster form. Every tekaNs_InitCore sets them to the
// portable ones, where they are not that already; they are shared by all instances of the process.
//
//   AnalysisUpdate        appends a block of new samples, writes the windowed frame (N samples)
//   CreateComplexBuffer   windowed frame times 2^norm, the transform's input (N samples)
//   NoiseEstimation       the quantile estimates follow log_magnitude; sets quantile_noise
//   PrepareSpectrum       spectrum times gain, the inverse transform's input (N + 2 words)
//   Denormalize           inverse transform's output times 2^shift, saturated (N samples)
//   SynthesisUpdate       overlap-adds frame times window and gain factor (Q13); writes a block
extern SONX_EXPORT void (*tekaNsx_AnalysisUpdate)(NsxInst_t_*, const short* block, short* frame);
extern SONX_EXPORT void (*tekaNsx_CreateComplexBuffer)(NsxInst_t_*, const short* frame,
                                                       short* scaled);
extern SONX_EXPORT void (*tekaNsx_NoiseEstimation)(NsxInst_t_*);
extern SONX_EXPORT void (*tekaNsx_PrepareSpectrum)(NsxInst_t_*, short* spectrum);
extern SONX_EXPORT void (*tekaNsx_Denormalize)(NsxInst_t_*, short* frame, int shift);
extern SONX_EXPORT void (*tekaNsx_SynthesisUpdate)(NsxInst_t_*, const short* frame, short* block,
                                                   short gain_factor);

// Sets up an instance for a sample rate of 8000, 16000 or 32000 Hz: history cleared, policy 0,
// prior probability of a pause 0.5, prior source 0, status 0. Returns 0, or -1 for another rate or
// a null pointer (the instance is then left alone), or -1 if memory is short (the instance
// is then not initialised and holds none). The record need not hold anything before; a running
// instance must go through tekaNs_FreeCore first, or its band post-processing's memory is lost.
SONX_EXPORT int tekaNs_InitCore(NsxInst_t_* ns, unsigned int fs);

// Frees what init took; the instance then needs another init. Returns 0; a null pointer does
// nothing.
SONX_EXPORT int tekaNs_FreeCore(NsxInst_t_* ns);

// Policy 0..3, at any time between two frames; takes effect with the next. Returns 0, or -1 for
// another value, which changes nothing.
SONX_EXPORT int tekaNs_set_policy_core(NsxInst_t_* ns, int mode);

// Where the prior probability of a pause comes from: 0 = the band post-processing's presence,
// 1 = the own features, 2 = none, the noise is tracked by its minima; see above. Takes effect with
// the next frame, from the probability that is there; 2, where it wasn't chosen before, starts
// anew. Returns 0, or -1 for another value, which changes nothing.
SONX_EXPORT int tekaNs_set_prior_source(NsxInst_t_* ns, int source);
SONX_EXPORT int tekaNs_get_prior_source(NsxInst_t_* ns, int* source);

// A word for the owner's use, on or off say. Any value; the suppressor never reads it.
SONX_EXPORT void tekaNs_canceling_setstatus(NsxInst_t_* ns, int status);
SONX_EXPORT void tekaNs_canceling_getstatus(NsxInst_t_* ns, int* status);

// One frame: block_length samples of in to as many of out, 16-bit, which may be the same buffer.
// Returns 0, or -1 if the instance is not initialised. MAY END THE PROCESS while the prior source
// is 0: see above. Full scale doesn't wrap; frames of zeros come out as zeros once the overlap with
// the frames before has passed.
SONX_EXPORT int tekaNs_ProcessCore(NsxInst_t_* ns, short* in, short* out);

// The stages of a frame, in this order, for callers that inspect what is between them. The instance
// must be initialised; this is not checked.
//
//   DataAnalysis      a block of input to spectrum, magnitudes (16-bit, |X| / N times 2^norm,
//                     bins entries) and energies
//   SpeechNoiseProb   from the SNRs a priori and a posteriori (Q11, bins entries each) to the
//                     probability that each bin is noise (Q14); with prior source 1 updates the
//                     prior first
//   DataSynthesis     applies the gains to the spectrum and transforms back: a block of output
SONX_EXPORT void tekaNsx_DataAnalysis(NsxInst_t_* ns, short* in, unsigned short* magnitudes);
SONX_EXPORT void tekaNsx_SpeechNoiseProb(NsxInst_t_* ns, unsigned short* non_speech_probability,
                                         unsigned int* prior_snr, unsigned int* post_snr);
SONX_EXPORT void tekaNsx_DataSynthesis(NsxInst_t_* ns, short* out);
