// A host without a log function of its own: the library's lines go to standard error, marked with
// the priority's letter and the tag.
#include <unistd.h>

#include <cstdio>
#include <string_view>

#include "hp/sonx_hp_effect.h"

int main() {
  std::FILE* caught = std::tmpfile();
  const int terminal = dup(STDERR_FILENO);
  if (!caught || dup2(fileno(caught), STDERR_FILENO) < 0) return 2;

  sonx_hp_effect_deinit(sonx_hp_effect_init(48000, 1));
  sonx_hp_effect_deinit(sonx_hp_effect_init(32000, 3));

  std::fflush(stderr);
  dup2(terminal, STDERR_FILENO);
  char text[1024] = {};
  std::rewind(caught);
  const size_t length = std::fread(text, 1, sizeof text - 1, caught);

  constexpr char kExpected[] =
      "D/_T_sonx_hp_wrapper: sonx_hp_effect_init: sample_rate 48000, format_type 1\n"
      "D/_T_sonx_hp_wrapper: sonx_hp_effect_init: sample_rate 32000, format_type 3\n"
      "W/_T_sonx_hp_wrapper: sonx_hp_effect_init: sample_rate 32000 unmatch, need bypass\n";
  if (std::string_view(text, length) == kExpected) return 0;
  std::fprintf(stderr, "expected:\n%sgot:\n%s", kExpected, text);
  return 1;
}
