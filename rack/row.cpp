#include "row.h"

#include <algorithm>

namespace {

constexpr int kLongestWarmUp = 3;  // s
constexpr int kLongestTail = 1 << 30;

int block_of(const rack_settings& settings, int rate) {
  const bool any = std::any_of(settings.slots.begin(), settings.slots.end(), [](const auto& slot) {
    return definition_of(slot.effect)->whole_blocks;
  });
  return any ? block_frames(rate) : 0;
}

int latency_of(const rack_settings& settings, int rate) {
  int latency = block_of(settings, rate);
  for (const slot_settings& slot : settings.slots)
    latency += definition_of(slot.effect)->latency(rate);
  return latency;
}

}  // namespace

row::row(const rack_settings& settings, int rate)
    : name_(settings.name),
      rate_(rate),
      block_(block_of(settings, rate)),
      latency_(latency_of(settings, rate)),
      enabled_(settings.enabled),
      bypass_(latency_, rate) {
  for (const slot_settings& slot_setting : settings.slots)
    slots_.push_back(std::make_unique<slot>(slot_setting, rate));
}

rack_settings row::settings() const {
  rack_settings result{name_, enabled(), {}};
  for (const auto& slot : slots_) result.slots.push_back(slot->settings());
  return result;
}

int row::tail() const {
  int64_t frames = latency_;
  for (const auto& slot : slots_) {
    const int tail = slot->tail();
    if (tail < 0) return -1;
    frames += tail;
  }
  return static_cast<int>(std::min<int64_t>(frames, kLongestTail));
}

void row::start() {
  for (const auto& slot : slots_) slot->start();
  bypass_.start(enabled());
  filled_ = 0;
  for (auto& channel : gathered_) std::fill_n(channel, kLongestBlock, 0);
}

int row::warm_up() const {
  int64_t frames = latency_;
  for (const auto& slot : slots_) frames += slot->warm_up();
  return static_cast<int>(std::min<int64_t>(frames, int64_t{kLongestWarmUp} * rate_));
}

void row::process(int* const samples[2], int n) {
  int* const dry[2] = {dry_[0], dry_[1]};
  bypass_.go(enabled());
  bypass_.take(samples, dry, n);
  if (block_ > 0)
    process_gathered(samples, n);
  else
    process_slots(samples, n);
  bypass_.give(dry, samples, n);
}

// What goes in takes the place of what comes out, a block later.
void row::process_gathered(int* const samples[2], int n) {
  for (int done = 0; done < n;) {
    const int count = std::min(n - done, block_ - filled_);
    for (int c = 0; c < 2; ++c)
      std::swap_ranges(samples[c] + done, samples[c] + done + count, gathered_[c] + filled_);
    filled_ += count;
    done += count;
    if (filled_ < block_) continue;
    filled_ = 0;
    int* const block[2] = {gathered_[0], gathered_[1]};
    for (const auto& slot : slots_) {
      slot->prepare();
      slot->process(block, block_, scratch_);
    }
  }
}

// Cut where a slot begins or ends a fade, so that the cut of the stream doesn't matter.
void row::process_slots(int* const samples[2], int n) {
  for (int done = 0; done < n;) {
    int count = n - done;
    for (const auto& slot : slots_) count = std::min(count, slot->prepare());
    int* const stretch[2] = {samples[0] + done, samples[1] + done};
    for (const auto& slot : slots_) slot->process(stretch, count, scratch_);
    done += count;
  }
}
