#include "render.h"

#include <hp/sonx_hp_effect.h>
#include <hp/sonx_hp_handle.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "formats.h"
#include "progress.h"

namespace sonx {

namespace {

constexpr double kSwitchSeconds = 0.1;  // over which a switch-over's steps are measured

// One stretch between two changes, while it is being rendered.
struct stretch {
  stretch(int64_t first, const audio_effect_control_acdb_t& setting, int rate)
      : begin(first), record(setting), in(rate), out(rate) {}

  int64_t begin;
  audio_effect_control_acdb_t record;
  double gain_db = 0;
  level_meter in;
  level_meter out;
  float step_in = 0;
  float step_out = 0;
};

class renderer {
 public:
  renderer(audio_reader& reader, audio_writer& writer, const render_options& options);
  render_report run(const std::string& label);

 private:
  void change_settings();
  void measure(period_frames frames);
  void measure_steps(size_t frames);
  render_report report() const;

  audio_reader& reader_;
  audio_writer& writer_;
  const render_options& options_;
  const int rate_;
  hp_effect effect_;
  period_buffer period_;
  std::vector<float> in_;
  std::vector<float> out_;
  std::vector<int32_t> words_;
  std::vector<float> delayed_in_;  // the input that the output has not reached

  int64_t done_ = 0;  // frames
  int64_t tail_left_;
  size_t next_change_ = 0;
  level_meter all_in_;
  level_meter all_out_;
  step_meter steps_in_;
  step_meter steps_out_;
  std::vector<std::unique_ptr<stretch>> stretches_;
  std::chrono::steady_clock::duration busy_{};
};

renderer::renderer(audio_reader& reader, audio_writer& writer, const render_options& options)
    : reader_(reader),
      writer_(writer),
      options_(options),
      rate_(reader.rate()),
      effect_(rate_, options.format),
      period_(options.format, options.period),
      in_(period_.samples()),
      out_(period_.samples()),
      words_(period_.samples()),
      delayed_in_(2 * static_cast<size_t>(chain_delay(rate_))),
      tail_left_(std::llround(options.tail * rate_)),
      all_in_(rate_),
      all_out_(rate_) {}

render_report renderer::run(const std::string& label) {
  progress_bar progress(label, reader_.frames() + tail_left_);
  for (;;) {
    const period_frames frames = read_period(reader_, in_, tail_left_);
    if (frames.all == 0) break;
    change_settings();
    period_.encode(in_.data());
    const auto start = std::chrono::steady_clock::now();
    effect_.process(period_.data(), period_.bytes());
    busy_ += std::chrono::steady_clock::now() - start;
    period_.decode(out_.data(), words_.data());
    writer_.write(words_.data(), frames.all);
    measure(frames);
    done_ += static_cast<int64_t>(frames.all);
    progress.update(done_);
  }
  return report();
}

void renderer::change_settings() {
  const double now = static_cast<double>(done_) / rate_;
  while (next_change_ < options_.changes.size() && options_.changes[next_change_].seconds <= now) {
    const audio_effect_control_acdb_t& record = options_.changes[next_change_++].record;
    effect_.set(record);
    stretches_.push_back(std::make_unique<stretch>(done_, record, rate_));
  }
}

void renderer::measure(period_frames frames) {
  stretch& current = *stretches_.back();
  current.gain_db = effect_.gain_db();
  all_in_.add(in_.data(), frames.input);
  all_out_.add(out_.data(), frames.all);
  current.in.add(in_.data(), frames.input);
  current.out.add(out_.data(), frames.all);
  measure_steps(frames.all);
}

void renderer::measure_steps(size_t frames) {
  stretch& current = *stretches_.back();
  const bool near = done_ < current.begin + static_cast<int64_t>(kSwitchSeconds * rate_);
  const auto count = static_cast<std::ptrdiff_t>(2 * frames);
  delayed_in_.insert(delayed_in_.end(), in_.begin(), in_.begin() + count);
  steps_in_.add(delayed_in_.data(), frames, near ? &current.step_in : nullptr);
  steps_out_.add(out_.data(), frames, near ? &current.step_out : nullptr);
  delayed_in_.erase(delayed_in_.begin(), delayed_in_.begin() + count);
}

render_report renderer::report() const {
  render_report report{};
  for (size_t i = 0; i < stretches_.size(); ++i) {
    const stretch& one = *stretches_[i];
    const int64_t end = i + 1 < stretches_.size() ? stretches_[i + 1]->begin : done_;
    report.stretches.push_back({one.begin, end, one.record, one.gain_db, one.in.result(),
                                one.out.result(), one.step_in, one.step_out});
  }
  report.in = all_in_.result();
  report.out = all_out_.result();
  report.frames = done_;
  const double busy = std::chrono::duration<double>(busy_).count();
  report.speed = busy > 0 ? static_cast<double>(done_) / rate_ / busy : 0;
  return report;
}

}  // namespace

hp_effect::hp_effect(int rate, int format)
    : handle_(sonx_hp_effect_init(static_cast<unsigned int>(rate), format)) {
  if (handle_ == nullptr) throw std::runtime_error("no memory for the effect");
}

hp_effect::~hp_effect() { sonx_hp_effect_deinit(handle_); }

void hp_effect::set(audio_effect_control_acdb_t record) {
  sonx_hp_effect_set_parameters(handle_, &record);
}

void hp_effect::process(void* period, size_t bytes) {
  sonx_hp_effect_process(handle_, period, bytes);
}

// No entry point tells the gain, so this looks behind the handle.
double hp_effect::gain_db() const {
  return to_decibels(static_cast<const sonx_hp_handle_t*>(handle_)->chain.comp->volume / 8192.0);
}

static int nearest_rate(int file_rate) {
  if (file_rate >= 44050 && file_rate <= 48050) return file_rate;
  return file_rate % 11025 == 0 ? 44100 : 48000;
}

const effect_rates kHpRates = {"the headphone effect", "44100 and 48000 Hz (44050..48050 Hz)",
                               nearest_rate};

int chain_delay(int rate) { return rate == 44100 ? 440 : 480; }

bool fades_in_full(int period, int rate) {
  const int block = static_cast<int>(hp_block_frames(static_cast<uint32_t>(period)));
  int left = period;  // of the period that the block is in
  const auto next_block = [&] {
    const int frames = std::min(block, left);
    left = left == frames ? period : left - frames;
    return frames;
  };
  const int fade_out = next_block() + next_block();
  const int silence = next_block() + next_block();
  return std::min(fade_out, silence) >= chain_delay(rate);
}

std::string gain_note(const audio_effect_control_acdb_t& record, double gain_db) {
  if (record.effect_type != SONX_EFFECT_NONE || gain_db == 0) return "";
  return "without an effect, the make-up gain of the one before stays: " + decibels(gain_db) +
         " dB\n";
}

render_report render(audio_reader& reader, audio_writer& writer, const render_options& options,
                     const std::string& label) {
  return renderer(reader, writer, options).run(label);
}

}  // namespace sonx
