// Prints what the modules cost, one table a run. See usage() for the tables. The environment
// variable SONX_KERNELS names the block kernels that run; without it, the processor's best.
//
// Times are processor time, so that a busy machine counts less. The two forms take turns on one
// record in short stretches; the times printed are those of the fastest stretch, the ratios the
// median of the turns'. Input is a tenth of a second that repeats: too long for a branch predictor
// to learn.
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <string>

#include "dsp/kernels/kernels.h"
#include "ns/noise_suppressor.h"
#include "plain/modules.h"

namespace {

constexpr int kInput = 4800;                   // frames; whole periods of 240 and of 160
constexpr int kTurns = 400;                    // stretches of each form
constexpr double kStretch = 2e-4;              // seconds, about
constexpr int kCallFrames[] = {48, 240, 480};  // whose longest calls are looked for

using samples = std::vector<int>;

double processor_seconds() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// ---- Signals, full scale being 2^23.

samples noise(int amplitude, unsigned seed) {
  std::mt19937 generator(seed);
  samples x(kInput);
  for (int& v : x)
    v = static_cast<int>(static_cast<int64_t>(generator()) * (2LL * amplitude + 1) >> 32) -
        amplitude;
  return x;
}

samples full_scale(unsigned seed) {
  samples x = noise(1 << 20, seed);
  for (int& v : x) v = v < 0 ? -8388608 : 8388607;
  return x;
}

// From 64 down through 1 to nothing, every 400 frames.
samples tiny_decays(unsigned seed) {
  samples x(kInput);
  for (int i = 0; i < kInput; ++i)
    x[static_cast<size_t>(i)] = static_cast<int>(
        std::lround(64.0 * std::exp(-(i % 400) / 60.0) * std::cos(i * 0.3 * seed)));
  return x;
}

// Full scale and -48 dBFS by turns, 25 ms each: what follows the level keeps moving.
samples bursts(unsigned seed) {
  samples x = noise(8388607, seed);
  for (size_t i = 0; i < x.size(); ++i)
    if (i / 1200 % 2) x[i] >>= 8;
  return x;
}

struct signal {
  const char* name;
  samples (*make)(unsigned seed);
};
constexpr signal kSignals[] = {
    {"noise", [](unsigned seed) { return noise(0x200000, seed); }},  // peaks at -12 dBFS
    {"silence", [](unsigned) { return samples(kInput); }},
    {"full scale", full_scale},
    {"tiny decays", tiny_decays},
};

constexpr signal kBursts = {"bursts", bursts};

// ---- Stretches.

// A module that walks through its input, which repeats.
class runner {
 public:
  runner(const module& m, const signal& s, int frames) : runner(m, s.make(1), s.make(2), frames) {}
  runner(const module& m, const signal& s) : runner(m, s, m.frames) {}
  runner(const module& m, const samples& left, const samples& right, int frames)
      : frames_(frames), length_(static_cast<int>(left.size())), subject_(m.make()) {
    subject_->load(left, right);
  }

  void run(form which, int runs) {
    for (int i = 0; i < runs; ++i) {
      subject_->run(which, place_, frames_);
      place_ += frames_;
      if (place_ + frames_ > length_) place_ = 0;
    }
  }
  double seconds(form which, int runs) {
    const double start = processor_seconds();
    run(which, runs);
    return processor_seconds() - start;
  }

 private:
  int frames_, length_, place_ = 0;
  std::unique_ptr<subject> subject_;
};

// One form of one runner, and the time of a frame in each of its turns, in nanoseconds.
struct contender {
  runner* where;
  form which;
  int frames;  // of a run
  int runs = 1;
  std::vector<double> times = {};

  void find_stretch() {
    where->run(which, 20);  // warm, and settled on the signal
    while (where->seconds(which, runs) < kStretch && runs < 1 << 20) runs *= 2;
  }
  void take_turn() { times.push_back(1e9 * where->seconds(which, runs) / runs / frames); }
  double fastest() const { return *std::min_element(times.begin(), times.end()); }

  // The median over the turns: each compares two stretches in a row, so that it doesn't matter when
  // the processor, or what else it has to do, changes its pace.
  double times_slower_than(const contender& other) const {
    std::vector<double> ratios;
    for (size_t turn = 0; turn < times.size(); ++turn)
      ratios.push_back(times[turn] / other.times[turn]);
    std::nth_element(ratios.begin(), ratios.begin() + kTurns / 2, ratios.end());
    return ratios[kTurns / 2];
  }
};

void compete(std::vector<contender>& all) {
  for (contender& c : all) c.find_stretch();
  for (int turn = 0; turn < kTurns; ++turn)
    for (contender& c : all) c.take_turn();
}

// ---- Tables, in Markdown.

void print_ratios(const module& m) {
  runner r(m, kSignals[0]);
  std::vector<contender> both = {{&r, form::plain, m.frames}, {&r, form::block, m.frames}};
  compete(both);
  const double block = both[1].fastest();
  std::printf("| %s | %.1f | %.1f | %.0f | %.2f |\n", m.name, both[0].fastest(), block,
              1e9 / m.rate / block, both[0].times_slower_than(both[1]));
}

void print_signals(const module& m) {
  std::vector<runner> runners;
  for (const signal& s : kSignals) runners.emplace_back(m, s);
  std::vector<contender> all;
  for (runner& r : runners) all.push_back({&r, form::block, m.frames});
  compete(all);
  std::printf("| %s | %.1f |", m.name, all[0].fastest());
  for (size_t i = 1; i < all.size(); ++i) std::printf(" %.2f |", all[i].times_slower_than(all[0]));
  std::printf("\n");
}

void print_heading(const std::string& columns) {
  std::printf("Kernels: %s.\n\n%s\n", kernels().name, columns.c_str());
  const auto count = std::count(columns.begin(), columns.end(), '|') - 2;
  std::printf("|---|");
  for (int i = 0; i < count; ++i) std::printf("---:|");
  std::printf("\n");
}

// ---- The longest call. A run of calls is the same work every time it's repeated, so that the least
// of a call's times, over the repeats, is its own cost: an interruption would have to hit the same call
// in all of them.

constexpr int kRepeats = 5;
constexpr int kWarmCalls =
    20;  // before the clock: caches, pages, the fade that a stream starts with

double seconds() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// Calls the run that start() makes anew for every repeat; prints the median and the longest, us.
template <typename Start>
void print_longest(int calls, Start start) {
  std::vector<double> least(static_cast<size_t>(calls), std::numeric_limits<double>::infinity());
  for (int repeat = 0; repeat < kRepeats; ++repeat) {
    auto call = start();
    for (int i = 0; i < kWarmCalls; ++i) call();
    for (double& time : least) {
      const double begin = seconds();
      call();
      time = std::min(time, seconds() - begin);
    }
  }
  const auto middle = least.begin() + calls / 2;
  std::nth_element(least.begin(), middle, least.end());
  std::printf(" %.2f | %.2f |", 1e6 * *middle, 1e6 * *std::max_element(least.begin(), least.end()));
}

void print_longest(const module& m, int calls) {
  std::printf("| %s |", m.name);
  for (const int frames : kCallFrames) {
    if (m.whole && frames % m.frames != 0) {
      std::printf(" | |");
      continue;
    }
    print_longest(calls, [&] {
      return [r = std::make_unique<runner>(m, kBursts, frames)] { r->run(form::block, 1); };
    });
  }
  std::printf("\n");
  std::fflush(stdout);
}

// ---- The noise suppressor: frames, without another form to compare with.

constexpr const char* kPriors[] = {"presence", "own", "tracked"};

class suppressor {
 public:
  suppressor(unsigned rate, int source) {
    tekaNs_InitCore(&ns_, rate);
    tekaNs_set_policy_core(&ns_, 2);
    tekaNs_set_prior_source(&ns_, source);
    // -65 dBFS: far from where the presence ends the process.
    for (const int v : noise(0x200000, 1)) in_.push_back(static_cast<short>(v >> 16));
  }
  ~suppressor() { tekaNs_FreeCore(&ns_); }
  suppressor(const suppressor&) = delete;

  int frame() const { return ns_.block_length; }
  void run() {
    tekaNs_ProcessCore(&ns_, &in_[place_], out_);
    place_ = (place_ + static_cast<size_t>(frame())) % kInput;
  }

 private:
  NsxInst_t_ ns_;
  std::vector<short> in_;
  short out_[kNsxMaxFrame];
  size_t place_ = 0;
};

void print_suppressor(unsigned rate, int source) {
  suppressor s(rate, source);
  double best = std::numeric_limits<double>::infinity();
  for (int turn = 0; turn < kTurns; ++turn) {
    const double start = processor_seconds();
    for (int at = 0; at < kInput; at += s.frame()) s.run();
    best = std::min(best, (processor_seconds() - start) / kInput * s.frame());
  }
  std::printf("| %u | %s | %.1f | %.0f |\n", rate, kPriors[source], 1e6 * best,
              s.frame() / best / rate);
}

void print_longest_of_suppressor(unsigned rate, int source, int calls) {
  std::printf("| %u | %s |", rate, kPriors[source]);
  print_longest(calls,
                [&] { return [s = std::make_unique<suppressor>(rate, source)] { s->run(); }; });
  std::printf("\n");
  std::fflush(stdout);
}

// ---- The recording that peers get too: raw 16-bit stereo in the machine's byte order.

void read_recording(const char* file, samples& left, samples& right) {
  std::ifstream in(file, std::ios::binary);
  short frame[2];
  while (in.read(reinterpret_cast<char*>(frame), sizeof frame)) {
    left.push_back(frame[0] * 256);
    right.push_back(frame[1] * 256);
  }
}

// Nanoseconds of a frame, from the fastest of five passes over the whole recording.
void print_recording(const module& m, const samples& left, const samples& right) {
  runner r(m, left, right, m.frames);
  const int runs = static_cast<int>(left.size()) / m.frames;
  double best = std::numeric_limits<double>::infinity();
  for (int pass = 0; pass < 5; ++pass) best = std::min(best, r.seconds(form::block, runs));
  std::printf("%s\t%.2f\n", m.name, best * 1e9 / runs / m.frames);
}

[[noreturn]] void usage() {
  std::fputs(
      "sonx_speed                        ns per frame, plain and block, times real time, ratio\n"
      "sonx_speed --signals              ns per frame by signal\n"
      "sonx_speed --suppressor           us per frame of the noise suppressor, times real time\n"
      "sonx_speed --worst N              us of the median and the longest of N calls, by their "
      "frames\n"
      "sonx_speed --recording FILE       ns per frame on raw 16-bit stereo, tab-separated\n"
      "sonx_speed --run plain|block N    runs the module's form on N periods and prints nothing,\n"
      "                                  for a program that counts instructions\n"
      "sonx_speed --list                 the modules and their frames a period, tab-separated\n"
      "sonx_speed --kernels              which block kernels run\n"
      "  --module NAME                   that module alone, with any of these\n",
      stderr);
  std::exit(2);
}

}  // namespace

int main(int argc, char** argv) {
  std::string table = "--ratios", module_name, argument;
  int runs = 0;
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    const auto next = [&]() -> const char* { return i + 1 < argc ? argv[++i] : (usage(), ""); };
    if (option == "--module") {
      module_name = next();
      continue;
    }
    table = option;
    if (option == "--recording") argument = next();
    if (option == "--worst") runs = std::atoi(next());
    if (option == "--run") {
      argument = next();
      runs = std::atoi(next());
    }
  }

  const char* variant = std::getenv("SONX_KERNELS");
  if (variant != nullptr && !select_kernels(variant)) {
    std::fprintf(stderr, "SONX_KERNELS: no kernels called %s here\n", variant);
    return 1;
  }

  std::vector<module> chosen;
  for (const module& m : all_modules())
    if (module_name.empty() || module_name == m.name) chosen.push_back(m);
  if (chosen.empty()) usage();

  if (table == "--ratios") {
    print_heading("| module | plain, ns | block, ns | times real time | plain / block |");
    for (const module& m : chosen) print_ratios(m);
  } else if (table == "--signals") {
    std::string columns = "| module | noise, ns |";
    for (const signal& s : kSignals)
      if (&s != kSignals) columns += std::string(" ") + s.name + " / noise |";
    print_heading(columns);
    for (const module& m : chosen) print_signals(m);
  } else if (table == "--suppressor") {
    std::printf("| rate | prior | a frame, us | times real time |\n|---|---|---:|---:|\n");
    for (const unsigned rate : {8000u, 16000u, 32000u})
      for (const int source : {0, 1, 2}) print_suppressor(rate, source);
  } else if (table == "--worst" && runs > 0) {
    std::printf("Calls: %d. ", runs);
    print_heading(
        "| module | 48: median, us | longest | 240: median, us | longest | 480: median, us "
        "| longest |");
    for (const module& m : chosen) print_longest(m, runs);
    if (!module_name.empty()) return 0;
    std::printf(
        "\n| noise suppressor, rate | prior | a frame: median, us | longest |\n"
        "|---|---|---:|---:|\n");
    for (const unsigned rate : {8000u, 16000u, 32000u})
      for (const int source : {0, 1, 2}) print_longest_of_suppressor(rate, source, runs);
  } else if (table == "--recording") {
    samples left, right;
    read_recording(argument.c_str(), left, right);
    if (left.size() < kPeriod) {
      std::fprintf(stderr, "sonx_speed: nothing to read in '%s'\n", argument.c_str());
      return 1;
    }
    for (const module& m : chosen) print_recording(m, left, right);
  } else if (table == "--run" && (argument == "plain" || argument == "block")) {
    for (const module& m : chosen)
      runner(m, kSignals[0]).run(argument == "plain" ? form::plain : form::block, runs);
  } else if (table == "--list") {
    for (const module& m : chosen) std::printf("%s\t%d\n", m.name, m.frames);
  } else if (table == "--kernels") {
    std::printf("%s\n", kernels().name);
  } else {
    usage();
  }
  return 0;
}
