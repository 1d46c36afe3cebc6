#include "svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace sonx {

namespace {

constexpr double kWidth = 900;
constexpr double kHeight = 480;
constexpr double kLeft = 64;  // margins around the axes
constexpr double kRight = 24;
constexpr double kTop = 64;
constexpr double kBottom = 52;

__attribute__((format(printf, 1, 2))) std::string print(const char* format, ...) {
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

std::string escape(const std::string& text) {
  std::string safe;
  for (const char c : text) {
    if (c == '&') {
      safe += "&amp;";
    } else if (c == '<') {
      safe += "&lt;";
    } else {
      safe += c;
    }
  }
  return safe;
}

// The ranges of both axes, and the way from values to points of the picture.
class axes {
 public:
  explicit axes(const response_plot& plot)
      : low_(plot.frequencies.front()), high_(plot.frequencies.back()) {
    double bottom = 0;
    double top = 0;
    for (const auto* curve : {&plot.left, &plot.right}) {
      for (const double level : *curve) {
        if (!std::isfinite(level)) continue;
        bottom = std::min(bottom, level);
        top = std::max(top, level);
      }
    }
    bottom = std::max(bottom, top - 80);
    step_ = top - bottom > 48 ? 10 : top - bottom > 20 ? 6 : 3;
    bottom_ = step_ * std::floor((bottom - 1) / step_);
    top_ = step_ * std::ceil((top + 1) / step_);
  }

  double x(double hertz) const {
    return kLeft + (kWidth - kLeft - kRight) * std::log(hertz / low_) / std::log(high_ / low_);
  }
  double y(double level) const {
    const double inside = std::isfinite(level) ? std::clamp(level, bottom_, top_) : bottom_;
    return kTop + (kHeight - kTop - kBottom) * (top_ - inside) / (top_ - bottom_);
  }

  std::string grid() const {
    std::string svg;
    for (double decade = 1; decade <= high_; decade *= 10) {
      for (int i = 1; i < 10; ++i) {
        const double hertz = i * decade;
        if (hertz < low_ * 0.999 || hertz > high_ * 1.001) continue;
        const bool labelled = i == 1 || i == 2 || i == 5;
        svg += print("<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' stroke='%s'/>\n", x(hertz),
                     y(top_), x(hertz), y(bottom_), labelled ? "#bbb" : "#e6e6e6");
        if (!labelled) continue;
        const std::string text = hertz < 1000 ? print("%g", hertz) : print("%gk", hertz / 1000);
        svg += print("<text x='%.1f' y='%.1f' text-anchor='middle'>%s</text>\n", x(hertz),
                     y(bottom_) + 18, text.c_str());
      }
    }
    for (double level = bottom_; level <= top_ + 0.5; level += step_) {
      svg += print("<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' stroke='%s'/>\n", x(low_),
                   y(level), x(high_), y(level), level == 0 ? "#555" : "#bbb");
      svg += print("<text x='%.1f' y='%.1f' text-anchor='end'>%g</text>\n", x(low_) - 8,
                   y(level) + 4, level);
    }
    return svg;
  }

 private:
  double low_;
  double high_;
  double bottom_;
  double top_;
  double step_;
};

std::string curve(const axes& area, const std::vector<double>& frequencies,
                  const std::vector<double>& levels, const char* style) {
  std::string points;
  for (size_t i = 0; i < frequencies.size(); ++i) {
    points += print("%.1f,%.1f ", area.x(frequencies[i]), area.y(levels[i]));
  }
  return "<polyline fill='none' stroke-width='2' " + std::string(style) + " points='" + points +
         "'/>\n";
}

std::string legend_entry(double y, const char* name, const char* style) {
  const double x = kWidth - kRight - 90;
  return print("<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' stroke-width='2' %s/>\n", x, y,
               x + 32, y, style) +
         print("<text x='%.1f' y='%.1f'>%s</text>\n", x + 40, y + 4, name);
}

}  // namespace

std::string draw_svg(const response_plot& plot) {
  const axes area(plot);
  const char* const left_style = "stroke='#1f5fa8'";
  const char* const right_style = "stroke='#c8502d' stroke-dasharray='6 4'";
  std::string svg = print(
      "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %g %g' width='%g' height='%g' "
      "font-family='sans-serif' font-size='12'>\n",
      kWidth, kHeight, kWidth, kHeight);
  svg += "<rect width='100%' height='100%' fill='white'/>\n";
  svg += print("<text x='%g' y='26' font-size='16'>", kLeft) + escape(plot.title) + "</text>\n";
  svg += print("<text x='%g' y='46' fill='#555'>", kLeft) + escape(plot.note) + "</text>\n";
  svg += area.grid();
  svg += curve(area, plot.frequencies, plot.left, left_style);
  svg += curve(area, plot.frequencies, plot.right, right_style);
  svg += legend_entry(22, "left", left_style) + legend_entry(42, "right", right_style);
  svg += print("<text x='%g' y='%g' text-anchor='middle'>frequency (Hz)</text>\n", kWidth / 2,
               kHeight - 12);
  svg += print(
      "<text transform='translate(18 %g) rotate(-90)' text-anchor='middle'>level (dB)"
      "</text>\n</svg>\n",
      kHeight / 2);
  return svg;
}

}  // namespace sonx
