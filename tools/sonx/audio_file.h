// Audio files through libsndfile: any file that it reads as a stream of interleaved stereo floats,
// and WAV files written atomically.
#pragma once

#include <samplerate.h>
#include <sndfile.hh>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "pending_file.h"

namespace sonx {

// Reads frames of interleaved stereo, full scale 1.0. Mono is duplicated; of more than two channels
// the first two (front left and right) are taken. Errors are thrown as std::runtime_error.
class audio_reader {
 public:
  explicit audio_reader(const std::filesystem::path& path);

  int file_rate() const { return file_.samplerate(); }
  int channels() const { return file_.channels() > 1 ? 2 : 1; }  // that read() tells apart
  std::string describe_channels() const;  // "1 channel", "6 channels (1 and 2 taken)"
  int rate() const { return rate_; }      // Hz, of what read() gives
  int64_t frames() const;                 // in all, at rate(); some encodings only estimate it

  // From now on read() gives the file converted to this rate (band-limited interpolation).
  void convert_to(int rate);

  // From now on read() gives the file this many times, one after the other.
  void repeat(int times) { times_ = times; }

  // Up to `frames` frames; fewer only at the end of the file.
  size_t read(float* stereo, size_t frames);

 private:
  struct converter_deleter {
    void operator()(SRC_STATE* state) const { src_delete(state); }
  };

  static long feed_converter(void* reader, float** data);
  size_t read_file(float* stereo, size_t frames);

  std::string name_;
  SndfileHandle file_;
  int rate_;
  int times_ = 1;            // that the file is given in all
  int rewinds_ = 0;          // so far
  std::vector<float> raw_;   // as the file holds them, channels interleaved
  std::vector<float> feed_;  // stereo at the file's rate, what the converter eats
  std::unique_ptr<SRC_STATE, converter_deleter> converter_;
};

struct period_frames {
  size_t input;  // from the file
  size_t all;    // and from the silence after it
};

// Fills `stereo` from the file, with silence at its end, and says how many frames of it count: all
// until the file ends, then as many as are left of the tail, from which they are taken.
period_frames read_period(audio_reader& reader, std::vector<float>& stereo, int64_t& tail_left);

// Writes a WAV file of 16 or 24 bits, stereo if nothing else is asked for; the file has its name
// only after commit().
class audio_writer {
 public:
  // `frames` is what the caller expects to write: more than 4 GB make it an RF64 file.
  audio_writer(const std::filesystem::path& path, int rate, int bits, int64_t frames,
               int channels = 2);

  // Interleaved samples with full scale at 2^31, the low bits cut off: nothing is rounded
  // or scaled on the way into the file.
  void write(const int32_t* words, size_t frames);
  void commit();

 private:
  pending_file pending_;
  SndfileHandle file_;
};

}  // namespace sonx
