// The howling canceller in a simulated room: how much louder a singer can be, how fast a howl ends,
// what it does to voices and music without feedback. Rooms come from seeds; the canceller was tuned
// on seeds 100..115, the report is on 200..215.
//
//   howling_loop                 the whole report
//   howling_loop gain [seed]     added stable gain, 16 rooms from that seed on (tuning: 100)
//   howling_loop howl [seed]     time until a howl is 20 dB down
//   howling_loop path [seed]     a slowly moving path
//   howling_loop clean           without feedback
//   howling_loop render out_dir  three recordings of the loudspeaker: without, notches, shift too
#include <sndfile.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "howling/loop.h"
#include "howling/material.h"

namespace {

constexpr unsigned kRooms = 16;
constexpr unsigned kReported = 200;
constexpr double kMargin = 6.0;  // dB above the loudest 20 ms of the voice alone: a howl

// At a gain of 0 dB the loop is just stable.
signal normalised(signal h) {
  const double gain = std::pow(10.0, unprotected_limit_db(h) / 20.0);
  for (float& v : h) v *= static_cast<float>(gain);
  return h;
}

const float* voice_at(const signal& voice, int period) {
  const size_t periods = voice.size() / kPeriod;
  return voice.data() + static_cast<size_t>(period) % periods * kPeriod;
}

const signal& voice_of(const std::vector<clip>& voices, unsigned room) {
  return voices[room % voices.size()].samples;
}

double loudest_db(const signal& x) {
  double loudest = -200.0;
  for (size_t at = 0; at + 4 * kPeriod <= x.size(); at += 4 * kPeriod) {
    double power = 0.0;
    for (size_t i = 0; i < 4 * kPeriod; ++i) power += double(x[at + i]) * x[at + i];
    loudest = std::max(loudest, db(power / (4 * kPeriod)));
  }
  return loudest;
}

int stretches_above(const loop_trace& trace, double limit_db, int from_s) {
  int above = 0;
  for (size_t i = static_cast<size_t>(from_s) * 50; i < trace.level_db.size(); ++i)
    above += trace.level_db[i] > limit_db;
  return above;
}

// 24 s with a voice; stable when no 20 ms of the last 12 s howl.
bool holds(const signal& room, const signal& voice, double gain_db, canceller* stage) {
  closed_loop loop(room);
  for (int p = 0; p < 24 * kPeriodsPerSecond; ++p) loop.period(voice_at(voice, p), stage, gain_db);
  return stretches_above(loop.trace, loudest_db(voice) + gain_db + kMargin, 12) == 0;
}

struct colouring {
  double mean_db, worst_db;  // magnitude of the change in a third-octave band, 125 Hz..10 kHz
};

template <typename Change>
colouring over_third_octaves(Change change_db) {
  colouring result = {};
  int bands = 0;
  for (double centre = 125.0; centre < 10500.0; centre *= std::pow(2.0, 1.0 / 3.0), ++bands) {
    const double change = change_db(centre);
    result.mean_db += std::abs(change);
    if (std::abs(change) > std::abs(result.worst_db)) result.worst_db = change;
  }
  result.mean_db /= bands;
  return result;
}

colouring colouring_of(const canceller& stage) {
  return over_third_octaves([&](double centre) {
    double power = 0.0;
    for (int i = 0; i < 60; ++i)
      power += std::norm(stage.gain(centre * std::pow(2.0, (i - 29.5) / 180.0))) / 60.0;
    return db(power);
  });
}

struct room_gain {
  double without, with;
  colouring at_3_db, at_limit;
};

room_gain stable_gain(const signal& room, const signal& voice) {
  room_gain result = {};
  for (double gain = -1.0; gain < 2.0 && holds(room, voice, gain, nullptr); gain += 0.25)
    result.without = gain;
  for (double gain = 0.5; gain < 15.0; gain += 0.5) {
    canceller stage;
    if (!holds(room, voice, gain, &stage)) break;
    result.with = gain;
    result.at_limit = colouring_of(stage);
    if (gain <= 3.0) result.at_3_db = result.at_limit;
  }
  return result;
}

void report_gain(unsigned first_seed) {
  const auto voices = speech();
  std::printf(
      "Greatest stable gain in dB, 0 = where the loop's theory has it without canceller; "
      "colouring:\n"
      "third-octave change by the notches, mean and worst, at +3 dB (or below) and at the limit;\n"
      "static: five ideally placed notches of 1/16, 4/16 and 10/16 of their frequency\n"
      "room delay[ms] decay[s] direct[dB]  without  with  added | static         | colouring\n");
  double total = 0.0, worst = 100.0, statics[3] = {}, colour[2] = {};
  for (unsigned seed = first_seed; seed < first_seed + kRooms; ++seed) {
    room_kind kind;
    const signal room = normalised(room_response(seed, &kind));
    const room_gain g = stable_gain(room, voice_of(voices, seed));
    const double added = g.with - g.without;
    const double s[3] = {ideal_static_db(room, 1.0), ideal_static_db(room, 4.0),
                         ideal_static_db(room, 10.0)};
    std::printf(
        "%4u %9.1f %8.2f %10.1f %8.2f %5.1f %6.2f | %4.1f %4.1f %4.1f | %4.1f %5.1f  %4.1f %5.1f\n",
        seed, kind.delay_ms, kind.decay_s, kind.direct_to_tail_db, g.without, g.with, added, s[0],
        s[1], s[2], g.at_3_db.mean_db, g.at_3_db.worst_db, g.at_limit.mean_db, g.at_limit.worst_db);
    std::fflush(stdout);
    total += added / kRooms;
    worst = std::min(worst, added);
    for (int i = 0; i < 3; ++i) statics[i] += s[i] / kRooms;
    colour[0] += g.at_3_db.mean_db / kRooms;
    colour[1] += g.at_limit.mean_db / kRooms;
  }
  std::printf(
      "added: mean %.2f dB, worst room %.2f dB; static %.1f %.1f %.1f dB; "
      "mean colouring %.1f and %.1f dB\n\n",
      total, worst, statics[0], statics[1], statics[2], colour[0], colour[1]);
}

// A second of voice starts the howl, which saturates the amplifier for 0.2 s before the canceller
// is switched on, new. Until the last 20 ms that are not 20 dB below, in 3 s without voice.
double seconds_to_end(const signal& room, const signal& voice, double gain_db) {
  closed_loop loop(room);
  const signal silence(kPeriod);
  int p = 0;
  for (; p < kPeriodsPerSecond; ++p) loop.period(voice_at(voice, p), nullptr, gain_db);
  for (int full = 0; (full < 10 && p < 60 * kPeriodsPerSecond) || p % 4; ++p) {
    loop.period(silence.data(), nullptr, gain_db);
    if (p % 4 == 3) full = loop.trace.level_db.back() > -9.0 ? full + 1 : 0;
  }
  const size_t start = loop.trace.level_db.size();
  const double top = loop.trace.level_db.back();
  canceller stage;
  for (int i = 0; i < 3 * kPeriodsPerSecond; ++i) loop.period(silence.data(), &stage, gain_db);
  size_t last = start;
  for (size_t i = start; i < loop.trace.level_db.size(); ++i)
    if (loop.trace.level_db[i] > top - 20.0) last = i + 1;
  return static_cast<double>(last - start) * 0.02;
}

void report_howl(unsigned first_seed) {
  const auto voices = speech();
  std::printf("Seconds until a saturated howl is 20 dB down for good, by gain above the limit\n");
  for (const double gain : {0.5, 1.0, 2.0, 3.0, 4.0, 6.0}) {
    double total = 0.0;
    unsigned in_time = 0;
    std::printf("%+4.1f dB:", gain);
    for (unsigned seed = first_seed; seed < first_seed + kRooms; ++seed) {
      const double s =
          seconds_to_end(normalised(room_response(seed)), voice_of(voices, seed), gain);
      std::printf(" %4.2f", s);
      total += s / kRooms;
      in_time += s <= 0.5;
    }
    std::printf("  mean %.2f, %u of %u within 0.5 s\n", total, in_time, kRooms);
    std::fflush(stdout);
  }
  std::printf("\n");
}

// From one room to another and back in 40 s, 120 s in all.
void report_path(unsigned first_seed) {
  const auto voices = speech();
  std::printf("Share of time that howls on a moving path (120 s, from room to room in 20 s)\n");
  for (const double gain : {-1.0, 1.0, 2.0, 3.0}) {
    double with = 0.0, without = 0.0;
    for (unsigned seed = first_seed; seed < first_seed + 4; ++seed) {
      const signal a = normalised(room_response(seed)), b = normalised(room_response(seed + 4));
      const signal& voice = voice_of(voices, seed);
      for (const bool on : {false, true}) {
        canceller stage;
        closed_loop loop(a, b);
        for (int p = 0; p < 120 * kPeriodsPerSecond; ++p) {
          const double way = p / (20.0 * kPeriodsPerSecond);
          const double blend = 1.0 - std::abs(std::fmod(way, 2.0) - 1.0);
          loop.period(voice_at(voice, p), on ? &stage : nullptr, gain, blend);
        }
        (on ? with : without) +=
            stretches_above(loop.trace, loudest_db(voice) + gain + kMargin, 0) / (4 * 6000.0);
      }
    }
    std::printf("%+4.1f dB: without %5.1f %%, with %5.1f %%\n", gain, 100 * without, 100 * with);
  }
  std::printf("\n");
}

colouring spectral_change(const signal& before, const signal& after) {
  constexpr size_t kPoints = 1 << 21;
  const auto a = spectrum_of(before, kPoints), b = spectrum_of(after, kPoints);
  return over_third_octaves([&](double centre) {
    double pa = 1e-12, pb = 1e-12;
    const auto bin = [](double f) { return static_cast<size_t>(f * kPoints / kRate); };
    for (size_t k = bin(centre * 0.8909); k < bin(centre * 1.1225); ++k) {
      pa += std::norm(a[k]);
      pb += std::norm(b[k]);
    }
    return db(pb) - db(pa);
  });
}

void report_clean(const char* kind, const std::vector<clip>& clips) {
  double seconds = 0.0, notched_seconds = 0.0;
  for (const clip& c : clips) {
    canceller stage;
    int active = 0;
    const size_t periods = c.samples.size() / kPeriod;
    const signal in(c.samples.begin(), c.samples.begin() + static_cast<long>(periods * kPeriod));
    signal out;
    for (size_t p = 0; p < periods; ++p) {
      int x[kPeriod];
      for (size_t i = 0; i < kPeriod; ++i)
        x[i] = static_cast<int>(in[p * kPeriod + i] * kFullScaleWord);
      stage.run(x, kPeriod);
      for (int v : x) out.push_back(static_cast<float>(v / kFullScaleWord));
      active += stage.active() > 0;
    }
    double in_power = 0.0, out_power = 0.0;
    for (size_t i = 0; i < out.size(); ++i) {
      in_power += double(in[i]) * in[i];
      out_power += double(out[i]) * out[i];
    }
    std::printf("%-8s %-24s %5.1f s  notched %5.1f %%  level %+5.2f dB  worst band %+5.2f dB\n",
                kind, c.name.c_str(), static_cast<double>(periods) / kPeriodsPerSecond,
                100.0 * active / static_cast<double>(periods), db(out_power) - db(in_power),
                spectral_change(in, out).worst_db);
    seconds += static_cast<double>(periods) / kPeriodsPerSecond;
    notched_seconds += static_cast<double>(active) / kPeriodsPerSecond;
  }
  std::printf("%-8s in all: notched %.2f %% of %.0f s\n\n", kind, 100.0 * notched_seconds / seconds,
              seconds);
}

void report_all_clean() {
  report_clean("speech", speech());
  report_clean("singing", singing());
  report_clean("chords", chords());
  report_clean("music", music());
}

int render(const std::string& directory) {
  const auto voices = speech();
  const signal room = normalised(room_response(kReported));
  const struct {
    const char* name;
    bool on;
    protection wanted;
  } takes[] = {{"without", false, {}}, {"notches", true, {}}, {"shift", true, {5, false, false}}};
  for (const auto& take : takes) {
    canceller stage(take.wanted);
    closed_loop loop(room);
    loop.keep = true;
    for (int p = 0; p < 15 * kPeriodsPerSecond; ++p)
      loop.period(voice_at(voices[1].samples, p), take.on ? &stage : nullptr, 6.0);
    SF_INFO info = {};
    info.samplerate = static_cast<int>(kRate);
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    const std::string path = directory + "/howling_" + take.name + ".wav";
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!file) {
      std::fprintf(stderr, "howling_loop: cannot write %s\n", path.c_str());
      return 2;
    }
    const signal& x = loop.trace.loudspeaker;
    sf_writef_float(file, x.data(), static_cast<sf_count_t>(x.size()));
    sf_close(file);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string what = argc > 1 ? argv[1] : "all";
  if (what == "render" && argc > 2) return render(argv[2]);
  const unsigned seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : kReported;
  const bool all = what == "all";
  if (!all && what != "gain" && what != "howl" && what != "path" && what != "clean") {
    std::fprintf(stderr, "howling_loop [gain|howl|path [seed] | clean | render out_dir]\n");
    return 1;
  }
  if (all || what == "gain") report_gain(seed);
  if (all || what == "howl") report_howl(seed);
  if (all || what == "path") report_path(seed);
  if (all || what == "clean") report_all_clean();
}
