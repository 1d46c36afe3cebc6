#include <sonx/rack.h>
#include <stdio.h>

enum { RATE = 48000, FRAMES = 480 };

int main(int count, char** words) {  // a preset's file; raw 16-bit stereo in and out
  char preset[65536] = "", error[200] = "nothing to read, or no memory";
  FILE* file = count > 1 ? fopen(words[1], "r") : NULL;
  sonx_rack* rack = file ? sonx_rack_create(RATE, FRAMES) : NULL;
  const size_t length = file ? fread(preset, 1, sizeof preset - 1, file) : 0;
  if (!rack || length == 0 || sonx_rack_load(rack, preset, error, sizeof error) != 0) {
    fprintf(stderr, "%s\n", error);
    return 1;
  }
  int16_t buffer[2 * FRAMES];
  size_t frames;
  while ((frames = fread(buffer, 4, FRAMES, stdin)) > 0) {
    sonx_rack_process_s16(rack, buffer, 2, (int)frames);
    fwrite(buffer, 4, frames, stdout);
  }
  sonx_rack_destroy(rack);
}
