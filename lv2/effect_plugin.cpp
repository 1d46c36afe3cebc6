// One plugin for every effect of the catalogue: a rack with one slot, a port for each parameter.
#include "plugins.h"

#include <deque>
#include <string>
#include <vector>

#include "instance.h"

namespace {

// The number that a port's value is meant to be, 0.8 and not 0.800000011920929: the one of the fewest
// decimal places that becomes the same value.
double meant_by(float value) {
  for (double scale = 1.0; scale <= 1e9; scale *= 10.0)
    if (const double number = std::round(value * scale) / scale;
        static_cast<float>(number) == value)
      return number;
  return value;
}

class effect_instance : public instance {
 public:
  effect_instance(const sonx_effect& effect, double rate)
      : instance(effect.inputs, effect.outputs, rate),
        ports_(static_cast<size_t>(effect.parameter_count)) {}

  bool load(const sonx_effect& effect) {
    const std::string preset = "sonx = 1\n[[effect]]\nid = \"" + std::string(effect.id) + "\"\n";
    return sonx_rack_load(rack(), preset.c_str(), nullptr, 0) == 0;
  }

  void connect(uint32_t port, void* data) {
    if (!instance::connect(port, data) && port < ports_.size())
      ports_[port].value = static_cast<const float*>(data);
  }

  void run(uint32_t frames) {
    for (size_t k = 0; k < ports_.size(); ++k) {
      parameter_port& port = ports_[k];
      if (port.value == nullptr || *port.value == port.last) continue;
      port.last = *port.value;
      sonx_rack_set(rack(), 0, static_cast<int>(k), meant_by(port.last));
    }
    instance::run(frames);
  }

 private:
  struct parameter_port {
    const float* value = nullptr;
    float last = NAN;  // as set; differs from every value at first
  };
  std::vector<parameter_port> ports_;
};

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char*,
                       const LV2_Feature* const* features) try {
  host_log log(features);
  const sonx_effect* effect =
      sonx_effect_find(descriptor->URI + std::string(SONX_LV2_EFFECT).size());
  auto made = std::make_unique<effect_instance>(*effect, rate);
  if (!made->load(*effect)) {
    const std::vector<int> rates(effect->rates, effect->rates + effect->rate_count);
    log.error(no_instance(std::string("Sonx ") + effect->name, rate, rates));
    return nullptr;
  }
  return made.release();
} catch (...) {
  return nullptr;
}

effect_instance* of(LV2_Handle handle) { return static_cast<effect_instance*>(handle); }

struct effect_plugin {
  std::string uri;
  LV2_Descriptor descriptor;

  explicit effect_plugin(const sonx_effect& effect)
      : uri(effect_uri(effect.id)),
        descriptor{.URI = uri.c_str(),
                   .instantiate = instantiate,
                   .connect_port = [](LV2_Handle h, uint32_t port,
                                      void* data) { of(h)->connect(port, data); },
                   .activate = [](LV2_Handle h) { of(h)->activate(); },
                   .run = [](LV2_Handle h, uint32_t frames) { of(h)->run(frames); },
                   .deactivate = nullptr,
                   .cleanup = [](LV2_Handle h) { delete of(h); },
                   .extension_data = nullptr} {}
  effect_plugin(const effect_plugin&) = delete;
};

std::deque<effect_plugin> make_plugins() {
  std::deque<effect_plugin> plugins;
  for (int i = 0; i < sonx_effect_count(); ++i) plugins.emplace_back(*sonx_effect_at(i));
  return plugins;
}

}  // namespace

const LV2_Descriptor* effect_descriptor(uint32_t index) {
  static const std::deque<effect_plugin> plugins = make_plugins();
  return index < plugins.size() ? &plugins[index].descriptor : nullptr;
}
