#include "audio_file.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace sonx {

namespace {

constexpr size_t kFeedFrames = 4096;          // of the file, per call of the rate converter
constexpr int64_t kWavLimit = 4'000'000'000;  // bytes

}  // namespace

audio_reader::audio_reader(const std::filesystem::path& path)
    : name_(path.string()), file_(name_), rate_(0) {
  if (!std::filesystem::exists(path)) throw std::runtime_error("there is no file '" + name_ + "'");
  if (file_.error() != SF_ERR_NO_ERROR || file_.channels() < 1 || file_.samplerate() < 1) {
    throw std::runtime_error("cannot read '" + name_ + "' as audio: " + file_.strError());
  }
  rate_ = file_.samplerate();
}

std::string audio_reader::describe_channels() const {
  const int channels = file_.channels();
  return std::to_string(channels) + (channels == 1 ? " channel" : " channels") +
         (channels > 2 ? " (1 and 2 taken)" : "");
}

int64_t audio_reader::frames() const {
  return std::llround(static_cast<double>(file_.frames()) * times_ * rate_ / file_rate());
}

void audio_reader::convert_to(int rate) {
  if (rate == rate_) return;
  int error = 0;
  feed_.resize(2 * kFeedFrames);
  converter_.reset(src_callback_new(feed_converter, SRC_SINC_MEDIUM_QUALITY, 2, &error, this));
  if (!converter_) {
    throw std::runtime_error(std::string("cannot convert the rate: ") + src_strerror(error));
  }
  rate_ = rate;
}

size_t audio_reader::read(float* stereo, size_t frames) {
  if (!converter_) return read_file(stereo, frames);
  const double ratio = static_cast<double>(rate_) / file_rate();
  const long count = src_callback_read(converter_.get(), ratio, static_cast<long>(frames), stereo);
  if (const int error = src_error(converter_.get()); count < 0 || error != 0) {
    throw std::runtime_error(std::string("cannot convert the rate: ") + src_strerror(error));
  }
  return static_cast<size_t>(count);
}

long audio_reader::feed_converter(void* reader, float** data) {
  auto* self = static_cast<audio_reader*>(reader);
  *data = self->feed_.data();
  return static_cast<long>(self->read_file(self->feed_.data(), kFeedFrames));
}

size_t audio_reader::read_file(float* stereo, size_t frames) {
  const size_t channels = static_cast<size_t>(file_.channels());
  raw_.resize(frames * channels);
  sf_count_t got = file_.readf(raw_.data(), static_cast<sf_count_t>(frames));
  if (got == 0 && rewinds_ + 1 < times_ && file_.seek(0, SEEK_SET) == 0) {
    ++rewinds_;
    got = file_.readf(raw_.data(), static_cast<sf_count_t>(frames));
  }
  if (got == 0 && file_.error() != SF_ERR_NO_ERROR) {
    throw std::runtime_error("cannot read on in '" + name_ + "': " + file_.strError());
  }
  const auto count = static_cast<size_t>(got);
  const size_t right = channels > 1 ? 1 : 0;
  for (size_t i = 0; i < count; ++i) {
    stereo[2 * i] = raw_[i * channels];
    stereo[2 * i + 1] = raw_[i * channels + right];
  }
  return count;
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

audio_writer::audio_writer(const std::filesystem::path& path, int rate, int bits, int64_t frames,
                           int channels)
    : pending_(path),
      file_(pending_.temporary().string(), SFM_WRITE,
            (frames * channels * bits / 8 < kWavLimit ? SF_FORMAT_WAV : SF_FORMAT_RF64) |
                (bits == 16 ? SF_FORMAT_PCM_16 : SF_FORMAT_PCM_24),
            channels, rate) {
  if (file_.error() != SF_ERR_NO_ERROR) {
    throw std::runtime_error("cannot write '" + path.string() + "': " + file_.strError());
  }
}

void audio_writer::write(const int32_t* words, size_t frames) {
  const auto count = static_cast<sf_count_t>(frames);
  if (file_.writef(words, count) != count) {
    throw std::runtime_error("cannot write '" + pending_.target().string() +
                             "': " + file_.strError());
  }
}

void audio_writer::commit() {
  file_.writeSync();
  file_ = SndfileHandle();  // closes it, with its header
  pending_.commit();
}

}  // namespace sonx
