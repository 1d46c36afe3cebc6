// Setters and getters of one number each.
#pragma once

#include <gtest/gtest.h>

#include "support/signals.h"

template <typename Record>
struct setting {
  void (*set)(Record*, int);
  void (*get)(Record*, int*);
};

// Expects the defaults first and then, all having been set to different values, each to hold its
// own. The first setting gets value, the others the numbers that follow.
template <typename Record, size_t count>
void expect_settings(Record* record, const setting<Record> (&table)[count], const samples& defaults,
                     int value = 1001) {
  const auto all = [&] {
    samples values(count);
    for (size_t k = 0; k < count; ++k) table[k].get(record, &values[k]);
    return values;
  };
  EXPECT_EQ(all(), defaults);
  samples own(count);
  for (size_t k = 0; k < count; ++k) table[k].set(record, own[k] = value + static_cast<int>(k));
  EXPECT_EQ(all(), own);
}
