// A rack as the subcommands use it: what the user asked for, by effect and parameter in the
// catalogue's words, and the rack that comes of it at some rate.
#pragma once

#include <sonx/rack.h>

#include <memory>
#include <string>
#include <vector>

#include "device.h"

namespace CLI {
class App;
}

namespace sonx {

// "reverb.room=60", "reverb#2.room=60", "3.room=60", "reverb.enabled=off": the effect of that id,
// the second of them, or the third slot; a number in the parameter's unit, a choice by its word, a
// switch as on or off.
struct assignment {
  explicit assignment(const std::string& text);

  std::string text;
  std::string effect;
  int number = 0;  // reverb#2; 0 if none is given
  std::string parameter;
  std::string value;
};

// One that has found its place.
struct rack_change {
  int slot;
  int parameter;  // -1 switches the slot
  double value;
};

// What a user asks for: a preset, or an effect for each that is named, and what is set on top.
struct rack_recipe {
  std::string label;  // for reports and legends
  std::string preset;
  std::vector<assignment> sets;
  bool bypass = false;

  // Where it runs, ascending. Throws what is wrong with it if it runs nowhere.
  std::vector<int> rates() const;

  // The rate for a file: its own, or the next one above it, or the highest.
  int rate_for(int file_rate) const;
};

// What a rack's preset says beside its parameters.
struct rack_notes {
  std::string name;
  bool enabled = true;
  std::vector<bool> slot_enabled;
};

class rack {
 public:
  // Throws std::runtime_error: a fault of the preset, or an assignment that fits nothing in it.
  rack(const rack_recipe& recipe, int rate);

  int rate() const { return rate_; }
  int latency() const { return sonx_rack_latency(state_.get()); }
  int tail() const { return sonx_rack_tail(state_.get()); }
  int slots() const { return sonx_rack_slot_count(state_.get()); }
  const sonx_effect& effect(int slot) const { return *sonx_rack_slot(state_.get(), slot); }
  double get(int slot, int parameter) const { return sonx_rack_get(state_.get(), slot, parameter); }
  std::string save() const;
  rack_notes notes() const;

  // The preset's name, else the effects' names.
  std::string title() const;

  std::string export_c() const;

  rack_change find(const assignment& wanted) const;
  void apply(const rack_change& change);
  void enable(bool on) { sonx_rack_enable(state_.get(), -1, on ? 1 : 0); }

  // Planar floats, full scale 1.0, in place.
  void process(float* const* samples, int channels, int frames) {
    sonx_rack_process_f32(state_.get(), samples, samples, channels, frames);
  }

 private:
  struct destroyer {
    void operator()(sonx_rack* state) const { sonx_rack_destroy(state); }
  };
  int find_slot(const assignment& wanted) const;

  int rate_;
  std::unique_ptr<sonx_rack, destroyer> state_;
};

// The options that name a rack: --preset PRESET, --set EFFECT.PARAMETER=VALUE.
struct rack_options {
  std::string preset;
  std::vector<std::string> sets;

  void add_to(CLI::App& command);
  rack_recipe recipe() const;
};

// For the measurements; what is wrong with the recipe is thrown here.
device make_device(const rack_recipe& recipe, int rate);

// The effect of this id; throws, with the nearest known one.
const sonx_effect& require_effect(const std::string& id);

// A text file's content; throws.
std::string read_text(const std::string& file);

// A preset, by its file or name, and nothing else.
rack_recipe read_recipe(const std::string& preset);

// The shortest digits.
std::string number_text(double value);

// "60 %", "on", "low-shelf".
std::string value_text(const sonx_parameter& parameter, double value);

// "44100, 48000 and 96000".
std::string rates_text(const std::vector<int>& rates);

}  // namespace sonx
