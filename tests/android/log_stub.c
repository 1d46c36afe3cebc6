// The phone's log, as a library to link with.
#include <stdarg.h>
#include <stdio.h>

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  fprintf(stderr, "%d/%s: ", priority, tag);
  const int written = vfprintf(stderr, format, arguments);
  va_end(arguments);
  return written;
}
