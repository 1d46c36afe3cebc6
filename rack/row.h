// What a preset becomes: slots in a row, with blocks gathered for those that measure.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "bypass.h"
#include "settings.h"
#include "slot.h"

class row {
 public:
  // Values are settled; every effect has the rate. Throws std::bad_alloc.
  row(const rack_settings& settings, int rate);

  // ---- Any thread.
  int slot_count() const { return static_cast<int>(slots_.size()); }
  slot& at(int index) { return *slots_[static_cast<size_t>(index)]; }
  const slot& at(int index) const { return *slots_[static_cast<size_t>(index)]; }
  void enable(bool on) { enabled_.store(on, std::memory_order_relaxed); }
  bool enabled() const { return enabled_.load(std::memory_order_relaxed); }
  rack_settings settings() const;
  int latency() const { return latency_; }
  int tail() const;

  // ---- The audio thread.
  void start();
  int warm_up() const;  // frames, after start

  // n frames, 1 to kLongestBlock, in place.
  void process(int* const samples[2], int n);

  row* next_retired = nullptr;

 private:
  void process_gathered(int* const samples[2], int n);
  void process_slots(int* const samples[2], int n);

  const std::string name_;
  const int rate_;
  std::vector<std::unique_ptr<slot>> slots_;
  int block_ = 0, latency_ = 0;  // block 0: nothing is gathered
  std::atomic<bool> enabled_;

  bypass bypass_;
  int filled_ = 0;
  int gathered_[2][kLongestBlock] = {};  // from filled_ on the last block's output, not yet given
  int dry_[2][kLongestBlock];
  scratch_blocks scratch_;
};
