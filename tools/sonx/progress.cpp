#include "progress.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace sonx {

namespace {

constexpr double kQuietSeconds = 0.5;
constexpr double kRedrawSeconds = 0.1;
constexpr int kBarWidth = 40;

volatile std::sig_atomic_t interrupted = 0;

double now() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

progress_bar::progress_bar(std::string label, int64_t total)
    : label_(std::move(label)),
      total_(std::max<int64_t>(total, 1)),
      terminal_(isatty(STDERR_FILENO) != 0),
      start_(now()),
      next_(start_ + kQuietSeconds) {}

progress_bar::~progress_bar() { clear(); }

void progress_bar::clear() {
  if (drawn_) std::fputs("\r\033[K", stderr);
  drawn_ = false;
}

void progress_bar::update(int64_t done) {
  if (interrupted != 0) throw std::runtime_error("interrupted");
  if (!terminal_) return;
  const double time = now();
  if (time < next_) return;
  next_ = time + kRedrawSeconds;
  drawn_ = true;
  const double part = std::min(static_cast<double>(done) / static_cast<double>(total_), 1.0);
  const int filled = static_cast<int>(part * kBarWidth);
  std::fprintf(stderr, "\r\033[K%s [%s%s] %3.0f %%", label_.c_str(),
               std::string(static_cast<size_t>(filled), '#').c_str(),
               std::string(static_cast<size_t>(kBarWidth - filled), '.').c_str(), 100 * part);
}

void catch_interrupts() {
  const auto handler = [](int) { interrupted = 1; };
  std::signal(SIGINT, handler);
  std::signal(SIGTERM, handler);
}

}  // namespace sonx
