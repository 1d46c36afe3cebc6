// Draws a magnitude response as an SVG picture: frequency on a logarithmic axis, level in dB.
#pragma once

#include <string>
#include <vector>

namespace sonx {

struct response_plot {
  std::string title;
  std::string note;                 // small, below the title
  std::vector<double> frequencies;  // Hz, rising
  std::vector<double> left;         // dB, one per frequency
  std::vector<double> right;
};

std::string draw_svg(const response_plot& plot);

}  // namespace sonx
