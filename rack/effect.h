// What the rack knows of an effect: its entry in the catalogue, and how an instance of it runs.
#pragma once

#include <memory>
#include <string>

#include "sonx/rack.h"

// Blocks of the longest grid; no call of a processor is longer.
constexpr int kLongestBlock = 960;

// One running instance of an effect for stereo sound. All memory is taken by its maker; what
// follows runs on the audio thread. Values are settled, by catalogue index.
class processor {
 public:
  virtual ~processor() = default;

  // Takes settings and begins as the module does after its init: histories clear.
  virtual void start(const double* values) noexcept = 0;

  // Takes settings and goes on from where another instance of the same effect, which has been
  // running with other settings, stands. Frames that it must run along before it may be heard, or
  // -1: from there it can't; it's to be started.
  virtual int take_over(const processor& running, const double* values) noexcept = 0;

  // n samples per channel in place, 24 bits with room above: 1 to kLongestBlock, or whole blocks.
  virtual void process(int* left, int* right, int n) noexcept = 0;
};

struct effect_definition {
  sonx_effect entry;
  bool whole_blocks;  // measures: every call must be one block of the grid

  // Frames at a rate; values are settled.
  int (*latency)(int rate);
  int (*warm_up)(const double* values, int rate);  // a started instance's, until it may be heard
  int (*tail)(const double* values, int rate);     // until silence follows silence, or -1

  std::unique_ptr<processor> (*make)(int rate);  // null or std::bad_alloc: short memory

  // The settings as C for the effects' own library, its variables' names beginning so; null where
  // there's no form for them.
  std::string (*in_c)(const double* values, int rate, const std::string& name) = nullptr;
};

// Frames of the blocks that whole_blocks asks for: 5 ms, 10 ms up to 16000 Hz.
constexpr int block_frames(int rate) {
  switch (rate) {
    case 8000:
      return 80;
    case 16000:
    case 32000:
      return 160;
    case 44100:
      return 220;
    case 96000:
      return 480;
    case 192000:
      return 960;
    default:
      return 240;
  }
}

constexpr int frames_of(int milliseconds, int rate) { return milliseconds * (rate / 100) / 10; }

// For tables of functions.
inline int no_latency(int) { return 0; }
inline int nothing(const double*, int) { return 0; }
template <int milliseconds>
int fixed_time(const double*, int rate) {
  return frames_of(milliseconds, rate);
}

// The definition behind an entry of the catalogue; null for any other entry.
const effect_definition* definition_of(const sonx_effect* entry);
