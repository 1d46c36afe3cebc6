#include <gtest/gtest.h>

#include "interface/linked.h"

struct teka_hp_effect_t;
void teka_hp_effect_process_16(teka_hp_effect_t*, void*, void*, void*, void*, int);
void teka_hp_effect_process_24(teka_hp_effect_t*, void*, void*, void*, void*, int);

TEST(Interface, UntypedPlanarEntryPointsAreThere) {
  EXPECT_TRUE(all_linked(teka_hp_effect_process_16, teka_hp_effect_process_24));
}
