// The test program defines the log function itself, as a host may, and keeps the lines.
#pragma once

#include <string>
#include <vector>

struct log_line {
  int priority;
  std::string tag;
  std::string text;

  bool operator==(const log_line&) const = default;
};

// The lines since the last call.
std::vector<log_line> take_log();
