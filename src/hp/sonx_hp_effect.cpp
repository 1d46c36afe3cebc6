#include "hp/sonx_hp_effect.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "dsp/block.h"
#include "fixed.h"
#include "hp/memory.h"
#include "hp/sonx_hp_handle.h"
#include "log.h"

namespace {

constexpr char kLogTag[] = "_T_sonx_hp_wrapper";

constexpr int kOn = 1;                                         // the chain's status
constexpr uint32_t kLowestRate = 44050, kHighestRate = 48050;  // Hz
constexpr uint32_t kBits[] = {16, 32, 32, 32};                 // by format code - 1

sonx_hp_handle_t* effect_of(void* handle) { return static_cast<sonx_hp_handle_t*>(handle); }

void set_format(sonx_hp_handle_t* effect, int format_type) {
  const bool known = format_type >= SONX_FORMAT_16_BIT && format_type <= SONX_FORMAT_8_24;
  effect->format_type = known ? static_cast<uint32_t>(format_type) : 0;
  effect->bits_per_sample = known ? kBits[format_type - 1] : 32;
  effect->bytes_per_sample = effect->bits_per_sample / 8;
}

void follow_period(sonx_hp_handle_t* effect, uint32_t frames) {
  if (frames == effect->last_frame_count) return;
  effect->last_frame_count = frames;
  effect->block_frames = hp_block_frames(frames);
  __android_log_print(kLogDebug, kLogTag, "%s: frame size change to %zu", "sonx_hp_effect_process",
                      static_cast<size_t>(effect->block_frames));
}

// What was asked since the last call. One start of the fade stands for all changes.
void follow_requests(sonx_hp_handle_t* effect) {
  const sonx_hp_request* request = effect->requests.take();
  if (request == nullptr) return;
  teka_hp_effect_t* chain = &effect->chain;
  if (request->resets != effect->done.resets) teka_hp_effect_reset(chain);
  if (request->changes != effect->done.changes && chain->status == kOn)
    teka_hp_effect_update_smooth_status(chain);
  effect->done = *request;
  teka_hp_effect_setparameter(chain, &effect->done.record);
}

// Sample formats: read gives a 24-bit sample, write takes one. In 32 bits, so that loops vectorise.

int shift_8_rounding(int word) { return (word >> 8) + (word >> 7 & 1); }  // (word + 128) / 256

int read_16(int16_t word) { return word * 256; }
int16_t write_16(int sample) { return saturate16(shift_8_rounding(sample)); }

int keep(int word) { return word; }

int read_q31(int word) { return std::min(shift_8_rounding(word), 0x7FFFFF); }
int write_q31(int sample) {
  return sample > 0x7FFFFF ? INT32_MAX : sample < -0x800000 ? INT32_MIN : wrap_shl(sample, 8);
}

// The buffer in place, block by block, with the chain's switch counter.
template <typename Word, typename Read, typename Write>
void process_interleaved(sonx_hp_handle_t* effect, Word* buffer, size_t frames, Read read,
                         Write write) {
  int *left = effect->work_left, *right = effect->work_right;
  while (frames > 0) {
    const size_t n = std::min<size_t>(frames, effect->block_frames);
    for (size_t i = 0; i < n; ++i) {
      left[i] = read(buffer[2 * i]);
      right[i] = read(buffer[2 * i + 1]);
    }
    teka_hp_effect_core_process(&effect->chain, left, right, static_cast<int>(n));
    if (effect->chain.switch_counter >= 0) --effect->chain.switch_counter;
    for (size_t i = 0; i < n; ++i) {
      buffer[2 * i] = write(left[i]);
      buffer[2 * i + 1] = write(right[i]);
    }
    buffer += 2 * n;
    frames -= n;
  }
}

}  // namespace

void* sonx_hp_effect_init(unsigned int sample_rate, int format_type) {
  constexpr char kName[] = "sonx_hp_effect_init";
  __android_log_print(kLogDebug, kLogTag, "%s: sample_rate %u, format_type %d", kName, sample_rate,
                      format_type);
  auto* effect = allocate<sonx_hp_handle_t>();
  if (effect == nullptr) return nullptr;
  new (&effect->requests) mailbox<sonx_hp_request>;
  effect->enabled = 1;
  effect->sample_rate = sample_rate;
  if (sample_rate < kLowestRate || sample_rate > kHighestRate) {
    __android_log_print(kLogWarning, kLogTag, "%s: sample_rate %zu unmatch, need bypass", kName,
                        static_cast<size_t>(sample_rate));
    effect->enabled = 0;
  }
  set_format(effect, format_type);
  teka_hp_effect_init(&effect->chain);
  teka_hp_effect_set_sample_rate(&effect->chain, sample_rate);
  teka_hp_effect_setstatus(&effect->chain, static_cast<int>(effect->enabled));
  teka_hp_effect_reset(&effect->chain);
  effect->last_frame_count = kBlockFrames;
  effect->block_frames = kBlockFrames;
  bool whole = has_memory(&effect->chain);
  whole &= take(effect->work_left, kBlockFrames);
  whole &= take(effect->work_right, kBlockFrames);
  if (whole) return effect;
  sonx_hp_effect_deinit(effect);
  return nullptr;
}

void sonx_hp_effect_deinit(void* handle) {
  if (handle == nullptr) return;
  sonx_hp_handle_t* effect = effect_of(handle);
  teka_hp_effect_end(&effect->chain);
  release(effect->work_left);
  release(effect->work_right);
  release(effect);
}

void sonx_hp_effect_reset(void* handle) {
  if (handle == nullptr) return;
  sonx_hp_handle_t* effect = effect_of(handle);
  ++effect->asked.resets;
  effect->requests.put(effect->asked);
}

void sonx_hp_effect_set_parameters(void* handle, void* record) {
  if (handle == nullptr || record == nullptr) return;
  sonx_hp_handle_t* effect = effect_of(handle);
  const bool changed = std::memcmp(record, &effect->params, sizeof effect->params) != 0;
  effect->params = *static_cast<const audio_effect_control_acdb_t*>(record);
  __android_log_print(kLogDebug, kLogTag, "%s: effect %d hpadapter %d",
                      "sonx_hp_effect_set_parameters", effect->params.effect_type,
                      effect->params.hpadapter_type);
  if (!changed) return;
  effect->asked.record = effect->params;
  ++effect->asked.changes;
  effect->requests.put(effect->asked);
}

void sonx_hp_effect_get_parameters(void* handle, void* record) {
  if (handle == nullptr || record == nullptr) return;
  *static_cast<audio_effect_control_acdb_t*>(record) = effect_of(handle)->params;
}

void sonx_hp_effect_process(void* handle, void* buffer, unsigned long bytes) {
  if (handle == nullptr || buffer == nullptr) return;
  sonx_hp_handle_t* effect = effect_of(handle);
  if (effect->enabled == 0) return;
  follow_requests(effect);
  const size_t frames = bytes / (size_t{2} * effect->bytes_per_sample);
  follow_period(effect, static_cast<uint32_t>(frames));

  if (effect->bits_per_sample == 16) {
    process_interleaved(effect, static_cast<int16_t*>(buffer), frames, read_16, write_16);
    return;
  }
  auto* words = static_cast<int32_t*>(buffer);
  const size_t samples = bytes / effect->bytes_per_sample;
  const bool q31 = effect->format_type == SONX_FORMAT_32_BIT;
  if (q31) std::transform(words, words + samples, words, read_q31);
  process_interleaved(effect, words, frames, keep, keep);
  if (q31) std::transform(words, words + samples, words, write_q31);
}

int sonx_hp_effect_latency(const void* handle) {
  if (sonx_hp_effect_bypasses(handle)) return 0;
  return static_cast<const sonx_hp_handle_t*>(handle)->chain.comp->left->delay->delay;
}

int sonx_hp_effect_bypasses(const void* handle) {
  return handle == nullptr || static_cast<const sonx_hp_handle_t*>(handle)->enabled == 0;
}
