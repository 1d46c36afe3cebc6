#include "pipewire_text.h"

#include <cctype>
#include <stdexcept>
#include <vector>

#include "lv2/uris.h"

namespace sonx {

namespace {

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + '"';
}

// "Late evening" as a part of a node's name: "late-evening". Bytes beyond ASCII stay.
std::string slug(const std::string& name) {
  std::string result;
  for (const char c : name)
    if (const auto byte = static_cast<unsigned char>(c); byte >= 0x80 || std::isalnum(byte) != 0)
      result += static_cast<char>(byte < 0x80 ? std::tolower(byte) : byte);
    else if (!result.empty() && result.back() != '-')
      result += '-';
  if (result.ends_with('-')) result.pop_back();
  return result;
}

// The nodes of a slot: one, or where an effect hears one channel, one for each side.
class chain_slot {
 public:
  chain_slot(const rack& its, int slot, bool enabled)
      : effect_(its.effect(slot)), name_("slot" + std::to_string(slot + 1)) {
    if (effect_.inputs != effect_.outputs)
      throw std::runtime_error(std::string("a stereo chain can't hold '") + effect_.id +
                               "', which has another number of inputs than of outputs");
    if (!enabled) control(kEnabledSymbol, 0);
    for (int k = 0; k < effect_.parameter_count; ++k)
      if (const double value = its.get(slot, k); value != effect_.parameters[k].initial)
        control(effect_.parameters[k].id, value);
  }

  std::string nodes() const {
    std::string text;
    for (int side = 0; side < (mono() ? 2 : 1); ++side)
      text +=
          "          { type = lv2 name = " + node(side) +
          " plugin = " + quoted(effect_uri(effect_.id)) +
          (controls_.empty() ? "" : "\n            control = {\n" + controls_ + "            }") +
          " }\n";
    return text;
  }

  // direction is "in" or "out".
  std::string port(const char* direction, int side) const {
    return quoted(node(side) + ":" + audio_symbol(direction, effect_.inputs, side));
  }

 private:
  void control(const std::string& symbol, double value) {
    controls_ += "              " + symbol + " = " + number_text(value) + "\n";
  }
  bool mono() const { return effect_.inputs == 1; }
  std::string node(int side) const {
    return mono() ? name_ + (side == 0 ? "_left" : "_right") : name_;
  }

  const sonx_effect& effect_;
  std::string name_, controls_;
};

std::string both_ports(const chain_slot& slot, const char* direction) {
  return "[ " + slot.port(direction, 0) + " " + slot.port(direction, 1) + " ]\n";
}

std::string links_of(const std::vector<chain_slot>& slots) {
  std::string text;
  for (size_t k = 1; k < slots.size(); ++k)
    for (const int side : {0, 1})
      text += "          { output = " + slots[k - 1].port("out", side) +
              " input = " + slots[k].port("in", side) + " }\n";
  return text.empty() ? "" : "        links = [\n" + text + "        ]\n";
}

}  // namespace

std::string pipewire_text(const rack& its, const std::string& file_name) {
  const rack_notes notes = its.notes();
  std::vector<chain_slot> slots;
  for (int k = 0; k < its.slots(); ++k)
    slots.emplace_back(its, k, notes.enabled && notes.slot_enabled.at(static_cast<size_t>(k)));
  if (slots.empty()) throw std::runtime_error("a rack without effects makes no chain");

  // A name as the preset has it, escapes and all.
  const std::string name =
      notes.name.empty() ? quoted("Sonx: " + file_name) : '"' + notes.name + '"';
  const std::string tail = slug(notes.name.empty() ? file_name : notes.name);
  const std::string node = tail.empty() ? "sonx" : "sonx." + tail;
  std::string nodes;
  for (const chain_slot& slot : slots) nodes += slot.nodes();
  return "# Written by sonx export. PipeWire reads it from ~/.config/pipewire/pipewire.conf.d when "
         "it\n"
         "# starts: systemctl --user restart pipewire\n"
         "context.modules = [\n"
         "  { name = libpipewire-module-filter-chain\n"
         "    flags = [ nofail ]  # without the plugins there is no chain, but sound\n"
         "    args = {\n"
         "      node.description = " +
         name +
         "\n"
         "      media.name = " +
         name +
         "\n"
         "      filter.graph = {\n"
         "        nodes = [\n" +
         nodes + "        ]\n" + links_of(slots) +
         "        inputs = " + both_ports(slots.front(), "in") +
         "        outputs = " + both_ports(slots.back(), "out") +
         "      }\n"
         "      audio.rate = " +
         std::to_string(its.rate()) +
         "  # which every effect has; from and to others PipeWire converts\n"
         "      audio.channels = 2\n"
         "      audio.position = [ FL FR ]\n"
         "      capture.props = { node.name = " +
         quoted(node) +
         " media.class = Audio/Sink }\n"
         "      playback.props = { node.name = " +
         quoted(node + ".output") +
         " node.passive = true }\n"
         "    }\n"
         "  }\n"
         "]\n";
}

}  // namespace sonx
