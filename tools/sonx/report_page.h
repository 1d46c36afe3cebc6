// The page of a report: one HTML file that needs nothing else.
#pragma once

#include <string>
#include <vector>

#include "aspects.h"
#include "rack_host.h"
#include "recording.h"

namespace sonx {

struct report {
  std::string preset, in;  // files, for the command that plays it again
  std::string arguments;   // of that command
  std::string date;
  const rack* its = nullptr;
  int file_rate = 0;
  double tail = 0;  // s that were added to the recording

  recording before;  // with silence for the tail
  rendering after;
  double recorded = 0;  // s of it
  loudness before_is{}, after_is{};
  double listen_from = 0, listen_seconds = 0;  // 0: without a player

  std::vector<bench> responses;  // to a loud sweep and, where they differ, a soft one
  std::vector<bench> dynamics;   // one
};

std::string make_page(const report& report);

}  // namespace sonx
