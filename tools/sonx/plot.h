// Draws curves as SVG: over frequency on a logarithmic axis, or over levels or time.
#pragma once

#include <string>
#include <vector>

namespace sonx {

// Where a value isn't finite the line has a gap.
struct plot_line {
  std::vector<double> x, y;
  size_t colour = 0;
  bool dashed = false;
  std::string name = {};  // for who asks for a value
};

struct plot_panel {
  std::string x_name, y_name;
  bool frequencies = false;  // on the x axis
  bool decibels = true;      // on the y axis
  bool zero = true;          // which is always shown
  double deepest = 80;       // what lies further below the highest value isn't shown, in dB
  std::vector<plot_line> lines;
};

struct plot_shape {
  double width, height;
};

// A whole picture, the panels one below the other, that follows the page that shows it, light or
// dark.
struct picture {
  std::string title;
  std::string note;  // small, below the title
  std::vector<plot_panel> panels;
  std::vector<std::string> legend;  // one text for each colour
};
std::string draw_svg(const picture& picture);

// A panel for a page that has the style for it, and says in words what it shows.
std::string draw_panel(const plot_panel& panel, const plot_shape& shape, const std::string& words);

// The style's rules for a panel's classes: colours come from the variables --ink, --soft, --grid,
// --fine, --zero, --c0 to --c5.
std::string plot_rules();

// The parts of text that mean something in HTML and SVG written out.
std::string escape(const std::string& text);

__attribute__((format(printf, 1, 2))) std::string print(const char* format, ...);

}  // namespace sonx
