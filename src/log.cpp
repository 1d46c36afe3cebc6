#include "log.h"

#ifndef __ANDROID__

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>

// "D/tag: text" on standard error, the letter by priority, cut to 1023 bytes. In one write and without
// the stream's lock: a thread that plays doesn't wait for one that prints.
extern "C" __attribute__((weak)) int __android_log_print(int priority, const char* tag,
                                                         const char* format, ...) {
  constexpr char kLetters[] = "??VDIWEF";
  char line[1024];
  constexpr int kMost = sizeof line - 1;
  const char letter = priority >= 0 && priority < 8 ? kLetters[priority] : '?';
  int length = std::min(std::snprintf(line, kMost, "%c/%s: ", letter, tag), kMost - 1);
  va_list arguments;
  va_start(arguments, format);
  length += std::vsnprintf(line + length, static_cast<size_t>(kMost - length), format, arguments);
  va_end(arguments);
  length = std::min(length, kMost - 1);
  line[length++] = '\n';
  return static_cast<int>(write(STDERR_FILENO, line, static_cast<size_t>(length)));
}

#endif
