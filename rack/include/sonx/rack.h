// Audio effects in a row, by name and in real units, for any application. Compiles as C11 and as
// C++.
//
//   #include <sonx/rack.h>
//   #include <stdio.h>
//
//   enum { RATE = 48000, FRAMES = 480 };
//
//   int main(void) {  // raw 16-bit stereo from standard input to standard output
//     const char* preset =
//         "sonx = 1\n"
//         "[[effect]]\n"
//         "id = \"reverb\"\n"
//         "room = 60\n"
//         "dry = 100\n";
//     char error[200];
//     sonx_rack* rack = sonx_rack_create(RATE, FRAMES);
//     if (rack == NULL || sonx_rack_load(rack, preset, error, sizeof error) != 0) return 1;
//     int16_t buffer[2 * FRAMES];
//     size_t frames;
//     while ((frames = fread(buffer, 4, FRAMES, stdin)) > 0) {
//       sonx_rack_process_s16(rack, buffer, 2, (int)frames);
//       fwrite(buffer, 4, frames, stdout);
//     }
//     sonx_rack_destroy(rack);
//   }
//
// A rack has slots, one effect in each, and the sound goes through them in their order. A preset, a
// text in TOML, says which; while it plays, parameters are set by slot and number. What effects
// there are, their parameters, units, ranges and explanations stand in the catalogue, for an
// application to list; an effect's and a parameter's id never change.
//
// Nothing clicks and nothing mutes. A parameter may jump or be dragged, a slot or the rack be
// switched, another preset be loaded while music plays: a second instance of the effect takes the
// new settings and runs along unheard until its filters and tails are filled, then it's faded in.
// That takes from 60 ms to some tenths of a second, for a long room or a slow echo up to two; what
// is set meanwhile comes in with the next round. What is set or loaded before the first frames are
// processed, or between a reset and the frames after it, holds from their first frame on.
//
// Samples inside are 24-bit whole numbers, and the same calls give the same bits on every platform,
// however the frames are cut into calls. Full scale is 1.0 in floating point, 2^31 and 2^15 in
// words.
//   f32   rounded to the nearest 24-bit sample (halves to even), limited to full scale, NaN is 0
//   s32   24 bits in the upper bits of a word; its lower 8 are ignored and come back as 0
//   s16   times 256 on the way in, rounded on the way out
// Between slots a sample may exceed full scale by 18 dB, and is limited there; the output is
// limited to full scale.
//
// With one channel the effects hear it on both sides, and the mean of the two comes out.
//
// Effects that measure the sound block by block (dynamics, virtual bass, noise suppressor, whole
// chains) get it in blocks of a fixed length: 80 frames at 8000 Hz, 160 at 16000 and 32000, 220 at
// 44100, 240 at 48000, 480 at 96000, 960 at 192000. A rack that has one gathers such blocks once,
// which its latency includes; other racks gather nothing.
//
// Threads. One thread at a time calls process and reset: the audio thread. They take no memory, no
// lock and no system call. All other functions may be called from any other threads at any time in
// between, but that destroy comes last. set, get, enable and enabled never wait; load, save and the
// rest may wait for each other, never for the audio thread, and the audio thread never waits for
// anybody.
//
// Null and alignment. A null rack, text or array is answered as the functions say; a null text to
// import is an empty one, and a null array with a size is taken as one of size 0. Arrays have the
// alignment of their type, nothing more: 4 bytes for samples of 32 bits, 2 for those of 16.
//
// The effects' debug lines go nowhere.
#pragma once

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define SONX_RACK_EXPORT __attribute__((visibility("default")))
#else
#define SONX_RACK_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

// "1.0.0".
SONX_RACK_EXPORT const char* sonx_rack_version(void);

// ---- The catalogue. What it points to is constant and lives as long as the library.

// A number in a unit, on or off, or one of some names.
typedef enum { SONX_NUMBER, SONX_SWITCH, SONX_CHOICE } sonx_parameter_kind;

// A parameter of an effect.
typedef struct {
  const char *id, *name, *unit, *description;  // "room", "Room size", "%", one sentence
  sonx_parameter_kind kind;                    // number, switch or choice
  double minimum, maximum, initial, step;      // in the unit; step 0 = continuous
  int logarithmic;                             // how a slider should move
  int choice_count;                            // SONX_CHOICE: how many names, else 0
  const char* const* choices;                  // their names, of the values 0, 1, ..
} sonx_parameter;

// An effect of the catalogue.
typedef struct {
  const char *id, *name, *description;  // "reverb", "Reverb", one sentence
  int inputs, outputs;               // 1 or 2 each; 1 and 1: each channel is processed on its own
  int rate_count;                    // how many rates it runs at
  const int* rates;                  // Hz, ascending
  int parameter_count;               // how many parameters it has
  const sonx_parameter* parameters;  // in the order of a front end
  const char* category;  // for menus: "chain", "equalizer", "reverb", "delay", "stereo", "bass",
                         // "dynamics", "level", "character", "voice"; more may come
} sonx_effect;

// How many effects there are.
SONX_RACK_EXPORT int sonx_effect_count(void);

// In a lasting order; null outside 0..count - 1.
SONX_RACK_EXPORT const sonx_effect* sonx_effect_at(int index);

// Null if no effect has this id, or it is null.
SONX_RACK_EXPORT const sonx_effect* sonx_effect_find(const char* id);

// ---- Texts of other programs.

// Makes a preset of equalizer settings as they are published: lines `Preamp: -6.2 dB` and
// `Filter 1: ON PK Fc 105 Hz Gain -3.2 dB Q 0.70` with the types PK, LS, LSC, HS, HSC, LP, LPQ, HP,
// HPQ and AP, or a line `GraphicEQ: 20 0.0; 21 -0.3; ..`, which ten sections are fitted to. Byte
// order marks, any line ends, decimal commas and comments behind # are read.
//
// 0: the report, lines of text, says what was taken, how well a curve was fitted, how much the
// whole curve raises and whether the preamp makes room for that; auto_preamp (not 0) makes the
// preamp what is needed. Above 0: that many faults, for which the report has a line each, "line 7:
// ..", and the preset is empty. -1: short memory, or a preset longer than size; 64 sections fit
// into 8192 bytes. Both texts end with a zero, the report is cut to its size.
SONX_RACK_EXPORT int sonx_rack_import(const char* text, int auto_preamp, char* preset, size_t size,
                                      char* report, size_t report_size);

// ---- A rack. Functions with a result answer 0, null, NaN or -1 for a null rack, the others do
// nothing.

// Known by its address alone.
typedef struct sonx_rack sonx_rack;

// An empty rack, which passes samples through, for a rate in Hz; process is meant for calls of up
// to max_frames. Null: short memory, max_frames below 1, or a rate that no effect has.
SONX_RACK_EXPORT sonx_rack* sonx_rack_create(int rate, int max_frames);

// Ends a rack and gives its memory back; process must not run any more.
SONX_RACK_EXPORT void sonx_rack_destroy(sonx_rack* rack);

// Replaces all slots by those of a preset. 0, or -1 with one line of text in error, ended by a zero
// and cut to error_size bytes: "line 7: ...". error may be null if error_size is 0. A preset that
// fails, for short memory too, leaves the rack as it was.
SONX_RACK_EXPORT int sonx_rack_load(sonx_rack* rack, const char* preset, char* error,
                                    size_t error_size);

// Writes the present settings as a preset, ended by a zero and cut to size bytes; preset may be
// null if size is 0. The bytes needed without the zero, or -1 for short memory.
SONX_RACK_EXPORT int sonx_rack_save(const sonx_rack* rack, char* preset, size_t size);

// Writes the present settings as C, for a program that drives the effects' own library: the
// parameter record for what a headphone handle can do, coefficients and gains for the parametric
// equalizer's setters, with a comment for each slot. Ends, cuts and answers as save does.
SONX_RACK_EXPORT int sonx_rack_export_c(const sonx_rack* rack, char* text, size_t size);

// How many slots the last preset has made; 0 at first.
SONX_RACK_EXPORT int sonx_rack_slot_count(const sonx_rack* rack);

// The effect in a slot; null if there's no such slot.
SONX_RACK_EXPORT const sonx_effect* sonx_rack_slot(const sonx_rack* rack, int slot);

// Sets a parameter, in its unit: limited to its range, then rounded to its step; a switch or choice
// to the nearest. 0, or -1 if there's no such slot or parameter, or value is NaN.
SONX_RACK_EXPORT int sonx_rack_set(sonx_rack* rack, int slot, int parameter, double value);

// The value as set; NaN if there's no such slot or parameter.
SONX_RACK_EXPORT double sonx_rack_get(const sonx_rack* rack, int slot, int parameter);

// Switches a slot, or with slot -1 the whole rack, on (not 0) or off. What is off passes its input
// bit for bit, delayed by the same latency; it goes on listening, so that it comes back at once. 0,
// or -1 if there's no such slot.
SONX_RACK_EXPORT int sonx_rack_enable(sonx_rack* rack, int slot, int on);

// 1 if a slot, or with slot -1 the whole rack, is switched on, else 0; -1 if there's no such slot.
SONX_RACK_EXPORT int sonx_rack_enabled(const sonx_rack* rack, int slot);

// Frames from input to output, the same whether enabled or not. A preset may change it; a parameter
// doesn't.
SONX_RACK_EXPORT int sonx_rack_latency(const sonx_rack* rack);

// An upper bound of the frames until silence follows silence, the latency included; -1 if it never
// does. Silence is what stays below -60 dB of full scale, or doesn't move: some effects come to
// rest at a small constant.
SONX_RACK_EXPORT int sonx_rack_tail(const sonx_rack* rack);

// For a stream that starts anew: clears histories and tails and brings all settings into force.
// Belongs to the audio thread.
SONX_RACK_EXPORT void sonx_rack_reset(sonx_rack* rack);

// The audio thread's functions: channels is 1 or 2, anything else does nothing, and so do frames
// below 1 and null buffers. Any length will do, also one above max_frames. An in buffer may be an
// out buffer.
SONX_RACK_EXPORT void sonx_rack_process_f32(sonx_rack* rack, const float* const* in,
                                            float* const* out, int channels, int frames);
SONX_RACK_EXPORT void sonx_rack_process_s32(sonx_rack* rack, int32_t* interleaved, int channels,
                                            int frames);
SONX_RACK_EXPORT void sonx_rack_process_s16(sonx_rack* rack, int16_t* interleaved, int channels,
                                            int frames);

// The largest magnitudes since the last call, 1.0 = full scale, left and right; with one channel
// both are the same. Either array may be null.
SONX_RACK_EXPORT void sonx_rack_meters(const sonx_rack* rack, float peak_in[2], float peak_out[2]);

// The same of one slot, what goes in and what comes out: how far it turns the sound down or up.
// Between slots a sample may exceed full scale. 0, or -1 if there's no such slot.
SONX_RACK_EXPORT int sonx_rack_slot_meters(const sonx_rack* rack, int slot, float peak_in[2],
                                           float peak_out[2]);

#ifdef __cplusplus
}
#endif
