#include "stream.h"

#include <cmath>
#include <cstdio>

#include "progress.h"

namespace sonx {

stream_report stream(audio_reader& reader, audio_writer& writer, const stream_options& options,
                     const period_process& process) {
  const int rate = reader.rate();
  std::vector<float> stereo(2 * options.period);
  std::vector<int32_t> words(stereo.size());
  level_meter in(rate);
  level_meter out(rate);
  int64_t tail_left = std::llround(options.tail * rate);
  progress_bar progress(options.label, reader.frames() + tail_left);
  stopwatch busy;
  int64_t done = 0;
  for (;;) {
    const period_frames frames = read_period(reader, stereo, tail_left);
    if (frames.all == 0) break;
    in.add(stereo.data(), frames.input);
    process(stereo, words, busy);
    writer.write(words.data(), frames.all);
    out.add(stereo.data(), frames.all);
    done += static_cast<int64_t>(frames.all);
    progress.update(done);
  }
  const double seconds = busy.seconds();
  return {in.result(), out.result(), done,
          seconds > 0 ? static_cast<double>(done) / rate / seconds : 0};
}

void print_levels(const stream_report& report) {
  std::printf("peak      %6s -> %6s dBFS\nloudness  %6s -> %6s LUFS\n%s%.0f times real time\n",
              decibels(report.in.peak_dbfs).c_str(), decibels(report.out.peak_dbfs).c_str(),
              decibels(report.in.lufs).c_str(), decibels(report.out.lufs).c_str(),
              clipping_note(report.out).c_str(), report.speed);
}

}  // namespace sonx
