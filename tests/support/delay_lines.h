// All-pass, comb, delay and echo comb with their settings, stepped alike.
#pragma once

#include "dsp/allpass.h"
#include "dsp/audio_delay.h"
#include "dsp/comber.h"
#include "dsp/iircomber.h"
#include "support/owned.h"
#include "support/signals.h"

struct allpass_section : owned<allpass, allpass_end> {
  allpass_section(int n, int gain) : owned(allpass_init, n) { allpass_setfeedback(this, gain); }
};

struct comb_filter : owned<comber, comb_end> {
  comb_filter(int n, int gain, int damp) : owned(comb_init, n) {
    comb_setfeedback(this, gain);
    comb_setsetdamp(this, damp);
  }
};

struct echo_comb : owned<iircomber, iircomber_end> {
  echo_comb(int n, int length, int gain) : owned(iircomber_init, n) {
    iircomber_setdelay(this, length);
    iircomber_setfeedback(this, gain);
  }
};

using delay_line = owned<audio_delay, audio_delay_end>;

inline int step(allpass& section, int x) { return allpass_process(x, &section); }
inline int step(comber& comb, int x) { return comb_process_24(x, &comb); }
inline int step(iircomber& comb, int x) { return iircomber_process(x, &comb); }
inline int step(audio_delay& line, int x) { return audio_delay_process(&line, x); }

template <typename Line>
samples through(Line&& line, const samples& x) {
  samples y;
  for (int v : x) y.push_back(step(line, v));
  return y;
}
