// A long mixed signal: noises, speech, silence, full scale, changes of policy. What must not happen
// is a drift: steady noise afterwards is turned down as by a new instance.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "runs.h"
#include "signals.h"

// One minute, again and again: a voice in the noise of a fan, faint white noise, silence, full
// scale, pink noise, the voice alone. `gain` scales it, so that the presence prior can live with
// it.
inline pcm mixed_minute(int rate, double gain) {
  const auto voice = at_rate(speech()[0], rate, -26.0).samples;
  const auto at = [&](double seconds) { return static_cast<size_t>(seconds * rate); };
  std::vector<double> x(at(60));
  const auto put = [&](double from, double to, const std::vector<double>& part) {
    for (size_t i = at(from); i < at(to); ++i) x[i] += part[(i - at(from)) % part.size()];
  };
  put(0, 20, voice);
  put(0, 20, steady_noise(kFan, rate, 20, -36.0));
  put(20, 30, steady_noise(kWhite, rate, 10, -50.0));
  std::mt19937 generator(7);
  for (size_t i = at(35); i < at(38); ++i) x[i] = generator() % 65536 - 32768.0;
  for (size_t i = at(38); i < at(40); ++i) x[i] = i / 40 % 2 ? 32767.0 : -32768.0;
  put(40, 50, steady_noise(kPink, rate, 10, -30.0));
  put(50, 60, voice);
  for (double& v : x) v *= gain;
  return to_pcm(x);
}

struct hour_outcome {
  double fresh_db, afterwards_db;  // attenuation of a steady noise
  long loud_silences;              // minutes whose silence didn't come out as zeros
};

inline hour_outcome run_hour(int rate, prior source, int seconds) {
  const double gain = source == prior::presence ? 0.008 : 1.0;
  const pcm minute = mixed_minute(rate, gain);
  const pcm noise =
      to_pcm(steady_noise(kWhite, rate, 30, source == prior::presence ? -65.0 : -40.0));
  const auto attenuation_by = [&](suppressor& ns) {
    pcm x = noise;
    ns.run(x);
    double in = 0.0, out = 0.0;
    for (size_t i = x.size() * 2 / 3; i < x.size(); ++i) {
      in += double(noise[i]) * noise[i];
      out += double(x[i]) * x[i];
    }
    return decibels(in / out);
  };
  suppressor fresh(rate, 2, source), used(rate, 2, source);
  hour_outcome result{attenuation_by(fresh), 0.0, 0};
  pcm x;
  for (int minutes = 0; minutes < seconds / 60; ++minutes) {
    used.set_policy(minutes % 4);
    x = minute;
    used.run(x);
    for (auto i = static_cast<size_t>(31 * rate); i < static_cast<size_t>(35 * rate); ++i)
      if (x[i] != 0) {
        ++result.loud_silences;
        break;
      }
  }
  used.set_policy(2);
  result.afterwards_db = attenuation_by(used);
  return result;
}

// Returns the process's exit status. Should the presence prior end the process before, with the
// library's status 0, that counts as a failure too.
inline bool hour_is_over = false;

inline int report_hour(int seconds) {
  constexpr const char* kNames[] = {"presence", "own", "tracked"};
  int failures = 0;
  std::atexit([] {
    if (!hour_is_over) _exit(3);
  });
  std::printf(
      "%d s of mixed signal; attenuation of white noise in dB, policy 2\n\n"
      "| rate | prior | new | afterwards | silences not silent |\n|---|---|---|---|---|\n",
      seconds);
  for (const int rate : kRates)
    for (const prior source : {prior::tracked, prior::own, prior::presence}) {
      const hour_outcome result = run_hour(rate, source, seconds);
      std::printf("| %d | %s | %.2f | %.2f | %ld |\n", rate, kNames[static_cast<int>(source)],
                  result.fresh_db, result.afterwards_db, result.loud_silences);
      std::fflush(stdout);
      failures += std::abs(result.fresh_db - result.afterwards_db) > 0.5;
      failures += result.loud_silences > 0;
    }
  std::printf("\n");
  hour_is_over = true;
  return failures > 0;
}
