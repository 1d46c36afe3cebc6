#include "ktv/sonx_ktv.h"

#include <cstdint>

#include "fixed.h"
#include "ktv/memory.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "log.h"

namespace {

constexpr char kLogTag[] = "_T_sonx_ktv_wrapper";

struct sonx_ktv_handle_t {
  uint32_t bit_width;  // always 16
  teka_audio_tx_ktv_t chain;
};

// Calls a setting of the handle's chain; a null handle is ignored.
template <typename Value>
void set(void* handle, void (*setting)(teka_audio_tx_ktv_t*, Value), Value value) {
  if (handle != nullptr) setting(&static_cast<sonx_ktv_handle_t*>(handle)->chain, value);
}

}  // namespace

void* sonx_ktv_init(void) {
  auto* karaoke = allocate<sonx_ktv_handle_t>();
  if (karaoke == nullptr) return nullptr;
  karaoke->bit_width = 16;
  teka_audio_tx_ktv_init(&karaoke->chain);
  if (!has_memory(&karaoke->chain)) release(karaoke);
  return karaoke;
}

void sonx_ktv_deinit(void* handle) {
  if (handle == nullptr) return;
  auto* karaoke = static_cast<sonx_ktv_handle_t*>(handle);
  teka_audio_tx_ktv_end(&karaoke->chain);
  release(karaoke);
}

void sonx_ktv_process_16(void* handle, short* in, short* out_left, short* out_right, int n) {
  if (handle == nullptr || in == nullptr || out_left == nullptr || out_right == nullptr) return;
  auto* karaoke = static_cast<sonx_ktv_handle_t*>(handle);
  teka_audio_tx_ktv_process(&karaoke->chain, static_cast<int>(karaoke->bit_width), in, out_left,
                            out_right, n);
}

void sonx_ktv_set_voice_gain(void* handle, int gain) {
  set(handle, teka_audio_tx_ktv_set_volume, gain);
}

void sonx_ktv_eq_setparameter(void* handle, int* indices) {
  if (indices != nullptr) set(handle, teka_audio_tx_ktv_eq_set_param_index, indices);
}

void sonx_ktv_reverb_setroomsize(void* handle, int roomsize) {
  set(handle, teka_audio_tx_ktv_reverb_setroomsize, roomsize);
}
void sonx_ktv_reverb_setdamp(void* handle, int damp) {
  set(handle, teka_audio_tx_ktv_reverb_setdamp, damp);
}
void sonx_ktv_reverb_setwet(void* handle, int wet) {
  set(handle, teka_audio_tx_ktv_reverb_setwet, wet);
}
void sonx_ktv_reverb_setdry(void* handle, int dry) {
  set(handle, teka_audio_tx_ktv_reverb_setdry, dry);
}
void sonx_ktv_reverb_setwidth(void* handle, int width) {
  set(handle, teka_audio_tx_ktv_reverb_setwidth, width);
}
void sonx_ktv_reverb_setgain(void* handle, int gain) {
  set(handle, teka_audio_tx_ktv_reverb_setgain, gain);
}

void sonx_ktv_iirecho_setfeedback(void* handle, int feedback) {
  set(handle, teka_audio_tx_ktv_iirecho_setfeedback, feedback);
}
void sonx_ktv_iirecho_setdelay(void* handle, int milliseconds) {
  set(handle, teka_audio_tx_ktv_iirecho_setdelay, milliseconds);
}
void sonx_ktv_iirecho_setwet(void* handle, int wet) {
  set(handle, teka_audio_tx_ktv_iirecho_setwet, wet);
}
void sonx_ktv_iirecho_setdry(void* handle, int dry) {
  set(handle, teka_audio_tx_ktv_iirecho_setdry, dry);
}

void sonx_ktv_reverb_enable(void* handle, int enable) {
  set(handle, teka_audio_tx_ktv_reverb_setstatus, enable);
}
void sonx_ktv_eq_enable(void* handle, int enable) {
  set(handle, teka_audio_tx_ktv_eq_setstatus, enable);
}
void sonx_ktv_gramophone_enable(void* handle, int enable) {
  set(handle, teka_audio_tx_ktv_gramophone_setstatus, enable);
}
void sonx_ktv_hw_howling_canceling_enable(void* handle, int enable) {
  set(handle, teka_audio_tx_ktv_howling_canceling_setstatus, enable);
}
void sonx_ktv_compressor_enable(void* handle, int enable) {
  set(handle, teka_audio_tx_ktv_compressor_setstatus, enable);
}
void sonx_ktv_iirecho_enable(void* handle, int enable) {
  set(handle, teka_audio_tx_ktv_iirecho_setstatus, enable);
}
void sonx_ktv_noise_canceling_enable(void* handle, int enable) {
  __android_log_print(kLogDebug, kLogTag, "%s: %d", "sonx_ktv_noise_canceling_enable", enable);
  set(handle, teka_audio_tx_ktv_noise_canceling_setstatus, enable);
}

void sonx_ktv_howling_canceling_set_shift(void* handle, int hertz) {
  set(handle, teka_audio_tx_ktv_howling_canceling_set_shift, hertz);
}
void sonx_ktv_howling_canceling_set_shift_mode(void* handle, int mode) {
  set(handle, teka_audio_tx_ktv_howling_canceling_set_shift_mode, mode);
}
void sonx_ktv_howling_canceling_set_last_resort(void* handle, int on) {
  set(handle, teka_audio_tx_ktv_howling_canceling_set_last_resort, on);
}
int sonx_ktv_howling_canceling_gain(const void* handle) {
  if (handle == nullptr) return kOneQ13;
  int gain = kOneQ13;
  howling_canceling_get_gain(static_cast<const sonx_ktv_handle_t*>(handle)->chain.howling, &gain);
  return gain;
}

int sonx_ktv_latency(const void* handle) {
  if (handle == nullptr) return 0;
  return static_cast<const sonx_ktv_handle_t*>(handle)->chain.compressor->left->delay->delay;
}

int sonx_ktv_bypasses(const void* handle) {
  if (handle == nullptr) return 1;
  const teka_audio_tx_ktv_t& chain = static_cast<const sonx_ktv_handle_t*>(handle)->chain;
  return !chain.howling->status && !chain.gramophone->status && !chain.eq->status &&
         !chain.reverb->status && !chain.iirecho->status && !chain.compressor->status;
}
