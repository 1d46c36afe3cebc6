// Prints what an effect leaves behind when nothing is asked of it: a slot at its neutral values,
// enabled, against its input.
//   residual  power of the difference from the input, delayed by the latency, in dB against the
//             input's: music at -12 dBFS, rounded to 24 bits
//   Hz        gain in dB and phase in degrees of a sine of -12 dBFS
#include <sonx/rack.h>

#include <complex>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "rack/signals.h"

namespace {

constexpr int kRate = 48000, kBlock = 480;
constexpr double kSeconds = 3.0, kFrom = 1.0, kLevel = 0.25;
constexpr double kTones[] = {60.0, 250.0, 1000.0, 5000.0, 12000.0};

struct neutral_setting {
  const char* effect;
  const char* values;  // besides the initial ones; as in a preset
  const char* why;     // null: neutral
};
constexpr neutral_setting kSettings[] = {
    {"headphones", "", nullptr},
    {"karaoke", "howling = false, echo = false", nullptr},
    {"graphic-equalizer", "", nullptr},
    {"parametric-equalizer", "", nullptr},
    {"reverb", "wet = 0, dry = 100", nullptr},
    {"stereo-widening", "", "its shelves and all-passes stay in the way"},
    {"virtual-bass", "harmonics = 0, bass = 100", nullptr},
    {"smart-volume", "", "aims at a loudness; its gain is 1.0 where that is met within 3 dB"},
    {"compressor", "threshold = 0", nullptr},
    {"speaker-boost", "", "keeps bass out: without harmonics -50 dB at 60 Hz, -6 dB at 250 Hz"},
    {"balance", "", nullptr},
    {"volume", "", nullptr},
    {"gramophone", "", "has no settings"},
    {"echo", "wet = 0, dry = 100", nullptr},
    {"howling-canceller", "", nullptr},
    {"noise-suppressor", "", "turns what stands still down by 6 dB at least"}};

struct rack_deleter {
  void operator()(sonx_rack* rack) const { sonx_rack_destroy(rack); }
};

// From kFrom on, the latency taken off the end of one and the beginning of the other.
struct passage {
  stereo in, out;
};

passage play(const neutral_setting& setting, stereo in) {
  std::string text = "sonx = 1\neffect = [ { id = \"";
  text +=
      std::string(setting.effect) + "\"" + (*setting.values ? ", " : "") + setting.values + " } ]";
  const std::unique_ptr<sonx_rack, rack_deleter> rack(sonx_rack_create(kRate, kBlock));
  char error[200];
  if (!rack || sonx_rack_load(rack.get(), text.c_str(), error, sizeof error) != 0) {
    std::fprintf(stderr, "%s\n%s\n", error, text.c_str());
    std::exit(EXIT_FAILURE);
  }
  // What takes one voice is given one.
  if (sonx_effect_find(setting.effect)->inputs < sonx_effect_find(setting.effect)->outputs)
    in[1] = in[0];
  stereo out = in;
  for (size_t i = 0; i + kBlock <= in[0].size(); i += kBlock) {
    const float* const from[] = {&in[0][i], &in[1][i]};
    float* const to[] = {&out[0][i], &out[1][i]};
    sonx_rack_process_f32(rack.get(), from, to, 2, kBlock);
  }
  const auto latency = sonx_rack_latency(rack.get());
  const auto start = static_cast<std::ptrdiff_t>(kFrom * kRate);
  for (size_t c = 0; c < 2; ++c) {
    in[c].erase(in[c].end() - latency, in[c].end());
    in[c].erase(in[c].begin(), in[c].begin() + start);
    out[c].erase(out[c].begin(), out[c].begin() + start + latency);
  }
  return {in, out};
}

double residual_db(const neutral_setting& setting) {
  stereo in = music(static_cast<size_t>(kSeconds * kRate), kRate);
  for (channel& c : in)
    for (float& v : c) v = std::round(v * static_cast<float>(kLevel) * 0x1p23F) * 0x1p-23F;
  const passage p = play(setting, in);
  double power = 0.0, rest = 0.0;
  for (size_t c = 0; c < 2; ++c)
    for (size_t i = 0; i < p.in[c].size(); ++i) {
      power += std::pow(p.in[c][i], 2.0);
      rest += std::pow(double(p.out[c][i]) - double(p.in[c][i]), 2.0);
    }
  return 10.0 * std::log10(rest / power);
}

std::complex<double> gain_at(const neutral_setting& setting, double frequency) {
  channel x(static_cast<size_t>(kSeconds * kRate));
  const auto turn = [&](size_t i) {
    return 2.0 * std::numbers::pi * frequency * static_cast<double>(i) / kRate;
  };
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<float>(kLevel * std::sin(turn(i)));
  const passage p = play(setting, {x, x});
  std::complex<double> in, out;
  for (size_t i = 0; i < p.in[0].size() / kRate * kRate; ++i) {
    in += double(p.in[0][i]) * std::polar(1.0, -turn(i));
    out += double(p.out[0][i]) * std::polar(1.0, -turn(i));
  }
  return out / in;
}

void print(const neutral_setting& setting) {
  std::printf("| %s | ", setting.effect);
  if (setting.why) {
    std::printf("%s |", setting.why);
    for (size_t k = 0; k <= std::size(kTones); ++k) std::printf(" |");
    std::printf("\n");
    return;
  }
  const double rest = residual_db(setting);
  std::printf("%s | ", *setting.values ? setting.values : "initial");
  if (std::isinf(rest))
    std::printf("none |");
  else
    std::printf("%.1f |", rest);
  for (const double tone : kTones) {
    const std::complex<double> gain = gain_at(setting, tone);
    std::printf(" %.2f, %.0f |", 20.0 * std::log10(std::abs(gain)),
                std::arg(gain) * 180.0 / std::numbers::pi);
  }
  std::printf("\n");
}

}  // namespace

int main() {
  std::printf("| effect | neutral values | residual |");
  for (const double tone : kTones) std::printf(" %g Hz |", tone);
  std::printf("\n|---|---|---:|");
  for (size_t k = 0; k < std::size(kTones); ++k) std::printf("---:|");
  std::printf("\n");
  if (std::size(kSettings) != static_cast<size_t>(sonx_effect_count())) return EXIT_FAILURE;
  for (const neutral_setting& setting : kSettings) print(setting);
  return EXIT_SUCCESS;
}
