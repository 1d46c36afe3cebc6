// The howling canceller in many loops that differ widely. Rooms come from seeds: those below 5000
// are for tuning, the report is on 5000 and up; 100000 and up are a narrower family.
//
//   howling_rooms gain|howl|ring MODE [first] [count] [horizon]
//   howling_rooms alone MODE [first] [count]
//   howling_rooms static [first] [count]
//   howling_rooms beats
//
// MODE is none, notches, or a shift: 3, 5 (always), a3, a5 (automatic); r at its end adds the last
// resort, as in notchesr, 5r, a5r. s3 and s5 are a shift without notches. HOWLING_EACH in the
// environment prints each room.
//   gain   greatest stable gain above where the loop's theory has the limit; horizon 24 s or 8 s
//   howl   time until a howl that fills the loudspeaker is 20 dB down for good, +3 and +6 dB
//   ring   share of the voice's frames that ring at +3 dB
//   alone  without feedback: share of time with a cut by more than 1 dB
//   static what five ideal notches add that know the room
//   beats  what the shift does to a note that an accompaniment plays too
#include <cstdio>
#include <cstdlib>
#include <string>

#include "howling/judge.h"
#include "howling/world.h"

namespace {

struct mode {
  bool on;
  protection wanted;
};

mode mode_of(std::string text) {
  mode m = {text != "none", {}};
  if (text.size() > 1 && text.back() == 'r') {
    m.wanted.last_resort = true;
    text.pop_back();
  }
  m.wanted.automatic = text[0] == 'a';
  m.wanted.notches = text[0] != 's';
  if (m.wanted.automatic || !m.wanted.notches) text.erase(0, 1);
  if (text[0] >= '1' && text[0] <= '9') m.wanted.shift_hz = std::atoi(text.c_str());
  return m;
}

struct outcome {
  bool stable = true;
  double ringing = 0.0;  // share of the voice's frames
};

// Voice for all but the last 1.5 s, judged after the first 2 s of 8, or over its last 12.5 s.
outcome run(const world& w, double gain_db, const mode& m, int horizon_s, bool whole) {
  canceller stage(m.wanted);
  const bool hand = !w.covered.empty();
  closed_loop loop = hand ? closed_loop(w.response, w.covered, true) : closed_loop(w.response);
  judge listener(gain_db, w.level_db);
  const int voice_end =
      std::min(horizon_s * kPeriodsPerSecond - 300, static_cast<int>(w.voice.size()) / kPeriod);
  const int periods = voice_end + 300, judged_from = horizon_s > 8 ? voice_end - 2500 : 400;
  const float silence[kPeriod] = {};
  outcome result;
  int frames = 0, ringing = 0, clipped_before = 0;
  double rest = 0.0;
  for (int p = 0; p < periods; ++p) {
    const float* voice =
        p < voice_end ? w.voice.data() + static_cast<size_t>(p) * kPeriod : silence;
    const double from = 0.4 * periods, to = 0.7 * periods;
    const double blend = std::clamp(std::min(p - from, to - p) / 60.0, 0.0, 1.0);
    loop.period(voice, m.on ? &stage : nullptr, gain_db, blend);
    listener.hear(voice, loop.loudspeaker());
    if (p % 4 == 3 && p >= 400 && p < voice_end) {
      ++frames;
      ringing += listener.rings();
    }
    if (p == judged_from) clipped_before = loop.clipped;
    if (p >= judged_from && listener.howls()) {
      result.stable = false;
      if (!whole) return result;
    }
    if (p >= periods - 100)
      for (int i = 0; i < kPeriod; ++i)
        rest += double(loop.loudspeaker()[i]) * loop.loudspeaker()[i] / (100 * kPeriod);
  }
  const double share =
      double(loop.clipped - clipped_before) / (double(voice_end - judged_from) * kPeriod);
  result.stable &= share < 0.1 && db(rest) < std::min(-40.0, w.level_db - 10.0);
  result.ringing = frames ? double(ringing) / frames : 0.0;
  return result;
}

// Upwards by whole decibels, then by halves.
double stable_gain(const world& w, const mode& m, int horizon_s) {
  const auto holds = [&](double gain) { return run(w, gain, m, horizon_s, false).stable; };
  double gain = holds(3.0) ? 3.0 : -3.0;
  while (gain < 20.0 && holds(gain + 1.0)) gain += 1.0;
  return holds(gain + 0.5) ? gain + 0.5 : gain;
}

// Mean, mean of the worst tenth, worst.
struct summary {
  double mean, tenth, worst;
};
summary summary_of(std::vector<double> values, bool high_is_good) {
  std::sort(values.begin(), values.end());
  if (!high_is_good) std::reverse(values.begin(), values.end());
  const size_t tenth = std::max<size_t>(values.size() / 10, 1);
  summary s = {0.0, 0.0, values[0]};
  for (size_t i = 0; i < values.size(); ++i) {
    s.mean += values[i] / static_cast<double>(values.size());
    if (i < tenth) s.tenth += values[i] / static_cast<double>(tenth);
  }
  return s;
}

void print(const char* what, const summary& s, const char* unit) {
  std::printf("%s: mean %.2f, worst tenth %.2f, worst %.2f %s\n", what, s.mean, s.tenth, s.worst,
              unit);
}

void report_gain(const mode& m, unsigned first, unsigned count, int horizon_s) {
  std::vector<double> added;
  for (unsigned seed = first; seed < first + count; ++seed) {
    const world w = world_of(seed);
    added.push_back(stable_gain(w, m, horizon_s));
    if (std::getenv("HOWLING_EACH"))
      std::printf("%u level %.0f voice %d hand %d added %.1f\n", seed, w.level_db,
                  static_cast<int>(w.kind), !w.covered.empty(), added.back());
  }
  print("added stable gain", summary_of(added, true), "dB");
}

void report_static(unsigned first, unsigned count) {
  for (const double sixteenths : {1.0, 4.0, 10.0}) {
    std::vector<double> added;
    for (unsigned seed = first; seed < first + count; ++seed)
      added.push_back(ideal_static_db(world_of(seed).response, sixteenths));
    std::printf("%2.0f/16 wide: ", sixteenths);
    print("ideal static notches add", summary_of(added, true), "dB");
  }
}

double seconds_to_end(const world& w, double above_db, const mode& m) {
  const double gain_db = w.open_limit_db + above_db;
  closed_loop loop(w.response);
  const float silence[kPeriod] = {};
  int p = 0;
  for (; p < kPeriodsPerSecond; ++p)
    loop.period(w.voice.data() + static_cast<size_t>(p) * kPeriod, nullptr, gain_db);
  for (int full = 0; (full < 10 && p < 60 * kPeriodsPerSecond) || p % 4; ++p) {
    loop.period(silence, nullptr, gain_db);
    if (p % 4 == 3) full = loop.trace.level_db.back() > -9.0 ? full + 1 : 0;
  }
  const size_t start = loop.trace.level_db.size();
  const double top = loop.trace.level_db.back();
  canceller stage(m.wanted);
  for (int i = 0; i < 4 * kPeriodsPerSecond; ++i)
    loop.period(silence, m.on ? &stage : nullptr, gain_db);
  size_t last = start;
  for (size_t i = start; i < loop.trace.level_db.size(); ++i)
    if (loop.trace.level_db[i] > top - 20.0) last = i + 1;
  return static_cast<double>(last - start) * 0.02;
}

void report_howl(const mode& m, unsigned first, unsigned count) {
  for (const double gain : {3.0, 6.0}) {
    std::vector<double> seconds;
    int half = 0, one = 0, never = 0;
    for (unsigned seed = first; seed < first + count; ++seed) {
      const double s = seconds_to_end(world_of(seed), gain, m);
      seconds.push_back(s);
      if (std::getenv("HOWLING_EACH")) std::printf("%u %+.0f dB: %.2f s\n", seed, gain, s);
      half += s <= 0.5;
      one += s <= 1.0;
      never += s > 3.9;
    }
    std::printf("%+.0f dB: within 0.5 s %d, within 1 s %d, never %d of %u; ", gain, half, one,
                never, count);
    print("seconds", summary_of(seconds, false), "");
  }
}

void report_ring(const mode& m, unsigned first, unsigned count, int horizon_s) {
  std::vector<double> shares;
  int unstable = 0;
  for (unsigned seed = first; seed < first + count; ++seed) {
    const outcome o = run(world_of(seed), 3.0, m, horizon_s, true);
    shares.push_back(100.0 * o.ringing);
    unstable += !o.stable;
    if (std::getenv("HOWLING_EACH")) std::printf("%u rings %.1f\n", seed, shares.back());
  }
  std::printf("at +3 dB not stable in %d of %u rooms; ", unstable, count);
  print("frames that ring", summary_of(shares, false), "%");
}

// Share of the sounding frames whose level falls by more than 1 dB.
double cut_share(const signal& x, const mode& m) {
  canceller stage(m.wanted);
  int sounding = 0, cut = 0;
  for (size_t at = 0; at + 4 * kPeriod <= x.size(); at += 4 * kPeriod) {
    int y[4 * kPeriod];
    double before = 0.0, after = 0.0;
    for (int i = 0; i < 4 * kPeriod; ++i) {
      y[i] = static_cast<int>(x[at + size_t(i)] * kFullScaleWord);
      before += double(y[i]) * y[i];
    }
    stage.run(y, 4 * kPeriod);
    for (int v : y) after += double(v) * v;
    if (before / (4 * kPeriod) < 1e-6 * kFullScaleWord * kFullScaleWord) continue;
    ++sounding;
    cut += after < 0.794 * before;
  }
  return sounding ? 100.0 * cut / sounding : 0.0;
}

void report_alone(const mode& m, unsigned first, unsigned count) {
  const auto over = [&](const char* what, auto make) {
    std::vector<double> shares;
    for (unsigned seed = first; seed < first + count; ++seed) {
      shares.push_back(cut_share(make(seed), m));
      if (std::getenv("HOWLING_EACH")) std::printf("%s %u %.1f\n", what, seed, shares.back());
    }
    print(what, summary_of(shares, false), "% of the time cut by more than 1 dB");
  };
  const auto level = [](unsigned seed) { return -40.0 + seed % 23; };
  over("sines", sine_notes);
  over("flutes", flute_notes);
  over("speech", [&](unsigned s) { return speech_alone(s, level(s)); });
  over("singing", [&](unsigned s) { return singing_alone(s, level(s)); });
  over("chords", [&](unsigned s) { return chords_alone(s, level(s)); });
}

// A sung note at a microphone whose shift is on, together with the same note from an accompaniment:
// by how much the level of the sum swings within 20 ms frames, and how far apart both are.
void report_beats() {
  std::printf("note   shift  apart      swing with an accompaniment as loud, 10 dB softer\n");
  for (const double f : {110.0, 220.0, 440.0, 880.0})
    for (const int hertz : {0, 1, 3, 5}) {
      canceller stage({hertz, false, false});
      double swing[2];
      for (int k = 0; k < 2; ++k) {
        const double beside = k == 0 ? 1.0 : 0.316;
        double least = 1e9, most = -1e9;
        for (int frame = 0; frame < 150; ++frame) {
          double power = 0.0;
          for (int i = 0; i < 960; ++i) {
            const double t = 6.2831853 * f * (frame * 960 + i) / kRate;
            const auto partials = [&](double phase) {
              double sum = 0.0;
              for (int p = 1; p <= 8; ++p) sum += std::sin(p * t + phase * p * p) / p;
              return sum * 60000.0;
            };
            int x = static_cast<int>(partials(0.3));
            stage.run(&x, 1);
            const double y = x + beside * partials(0.5);
            power += y * y;
          }
          if (frame < 50) continue;
          least = std::min(least, db(power));
          most = std::max(most, db(power));
        }
        swing[k] = most - least;
      }
      std::printf("%4.0f Hz %3d Hz %4.0f cents  %5.1f dB %5.1f dB\n", f, hertz,
                  1200.0 * std::log2((f + hertz) / f), swing[0], swing[1]);
    }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "";
  const auto number = [&](int k, int otherwise) {
    return argc > k ? std::atoi(argv[k]) : otherwise;
  };
  const int at = what == "static" ? 2 : 3;  // of the first seed
  const auto first = static_cast<unsigned>(number(at, 5000)),
             count = static_cast<unsigned>(number(at + 1, 100));
  const int horizon_s = number(5, 24) > 8 ? 24 : 8;
  const mode m = mode_of(argc > 2 ? argv[2] : "notches");
  if (what == "gain") return report_gain(m, first, count, horizon_s), 0;
  if (what == "howl") return report_howl(m, first, count), 0;
  if (what == "ring") return report_ring(m, first, count, horizon_s), 0;
  if (what == "static") return report_static(first, count), 0;
  if (what == "beats") return report_beats(), 0;
  if (what == "alone") return report_alone(m, first, count), 0;
  std::fprintf(stderr,
               "howling_rooms gain|howl|ring|alone MODE [first] [count] [8|24]\n"
               "howling_rooms static [first] [count]\n"
               "howling_rooms beats\n");
  return 1;
}
