#include "module_state.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "dsp/fft_frame.h"
#include "ktv/frequency_shifter.h"

namespace {

void copy_state(const IIR& from, IIR& to) { std::copy_n(from.state, 5, to.state); }

template <size_t count>
void copy_states(IIR* const (&from)[count], IIR* const (&to)[count]) {
  for (size_t i = 0; i < count; ++i) copy_state(*from[i], *to[i]);
}

void copy_state(const comber& from, comber& to) {
  to.filter_store = from.filter_store;
  to.index = from.index;
  std::copy_n(from.buffer, from.length, to.buffer);
}

void copy_state(const allpass& from, allpass& to) {
  to.index = from.index;
  std::copy_n(from.buffer, from.length, to.buffer);
}

void copy_state(const iircomber& from, iircomber& to) {
  to.index = from.index;
  to.x1 = from.x1;
  to.y1 = from.y1;
  std::copy_n(from.buffer, std::max(from.delay, 1), to.buffer);
}

void copy_state(const audio_delay& from, audio_delay& to) {
  to.index = from.index;
  std::copy_n(from.buffer, std::max(from.capacity, 1), to.buffer);
}

void copy_state(const elliptic& from, elliptic& to) { std::copy_n(from.state, 13, to.state); }

void copy_state(const notch& from, notch& to) {
  to.radius = from.radius;
  to.freq = from.freq;
  std::copy_n(from.state, 5, to.state);
}

void copy_state(const spectral_band_split& from, spectral_band_split& to) {
  copy_states(from.low, to.low);
  copy_states(from.high, to.high);
}

void copy_state(const NLD& from, NLD& to) { to.clip_envelope = from.clip_envelope; }

void copy_state(const difference_circuit& from, difference_circuit& to) {
  copy_states(from.section, to.section);
}

void copy_state(const crossfeed_network& from, crossfeed_network& to) {
  copy_state(*from.allpass_left, *to.allpass_left);
  copy_state(*from.allpass_right, *to.allpass_right);
  copy_state(*from.lowpass_left, *to.lowpass_left);
  copy_state(*from.lowpass_right, *to.lowpass_right);
  copy_state(*from.highpass_left, *to.highpass_left);
  copy_state(*from.highpass_right, *to.highpass_right);
  copy_state(*from.delay_left, *to.delay_left);
  copy_state(*from.delay_right, *to.delay_right);
}

// Combs, all-passes and DC removers: the reverb and the early reflector have the same parts.
template <typename Room>
void copy_room(const Room& from, Room& to) {
  for (size_t i = 0; i < std::size(from.comb_left); ++i) {
    copy_state(*from.comb_left[i], *to.comb_left[i]);
    copy_state(*from.comb_right[i], *to.comb_right[i]);
  }
  for (size_t i = 0; i < std::size(from.allpass_left); ++i) {
    copy_state(*from.allpass_left[i], *to.allpass_left[i]);
    copy_state(*from.allpass_right[i], *to.allpass_right[i]);
  }
  *to.dc_left = *from.dc_left;
  *to.dc_right = *from.dc_right;
}

void copy_state(const early_reflector& from, early_reflector& to) {
  copy_room(from, to);
  copy_state(*from.highpass_left, *to.highpass_left);
  copy_state(*from.highpass_right, *to.highpass_right);
}

int scaled(int value, int numerator, int denominator) {
  const int64_t result = int64_t{value} * numerator / std::max(denominator, 1);
  return static_cast<int>(std::clamp<int64_t>(result, INT32_MIN, INT32_MAX));
}

}  // namespace

void copy_state(const equalizer_t& from, equalizer_t& to) {
  copy_states(from.left_section, to.left_section);
  copy_states(from.right_section, to.right_section);
}

void copy_state(const parameter_equalizer_t& from, parameter_equalizer_t& to) {
  std::copy_n(&from.state_left[0][0], 50, &to.state_left[0][0]);
  std::copy_n(&from.state_right[0][0], 50, &to.state_right[0][0]);
}

void copy_state(const reverb_t& from, reverb_t& to) { copy_room(from, to); }

void copy_state(const stereo_widening_system& from, stereo_widening_system& to) {
  copy_state(*from.difference, *to.difference);
  copy_state(*from.crossfeed, *to.crossfeed);
  copy_state(*from.reflector, *to.reflector);
}

void copy_state(const virtual_bass_system& from, virtual_bass_system& to) {
  copy_state(*from.nld, *to.nld);
  copy_state(*from.split_left, *to.split_left);
  copy_state(*from.split_right, *to.split_right);
  copy_state(*from.nld_band, *to.nld_band);
  copy_state(*from.align_left, *to.align_left);
  copy_state(*from.align_right, *to.align_right);
  copy_state(*from.align_bass, *to.align_bass);
  *to.bass_compressor = *from.bass_compressor;
}

void copy_state(const gramophone& from, gramophone& to) { copy_state(*from.filter, *to.filter); }

void copy_state(const howlingCancel& from, howlingCancel& to) {
  for (int i = 0; i < 5; ++i) copy_state(from.notches[i], to.notches[i]);
  copy_state(*from.low_pass, *to.low_pass);
  *to.dc = *from.dc;
  complex* const data = to.analyser->data;
  *to.analyser = *from.analyser;
  to.analyser->data = data;  // scratch
  *to.powers = *from.powers;
  std::copy_n(from.frame, 256, to.frame);
  std::copy_n(from.places, std::size(from.places), to.places);
  std::copy_n(from.suspects, std::size(from.suspects), to.suspects);
  std::copy_n(from.outsiders, std::size(from.outsiders), to.outsiders);
  to.usual_level = from.usual_level;
  to.alert = from.alert;
  to.doubt = from.doubt;
  *to.shifter = *from.shifter;
  to.shift_hold = from.shift_hold;
  to.shift_stay = from.shift_stay;
  to.pressure = from.pressure;
  to.gain = from.gain;
  to.gain_step = from.gain_step;
  to.ruler = from.ruler;
  to.ruler_frames = from.ruler_frames;
  to.trust = from.trust;
  to.sweep_frames = from.sweep_frames;
  to.sweep_low = from.sweep_low;
  to.sweep_high = from.sweep_high;
  to.voice_frames = from.voice_frames;
  std::copy_n(from.memories, std::size(from.memories), to.memories);
}

void copy_state(const NsxInst_t_& from, NsxInst_t_& to) {
  BPInfo_tag* const band_post = to.band_post;
  *band_post = *from.band_post;
  const int policy = to.policy;
  to = from;
  to.band_post = band_post;
  tekaNs_set_policy_core(&to, policy);
}

void copy_state(const iirecho& from, iirecho& to) {
  copy_state(*from.comb_left, *to.comb_left);
  copy_state(*from.comb_right, *to.comb_right);
}

void copy_state(const dynamic_range_control_t& from, dynamic_range_control_t& to) {
  const auto rescaled = [&](int value) { return scaled(value, to.volume, from.volume); };
  to.gain = rescaled(from.gain);
  to.peak_env = std::min(rescaled(from.peak_env), to.threshold);
  to.denoise_gain = from.denoise_gain;
  to.mean_env = from.mean_env;
  std::transform(from.history, from.history + from.history_len + 1, to.history, rescaled);
  std::transform(from.recent_targets, from.recent_targets + 3, to.recent_targets, rescaled);
  copy_state(*from.delay, *to.delay);
}

void copy_state(const compressor_t& from, compressor_t& to) {
  copy_state(*from.left, *to.left);
  copy_state(*from.right, *to.right);
}

void copy_state(const speaker_boost_system_t& from, speaker_boost_system_t& to) {
  for (int i = 0; i < 3; ++i) {
    copy_state(*from.split_left[i], *to.split_left[i]);
    copy_state(*from.split_right[i], *to.split_right[i]);
  }
  copy_state(*from.nld, *to.nld);
  copy_state(*from.nld_band, *to.nld_band);
  copy_state(*from.pre_left, *to.pre_left);
  copy_state(*from.pre_right, *to.pre_right);
  copy_state(*from.delay_left, *to.delay_left);
  copy_state(*from.delay_right, *to.delay_right);
  copy_state(*from.drc_low_left, *to.drc_low_left);
  copy_state(*from.drc_mid_left, *to.drc_mid_left);
  copy_state(*from.drc_high_left, *to.drc_high_left);
  copy_state(*from.drc_full_left, *to.drc_full_left);
  copy_state(*from.drc_low_right, *to.drc_low_right);
  copy_state(*from.drc_mid_right, *to.drc_mid_right);
  copy_state(*from.drc_high_right, *to.drc_high_right);
  copy_state(*from.drc_full_right, *to.drc_full_right);
}

void copy_state(const smart_volume_control_t& from, smart_volume_control_t& to) {
  to.gain = from.gain;
  to.peak_env = from.peak_env;
  to.energy_est = from.energy_est;
  copy_states(from.low_pass_left, to.low_pass_left);
  copy_states(from.low_pass_right, to.low_pass_right);
}
