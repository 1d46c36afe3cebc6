#include "suppressors.h"

#include <fcntl.h>
#include <ns/noise_suppressor.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace sonx {

int suppressor_block(int rate) { return rate == 8000 ? 80 : 160; }
int suppressor_delay(int rate) { return rate == 8000 ? 48 : 96; }

class suppressors::bank {
 public:
  bank(int rate, size_t channels, const denoise_options& options)
      : block_(static_cast<size_t>(suppressor_block(rate))), instances_(channels) {
    for (NsxInst_t_& ns : instances_)
      if (tekaNs_InitCore(&ns, static_cast<unsigned>(rate)) != 0 ||
          tekaNs_set_policy_core(&ns, options.policy) != 0 ||
          tekaNs_set_prior_source(&ns, options.prior) != 0)
        throw std::logic_error("the noise suppressor refused its settings");
  }
  ~bank() {
    for (NsxInst_t_& ns : instances_) tekaNs_FreeCore(&ns);
  }
  bank(const bank&) = delete;
  bank& operator=(const bank&) = delete;

  void process(size_t channel, std::vector<short>& x) {
    for (size_t at = 0; at < x.size(); at += block_)
      tekaNs_ProcessCore(&instances_[channel], &x[at], &x[at]);
  }

 private:
  size_t block_;
  std::vector<NsxInst_t_> instances_;
};

// A process with a bank of its own. A message to it is a channel's number, its count of samples and
// the samples; the answer is the samples.
class suppressors::child {
 public:
  child(int rate, size_t channels, const denoise_options& options) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0)
      throw std::runtime_error("cannot make a connection to a child process");
    std::fflush(nullptr);  // the child must not write it once more
    process_ = fork();
    if (process_ == 0) {
      close(ends[0]);
      serve(ends[1], rate, channels, options);
    }
    close(ends[1]);
    connection_ = ends[0];
    if (process_ < 0) {
      close(connection_);
      throw std::runtime_error("cannot start a child process");
    }
  }
  ~child() {
    close(connection_);  // the child ends
    wait();
  }
  child(const child&) = delete;
  child& operator=(const child&) = delete;

  void process(size_t channel, std::vector<short>& x) {
    const size_t head[] = {channel, x.size()};
    const size_t bytes = x.size() * sizeof x[0];
    if (send_all(connection_, head, sizeof head) && send_all(connection_, x.data(), bytes) &&
        receive_all(connection_, x.data(), bytes))
      return;
    const int status = wait();
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
      throw std::runtime_error(
          "the library has ended its process: the presence prior has no result for a sound like "
          "this; the other priors have no such end");
    throw std::runtime_error("the process that runs the library has failed");
  }

 private:
  static bool send_all(int connection, const void* data, size_t bytes) {
    const char* next = static_cast<const char*>(data);
    while (bytes > 0) {
      const ssize_t sent = send(connection, next, bytes, MSG_NOSIGNAL);
      if (sent < 0 && errno == EINTR) continue;
      if (sent <= 0) return false;
      next += sent;
      bytes -= static_cast<size_t>(sent);
    }
    return true;
  }

  static bool receive_all(int connection, void* data, size_t bytes) {
    char* next = static_cast<char*>(data);
    while (bytes > 0) {
      const ssize_t got = recv(connection, next, bytes, 0);
      if (got < 0 && errno == EINTR) continue;
      if (got <= 0) return false;
      next += got;
      bytes -= static_cast<size_t>(got);
    }
    return true;
  }

  // What the library prints when it ends the process is not for the user.
  [[noreturn]] static void serve(int connection, int rate, size_t channels,
                                 const denoise_options& options) {
    const int nowhere = open("/dev/null", O_WRONLY);
    if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0) _exit(1);
    bank all(rate, channels, options);
    std::vector<short> x;
    size_t head[2];
    while (receive_all(connection, head, sizeof head)) {
      x.resize(head[1]);
      const size_t bytes = x.size() * sizeof x[0];
      if (!receive_all(connection, x.data(), bytes)) break;
      all.process(head[0], x);
      if (!send_all(connection, x.data(), bytes)) break;
    }
    _exit(1);  // 0 is what the library ends with
  }

  int wait() {
    int status = -1;
    if (process_ > 0)
      while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
      }
    process_ = 0;
    return status;
  }

  pid_t process_ = 0;
  int connection_ = -1;
};

suppressors::suppressors(int rate, size_t channels, const denoise_options& options) {
  if (options.prior != 0)
    bank_ = std::make_unique<bank>(rate, channels, options);
  else
    child_ = std::make_unique<child>(rate, channels, options);
}

suppressors::~suppressors() = default;

void suppressors::process(std::vector<std::vector<short>>& channels) {
  for (size_t c = 0; c < channels.size(); ++c)
    if (bank_)
      bank_->process(c, channels[c]);
    else
      child_->process(c, channels[c]);
}

}  // namespace sonx
