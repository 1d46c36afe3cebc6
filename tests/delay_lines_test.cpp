#include <gtest/gtest.h>

#include "dsp/allpass.h"

TEST(Allpass, GivesTheImpulseResponseWorkedOutByHand) {
  allpass section;
  allpass_init(&section, 3);
  const int expected[] = {4096, 0, 0, 6144, 0, 0, -3072};
  for (int n = 0; n < 7; ++n) EXPECT_EQ(allpass_process(n == 0 ? 8192 : 0, &section), expected[n]);
  allpass_end(&section);
}
