// A host that defines the log function: it receives the library's lines, with priority, tag, format
// and arguments, and nothing goes to standard error.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "hp/sonx_hp_effect.h"

namespace {

char received[1024];
size_t length = 0;

}  // namespace

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
  const size_t room = sizeof received - length;
  length += static_cast<size_t>(std::snprintf(received + length, room, "%d %s ", priority, tag));
  va_list arguments;
  va_start(arguments, format);
  length += static_cast<size_t>(
      std::vsnprintf(received + length, sizeof received - length, format, arguments));
  va_end(arguments);
  received[length++] = '\n';
  return 1;
}

int main() {
  sonx_hp_effect_deinit(sonx_hp_effect_init(32000, 3));

  constexpr char kExpected[] =
      "3 _T_sonx_hp_wrapper sonx_hp_effect_init: sample_rate 32000, format_type 3\n"
      "5 _T_sonx_hp_wrapper sonx_hp_effect_init: sample_rate 32000 unmatch, need bypass\n";
  if (std::strcmp(received, kExpected) == 0) return 0;
  std::fprintf(stderr, "expected:\n%sreceived:\n%s", kExpected, received);
  return 1;
}
