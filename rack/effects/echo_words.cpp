#include "echo_words.h"

#include <algorithm>

#include "conversions.h"

namespace {

int delay_word(const double* values, int rate) {
  return std::max(nearest(values[kEchoTime] * rate / 48000.0), 1);
}

int loop_frames(const double* values, int rate) { return delay_word(values, rate) * 48 + 24; }

double loop_gain(const double* values) { return percent_to_q13(values[kEchoFeedback]) / 13926.0; }

}  // namespace

void set_echo(iirecho* echo, const double* values, int rate) {
  const int feedback = percent_to_q13(values[kEchoFeedback]), delay = delay_word(values, rate);
  if (echo->feedback != feedback) iirecho_setfeedback(echo, feedback);
  if (echo->delay != delay) iirecho_setdelay(echo, delay);
  iirecho_setdry(echo, percent_to_q13(values[kEchoDry]));
  iirecho_setwet(echo, percent_to_q13(values[kEchoWet]));
}

// What is missing after a time is what would be left of an echo after it.
int echo_warm_up(const double* values, int rate) {
  const double gain = loop_gain(values);
  return gain == 0.0 ? 0 : loop_decay(loop_frames(values, rate), gain, 12.0);
}

int echo_tail(const double* values, int rate) {
  const double gain = loop_gain(values);
  return gain == 0.0 ? 0 : loop_decay(loop_frames(values, rate), gain, 70.0);
}
