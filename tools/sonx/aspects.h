// What there is to see of a device: each aspect is measured by running it, and drawn.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "device.h"
#include "plot.h"
#include "sweep_measurement.h"
#include "tone_measurement.h"

namespace sonx {

enum class abscissa { frequency, input_level, step_time, decay_time };

struct aspect {
  const char *id, *name;     // "delay", "Group delay"
  const char *value, *unit;  // "group delay, ms", "ms"
  abscissa over;
  const char* explanation;
};

const std::vector<aspect>& all_aspects();

const aspect& find_aspect(const std::string& id);

// "frequency, Hz"
std::string name_of(abscissa over);

struct bench_settings {
  int rate = 48000;
  double level = -30;          // dBFS, of the sweep
  int hertz = 1000;            // of the tone
  std::string input = "both";  // or the one channel that is fed: left, right
};

// Filters at low frequencies round so coarsely that a soft sweep hears it: a rack, which has room
// above full scale inside, gets a loud one.
constexpr double kRackSweepLevel = -9;  // dBFS

constexpr int kEarSmoothing = 12;  // of an octave: what the ear makes of a combed response

// A device and what has been measured of it, each thing once and only when asked for.
class bench {
 public:
  bench(device device, const bench_settings& settings);

  const std::string& label() const { return device_.label; }

  // Where the aspect is to be looked at, densely; frequencies stand around 1 kHz.
  std::vector<double> places(const aspect& of) const;

  // Its values at such places; `smoothing` for the level's. Phases stay within half a turn.
  struct values {
    std::vector<double> left, right;
  };
  values look(const aspect& of, const std::vector<double>& places, int smoothing) const;

  // Its values at all places(), phases without jumps.
  values curve(const aspect& of, int smoothing) const;

  // Whether delays or reverberation comb the response, so that only a smoothed one can be read.
  bool combed() const;

  // Whether the output's level follows the input's, within 0.1 dB from -70 to -10 dBFS, and
  // distortion there stays below -60 dB.
  bool linear() const;

  const trace& decay() const;

 private:
  const response& swept() const;
  const tone_ladder& ladder() const;
  const trace& stepped() const;

  device device_;
  bench_settings settings_;
  tone tone_;
  mutable std::optional<response> response_;
  mutable std::optional<tone_ladder> ladder_;
  mutable std::optional<trace> step_, decay_;
};

// kEarSmoothing where one of them is combed, else none.
int usual_smoothing(const std::vector<bench>& benches);

// The aspect of several devices in one plot, a colour for each; right sides are dashed where they
// differ.
plot_panel make_panel(const aspect& of, const std::vector<bench>& benches, int smoothing);

// Whether left and right differ enough to be seen where so much of the left side is drawn.
bool sides_differ(const bench::values& values, double deepest);

// Frequencies with 1 kHz among them, from 20 Hz to 20 kHz or what the rate allows.
std::vector<double> frequencies_around_1_khz(int per_octave, int rate);

}  // namespace sonx
