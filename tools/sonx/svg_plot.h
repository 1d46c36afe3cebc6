// Draws curves over frequency as an SVG picture: frequency on a logarithmic
// axis, and a legend below. It follows the page that shows it, light or dark.
#pragma once

#include <string>
#include <vector>

namespace sonx {

struct plot_curve {
  std::string label;
  std::vector<double> left;  // one per frequency
  std::vector<double> right;
};

struct response_plot {
  std::string title;
  std::string note;                 // small, below the title
  std::vector<double> frequencies;  // Hz, rising
  std::vector<plot_curve> curves;
  std::string value = "level, dB";  // what the curves show
};

// Whether left and right differ enough to be seen.
bool sides_differ(const plot_curve& curve);

std::string draw_svg(const response_plot& plot);

}  // namespace sonx
