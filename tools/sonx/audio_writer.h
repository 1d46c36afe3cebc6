// Writes an audio file, whole or not at all, in the container that its extension names.
#pragma once

#include <sndfile.hh>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "audio_reader.h"
#include "pending_file.h"

namespace sonx {

struct audio_shape {
  int rate;            // Hz, of the file
  int bits;            // 16 or 24
  int64_t frames = 0;  // that are expected: a WAV file of more than 4 GB becomes RF64
  int channels = 2;
  int from_rate = 0;  // of the samples that are given, where it is another
};

// Whether a file of this name can be.
bool can_be_written(const std::filesystem::path& path);

class audio_writer {
 public:
  // A file .wav, .flac, .ogg, .caf or .w64; "-" is WAV on standard output.
  audio_writer(const std::filesystem::path& path, const audio_shape& shape);

  // Interleaved samples with full scale at 2^31. At the file's own rate the low bits are cut off:
  // nothing is rounded or scaled on the way into the file.
  void write(const int32_t* words, size_t frames);

  // Gives the file its name. One that is converted gets exactly `frames` frames.
  void commit(int64_t frames);

  // "FLAC, 24 bits"
  const std::string& description() const { return description_; }

 private:
  void convert(const int32_t* words, size_t frames);
  void write_file(const int32_t* words, size_t frames);

  pending_file pending_;
  std::string description_;
  audio_shape shape_;
  SndfileHandle file_;
  rate_converter converter_;
  std::vector<int32_t> converted_;
  int64_t written_ = 0;  // frames
  int64_t limit_ = INT64_MAX;
};

}  // namespace sonx
