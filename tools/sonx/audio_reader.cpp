#include "audio_reader.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "measure.h"
#include "messages.h"

namespace sonx {

namespace {

constexpr size_t kFeedFrames = 4096;  // of the file, per call of the rate converter
constexpr int64_t kUnknown = SF_COUNT_MAX;
constexpr double kNoLimit = 0x7FFF0000;  // bytes; a header that states more was written to a pipe

std::string log_of(SndfileHandle file) {
  std::string log(16384, '\0');
  const int length = file.command(SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()));
  log.resize(static_cast<size_t>(std::max(length, 0)));
  return log;
}

}  // namespace

rate_converter make_rate_converter(int from, int to, size_t channels, soxr_datatype_t type) {
  soxr_error_t error = nullptr;
  const soxr_io_spec_t types = soxr_io_spec(type, type);
  const soxr_quality_spec_t best = soxr_quality_spec(SOXR_VHQ, 0);
  rate_converter converter(
      soxr_create(from, to, static_cast<unsigned>(channels), &error, &types, &best, nullptr));
  if (error != nullptr)
    throw std::runtime_error(std::string("cannot convert the rate: ") + soxr_strerror(error));
  return converter;
}

audio_reader::audio_reader(const std::filesystem::path& path)
    : name_(path.string()), file_(name_), rate_(0) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  if (!fs::exists(path, ignored)) throw std::runtime_error("there is no file '" + name_ + "'");
  if (fs::is_directory(path, ignored))
    throw std::runtime_error("'" + name_ + "' is a folder, not an audio file");
  if (file_.error() != SF_ERR_NO_ERROR || file_.channels() < 1 || file_.samplerate() < 1) {
    const bool closed = access(name_.c_str(), R_OK) != 0;
    throw std::runtime_error("cannot read '" + name_ + (closed ? "': " : "' as audio: ") +
                             (closed ? std::strerror(errno) : file_.strError()));
  }
  rate_ = file_.samplerate();
}

int audio_reader::bits() const {
  switch (file_.format() & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_24:
    case SF_FORMAT_PCM_32:
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
    case SF_FORMAT_ALAC_20:
    case SF_FORMAT_ALAC_24:
    case SF_FORMAT_ALAC_32:
      return 24;
    default:
      return 16;
  }
}

std::string audio_reader::describe_channels() const {
  const int channels = file_.channels();
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels") +
         (channels > 2 ? " (1 and 2 taken)" : "");
}

int64_t audio_reader::frames() const {
  if (file_.frames() == kUnknown) return 0;
  return std::llround(static_cast<double>(file_.frames()) * rate_ / file_rate());
}

void audio_reader::convert_to(int rate) {
  if (rate == rate_) return;
  feed_.resize(2 * kFeedFrames);
  converter_ = make_rate_converter(file_rate(), rate, 2, SOXR_FLOAT32_I);
  soxr_set_input_fn(converter_.get(), feed_converter, this, kFeedFrames);
  rate_ = rate;
}

size_t audio_reader::read(float* stereo, size_t frames) {
  const size_t count =
      converter_ ? soxr_output(converter_.get(), stereo, frames) : read_file(stereo, frames);
  if (converter_ && soxr_error(converter_.get()) != nullptr)
    throw std::runtime_error(std::string("cannot convert the rate: ") +
                             soxr_strerror(soxr_error(converter_.get())));
  for (size_t i = 0; i < count; ++i) {
    const float loudest = std::max(std::abs(stereo[2 * i]), std::abs(stereo[2 * i + 1]));
    too_loud_ += loudest > 1 ? 1 : 0;
    peak_ = std::max(peak_, loudest);
  }
  return count;
}

size_t audio_reader::feed_converter(void* reader, soxr_in_t* data, size_t frames) {
  auto* self = static_cast<audio_reader*>(reader);
  *data = self->feed_.data();
  return self->read_file(self->feed_.data(), std::min(frames, kFeedFrames));
}

size_t audio_reader::read_file(float* stereo, size_t frames) {
  const size_t channels = static_cast<size_t>(file_.channels());
  raw_.resize(frames * channels);
  const sf_count_t got = file_.readf(raw_.data(), static_cast<sf_count_t>(frames));
  if (got == 0 && frames_read_ == 0 && file_.error() != SF_ERR_NO_ERROR) {
    throw std::runtime_error("cannot read '" + name_ + "': " + file_.strError());
  }
  const auto count = static_cast<size_t>(got);
  const size_t right = channels > 1 ? 1 : 0;
  for (size_t i = 0; i < count; ++i) {
    float* frame = &stereo[2 * i];
    frame[0] = raw_[i * channels];
    frame[1] = raw_[i * channels + right];
    if (std::isfinite(frame[0]) && std::isfinite(frame[1])) continue;
    ++no_numbers_;
    for (size_t side = 0; side < 2; ++side)
      if (!std::isfinite(frame[side])) frame[side] = 0;
  }
  frames_read_ += got;
  ended_ = ended_ || count < frames;
  return count;
}

// How much of what its header promises a file that has been read to its end holds: 1 is all, 0 an
// unknown part. libsndfile corrects the length of a file that was cut off and tells of it in its
// log alone; the length of an MPEG stream is a guess.
double audio_reader::part_there() const {
  const std::string log = log_of(file_);
  if (log.find("ended unexpectedly") != std::string::npos) return 0;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) {
    char chunk[8];
    double stated = 0, there = 0;
    if (std::sscanf(line.c_str(), " %7s : %lf (should be %lf)", chunk, &stated, &there) == 3 &&
        (std::strcmp(chunk, "data") == 0 || std::strcmp(chunk, "SSND") == 0))
      return stated < kNoLimit ? std::min(there / stated, 1.0) : 1;
  }
  if ((file_.format() & SF_FORMAT_TYPEMASK) == SF_FORMAT_MPEG) return 1;
  return std::min(static_cast<double>(frames_read_) / static_cast<double>(file_.frames()), 1.0);
}

void audio_reader::require_sound() const {
  if (frames_read_ == 0) throw std::runtime_error("'" + name_ + "' holds no sound");
}

void audio_reader::warn_of_faults() const {
  const auto count = [](int64_t frames) {
    return std::to_string(frames) + (frames == 1 ? " frame" : " frames");
  };
  const std::string file = "'" + name_ + "'";
  if (no_numbers_ > 0)
    warn(file + ": samples in " + count(no_numbers_) + " are no numbers; taken as silence");
  if (too_loud_ > 0)
    warn(file + ": " + count(too_loud_) + " above full scale, by up to " +
         decibels(to_decibels(static_cast<double>(peak_))) + " dB; clipped");
  if (const double part = ended_ ? part_there() : 1; part < 1)
    warn(file + " ends early, after " + count(frames_read_) +
         (part > 0 ? ": " + decibels(100 * part) + " % of its stated length" : ""));
}

period_frames read_period(audio_reader& reader, std::vector<float>& stereo, int64_t& tail_left) {
  const size_t length = stereo.size() / 2;
  size_t frames = 0;
  while (frames < length) {
    const size_t count = reader.read(&stereo[2 * frames], length - frames);
    if (count == 0) break;
    frames += count;
  }
  std::fill(stereo.begin() + static_cast<std::ptrdiff_t>(2 * frames), stereo.end(), 0.0f);
  const auto tail = std::min(static_cast<int64_t>(length - frames), tail_left);
  tail_left -= tail;
  return {frames, frames + static_cast<size_t>(tail)};
}

}  // namespace sonx
