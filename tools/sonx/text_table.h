// A table of text in columns as wide as they need to be.
#pragma once

#include <string>
#include <vector>

namespace sonx {

class text_table {
 public:
  explicit text_table(std::vector<std::string> titles) : rows_{std::move(titles)} {}

  void add(std::vector<std::string> cells) { rows_.push_back(std::move(cells)); }
  void print() const;  // as part of the report

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace sonx
