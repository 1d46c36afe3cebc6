#include "svg_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace sonx {

namespace {

constexpr double kWidth = 900;
constexpr double kPlotBottom = 440;
constexpr double kLeft = 64;  // margins around the axes
constexpr double kRight = 24;
constexpr double kTop = 72;
constexpr double kLegendTop = kPlotBottom + 66;  // below the axis and its name
constexpr double kLegendLine = 19;
constexpr size_t kLegendLetters = 112;  // that fit in a line
constexpr size_t kColours = 6;

// Colours by class, so that a viewer's dark mode can change them.
const char* const kStyle = R"(<style>
text { fill: #1f2328; font: 13px system-ui, -apple-system, 'Segoe UI', 'DejaVu Sans', sans-serif }
.title { font-size: 17px; font-weight: 600 }
.soft { fill: #59636e }
.paper { fill: #ffffff }
.grid { stroke: #d1d9e0 }
.fine { stroke: #eef1f4 }
.zero { stroke: #818b98 }
.curve { fill: none; stroke-width: 2.25; stroke-linejoin: round }
.right { stroke-dasharray: 7 5 }
.c0 { stroke: #0969da } .c1 { stroke: #d1570a } .c2 { stroke: #1a7f37 }
.c3 { stroke: #8250df } .c4 { stroke: #bf3989 } .c5 { stroke: #7d6600 }
@media (prefers-color-scheme: dark) {
  text { fill: #e6edf3 }
  .soft { fill: #9198a1 }
  .paper { fill: #0d1117 }
  .grid { stroke: #333b45 }
  .fine { stroke: #1d232b }
  .zero { stroke: #6e7681 }
  .c0 { stroke: #58a6ff } .c1 { stroke: #f0883e } .c2 { stroke: #3fb950 }
  .c3 { stroke: #bc8cff } .c4 { stroke: #f778ba } .c5 { stroke: #d4b73a }
}
</style>
)";

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

std::string text_at(double x, double y, const std::string& text, const char* attributes = "") {
  return print("<text x='%.1f' y='%.1f' %s>", x, y, attributes) + escape(text) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const std::string& style) {
  return print("<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' class='%s'/>\n", x1, y1, x2, y2,
               style.c_str());
}

// 1, 2 or 5 times a power of ten, some eight of which make a span.
double even_step(double span) {
  const double least = std::max(span, 0.01) / 8;
  const double decade = std::pow(10, std::floor(std::log10(least)));
  for (const double times : {1, 2, 5})
    if (times * decade >= least) return times * decade;
  return 10 * decade;
}

// The ranges of both axes, and the way from values to points of the picture.
class axes {
 public:
  explicit axes(const response_plot& plot)
      : low_(plot.frequencies.front()), high_(plot.frequencies.back()) {
    double bottom = 0;
    double top = 0;
    for (const plot_curve& curve : plot.curves)
      for (const auto* levels : {&curve.left, &curve.right})
        for (const double level : *levels) {
          if (!std::isfinite(level)) continue;
          bottom = std::min(bottom, level);
          top = std::max(top, level);
        }
    const bool levels = plot.value.ends_with("dB");
    if (levels) bottom = std::max(bottom, top - 80);
    step_ = levels ? (top - bottom > 48 ? 10 : top - bottom > 20 ? 6 : 3) : even_step(top - bottom);
    const double margin = levels ? 1 : step_ / 4;
    bottom_ = step_ * std::floor((bottom - margin) / step_);
    top_ = step_ * std::ceil((top + margin) / step_);
  }

  double x(double hertz) const {
    return kLeft + (kWidth - kLeft - kRight) * std::log(hertz / low_) / std::log(high_ / low_);
  }
  double y(double level) const {
    const double inside = std::isfinite(level) ? std::clamp(level, bottom_, top_) : bottom_;
    return kTop + (kPlotBottom - kTop) * (top_ - inside) / (top_ - bottom_);
  }

  std::string grid() const {
    std::string svg, labelled_lines;
    for (double decade = 1; decade <= high_; decade *= 10) {
      for (int i = 1; i < 10; ++i) {
        const double hertz = i * decade;
        if (hertz < low_ * 0.98 || hertz > high_ * 1.001) continue;
        const double at = x(std::max(hertz, low_));
        const bool labelled = i == 1 || i == 2 || i == 5;
        (labelled ? labelled_lines : svg) +=
            line(at, kTop, at, kPlotBottom, labelled ? "grid" : "fine");
        if (!labelled) continue;
        svg += text_at(at, kPlotBottom + 20,
                       hertz < 1000 ? print("%g", hertz) : print("%gk", hertz / 1000),
                       "text-anchor='middle'");
      }
    }
    svg += labelled_lines;
    for (double level = bottom_; level <= top_ + step_ / 2; level += step_) {
      svg += line(kLeft, y(level), kWidth - kRight, y(level),
                  std::abs(level) < step_ / 2 ? "zero" : "grid");
      svg += text_at(kLeft - 9, y(level) + 4.5,
                     print("%g", std::abs(level) < step_ / 2 ? 0 : level), "text-anchor='end'");
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

std::string polyline(const axes& area, const std::vector<double>& frequencies,
                     const std::vector<double>& levels, const std::string& style) {
  std::string points;
  for (size_t i = 0; i < frequencies.size(); ++i) {
    points += print("%.1f,%.1f ", area.x(frequencies[i]), area.y(levels[i]));
  }
  return "<polyline class='" + style + "' points='" + points + "'/>\n";
}

// Lines of at most kLegendLetters, broken behind commas.
std::vector<std::string> wrap(const std::string& text) {
  std::vector<std::string> lines(1);
  for (size_t at = 0; at < text.size();) {
    const size_t comma = text.find(", ", at);
    const size_t end = comma == std::string::npos ? text.size() : comma + 2;
    if (lines.back().size() + end - at > kLegendLetters && !lines.back().empty())
      lines.emplace_back();
    lines.back() += text.substr(at, end - at);
    at = end;
  }
  return lines;
}

std::string style_of(size_t curve) { return print("curve c%zu", curve % kColours); }

// The legend, and where it ends.
std::pair<std::string, double> draw_legend(const response_plot& plot) {
  std::string svg;
  double y = kLegendTop;
  for (size_t i = 0; i < plot.curves.size(); ++i) {
    const bool two = sides_differ(plot.curves[i]);
    svg += line(kLeft, y - 4.5, kLeft + 30, y - 4.5, style_of(i));
    for (const std::string& part :
         wrap(plot.curves[i].label + (two ? ", left solid, right dashed" : ""))) {
      svg += text_at(kLeft + 42, y, part);
      y += kLegendLine;
    }
  }
  return {svg, y};
}

}  // namespace

bool sides_differ(const plot_curve& curve) {
  for (size_t i = 0; i < curve.left.size(); ++i)
    if (std::abs(curve.left[i] - curve.right[i]) > 0.05) return true;
  return false;
}

std::string draw_svg(const response_plot& plot) {
  const axes area(plot);
  const auto [legend, height] = draw_legend(plot);
  std::string svg = print(
                        "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 "
                        "0 %g %g' width='%g' height='%g'>\n",
                        kWidth, height, kWidth, height) +
                    kStyle + "<rect width='100%' height='100%' rx='6' class='paper'/>\n";
  svg += text_at(kLeft, 32, plot.title, "class='title'");
  svg += text_at(kLeft, 54, plot.note, "class='soft'");
  svg += area.grid();
  for (size_t i = 0; i < plot.curves.size(); ++i) {
    const plot_curve& one = plot.curves[i];
    svg += polyline(area, plot.frequencies, one.left, style_of(i));
    if (sides_differ(one))
      svg += polyline(area, plot.frequencies, one.right, style_of(i) + " right");
  }
  svg += legend;
  svg += text_at((kLeft + kWidth - kRight) / 2, kPlotBottom + 40, "frequency, Hz",
                 "class='soft' text-anchor='middle'");
  svg += print(
             "<text transform='translate(20 %g) rotate(-90)' class='soft' "
             "text-anchor='middle'>",
             (kTop + kPlotBottom) / 2) +
         escape(plot.value) + "</text>\n</svg>\n";
  return svg;
}

}  // namespace sonx
