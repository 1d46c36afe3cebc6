// The C interface: nothing that a rack throws gets past it.
#include "sonx/rack.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "engine.h"
#include "equalizer_text.h"
#include "export_c.h"
#include "parameters.h"
#include "preset.h"
#include "version.h"

namespace {

bool any_effect_has(int rate) {
  for (int i = 0; i < sonx_effect_count(); ++i) {
    const sonx_effect& effect = *sonx_effect_at(i);
    if (std::find(effect.rates, effect.rates + effect.rate_count, rate) !=
        effect.rates + effect.rate_count)
      return true;
  }
  return false;
}

// As much of a text as a caller's buffer holds, ended by a zero.
void hand_out(std::string_view text, char* buffer, size_t size) {
  if (buffer == nullptr || size == 0) return;
  const size_t count = std::min(text.size(), size - 1);
  std::memcpy(buffer, text.data(), count);
  buffer[count] = '\0';
}

bool has_slot(const row& row, int slot) { return slot >= 0 && slot < row.slot_count(); }

bool has_parameter(const row& row, int slot, int parameter) {
  return has_slot(row, slot) && parameter >= 0 &&
         parameter < row.at(slot).effect().entry.parameter_count;
}

// Settings as a row takes them.
void settle(rack_settings& settings) {
  for (slot_settings& slot : settings.slots)
    for (size_t k = 0; k < slot.values.size(); ++k)
      slot.values[k] = settled(slot.effect->parameters[k], slot.values[k]);
}

}  // namespace

const char* sonx_rack_version() { return sonx_version(); }

int sonx_rack_import(const char* text, int auto_preamp, char* preset, size_t size, char* report,
                     size_t report_size) try {
  const imported_equalizer result = import_equalizer(text ? text : "", auto_preamp != 0);
  if (result.faults == 0 && result.preset.size() >= size) return -1;
  hand_out(result.preset, preset, size);
  hand_out(result.report, report, report_size);
  return result.faults;
} catch (...) {
  return -1;
}

// ---- Control.

sonx_rack* sonx_rack_create(int rate, int max_frames) try {
  if (max_frames < 1 || !any_effect_has(rate)) return nullptr;
  return new sonx_rack(rate);
} catch (...) {
  return nullptr;
}

void sonx_rack_destroy(sonx_rack* rack) { delete rack; }

int sonx_rack_load(sonx_rack* rack, const char* preset, char* error, size_t error_size) try {
  if (rack == nullptr || preset == nullptr) {
    hand_out("no rack or no preset", error, error_size);
    return -1;
  }
  rack_settings settings;
  std::string reason;
  if (!parse_preset(preset, rack->rate(), settings, reason)) {
    hand_out(reason, error, error_size);
    return -1;
  }
  settle(settings);
  rack->load(settings);
  return 0;
} catch (...) {
  hand_out("not enough memory", error, error_size);
  return -1;
}

int sonx_rack_save(const sonx_rack* rack, char* preset, size_t size) try {
  if (rack == nullptr) return -1;
  const std::string text =
      write_preset(rack->with_row([](const row& row) { return row.settings(); }));
  hand_out(text, preset, size);
  return static_cast<int>(text.size());
} catch (...) {
  return -1;
}

int sonx_rack_export_c(const sonx_rack* rack, char* text, size_t size) try {
  if (rack == nullptr) return -1;
  const std::string all =
      write_c(rack->with_row([](const row& row) { return row.settings(); }), rack->rate());
  hand_out(all, text, size);
  return static_cast<int>(all.size());
} catch (...) {
  return -1;
}

int sonx_rack_slot_count(const sonx_rack* rack) {
  if (rack == nullptr) return 0;
  return rack->with_row([](const row& row) { return row.slot_count(); });
}

const sonx_effect* sonx_rack_slot(const sonx_rack* rack, int slot) {
  if (rack == nullptr) return nullptr;
  return rack->with_row(
      [=](const row& row) { return has_slot(row, slot) ? &row.at(slot).effect().entry : nullptr; });
}

int sonx_rack_set(sonx_rack* rack, int slot, int parameter, double value) {
  if (rack == nullptr || std::isnan(value)) return -1;
  return rack->with_row([=](row& row) {
    if (!has_parameter(row, slot, parameter)) return -1;
    row.at(slot).set(parameter, settled(row.at(slot).effect().entry.parameters[parameter], value));
    return 0;
  });
}

double sonx_rack_get(const sonx_rack* rack, int slot, int parameter) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  if (rack == nullptr) return kNone;
  return rack->with_row([=](const row& row) {
    return has_parameter(row, slot, parameter) ? row.at(slot).get(parameter) : kNone;
  });
}

int sonx_rack_enable(sonx_rack* rack, int slot, int on) {
  if (rack == nullptr) return -1;
  return rack->with_row([=](row& row) {
    if (slot == -1)
      row.enable(on != 0);
    else if (has_slot(row, slot))
      row.at(slot).enable(on != 0);
    else
      return -1;
    return 0;
  });
}

int sonx_rack_enabled(const sonx_rack* rack, int slot) {
  if (rack == nullptr) return -1;
  return rack->with_row([=](const row& row) {
    if (slot == -1) return row.enabled() ? 1 : 0;
    if (!has_slot(row, slot)) return -1;
    return row.at(slot).enabled() ? 1 : 0;
  });
}

int sonx_rack_latency(const sonx_rack* rack) {
  if (rack == nullptr) return 0;
  return rack->with_row([](const row& row) { return row.latency(); });
}

int sonx_rack_tail(const sonx_rack* rack) try {
  if (rack == nullptr) return 0;
  return rack->with_row([](const row& row) { return row.tail(); });
} catch (...) {
  return -1;
}

void sonx_rack_meters(const sonx_rack* rack, float peak_in[2], float peak_out[2]) {
  if (rack == nullptr) return;
  rack->take_peaks(peak_in, peak_out);
}

int sonx_rack_slot_meters(const sonx_rack* rack, int slot, float peak_in[2], float peak_out[2]) {
  if (rack == nullptr) return -1;
  return rack->with_row([=](row& row) {
    if (!has_slot(row, slot)) return -1;
    row.at(slot).take_peaks(peak_in, peak_out);
    return 0;
  });
}

// ---- The audio thread.

void sonx_rack_reset(sonx_rack* rack) {
  if (rack != nullptr) rack->reset();
}

namespace {

// read(channel, frame) gives a 24-bit sample, write(channel, frame, sample) takes one.
template <typename Read, typename Write>
void process(sonx_rack* rack, int channels, int frames, Read read, Write write) noexcept {
  if (rack == nullptr || channels < 1 || channels > 2) return;
  int left[kStretch], right[kStretch];
  int* const samples[2] = {left, right};
  for (int start = 0, n; start < frames; start += n) {
    n = std::min(frames - start, kStretch);
    for (int i = 0; i < n; ++i) left[i] = read(0, start + i);
    for (int i = 0; i < n; ++i) right[i] = channels == 2 ? read(1, start + i) : left[i];
    rack->process(samples, n);
    if (channels == 1)
      for (int i = 0; i < n; ++i) left[i] = (left[i] + right[i]) >> 1;
    for (int c = 0; c < channels; ++c)
      for (int i = 0; i < n; ++i) write(c, start + i, samples[c][i]);
  }
}

int from_float(float x) {
  if (!(x > -1.0F)) return x <= -1.0F ? -0x800000 : 0;  // not a number is no sound
  return static_cast<int>(std::min(std::lrintf(std::min(x, 1.0F) * 0x1p23F), 0x7FFFFFL));
}

}  // namespace

void sonx_rack_process_f32(sonx_rack* rack, const float* const* in, float* const* out, int channels,
                           int frames) {
  const auto missing = [=](const auto* planes) {
    return planes == nullptr || (channels >= 1 && planes[0] == nullptr) ||
           (channels == 2 && planes[1] == nullptr);
  };
  if (missing(in) || missing(out)) return;
  process(
      rack, channels, frames, [=](int c, int i) { return from_float(in[c][i]); },
      [=](int c, int i, int sample) { out[c][i] = static_cast<float>(sample) / 0x1p23F; });
}

void sonx_rack_process_s32(sonx_rack* rack, int32_t* interleaved, int channels, int frames) {
  if (interleaved == nullptr) return;
  const auto word = [=](int c, int i) -> int32_t& {
    return interleaved[static_cast<size_t>(i) * static_cast<size_t>(channels) +
                       static_cast<size_t>(c)];
  };
  process(
      rack, channels, frames, [=](int c, int i) { return word(c, i) >> 8; },
      [=](int c, int i, int sample) { word(c, i) = sample * 256; });
}

void sonx_rack_process_s16(sonx_rack* rack, int16_t* interleaved, int channels, int frames) {
  if (interleaved == nullptr) return;
  const auto word = [=](int c, int i) -> int16_t& {
    return interleaved[static_cast<size_t>(i) * static_cast<size_t>(channels) +
                       static_cast<size_t>(c)];
  };
  process(
      rack, channels, frames, [=](int c, int i) { return word(c, i) * 256; },
      [=](int c, int i, int sample) {
        word(c, i) = static_cast<int16_t>(std::min((sample + 128) >> 8, 32767));
      });
}

// The effects' debug lines go nowhere: this takes the place of the library's own weak definition,
// which writes them to standard error. In the shared rack it's out of everybody's reach; a program
// that links the static one and defines the symbol gets the lines.
#ifndef __ANDROID__
extern "C" __attribute__((weak)) int __android_log_print(int, const char*, const char*, ...) {
  return 0;
}
#endif
