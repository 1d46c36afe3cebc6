// The noise suppressor over a file.
#pragma once

#include <string>

#include "file_job.h"
#include "stream.h"
#include "suppressors.h"

namespace sonx {

// The suppressor's own rates: the lowest that keeps all of a file's sound, or else the highest.
extern const effect_rates kDenoiseRates;

// The reader must be at one of these rates. The output is as long as the input and not delayed.
// Mono stays mono, the channels of stereo go separate ways.
stream_report render_denoise(audio_reader& reader, audio_writer& writer,
                             const denoise_options& options, const std::string& label);

}  // namespace sonx
