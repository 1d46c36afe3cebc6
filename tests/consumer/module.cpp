// One module alone, from its own installed header: an all-pass of three samples and its impulse
// response.
#include <sonx_proc_hal/dsp/allpass.h>

int main() {
  allpass section{};
  allpass_init(&section, 3);
  const int expected[] = {4096, 0, 0, 6144, 0, 0, -3072};
  bool equal = true;
  for (int n = 0; n < 7; ++n) equal &= allpass_process(n ? 0 : 8192, &section) == expected[n];
  allpass_end(&section);
  return equal ? 0 : 1;
}
