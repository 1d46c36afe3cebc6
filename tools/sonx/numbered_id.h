// Ids of parameters that are numbered alike.
#pragma once

#include <algorithm>
#include <cctype>
#include <string>

namespace sonx {

// "band3_gain" is "band", 3, "_gain".
struct numbered_id {
  std::string before, after;
  int number = 0;  // 0: none

  explicit numbered_id(const std::string& id) : before(id) {
    const auto digit = [](unsigned char c) { return std::isdigit(c) != 0; };
    const auto first = std::find_if(id.begin(), id.end(), digit);
    const auto last = std::find_if_not(first, id.end(), digit);
    if (first == id.begin() || last == id.end() || first == last) return;
    before.assign(id.begin(), first);
    after.assign(last, id.end());
    number = std::stoi(std::string(first, last));
  }
};

}  // namespace sonx
