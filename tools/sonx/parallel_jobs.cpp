#include "parallel_jobs.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <stdexcept>
#include <thread>

#include "messages.h"
#include "progress.h"

namespace sonx {

namespace {

struct file_closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using temporary = std::unique_ptr<std::FILE, file_closer>;

temporary make_temporary() {
  temporary file(std::tmpfile());
  if (!file) throw std::runtime_error("cannot make a temporary file");
  return file;
}

// How far each job is, in memory that all processes share.
class counters {
 public:
  explicit counters(size_t count)
      : bytes_(count * sizeof(std::atomic<int64_t>)),
        memory_(mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    if (memory_ == MAP_FAILED) throw std::bad_alloc();
  }
  ~counters() { munmap(memory_, bytes_); }
  counters(const counters&) = delete;
  counters& operator=(const counters&) = delete;

  std::atomic<int64_t>& operator[](size_t job) const {
    return static_cast<std::atomic<int64_t>*>(memory_)[job];
  }

 private:
  size_t bytes_;
  void* memory_;
};

struct running_job {
  pid_t process = 0;  // 0: not begun, -1: ended
  temporary out, errors;
  bool failed = false;
};

class crew {
 public:
  crew(const std::vector<parallel_job>& jobs, size_t at_once, const std::string& label)
      : jobs_(jobs), at_once_(at_once), done_(jobs.size()), crew_(jobs.size()) {
    int64_t total = 0;
    for (const parallel_job& job : jobs) total += job.size;
    progress_ = std::make_unique<progress_bar>(label, total);
  }
  ~crew() { stop(); }
  crew(const crew&) = delete;
  crew& operator=(const crew&) = delete;

  // The number of jobs that failed.
  size_t run() {
    size_t begun = 0;
    while (shown_ < jobs_.size()) {
      while (begun < jobs_.size() && busy() < at_once_) begin(begun++);
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      collect();
      int64_t done = 0;
      for (size_t i = 0; i < jobs_.size(); ++i) done += done_[i];
      progress_->update(done);
    }
    size_t failed = 0;
    for (const running_job& one : crew_) failed += one.failed ? 1 : 0;
    return failed;
  }

 private:
  size_t busy() const {
    size_t count = 0;
    for (const running_job& one : crew_) count += one.process > 0 ? 1 : 0;
    return count;
  }

  void begin(size_t index) {
    running_job& one = crew_[index];
    one.out = make_temporary();
    one.errors = make_temporary();
    std::fflush(nullptr);
    one.process = fork();
    if (one.process < 0) throw std::runtime_error("cannot start a process");
    if (one.process == 0) work(index);
  }

  [[noreturn]] void work(size_t index) {
    dup2(fileno(crew_[index].out.get()), STDOUT_FILENO);
    dup2(fileno(crew_[index].errors.get()), STDERR_FILENO);
    int status = 0;
    try {
      jobs_[index].run([&](int64_t done) { done_[index] = done; });
    } catch (const std::exception& error) {
      std::fprintf(stderr, "sonx: %s\n", error.what());
      status = 1;
    }
    std::fflush(nullptr);
    _exit(status);
  }

  void collect() {
    for (running_job& one : crew_) {
      int status = 0;
      if (one.process <= 0 || waitpid(one.process, &status, WNOHANG) != one.process) continue;
      one.process = -1;
      one.failed = !WIFEXITED(status) || WEXITSTATUS(status) != 0;
    }
    for (; shown_ < crew_.size() && crew_[shown_].process == -1; ++shown_) {
      progress_->clear();
      show(crew_[shown_].errors.get(), stderr);
      show(crew_[shown_].out.get(), stdout);
    }
  }

  static void show(std::FILE* from, std::FILE* to) {
    std::rewind(from);
    char text[4096];
    for (size_t count; (count = std::fread(text, 1, sizeof text, from)) > 0;)
      std::fwrite(text, 1, count, to);
    std::fflush(to);
  }

  void stop() {
    for (const running_job& one : crew_)
      if (one.process > 0) kill(one.process, SIGTERM);
    for (const running_job& one : crew_)
      if (one.process > 0) waitpid(one.process, nullptr, 0);
  }

  const std::vector<parallel_job>& jobs_;
  size_t at_once_;
  counters done_;
  std::vector<running_job> crew_;
  std::unique_ptr<progress_bar> progress_;
  size_t shown_ = 0;
};

}  // namespace

void run_jobs(const std::vector<parallel_job>& jobs, int at_once, const std::string& label) {
  const size_t failed = crew(jobs, static_cast<size_t>(at_once), label).run();
  if (failed > 0)
    throw std::runtime_error(std::to_string(failed) + " of " + std::to_string(jobs.size()) +
                             " files failed");
}

}  // namespace sonx
