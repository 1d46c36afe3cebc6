// Runs audio through the headphone effect as an audio HAL does: one handle, period by period in
// place, parameters set between two periods.
#pragma once

#include <hp/audio_effect_control.h>

#include <cstdint>
#include <string>
#include <vector>

#include "audio_reader.h"
#include "audio_writer.h"
#include "file_job.h"
#include "measure.h"

namespace sonx {

// A handle of the headphone effect, ended with its owner.
class hp_effect {
 public:
  hp_effect(int rate, int format);
  ~hp_effect();
  hp_effect(const hp_effect&) = delete;
  hp_effect& operator=(const hp_effect&) = delete;

  void set(audio_effect_control_acdb_t record);
  void process(void* period, size_t bytes);

  // The make-up gain in force, dB. It belongs to the last effect that had one, and stays when that
  // is switched off.
  double gain_db() const;

 private:
  void* handle_;
};

// A handle processes 44050..48050 Hz and passes audio at any other rate through.
extern const effect_rates kHpRates;

// Samples by which the chain delays the sound.
int chain_delay(int rate);

// Whether a change fades in full with that many frames a call: the fade counts blocks, and its way out
// and its silence, two blocks each, must last as long as the delay.
bool fades_in_full(int period, int rate);

struct timed_change {
  double seconds;  // takes effect before the first period that begins at or after this
  audio_effect_control_acdb_t record;
};

struct render_options {
  int format = 1;
  size_t period = 480;                // frames
  double tail = 0;                    // seconds of silence after the input
  std::vector<timed_change> changes;  // in order of time; the first at 0
};

struct stretch_report {
  int64_t begin;  // frames of the output
  int64_t end;
  audio_effect_control_acdb_t record;
  double gain_db;  // in force at the stretch's end
  levels in;
  levels out;
  // Largest step between two samples in the first 0.1 s, the switch-over; full scale 1.0. That of
  // the input is taken where the output has it, the chain's delay later.
  float step_in;
  float step_out;
};

struct render_report {
  std::vector<stretch_report> stretches;
  levels in;
  levels out;
  int64_t frames;
  double speed;  // multiple of real time spent in the library
};

// A line for a report where an effect that is off has left its make-up gain, or nothing.
std::string gain_note(const audio_effect_control_acdb_t& record, double gain_db);

// Renders all of the reader's file into the writer. The last period is filled up with silence, and
// what comes of that is not written.
render_report render(audio_reader& reader, audio_writer& writer, const render_options& options,
                     const std::string& label);

}  // namespace sonx
