#include "text_table.h"

#include <algorithm>

#include "messages.h"

namespace sonx {

void text_table::print() const {
  std::vector<size_t> widths(rows_.front().size());
  for (const auto& row : rows_)
    for (size_t k = 0; k < row.size(); ++k) widths[k] = std::max(widths[k], row[k].size());
  for (const auto& row : rows_) {
    std::string line;
    for (size_t k = 0; k < row.size(); ++k)
      line += row[k] + std::string(widths[k] - row[k].size() + 2, ' ');
    line.resize(line.find_last_not_of(' ') + 1);
    say("%s\n", line.c_str());
  }
}

}  // namespace sonx
