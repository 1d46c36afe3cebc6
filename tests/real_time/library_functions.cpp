// What the library's functions do beside computing: all that the lock on the bits runs, setting by
// setting, with every process function in each of its forms. While one runs, the kernel stops the
// process at a system call, and the interposer counts memory and locks.
//   library_functions                       ends with 0 if they do nothing of the kind
//   library_functions memory, lock or call  as if the first one did such a thing: ends with 1
#include <linux/prctl.h>
#include <sys/prctl.h>

#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "bits/subjects.h"
#include "support/watched_call.h"
#include "support/watched_thread.h"

extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace {

std::string misdeed;
long calls = 0;
// The kernel reads this byte at each system call of the thread.
volatile char system_calls = SYSCALL_DISPATCH_FILTER_ALLOW;

void misbehave() {
  static std::mutex mutex;
  static std::unique_ptr<std::vector<int>> leak;
  if (misdeed == "memory") std::make_unique<std::vector<int>>(5).swap(leak);
  if (misdeed == "lock") mutex.lock(), mutex.unlock();
  if (misdeed == "call") (void)getppid();
}

void watch(bool begins) {
  interposer::forbidden = begins;
  system_calls = begins ? SYSCALL_DISPATCH_FILTER_BLOCK : SYSCALL_DISPATCH_FILTER_ALLOW;
  if (begins && ++calls == 3) misbehave();
}

// Tables have no functions, and a converter's calls of any length may take memory: the ones of 10 ms,
// which don't, are a subject of their own.
bool watches_none(const subject& s) {
  return std::strcmp(s.name, "tables") == 0 || std::strcmp(s.name, "converter") == 0;
}

int run(const subject& s) {
  const bool stopped =
      prctl(PR_SET_SYSCALL_USER_DISPATCH, PR_SYS_DISPATCH_ON, 0, 0, &system_calls) == 0;
  watched_call::watch = watch;
  for (unsigned i = 0; i < s.trials; ++i) {
    trial t(i, s.frames);
    s.run(t);
  }
  watched_call::watch = nullptr;
  std::printf("%-20s %8ld calls, %d faults%s\n", s.name, calls, interposer::faults.load(),
              stopped ? "" : "; system calls aren't watched here");
  std::fflush(stdout);
  return interposer::faults == 0 && (calls > 0) != watches_none(s) ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int count, char** words) {
  if (count > 1) misdeed = words[1];
  std::vector<subject> all;
  for (const auto* group : {&kPrimitives, &kEffects, &kChains, &kSpeech})
    all.insert(all.end(), group->begin(), group->end());
  if (!misdeed.empty()) all.resize(1);
  return run_in_processes(
      static_cast<int>(all.size()), [&](int k) { return std::string(all[size_t(k)].name); },
      [&](int k) { return run(all[size_t(k)]); });
}
