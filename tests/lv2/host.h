// A host as small as can be, for the plugins' tests: ids of URIs, a log, a worker, buffers.
#pragma once

#include <lv2/atom/forge.h>
#include <lv2/core/lv2.h>
#include <lv2/log/log.h>
#include <lv2/patch/patch.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "lv2/uris.h"
#include "sonx/rack.h"

class test_host {
 public:
  std::vector<std::string> uris, jobs, answers;
  std::string log;

  LV2_URID id(const char* uri) {
    for (size_t k = 0; k < uris.size(); ++k)
      if (uris[k] == uri) return static_cast<LV2_URID>(k + 1);
    uris.emplace_back(uri);
    return static_cast<LV2_URID>(uris.size());
  }

  LV2_URID_Map map{this, [](void* host, const char* uri) { return of(host).id(uri); }};
  LV2_Log_Log logger{this, nullptr,
                     [](void* host, LV2_URID, const char* format, va_list arguments) {
                       char text[500];
                       std::vsnprintf(text, sizeof text, format, arguments);
                       of(host).log += text;
                       return 0;
                     }};
  LV2_Worker_Schedule schedule{this, [](void* host, uint32_t size, const void* data) {
                                 of(host).jobs.emplace_back(static_cast<const char*>(data), size);
                                 return LV2_WORKER_SUCCESS;
                               }};

  const LV2_Feature map_feature{LV2_URID__map, &map}, log_feature{LV2_LOG__log, &logger},
      worker_feature{LV2_WORKER__schedule, &schedule};
  std::vector<const LV2_Feature*> features{&map_feature, &log_feature, &worker_feature, nullptr};

 private:
  static test_host& of(void* host) { return *static_cast<test_host*>(host); }
};

// The plugin of an effect, or with null the rack's.
inline const LV2_Descriptor* descriptor_of(const sonx_effect* effect) {
  const std::string uri = effect == nullptr ? SONX_LV2_RACK : effect_uri(effect->id);
  for (uint32_t k = 0; const LV2_Descriptor* found = lv2_descriptor(k); ++k)
    if (found->URI == uri) return found;
  return nullptr;
}

// A running plugin with all its ports connected but the audio.
class plugin {
 public:
  plugin(test_host& host, const sonx_effect* effect, double rate)
      : inputs(effect ? effect->inputs : 2),
        outputs(effect ? effect->outputs : 2),
        descriptor(descriptor_of(effect)),
        map_(host.map),
        handle(descriptor->instantiate(descriptor, rate, "", host.features.data())) {
    if (handle == nullptr) return;
    for (int k = 0; effect != nullptr && k < effect->parameter_count; ++k)
      controls.push_back(static_cast<float>(effect->parameters[k].initial));
    const auto first = static_cast<uint32_t>(inputs + outputs);
    connect(first + kEnabledPort, &enabled);
    connect(first + kLatencyPort, &latency);
    for (size_t k = 0; k < controls.size(); ++k)
      connect(first + kFixedPorts + static_cast<uint32_t>(k), &controls[k]);
    if (effect == nullptr) {
      connect(first + kFixedPorts + kControlPort, control);
      connect(first + kFixedPorts + kNotifyPort, notify);
      lv2_atom_forge_init(&forge_, &map_);
      send({});
    }
  }
  ~plugin() {
    if (handle != nullptr) descriptor->cleanup(handle);
  }
  plugin(const plugin&) = delete;

  void connect(uint32_t port, void* data) { descriptor->connect_port(handle, port, data); }
  void connect_audio(float* const in[2], float* const out[2]) {
    for (int c = 0; c < inputs; ++c) connect(static_cast<uint32_t>(c), in[c]);
    for (int c = 0; c < outputs; ++c) connect(static_cast<uint32_t>(inputs + c), out[c]);
  }
  void run(int frames) {
    reinterpret_cast<LV2_Atom*>(notify)->size = sizeof notify - sizeof(LV2_Atom);
    descriptor->run(handle, static_cast<uint32_t>(frames));
  }
  template <typename Interface>
  const Interface& extension(const char* uri) const {
    return *static_cast<const Interface*>(descriptor->extension_data(uri));
  }

  // What the rack's plugin finds on its control port from now on: patch:Set of its preset's path,
  // "?" patch:Get, or nothing.
  void send(const std::string& path) {
    const auto id = [this](const char* uri) { return map_.map(map_.handle, uri); };
    LV2_Atom_Forge_Frame sequence, object;
    lv2_atom_forge_set_buffer(&forge_, reinterpret_cast<uint8_t*>(control), sizeof control);
    lv2_atom_forge_sequence_head(&forge_, &sequence, 0);
    if (!path.empty()) {
      lv2_atom_forge_frame_time(&forge_, 0);
      lv2_atom_forge_object(&forge_, &object, 0, id(path == "?" ? LV2_PATCH__Get : LV2_PATCH__Set));
      lv2_atom_forge_key(&forge_, id(LV2_PATCH__property));
      lv2_atom_forge_urid(&forge_, id(SONX_LV2_RACK_PRESET));
      lv2_atom_forge_key(&forge_, id(LV2_PATCH__value));
      lv2_atom_forge_path(&forge_, path.c_str(), static_cast<uint32_t>(path.size()));
      lv2_atom_forge_pop(&forge_, &object);
    }
    lv2_atom_forge_pop(&forge_, &sequence);
  }

  const int inputs, outputs;
  const LV2_Descriptor* const descriptor;

 private:
  LV2_URID_Map& map_;

 public:
  const LV2_Handle handle;
  std::vector<float> controls;
  float enabled = 1, latency = -1;
  alignas(8) char control[8192] = {}, notify[8192] = {};

 private:
  LV2_Atom_Forge forge_;
};
