#include "ktv/sonx_ktv.h"

#include <atomic>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

#include "effects/equalizer_curve.h"
#include "fixed.h"
#include "ktv/memory.h"
#include "ktv/teka_audio_tx_ktv.h"
#include "log.h"
#include "mailbox.h"

namespace {

constexpr char kLogTag[] = "_T_sonx_ktv_wrapper";

// The settings that are one word, by the chain's function that takes them.
using chain_setting = void (*)(teka_audio_tx_ktv_t*, int);
constexpr chain_setting kSettings[] = {
    teka_audio_tx_ktv_set_volume,
    teka_audio_tx_ktv_reverb_setroomsize,
    teka_audio_tx_ktv_reverb_setdamp,
    teka_audio_tx_ktv_reverb_setwet,
    teka_audio_tx_ktv_reverb_setdry,
    teka_audio_tx_ktv_reverb_setwidth,
    teka_audio_tx_ktv_reverb_setgain,
    teka_audio_tx_ktv_reverb_setstatus,
    teka_audio_tx_ktv_eq_setstatus,
    teka_audio_tx_ktv_gramophone_setstatus,
    teka_audio_tx_ktv_howling_canceling_setstatus,
    teka_audio_tx_ktv_howling_canceling_set_shift,
    teka_audio_tx_ktv_howling_canceling_set_shift_mode,
    teka_audio_tx_ktv_howling_canceling_set_last_resort,
    teka_audio_tx_ktv_noise_canceling_setstatus,
    teka_audio_tx_ktv_compressor_setstatus,
    teka_audio_tx_ktv_iirecho_setstatus,
    teka_audio_tx_ktv_iirecho_setfeedback,
    teka_audio_tx_ktv_iirecho_setdelay,
    teka_audio_tx_ktv_iirecho_setwet,
    teka_audio_tx_ktv_iirecho_setdry,
};
constexpr size_t kSettingCount = std::size(kSettings);

// Which of them a function is. Compared as types: addresses of functions are no constants under the
// sanitizers.
template <chain_setting setting>
using constant = std::integral_constant<chain_setting, setting>;
template <chain_setting setting>
constexpr size_t kIndexOf = []<size_t... k>(std::index_sequence<k...>) {
  size_t index = kSettingCount;
  ((std::is_same_v<constant<setting>, constant<kSettings[k]>> ? void(index = k) : void()), ...);
  return index;
}
(std::make_index_sequence<kSettingCount>());

// What the settings' side asks of the next process call. A setting is applied if it was set since
// the last one, be it to the same value: a change of the echo's loop cuts off what is in it.
struct request {
  int values[kSettingCount];
  uint32_t sets[kSettingCount];  // how often each was set so far
  equalizer_curve curve;
  uint32_t curve_sets;
};

struct sonx_ktv_handle_t {
  uint32_t bit_width;  // always 16
  teka_audio_tx_ktv_t chain;
  request asked, done;  // kept by the settings' side, and by the processing side
  mailbox<request> requests;
  std::atomic<int> howling_gain;  // what the last resort leaves, Q13; written by process
};

sonx_ktv_handle_t* karaoke_of(void* handle) { return static_cast<sonx_ktv_handle_t*>(handle); }

// A setting's value as it was last asked for.
template <chain_setting setting>
int& asked(sonx_ktv_handle_t* karaoke) {
  static_assert(kIndexOf<setting> < kSettingCount);
  return karaoke->asked.values[kIndexOf<setting>];
}

// Asks for a setting; a null handle is ignored.
template <chain_setting setting>
void set(void* handle, int value) {
  if (handle == nullptr) return;
  sonx_ktv_handle_t* karaoke = karaoke_of(handle);
  asked<setting>(karaoke) = value;
  ++karaoke->asked.sets[kIndexOf<setting>];
  karaoke->requests.put(karaoke->asked);
}

// What was asked since the last call. The settings don't depend on their order.
void follow_requests(sonx_ktv_handle_t* karaoke) {
  const request* next = karaoke->requests.take();
  if (next == nullptr) return;
  teka_audio_tx_ktv_t* chain = &karaoke->chain;
  request& done = karaoke->done;
  for (size_t k = 0; k < kSettingCount; ++k)
    if (next->sets[k] != done.sets[k]) kSettings[k](chain, next->values[k]);
  if (next->curve_sets != done.curve_sets)
    equalizer_set_curve(chain->eq, next->curve, chain->sample_rate);
  done = *next;
}

}  // namespace

void* sonx_ktv_init(void) {
  auto* karaoke = allocate<sonx_ktv_handle_t>();
  if (karaoke == nullptr) return nullptr;
  new (&karaoke->requests) mailbox<request>;
  new (&karaoke->howling_gain) std::atomic<int>(kOneQ13);
  karaoke->bit_width = 16;
  teka_audio_tx_ktv_init(&karaoke->chain);
  if (has_memory(&karaoke->chain)) {
    // What is on after init; every other value is read only after it was set.
    asked<teka_audio_tx_ktv_howling_canceling_setstatus>(karaoke) = karaoke->chain.howling->status;
    asked<teka_audio_tx_ktv_iirecho_setstatus>(karaoke) = karaoke->chain.iirecho->status;
  } else {
    release(karaoke);
  }
  return karaoke;
}

void sonx_ktv_deinit(void* handle) {
  if (handle == nullptr) return;
  sonx_ktv_handle_t* karaoke = karaoke_of(handle);
  teka_audio_tx_ktv_end(&karaoke->chain);
  release(karaoke);
}

void sonx_ktv_process_16(void* handle, short* in, short* out_left, short* out_right, int n) {
  if (handle == nullptr || in == nullptr || out_left == nullptr || out_right == nullptr) return;
  sonx_ktv_handle_t* karaoke = karaoke_of(handle);
  follow_requests(karaoke);
  teka_audio_tx_ktv_process(&karaoke->chain, static_cast<int>(karaoke->bit_width), in, out_left,
                            out_right, n);
  int gain = kOneQ13;
  teka_audio_tx_ktv_howling_canceling_get_gain(&karaoke->chain, &gain);
  karaoke->howling_gain.store(gain, std::memory_order_relaxed);
}

void sonx_ktv_set_voice_gain(void* handle, int gain) {
  set<teka_audio_tx_ktv_set_volume>(handle, gain);
}

void sonx_ktv_eq_setparameter(void* handle, int* indices) {
  if (handle == nullptr || indices == nullptr) return;
  sonx_ktv_handle_t* karaoke = karaoke_of(handle);
  karaoke->asked.curve = make_curve(indices);
  ++karaoke->asked.curve_sets;
  karaoke->requests.put(karaoke->asked);
}

void sonx_ktv_reverb_setroomsize(void* handle, int roomsize) {
  set<teka_audio_tx_ktv_reverb_setroomsize>(handle, roomsize);
}
void sonx_ktv_reverb_setdamp(void* handle, int damp) {
  set<teka_audio_tx_ktv_reverb_setdamp>(handle, damp);
}
void sonx_ktv_reverb_setwet(void* handle, int wet) {
  set<teka_audio_tx_ktv_reverb_setwet>(handle, wet);
}
void sonx_ktv_reverb_setdry(void* handle, int dry) {
  set<teka_audio_tx_ktv_reverb_setdry>(handle, dry);
}
void sonx_ktv_reverb_setwidth(void* handle, int width) {
  set<teka_audio_tx_ktv_reverb_setwidth>(handle, width);
}
void sonx_ktv_reverb_setgain(void* handle, int gain) {
  set<teka_audio_tx_ktv_reverb_setgain>(handle, gain);
}

void sonx_ktv_iirecho_setfeedback(void* handle, int feedback) {
  set<teka_audio_tx_ktv_iirecho_setfeedback>(handle, feedback);
}
void sonx_ktv_iirecho_setdelay(void* handle, int milliseconds) {
  set<teka_audio_tx_ktv_iirecho_setdelay>(handle, milliseconds);
}
void sonx_ktv_iirecho_setwet(void* handle, int wet) {
  set<teka_audio_tx_ktv_iirecho_setwet>(handle, wet);
}
void sonx_ktv_iirecho_setdry(void* handle, int dry) {
  set<teka_audio_tx_ktv_iirecho_setdry>(handle, dry);
}

void sonx_ktv_reverb_enable(void* handle, int enable) {
  set<teka_audio_tx_ktv_reverb_setstatus>(handle, enable);
}
void sonx_ktv_eq_enable(void* handle, int enable) {
  set<teka_audio_tx_ktv_eq_setstatus>(handle, enable);
}
void sonx_ktv_gramophone_enable(void* handle, int enable) {
  set<teka_audio_tx_ktv_gramophone_setstatus>(handle, enable);
}
void sonx_ktv_hw_howling_canceling_enable(void* handle, int enable) {
  set<teka_audio_tx_ktv_howling_canceling_setstatus>(handle, enable);
}
void sonx_ktv_compressor_enable(void* handle, int enable) {
  set<teka_audio_tx_ktv_compressor_setstatus>(handle, enable);
}
void sonx_ktv_iirecho_enable(void* handle, int enable) {
  set<teka_audio_tx_ktv_iirecho_setstatus>(handle, enable);
}
void sonx_ktv_noise_canceling_enable(void* handle, int enable) {
  __android_log_print(kLogDebug, kLogTag, "%s: %d", "sonx_ktv_noise_canceling_enable", enable);
  set<teka_audio_tx_ktv_noise_canceling_setstatus>(handle, enable);
}

void sonx_ktv_howling_canceling_set_shift(void* handle, int hertz) {
  set<teka_audio_tx_ktv_howling_canceling_set_shift>(handle, hertz);
}
void sonx_ktv_howling_canceling_set_shift_mode(void* handle, int mode) {
  set<teka_audio_tx_ktv_howling_canceling_set_shift_mode>(handle, mode);
}
void sonx_ktv_howling_canceling_set_last_resort(void* handle, int on) {
  set<teka_audio_tx_ktv_howling_canceling_set_last_resort>(handle, on);
}
int sonx_ktv_howling_canceling_gain(const void* handle) {
  if (handle == nullptr) return kOneQ13;
  const auto* karaoke = static_cast<const sonx_ktv_handle_t*>(handle);
  return karaoke->howling_gain.load(std::memory_order_relaxed);
}

int sonx_ktv_latency(const void* handle) {
  if (handle == nullptr) return 0;
  return static_cast<const sonx_ktv_handle_t*>(handle)->chain.compressor->left->delay->delay;
}

int sonx_ktv_bypasses(const void* handle) {
  if (handle == nullptr) return 1;
  const request& asked = static_cast<const sonx_ktv_handle_t*>(handle)->asked;
  const auto off = [&]<chain_setting... enable>(constant<enable>...) {
    return ((asked.values[kIndexOf<enable>] == 0) && ...);
  };
  return off(constant<teka_audio_tx_ktv_howling_canceling_setstatus>(),
             constant<teka_audio_tx_ktv_gramophone_setstatus>(),
             constant<teka_audio_tx_ktv_eq_setstatus>(),
             constant<teka_audio_tx_ktv_reverb_setstatus>(),
             constant<teka_audio_tx_ktv_iirecho_setstatus>(),
             constant<teka_audio_tx_ktv_compressor_setstatus>());
}
