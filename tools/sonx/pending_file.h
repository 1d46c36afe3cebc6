// An output file that appears whole or not at all: written under a temporary name beside the target
// and renamed at the end; removed again on any error before that. The target "-" is standard
// output, which gets a copy at the end.
#pragma once

#include <filesystem>
#include <string>

namespace sonx {

class pending_file {
 public:
  // Refuses, by std::runtime_error, a target that exists and is no regular file, and a missing
  // folder. With the target "-" the report goes to standard error from now on.
  explicit pending_file(std::filesystem::path target);
  ~pending_file();
  pending_file(const pending_file&) = delete;
  pending_file& operator=(const pending_file&) = delete;

  const std::filesystem::path& target() const { return target_; }
  const std::filesystem::path& temporary() const { return temporary_; }

  // Gives the file its name; to be called when everything is written and closed.
  void commit();

 private:
  std::filesystem::path target_;
  std::filesystem::path temporary_;
};

// Throws unless the name ends so, or is "-" or empty.
void require_extension(const std::filesystem::path& target, const std::string& extension);

// Writes a text file in this manner.
void write_text_file(const std::filesystem::path& target, const std::string& text);

// The same, and says a report and whether it has written a new file or replaced one.
void write_result(const std::filesystem::path& target, const std::string& text,
                  const std::string& report = "");

}  // namespace sonx
