// Every module in two forms: its block function, and its plain form: what a caller would write who
// knows the interface's one-sample functions and nothing else. Both give the same bits (a test
// holds that), work on the same record, and may take turns on it.
#pragma once

#include <memory>
#include <vector>

constexpr int kPeriod = 240;          // frames: 5 ms at 48 kHz
constexpr int kLongestRun = 2 * 240;  // frames

enum class form { plain, block };

// A module with its input before it and the output of its last run behind it.
class subject {
 public:
  virtual ~subject() = default;

  // The whole input, 24-bit samples for each channel; mono takes the left one.
  virtual void load(const std::vector<int>& left, const std::vector<int>& right) = 0;
  // Runs n frames of the input, up to kLongestRun in the block form, kPeriod in the plain one.
  virtual void run(form which, int start, int n) = 0;
  // Appends the output of a run of n frames, the last one.
  virtual void hear(std::vector<int>& out, int n) const = 0;
};

struct module {
  const char* name;
  double rate;  // Hz
  int frames;   // of a run, as a rule; kPeriod or fewer
  bool whole;   // only runs of exactly that many or, in the block form, multiples of them
  std::unique_ptr<subject> (*make)();
};

const std::vector<module>& all_modules();
