#include "support/log_capture.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

std::vector<log_line> lines;

}  // namespace

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  lines.push_back({priority, tag, text});
  return 1;
}

std::vector<log_line> take_log() { return std::exchange(lines, {}); }
