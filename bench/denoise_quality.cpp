// The noise suppressor's effect on steady noises and on speech in noise, as Markdown tables.
//
//   denoise_quality                 the whole report
//   denoise_quality levels          steady noise with the presence prior, attenuation by level
//   denoise_quality steady          steady noise with the own prior, and how fast it converges
//   denoise_quality speech [rate]   speech in noise, beside libspeexdsp's denoiser
//   denoise_quality tracked         the tracked prior: noise, steps, clean speech, musical noise
//   denoise_quality beside [rate]   speech in noise, policy 2 alone, beside libspeexdsp's denoiser
//   denoise_quality clean           level that speech without noise loses
//   denoise_quality hour [seconds]  an hour of mixed signal: drift, silence, overflow (not in the
//                                   report; meant for a build with sanitizers)
//   denoise_quality listen DIR      before, after the own and the tracked prior and libspeexdsp, of
//                                   each noise, loudness-matched, 16 kHz
//   denoise_quality render OUT.wav  a voice in the noise of a fan, at 16 kHz
#include <sndfile.h>

#include <cstring>
#include <map>

#include "denoise/hour.h"
#include "denoise/measures.h"
#include "denoise/runs.h"
#include "denoise/signals.h"
#include "denoise/tracked.h"

namespace {

constexpr double kSpeechLevel = -26.0;  // dBFS
constexpr int kPolicies = 4;

double power_between(const pcm& x, int rate, double from, double to) {
  double sum = 0.0;
  const auto first = static_cast<size_t>(from * rate), last = static_cast<size_t>(to * rate);
  for (size_t i = first; i < last; ++i) sum += double(x[i]) * x[i];
  return sum / static_cast<double>(last - first);
}

// Of the last third of a steady noise.
constexpr double kSteadySeconds = 30.0, kSettledFrom = 20.0;

double attenuation(const pcm& in, const pcm& out, int rate) {
  return decibels(power_between(in, rate, kSettledFrom, kSteadySeconds)) -
         decibels(power_between(out, rate, kSettledFrom, kSteadySeconds));
}

// Seconds from then on until the attenuation of no half second is more than 2 dB below the settled
// one.
double convergence(const pcm& in, const pcm& out, int rate, double start) {
  const double settled = attenuation(in, out, rate);
  double last = start;
  for (double from = start; from + 0.5 <= kSteadySeconds; from += 0.1)
    if (decibels(power_between(in, rate, from, from + 0.5)) -
            decibels(power_between(out, rate, from, from + 0.5)) <
        settled - 2.0)
      last = from + 0.1;
  return last - start;
}

// The first seconds 20 dB quieter.
constexpr double kStepAt = 8.0;

pcm with_step(std::vector<double> x, int rate) {
  for (size_t i = 0; i < static_cast<size_t>(kStepAt * rate); ++i) x[i] *= 0.1;
  return to_pcm(x);
}

void print_end(double seconds) {
  if (seconds > 0.0)
    std::printf(" ends after %.2f s |", seconds);
  else
    std::printf(" ends at once |");
}

// Of all four policies. When the process ends doesn't depend on them.
void print_attenuations(const pcm& in, int rate, prior source) {
  for (int policy = 0; policy < kPolicies; ++policy) {
    const outcome result = run_suppressor(in, rate, policy, source);
    if (result.ended) return print_end(double(result.out.size()) / rate);
    if (power_between(result.out, rate, kSettledFrom, kSteadySeconds) == 0.0)
      std::printf(" silent");
    else
      std::printf(" %.1f", attenuation(in, result.out, rate));
    std::printf(policy + 1 < kPolicies ? "," : " |");
  }
}

void report_levels() {
  std::printf(
      "### Steady noise, presence prior\n\nAttenuation in dB after %.0f s, policies 0 to 3, or "
      "when "
      "the process ends.\n",
      kSettledFrom);
  for (const int rate : kRates) {
    std::printf("\n| level (dBFS), %d Hz | white | pink | fan-like |\n|---|---|---|---|\n", rate);
    for (const double level : {-90, -80, -70, -65, -60, -55, -50, -40, -30, -20}) {
      std::printf("| %.0f |", level);
      for (const noise_kind kind : kNoises)
        print_attenuations(to_pcm(steady_noise(kind, rate, kSteadySeconds, level)), rate,
                           prior::presence);
      std::printf("\n");
    }
  }
  std::printf("\n");
}

// "17.6" or, over several levels, "17.6..17.8".
struct span {
  double low = 1e9, high = -1e9;
  void add(double v) {
    low = std::min(low, v);
    high = std::max(high, v);
  }
  void print() const {
    if (std::lround(10 * low) == std::lround(10 * high))
      std::printf(" %.1f |", low);
    else
      std::printf(" %.1f..%.1f |", low, high);
  }
};

void report_steady() {
  std::printf(
      "### Steady noise, own prior\n\nAttenuation in dB after %.0f s at -50, -40, -30 and -20 dBFS "
      "(lowest..highest), policies 0 to 3; seconds to converge at policy 2, from the start and "
      "after a step up by 20 dB.\n\n"
      "| rate | noise | 0 | 1 | 2 | 3 | start | step |\n|---|---|---|---|---|---|---|---|\n",
      kSettledFrom);
  for (const int rate : kRates)
    for (const noise_kind kind : {kWhite, kPink, kFan, kDeepPink}) {
      span db[kPolicies], from_start, from_step;
      for (const double level : {-50, -40, -30, -20}) {
        const auto noise = steady_noise(kind, rate, kSteadySeconds, level);
        const pcm in = to_pcm(noise), step = with_step(noise, rate);
        for (int policy = 0; policy < kPolicies; ++policy) {
          const pcm out = run_suppressor(in, rate, policy, prior::own).out;
          db[policy].add(attenuation(in, out, rate));
          if (policy == 2) from_start.add(convergence(in, out, rate, 0.0));
        }
        const pcm out = run_suppressor(step, rate, 2, prior::own).out;
        from_step.add(convergence(step, out, rate, kStepAt));
      }
      std::printf("| %d | %s |", rate, kind.name);
      for (const span& one : db) one.print();
      if (kind.kind == noise_kind::deep_pink) {  // scatters too much
        std::printf(" - | - |\n");
        continue;
      }
      from_start.print();
      from_step.print();
      std::printf("\n");
    }
  std::printf("\n");
}

size_t speex_delay(int rate) {
  const pcm in = to_pcm(steady_noise(kWhite, rate, 2.0, -30.0));
  return delay_between(in, run_speex(in, rate, 0), rate);
}

// What a voice without noise teaches has to be unlearnt when white noise sets in after it.
void report_after_voice() {
  std::printf(
      "Seconds to converge on white noise of -40 dBFS after a voice at %.0f dBFS, policy 2, with "
      "hiss in its pauses and with silent ones.\n\n| rate | hiss of -75 dBFS | -90 dBFS | silent "
      "|\n|---|---|---|---|\n",
      kSpeechLevel);
  const clip voice = speech()[0];
  for (const int rate : kRates) {
    std::printf("| %d |", rate);
    const pcm noise = to_pcm(steady_noise(kWhite, rate, kSteadySeconds, -40.0));
    for (const double hiss : {-75.0, -90.0, -300.0}) {
      std::vector<double> x = at_rate(voice, rate, kSpeechLevel).samples;
      x.resize(x.size() / block_of(rate) * block_of(rate));
      const auto pauses = steady_noise(kWhite, rate, double(x.size()) / rate + 0.1, hiss);
      for (size_t i = 0; i < x.size(); ++i) x[i] += pauses[i];
      pcm before = to_pcm(x), after = noise;
      suppressor ns(rate, 2, prior::own);
      ns.run(before);
      ns.run(after);
      std::printf(" %.1f |", convergence(noise, after, rate, 0.0));
    }
    std::printf("\n");
  }
  std::printf("\n");
}

// Sums over clips (and noises): what is left of the distance to the clean speech.
struct score {
  double segmental = 0.0, distance = 0.0;
  int runs = 0, ended = 0;
};

class speech_report {
 public:
  explicit speech_report(int rate, double level)
      : rate_(rate), level_(level), speex_delay_(speex_delay(rate)) {
    for (const clip& source : speech()) clips_.push_back(at_rate(source, rate, level));
    const pcm in = to_pcm(steady_noise(kWhite, rate, 2.0, -30.0));
    const size_t ours = delay_between(in, run_suppressor(in, rate, 0, prior::own).out, rate);
    std::printf("Delays in samples at %d Hz: %zu, libspeexdsp %zu.\n\n", rate, ours, speex_delay_);
    if (ours != latency_of(rate)) std::exit(2);
  }

  void print(const std::vector<background>& kinds, const char* title) {
    std::printf(
        "%s, %d Hz, speech at %.0f dBFS\n\n"
        "| | SNR 0 dB | 5 | 10 | 20 | LSD at 0 dB | 5 | 10 | 20 | ended |\n"
        "|---|---|---|---|---|---|---|---|---|---|\n",
        title, rate_, level_);
    std::map<std::string, std::map<int, score>> rows;
    for (const spoken_clip& clean : clips_) {
      const spectral_distance distance(clean, rate_);
      for (const background& kind : kinds)
        for (const int snr : kSnrs) add_runs(clean, distance, kind, snr, rows);
    }
    int all_ended = 0;
    for (auto& [name, by_snr] : rows)
      if (std::none_of(std::begin(kSnrs), std::end(kSnrs),
                       [&](int snr) { return by_snr[snr].runs > 0; }))
        for (const int snr : kSnrs) all_ended += by_snr[snr].ended;
      else
        print_row(name, by_snr, rows.begin()->second);
    if (all_ended > 0) std::printf("\nPresence prior: all %d runs ended the process.\n", all_ended);
    std::printf("\n");
    std::fflush(stdout);
  }

 private:
  static constexpr int kSnrs[] = {0, 5, 10, 20};

  void add_runs(const spoken_clip& clean, const spectral_distance& distance, const background& kind,
                int snr, std::map<std::string, std::map<int, score>>& rows) {
    std::vector<double> noisy = noise_beside(clean, kind, rate_, snr);
    for (size_t i = 0; i < noisy.size(); ++i) noisy[i] += clean.samples[i];
    pcm in = to_pcm(noisy);
    in.resize((in.size() / block_of(rate_) + 1) * block_of(rate_));
    const auto add = [&](const std::string& name, const std::vector<double>& y) {
      score& s = rows[name][snr];
      s.segmental += segmental_snr(clean, y);
      s.distance += distance.of(y);
      ++s.runs;
    };
    add("0 not processed", advanced(in, 0));
    for (const prior source : {prior::tracked, prior::own, prior::presence})
      for (int policy = 0; policy < kPolicies; ++policy) {
        const std::string name = (source == prior::tracked ? "1 tracked prior, policy "
                                  : source == prior::own   ? "2 own prior, policy "
                                                           : "3 presence prior, policy ") +
                                 std::to_string(policy);
        const outcome result = run_suppressor(in, rate_, policy, source);
        if (result.ended)
          ++rows[name][snr].ended;
        else
          add(name, advanced(result.out, latency_of(rate_)));
      }
    for (const int bound : {-15, -18})
      add("4 libspeexdsp, " + std::to_string(bound) + " dB",
          advanced(run_speex(in, rate_, bound), speex_delay_));
  }

  // The first row as it is, the others as what they gain.
  void print_row(const std::string& name, std::map<int, score>& by_snr,
                 const std::map<int, score>& unprocessed) const {
    const bool first = name[0] == '0';
    const auto mean = [&](double score::*what, int snr) {
      const score& s = by_snr[snr];
      const score& u = unprocessed.at(snr);
      if (s.runs == 0) return std::string("-");
      // Differences only against the same runs; those that ended are not among them.
      if (s.ended > 0) return std::string("*");
      char text[32];
      std::snprintf(text, sizeof text, first ? "%.1f" : "%+.1f",
                    s.*what / s.runs - (first ? 0.0 : u.*what / u.runs));
      return std::string(text);
    };
    std::printf("| %s |", name.c_str() + 2);
    for (const int snr : kSnrs) std::printf(" %s |", mean(&score::segmental, snr).c_str());
    int ended = 0, all = 0;
    for (const int snr : kSnrs) {
      ended += by_snr[snr].ended;
      all += by_snr[snr].ended + by_snr[snr].runs;
    }
    for (const int snr : kSnrs) std::printf(" %s |", mean(&score::distance, snr).c_str());
    std::printf(" %d of %d |\n", ended, all);
  }

  int rate_;
  double level_;
  size_t speex_delay_;
  std::vector<spoken_clip> clips_;
};

void report_speech(int only_rate) {
  std::printf(
      "### Speech in noise\n\nSegmental SNR and log-spectral distance (LSD) in dB, means over the "
      "voices: of the noisy speech, then what a suppressor adds. Ended: runs that ended the "
      "process; * where some did.\n\n");
  for (const int rate : kRates) {
    if (only_rate != 0 && only_rate != rate) continue;
    speech_report report(rate, kSpeechLevel);
    if (rate == 16000)
      for (const background& kind : kBackgrounds)
        report.print({kind}, (std::string("Noise: ") + kind.name).c_str());
    report.print({std::begin(kBackgrounds), std::end(kBackgrounds)}, "All noises");
    if (rate == 16000)
      speech_report(rate, -50.0)
          .print({std::begin(kBackgrounds), std::end(kBackgrounds)}, "All noises");
  }
}

// With a faint hiss in the pauses, as any microphone has, and with pauses that are digital silence,
// in which there is nothing to learn.
void report_clean() {
  constexpr double kHiss = -90.0;
  std::printf(
      "### Speech without noise, at %.0f dBFS\n\nLoss of the speech frames' level in dB, policies "
      "0 "
      "to 3, own prior: with white noise of %.0f dBFS, and with silent pauses. Presence prior: "
      "policy 2.\n\n| rate | voice | hiss: 0 | 1 | 2 | 3 | silent: 0 | 1 | 2 | 3 | presence | "
      "libspeexdsp |\n|---|---|---|---|---|---|---|---|---|---|---|---|\n",
      kSpeechLevel, kHiss);
  const auto clips = speech();
  for (const int rate : kRates)
    for (const clip& source : clips) {
      const spoken_clip clean = at_rate(source, rate, kSpeechLevel);
      const double before = decibels(speech_power(clean.samples, clean.frames));
      const auto loss = [&](const pcm& out, size_t delay) {
        return before - decibels(speech_power(advanced(out, delay), clean.frames));
      };
      std::vector<double> x =
          steady_noise(kWhite, rate, double(clean.samples.size()) / rate + 0.1, kHiss);
      x.resize(clean.samples.size());
      for (size_t i = 0; i < x.size(); ++i) x[i] += clean.samples[i];
      pcm hiss = to_pcm(x), silent = to_pcm(clean.samples);
      for (pcm* in : {&hiss, &silent})
        in->resize((in->size() / block_of(rate) + 1) * block_of(rate));
      std::printf("| %d | %s |", rate, clean.name.c_str());
      for (const pcm* in : {&hiss, &silent})
        for (int policy = 0; policy < kPolicies; ++policy)
          std::printf(" %.2f |",
                      loss(run_suppressor(*in, rate, policy, prior::own).out, latency_of(rate)));
      const outcome result = run_suppressor(hiss, rate, 2, prior::presence);
      if (result.ended)
        print_end(double(result.out.size()) / rate - kLead);
      else
        std::printf(" %.2f |", loss(result.out, latency_of(rate)));
      std::printf(" %.2f |\n", loss(run_speex(hiss, rate, -15), speex_delay(rate)));
    }
  std::printf("\n");
}

bool write_wav(const std::string& path, const pcm& x, int rate) {
  SF_INFO info = {};
  info.samplerate = rate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (!file) {
    std::fprintf(stderr, "denoise_quality: cannot write %s\n", path.c_str());
    return false;
  }
  sf_writef_short(file, x.data(), static_cast<sf_count_t>(x.size()));
  sf_close(file);
  return true;
}

constexpr int kRenderRate = 16000;

pcm voice_in(const spoken_clip& voice, const background& noise, double snr) {
  std::vector<double> x = noise_beside(voice, noise, kRenderRate, snr);
  for (size_t i = 0; i < x.size(); ++i) x[i] += voice.samples[i];
  pcm in = to_pcm(x);
  in.resize((in.size() / block_of(kRenderRate) + 1) * block_of(kRenderRate));
  return in;
}

int render(const char* path) {
  const spoken_clip voice = at_rate(speech()[1], kRenderRate, kSpeechLevel);
  return write_wav(path, voice_in(voice, kBackgrounds[2], 5.0), kRenderRate) ? 0 : 2;
}

// All files at the same level of the voice's frames, and without their delays.
int listen(const std::string& folder) {
  const spoken_clip voice = at_rate(speech()[1], kRenderRate, kSpeechLevel);
  for (const background& noise : kBackgrounds) {
    const pcm in = voice_in(voice, noise, 5.0);
    const std::pair<const char*, std::vector<double>> forms[] = {
        {"before", advanced(in, 0)},
        {"own",
         advanced(run_suppressor(in, kRenderRate, 2, prior::own).out, latency_of(kRenderRate))},
        {"tracked",
         advanced(run_suppressor(in, kRenderRate, 2, prior::tracked).out, latency_of(kRenderRate))},
        {"speexdsp", advanced(run_speex(in, kRenderRate, -18), speex_delay(kRenderRate))}};
    for (auto [name, y] : forms) {
      const double gain =
          std::sqrt(speech_power(voice.samples, voice.frames) / speech_power(y, voice.frames));
      for (double& v : y) v *= gain;
      if (!write_wav(folder + "/" + noise.name + "-" + name + ".wav", to_pcm(y), kRenderRate))
        return 2;
    }
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "all";
  const int number = argc > 2 ? std::atoi(argv[2]) : 0;
  if (what == "render" && argc > 2) return render(argv[2]);
  if (what == "listen" && argc > 2) return listen(argv[2]);
  if (what == "hour") return report_hour(number > 0 ? number : 3600);
  if (what == "beside") {
    for (const int rate : kRates)
      if (number == 0 || number == rate) report_beside(rate, speex_delay(rate));
    return 0;
  }
  const bool all = what == "all";
  if (!all && what != "levels" && what != "steady" && what != "speech" && what != "clean" &&
      what != "tracked") {
    std::fprintf(stderr,
                 "denoise_quality [levels | steady | speech [rate] | clean | tracked | beside "
                 "[rate] | hour [seconds] | "
                 "render OUT.wav]\n");
    return 1;
  }
  if (all || what == "levels") report_levels();
  if (all || what == "steady") {
    report_steady();
    report_after_voice();
  }
  if (all || what == "speech") report_speech(number);
  if (all || what == "clean") report_clean();
  if (all || what == "tracked") report_tracked();
  return 0;
}
