// The catalogue as JSON, in the rack's own words.
#include <cstdio>
#include <string>

#include "sonx/rack.h"

namespace {

std::string text(const char* plain) {
  std::string out = "\"";
  for (; *plain != '\0'; ++plain) {
    if (*plain == '"' || *plain == '\\') out += '\\';
    out += *plain;
  }
  return out + '"';
}

std::string text(double value) {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.17g", value);
  return digits;
}

// [visit(0),visit(1),..]
template <typename Visit>
std::string list(int count, Visit visit) {
  std::string out = "[";
  for (int k = 0; k < count; ++k) (out += k > 0 ? "," : "") += visit(k);
  return out + ']';
}

std::string json(const sonx_parameter& p) {
  static constexpr const char* kKinds[] = {"number", "switch", "choice"};
  return "{\"id\":" + text(p.id) + ",\"name\":" + text(p.name) + ",\"unit\":" + text(p.unit) +
         ",\"description\":" + text(p.description) + ",\"kind\":" + text(kKinds[p.kind]) +
         ",\"minimum\":" + text(p.minimum) + ",\"maximum\":" + text(p.maximum) +
         ",\"initial\":" + text(p.initial) + ",\"step\":" + text(p.step) +
         ",\"logarithmic\":" + (p.logarithmic ? "true" : "false") +
         ",\"choices\":" + list(p.choice_count, [&](int k) { return text(p.choices[k]); }) + '}';
}

std::string json(const sonx_effect& e) {
  return "{\"id\":" + text(e.id) + ",\"name\":" + text(e.name) +
         ",\"category\":" + text(e.category) + ",\"description\":" + text(e.description) +
         ",\"inputs\":" + text(e.inputs) + ",\"outputs\":" + text(e.outputs) +
         ",\"rates\":" + list(e.rate_count, [&](int k) { return text(e.rates[k]); }) +
         ",\"parameters\":" +
         list(e.parameter_count, [&](int k) { return json(e.parameters[k]); }) + '}';
}

}  // namespace

extern "C" const char* sonx_web_catalogue() {
  static const std::string all =
      list(sonx_effect_count(), [](int k) { return json(*sonx_effect_at(k)); });
  return all.c_str();
}
