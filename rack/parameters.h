// How an effect's file writes its parameters down.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "sonx/rack.h"

struct value_range {
  double minimum, maximum, initial, step = 0.0;
};

constexpr sonx_parameter number(const char* id, const char* name, const char* unit,
                                value_range range, const char* description) {
  return {
      id,         name, unit, description, SONX_NUMBER, range.minimum, range.maximum, range.initial,
      range.step, 0,    0,    nullptr};
}

// A number whose slider moves by equal ratios: frequencies and times.
constexpr sonx_parameter ratio(const char* id, const char* name, const char* unit,
                               value_range range, const char* description) {
  sonx_parameter parameter = number(id, name, unit, range, description);
  parameter.logarithmic = 1;
  return parameter;
}

constexpr sonx_parameter toggle(const char* id, const char* name, bool initial,
                                const char* description) {
  return {id,  name, "", description, SONX_SWITCH, 0.0, 1.0, initial ? 1.0 : 0.0,
          1.0, 0,    0,  nullptr};
}

template <size_t count>
constexpr sonx_parameter choice(const char* id, const char* name,
                                const std::array<const char*, count>& choices, int initial,
                                const char* description) {
  return {id,
          name,
          "",
          description,
          SONX_CHOICE,
          0.0,
          static_cast<double>(count - 1),
          static_cast<double>(initial),
          1.0,
          0,
          static_cast<int>(count),
          choices.data()};
}

// A number that isn't NaN as the parameter takes it: within its range, on its steps.
inline double settled(const sonx_parameter& parameter, double value) {
  value = std::clamp(value, parameter.minimum, parameter.maximum);
  if (parameter.step == 0.0) return value;
  const double steps = std::floor((value - parameter.minimum) / parameter.step + 0.5);
  return std::min(parameter.minimum + steps * parameter.step, parameter.maximum);
}
