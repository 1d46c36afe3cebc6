#include "spectra.h"

#include <kiss_fftr.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "plot.h"

namespace sonx {

namespace {

struct plan_deleter {
  void operator()(kiss_fftr_state* state) const { kiss_fftr_free(state); }
};

// Power spectra of windowed stretches, both channels together; a full sine in both has 1 in its
// bins' sum.
class analyser {
 public:
  explicit analyser(size_t length)
      : plan_(kiss_fftr_alloc(static_cast<int>(length), 0, nullptr, nullptr)),
        window_(length),
        in_(length),
        bins_(length / 2 + 1) {
    if (!plan_) throw std::runtime_error("no memory for the transform");
    double sum = 0;
    for (size_t i = 0; i < length; ++i) {
      window_[i] =
          0.5F - 0.5F * std::cos(2 * std::numbers::pi_v<float> * (static_cast<float>(i) + 0.5F) /
                                 static_cast<float>(length));
      sum += std::pow(double{window_[i]}, 2);
    }
    scale_ = 2 / (sum * static_cast<double>(length));
  }

  size_t length() const { return window_.size(); }
  size_t bins() const { return bins_.size(); }

  // Adds the power from this frame on; beyond the ends there is silence.
  void add(const recording& sound, ptrdiff_t from, std::vector<double>& power) {
    const auto end = static_cast<ptrdiff_t>(sound.frames());
    for (size_t c = 0; c < 2; ++c) {
      for (size_t i = 0; i < length(); ++i) {
        const ptrdiff_t at = from + static_cast<ptrdiff_t>(i);
        in_[i] =
            at < 0 || at >= end ? 0 : window_[i] * sound.stereo[2 * static_cast<size_t>(at) + c];
      }
      kiss_fftr(plan_.get(), in_.data(), bins_.data());
      for (size_t k = 0; k < bins(); ++k)
        power[k] += scale_ * (double{bins_[k].r} * double{bins_[k].r} +
                              double{bins_[k].i} * double{bins_[k].i});
    }
  }

 private:
  std::unique_ptr<kiss_fftr_state, plan_deleter> plan_;
  std::vector<float> window_, in_;
  std::vector<kiss_fft_cpx> bins_;
  double scale_ = 1;
};

// Power between two places on the axis of bins, each bin being a step from k - 1/2 to k + 1/2.
double power_between(const std::vector<double>& power, double low, double high) {
  double sum = 0;
  const auto first = static_cast<size_t>(std::max(low + 0.5, 0.0)),
             last = std::min(static_cast<size_t>(high + 0.5), power.size() - 1);
  for (size_t k = first; k <= last; ++k) {
    const auto middle = static_cast<double>(k);
    sum += power[k] * std::max(0.0, std::min(high, middle + 0.5) - std::max(low, middle - 0.5));
  }
  return sum;
}

constexpr struct {
  double at;
  int red, green, blue;
} kColours[] = {{0.00, 10, 10, 28},  {0.25, 62, 20, 104},  {0.50, 160, 42, 112},
                {0.72, 236, 94, 62}, {0.88, 252, 180, 76}, {1.00, 255, 250, 205}};

}  // namespace

std::vector<double> band_levels(const recording& sound, const std::vector<double>& frequencies) {
  constexpr size_t kLength = 1 << 14;
  analyser analyser(kLength);
  std::vector<double> power(analyser.bins());
  double count = 0;
  for (size_t from = 0; from == 0 || from + kLength <= sound.frames(); from += kLength / 2, ++count)
    analyser.add(sound, static_cast<ptrdiff_t>(from), power);
  const double half = std::exp2(1.0 / 12), bin = static_cast<double>(kLength) / sound.rate;
  std::vector<double> levels;
  for (const double hertz : frequencies)
    levels.push_back(
        10 * std::log10(power_between(power, hertz * bin / half, hertz * bin * half) / count));
  return levels;
}

spectrogram measure_spectrogram(const recording& sound, size_t columns, size_t rows) {
  constexpr size_t kLength = 1 << 12;
  constexpr double kLookSeconds = 0.02;  // between looks within a column
  constexpr size_t kMostLooks = 4;
  spectrogram result{columns, rows, 40, std::min(20000.0, 0.47 * sound.rate), {}};
  result.decibels.resize(columns * rows);
  analyser analyser(kLength);
  const double wide = static_cast<double>(sound.frames()) / static_cast<double>(columns);
  const auto looks =
      std::clamp<size_t>(static_cast<size_t>(wide / (kLookSeconds * sound.rate)), 1, kMostLooks);
  const double bin = static_cast<double>(kLength) / sound.rate;
  const double step = std::pow(result.highest / result.lowest, 1 / static_cast<double>(rows));
  for (size_t column = 0; column < columns; ++column) {
    std::vector<double> power(analyser.bins());
    for (size_t look = 0; look < looks; ++look) {
      const double middle = wide * (static_cast<double>(column) +
                                    (static_cast<double>(look) + 0.5) / static_cast<double>(looks));
      analyser.add(sound, static_cast<ptrdiff_t>(middle) - static_cast<ptrdiff_t>(kLength / 2),
                   power);
    }
    double low = result.lowest * bin;
    for (size_t row = 0; row < rows; ++row, low *= step)
      result.decibels[row * columns + column] = static_cast<float>(
          10 * std::log10(power_between(power, low, low * step) / static_cast<double>(looks)));
  }
  return result;
}

std::string to_png(const spectrogram& of, float loudest, float range) {
  constexpr int kLevels = 64;
  png_byte colours[kLevels][3];
  for (int i = 0; i < kLevels; ++i) {
    const double at = static_cast<double>(i) / (kLevels - 1);
    size_t k = 1;
    while (kColours[k].at < at) ++k;
    const auto &below = kColours[k - 1], &above = kColours[k];
    const double part = (at - below.at) / (above.at - below.at);
    const auto mix = [part](int a, int b) { return static_cast<png_byte>(a + part * (b - a)); };
    colours[i][0] = mix(below.red, above.red);
    colours[i][1] = mix(below.green, above.green);
    colours[i][2] = mix(below.blue, above.blue);
  }
  std::vector<png_byte> cells(of.columns * of.rows);
  for (size_t row = 0; row < of.rows; ++row)
    for (size_t column = 0; column < of.columns; ++column) {
      const float part =
          (of.decibels[(of.rows - 1 - row) * of.columns + column] - loudest) / range + 1;
      cells[row * of.columns + column] =
          static_cast<png_byte>(std::lround(std::clamp(part, 0.0F, 1.0F) * (kLevels - 1)));
    }
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(of.columns);
  image.height = static_cast<png_uint_32>(of.rows);
  image.format = PNG_FORMAT_RGB_COLORMAP;
  image.colormap_entries = kLevels;
  png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
  std::string bytes(size, '\0');
  if (png_image_write_to_memory(&image, bytes.data(), &size, 0, cells.data(), 0, colours) == 0)
    throw std::runtime_error(std::string("cannot draw the spectrogram: ") + image.message);
  bytes.resize(size);
  return bytes;
}

std::string colour_scale() {
  std::string scale = "linear-gradient(to right";
  for (const auto& one : kColours)
    scale += print(", rgb(%d %d %d) %g%%", one.red, one.green, one.blue, 100 * one.at);
  return scale + ")";
}

}  // namespace sonx
