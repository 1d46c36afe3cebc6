// What the lock on the bits runs: a line of tests/bits.txt each.
#pragma once

#include "bits/trial.h"

struct subject {
  const char* name;  // one word, with the sample width where there are several
  const char* what;
  unsigned trials;
  int frames;  // samples of a trial, about
  void (*run)(trial&);
};

extern const std::vector<subject> kPrimitives, kEffects, kChains, kSpeech;
