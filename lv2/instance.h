// What both kinds of plugin share: a rack, and the audio, bypass and latency ports.
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/log/logger.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "sonx/rack.h"
#include "uris.h"

// The host's data for a feature, or null.
inline void* feature_data(const LV2_Feature* const* features, const char* uri) {
  for (; features != nullptr && *features != nullptr; ++features)
    if (std::string((*features)->URI) == uri) return (*features)->data;
  return nullptr;
}

// Lines for the host's log, or for standard error.
class host_log {
 public:
  explicit host_log(const LV2_Feature* const* features) {
    lv2_log_logger_init(&logger_, static_cast<LV2_URID_Map*>(feature_data(features, LV2_URID__map)),
                        static_cast<LV2_Log_Log*>(feature_data(features, LV2_LOG__log)));
  }
  void error(const std::string& line) { lv2_log_error(&logger_, "%s\n", line.c_str()); }

 private:
  LV2_Log_Logger logger_;
};

// "44100 and 48000".
inline std::string enumeration(const std::vector<int>& rates) {
  std::string text;
  for (size_t k = 0; k < rates.size(); ++k)
    text += (k == 0 ? "" : k + 1 == rates.size() ? " and " : ", ") + std::to_string(rates[k]);
  return text;
}

// Why something that has these rates couldn't be made for this one.
inline std::string no_instance(const std::string& name, double rate,
                               const std::vector<int>& rates) {
  for (const int one : rates)
    if (one == std::lrint(rate)) return name + ": not enough memory";
  return name + " runs at " + enumeration(rates) + " Hz, not at " +
         std::to_string(std::lrint(rate)) + " Hz";
}

constexpr int kLongestCall = 8192;  // frames; the rack splits longer ones

class instance {
 public:
  instance(int inputs, int outputs, double rate)
      : inputs_(inputs),
        outputs_(outputs),
        rack_(sonx_rack_create(static_cast<int>(std::lrint(rate)), kLongestCall),
              sonx_rack_destroy) {}

  sonx_rack* rack() const { return rack_.get(); }

  // True if the port is one of those that all plugins have; else its number among the others.
  bool connect(uint32_t& port, void* data) {
    const auto audio = static_cast<uint32_t>(inputs_ + outputs_);
    if (port < audio) {
      audio_[port] = static_cast<float*>(data);
      return true;
    }
    port -= audio;
    if (port == kEnabledPort) enabled_ = static_cast<const float*>(data);
    if (port == kLatencyPort) latency_ = static_cast<float*>(data);
    if (port < kFixedPorts) return true;
    port -= kFixedPorts;
    return false;
  }

  void activate() { sonx_rack_reset(rack()); }

  void run(uint32_t frames) {
    if (enabled_ != nullptr) sonx_rack_enable(rack(), -1, *enabled_ > 0.0F);
    process(static_cast<int>(frames));
    if (latency_ != nullptr) *latency_ = static_cast<float>(sonx_rack_latency(rack()));
  }

 private:
  // A single input is heard on both sides; of a single output, both sides are the same.
  void process(int frames) {
    const float* const in[2] = {audio_[0], audio_[inputs_ - 1]};
    float* const out[2] = {audio_[inputs_], audio_[inputs_ + outputs_ - 1]};
    sonx_rack_process_f32(rack(), in, out, outputs_, frames);
  }

  const int inputs_, outputs_;
  const std::unique_ptr<sonx_rack, void (*)(sonx_rack*)> rack_;
  float* audio_[4] = {};
  const float* enabled_ = nullptr;
  float* latency_ = nullptr;
};
