// Prints how far a change of the headphone handle's record clicks, period by period: the largest step
// of a tone of 50 to 200 Hz as a multiple of its own, the least and the most over all changes between
// effects, one within the graphic equalizer, and places in the tone's period. The reverb is left out,
// whose tail goes on.
#include <cstdio>

#include "support/step_of_change.h"

int main() {
  constexpr int kEffects[] = {SONX_EFFECT_NONE, SONX_EFFECT_STEREO_WIDENING,
                              SONX_EFFECT_VIRTUAL_BASS, SONX_EFFECT_PARAMETRIC_EQUALIZER,
                              SONX_EFFECT_GRAPHIC_EQUALIZER};
  std::puts(
      "| rate | period | least | most | from | to | Hz |\n|---:|---:|---:|---:|---:|---:|---:|");
  for (const int rate : {48000, 44100})
    for (const int period : {240,  256, 480, 500, 512, 768, 960, 1000, 1024, 1152, 1536, 1764,
                             1920, 441, 220, 882, 96,  192, 260, 288,  320,  384,  576}) {
      double least = 1e9, most = 0, at_hertz = 0;
      change worst = {};
      for (const int from : kEffects)
        for (const int to : kEffects)
          for (const double hertz : {50.0, 60.0, 100.0, 200.0})
            for (int place = 0; place < 8; ++place) {
              if (from == to && from != SONX_EFFECT_GRAPHIC_EQUALIZER) continue;
              const change c = {{from, 0, {}}, {to, 0, {0, 0, 0, 0, 0, 0, 0, 0, 0, from == to}}};
              const double step = step_of_change(c, rate, period, hertz, place / 8.0);
              least = std::min(least, step);
              if (step <= most) continue;
              most = step;
              worst = c;
              at_hertz = hertz;
            }
      std::printf("| %d | %d | %.1f | %.1f | %d | %d | %.0f |\n", rate, period, least, most,
                  worst.from.effect_type, worst.to.effect_type, at_hertz);
      std::fflush(stdout);
    }
}
