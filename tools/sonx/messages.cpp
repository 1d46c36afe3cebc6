#include "messages.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace sonx {

namespace {

bool result_on_standard_output = false;

// Letters to insert, drop, replace or exchange with their neighbour.
size_t distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i)
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        d[i][j] = i + j;
        continue;
      }
      const size_t replaced = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + replaced});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  return d[a.size()][b.size()];
}

bool begins(const std::string& a, const std::string& b) {
  return std::min(a.size(), b.size()) > 1 && (a.starts_with(b) || b.starts_with(a));
}

}  // namespace

void say(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(result_on_standard_output ? stderr : stdout, format, arguments);
  va_end(arguments);
}

void say_on_standard_error() { result_on_standard_output = true; }

void warn(const std::string& text) { std::fprintf(stderr, "sonx: warning: %s\n", text.c_str()); }

std::string suggestion(const std::string& name, const std::vector<std::string>& known) {
  std::string best;
  size_t least = std::max<size_t>(1, name.size() / 3) + 1;
  for (const std::string& one : known) {
    const size_t far = begins(name, one) ? 0 : distance(name, one);
    if (far >= least) continue;
    least = far;
    best = one;
  }
  return best.empty() ? "" : "; did you mean '" + best + "'?";
}

}  // namespace sonx
