// All-pass and echo comb.
#include <gtest/gtest.h>

#include "support/delay_lines.h"
#include "support/signals.h"

TEST(Allpass, PassesAllEnergy) {
  for (int gain : {4096, -6000}) {
    double energy = 0.0;
    for (int v : through(allpass_section(7, gain), impulse(840, 1 << 23))) energy += double(v) * v;
    EXPECT_NEAR(energy / (double(1 << 23) * (1 << 23)), 1.0, 1e-5);
  }
}

// The loop filter's gain at 0 Hz is 1 / 1.69995, so a constant settles at x / (1 - g / 1.69995).
TEST(EchoComb, SettlesByItsLoopGain) {
  echo_comb comb(10, 4, 4096);
  EXPECT_NEAR(through(comb, samples(2000, 1000000)).back(),
              1000000.0 / (1.0 - 0.5 / (1.0 + 5734.0 / 8192.0)), 4.0);
}
