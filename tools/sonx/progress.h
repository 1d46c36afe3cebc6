// A progress bar on standard error, for work that lasts: shown only on a terminal and only after
// the first half second. Also the place where Ctrl-C is noticed.
#pragma once

#include <cstdint>
#include <string>

namespace sonx {

class progress_bar {
 public:
  progress_bar(std::string label, int64_t total);
  ~progress_bar();  // clears its line
  progress_bar(const progress_bar&) = delete;
  progress_bar& operator=(const progress_bar&) = delete;

  // Throws std::runtime_error when the user has interrupted the program.
  void update(int64_t done);

  // Makes room for other text; the next update draws it again.
  void clear();

 private:
  std::string label_;
  int64_t total_;
  bool terminal_;
  double start_;
  double next_;  // seconds, when to draw
  bool drawn_ = false;
};

// Makes an interrupt end the work at the next update, so that unfinished files are removed.
void catch_interrupts();

}  // namespace sonx
