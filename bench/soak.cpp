// An hour of sound through the chains and the rack while their settings change all the time, faster
// than real time:
//
//   sonx_soak MINUTES SEED [MUSIC VOICE]   minutes of sound for each of headphones, karaoke and rack;
//                                          two files, played at 48000 Hz whatever their rate, or
//                                          notes of its own
//
// Music and voices at any level, with pauses, in scenes of one to ten seconds; every 0.15 to 2 s
// another setting within the documented ranges. After about a minute of that a subject must be as good
// as new. It gets a last setting, and so does a fresh one beside it; after a while
//
//   level    both have the same within 1 dB
//   silence  neither is silent where the other one sounds, and a handle isn't for a second of sound at
//            any time
//   DC       the means of both differ by less than -60 dB of full scale
//   rest     at the end of a pause both are at rest, the rack within the tail that it promises
//   NaN      no sample of the rack is anything else than a number within full scale, at any time
//
// Level and DC aren't compared where an effect remembers the minutes before, as the smart volume does in
// its gain and a howling canceller in its notches and its shift; the karaoke's is off for its last setting.
//
// The same seed gives the same run. A fault prints the seed and the time, and ends with status 1.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "soak/programme.h"
#include "soak/subjects.h"

namespace {

double peak(const stereo& period) {
  double most = 0.0;
  for (const auto* side : {period.left, period.right})
    for (int i = 0; i < kFrames; ++i) most = std::max(most, std::abs(double{side[i]}));
  return most;
}

struct measure {
  double sum = 0.0, squares = 0.0, largest = 0.0;
  int64_t count = 0;
  void add(const stereo& period) {
    for (const auto* side : {period.left, period.right})
      for (int i = 0; i < kFrames; ++i) {
        sum += side[i];
        squares += double{side[i]} * side[i];
      }
    largest = std::max(largest, peak(period));
    count += 2 * kFrames;
  }
  double mean() const { return sum / static_cast<double>(count); }
  double level_db() const {
    return 10.0 * std::log10(squares / static_cast<double>(count) + 1e-12);
  }
};

// ---- A soak.

class soak {
 public:
  soak(const char* name, subject& s, programme& p, unsigned seed)
      : name_(name), subject_(s), programme_(p), seed_(seed), dice_(seed) {}

  void run(double minutes) {
    const auto start = std::chrono::steady_clock::now();
    while (now_s() < 60.0 * minutes) {
      for (double end = now_s() + 60.0; now_s() < end;) scene();
      compare();
    }
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    std::printf(
        "%-10s %6.1f min of sound, %d settings, %d comparisons: levels within %.2f dB, %d of them "
        "the same to the last bit, DC within %.0f dB, pauses end below %.0f dB; %.0f times real "
        "time\n",
        name_, now_s() / 60.0, settings_, comparisons_, worst_level_db_, equal_,
        20.0 * std::log10(worst_dc_ + 1e-9), 20.0 * std::log10(worst_rest_ + 1e-9),
        now_s() / spent.count());
  }

 private:
  double now_s() const { return static_cast<double>(periods_) * kFrames / 48000.0; }

  void scene() {
    programme_.next_scene(dice_, false);
    for (int left = dice_.within(100, 1000), wait = 0; left > 0; --left, --wait) {
      if (wait <= 0) {
        subject_.set(dice_, false);
        ++settings_;
        wait = dice_.within(15, 200);
      }
      stereo period = programme_.next();
      const bool sounds = peak(period) > 0.01;
      process(subject_, period);
      ++periods_;
      silent_ = sounds && peak(period) < 0.0001 ? silent_ + 1 : 0;
      if (silent_ >= 100 && !subject_.may_be_silent()) fault("silent for seconds", silent_ / 100.0);
    }
  }

  // As good as new?
  void compare() {
    subject_.set(dice_, true);
    ++settings_;
    const auto other = subject_.fresh();
    programme_.next_scene(dice_, true);
    bool same = true;
    const auto play = [&](double seconds, double settle_s) {
      measure in, ours, theirs;
      for (int i = 0; i < 100 * seconds; ++i, ++periods_) {
        stereo a = programme_.next(), b = a;
        const bool counts = i >= 100 * settle_s;
        if (counts) in.add(a);
        process(subject_, a);
        process(*other, b);
        if (!counts) continue;
        ours.add(a);
        theirs.add(b);
        same &= std::equal(a.left, a.left + kFrames, b.left) &&
                std::equal(a.right, a.right + kFrames, b.right);
      }
      if (subject_.remembers()) return ours;
      const double apart_db = std::abs(ours.level_db() - theirs.level_db());
      // Without input there is only what effects rest at, which has a limit of its own below.
      const bool audible =
          in.level_db() > -70.0 && std::max(ours.level_db(), theirs.level_db()) > -80.0;
      if (audible) worst_level_db_ = std::max(worst_level_db_, apart_db);
      if (audible && apart_db > 1.0) fault("levels differ by dB", apart_db);
      const double dc = std::abs(ours.mean() - theirs.mean());
      worst_dc_ = std::max(worst_dc_, dc);
      if (dc > 0.001) fault("DC differs by", dc);
      return ours;
    };
    play(20.0, 15.0);
    ++comparisons_;
    equal_ += same;
    programme_.pause();
    if (const double rest_s = subject_.rest_s(); rest_s >= 0.0) {
      measure end = play(rest_s + 1.5, rest_s + 1.0);
      // Some effects come to rest at a small constant.
      const double moving = end.largest - std::abs(end.mean());
      worst_rest_ = std::max(worst_rest_, moving);
      if (moving > 0.0011) fault("at the end of a pause a peak of", moving);
    }
  }

  void process(subject& s, stereo& period) {
    s.process(period);
    for (const auto* side : {period.left, period.right})
      for (int i = 0; i < kFrames; ++i)
        if (!(std::abs(side[i]) <= 1.0f)) fault("no sample, but", side[i]);
  }

  [[noreturn]] void fault(const char* what, double value) {
    std::printf("%s, seed %u, at %.2f s: %s %g\n%s", name_, seed_, now_s(), what, value,
                subject_.settings().c_str());
    std::exit(1);
  }

  const char* name_;
  subject& subject_;
  programme& programme_;
  unsigned seed_;
  dice dice_;
  int64_t periods_ = 0;
  int silent_ = 0, settings_ = 0, comparisons_ = 0, equal_ = 0;
  double worst_level_db_ = 0.0, worst_dc_ = 0.0, worst_rest_ = 0.0;
};

}  // namespace

int main(int argc, char** argv) {
  const double minutes = argc == 3 || argc == 5 ? std::atof(argv[1]) : 0.0;
  if (minutes <= 0.0) {
    std::fprintf(stderr, "usage: sonx_soak MINUTES SEED [MUSIC VOICE]\n");
    return 2;
  }
  const unsigned seed = static_cast<unsigned>(std::atoi(argv[2]));
  const bool recorded = argc == 5;
  programme music(recorded ? recording(argv[3]) : notes(10, 120));
  programme voice(recorded ? recording(argv[4]) : notes(10, 20));
  headphones words(SONX_FORMAT_32_BIT), halves(SONX_FORMAT_16_BIT);
  soak("headphones, 32 bits", words, music, seed).run(minutes);
  soak("headphones, 16 bits", halves, music, seed).run(minutes);
  karaoke chain;
  soak("karaoke", chain, voice, seed).run(minutes);
  row rack;
  soak("rack", rack, music, seed).run(minutes);
  return 0;
}
