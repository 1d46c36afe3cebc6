// Proves that process takes no memory, no lock and no system call, while another thread sets,
// switches, loads, saves and reads: a process for each effect, in which the kernel stops the audio
// thread at any system call and the interposer counts the rest.
//   rack_real_time           ends with 0 if process does nothing of the kind
//   rack_real_time memory    as if it took memory: ends with 1
//   rack_real_time lock      as if it took a lock: ends with 1
//   rack_real_time call      as if it made a system call: ends with 1
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sonx/rack.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "interposer.h"

namespace {

constexpr int kFrames = 500;  // above the rack's 480: calls are split too

// From here on a system call of this thread ends the process. False where the kernel can't.
bool forbid_system_calls() {
  sock_filter stop[] = {BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS)};
  const sock_fprog program = {1, stop};
  return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

struct audio_thread {
  audio_thread(sonx_rack* r, std::string m) : rack(r), misdeed(std::move(m)) {}

  sonx_rack* rack;
  std::string misdeed;
  std::atomic<int> blocks = 0;
  std::atomic<bool> started = false, watched = false, finished = false;

  // Never returns: ending a thread is a system call.
  void run() {
    std::vector<int32_t> words(2 * kFrames);
    std::vector<float> floats(2 * kFrames);
    std::vector<int16_t> shorts(2 * kFrames);
    float* const channels[] = {floats.data(), floats.data() + kFrames};
    std::mutex mutex;
    watched = forbid_system_calls();
    started = true;
    interposer::forbidden = true;
    for (unsigned value = 1; !finished; ++blocks) {
      for (int32_t& word : words)
        word = static_cast<int32_t>(value = value * 1664525u + 1013904223u);
      for (size_t i = 0; i < floats.size(); ++i)
        floats[i] = static_cast<float>(words[i]) * 0x1p-31f;
      for (size_t i = 0; i < shorts.size(); ++i) shorts[i] = static_cast<int16_t>(words[i] >> 16);
      sonx_rack_process_s32(rack, words.data(), 2, kFrames);
      sonx_rack_process_f32(rack, channels, channels, 2, kFrames);
      sonx_rack_process_s16(rack, shorts.data(), 1, kFrames);
      if (blocks == 200) sonx_rack_reset(rack);
      if (misdeed == "memory") std::make_unique<std::vector<int>>(5).swap(leak);
      if (misdeed == "lock") mutex.lock(), mutex.unlock();
      if (misdeed == "call") (void)getppid();
    }
    interposer::forbidden = false;
    done = true;
    for (;;) {
    }
  }
  std::unique_ptr<std::vector<int>> leak;
  std::atomic<bool> done = false;

  // Until the audio thread has run some more.
  void wait(int more) {
    for (const int until = blocks + more; blocks < until;) std::this_thread::yield();
  }
};

std::string preset_of(const sonx_effect* effect) {
  return std::string("sonx = 1\n[[effect]]\nid = \"") + effect->id + "\"\n";
}

// Everything that other threads may do, while the audio thread runs.
int child(const sonx_effect* effect, const std::string& misdeed) {
  sonx_rack* const rack = sonx_rack_create(effect->rates[effect->rate_count - 1], 480);
  const std::string preset = preset_of(effect);
  char error[200] = "", text[1 << 14];
  if (sonx_rack_load(rack, preset.c_str(), error, sizeof error) != 0) return 2;
  audio_thread audio(rack, misdeed);
  std::thread([&] { audio.run(); }).detach();
  audio.wait(5);
  if (!audio.watched) std::fprintf(stderr, "system calls aren't watched here\n");
  for (int p = 0; p < effect->parameter_count; ++p)
    for (const double value : {effect->parameters[p].maximum, effect->parameters[p].minimum}) {
      sonx_rack_set(rack, 0, p, value);
      audio.wait(p % 20 == 0 ? 60 : 3);
    }
  for (int k = 0; k < 8; ++k) {
    sonx_rack_enable(rack, k % 4 < 2 ? 0 : -1, k % 2);
    float in[2], out[2];
    sonx_rack_meters(rack, in, out);
    sonx_rack_slot_meters(rack, 0, in, out);
    audio.wait(20);
    sonx_rack_save(rack, text, sizeof text);
    sonx_rack_load(rack, k % 2 ? "sonx = 1" : preset.c_str(), nullptr, 0);
    audio.wait(20);
  }
  audio.finished = true;
  while (!audio.done) std::this_thread::yield();
  return interposer::faults == 0 ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
  const std::string misdeed = count > 1 ? words[1] : "";
  int failures = 0;
  const int effects = misdeed.empty() ? sonx_effect_count() : 1;
  for (int k = 0; k < effects; ++k) {
    const sonx_effect* const effect = sonx_effect_at(k);
    const pid_t process = fork();
    if (process == 0) _exit(child(effect, misdeed));
    int status = 0;
    waitpid(process, &status, 0);
    if (status == 0) continue;
    ++failures;
    std::printf("%s: %s %d\n", effect->id, WIFSIGNALED(status) ? "stopped by signal" : "faults",
                WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
  }
  std::printf("%d of %d effects take memory, lock or call the system\n", failures, effects);
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
