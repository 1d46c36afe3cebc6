// Reads any audio file that libsndfile knows as a stream of interleaved stereo floats, at its own
// rate or converted to another.
#pragma once

#include <soxr.h>
#include <sndfile.hh>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace sonx {

struct converter_deleter {
  void operator()(soxr* state) const { soxr_delete(state); }
};
using rate_converter = std::unique_ptr<soxr, converter_deleter>;

// Interleaved samples of one type in and out, at soxr's best quality.
rate_converter make_rate_converter(int from, int to, size_t channels, soxr_datatype_t type);

// Reads frames of interleaved stereo, full scale 1.0. Mono is duplicated; of more than two channels
// the first two (front left and right) are taken. Samples that are no numbers are given as 0.
// Errors are thrown as std::runtime_error.
class audio_reader {
 public:
  explicit audio_reader(const std::filesystem::path& path);

  const std::string& name() const { return name_; }
  int file_rate() const { return file_.samplerate(); }
  int bits() const;  // 16, or 24 for a file that holds more than 16
  int channels() const { return file_.channels() > 1 ? 2 : 1; }  // that read() tells apart
  std::string describe_channels() const;  // "1 channel", "6 channels (1 and 2 taken)"
  int rate() const { return rate_; }      // Hz, of what read() gives
  int64_t frames() const;  // in all, at rate(); 0 if unknown; some encodings only estimate it
  int64_t frames_read() const { return frames_read_; }  // so far, at the file's rate

  // From now on read() gives the file converted to this rate.
  void convert_to(int rate);

  // Up to `frames` frames; fewer only at the end of the file.
  size_t read(float* stereo, size_t frames);

  // To be called after reading: throws if there was nothing to read.
  void require_sound() const;

  // Warns of what was wrong with what has been read: no numbers, too loud, cut off.
  void warn_of_faults() const;

 private:
  static size_t feed_converter(void* reader, soxr_in_t* data, size_t frames);
  size_t read_file(float* stereo, size_t frames);
  double part_there() const;

  std::string name_;
  SndfileHandle file_;
  int rate_;
  std::vector<float> raw_;   // as the file holds them, channels interleaved
  std::vector<float> feed_;  // stereo at the file's rate, what the converter eats
  rate_converter converter_;
  int64_t frames_read_ = 0;
  int64_t no_numbers_ = 0;  // frames
  int64_t too_loud_ = 0;
  float peak_ = 0;
  bool ended_ = false;
};

struct period_frames {
  size_t input;  // from the file
  size_t all;    // and from the silence after it
};

// Fills `stereo` from the file, with silence at its end, and says how many frames of it count: all
// until the file ends, then as many as are left of the tail, from which they are taken.
period_frames read_period(audio_reader& reader, std::vector<float>& stereo, int64_t& tail_left);

}  // namespace sonx
