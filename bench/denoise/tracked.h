// What prior source 2 is held against: steady noise down by the policy's bound and left without
// tones, a step followed, a clean voice left alone, the gain of a voice steady.
#pragma once

#include <cstdio>

#include "measures.h"
#include "runs.h"
#include "signals.h"

inline double mean_power(const pcm& x, int rate, double from, double to) {
  double sum = 0.0;
  const auto first = static_cast<size_t>(from * rate), last = static_cast<size_t>(to * rate);
  for (size_t i = first; i < last; ++i) sum += double(x[i]) * x[i];
  return sum / static_cast<double>(last - first);
}

inline double turned_down(const pcm& in, const pcm& out, int rate, double from, double to) {
  return decibels(mean_power(in, rate, from, to) / mean_power(out, rate, from, to));
}

// Kurtosis of spectral powers, E[p^4] / E[p^2]^2 in raw moments, frames of 32 ms (Hann) without
// overlap, each bin by its own mean, bins 0, 1 and the last two left out. Single bins that pass in
// a residual, musical noise, raise it: the measure is the ratio of it after and before (Y. Uemura
// and others, IWAENC 2008).
inline double spectral_kurtosis(const pcm& x, int rate, double from) {
  const auto n = static_cast<size_t>(rate) / 125 * 4;
  kiss_fftr_cfg plan = kiss_fftr_alloc(static_cast<int>(n), 0, nullptr, nullptr);
  std::vector<std::vector<double>> powers(n / 2 + 1);
  std::vector<float> in(n);
  std::vector<kiss_fft_cpx> bins(n / 2 + 1);
  for (auto at = static_cast<size_t>(from * rate); at + n <= x.size(); at += n) {
    for (size_t i = 0; i < n; ++i)
      in[i] = static_cast<float>(
          x[at + i] * (0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * double(i) / double(n))));
    kiss_fftr(plan, in.data(), bins.data());
    for (size_t k = 0; k < bins.size(); ++k)
      powers[k].push_back(double(bins[k].r) * bins[k].r + double(bins[k].i) * bins[k].i);
  }
  kiss_fftr_free(plan);
  double second = 0.0, fourth = 0.0, count = 0.0;
  for (size_t k = 2; k + 2 < powers.size(); ++k) {
    double mean = 0.0;
    for (const double p : powers[k]) mean += p / double(powers[k].size());
    for (const double p : powers[k]) {
      second += std::pow(p / mean, 2);
      fourth += std::pow(p / mean, 4);
      ++count;
    }
  }
  return fourth / count / std::pow(second / count, 2);
}

// Seconds after a step up by 20 dB until the attenuation of 100 ms stays within 3 dB of the final.
inline double step_followed(noise_kind kind, int rate, prior source) {
  constexpr double kAt = 6.0, kEnd = 18.0;
  std::vector<double> x = steady_noise(kind, rate, kEnd, -30.0);
  for (size_t i = 0; i < static_cast<size_t>(kAt * rate); ++i) x[i] *= 0.1;
  const pcm in = to_pcm(x), out = run_suppressor(in, rate, 2, source).out;
  const double settled = turned_down(in, out, rate, 15.0, kEnd);
  double last = kAt;
  for (double t = kAt; t + 0.1 < 15.0; t += 0.05)
    if (turned_down(in, out, rate, t, t + 0.1) < settled - 3.0) last = t + 0.05;
  return last - kAt;
}

inline void print_steady(int rate) {
  for (const noise_kind kind : {kWhite, kPink, kDeepPink, kFan}) {
    const pcm in = to_pcm(steady_noise(kind, rate, 12.0, -40.0));
    std::printf("| %d | %s |", rate, kind.name);
    double kurtosis[2] = {};
    for (int policy = 0; policy < 4; ++policy) {
      const pcm out = run_suppressor(in, rate, policy, prior::tracked).out;
      std::printf(" %.2f |", turned_down(in, out, rate, 6.0, 12.0));
      if (policy == 2) kurtosis[1] = spectral_kurtosis(out, rate, 3.0);
    }
    const double before = spectral_kurtosis(in, rate, 3.0);
    kurtosis[0] = spectral_kurtosis(run_suppressor(in, rate, 2, prior::own).out, rate, 3.0);
    std::printf(" %.2f | %.2f |", kurtosis[1] / before, kurtosis[0] / before);
    std::printf(" %.2f | %.2f |\n", step_followed(kind, rate, prior::tracked),
                step_followed(kind, rate, prior::own));
  }
}

// Level lost by the speech frames and log-spectral distance, for pauses that are silent and for a
// hiss of -90 dBFS in them.
inline void print_clean(const clip& voice, int rate) {
  const spoken_clip clean = at_rate(voice, rate, -26.0);
  const spectral_distance distance(clean, rate);
  const double before = decibels(speech_power(clean.samples, clean.frames));
  std::printf("| %d | %s |", rate, clean.name.c_str());
  const double seconds = double(clean.samples.size()) / rate + 0.1;
  for (const double hiss : {-300.0, -90.0}) {
    std::vector<double> x = steady_noise(kWhite, rate, seconds, hiss);
    x.resize(clean.samples.size());
    for (size_t i = 0; i < x.size(); ++i) x[i] += clean.samples[i];
    pcm in = to_pcm(x);
    in.resize((in.size() / block_of(rate) + 1) * block_of(rate));
    for (const prior source : {prior::tracked, prior::own}) {
      const auto y = advanced(run_suppressor(in, rate, 2, source).out, latency_of(rate));
      std::printf(" %.2f, %.1f |", before - decibels(speech_power(y, clean.frames)),
                  distance.of(y));
    }
  }
  std::printf("\n");
}

// Four syllables, the same every second, 10 dB above white noise: the largest difference of the
// gain onto the voice, by projection, from one second to the next.
inline double pumping(int rate, prior source) {
  constexpr int kSeconds = 16, kFrom = 2;
  const auto second = static_cast<size_t>(rate);
  std::vector<double> voice(kSeconds * second);
  for (size_t i = 0; i < voice.size(); ++i) {
    const double t = std::fmod(double(i) / rate, 1.0), part = std::fmod(t, 0.25) / 0.15;
    if (part < 1.0)
      for (int k = 1; k <= 20; ++k)
        voice[i] += std::sin(std::numbers::pi * part) *
                    std::sin(2.0 * std::numbers::pi * 130.0 * t * k + k * k) / k;
  }
  scale_to(voice, -26.0);
  std::vector<double> x = steady_noise(kWhite, rate, kSeconds, -36.0);
  for (size_t i = 0; i < x.size(); ++i) x[i] += voice[i];
  const auto y = advanced(run_suppressor(to_pcm(x), rate, 2, source).out, latency_of(rate));
  double worst = 0.0, before = 0.0;
  for (size_t s = kFrom; s + 1 < kSeconds; ++s) {
    double along = 0.0, all = 0.0;
    for (size_t i = s * second; i < (s + 1) * second; ++i) {
      along += y[i] * voice[i];
      all += voice[i] * voice[i];
    }
    const double gain = 2.0 * decibels(along / all);
    if (s > kFrom) worst = std::max(worst, std::abs(gain - before));
    before = gain;
  }
  return worst;
}

inline void report_tracked() {
  std::printf(
      "### The tracked prior\n\nSteady noise at -40 dBFS: attenuation in dB, policies 0 to 3; "
      "ratio "
      "of the spectrum's kurtosis after and before, policy 2; seconds to follow a step of 20 "
      "dB.\n\n"
      "| rate | noise | 0 | 1 | 2 | 3 | kurtosis | own prior | step | own prior |\n"
      "|---|---|---|---|---|---|---|---|---|---|\n");
  for (const int rate : kRates) print_steady(rate);
  std::printf(
      "\nSpeech at -26 dBFS without noise, policy 2: loss of level and log-spectral distance in "
      "dB.\n\n| rate | voice | silent pauses | own prior | hiss of -90 dBFS | own prior |\n"
      "|---|---|---|---|---|---|\n");
  const auto clips = speech();
  for (const int rate : kRates)
    for (const clip& source : clips) print_clean(source, rate);
  std::printf("\nThe gain of a steady voice changes from second to second by at most, in dB:\n\n");
  for (const int rate : kRates)
    std::printf("- %d Hz: %.2f, own prior %.2f\n", rate, pumping(rate, prior::tracked),
                pumping(rate, prior::own));
  std::printf("\n");
}

// Means over the voices at policy 2: what the tracked prior, the own one and libspeexdsp add to the
// segmental SNR and take from the log-spectral distance.
inline void report_beside(int rate, size_t speex_delay) {
  constexpr int kSnrs[] = {0, 5, 10, 20};
  enum { kNone, kTracked, kOwn, kSpeex, kForms };
  constexpr const char* kNames[] = {"", "tracked", "own", "libspeexdsp, -18 dB"};
  std::vector<spoken_clip> clips;
  for (const clip& voice : speech()) clips.push_back(at_rate(voice, rate, -26.0));
  std::printf(
      "Policy 2, %d Hz, speech at -26 dBFS\n\n"
      "| noise | | SNR 0 dB | 5 | 10 | 20 | LSD at 0 dB | 5 | 10 | 20 |\n"
      "|---|---|---|---|---|---|---|---|---|---|\n",
      rate);
  for (const background& noise : kBackgrounds) {
    double segmental[kForms][4] = {}, distances[kForms][4] = {};
    for (const spoken_clip& clean : clips) {
      const spectral_distance distance(clean, rate);
      for (size_t s = 0; s < 4; ++s) {
        std::vector<double> x = noise_beside(clean, noise, rate, kSnrs[s]);
        for (size_t i = 0; i < x.size(); ++i) x[i] += clean.samples[i];
        pcm in = to_pcm(x);
        in.resize((in.size() / block_of(rate) + 1) * block_of(rate));
        const std::vector<double> forms[] = {
            advanced(in, 0),
            advanced(run_suppressor(in, rate, 2, prior::tracked).out, latency_of(rate)),
            advanced(run_suppressor(in, rate, 2, prior::own).out, latency_of(rate)),
            advanced(run_speex(in, rate, -18), speex_delay)};
        for (size_t f = 0; f < kForms; ++f) {
          segmental[f][s] += segmental_snr(clean, forms[f]) / double(clips.size());
          distances[f][s] += distance.of(forms[f]) / double(clips.size());
        }
      }
    }
    for (size_t f = kTracked; f < kForms; ++f) {
      std::printf("| %s | %s |", noise.name, kNames[f]);
      for (size_t s = 0; s < 4; ++s) std::printf(" %+.1f |", segmental[f][s] - segmental[kNone][s]);
      for (size_t s = 0; s < 4; ++s) std::printf(" %+.1f |", distances[f][s] - distances[kNone][s]);
      std::printf("\n");
    }
  }
  std::printf("\n");
  std::fflush(stdout);
}
