// Writes the bundle's Turtle files from the rack's catalogue and the presets.
//   make_bundle FOLDER BINARY PRESETS
// FOLDER gets manifest.ttl, effects.ttl, rack.ttl and presets.ttl, and the presets themselves.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "sonx/rack.h"
#include "uris.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* kPrefixes = R"(@prefix atom: <http://lv2plug.in/ns/ext/atom#> .
@prefix doap: <http://usefulinc.com/ns/doap#> .
@prefix foaf: <http://xmlns.com/foaf/0.1/> .
@prefix log: <http://lv2plug.in/ns/ext/log#> .
@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix patch: <http://lv2plug.in/ns/ext/patch#> .
@prefix pg: <http://lv2plug.in/ns/ext/port-groups#> .
@prefix pprop: <http://lv2plug.in/ns/ext/port-props#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .
@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
@prefix rsz: <http://lv2plug.in/ns/ext/resize-port#> .
@prefix state: <http://lv2plug.in/ns/ext/state#> .
@prefix units: <http://lv2plug.in/ns/extensions/units#> .
@prefix urid: <http://lv2plug.in/ns/ext/urid#> .
@prefix work: <http://lv2plug.in/ns/ext/worker#> .

)";

std::string literal(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

std::string decimal(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%.9g", value);
  return text;
}

std::string angle(const std::string& uri) { return "<" + uri + ">"; }

std::ofstream open(const fs::path& path) {
  std::ofstream file(path);
  file.exceptions(std::ios::badbit | std::ios::failbit);
  file << kPrefixes;
  return file;
}

// ---- Units.

// The standard's unit of that name, or one that shows the name behind the number.
std::string unit(const std::string& name) {
  static const std::map<std::string, std::string> standard = {{"dB", "units:db"},
                                                              {"Hz", "units:hz"},
                                                              {"ms", "units:ms"},
                                                              {"s", "units:s"},
                                                              {"%", "units:pc"}};
  const auto found = standard.find(name);
  if (found != standard.end()) return found->second;
  std::string shown;  // a percent sign would be taken for a conversion
  for (const char c : name) shown += c == '%' ? std::string("%%") : std::string(1, c);
  return "[ a units:Unit ; rdfs:label " + literal(name) + " ; units:symbol " + literal(name) +
         " ; units:render " + literal("%f " + shown) + " ]";
}

// ---- Groups: neighbours whose ids have one beginning up to an underscore.

std::string id_head(const sonx_parameter& parameter) {
  const std::string_view id = parameter.id;
  const size_t end = id.find('_');
  return std::string(id.substr(0, end == std::string_view::npos ? 0 : end));
}

// The words that all names of a group begin with.
std::string common_words(const std::vector<const sonx_parameter*>& members) {
  std::string common = members.front()->name;
  for (const sonx_parameter* member : members) {
    const std::string_view name = member->name;
    const auto end = std::mismatch(common.begin(), common.end(), name.begin(), name.end()).first;
    common.erase(end, common.end());
  }
  const size_t word_end = common.rfind(' ');
  common.erase(word_end == std::string::npos ? 0 : word_end);
  while (!common.empty() && (common.back() == ':' || common.back() == ' ')) common.pop_back();
  return common;
}

// Names of the groups by their ids' beginning.
std::map<std::string, std::string> groups_of(const sonx_effect& effect) {
  std::map<std::string, std::vector<const sonx_parameter*>> members;
  for (int k = 0; k < effect.parameter_count; ++k)
    if (const std::string head = id_head(effect.parameters[k]); !head.empty())
      members[head].push_back(&effect.parameters[k]);
  std::map<std::string, std::string> names;
  for (const auto& [head, all] : members)
    if (all.size() > 1)
      if (const std::string name = common_words(all); !name.empty()) names[head] = name;
  return names;
}

std::string group_uri(const std::string& plugin, const std::string& head) {
  return plugin + "#" + head;
}

// ---- Ports.

// Writes a plugin's ports one after the other, numbered from 0.
class port_list {
 public:
  explicit port_list(std::ostream& out) : out_(out) {}

  // lines: predicates and objects, each ended by a semicolon.
  void add(const std::string& classes, const std::string& symbol, const std::string& name,
           const std::string& lines) {
    out_ << (count_ == 0 ? "  lv2:port [\n" : " , [\n") << "    a " << classes << " ;\n"
         << "    lv2:index " << count_ << " ;\n"
         << "    lv2:symbol " << literal(symbol) << " ;\n"
         << lines << "    lv2:name " << literal(name) << "\n  ]";
    ++count_;
  }
  void end() { out_ << " .\n\n"; }

 private:
  std::ostream& out_;
  int count_ = 0;
};

void add_audio(port_list& ports, const std::string& plugin, const char* direction, int count) {
  const bool input = std::string_view(direction) == "in";
  const std::string classes =
      std::string("lv2:AudioPort , lv2:") + (input ? "Input" : "Output") + "Port";
  for (int side = 0; side < count; ++side) {
    const std::string symbol = audio_symbol(direction, count, side), name = input ? "In" : "Out";
    const std::string word = side == 0 ? "left" : "right";
    if (count == 1)
      ports.add(classes, symbol, name, "");
    else
      ports.add(classes, symbol, name + " " + word,
                "    pg:group " + angle(group_uri(plugin, direction)) +
                    " ;\n    lv2:designation pg:" + word + " ;\n");
  }
}

void add_fixed(port_list& ports) {
  ports.add("lv2:ControlPort , lv2:InputPort", kEnabledSymbol, "Enabled",
            "    lv2:designation lv2:enabled ;\n    lv2:portProperty lv2:toggled ;\n"
            "    lv2:default 1 ;\n    lv2:minimum 0 ;\n    lv2:maximum 1 ;\n");
  ports.add("lv2:ControlPort , lv2:OutputPort", "latency", "Latency",
            "    lv2:designation lv2:latency ;\n"
            "    lv2:portProperty lv2:reportsLatency , lv2:integer , lv2:connectionOptional ;\n"
            "    lv2:minimum 0 ;\n    lv2:maximum 192000 ;\n    units:unit units:frame ;\n");
}

bool whole_numbers(const sonx_parameter& p) {
  return p.kind != SONX_NUMBER || (p.step == 1.0 && p.minimum == std::floor(p.minimum));
}

std::string properties(const sonx_parameter& p) {
  std::string list;
  const auto has = [&](const char* property) {
    list += (list.empty() ? "" : " , ") + std::string(property);
  };
  if (p.kind == SONX_SWITCH) has("lv2:toggled");
  if (p.kind == SONX_CHOICE) has("lv2:enumeration");
  if (p.kind != SONX_SWITCH && whole_numbers(p)) has("lv2:integer");
  if (p.logarithmic) has("pprop:logarithmic");
  return list;
}

std::string choices(const sonx_parameter& p) {
  std::string list;
  for (int c = 0; c < p.choice_count; ++c)
    list += (c == 0 ? "" : " , ") + ("[ rdfs:label " + literal(p.choices[c])) + " ; rdf:value " +
            std::to_string(c) + " ]";
  return list;
}

void add_parameter(port_list& ports, const sonx_parameter& p, const std::string& group) {
  std::string lines = "    lv2:default " + decimal(p.initial) + " ;\n    lv2:minimum " +
                      decimal(p.minimum) + " ;\n    lv2:maximum " + decimal(p.maximum) + " ;\n";
  if (const std::string list = properties(p); !list.empty())
    lines += "    lv2:portProperty " + list + " ;\n";
  if (p.kind == SONX_CHOICE) lines += "    lv2:scalePoint " + choices(p) + " ;\n";
  if (*p.unit != '\0') lines += "    units:unit " + unit(p.unit) + " ;\n";
  if (p.kind == SONX_NUMBER && p.step > 0.0)
    lines += "    pprop:rangeSteps " +
             std::to_string(std::lrint((p.maximum - p.minimum) / p.step) + 1) + " ;\n";
  if (!group.empty()) lines += "    pg:group " + angle(group) + " ;\n";
  lines += "    rdfs:comment " + literal(p.description) + " ;\n";
  ports.add("lv2:ControlPort , lv2:InputPort", p.id, p.name, lines);
}

// ---- Plugins.

// What kind of plugin an effect is to a host's menus.
std::string class_of(const sonx_effect& effect) {
  static const std::map<std::string, std::string> classes = {
      {"chain", "lv2:UtilityPlugin"},       {"equalizer", "lv2:EQPlugin"},
      {"reverb", "lv2:ReverbPlugin"},       {"delay", "lv2:DelayPlugin"},
      {"stereo", "lv2:SpatialPlugin"},      {"bass", "lv2:WaveshaperPlugin"},
      {"dynamics", "lv2:DynamicsPlugin"},   {"level", "lv2:AmplifierPlugin"},
      {"character", "lv2:SimulatorPlugin"}, {"voice", "lv2:FilterPlugin"}};
  const auto found = classes.find(effect.category);
  if (found == classes.end())
    throw std::runtime_error(std::string("no class of plugins for ") + effect.category);
  return found->second;
}

struct plugin_text {
  std::string uri, name, description, plugin_class;
  int inputs, outputs;
};

void begin_plugin(std::ostream& out, const plugin_text& plugin, const std::string& features,
                  const std::string& more) {
  for (const auto& [count, direction] : {std::pair(plugin.inputs, "in"), {plugin.outputs, "out"}})
    if (count == 2)
      out << angle(group_uri(plugin.uri, direction))
          << " a pg:StereoGroup , pg:" << (*direction == 'i' ? "Input" : "Output")
          << "Group ;\n  lv2:name " << literal(*direction == 'i' ? "Input" : "Output")
          << " ;\n  lv2:symbol " << literal(direction) << " .\n\n";
  out << angle(plugin.uri) << "\n  a lv2:Plugin , " << plugin.plugin_class << " , doap:Project ;\n"
      << "  doap:name " << literal(plugin.name) << " ;\n"
      << "  doap:shortdesc " << literal(plugin.description) << " ;\n"
      << "  doap:license <http://www.apache.org/licenses/LICENSE-2.0> ;\n"
      << "  doap:maintainer [ foaf:name \"Sonx\" ] ;\n"
      << "  rdfs:comment " << literal(plugin.description) << " ;\n";
  int major = 0, minor = 0, micro = 0;
  if (std::sscanf(sonx_rack_version(), "%d.%d.%d", &major, &minor, &micro) != 3)
    throw std::runtime_error("the rack's version has three parts");
  // Even versions are releases; a first version of 0 counts as one under construction.
  out << "  lv2:minorVersion " << 2 * (100 * major + minor) << " ;\n  lv2:microVersion "
      << 2 * micro << " ;\n"
      << "  lv2:optionalFeature lv2:hardRTCapable , log:log" << features << " ;\n"
      << more;
}

void write_effect(std::ostream& out, const sonx_effect& effect) {
  const plugin_text plugin = {effect_uri(effect.id), std::string("Sonx ") + effect.name,
                              effect.description,    class_of(effect),
                              effect.inputs,         effect.outputs};
  const auto groups = groups_of(effect);
  for (const auto& [head, name] : groups)
    out << angle(group_uri(plugin.uri, head)) << " a pg:Group ;\n  lv2:name " << literal(name)
        << " ;\n  lv2:symbol " << literal(head) << " .\n\n";
  begin_plugin(out, plugin, " , urid:map", "");
  port_list ports(out);
  add_audio(ports, plugin.uri, "in", plugin.inputs);
  add_audio(ports, plugin.uri, "out", plugin.outputs);
  add_fixed(ports);
  for (int k = 0; k < effect.parameter_count; ++k) {
    const sonx_parameter& p = effect.parameters[k];
    const std::string head = id_head(p);
    add_parameter(ports, p, groups.count(head) != 0 ? group_uri(plugin.uri, head) : "");
  }
  ports.end();
}

void write_rack(std::ostream& out) {
  const plugin_text plugin = {
      SONX_LV2_RACK,       "Sonx Rack", "Plays a preset file: any effects in a row.",
      "lv2:UtilityPlugin", 2,           2};
  out << angle(SONX_LV2_RACK_PRESET) << "\n  a lv2:Parameter ;\n  rdfs:label \"Preset\" ;\n"
      << "  rdfs:comment \"The preset file that is played.\" ;\n  rdfs:range atom:Path .\n\n";
  begin_plugin(out, plugin, " , work:schedule , state:threadSafeRestore",
               "  lv2:requiredFeature urid:map ;\n"
               "  lv2:extensionData work:interface , state:interface ;\n"
               "  patch:writable " +
                   angle(SONX_LV2_RACK_PRESET) + " ;\n");
  port_list ports(out);
  add_audio(ports, plugin.uri, "in", plugin.inputs);
  add_audio(ports, plugin.uri, "out", plugin.outputs);
  add_fixed(ports);
  const std::string messages =
      "    atom:bufferType atom:Sequence ;\n    atom:supports patch:Message ;\n"
      "    lv2:designation lv2:control ;\n    rsz:minimumSize 8192 ;\n";
  ports.add("atom:AtomPort , lv2:InputPort", "control", "Control", messages);
  ports.add("atom:AtomPort , lv2:OutputPort", "notify", "Notify", messages);
  ports.end();
}

// ---- Presets: each file is one of the rack's; one with a single effect is that effect's too.

struct preset {
  fs::path file;
  std::string text, name;
  std::unique_ptr<sonx_rack, void (*)(sonx_rack*)> rack{nullptr, sonx_rack_destroy};
};

// What stands behind `name = ` in the preset as the rack writes it; else the file's name.
std::string name_in(const sonx_rack* rack, const fs::path& file) {
  std::string text(static_cast<size_t>(sonx_rack_save(rack, nullptr, 0)) + 1, '\0');
  sonx_rack_save(rack, text.data(), text.size());
  const std::string before = "\nname = \"";
  const size_t start = text.find(before);
  if (start == std::string::npos) return file.stem().string();
  const size_t from = start + before.size();
  return text.substr(from, text.find("\"\n", from) - from);
}

// At a rate that all its effects have.
preset read_preset(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  preset p{file, {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()}, {}};
  char error[200] = "";
  for (const int rate : {48000, 44100, 32000, 16000}) {
    p.rack.reset(sonx_rack_create(rate, 1));
    if (p.rack && sonx_rack_load(p.rack.get(), p.text.c_str(), error, sizeof error) == 0) {
      p.name = name_in(p.rack.get(), file);
      return p;
    }
  }
  throw std::runtime_error(file.string() + ": " + error);
}

std::string rack_preset_uri(const preset& p) { return SONX_LV2_RACK "#" + p.file.stem().string(); }

std::string effect_preset_uri(const preset& p) {
  return effect_uri(sonx_rack_slot(p.rack.get(), 0)->id) + "#" + p.file.stem().string();
}

bool has_one_effect(const preset& p) { return sonx_rack_slot_count(p.rack.get()) == 1; }

void write_preset(std::ostream& out, const preset& p) {
  out << angle(rack_preset_uri(p))
      << "\n  a pset:Preset ;\n  lv2:appliesTo <" SONX_LV2_RACK "> ;\n  rdfs:label "
      << literal(p.name) << " ;\n  state:state [ <" SONX_LV2_RACK_PRESET "> <"
      << p.file.filename().string() << "> ] .\n\n";
  if (!has_one_effect(p)) return;
  const sonx_effect& effect = *sonx_rack_slot(p.rack.get(), 0);
  out << angle(effect_preset_uri(p)) << "\n  a pset:Preset ;\n  lv2:appliesTo "
      << angle(effect_uri(effect.id)) << " ;\n  rdfs:label " << literal(p.name) << " ;\n  lv2:port";
  for (int k = 0; k < effect.parameter_count; ++k)
    out << (k == 0 ? "" : " ,") << " [\n    lv2:symbol " << literal(effect.parameters[k].id)
        << " ;\n    pset:value " << decimal(sonx_rack_get(p.rack.get(), 0, k)) << "\n  ]";
  out << " .\n\n";
}

// ---- The bundle.

void write_manifest(std::ostream& out, const std::string& binary,
                    const std::vector<preset>& presets) {
  const auto plugin = [&](const std::string& uri, const char* file) {
    out << angle(uri) << " a lv2:Plugin ;\n  lv2:binary <" << binary << "> ;\n  rdfs:seeAlso <"
        << file << "> .\n\n";
  };
  for (int i = 0; i < sonx_effect_count(); ++i)
    plugin(effect_uri(sonx_effect_at(i)->id), "effects.ttl");
  plugin(SONX_LV2_RACK, "rack.ttl");
  const auto preset_of = [&](const std::string& uri, const std::string& plugin_uri) {
    out << angle(uri) << " a pset:Preset ;\n  lv2:appliesTo " << angle(plugin_uri)
        << " ;\n  rdfs:seeAlso <presets.ttl> .\n\n";
  };
  for (const preset& p : presets) {
    preset_of(rack_preset_uri(p), SONX_LV2_RACK);
    if (has_one_effect(p))
      preset_of(effect_preset_uri(p), effect_uri(sonx_rack_slot(p.rack.get(), 0)->id));
  }
}

void write_bundle(const fs::path& folder, const std::string& binary,
                  const fs::path& preset_folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(preset_folder))
    if (entry.path().extension() == ".toml") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  std::vector<preset> presets;
  for (const fs::path& file : files) presets.push_back(read_preset(file));

  fs::create_directories(folder);
  for (const auto& entry : fs::directory_iterator(folder))  // presets that are gone
    if (entry.path().extension() == ".toml") fs::remove(entry.path());
  for (const preset& p : presets)
    fs::copy_file(p.file, folder / p.file.filename(), fs::copy_options::overwrite_existing);
  auto manifest = open(folder / "manifest.ttl");
  write_manifest(manifest, binary, presets);
  auto effects = open(folder / "effects.ttl");
  for (int i = 0; i < sonx_effect_count(); ++i) write_effect(effects, *sonx_effect_at(i));
  auto rack = open(folder / "rack.ttl");
  write_rack(rack);
  auto texts = open(folder / "presets.ttl");
  for (const preset& p : presets) write_preset(texts, p);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 4) {
    std::cerr << "usage: make_bundle FOLDER BINARY PRESETS\n";
    return 1;
  }
  write_bundle(argv[1], argv[2], argv[3]);
  return 0;
} catch (const std::exception& error) {
  std::cerr << "make_bundle: " << error.what() << '\n';
  return 1;
}
