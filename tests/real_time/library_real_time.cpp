// What a process call of the library may do on an audio thread: nothing but compute. Every module,
// both handles among them while settings change, runs on a watched thread in a process of its own.
// Printed: the longest call, the stack that a call takes, and the pages that are first touched in
// calls.
//   library_real_time                       ends with 0 if process calls do nothing of the kind
//   library_real_time memory, lock or call  as if one did such a thing: ends with 1
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "hp/sonx_hp_effect.h"
#include "ns/noise_suppressor.h"
#include "plain/modules.h"
#include "support/karaoke_switches.h"
#include "support/stack_of.h"
#include "support/watched_thread.h"

namespace {

constexpr int kFrames = 48000;
// Of the handles' periods; odd ones leave a rest behind whole blocks and slices of them.
constexpr size_t kPeriods[] = {480, 441, 1000, 255, 241};
constexpr size_t kLongest = 1000;

// A module at work: prepare takes its memory, call runs block k.
struct work {
  std::string name;
  std::function<std::function<void(int k)>()> prepare;
};

std::vector<int> noise(unsigned seed) {
  std::vector<int> samples(kFrames);
  for (int& v : samples) v = static_cast<int>(seed = seed * 1664525u + 1013904223u) >> 9;
  return samples;
}

work of(const module& m) {
  return {m.name, [&m]() -> std::function<void(int)> {
            std::shared_ptr<subject> s = m.make();
            s->load(noise(1), noise(2));
            return [s, &m](int k) {
              const int start = k * m.frames % (kFrames - kLongestRun);
              s->run(form::block, start, m.whole ? m.frames : k % 5 * 47 + m.frames);
            };
          }};
}

// The headphone handle through all effects and adapters, a record every fourth block.
std::function<void(int)> switched_headphones() {
  void* const handle = sonx_hp_effect_init(48000, SONX_FORMAT_32_BIT);
  return [handle, words = std::vector<int>(2 * kLongest), in = noise(3)](int k) mutable {
    audio_effect_control_acdb_t record = {k / 4 % 6, k / 24 % 9, {k / 4 % 9, 4096, 2000, 2000}};
    sonx_hp_effect_set_parameters(handle, &record);
    if (k % 50 == 0) sonx_hp_effect_reset(handle);
    std::copy_n(in.begin() + k * 480 % (kFrames - 2 * int(kLongest)), words.size(), words.begin());
    sonx_hp_effect_process(handle, words.data(), 2 * kPeriods[k % 5] * sizeof words[0]);
  };
}

std::function<void(int)> switched_karaoke() {
  void* const handle = sonx_ktv_init();
  return [handle, left = std::vector<short>(kLongest), right = std::vector<short>(kLongest),
          in = noise(4)](int k) mutable {
    for (size_t e = 0; e < std::size(kKaraokeSwitches); ++e)
      kKaraokeSwitches[e](handle, k / 3 >> e & 1);
    sonx_ktv_reverb_setroomsize(handle, k % 8000);
    sonx_ktv_iirecho_setdelay(handle, k % 350);
    int gains[10] = {k % 15, -k % 15, 3};
    sonx_ktv_eq_setparameter(handle, gains);
    for (size_t i = 0; i < left.size(); ++i)
      left[i] = static_cast<short>(in[(static_cast<size_t>(k) * 480 + i) % kFrames] >> 8);
    sonx_ktv_process_16(handle, left.data(), left.data(), right.data(), kPeriods[k % 5]);
  };
}

// A tone that doesn't end, which the canceller takes for a howl: notches, the shift, the last resort.
std::function<void(int)> howling_karaoke() {
  void* const handle = sonx_ktv_init();
  sonx_ktv_howling_canceling_set_shift(handle, 5);
  sonx_ktv_howling_canceling_set_shift_mode(handle, 1);
  sonx_ktv_howling_canceling_set_last_resort(handle, 1);
  std::vector<short> tone(kLongest), left(kLongest), right(kLongest);
  for (size_t i = 0; i < tone.size(); ++i) tone[i] = i % 40 < 20 ? 20000 : -20000;
  return [=](int k) mutable {
    sonx_ktv_process_16(handle, tone.data(), left.data(), right.data(), kPeriods[k % 5]);
  };
}

// down: by how many bits the noise is softer than 24 bits. Prior 0 ends the process when it's loud.
template <int prior, int down>
std::function<void(int)> suppressor() {
  auto ns = std::make_shared<NsxInst_t_>();
  tekaNs_InitCore(ns.get(), 16000);
  tekaNs_set_prior_source(ns.get(), prior);
  return [ns, in = noise(5)](int k) {
    short frame[160];
    for (int i = 0; i < 160; ++i)
      frame[i] = static_cast<short>(in[static_cast<size_t>(k * 160 + i) % kFrames] >> down);
    tekaNs_ProcessCore(ns.get(), frame, frame);
  };
}

// Runs in a process of its own; false unless that ends with 0. pages: first touched, in all.
template <typename Run>
bool in_child(Run run, long* pages = nullptr) {
  std::fflush(stdout);
  const pid_t process = fork();
  if (process == 0) {
    run();
    _exit(0);
  }
  int status = 0;
  rusage usage = {};
  wait4(process, &status, 0, &usage);
  if (pages != nullptr) *pages = usage.ru_minflt;
  return status == 0;
}

constexpr int kBlocks = 400;

bool check(const work& w, const std::string& misdeed) {
  const bool clean = in_child([&] {
    watched_thread audio(w.prepare(), misdeed);
    audio.wait(kBlocks);
    _exit(audio.finish() == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
  });
  if (!misdeed.empty()) return clean;

  long prepared = 0, run = 0;
  in_child([&] { w.prepare(); }, &prepared);
  in_child(
      [&] {
        for (auto call = w.prepare(); int k : {0, 1, 2, 3, 4, 5, 6, 7}) call(k);
      },
      &run);
  const auto call = w.prepare();
  using clock = std::chrono::steady_clock;
  auto longest = clock::duration::zero();
  for (int k = 0; k < kBlocks; ++k) {
    const auto begin = clock::now();
    call(k);
    longest = std::max(longest, clock::now() - begin);
  }
  const int stack = stack_of(call, kBlocks);
  std::printf("%-36s %8.1f us %8d bytes %6ld pages%s\n", w.name.c_str(),
              std::chrono::duration<double, std::micro>(longest).count(), stack, run - prepared,
              clean ? "" : "  NOT REAL-TIME SAFE");
  if (stack > kMostLibraryStack)
    std::printf("%s takes more than %d bytes of stack\n", w.name.c_str(), kMostLibraryStack);
  return clean && stack <= kMostLibraryStack;
}

}  // namespace

extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

int main(int count, char** words) {
  const std::string misdeed = count > 1 ? words[1] : "";
  std::vector<work> all;
  for (const module& m : all_modules()) all.push_back(of(m));
  all.push_back({"headphones, switched", switched_headphones});
  all.push_back({"karaoke, switched", switched_karaoke});
  all.push_back({"karaoke, howling", howling_karaoke});
  all.push_back({"noise suppressor, prior 0", suppressor<0, 15>});
  all.push_back({"noise suppressor, prior 1", suppressor<1, 9>});
  all.push_back({"noise suppressor, prior 2", suppressor<2, 9>});
  std::printf("%-36s %11s %14s %12s\n", "", "longest", "stack", "touched");
  long faults = 0;
  for (const work& w : all) faults += !check(w, misdeed);
  std::printf("%ld of %zu do more than compute\n", faults, all.size());
  return faults == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
