// One trial of a module: dice for its settings, signals and blocks, and the hash of what comes out.
#pragma once

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "support/watched_call.h"

// A record from its init to its end.
template <typename Record, auto init, auto end>
struct held : Record {
  template <typename... Arguments>
  explicit held(Arguments... arguments) {
    init(this, arguments...);
  }
  held(const held&) = delete;
  ~held() { end(this); }
};

// A seeded generator's words, the same on every platform; or a fuzzer's bytes, and when they are used
// up the words of a small generator, seeded too.
class dice {
 public:
  explicit dice(unsigned seed) : generator_(seed) {}
  dice(unsigned seed, std::span<const uint8_t> bytes) : bytes_(bytes), state_(seed * 0x2545F491) {}

  bool are_bytes() const { return !generator_; }
  uint32_t operator()() {
    if (generator_) return static_cast<uint32_t>((*generator_)());
    if (bytes_.size() < sizeof(uint32_t)) return more();
    uint32_t word;
    std::memcpy(&word, bytes_.data(), sizeof word);
    bytes_ = bytes_.subspan(sizeof word);
    return word;
  }
  // A word that takes nothing of the bytes: they are for what is worth a choice.
  uint32_t filler() { return generator_ ? operator()() : more(); }

 private:
  uint32_t more() {
    const uint32_t z = (state_ += 0x9E3779B9) * 0x85EBCA6B;
    return (z ^ z >> 15) * 0xC2B2AE35 ^ z;
  }

  std::optional<std::mt19937> generator_;
  std::span<const uint8_t> bytes_;
  uint32_t state_ = 0;
};

class trial {
 public:
  trial(unsigned which, int samples) : number(which), frames(samples), dice_(which) {}
  trial(unsigned which, int samples, std::span<const uint8_t> bytes)
      : number(which), frames(samples), dice_(which, bytes) {}

  const unsigned number;
  const int frames;  // about so many samples make it worth while

  // ---- The hash.

  template <typename... Values>
  void note(Values... values) {
    ((hash_ = (std::rotl(hash_, 23) ^ static_cast<uint64_t>(values)) * 0x9E3779B97F4A7C15u), ...);
  }
  template <typename Value>
  void note_all(const Value* values, size_t n) {
    for (size_t i = 0; i < n; ++i) note(values[i]);
  }
  template <typename Value, size_t n>
  void note_all(const Value (&values)[n]) {
    note_all(values, n);
  }
  uint64_t hash() const { return hash_ ^ hash_ >> 29; }

  // ---- Dice. Their words are the same on every platform. The order in which a call's arguments are
  // evaluated is not: throw at most one among them.

  unsigned roll(unsigned sides) { return static_cast<unsigned>(dice_()) % sides; }
  bool once_in(unsigned times) { return roll(times) == 0; }

  // Any word, the rails often.
  int any() {
    constexpr int kRails[] = {INT_MAX, INT_MIN, 8388607, -8388608, -1, 0, 1, INT_MIN + 1};
    return once_in(5) ? kRails[roll(8)] : static_cast<int>(dice_());
  }

  // A fuzzer's trials are short: it has as many as it likes. Those of wild settings hold any words, also
  // where the lock's are a range.
  bool fuzzed() const { return dice_.are_bytes(); }
  bool unbounded() const { return fuzzed() && wild(); }
  int times(int n) const { return fuzzed() ? 1 + n / 32 : n; }

  // A setting: an order, a Q13 gain, a threshold; in every third trial also beyond any sense.
  bool wild() const { return number % 3 == 2; }
  int value() {
    if (wild() && once_in(3)) return any();
    const int q13 = static_cast<int>(roll(8193)), word = static_cast<int>(roll(32768));
    const int values[] = {q13, q13 % 32, word, word - 16384, q13};
    return values[roll(5)];
  }
  // Ten gains in dB.
  void decibels(int (&gains)[10]) {
    for (int& gain : gains) gain = wild() ? any() : static_cast<int>(roll(37)) - 18;
  }

  // ---- Signals: 24 bits, but for the last, which is of any word; 16-bit ones are 8 bits down.

  static constexpr const char* kSignals[] = {"noise",  "full scale", "squares",  "tones",
                                             "bursts", "quiet",      "impulses", "any words"};

  template <typename Sample>
  std::vector<Sample> signal(int n, unsigned kind) {
    std::vector<Sample> x(static_cast<size_t>(n));
    int level = 0, left = 0, period = 2;
    for (int i = 0; i < n; ++i, --left) {
      const int word = static_cast<int>(kind % 8 == 7 ? dice_() : dice_.filler());
      if (left <= 0) {
        left = 20 + static_cast<int>(roll(1000));
        level = once_in(3) ? 0 : 8 + static_cast<int>(roll(15));  // right shift of a noise
        period = 2 * (2 + static_cast<int>(roll(60)));
      }
      const int half = period / 2, phase = i % period, in_half = phase % half;
      const int arch = static_cast<int>(33554431LL * in_half * (half - in_half) / (half * half));
      const int values[] = {word >> 10,
                            word >> 8,
                            phase < half ? 8388607 : -8388608,
                            (phase < half ? arch : -arch) >> (level & 3),
                            level == 0 ? 0 : word >> level,
                            word >> 28,
                            left == 1 ? word >> 8 : 0,
                            word % 5 == 0 ? any() : word};
      const int value = values[kind % 8];
      x[static_cast<size_t>(i)] = static_cast<Sample>(
          sizeof(Sample) == 2 && kind % 8 != 7 ? std::clamp(value >> 8, -32768, 32767) : value);
    }
    return x;
  }

  // ---- A stream in blocks of 0 to some hundred samples. Inputs and outputs are whole buffers that
  // coincide in one way or another; what a call leaves in all four, and on either side of its
  // block, is noted. Some ten times change() may change a setting.

  bool crossing = true;  // an output may also be the other side's input, or the other output
  int fewer_bits = 0;    // of coefficients

  static constexpr int kLongestBlock = 600;

  // process(buffers, n) gets the places of left and right input, left and right output. It is a
  // watched call, so it mustn't take memory.
  template <typename Sample, typename Process, typename Change>
  void stream(Process process, Change change) {
    std::vector<Sample> buffers[4];
    for (unsigned b = 0; b < 4; ++b)
      buffers[b] = signal<Sample>(frames + 2 * kGuard, number + b * (number / 8));
    const auto& p = places();
    for (int start = kGuard, count = 0; start < kGuard + frames; start += count) {
      count = std::min(static_cast<int>(roll(longest() + 1)), kGuard + frames - start);
      if (static_cast<int>(roll(static_cast<unsigned>(frames))) < 10 * count) change();
      Sample* const at[] = {buffers[p[0]].data() + start, buffers[p[1]].data() + start,
                            buffers[p[2]].data() + start, buffers[p[3]].data() + start};
      {
        const watched_call mark;
        process(at, count);
      }
      for (const auto& buffer : buffers)
        note_all(buffer.data() + start - kGuard, static_cast<size_t>(count + 2 * kGuard));
    }
  }

  std::string description() const {
    char text[160];
    const auto& p = places();
    std::snprintf(
        text, sizeof text, "setting %u: %s settings, %s, blocks up to %u, in %d %d, out %d %d",
        number, wild() ? "wild" : "sane", kSignals[number % 8], longest(), p[0], p[1], p[2], p[3]);
    return text;
  }

 private:
  static constexpr int kGuard = 4;

  unsigned longest() const {
    constexpr unsigned kLongest[] = {256, 64, 240, 3, kLongestBlock};
    return kLongest[number % 5];
  }
  // Buffers of the left and right input and output.
  const int (&places() const)[4] {
    static constexpr int kPlaces[][4] = {{0, 1, 2, 3}, {0, 1, 0, 1}, {0, 1, 1, 0}, {0, 0, 1, 2},
                                         {0, 0, 0, 0}, {0, 1, 2, 2}, {0, 1, 1, 1}};
    return kPlaces[number % (crossing ? 7 : 2)];
  }

  dice dice_;
  uint64_t hash_ = 1;
};
