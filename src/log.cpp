#include "log.h"

#ifndef __ANDROID__

#include <cstdarg>
#include <cstdio>

// "D/tag: text" on standard error, the letter by priority.
extern "C" __attribute__((weak)) int __android_log_print(int priority, const char* tag,
                                                         const char* format, ...) {
  constexpr char kLetters[] = "??VDIWEF";
  const char letter = priority >= 0 && priority < 8 ? kLetters[priority] : '?';
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return std::fprintf(stderr, "%c/%s: %s\n", letter, tag, text);
}

#endif
