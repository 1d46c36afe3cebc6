#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>

namespace sonx {

namespace {

constexpr double kWidth = 900, kPanelHeight = 390;  // of a picture
constexpr plot_shape kPanel = {kWidth, kPanelHeight};
constexpr double kHead = 66;  // title and note
constexpr double kLegendLine = 19;
constexpr size_t kLegendLetters = 112;  // that fit in a line
constexpr size_t kColours = 6;

// The colours by name, on a light page and on a dark one.
constexpr struct {
  const char *name, *light, *dark;
} kPalette[] = {
    {"ink", "#1f2328", "#e6edf3"},  {"soft", "#59636e", "#9198a1"}, {"paper", "#ffffff", "#0d1117"},
    {"grid", "#d1d9e0", "#333b45"}, {"fine", "#eef1f4", "#1d232b"}, {"zero", "#818b98", "#6e7681"},
    {"c0", "#0969da", "#58a6ff"},   {"c1", "#d1570a", "#f0883e"},   {"c2", "#1a7f37", "#3fb950"},
    {"c3", "#8250df", "#bc8cff"},   {"c4", "#bf3989", "#f778ba"},   {"c5", "#7d6600", "#d4b73a"}};

// What has which colour. The page around a plot may have colours of its own for the names.
constexpr struct {
  const char *selector, *property, *colour;
} kColoured[] = {{".plot text", "fill", "ink"},     {".plot .soft", "fill", "soft"},
                 {".plot .grid", "stroke", "grid"}, {".plot .fine", "stroke", "fine"},
                 {".plot .zero", "stroke", "zero"}, {".plot .paper", "fill", "paper"},
                 {".c0", "stroke", "c0"},           {".c1", "stroke", "c1"},
                 {".c2", "stroke", "c2"},           {".c3", "stroke", "c3"},
                 {".c4", "stroke", "c4"},           {".c5", "stroke", "c5"}};

const char* const kShapes = R"(.curve { fill: none; stroke-width: 2.25; stroke-linejoin: round }
.dashed { stroke-dasharray: 7 5 }
)";

const char* const kLetters =
    R"(text { font: 13px system-ui, -apple-system, 'Segoe UI', 'DejaVu Sans', sans-serif }
.title { font-size: 17px; font-weight: 600 }
)";

// The style of a picture that stands alone. A viewer that doesn't know variables takes the light
// colours, which stand first.
std::string picture_style() {
  std::string light, dark, plain;
  for (const auto& [name, by_day, by_night] : kPalette) {
    light += print(" --%s: %s;", name, by_day);
    dark += print(" --%s: %s;", name, by_night);
    for (const auto& [selector, property, colour] : kColoured)
      if (std::string(colour) == name)
        plain += print("%s { %s: %s }\n", selector, property, by_day);
  }
  return "\n" + plain + "svg {" + light + " }\n@media (prefers-color-scheme: dark) {\n  svg {" +
         dark + " }\n}\n" + kLetters + plot_rules();
}

std::string text_at(double x, double y, const std::string& text, const char* attributes = "") {
  return print("<text x='%.1f' y='%.1f' %s>", x, y, attributes) + escape(text) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const std::string& style) {
  return print("<line x1='%.1f' y1='%.1f' x2='%.1f' y2='%.1f' class='%s'/>\n", x1, y1, x2, y2,
               style.c_str());
}

std::string style_of(size_t colour) { return print("curve c%zu", colour % kColours); }

// 1, 2 or 5 times a power of ten, at most `parts` of which make a span.
double even_step(double span, double parts) {
  const double least = std::max(span, 1e-6) / parts;
  const double decade = std::pow(10, std::floor(std::log10(least)));
  for (const double times : {1, 2, 5})
    if (times * decade >= least * 0.999) return times * decade;
  return 10 * decade;
}

struct span {
  double low = std::numeric_limits<double>::infinity(), high = -low;

  void add(double value) {
    if (!std::isfinite(value)) return;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  double size() const { return high - low; }
};

// The ranges of both axes, and the way from values to points of the picture.
class axes {
 public:
  axes(const plot_panel& panel, const plot_shape& shape)
      : panel_(panel),
        left_(shape.width < 500 ? 54 : 64),
        right_(shape.width - (shape.width < 500 ? 12 : 24)),
        top_(14),
        bottom_(shape.height - 48) {
    for (const plot_line& one : panel.lines)
      for (const double x : one.x) x_.add(x);
    set_heights(shape);
  }

  std::string draw(const plot_shape& shape) const {
    return (panel_.frequencies ? decades() : even_columns()) + rows() +
           text_at((left_ + right_) / 2, bottom_ + 40, panel_.x_name,
                   "class='soft' text-anchor='middle'") +
           print(
               "<text transform='translate(%g %g) rotate(-90)' class='soft' "
               "text-anchor='middle'>",
               shape.width < 500 ? 11.0 : 20.0, (top_ + bottom_) / 2) +
           escape(panel_.y_name) + "</text>\n";
  }

  // For a script that goes from points back to values.
  std::string describe() const {
    return print(
        "{\"left\":%g,\"right\":%g,\"top\":%g,\"bottom\":%g,\"low\":%g,\"high\":%g,"
        "\"lowest\":%g,\"highest\":%g,\"log\":%s}",
        left_, right_, top_, bottom_, x_.low, x_.high, y_.low, y_.high,
        panel_.frequencies ? "true" : "false");
  }

  std::string path(const plot_line& one) const {
    std::string d;
    bool pen_down = false;
    for (size_t i = 0; i < one.x.size(); ++i) {
      if (!std::isfinite(one.y[i])) {
        pen_down = false;
        continue;
      }
      d += print("%c%.1f %.1f", pen_down ? 'L' : 'M', x(one.x[i]), y(one.y[i]));
      pen_down = true;
    }
    return "<path class='" + style_of(one.colour) + (one.dashed ? " dashed" : "") +
           (one.name.empty() ? "" : "' data-name='" + escape(one.name)) + "' d='" + d + "'/>\n";
  }

 private:
  void set_heights(const plot_shape& shape) {
    span values;
    for (const plot_line& one : panel_.lines)
      for (const double value : one.y) values.add(value);
    if (panel_.zero || values.size() < 0) values.add(0);
    const double parts = (shape.height - 62) / 40;
    if (panel_.decibels) values.low = std::max(values.low, values.high - panel_.deepest);
    step_ = panel_.decibels ? decibel_step(values.size(), parts) : even_step(values.size(), parts);
    const double margin = panel_.decibels ? std::min(1.0, step_ / 3) : step_ / 4;
    y_.low = step_ * std::floor((values.low - margin) / step_);
    y_.high = step_ * std::ceil((values.high + margin) / step_);
  }

  static double decibel_step(double span, double parts) {
    for (const double step : {1, 3, 6, 10})
      if (span <= parts * step) return step;
    return 20;
  }

  double x(double value) const {
    const double part = panel_.frequencies ? std::log(value / x_.low) / std::log(x_.high / x_.low)
                                           : (value - x_.low) / x_.size();
    return left_ + (right_ - left_) * part;
  }
  double y(double value) const {
    return top_ + (bottom_ - top_) * (y_.high - std::clamp(value, y_.low, y_.high)) / y_.size();
  }

  std::string column(double at, const char* style) const {
    return line(x(at), top_, x(at), bottom_, style);
  }
  std::string column_name(double at, const std::string& name) const {
    return text_at(x(at), bottom_ + 20, name, "text-anchor='middle'");
  }

  std::string decades() const {
    std::string fine, grid;
    for (double decade = 1; decade <= x_.high; decade *= 10)
      for (int i = 1; i < 10; ++i) {
        const double hertz = i * decade;
        if (hertz < x_.low * 0.98 || hertz > x_.high * 1.001) continue;
        const double at = std::max(hertz, x_.low);
        const bool named = i == 1 || i == 2 || i == 5;
        (named ? grid : fine) += column(at, named ? "grid" : "fine");
        if (named)
          grid += column_name(at, hertz < 1000 ? print("%g", hertz) : print("%gk", hertz / 1000));
      }
    return fine + grid;
  }

  std::string even_columns() const {
    const double step =
        even_step(x_.size(), (right_ - left_) / (panel_.x_name.ends_with("dBFS") ? 60 : 75));
    std::string grid;
    for (double at = step * std::ceil(x_.low / step - 0.01); at <= x_.high + step / 100; at += step)
      grid += column(at, "grid") + column_name(at, number(at, step));
    return grid;
  }

  std::string rows() const {
    std::string grid;
    for (double at = y_.low; at <= y_.high + step_ / 2; at += step_)
      grid += line(left_, y(at), right_, y(at), std::abs(at) < step_ / 2 ? "zero" : "grid") +
              text_at(left_ - 7, y(at) + 4.5, number(at, step_), "text-anchor='end'");
    return grid;
  }

  static std::string number(double value, double step) {
    const double whole = step * std::round(value / step) + 0.0;
    return print("%s%g", whole < 0 ? "\u2212" : "", std::abs(whole));
  }

  const plot_panel& panel_;
  double left_, right_, top_, bottom_;  // where the axes stand
  span x_, y_;
  double step_ = 1;
};

std::string draw_inside(const axes& area, const plot_panel& panel, const plot_shape& shape) {
  std::string svg = area.draw(shape);
  for (const plot_line& one : panel.lines) svg += area.path(one);
  return svg;
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

}  // namespace

std::string print(const char* format, ...) {
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
    switch (c) {
      case '&':
        safe += "&amp;";
        break;
      case '<':
        safe += "&lt;";
        break;
      case '>':
        safe += "&gt;";
        break;
      case '"':
        safe += "&quot;";
        break;
      case '\'':
        safe += "&#39;";
        break;
      default:
        safe += c;
    }
  }
  return safe;
}

std::string plot_rules() {
  std::string rules = kShapes;
  for (const auto& [selector, property, colour] : kColoured)
    rules += print("%s { %s: var(--%s) }\n", selector, property, colour);
  return rules;
}

std::string draw_panel(const plot_panel& panel, const plot_shape& shape, const std::string& words) {
  const axes area(panel, shape);
  return print("<svg class='plot' viewBox='0 0 %g %g' role='img' data-axes='", shape.width,
               shape.height) +
         area.describe() + "' data-unit='" +
         escape(panel.x_name.substr(panel.x_name.rfind(' ') + 1)) + "' aria-label='" +
         escape(words) + "'>\n" + draw_inside(area, panel, shape) + "</svg>\n";
}

std::string draw_svg(const picture& picture) {
  constexpr double kMargin = 64;
  double y = kHead;
  std::string svg = text_at(kMargin, 32, picture.title, "class='title'") +
                    text_at(kMargin, 54, picture.note, "class='soft'");
  for (const plot_panel& panel : picture.panels) {
    svg += print("<g transform='translate(0 %g)'>\n", y) +
           draw_inside(axes(panel, kPanel), panel, kPanel) + "</g>\n";
    y += kPanelHeight;
  }
  y += 22;
  for (size_t i = 0; i < picture.legend.size(); ++i) {
    svg += line(kMargin, y - 4.5, kMargin + 30, y - 4.5, style_of(i));
    for (const std::string& part : wrap(picture.legend[i])) {
      svg += text_at(kMargin + 42, y, part);
      y += kLegendLine;
    }
  }
  return print(
             "<svg xmlns='http://www.w3.org/2000/svg' class='plot' viewBox='0 0 %g %g' "
             "width='%g' height='%g'>\n<style>",
             kWidth, y, kWidth, y) +
         picture_style() + "</style>\n<rect width='100%' height='100%' rx='6' class='paper'/>\n" +
         svg + "</svg>\n";
}

}  // namespace sonx
