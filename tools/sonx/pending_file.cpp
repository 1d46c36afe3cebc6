#include "pending_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "messages.h"

namespace sonx {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail_to_write(const fs::path& target, int error) {
  const std::string name = target == "-" ? "to standard output" : "'" + target.string() + "'";
  throw std::runtime_error("cannot write " + name + ": " + std::strerror(error));
}

fs::path make_temporary() {
  std::string pattern = (fs::temp_directory_path() / "sonx.XXXXXX").string();
  const int file = mkstemp(pattern.data());
  if (file < 0) fail_to_write(pattern, errno);
  close(file);
  return pattern;
}

void copy_to_standard_output(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  fs::remove(file);  // now: nobody may be left to read, which ends the program
  char bytes[65536];
  while (in.read(bytes, sizeof bytes), in.gcount() > 0)
    for (ssize_t done = 0; done < in.gcount();) {
      const ssize_t count =
          ::write(STDOUT_FILENO, bytes + done, static_cast<size_t>(in.gcount() - done));
      if (count < 0 && errno != EINTR) fail_to_write("-", errno);
      if (count > 0) done += count;
    }
}

}  // namespace

pending_file::pending_file(fs::path target) : target_(std::move(target)) {
  if (target_ == "-") {
    say_on_standard_error();
    temporary_ = make_temporary();
    return;
  }
  if (target_.filename().empty() || fs::is_directory(target_)) {
    throw std::runtime_error("'" + target_.string() + "' is a folder, not a file to write");
  }
  if (fs::exists(target_) && !fs::is_regular_file(target_)) {
    throw std::runtime_error("'" + target_.string() + "' is not a regular file");
  }
  const fs::path folder = target_.has_parent_path() ? target_.parent_path() : fs::path(".");
  if (!fs::is_directory(folder)) {
    throw std::runtime_error("there is no folder '" + folder.string() + "'");
  }
  temporary_ = folder / (target_.filename().string() + "." + std::to_string(getpid()) + ".part");
}

pending_file::~pending_file() {
  std::error_code ignored;
  if (!temporary_.empty()) fs::remove(temporary_, ignored);
}

void pending_file::commit() {
  if (target_ == "-") return copy_to_standard_output(temporary_);
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) fail_to_write(target_, errno);
  temporary_.clear();
}

void require_extension(const fs::path& target, const std::string& extension) {
  if (!target.empty() && target != "-" && target.extension() != extension)
    throw std::runtime_error("cannot write '" + target.string() + "': its name must end in " +
                             extension);
}

void write_text_file(const fs::path& target, const std::string& text) {
  pending_file pending(target);
  errno = 0;
  std::ofstream out(pending.temporary(), std::ios::binary);
  out << text;
  out.close();
  if (!out) fail_to_write(target, errno);
  pending.commit();
}

void write_result(const fs::path& target, const std::string& text, const std::string& report) {
  const bool replaces = target != "-" && fs::exists(target);
  write_text_file(target, text);
  say("%s", report.c_str());
  if (target != "-") say("%s: %s\n", replaces ? "replaced" : "written", target.c_str());
}

}  // namespace sonx
