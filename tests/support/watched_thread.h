// A thread that mustn't take memory, lock or call the system: the kernel stops its process at any
// system call, and the interposer counts the rest (link with sonx_interposer).
#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "interposer.h"

class watched_thread {
 public:
  // Calls block(0), block(1) and so on; misdeed (memory, lock, call) is what it does beside that.
  watched_thread(std::function<void(int)> block, std::string misdeed)
      : block_(std::move(block)), misdeed_(std::move(misdeed)) {
    std::thread([this] { run(); }).detach();
    wait(5);
    if (!watched_) std::fprintf(stderr, "system calls aren't watched here\n");
  }

  // Until it has run some more blocks.
  void wait(int more) const {
    for (const int until = blocks_ + more; blocks_ < until;) std::this_thread::yield();
  }

  // How often it took memory or a lock. It goes on running: ending a thread is a system call.
  int finish() {
    finished_ = true;
    while (!done_) std::this_thread::yield();
    return interposer::faults;
  }

 private:
  // From here on a system call of this thread ends the process. False where the kernel can't.
  static bool forbid_system_calls() {
    sock_filter stop[] = {BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS)};
    const sock_fprog program = {1, stop};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
  }

  void run() {
    std::mutex mutex;
    watched_ = forbid_system_calls();
    interposer::forbidden = true;
    for (; !finished_; ++blocks_) {
      block_(blocks_);
      if (misdeed_ == "memory") std::make_unique<std::vector<int>>(5).swap(leak_);
      if (misdeed_ == "lock") mutex.lock(), mutex.unlock();
      if (misdeed_ == "call") (void)getppid();
    }
    interposer::forbidden = false;
    done_ = true;
    for (;;) {
    }
  }

  const std::function<void(int)> block_;
  const std::string misdeed_;
  std::unique_ptr<std::vector<int>> leak_;
  std::atomic<int> blocks_ = 0;
  std::atomic<bool> watched_ = false, finished_ = false, done_ = false;
};

// Runs child(0) to child(count - 1), each in a process of its own; 0 is right.
inline int run_in_processes(int count, const std::function<std::string(int)>& name,
                            const std::function<int(int)>& child) {
  int failures = 0;
  for (int k = 0; k < count; ++k) {
    std::fflush(stdout);
    const pid_t process = fork();
    if (process == 0) _exit(child(k));
    int status = 0;
    waitpid(process, &status, 0);
    if (status == 0) continue;
    ++failures;
    std::printf("%s: %s %d\n", name(k).c_str(),
                WIFSIGNALED(status) ? "stopped by signal" : "faults",
                WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status));
  }
  std::printf("%d of %d take memory, lock or call the system\n", failures, count);
  return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
