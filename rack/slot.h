// One effect of a row with its settings. Settings may be set from any thread; everything else is
// for the audio thread.
//
// Two instances of the effect take turns. New settings go to the one that isn't heard, which runs
// along on the same input until its filters and tails are filled; then it's faded in, and the other
// one rests. What is set meanwhile begins the next round.
#pragma once

#include <atomic>
#include <climits>
#include <memory>
#include <vector>

#include "bypass.h"
#include "crossfade.h"
#include "effect.h"
#include "peaks.h"
#include "settings.h"

// Room for what's unheard, shared by the slots of a row.
struct scratch_blocks {
  int dry[2][kLongestBlock], spare[2][kLongestBlock];
};

class slot {
 public:
  // Throws std::bad_alloc.
  slot(const slot_settings& settings, int rate);

  // ---- Any thread. parameter is one of the effect's, value settled.
  const effect_definition& effect() const { return effect_; }
  void set(int parameter, double value);
  double get(int parameter) const;
  void enable(bool on) { enabled_.store(on, std::memory_order_relaxed); }
  bool enabled() const { return enabled_.load(std::memory_order_relaxed); }
  slot_settings settings() const;
  int latency() const { return effect_.latency(rate_); }
  int warm_up() const;
  int tail() const;
  void take_peaks(float in[2], float out[2]) {
    peaks_in_.take(in);
    peaks_out_.take(out);
  }

  // ---- The audio thread.
  void start();

  // Looks for new settings. Frames until a fade begins or ends: whoever has no blocks to keep stops
  // there.
  int prepare();

  void process(int* const samples[2], int n, scratch_blocks& scratch);

 private:
  enum class phase { steady, filling, fading };

  void take_settings();
  void begin_round();
  void begin_crossfade();
  void advance(int* const samples[2], int* const spare[2], int n);
  std::vector<double> values() const;

  const effect_definition& effect_;
  const int rate_;
  const int parameters_;

  // Shared: values by catalogue index, and how often one was set.
  std::unique_ptr<std::atomic<double>[]> values_;
  std::atomic<unsigned> changes_{0};
  std::atomic<bool> enabled_;

  // The audio thread's.
  std::unique_ptr<processor> heard_, spare_;
  std::vector<double> taken_;  // values in force, or about to be
  unsigned seen_ = 0;
  phase phase_ = phase::steady;
  int to_fill_ = 0;
  rise input_;
  crossfade crossfade_;
  bypass bypass_;
  peaks peaks_in_, peaks_out_;
};
