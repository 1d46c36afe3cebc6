#include "log.h"

#include <cstdarg>
#include <cstdio>

namespace {

constexpr int kWarning = 5;
int lowest_priority = kWarning;

}  // namespace

namespace sonx {

void show_debug_log() { lowest_priority = 0; }

}  // namespace sonx

// Stands in for the library's own definition, which is weak.
extern "C" __attribute__((visibility("default"), format(printf, 3, 4))) int __android_log_print(
    int priority, const char* tag, const char* format, ...) {
  if (priority < lowest_priority) return 0;
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return std::fprintf(stderr, "%s: %s\n", tag, text);
}
