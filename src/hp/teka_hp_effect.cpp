#include "hp/teka_hp_effect.h"

#include <algorithm>
#include <cstring>

#include "dsp/block.h"
#include "dsp/sample_formats.h"
#include "fixed.h"
#include "hp/memory.h"
#include "hp/teka_hp_effect_untyped.h"
#include "hp/tuning_tables.h"
#include "log.h"

namespace {

constexpr char kLogTag[] = "sonx_hp_proc";

constexpr int kOn = 1;
constexpr int kHistoryBlocks = 2;  // the compressor's look-ahead
constexpr int kNoAdapters = 0, kAdapters = 7;

// The switch counter's values, see teka_hp_effect.h.
constexpr int kCounterIdle = -1;
constexpr int kCounterFadeIn = 2;
constexpr int kCounterSwitch = 4;
constexpr int kCounterFadeOut = 6;

// The compressor's volume by effect, Q13: leaves headroom for what the effect amplifies.
constexpr int kVolumeWideningQ13 = 5168;          // -4.0 dB
constexpr int kVolumeVirtualBassQ13 = 4608;       // -5.0 dB
constexpr int kVolumeParametricPresetQ13 = 6368;  // -2.2 dB
constexpr int kVolumeReverbQ13 = 6528;            // -2.0 dB

}  // namespace

void teka_hp_effect_init(teka_hp_effect_t* chain) {
  chain->status = 0;
  chain->debug_enable = 0;
  chain->active_status = 0;
  chain->switch_counter = kCounterIdle;
  chain->volume = kOneQ13;
  chain->sample_rate_type = SAMPLE_RATE_48000;
  bool whole = take(chain->params);
  whole &= make(chain->eq, equalizer_init);
  whole &= make(chain->p_eq, parameter_equalizer_init);
  whole &= make(chain->reverb, reverb_init);
  whole &= make(chain->sws, stereo_widening_system_init);
  whole &= make(chain->vbs, virtual_bass_system_init);
  whole &= make(chain->svc, smart_volume_control_init);
  whole &= make(chain->cb, channel_balance_init);
  whole &= make(chain->comp, compressor_init, kOneQ13, kHistoryBlocks);
  whole &= make(chain->sv, smooth_volume_init);
  whole &= take(chain->work_left, kBlockFrames);
  whole &= take(chain->work_right, kBlockFrames);
  if (!whole) teka_hp_effect_end(chain);
}

void teka_hp_effect_reset(teka_hp_effect_t* chain) {
  on(chain->eq, equalizer_reset);
  on(chain->p_eq, parameter_equalizer_reset);
  on(chain->reverb, reverb_reset);
  on(chain->sws, stereo_widening_system_reset);
  on(chain->vbs, virtual_bass_system_reset);
  on(chain->svc, smart_volume_control_reset);
  on(chain->comp, compressor_reset);
}

void teka_hp_effect_end(teka_hp_effect_t* chain) {
  chain->debug_enable = 0;
  chain->active_status = 0;
  release(chain->work_left);
  release(chain->work_right);
  release(chain->params);
  end_and_release(chain->eq, equalizer_end);
  end_and_release(chain->p_eq, parameter_equalizer_end);
  end_and_release(chain->reverb, reverb_end);
  end_and_release(chain->sws, stereo_widening_system_end);
  end_and_release(chain->vbs, virtual_bass_system_end);
  end_and_release(chain->svc, smart_volume_control_end);
  end_and_release(chain->cb, channel_balance_end);
  end_and_release(chain->comp, compressor_end);
  end_and_release(chain->sv, smooth_volume_end);
}

void teka_hp_effect_set_sample_rate(teka_hp_effect_t* chain, unsigned int rate) {
  const SampleRateType type = sample_rate_type(rate);
  chain->sample_rate_type = type;
  on(chain->sws, stereo_widening_system_set_sample_rate, type);
  on(chain->vbs, virtual_bass_system_set_sample_rate, type);
  on(chain->svc, smart_volume_control_set_sample_rate, type);
  on(chain->comp, compressor_set_sample_rate, type);
}

// ---- The fade: from any state to the switch point.

void teka_hp_effect_update_smooth_status(teka_hp_effect_t* chain) {
  if (!has_memory(chain)) return;
  int& counter = chain->switch_counter;
  if (counter < kCounterFadeIn) {
    counter = kCounterFadeOut;
    smooth_volume_set_volume(chain->sv, 0);
    // When already silent, as at the start of a stream, the fade-out starts at 1.0.
    if (chain->sv->soft_volume == chain->sv->volume)
      smooth_volume_set_soft_volume(chain->sv, kOneQ13);
  } else if (counter <= kCounterSwitch) {
    counter = kCounterSwitch;
  }
}

void teka_hp_effect_setstatus(teka_hp_effect_t* chain, int status) {
  chain->status = status;
  if (chain->debug_enable != 0)
    teka_hp_effect_reset(chain);
  else
    teka_hp_effect_update_smooth_status(chain);
}
void teka_hp_effect_getstatus(teka_hp_effect_t* chain, int* status) { *status = chain->status; }

void teka_hp_effect_debug_enable_setstatus(teka_hp_effect_t* chain, int status) {
  chain->debug_enable = status;
}
void teka_hp_effect_debug_enable_getstatus(teka_hp_effect_t* chain, int* status) {
  *status = chain->debug_enable;
}

void teka_hp_effect_setparameter(teka_hp_effect_t* chain, audio_effect_control_acdb_t* record) {
  if (!has_memory(chain)) return;
  const bool changed = std::memcmp(record, chain->params, sizeof *record) != 0;
  if (changed && chain->status == kOn) teka_hp_effect_update_smooth_status(chain);
  *chain->params = *record;
}
void teka_hp_effect_getparameter(teka_hp_effect_t* chain, audio_effect_control_acdb_t* record) {
  if (has_memory(chain)) *record = *chain->params;
}

// ---- From the record to the modules. Each enable_* returns the compressor's volume, Q13.

namespace {

void switch_off_all(teka_hp_effect_t* chain) {
  channel_balance_setstatus(chain->cb, 0);
  equalizer_setstatus(chain->eq, 0);
  parameter_equalizer_setstatus(chain->p_eq, 0);
  reverb_setstatus(chain->reverb, 0);
  stereo_widening_system_setstatus(chain->sws, 0);
  virtual_bass_system_setstatus(chain->vbs, 0);
  smart_volume_control_setstatus(chain->svc, 0);
  compressor_reset(chain->comp);
}

int enable_stereo_widening(stereo_widening_system* sws) {
  stereo_widening_system_reset(sws);
  stereo_widening_system_setstatus(sws, kOn);
  stereo_widening_system_dc_set_side_gain(sws, 4096);
  stereo_widening_system_cfn_set_gain(sws, 4096);
  stereo_widening_system_er_set_dry_gain(sws, 6656);
  stereo_widening_system_er_set_wet_gain(sws, 1536);
  stereo_widening_system_er_set_roomsize(sws, 7168);
  stereo_widening_system_er_set_damp(sws, 4096);
  return kVolumeWideningQ13;
}

int enable_virtual_bass(virtual_bass_system* vbs, int rate) {
  virtual_bass_system_reset(vbs);
  virtual_bass_system_setstatus(vbs, kOn);
  virtual_bass_system_set_nld_clip_level(vbs, 8192);
  virtual_bass_system_set_nld_gain(vbs, 4096);
  virtual_bass_system_set_origin_gain(vbs, 6144);
  virtual_bass_system_set_high_band_gain(vbs, kOneQ13);
  virtual_bass_system_set_nld_band_param(vbs, &tuning::kVirtualBassRow[rate][5]);
  return kVolumeVirtualBassQ13;
}

void load_parametric_equalizer(parameter_equalizer_t* p_eq, int gain_left, int gain_right,
                               const int (*left)[6], const int (*right)[6]) {
  parameter_equalizer_reset(p_eq);
  parameter_equalizer_setstatus(p_eq, kOn);
  parameter_equalizer_set_gain_left(p_eq, gain_left);
  parameter_equalizer_set_gain_right(p_eq, gain_right);
  parameter_equalizer_setparameter_left(p_eq, left);
  parameter_equalizer_setparameter_right(p_eq, right);
}

int enable_parametric_preset(parameter_equalizer_t* p_eq, int rate) {
  const auto& preset = tuning::kParametricPreset[rate == SAMPLE_RATE_44100 ? 0 : 1];
  load_parametric_equalizer(p_eq, kOneQ13, kOneQ13, preset, preset);
  return kVolumeParametricPresetQ13;
}

// words: room size, damp, wet, dry, width, gain.
int enable_reverb(reverb_t* reverb, const int* words) {
  reverb_reset(reverb);
  reverb_setstatus(reverb, kOn);
  reverb_setroomsize(reverb, words[0]);
  reverb_setdamp(reverb, words[1]);
  reverb_setwet(reverb, words[2]);
  reverb_setdry(reverb, words[3]);
  reverb_setwidth(reverb, words[4]);
  reverb_setgain(reverb, words[5]);
  reverb_update(reverb);
  return kVolumeReverbQ13;
}

int enable_graphic_equalizer(equalizer_t* eq, int* indices, int rate) {
  equalizer_reset(eq);
  equalizer_setstatus(eq, kOn);
  equalizer_set_param_index(eq, indices, static_cast<SampleRateType>(rate));
  return kOneQ13;  // the equalizer levels itself
}

void enable_adapter_correction(parameter_equalizer_t* p_eq, int rate, int adapter) {
  const auto& entry = tuning::kAdapterCorrection[rate][adapter - 1];
  int left[10][6], right[10][6];
  std::memcpy(left, &entry[3], sizeof left);
  std::memcpy(right, &entry[63], sizeof right);
  load_parametric_equalizer(p_eq, entry[1], entry[2], left, right);
}

}  // namespace

void teka_hp_effect_update_parameter(teka_hp_effect_t* chain) {
  if (!has_memory(chain)) return;
  audio_effect_control_acdb_t& record = *chain->params;
  const int effect = record.effect_type, adapter = record.hpadapter_type;
  const int rate = chain->sample_rate_type;
  switch_off_all(chain);

  int gain_q13 = kOneQ13;
  bool known = true;
  switch (effect) {
    case SONX_EFFECT_STEREO_WIDENING:
      gain_q13 = enable_stereo_widening(chain->sws);
      break;
    case SONX_EFFECT_VIRTUAL_BASS:
      gain_q13 = enable_virtual_bass(chain->vbs, rate);
      break;
    case SONX_EFFECT_PARAMETRIC_EQUALIZER:
      gain_q13 = enable_parametric_preset(chain->p_eq, rate);
      break;
    case SONX_EFFECT_REVERB:
      gain_q13 = enable_reverb(chain->reverb, record.data);
      break;
    case SONX_EFFECT_GRAPHIC_EQUALIZER:
      gain_q13 = enable_graphic_equalizer(chain->eq, record.data, rate);
      break;
    default:
      known = false;
  }
  if (known) compressor_set_volume(chain->comp, gain_q13);

  // The parametric equalizer holds the preset or the correction, and only one equalizer runs.
  const bool equalizes =
      effect == SONX_EFFECT_PARAMETRIC_EQUALIZER || effect == SONX_EFFECT_GRAPHIC_EQUALIZER;
  if (!equalizes && adapter > kNoAdapters && adapter <= kAdapters) {
    enable_adapter_correction(chain->p_eq, rate, adapter);
    compressor_set_volume(chain->comp, gain_q13);
  }
  __android_log_print(kLogDebug, kLogTag, "effect_type %d, hpadapter_type %d, gain 0x%x", effect,
                      adapter, static_cast<unsigned int>(gain_q13));
}

// ---- Processing.

namespace {

// At 4 the new settings are applied, at 2 the fade-in starts.
void pass_switch_point(teka_hp_effect_t* chain) {
  if (chain->switch_counter == kCounterSwitch) {
    chain->active_status = chain->status;
    if (chain->active_status == kOn)
      teka_hp_effect_update_parameter(chain);
    else
      chain->switch_counter = kCounterFadeIn;
  }
  if (chain->switch_counter == kCounterFadeIn) smooth_volume_set_volume(chain->sv, chain->volume);
}

void process_modules(teka_hp_effect_t* chain, int* left, int* right, int n) {
  if (chain->active_status == kOn) {
    if (chain->cb->status) channel_balance_process_stereo(chain->cb, left, right, left, right, n);
    if (chain->vbs->status) virtual_bass_system_process(chain->vbs, left, right, left, right, n);
    if (chain->p_eq->status)
      parameter_equalizer_process_stereo(chain->p_eq, left, right, left, right, n);
    else if (chain->eq->status)
      equalizer_process_stereo(chain->eq, left, right, left, right, n);
    if (chain->sws->status)
      stereo_widening_system_process(chain->sws, left, right, left, right, n);
    else if (chain->reverb->status)
      reverb_process_stereo_24(chain->reverb, left, right, left, right,
                               static_cast<unsigned int>(std::max(n, 0)));
    if (chain->svc->status) smart_volume_control_process(chain->svc, left, right, left, right, n);
    compressor_process(chain->comp, left, right, left, right, n);
  }
  smooth_volume_process(chain->sv, left, right, left, right, n);
}

// Any planar format through the work buffers. read(word) gives a 24-bit sample, write(sample) the
// output's word; it may change the sample in the work buffer.
template <typename Word, typename Read, typename Write>
void process_planar(teka_hp_effect_t* chain, const Word* in_left, const Word* in_right,
                    Word* out_left, Word* out_right, int n, Read read, Write write) {
  if (!has_memory(chain)) return pass(in_left, in_right, out_left, out_right, n);
  pass_switch_point(chain);
  int* left = chain->work_left;
  for_each_block_or_empty(n, [&](int start, int count) {
    int* right = chain->work_right;
    for (int i = 0; i < count; ++i) {
      left[i] = read(in_left[start + i]);
      right[i] = read(in_right[start + i]);
    }
    process_modules(chain, left, right, count);
    if (chain->cb->channel_num != 2) right = left;
    for (int i = 0; i < count; ++i) {
      const Word l = write(left[i]), r = write(right[i]);
      out_left[start + i] = l;
      out_right[start + i] = r;
    }
  });
}

}  // namespace

void teka_hp_effect_core_process(teka_hp_effect_t* chain, int* left, int* right, int frames) {
  if (!has_memory(chain)) return;
  pass_switch_point(chain);
  for_each_block_or_empty(frames, [=](int start, int count) {
    process_modules(chain, left + start, right + start, count);
  });
}

void teka_hp_effect_process_16(teka_hp_effect_t* chain, short* in_left, short* in_right,
                               short* out_left, short* out_right, int n) {
  process_planar(chain, in_left, in_right, out_left, out_right, n, from_16_bit,
                 [](int& sample) { return to_16_bit(sample); });
}

void teka_hp_effect_process_24(teka_hp_effect_t* chain, int* in_left, int* in_right, int* out_left,
                               int* out_right, int n) {
  process_planar(chain, in_left, in_right, out_left, out_right, n, from_28_bit, to_28_bit);
}

void teka_hp_effect_process_16(teka_hp_effect_t* chain, void* in_left, void* in_right,
                               void* out_left, void* out_right, int n) {
  teka_hp_effect_process_16(chain, static_cast<short*>(in_left), static_cast<short*>(in_right),
                            static_cast<short*>(out_left), static_cast<short*>(out_right), n);
}

void teka_hp_effect_process_24(teka_hp_effect_t* chain, void* in_left, void* in_right,
                               void* out_left, void* out_right, int n) {
  teka_hp_effect_process_24(chain, static_cast<int*>(in_left), static_cast<int*>(in_right),
                            static_cast<int*>(out_left), static_cast<int*>(out_right), n);
}

void teka_hp_effect_process_v2(teka_hp_effect_t* chain, int bits, void* in_left, void* in_right,
                               void* out_left, void* out_right, int n) {
  if (bits == 16)
    teka_hp_effect_process_16(chain, in_left, in_right, out_left, out_right, n);
  else
    teka_hp_effect_process_24(chain, in_left, in_right, out_left, out_right, n);
}
