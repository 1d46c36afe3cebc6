// The rack behind the C interface: the row that is heard, the one that comes in for it, and the
// threads' meeting places.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "crossfade.h"
#include "peaks.h"
#include "row.h"
#include "settings.h"

// Frames that go through the rack at a time.
constexpr int kStretch = 256;

struct sonx_rack {
 public:
  // An empty rack. Throws std::bad_alloc.
  explicit sonx_rack(int rate);
  ~sonx_rack();

  // ---- Control threads.
  int rate() const { return rate_; }

  // Throws std::bad_alloc, and leaves the rack as it is.
  void load(const rack_settings& settings);

  // Calls use(row&) with the row that is set and asked. Never waits.
  template <typename Use>
  auto with_row(Use use) const {
    const visit here(*this);
    return use(*current_.load());
  }

  void take_peaks(float in[2], float out[2]) const;

  // ---- The audio thread. n frames, 1 to kStretch, in place.
  void process(int* const samples[2], int n);
  void reset();

 private:
  // Marks a control thread that looks at a row: none is freed meanwhile.
  struct visit {
    explicit visit(const sonx_rack& rack) : visitors(rack.visitors_) { visitors.fetch_add(1); }
    ~visit() { visitors.fetch_sub(1); }
    std::atomic<int>& visitors;
  };

  void bury(row* first);
  void free_buried();

  void take_over_incoming();
  void begin_exchange();
  void retire(row* old);
  void advance_exchange(int* const samples[2], int* const next[2], int n);

  const int rate_;

  // A new row goes from current_ and incoming_ to the audio thread; the one it replaces comes back
  // through retired_, a list.
  std::atomic<row*> current_, incoming_{nullptr}, retired_{nullptr};
  mutable std::atomic<int> visitors_{0};
  std::mutex loading_;     // one load at a time
  row* buried_ = nullptr;  // a list; to be freed when nobody visits

  // The audio thread's.
  row* live_;
  row* next_ = nullptr;  // runs along, unheard or fading in
  bool fresh_ = true;    // nothing has been processed since create or reset
  int to_fill_ = 0;
  rise input_;
  crossfade crossfade_;
  int next_samples_[2][kStretch];

  mutable peaks peaks_in_, peaks_out_;
};
