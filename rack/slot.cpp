#include "slot.h"

#include <algorithm>
#include <new>

namespace {

constexpr int kInputFade = 20;           // ms: an instance that starts hears its input rise
constexpr int kLoudest = (1 << 26) - 1;  // what may go from slot to slot: 18 dB over full scale

std::unique_ptr<processor> make(const effect_definition& effect, int rate) {
  auto made = effect.make(rate);
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

}  // namespace

slot::slot(const slot_settings& settings, int rate)
    : effect_(*definition_of(settings.effect)),
      rate_(rate),
      parameters_(effect_.entry.parameter_count),
      values_(new std::atomic<double>[static_cast<size_t>(parameters_)]),
      enabled_(settings.enabled),
      heard_(make(effect_, rate)),
      spare_(parameters_ > 0 ? make(effect_, rate) : nullptr),
      taken_(static_cast<size_t>(parameters_)),
      input_(frames_of(kInputFade, rate)),
      crossfade_(rate),
      bypass_(effect_.latency(rate), rate) {
  for (int k = 0; k < parameters_; ++k)
    values_[static_cast<size_t>(k)].store(settings.values[static_cast<size_t>(k)]);
}

void slot::set(int parameter, double value) {
  values_[static_cast<size_t>(parameter)].store(value, std::memory_order_relaxed);
  changes_.fetch_add(1, std::memory_order_release);
}

double slot::get(int parameter) const {
  return values_[static_cast<size_t>(parameter)].load(std::memory_order_relaxed);
}

std::vector<double> slot::values() const {
  std::vector<double> all;
  for (int k = 0; k < parameters_; ++k) all.push_back(get(k));
  return all;
}

slot_settings slot::settings() const { return {&effect_.entry, enabled(), values()}; }

int slot::warm_up() const { return effect_.warm_up(taken_.data(), rate_); }
int slot::tail() const { return effect_.tail(values().data(), rate_); }

void slot::start() {
  take_settings();
  heard_->start(taken_.data());
  phase_ = phase::steady;
  bypass_.start(enabled());
}

int slot::prepare() {
  if (phase_ == phase::steady && seen_ != changes_.load(std::memory_order_acquire)) begin_round();
  switch (phase_) {
    case phase::filling:
      return to_fill_;
    case phase::fading:
      return crossfade_.to_turn();
    default:
      return INT_MAX;
  }
}

// A value that is set while they are taken is counted after them, and so taken again.
void slot::take_settings() {
  seen_ = changes_.load(std::memory_order_acquire);
  for (int k = 0; k < parameters_; ++k) taken_[static_cast<size_t>(k)] = get(k);
}

void slot::begin_round() {
  take_settings();
  const int along = spare_->take_over(*heard_, taken_.data());
  if (along >= 0) {
    input_.end();
    to_fill_ = std::max(along - crossfade_.listening(), 0);  // which can be done meanwhile
  } else {
    spare_->start(taken_.data());
    to_fill_ = input_.length() + effect_.warm_up(taken_.data(), rate_);
    input_.begin();
  }
  phase_ = phase::filling;
  if (to_fill_ == 0) begin_crossfade();
}

void slot::begin_crossfade() {
  phase_ = phase::fading;
  crossfade_.jump(false);
  crossfade_.go(true);
}

// in ─┬─► heard instance ──► crossfade ─► limit ─► switch ─► out
//     ├─► input fade ─► spare instance ─┘             │
//     └─► delay ──────────────────────────────────────┘
void slot::process(int* const samples[2], int n, scratch_blocks& scratch) {
  int* const dry[2] = {scratch.dry[0], scratch.dry[1]};
  int* const spare[2] = {scratch.spare[0], scratch.spare[1]};
  bypass_.go(enabled());
  bypass_.take(samples, dry, n);
  peaks_in_.raise(samples, n);

  if (phase_ != phase::steady) {
    for (int c = 0; c < 2; ++c) std::copy_n(samples[c], n, spare[c]);
    input_.apply(spare, n);
    spare_->process(spare[0], spare[1], n);
  }
  heard_->process(samples[0], samples[1], n);
  advance(samples, spare, n);

  for (int c = 0; c < 2; ++c)
    for (int i = 0; i < n; ++i) samples[c][i] = std::clamp(samples[c][i], -kLoudest, kLoudest);
  bypass_.give(dry, samples, n);
  peaks_out_.raise(samples, n);
}

void slot::advance(int* const samples[2], int* const spare[2], int n) {
  if (phase_ == phase::filling) {
    to_fill_ -= n;
    if (to_fill_ <= 0) begin_crossfade();
    return;
  }
  if (phase_ != phase::fading) return;
  crossfade_.mix(samples, spare, samples, n);
  if (!crossfade_.rests()) return;
  std::swap(heard_, spare_);
  phase_ = phase::steady;
}
