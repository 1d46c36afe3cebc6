// The slews of the dynamic range control's gain and gate to their targets, all Q17: one sample's
// step of each, and both over a block.
//
// The block form gives the same bits as the steps: within a block a target is constant and a gain
// never crosses it, so that the distance to it carries all the state. The distance only shrinks, so
// the ranges that determine the size of a step follow each other, and each is a loop of its own.
// The cost of a sample is about the same in all of them.
#pragma once

#include <algorithm>
#include <cstdint>

#include "fixed.h"

// One sample's step of the gain towards its target. Far away it moves by a part of the distance
// that shrinks with the distance, and by no less than a part of the gain itself: about 2^-12
// upwards, 3 / 2^12 downwards. Exact in 64 bits: nothing wraps.
inline int gain_slew_step(int gain, int target) {
  const int64_t rise = int64_t{target} - gain, fall = -rise;
  if (rise > 64) {
    const int order = rise > 16384  ? 11
                      : rise > 8192 ? 10
                      : rise > 4096 ? 9
                      : rise > 2048 ? 8
                      : rise > 1024 ? 7
                                    : 6;
    const int64_t step = std::max<int64_t>(gain >> 12, rise >> order);
    return static_cast<int>(std::min<int64_t>(gain + step, target));
  }
  if (fall > 32) {
    const int order = fall > 8192 ? 10 : fall > 4096 ? 9 : fall > 2048 ? 8 : fall > 1024 ? 6 : 5;
    const int64_t step = std::max<int64_t>((int64_t{gain} + (gain >> 1)) >> 11, fall >> order);
    return static_cast<int>(std::max<int64_t>(gain - step, target));
  }
  if (rise >= 8) return gain + static_cast<int>(rise >> 3);
  if (fall >= 8) return gain - static_cast<int>(fall >> 3);
  return target;
}

// The same for the gate: opens by 1/8 of the distance, closes by 1/32.
inline int gate_slew_step(int gate, int target) {
  const int64_t rise = int64_t{target} - gate;
  if (rise <= 0) return static_cast<int>(gate + (rise >> 5));
  return rise < 8 ? target : static_cast<int>(gate + (rise >> 3));
}

// The gate over a block. Opening, `left` is the distance; closing, it is the distance + 31, so that
// a 32nd of it rounds up as the step does.
struct gate_walk {
  int left, order, jump;  // a distance below jump is covered in one step
  int base, sign;         // the gate is base + sign x left

  gate_walk(int gate, int target) {
    const bool opens = target > gate;
    left = opens ? target - gate : gate - target + 31;
    order = opens ? 3 : 5;
    jump = opens ? 8 : 0;
    base = opens ? target : target - 31;
    sign = opens ? -1 : 1;
  }
  int step() {
    left -= left < jump ? left : left >> order;
    return base + sign * left;
  }
};

// gains[0..n) and gates[0..n) after each sample's step. Gains and their targets are in 0..8.0,
// gates and theirs not negative. sign is 1 for a rising gain, -1 for a falling one.
template <int sign>
inline void slew_in_ranges(int gain, int target, gate_walk gate, int* gains, int* gates, int n) {
  int distance = sign * (target - gain);
  int i = 0;
  const auto walk = [&](int range, auto step) {
    while (i < n && distance > range) {
      distance -= step();
      gates[i] = gate.step();
      gains[i++] = gain = target - sign * distance;
    }
  };
  const auto least = [&] { return sign > 0 ? gain >> 12 : (gain + (gain >> 1)) >> 11; };
  // For gains up to 8.0 the part of the gain is at most 768, so that a step can't cross a target
  // that is farther than 1024.
  const auto walk_far = [&](int range, int order) {
    walk(range, [&] { return std::max(least(), distance >> order); });
  };
  const auto walk_near = [&](int range, int order) {
    walk(range, [&] { return std::min(std::max(least(), distance >> order), distance); });
  };
  if (sign > 0) walk_far(16384, 11);
  walk_far(8192, 10);
  walk_far(4096, 9);
  walk_far(2048, 8);
  walk_far(1024, sign > 0 ? 7 : 6);
  walk_near(sign > 0 ? 64 : 32, sign > 0 ? 6 : 5);
  walk(-1, [&] { return distance < 8 ? distance : distance >> 3; });
}

// Whether gain and gate stay where they are, as they do most of the time.
inline bool slews_rest(int gain, int target, int gate, int gate_target) {
  return gain == target && gate == gate_target;
}

// Steps gain and gate through n samples: gains[0..n) and gates[0..n) are their values after each.
// Beyond the ranges of the fast form one sample's step at a time.
inline void slew_block(int& gain, int target, int& gate, int gate_target, int* gains, int* gates,
                       int n) {
  constexpr int kHighest = 8 << 17, kHighestGate = 1 << 30;
  const auto within = [](int x, int highest) { return x >= 0 && x <= highest; };
  if (!within(gain, kHighest) || !within(target, kHighest) || !within(gate, kHighestGate) ||
      !within(gate_target, kHighestGate)) {
    for (int i = 0; i < n; ++i) {
      gains[i] = gain = gain_slew_step(gain, target);
      gates[i] = gate = gate_slew_step(gate, gate_target);
    }
    return;
  }
  if (n < 1) return;
  const auto slew = target >= gain ? slew_in_ranges<1> : slew_in_ranges<-1>;
  slew(gain, target, gate_walk(gate, gate_target), gains, gates, n);
  gain = gains[n - 1];
  gate = gates[n - 1];
}
