// What the rack takes from <bit> and <charconv> and an older C++ library lacks. Included ahead of
// the rack's sources.
#pragma once

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 15000
namespace std {

template <typename To, typename From>
constexpr To bit_cast(const From& from) {
  return __builtin_bit_cast(To, from);
}

// The shortest digits that read back as the same number, written out or with an exponent, whichever
// is shorter.
inline to_chars_result to_chars(char* first, char* last, double value) {
  char text[40], plain[340];
  int precision = 0;
  do snprintf(text, sizeof text, "%.*e", precision, value);
  while (strtod(text, nullptr) != value && ++precision < 17);
  const char* const mark = strchr(text, 'e');
  if (mark != nullptr) {
    const int exponent = atoi(mark + 1);
    snprintf(plain, sizeof plain, "%.*f", precision > exponent ? precision - exponent : 0, value);
  }
  const char* const best = mark != nullptr && strlen(plain) <= strlen(text) ? plain : text;
  const size_t length = strlen(best);
  if (length > static_cast<size_t>(last - first)) return {last, errc::value_too_large};
  memcpy(first, best, length);
  return {first + length, errc()};
}

}  // namespace std
#endif
