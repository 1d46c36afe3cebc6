// A minute of automation on every control port of every plugin, in a host of its own: half of it over
// a low sine, half over music. Prints a table, for every plugin the worst of its ports. See usage().
//
// Every 1.5 s the port jumps, or is dragged for half a second, another value every 10 ms. The output
// is compared with those of ports that stand still at eleven values of the way (rack/clicks.h).
#include <lilv/lilv.h>
#include <lv2/core/lv2.h>
#include <lv2/port-props/port-props.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "rack/clicks.h"

namespace {

constexpr double kFrom = 2.2;  // seconds; what comes before isn't compared
constexpr double kEvery = 1.5, kDrag = 0.5, kGap = 0.007;
constexpr int kWay = 10;  // steps from one end to the other that are held still, too

bool cut = false;  // 7 ms of silence after each change: must be found

// ---- The host.

std::deque<std::string> known_uris;

LV2_URID id_of(void*, const char* uri) {
  for (size_t k = 0; k < known_uris.size(); ++k)
    if (known_uris[k] == uri) return static_cast<LV2_URID>(k + 1);
  known_uris.emplace_back(uri);
  return static_cast<LV2_URID>(known_uris.size());
}

LV2_URID_Map map = {nullptr, id_of};
const LV2_Feature map_feature = {LV2_URID__map, &map};
const LV2_Feature* const features[] = {&map_feature, nullptr};

struct world {
  LilvWorld* const all = lilv_world_new();

  world() { lilv_world_load_all(all); }
  ~world() { lilv_world_free(all); }
  world(const world&) = delete;

  using node = std::unique_ptr<LilvNode, void (*)(LilvNode*)>;
  node uri(const std::string& text) const {
    return {lilv_new_uri(all, text.c_str()), lilv_node_free};
  }
};

struct control {
  uint32_t port;
  std::string symbol;
  double minimum, maximum, initial;
  bool whole, logarithmic;

  double at(double place) const {
    if (logarithmic && minimum > 0.0) return minimum * std::pow(maximum / minimum, place);
    const double value = minimum + place * (maximum - minimum);
    return whole ? std::round(value) : value;
  }
};

class description {
 public:
  description(const world& w, const std::string& name)
      : uri(name),
        plugin(lilv_plugins_get_by_uri(lilv_world_get_all_plugins(w.all), w.uri(name).get())),
        world_(w) {
    const auto is = [&](const LilvPort* port, const char* kind) {
      return lilv_port_is_a(plugin, port, w.uri(kind).get());
    };
    for (uint32_t k = 0; k < lilv_plugin_get_num_ports(plugin); ++k) {
      const LilvPort* const port = lilv_plugin_get_port_by_index(plugin, k);
      const bool input = is(port, LV2_CORE__InputPort);
      if (is(port, LV2_CORE__AudioPort)) (input ? inputs : outputs).push_back(k);
      if (!is(port, LV2_CORE__ControlPort) || !input) continue;
      LilvNode *initial, *minimum, *maximum;
      lilv_port_get_range(plugin, port, &initial, &minimum, &maximum);
      controls.push_back({k, lilv_node_as_string(lilv_port_get_symbol(plugin, port)),
                          number(minimum), number(maximum), number(initial),
                          has(port, LV2_CORE__toggled) || has(port, LV2_CORE__integer),
                          has(port, LV2_PORT_PROPS__logarithmic)});
    }
  }

  const std::string uri;
  const LilvPlugin* const plugin;
  std::vector<uint32_t> inputs, outputs;
  std::vector<control> controls;

 private:
  bool has(const LilvPort* port, const char* property) const {
    return lilv_port_has_property(plugin, port, world_.uri(property).get());
  }
  static double number(LilvNode* node) {
    const double value = lilv_node_as_float(node);
    lilv_node_free(node);
    return value;
  }
  const world& world_;
};

// What a port has besides its default, so that its neighbours are heard: bells an octave apart.
double audible(const control& c) {
  int band = 0;
  char rest[20];
  for (const char* form : {"band%d_%19s", "right%d_%19s"})
    if (std::sscanf(c.symbol.c_str(), form, &band, rest) == 2 && band >= 1 && band <= 10) {
      if (std::strcmp(rest, "gain") == 0) return band % 2 ? 4 : -4;
      if (std::strcmp(rest, "frequency") == 0) return 35 << (band - 1);
    }
  return c.symbol == "separate" ? 1 : c.initial;
}

class instance {
 public:
  instance(const description& d, int rate)
      : of_(d), made_(lilv_plugin_instantiate(d.plugin, rate, features)) {
    if (made_ == nullptr) return;
    values_.resize(lilv_plugin_get_num_ports(d.plugin));
    const bool equalizer = d.uri.ends_with("parametric-equalizer");
    for (uint32_t k = 0; k < values_.size(); ++k) lilv_instance_connect_port(made_, k, nothing_);
    for (const control& c : d.controls) {
      set(c, equalizer ? audible(c) : c.initial);
      lilv_instance_connect_port(made_, c.port, &values_[c.port]);
    }
  }
  ~instance() {
    if (made_ != nullptr) lilv_instance_free(made_);
  }
  instance(const instance&) = delete;

  explicit operator bool() const { return made_ != nullptr; }
  void set(const control& c, double value) { values_[c.port] = static_cast<float>(value); }

  void restore(const world& w, const std::string& preset) {
    const auto node = w.uri(preset);
    lilv_world_load_resource(w.all, node.get());
    LilvState* const state = lilv_state_new_from_world(w.all, &map, node.get());
    lilv_state_restore(state, made_, nullptr, nullptr, 0, features);
    lilv_state_free(state);
  }

  // In calls of 10 ms; act(call) comes before each.
  template <typename Act>
  stereo play(const stereo& in, int rate, Act act) {
    const auto block = static_cast<size_t>(rate / 100);
    const size_t frames = in[0].size() / block * block;
    stereo out = {channel(frames), channel(frames)};
    lilv_instance_activate(made_);
    for (size_t i = 0; i < frames; i += block) {
      act(static_cast<int>(i / block));
      for (size_t c = 0; c < of_.inputs.size(); ++c)
        lilv_instance_connect_port(made_, of_.inputs[c], const_cast<float*>(&in[c][i]));
      for (size_t c = 0; c < of_.outputs.size(); ++c)
        lilv_instance_connect_port(made_, of_.outputs[c], &out[c][i]);
      lilv_instance_run(made_, static_cast<uint32_t>(block));
    }
    lilv_instance_deactivate(made_);
    return out;
  }

 private:
  const description& of_;
  LilvInstance* const made_;
  std::vector<float> values_;
  alignas(8) char nothing_[1 << 14] = {};  // for ports that nobody looks at; an empty sequence
};

// ---- The automation.

// Where the port stands in a call: between two ends of the way, 0 to 1.
class ride {
 public:
  double place(int call) const {
    constexpr int kCalls = static_cast<int>(kEvery * 100),
                  kDragCalls = static_cast<int>(kDrag * 100);
    constexpr double kJumps[] = {1, 0, 0.5, 1, 0.5, 0};
    const int turn = call / kCalls, since = call % kCalls;
    // Of four turns three jump, and one drags to the other end.
    const auto jump = [&](int t) { return kJumps[(t - t / 4) % 6]; };
    if (turn % 4 != 3) return jump(turn);
    const double from = jump(turn - 1), to = from < 0.5 ? 1.0 : 0.0;
    return from + (to - from) * std::min(1.0, static_cast<double>(since) / kDragCalls);
  }
  static bool changes(int call) {
    return call % static_cast<int>(kEvery * 100) == 0 && call > static_cast<int>(kFrom * 100);
  }
};

struct trial {
  const world& all;
  const description& plugin;
  int rate;
  std::string preset;  // of the rack's plugin

  template <typename Act>
  stereo play(const stereo& in, Act act) const {
    instance one(plugin, rate);
    if (!preset.empty()) one.restore(all, preset);
    return one.play(in, rate, [&](int call) { act(one, call); });
  }

  finding run(const control& c, const char* name, const stereo& in) const {
    steady_sounds steady(static_cast<size_t>(kFrom * rate), rate);
    double last = NAN;
    for (int k = 0; k <= kWay; ++k) {
      const double value = c.at(static_cast<double>(k) / kWay);
      if (value == last) continue;  // a switch has two
      last = value;
      steady.add(play(in, [&](instance& one, int) { one.set(c, value); }));
    }
    const ride ride;
    stereo changed = play(in, [&](instance& one, int call) { one.set(c, c.at(ride.place(call))); });
    if (cut) silence_changes(changed);
    return steady.compare(changed, c.symbol + ", " + name);
  }

  void silence_changes(stereo& sound) const {
    for (channel& side : sound)
      for (size_t call = 0; call * static_cast<size_t>(rate) / 100 < side.size(); ++call)
        if (ride::changes(static_cast<int>(call)))
          std::fill_n(side.begin() + static_cast<std::ptrdiff_t>(call) * rate / 100,
                      static_cast<int>(kGap * rate), 0.0f);
  }
};

// 48000 Hz, or the highest below it.
int rate_of(const description& plugin) {
  for (const int rate : {48000, 44100, 32000, 16000, 8000})
    if (instance(plugin, rate)) return rate;
  return 0;
}

bool row(const world& all, const std::string& uri, double seconds, bool each) {
  const description plugin(all, uri);
  const bool rack = uri.ends_with(":rack");
  const trial t{all, plugin, rate_of(plugin), rack ? uri + "#late-evening" : ""};
  if (t.rate == 0) {
    std::fprintf(stderr, "%s: doesn't run\n", uri.c_str());
    return false;
  }
  const std::string effect = uri.substr(uri.rfind(':') + 1);
  const double limit = rack ? kPresetLevel : level_limit(effect);
  const auto frames = static_cast<size_t>(seconds / 2 * t.rate);
  const stereo sine = low_sine(frames, t.rate), sounds = music(frames, t.rate);
  finding worst;
  for (const control& c : plugin.controls) {
    finding f = t.run(c, "sine", sine);
    f.take(t.run(c, "music", sounds));
    if (each)
      std::printf("%s\t%s\t%.3f\t%s\t%.2f\t%s\n", effect.c_str(), c.symbol.c_str(), f.step,
                  f.step_at.c_str(), f.level, f.level_at.c_str());
    worst.take(f);
  }
  std::printf("| %s | %zu | %.3f | %s | %.2f | %g | %s | %s |\n", effect.c_str(),
              plugin.controls.size(), worst.step, worst.step_at.c_str(), worst.level, limit,
              worst.level_at.c_str(), worst.holds(limit) ? "yes" : "**no**");
  std::fflush(stdout);
  return worst.holds(limit);
}

int usage() {
  std::printf(
      "usage: lv2_automation [--plugin URI] [--seconds S] [--all] [--cut]\n"
      "  Without options, a minute on every port of every plugin whose URI begins with urn:sonx:.\n"
      "  --plugin URI  this one alone\n"
      "  --seconds S   on each port, instead of 60\n"
      "  --all         a line for each port before each plugin's row\n"
      "  --cut         silence the first 7 ms of each change, to see that it's found\n"
      "Finds the plugins in LV2_PATH. Ends with 1 if anything clicks or drops.\n");
  return EXIT_FAILURE;
}

}  // namespace

int main(int count, char** words) {
  std::string only;
  double seconds = 60;
  bool each = false;
  for (int k = 1; k < count; ++k) {
    const std::string word = words[k];
    const bool more = k + 1 < count;
    if (word == "--all")
      each = true;
    else if (word == "--cut")
      cut = true;
    else if (word == "--plugin" && more)
      only = words[++k];
    else if (word == "--seconds" && more)
      seconds = std::atof(words[++k]);
    else
      return usage();
  }

  const char* const path = std::getenv("LV2_PATH");
  if (path != nullptr && path[0] != '/') {
    std::fprintf(stderr, "LV2_PATH: lilv needs a path from the root\n");
    return EXIT_FAILURE;
  }
  const world all;
  std::vector<std::string> uris;
  const LilvPlugins* const plugins = lilv_world_get_all_plugins(all.all);
  LILV_FOREACH(plugins, i, plugins) {
    const std::string uri = lilv_node_as_uri(lilv_plugin_get_uri(lilv_plugins_get(plugins, i)));
    if (only.empty() ? uri.starts_with("urn:sonx:") : uri == only) uris.push_back(uri);
  }
  if (uris.empty()) {
    std::fprintf(stderr, "no such plugins in LV2_PATH\n");
    return EXIT_FAILURE;
  }
  std::printf(
      "| plugin | ports | step | where | dB below | allowed | where | holds |\n"
      "|---|---:|---:|---|---:|---:|---|---|\n");
  bool holds = true;
  for (const std::string& uri : uris) holds = row(all, uri, seconds, each) && holds;
  return holds ? EXIT_SUCCESS : EXIT_FAILURE;
}
