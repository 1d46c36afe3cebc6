#include "plain/modules.h"

#include <algorithm>
#include <iterator>

#include "effects/block_forms.h"
#include "hp/sonx_hp_effect.h"
#include "plain/chains.h"
#include "plain/speech.h"

namespace {

// ---- The shapes that modules come in: buffers around a record.

// 24-bit stereo.
template <typename Record, auto init, auto end, auto block_form, auto plain_form>
class stereo final : public subject {
 public:
  stereo() { init(&record_); }
  ~stereo() override { end(&record_); }

  void load(const std::vector<int>& left, const std::vector<int>& right) override {
    left_ = left;
    right_ = right;
  }
  void run(form which, int start, int n) override {
    const auto process = which == form::block ? block_form : plain_form;
    process(&record_, &left_[size_t(start)], &right_[size_t(start)], out_left_, out_right_, n);
  }
  void hear(std::vector<int>& out, int n) const override {
    out.insert(out.end(), out_left_, out_left_ + n);
    out.insert(out.end(), out_right_, out_right_ + n);
  }

 private:
  Record record_;
  std::vector<int> left_, right_;
  int out_left_[kLongestRun], out_right_[kLongestRun];
};

// 24-bit mono.
template <typename Record, auto init, auto end, auto block_form, auto plain_form>
class mono final : public subject {
 public:
  mono() { init(&record_); }
  ~mono() override { end(&record_); }

  void load(const std::vector<int>& left, const std::vector<int>&) override { in_ = left; }
  void run(form which, int start, int n) override {
    (which == form::block ? block_form : plain_form)(&record_, &in_[size_t(start)], out_, n);
  }
  void hear(std::vector<int>& out, int n) const override { out.insert(out.end(), out_, out_ + n); }

 private:
  Record record_;
  std::vector<int> in_;
  int out_[kLongestRun];
};

std::vector<short> to_pcm(const std::vector<int>& x) {
  std::vector<short> words(x.size());
  std::transform(x.begin(), x.end(), words.begin(), [](int v) { return saturate16(v >> 8); });
  return words;
}

// 16-bit mono, frames_out samples for a full input.
template <typename Record, auto init, auto end, int frames_out, auto block_form, auto plain_form>
class pcm final : public subject {
 public:
  pcm() { init(&record_); }
  ~pcm() override { end(&record_); }

  void load(const std::vector<int>& left, const std::vector<int>&) override { in_ = to_pcm(left); }
  void run(form which, int start, int n) override {
    (which == form::block ? block_form : plain_form)(&record_, &in_[size_t(start)], out_, n);
  }
  void hear(std::vector<int>& out, int) const override {
    out.insert(out.end(), out_, out_ + frames_out);
  }

 private:
  Record record_;
  std::vector<short> in_;
  short out_[2 * kLongestRun];
};

template <typename Subject>
std::unique_ptr<subject> make_subject() {
  return std::make_unique<Subject>();
}

// ---- Settings: each module at work, as a listener would have it.

void curved(equalizer_t* e) {
  int curve[10] = {6, 4, 2, 0, -2, -3, 0, 3, 5, 7};
  equalizer_init(e);
  equalizer_set_param_index(e, curve, SAMPLE_RATE_48000);
}

template <int bands>
void bells(parameter_equalizer_t* e) {
  constexpr int kBell[6] = {1, 268985936, -527539437, 258862062, 527539437, -259412543};
  int rows[10][6] = {};
  for (int k = 0; k < bands; ++k) std::copy_n(kBell, 6, rows[k]);
  parameter_equalizer_init(e);
  parameter_equalizer_setparameter_left(e, rows);
  parameter_equalizer_setparameter_right(e, rows);
}

void hall(reverb_t* r) {
  reverb_init(r);
  reverb_setroomsize(r, 6000);
  reverb_setdry(r, 3000);
  reverb_update(r);
}

template <typename Record, auto init, auto set_rate>
void at_48_khz(Record* record) {
  init(record);
  set_rate(record, SAMPLE_RATE_48000);
}

void limiting(compressor_t* c) {
  compressor_init(c, 11585, 2);
  compressor_set_sample_rate(c, SAMPLE_RATE_48000);
}

void controlling(dynamic_range_control_t* drc) {
  dynamic_range_control_init(drc, 2, kPeriod);
  dynamic_range_control_set_threshold(drc, 16384);
}

void of_a_fifth_of_a_second(iirecho* e) {
  iirecho_init(e);
  iirecho_setdelay(e, 200);
}

void every_stage(teka_audio_tx_ktv_t* c) {
  int curve[10] = {6, 4, 2, 0, -2, -3, 0, 3, 5, 7};
  teka_audio_tx_ktv_init(c);
  teka_audio_tx_ktv_eq_set_param_index(c, curve);
  teka_audio_tx_ktv_iirecho_setdelay(c, 200);
  teka_audio_tx_ktv_howling_canceling_setstatus(c, 1);
  teka_audio_tx_ktv_gramophone_setstatus(c, 1);
  teka_audio_tx_ktv_eq_setstatus(c, 1);
  teka_audio_tx_ktv_reverb_setstatus(c, 1);
  teka_audio_tx_ktv_iirecho_setstatus(c, 1);
  teka_audio_tx_ktv_compressor_setstatus(c, 1);
}

// ---- Modules whose calls have a shape of their own.

struct band_post {
  BPInfo_tag* bp;
};

void band_post_init(band_post* b) { b->bp = BP_ns_init(16000, 129); }
void band_post_end(band_post* b) { BP_ns_delete(b->bp); }
void band_post_block(band_post* b, short* in, short* out, int n) {
  BP_ns_pre(b->bp, in, n, nullptr);
  std::copy_n(in, n, out);
  BP_ns_post(b->bp, out, n, out);
}
void band_post_plain(band_post* b, short* in, short* out, int n) {
  plain::band_peaks(b->bp, in, n);
  std::copy_n(in, n, out);
  plain::band_limiter(b->bp, out, n, out);
}

void convert(Resampler_t* r, short* in, short* out, int n) {
  int made = 0;
  Resampler_proc(r, in, n, out, 2 * kLongestRun, &made);
}
template <int from, int to>
void converter(Resampler_t* r) {
  Resampler_config(r, from, to);
}
template <auto plain_form>
void convert_plainly(Resampler_t* r, short* in, short* out, int) {
  plain_form(r, in, out);
}

void reverb_block(reverb_t* r, int* in_left, int* in_right, int* out_left, int* out_right, int n) {
  reverb_process_stereo_24(r, in_left, in_right, out_left, out_right, static_cast<unsigned>(n));
}

// A call per sample is all that the interface has; inside the virtual bass and the speaker boost
// the device runs over blocks.
void nonlinear_block(NLD* nld, int* in, int* out, int n) { nld_block(nld, in, out, n); }

// The handle, 16-bit interleaved, with the fade that every stream starts with behind it.
template <int effect, int adapter>
class headphones final : public subject {
 public:
  headphones()
      : handle_(static_cast<sonx_hp_handle_t*>(sonx_hp_effect_init(48000, SONX_FORMAT_16_BIT))) {
    audio_effect_control_acdb_t record = {effect, adapter, {}};
    constexpr int kRoom[] = {6000, 3000, 3000, 3000, 8192, 200};
    constexpr int kCurve[] = {6, 4, 2, 0, -2, -2, 0, 2, 4, 6};
    if (effect == SONX_EFFECT_REVERB) std::copy(std::begin(kRoom), std::end(kRoom), record.data);
    if (effect == SONX_EFFECT_GRAPHIC_EQUALIZER)
      std::copy(std::begin(kCurve), std::end(kCurve), record.data);
    sonx_hp_effect_set_parameters(handle_, &record);
    const std::vector<int> silence(kPeriod);
    load(silence, silence);
    for (int period = 0; period < 20; ++period) run(form::block, 0, kPeriod);
  }
  ~headphones() override { sonx_hp_effect_deinit(handle_); }

  void load(const std::vector<int>& left, const std::vector<int>& right) override {
    const std::vector<short> l = to_pcm(left), r = to_pcm(right);
    in_.clear();
    for (size_t i = 0; i < l.size(); ++i) in_.insert(in_.end(), {l[i], r[i]});
  }
  void run(form which, int start, int n) override {
    std::copy_n(&in_[2 * size_t(start)], 2 * n, buffer_);
    if (which == form::block)
      sonx_hp_effect_process(handle_, buffer_, 4UL * static_cast<unsigned long>(n));
    else
      plain::headphone_chain(handle_, buffer_, n);
  }
  void hear(std::vector<int>& out, int n) const override {
    out.insert(out.end(), buffer_, buffer_ + 2 * n);
  }

 private:
  sonx_hp_handle_t* handle_;
  std::vector<short> in_;
  short buffer_[2 * kLongestRun];
};

class karaoke final : public subject {
 public:
  karaoke() { every_stage(&chain_); }
  ~karaoke() override { teka_audio_tx_ktv_end(&chain_); }

  void load(const std::vector<int>& left, const std::vector<int>&) override { in_ = to_pcm(left); }
  void run(form which, int start, int n) override {
    if (which == form::block)
      teka_audio_tx_ktv_process_16(&chain_, &in_[size_t(start)], out_left_, out_right_, n);
    else
      plain::karaoke_chain(&chain_, &in_[size_t(start)], out_left_, out_right_, n);
  }
  void hear(std::vector<int>& out, int n) const override {
    out.insert(out.end(), out_left_, out_left_ + n);
    out.insert(out.end(), out_right_, out_right_ + n);
  }

 private:
  teka_audio_tx_ktv_t chain_;
  std::vector<short> in_;
  short out_left_[kLongestRun], out_right_[kLongestRun];
};

template <typename Subject>
constexpr module effect(const char* name) {
  return {name, 48000.0, kPeriod, false, make_subject<Subject>};
}
template <typename Subject>
constexpr module of_whole_frames(const char* name, double rate, int frames) {
  return {name, rate, frames, true, make_subject<Subject>};
}

}  // namespace

const std::vector<module>& all_modules() {
  static const std::vector<module> modules = {
      effect<
          stereo<equalizer_t, curved, equalizer_end, equalizer_process_stereo, plain::equalizer>>(
          "graphic equalizer"),
      effect<stereo<parameter_equalizer_t, bells<6>, parameter_equalizer_end,
                    parameter_equalizer_process_stereo, plain::parameter_equalizer>>(
          "parametric equalizer, 6 bands"),
      effect<stereo<parameter_equalizer_t, bells<10>, parameter_equalizer_end,
                    parameter_equalizer_process_stereo, plain::parameter_equalizer>>(
          "parametric equalizer, 10 bands"),
      effect<stereo<reverb_t, hall, reverb_end, reverb_block, plain::reverb>>("reverb"),
      effect<stereo<stereo_widening_system,
                    at_48_khz<stereo_widening_system, stereo_widening_system_init,
                              stereo_widening_system_set_sample_rate>,
                    stereo_widening_system_end, stereo_widening_system_process,
                    plain::stereo_widening>>("stereo widening"),
      effect<stereo<virtual_bass_system,
                    at_48_khz<virtual_bass_system, virtual_bass_system_init,
                              virtual_bass_system_set_sample_rate>,
                    virtual_bass_system_end, virtual_bass_system_process, plain::virtual_bass>>(
          "virtual bass"),
      effect<stereo<smart_volume_control_t,
                    at_48_khz<smart_volume_control_t, smart_volume_control_init,
                              smart_volume_control_set_sample_rate>,
                    smart_volume_control_end, smart_volume_control_process, plain::smart_volume>>(
          "smart volume"),
      effect<stereo<speaker_boost_system_t,
                    at_48_khz<speaker_boost_system_t, speaker_boost_system_init,
                              speaker_boost_system_set_sample_rate>,
                    speaker_boost_system_end, speaker_boost_system_process_stereo,
                    plain::speaker_boost>>("speaker boost"),
      effect<stereo<compressor_t, limiting, compressor_end, compressor_process, plain::compressor>>(
          "compressor"),
      effect<mono<dynamic_range_control_t, controlling, dynamic_range_control_end,
                  dynamic_range_control_process, plain::dynamic_range_control>>(
          "dynamic range control, mono"),
      effect<mono<NLD, NLD_init, NLD_end, nonlinear_block, plain::nonlinear_device>>(
          "nonlinear device, mono"),
      effect<mono<compressor_bass, compressor_bass_init, compressor_bass_end,
                  compressor_bass_process, plain::bass_compressor>>("bass compressor, mono"),
      effect<
          mono<gramophone, gramophone_init, gramophone_end, gramophone_process, plain::gramophone>>(
          "gramophone, mono"),
      effect<mono<howlingCancel, howling_canceling_init, howling_canceling_end,
                  howling_canceling_process, plain::howling>>("howling canceller, mono"),
      effect<
          stereo<iirecho, of_a_fifth_of_a_second, iirecho_end, iirecho_processStereo, plain::echo>>(
          "echo"),
      of_whole_frames<
          pcm<band_post, band_post_init, band_post_end, 160, band_post_block, band_post_plain>>(
          "band post-processing, mono", 16000.0, 160),
      of_whole_frames<pcm<Resampler_t, converter<48000, 32000>, Resampler_delete, 160, convert,
                          convert_plainly<plain::from_48_to_32>>>("converter, 48 to 32 kHz, mono",
                                                                  48000.0, 240),
      of_whole_frames<pcm<Resampler_t, converter<32000, 48000>, Resampler_delete, 240, convert,
                          convert_plainly<plain::from_32_to_48>>>("converter, 32 to 48 kHz, mono",
                                                                  32000.0, 160),
      effect<headphones<SONX_EFFECT_NONE, 0>>("headphones, no effect"),
      effect<headphones<SONX_EFFECT_STEREO_WIDENING, 0>>("headphones, stereo widening"),
      effect<headphones<SONX_EFFECT_VIRTUAL_BASS, 0>>("headphones, virtual bass"),
      effect<headphones<SONX_EFFECT_PARAMETRIC_EQUALIZER, 0>>("headphones, parametric equalizer"),
      effect<headphones<SONX_EFFECT_REVERB, 0>>("headphones, reverb"),
      effect<headphones<SONX_EFFECT_GRAPHIC_EQUALIZER, 0>>("headphones, graphic equalizer"),
      effect<headphones<SONX_EFFECT_REVERB, 1>>("headphones, reverb and adapter"),
      effect<karaoke>("karaoke, all stages"),
  };
  return modules;
}
