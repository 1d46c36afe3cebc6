#include "recording.h"

#include <ebur128.h>
#include <nettle/sha2.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <sndfile.hh>
#include <stdexcept>

#include "audio_reader.h"
#include "audio_writer.h"
#include "formats.h"
#include "measure.h"
#include "progress.h"
#include "rack_player.h"
#include "stream.h"

namespace sonx {

namespace {

constexpr size_t kPeriod = 480;  // frames; the result doesn't depend on it

struct loudness_deleter {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};

struct file_closer {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

recording read_recording(const std::string& file, int rate) {
  audio_reader reader(file);
  if (reader.file_rate() != rate)
    std::fprintf(stderr, "sonx: '%s' has %d Hz: converted to %d Hz\n", file.c_str(),
                 reader.file_rate(), rate);
  reader.convert_to(rate);
  recording sound{rate, static_cast<size_t>(reader.channels()), {}};
  std::vector<float> part(2 * kPeriod);
  while (const size_t frames = reader.read(part.data(), kPeriod))
    sound.stereo.insert(sound.stereo.end(), part.begin(),
                        part.begin() + static_cast<std::ptrdiff_t>(2 * frames));
  reader.require_sound();
  reader.warn_of_faults();
  return sound;
}

rendering render(const rack_recipe& recipe, const recording& in, double tail,
                 const std::string& label) {
  rack_player player(recipe, in.rate, {});
  const auto latency = static_cast<size_t>(player.device().latency());
  const size_t frames = in.frames() + static_cast<size_t>(std::llround(tail * in.rate));
  rendering result{{in.rate, in.channels, {}}, 0, 0};
  std::vector<float>& out = result.sound.stereo;
  out.reserve(2 * (frames + latency + kPeriod));
  progress_bar progress(label, static_cast<int64_t>(frames));
  stopwatch busy;
  std::vector<float> period(2 * kPeriod);
  while (out.size() < 2 * (frames + latency)) {
    const size_t from = std::min(out.size(), in.stereo.size()),
                 until = std::min(from + period.size(), in.stereo.size());
    std::fill(std::copy(in.stereo.begin() + static_cast<std::ptrdiff_t>(from),
                        in.stereo.begin() + static_cast<std::ptrdiff_t>(until), period.begin()),
              period.end(), 0.0F);
    player.process(period, in.channels, busy);
    if (in.channels == 1)
      for (size_t i = 1; i < period.size(); i += 2) period[i] = period[i - 1];
    out.insert(out.end(), period.begin(), period.end());
    progress.update(static_cast<int64_t>(out.size() / 2));
  }
  result.nanoseconds = 2e9 * busy.seconds() / static_cast<double>(out.size());
  result.speed = 1e9 / (result.nanoseconds * in.rate);
  out.erase(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(2 * latency));
  out.resize(2 * frames);
  return result;
}

loudness measure_loudness(const recording& sound) {
  const std::unique_ptr<ebur128_state, loudness_deleter> state(
      ebur128_init(2, static_cast<unsigned long>(sound.rate),
                   EBUR128_MODE_I | EBUR128_MODE_LRA | EBUR128_MODE_TRUE_PEAK));
  loudness result{};
  double peaks[4] = {};
  if (!state || ebur128_add_frames_float(state.get(), sound.stereo.data(), sound.frames()) != 0 ||
      ebur128_loudness_global(state.get(), &result.integrated) != 0 ||
      ebur128_loudness_range(state.get(), &result.range) != 0 ||
      ebur128_true_peak(state.get(), 0, &peaks[0]) != 0 ||
      ebur128_true_peak(state.get(), 1, &peaks[1]) != 0 ||
      ebur128_sample_peak(state.get(), 0, &peaks[2]) != 0 ||
      ebur128_sample_peak(state.get(), 1, &peaks[3]) != 0)
    throw std::runtime_error("the loudness measurement failed");
  result.true_peak = to_decibels(std::max(peaks[0], peaks[1]));
  result.peak = to_decibels(std::max(peaks[2], peaks[3]));
  return result;
}

loudness_match match(const loudness& first, const loudness& second) {
  const double more = first.integrated - second.integrated;
  if (!std::isfinite(more)) return {0, 0};
  return {std::min(-more, 0.0), std::min(more, 0.0)};
}

void turn(recording& sound, double decibels) {
  const auto gain = static_cast<float>(std::pow(10, decibels / 20));
  for (float& sample : sound.stereo) sample *= gain;
}

std::vector<double> levels_over_time(const recording& sound, double window) {
  const auto length = static_cast<size_t>(std::llround(window * sound.rate));
  std::vector<double> levels;
  for (size_t at = 0; at + length <= sound.frames(); at += length) {
    double power = 0;
    for (size_t i = 2 * at; i < 2 * (at + length); ++i)
      power += double{sound.stereo[i]} * double{sound.stereo[i]};
    levels.push_back(10 * std::log10(power / static_cast<double>(length)));
  }
  return levels;
}

void write_recording(const std::string& file, const recording& sound) {
  audio_writer writer(file, {.rate = sound.rate,
                             .bits = 24,
                             .frames = static_cast<int64_t>(sound.frames()),
                             .channels = static_cast<int>(sound.channels)});
  std::vector<int32_t> words;
  for (size_t i = 0; i < sound.stereo.size(); i += 3 - sound.channels)
    words.push_back(to_word(sound.stereo[i], false));
  writer.write(words.data(), sound.frames());
  writer.commit(static_cast<int64_t>(sound.frames()));
}

std::vector<float> outline(const recording& sound, size_t parts) {
  std::vector<float> peaks(parts);
  for (size_t i = 0; i < sound.stereo.size(); ++i) {
    float& peak = peaks[i * parts / sound.stereo.size()];
    peak = std::max(peak, std::abs(sound.stereo[i]));
  }
  return peaks;
}

recording cut(const recording& sound, double from, double seconds) {
  const auto place = [&](double second) {
    const auto frame = static_cast<size_t>(std::llround(std::max(second, 0.0) * sound.rate));
    return sound.stereo.begin() + static_cast<std::ptrdiff_t>(2 * std::min(frame, sound.frames()));
  };
  return {sound.rate, sound.channels, {place(from), place(from + seconds)}};
}

std::string hash(const recording& sound) {
  sha256_ctx state;
  sha256_init(&state);
  for (size_t i = 0; i < sound.stereo.size(); i += 3 - sound.channels) {
    const auto word = static_cast<uint32_t>(to_word(sound.stereo[i], false));
    const uint8_t bytes[] = {static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word >> 16),
                             static_cast<uint8_t>(word >> 24)};
    sha256_update(&state, sizeof bytes, bytes);
  }
  std::array<uint8_t, SHA256_DIGEST_SIZE> digest;
  sha256_digest(&state, digest.size(), digest.data());
  std::string text;
  for (const unsigned byte : digest) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", byte);
    text += digits;
  }
  return text;
}

std::string to_flac(const recording& sound) {
  const std::unique_ptr<std::FILE, file_closer> file(std::tmpfile());
  if (!file) throw std::runtime_error("cannot make a temporary file");
  {
    SndfileHandle flac(fileno(file.get()), false, SFM_WRITE, SF_FORMAT_FLAC | SF_FORMAT_PCM_16,
                       static_cast<int>(sound.channels), sound.rate);
    std::vector<short> words;
    for (size_t i = 0; i < sound.stereo.size(); i += 3 - sound.channels)
      words.push_back(to_16_bits(sound.stereo[i]));
    flac.write(words.data(), static_cast<sf_count_t>(words.size()));
  }
  std::rewind(file.get());
  std::string bytes;
  char part[4096];
  for (size_t count; (count = std::fread(part, 1, sizeof part, file.get())) > 0;)
    bytes.append(part, count);
  return bytes;
}

}  // namespace sonx
