#include "audio_writer.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "messages.h"

namespace sonx {

namespace {

constexpr int64_t kWavLimit = 4'000'000'000;  // bytes
constexpr size_t kWriteFrames = 4096;         // at a time: the Vorbis encoder takes no long ones
constexpr size_t kConvertFrames = 4096;

struct container {
  const char* extension;
  const char* name;
  int format;
};
constexpr container kContainers[] = {{".wav", "WAV", SF_FORMAT_WAV},
                                     {".flac", "FLAC", SF_FORMAT_FLAC},
                                     {".ogg", "Ogg Vorbis", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                                     {".caf", "CAF", SF_FORMAT_CAF},
                                     {".w64", "W64", SF_FORMAT_W64}};

const container* look_for_container(const std::filesystem::path& path) {
  std::string extension = path == "-" ? ".wav" : path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  for (const container& one : kContainers)
    if (extension == one.extension) return &one;
  return nullptr;
}

const container& find_container(const std::filesystem::path& path) {
  if (const container* const found = look_for_container(path)) return *found;
  throw std::runtime_error("cannot write '" + path.string() +
                           "': OUT is a file .wav, .flac, .ogg, .caf or .w64, or - for WAV on "
                           "standard output");
}

int format_of(const container& kind, const audio_shape& shape) {
  if ((kind.format & SF_FORMAT_SUBMASK) != 0) return kind.format;
  const bool large = shape.frames * shape.channels * shape.bits / 8 >= kWavLimit;
  return (kind.format == SF_FORMAT_WAV && large ? SF_FORMAT_RF64 : kind.format) |
         (shape.bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24);
}

// The nearest multiple of the file's step.
int32_t round_to_bits(int32_t word, int bits) {
  const int64_t step = int64_t{1} << (32 - bits);
  return static_cast<int32_t>(
      std::min<int64_t>((word + step / 2) & -step, (int64_t{1} << 31) - step));
}

}  // namespace

bool can_be_written(const std::filesystem::path& path) {
  return look_for_container(path) != nullptr;
}

audio_writer::audio_writer(const std::filesystem::path& path, const audio_shape& shape)
    : pending_(path), shape_(shape) {
  const container& kind = find_container(path);
  const int format = format_of(kind, shape);
  if (path == "-" && isatty(STDOUT_FILENO) != 0)
    throw std::runtime_error("standard output is a terminal: send it to a program or a file");
  errno = 0;
  file_ =
      SndfileHandle(pending_.temporary().string(), SFM_WRITE, format, shape.channels, shape.rate);
  if (file_.error() != SF_ERR_NO_ERROR)
    throw std::runtime_error("cannot write '" + path.string() +
                             "': " + (errno != 0 ? std::strerror(errno) : file_.strError()));
  description_ = kind.name;
  if ((kind.format & SF_FORMAT_SUBMASK) == 0)
    description_ += ", " + std::to_string(shape.bits) + " bits";
  if (shape.from_rate != 0 && shape.from_rate != shape.rate)
    converter_ = make_rate_converter(shape.from_rate, shape.rate,
                                     static_cast<size_t>(shape.channels), SOXR_INT32_I);
}

void audio_writer::write(const int32_t* words, size_t frames) {
  if (converter_)
    convert(words, frames);
  else
    write_file(words, frames);
}

// Null words mean the end: what the converter still holds comes out.
void audio_writer::convert(const int32_t* words, size_t frames) {
  const auto channels = static_cast<size_t>(shape_.channels);
  converted_.resize(channels * kConvertFrames);
  for (size_t done = 0;;) {
    size_t taken = 0, made = 0;
    const soxr_error_t error =
        soxr_process(converter_.get(), words == nullptr ? nullptr : words + channels * done,
                     frames - done, &taken, converted_.data(), kConvertFrames, &made);
    if (error != nullptr)
      throw std::runtime_error(std::string("cannot convert the rate: ") + soxr_strerror(error));
    done += taken;
    for (size_t i = 0; i < channels * made; ++i)
      converted_[i] = round_to_bits(converted_[i], shape_.bits);
    write_file(converted_.data(), made);
    if (made < kConvertFrames && done == frames) return;
  }
}

void audio_writer::write_file(const int32_t* words, size_t frames) {
  const auto channels = static_cast<size_t>(shape_.channels);
  frames = static_cast<size_t>(std::min(static_cast<int64_t>(frames), limit_ - written_));
  for (size_t done = 0; done < frames;) {
    const size_t count = std::min(kWriteFrames, frames - done);
    errno = 0;
    if (file_.writef(words + channels * done, static_cast<sf_count_t>(count)) !=
        static_cast<sf_count_t>(count))
      throw std::runtime_error("cannot write '" + pending_.target().string() +
                               "': " + (errno != 0 ? std::strerror(errno) : file_.strError()));
    done += count;
  }
  written_ += static_cast<int64_t>(frames);
}

void audio_writer::commit(int64_t frames) {
  if (converter_) {
    limit_ = frames;
    convert(nullptr, 0);
    const std::vector<int32_t> silence(static_cast<size_t>(shape_.channels));
    while (written_ < frames) write_file(silence.data(), 1);
    if (const size_t clips = *soxr_num_clips(converter_.get()); clips > 0)
      warn("converting back to " + std::to_string(shape_.rate) + " Hz goes beyond full scale: " +
           std::to_string(clips) + (clips == 1 ? " sample" : " samples") + " clipped");
  }
  file_.writeSync();
  file_ = SndfileHandle();  // closes it, with its header
  pending_.commit();
}

}  // namespace sonx
