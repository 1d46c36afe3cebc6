#include "pending_file.h"

#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <utility>

namespace sonx {

namespace fs = std::filesystem;

pending_file::pending_file(fs::path target) : target_(std::move(target)) {
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
  fs::rename(temporary_, target_);
  temporary_.clear();
}

void write_text_file(const fs::path& target, const std::string& text) {
  pending_file pending(target);
  std::ofstream out(pending.temporary(), std::ios::binary);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("cannot write '" + target.string() + "'");
  pending.commit();
}

}  // namespace sonx
