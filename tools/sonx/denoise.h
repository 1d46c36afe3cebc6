// The noise suppressor over a file.
#pragma once

#include <string>

#include "audio_file.h"
#include "stream.h"
#include "suppressors.h"

namespace sonx {

// Where the suppressor works for a file, and what the way there and back costs.
struct denoise_way {
  int rate;  // of the suppressor, Hz: the file's own, or one that the converter connects with it
  size_t period;  // frames of the file per call
  int64_t delay;  // of the whole way, frames of the file
};

// Throws std::runtime_error for a rate that neither the suppressor nor the converter takes.
denoise_way find_denoise_way(int file_rate);

// The output is as long as the input and not delayed. Mono stays mono, the channels of stereo go
// separate ways.
stream_report render_denoise(audio_reader& reader, audio_writer& writer,
                             const denoise_options& options, const std::string& label);

}  // namespace sonx
