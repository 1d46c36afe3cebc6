#include "engine.h"

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace {

constexpr int kInputRise = 20;  // ms

}  // namespace

sonx_rack::sonx_rack(int rate)
    : rate_(rate),
      current_(new row({}, rate)),
      live_(current_.load()),
      input_(frames_of(kInputRise, rate)),
      crossfade_(rate) {}

sonx_rack::~sonx_rack() {
  bury(retired_.load());
  free_buried();
  delete incoming_.load();
  delete next_;
  delete live_;
}

// ---- Control threads.

void sonx_rack::load(const rack_settings& settings) {
  auto loaded = std::make_unique<row>(settings, rate_);
  const std::lock_guard<std::mutex> lock(loading_);
  current_.store(loaded.get());
  row* const unheard = incoming_.exchange(loaded.release(), std::memory_order_acq_rel);
  if (unheard != nullptr) bury(unheard);
  row* retired = retired_.exchange(nullptr, std::memory_order_acquire);
  bury(retired);
  // Visits are short. A visitor that comes from now on finds the new row.
  for (int tries = 0; tries < 1000 && visitors_.load() != 0; ++tries) std::this_thread::yield();
  if (visitors_.load() == 0) free_buried();
}

// A list of rows that neither the audio thread nor a newcomer can see.
void sonx_rack::bury(row* first) {
  while (first != nullptr) {
    row* const rest = first->next_retired;
    first->next_retired = buried_;
    buried_ = first;
    first = rest;
  }
}

void sonx_rack::free_buried() {
  while (buried_ != nullptr) {
    row* const rest = buried_->next_retired;
    delete buried_;
    buried_ = rest;
  }
}

void sonx_rack::take_peaks(float in[2], float out[2]) const {
  peaks_in_.take(in);
  peaks_out_.take(out);
}

// ---- The audio thread.

void sonx_rack::retire(row* old) {
  row* head = retired_.load(std::memory_order_relaxed);
  do {
    old->next_retired = head;
  } while (!retired_.compare_exchange_weak(head, old, std::memory_order_release,
                                           std::memory_order_relaxed));
}

// At once: nothing is heard yet.
void sonx_rack::take_over_incoming() {
  if (next_ != nullptr) {
    retire(live_);
    live_ = next_;
    next_ = nullptr;
  }
  if (row* const incoming = incoming_.exchange(nullptr, std::memory_order_acquire)) {
    retire(live_);
    live_ = incoming;
  }
  live_->start();
}

void sonx_rack::reset() {
  take_over_incoming();
  fresh_ = true;
}

void sonx_rack::begin_exchange() {
  next_ = incoming_.exchange(nullptr, std::memory_order_acquire);
  if (next_ == nullptr) return;
  next_->start();
  to_fill_ = input_.length() + next_->warm_up();
  input_.begin();
  crossfade_.jump(false);
}

// in ─┬─► live row ──────────────► crossfade ─► limit to full scale ─► out
//     └─► input fade ─► next row ─┘
void sonx_rack::process(int* const samples[2], int n) {
  if (fresh_) take_over_incoming();
  fresh_ = false;
  peaks_in_.raise(samples, n);

  for (int done = 0; done < n;) {
    if (next_ == nullptr && incoming_.load(std::memory_order_relaxed) != nullptr) begin_exchange();
    int count = n - done;
    if (next_ != nullptr) count = std::min(count, to_fill_ > 0 ? to_fill_ : crossfade_.to_turn());
    int* const stretch[2] = {samples[0] + done, samples[1] + done};
    if (next_ != nullptr) {
      int* const next[2] = {next_samples_[0], next_samples_[1]};
      for (int c = 0; c < 2; ++c) std::copy_n(stretch[c], count, next[c]);
      input_.apply(next, count);
      next_->process(next, count);
      live_->process(stretch, count);
      advance_exchange(stretch, next, count);
    } else {
      live_->process(stretch, count);
    }
    done += count;
  }

  for (int c = 0; c < 2; ++c)
    for (int i = 0; i < n; ++i)
      samples[c][i] = std::clamp(samples[c][i], -(1 << 23), (1 << 23) - 1);
  peaks_out_.raise(samples, n);
}

void sonx_rack::advance_exchange(int* const samples[2], int* const next[2], int n) {
  if (to_fill_ > 0) {
    to_fill_ -= n;
    if (to_fill_ == 0) crossfade_.go(true);
    return;
  }
  crossfade_.mix(samples, next, samples, n);
  if (!crossfade_.rests()) return;
  retire(live_);
  live_ = next_;
  next_ = nullptr;
}
