#include "stream.h"

#include <algorithm>
#include <cmath>

#include "messages.h"
#include "progress.h"

namespace sonx {

stream_report stream(audio_reader& reader, audio_writer& writer, const stream_options& options,
                     const period_process& process) {
  const int rate = reader.rate();
  std::vector<float> stereo(2 * options.period);
  std::vector<int32_t> words(options.channels * options.period);
  level_meter in(rate);
  level_meter out(rate);
  int64_t tail_left = std::llround(options.tail * rate);
  progress_bar progress(options.label, reader.frames() + tail_left);
  tail_left += options.delay;
  int64_t delay_left = options.delay;
  stopwatch busy;
  int64_t done = 0;
  for (;;) {
    const period_frames frames = read_period(reader, stereo, tail_left);
    if (frames.all == 0) break;
    in.add(stereo.data(), frames.input);
    process(stereo, words, busy);
    const auto first = static_cast<size_t>(
        std::min(delay_left, static_cast<int64_t>(frames.all)));  // before it belongs to the delay
    delay_left -= static_cast<int64_t>(first);
    writer.write(&words[options.channels * first], frames.all - first);
    out.add(&stereo[2 * first], frames.all - first);
    done += static_cast<int64_t>(frames.all - first);
    progress.update(done);
    if (options.watch) options.watch(done);
  }
  const double seconds = busy.seconds();
  return {in.result(), out.result(), done,
          seconds > 0 ? static_cast<double>(done) / rate / seconds : 0};
}

void print_levels(const stream_report& report) {
  say("peak      %6s -> %6s dBFS\nloudness  %6s -> %6s LUFS\n%s%.0f times real time\n",
      decibels(report.in.peak_dbfs).c_str(), decibels(report.out.peak_dbfs).c_str(),
      decibels(report.in.lufs).c_str(), decibels(report.out.lufs).c_str(),
      clipping_note(report.out).c_str(), report.speed);
}

}  // namespace sonx
