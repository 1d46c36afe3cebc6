// What is soaked: both handles and the rack, each with settings drawn by lot, none of which mutes it
// but in the rack.
#pragma once

#include <hp/sonx_hp_effect.h>
#include <ktv/sonx_ktv.h>
#include <sonx/rack.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <random>
#include <string>

constexpr int kFrames = 480;  // 10 ms, a period

class dice {
 public:
  explicit dice(unsigned seed) : generator_(seed) {}
  int below(int sides) { return static_cast<int>(generator_() % static_cast<unsigned>(sides)); }
  int within(int low, int high) { return low + below(high - low + 1); }
  double share() { return static_cast<double>(generator_()) / 4294967296.0; }

 private:
  std::mt19937 generator_;
};

struct stereo {
  float left[kFrames], right[kFrames];
};

class subject {
 public:
  virtual ~subject() = default;
  virtual std::unique_ptr<subject> fresh() const = 0;  // a new one with the last setting
  virtual void set(dice& d, bool last) = 0;  // the last one doesn't depend on those before
  virtual void process(stereo& period) = 0;
  virtual double rest_s() const = 0;  // from silence to rest; -1: not known
  // The settings in force, as text; empty where a run's seed is all there is to say.
  virtual std::string settings() const { return ""; }
  // Whether the sound depends on more than the last seconds.
  virtual bool remembers() const { return false; }
  virtual bool may_be_silent() const { return false; }
};

class headphones : public subject {
 public:
  explicit headphones(int format) : format_(format), effect_(sonx_hp_effect_init(48000, format)) {}
  ~headphones() override { sonx_hp_effect_deinit(effect_); }
  std::unique_ptr<subject> fresh() const override {
    auto other = std::make_unique<headphones>(format_);
    other->give(record_);
    return other;
  }
  // The last one has an effect: without one the make-up gain of the setting before stays.
  void set(dice& d, bool last) override {
    audio_effect_control_acdb_t record = {
        last ? d.within(1, 5) : d.within(0, 6), d.within(0, 8), {}};
    if (record.effect_type == SONX_EFFECT_REVERB) {
      const int words[] = {d.below(6000),        d.below(8193), d.below(8193),
                           d.within(2048, 8192), d.below(8193), d.within(100, 400)};
      std::copy(std::begin(words), std::end(words), record.data);
    } else {
      for (int band = 0; band < 10; ++band) record.data[band] = d.within(-15, 15);
    }
    give(record);
    if (d.below(50) == 0) sonx_hp_effect_reset(effect_);
  }
  void process(stereo& period) override {
    int words[2 * kFrames];
    short halves[2 * kFrames];
    const double full = format_ == 1 ? 32768.0 : format_ == 3 ? 2147483648.0 : 8388608.0;
    for (int i = 0; i < 2 * kFrames; ++i) {
      const float x = i % 2 ? period.right[i / 2] : period.left[i / 2];
      words[i] = static_cast<int>(std::clamp(x * full, -full, full - 1));
      halves[i] = static_cast<short>(format_ == 1 ? words[i] : 0);
    }
    if (format_ == 1)
      sonx_hp_effect_process(effect_, halves, sizeof halves);
    else
      sonx_hp_effect_process(effect_, words, sizeof words);
    for (int i = 0; i < 2 * kFrames; ++i)
      (i % 2 ? period.right : period.left)[i / 2] =
          static_cast<float>((format_ == 1 ? halves[i] : words[i]) / full);
  }
  double rest_s() const override { return 10.0; }

 private:
  void give(audio_effect_control_acdb_t record) {
    record_ = record;
    sonx_hp_effect_set_parameters(effect_, &record_);
  }
  int format_;
  void* effect_;
  audio_effect_control_acdb_t record_ = {};
};

class karaoke : public subject {
 public:
  karaoke() : karaoke_(sonx_ktv_init()) {}
  ~karaoke() override { sonx_ktv_deinit(karaoke_); }
  std::unique_ptr<subject> fresh() const override {
    auto other = std::make_unique<karaoke>();
    other->give(setting_);
    return other;
  }
  // The last one is without the howling canceller, whose notches depend on the minutes before: a
  // recording that comes again and again looks like a howl that does, and takes a notch in the
  // voice's fundamental for a minute, up to 5 dB of its level.
  void set(dice& d, bool last) override {
    setting s;
    s.canceller = !last;
    for (int& gain : s.bands) gain = d.within(-15, 15);
    for (int& value : s.q13) value = d.below(8193);
    s.q13[0] = d.below(6000);
    s.dry = d.within(2048, 8192);
    s.feedback = d.below(6000);
    s.delay_ms = d.within(1, 350);
    s.stages = d.below(32);
    s.shift = d.below(4) == 0 ? d.below(21) : 0;
    give(s);
  }
  void process(stereo& period) override {
    short in[kFrames], left[kFrames], right[kFrames];
    for (int i = 0; i < kFrames; ++i)
      in[i] = static_cast<short>(std::clamp(period.left[i] * 32768.0f, -32768.0f, 32767.0f));
    sonx_ktv_process_16(karaoke_, in, left, right, kFrames);
    for (int i = 0; i < kFrames; ++i) {
      period.left[i] = left[i] / 32768.0f;
      period.right[i] = right[i] / 32768.0f;
    }
  }
  double rest_s() const override { return 12.0; }

 private:
  struct setting {
    int bands[10], q13[5], dry, feedback, delay_ms, stages, shift, canceller;
  };
  void give(const setting& s) {
    setting_ = s;
    sonx_ktv_eq_setparameter(karaoke_, setting_.bands);
    sonx_ktv_reverb_setroomsize(karaoke_, s.q13[0]);
    sonx_ktv_reverb_setdamp(karaoke_, s.q13[1]);
    sonx_ktv_reverb_setwet(karaoke_, s.q13[2]);
    sonx_ktv_reverb_setwidth(karaoke_, s.q13[3]);
    sonx_ktv_reverb_setdry(karaoke_, s.dry);
    sonx_ktv_iirecho_setdry(karaoke_, s.dry);
    sonx_ktv_iirecho_setwet(karaoke_, s.q13[4]);
    sonx_ktv_iirecho_setfeedback(karaoke_, s.feedback);
    sonx_ktv_iirecho_setdelay(karaoke_, s.delay_ms);
    sonx_ktv_reverb_enable(karaoke_, s.stages & 1);
    sonx_ktv_iirecho_enable(karaoke_, s.stages & 2);
    sonx_ktv_eq_enable(karaoke_, s.stages & 4);
    sonx_ktv_gramophone_enable(karaoke_, s.stages & 8);
    sonx_ktv_compressor_enable(karaoke_, s.stages & 16);
    sonx_ktv_howling_canceling_set_shift(karaoke_, s.shift);
    sonx_ktv_hw_howling_canceling_enable(karaoke_, s.canceller);
  }
  void* karaoke_;
  setting setting_ = {};
};

// Three to five effects of the catalogue in a row; another row now and then.
class row : public subject {
 public:
  explicit row(const std::string& preset = "sonx = 1\n") : rack_(sonx_rack_create(48000, kFrames)) {
    load(preset);
  }
  ~row() override { sonx_rack_destroy(rack_); }
  std::unique_ptr<subject> fresh() const override { return std::make_unique<row>(settings()); }
  std::string settings() const override {
    std::string text(1 << 16, '\0');
    text.resize(static_cast<size_t>(sonx_rack_save(rack_, text.data(), text.size())));
    return text;
  }
  void set(dice& d, bool) override {
    if (sonx_rack_slot_count(rack_) == 0 || d.below(40) == 0) {
      std::string preset = "sonx = 1\n";
      for (int count = d.within(3, 5); count > 0;) {
        const sonx_effect* const effect = sonx_effect_at(d.below(sonx_effect_count()));
        if (std::count(effect->rates, effect->rates + effect->rate_count, 48000) == 0) continue;
        preset += std::string("[[effect]]\nid = \"") + effect->id + "\"\n";
        --count;
      }
      load(preset);
    }
    for (int slot = 0; slot < sonx_rack_slot_count(rack_); ++slot) {
      const sonx_effect* const effect = sonx_rack_slot(rack_, slot);
      for (int p = 0; p < effect->parameter_count; ++p) {
        const sonx_parameter& parameter = effect->parameters[p];
        if (d.below(3) == 0)
          sonx_rack_set(rack_, slot, p,
                        parameter.minimum + d.share() * (parameter.maximum - parameter.minimum));
      }
      sonx_rack_enable(rack_, slot, d.below(8) != 0);
    }
  }
  void process(stereo& period) override {
    float* const at[] = {period.left, period.right};
    sonx_rack_process_f32(rack_, at, at, 2, kFrames);
  }
  bool may_be_silent() const override { return true; }
  bool remembers() const override {
    return has("smart-volume") || has("howling-canceller") || has("karaoke");
  }
  double rest_s() const override {
    const int tail = sonx_rack_tail(rack_);
    return tail < 0 ? -1.0 : tail / 48000.0;
  }

 private:
  bool has(const char* id) const {
    for (int slot = 0; slot < sonx_rack_slot_count(rack_); ++slot)
      if (sonx_rack_slot(rack_, slot) == sonx_effect_find(id)) return true;
    return false;
  }
  void load(const std::string& preset) {
    char error[200];
    if (sonx_rack_load(rack_, preset.c_str(), error, sizeof error) == 0) return;
    std::fprintf(stderr, "%s\n%s\n", error, preset.c_str());
    std::exit(2);
  }
  sonx_rack* rack_;
};
