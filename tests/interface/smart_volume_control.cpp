#include <gtest/gtest.h>

#include "interface/linked.h"

enum SampleRateType : unsigned;

struct smart_volume_control_t;
void smart_volume_control_init(smart_volume_control_t*);
void smart_volume_control_set_sample_rate(smart_volume_control_t*, SampleRateType);
void smart_volume_control_reset(smart_volume_control_t*);
void smart_volume_control_end(smart_volume_control_t*);
void smart_volume_control_setstatus(smart_volume_control_t*, int);
void smart_volume_control_getstatus(smart_volume_control_t*, int*);
void smart_volume_control_set_level(smart_volume_control_t*, int);
void smart_volume_control_get_level(smart_volume_control_t*, int*);
void smart_volume_control_set_attact_order(smart_volume_control_t*, int);
void smart_volume_control_get_attact_order(smart_volume_control_t*, int*);
void smart_volume_control_set_release_order(smart_volume_control_t*, int);
void smart_volume_control_get_release_order(smart_volume_control_t*, int*);
void smart_volume_control_process(smart_volume_control_t*, int*, int*, int*, int*, int);

TEST(Interface, SmartVolumeControlIsThere) {
  EXPECT_TRUE(all_linked(
      smart_volume_control_init, smart_volume_control_set_sample_rate, smart_volume_control_reset,
      smart_volume_control_end, smart_volume_control_setstatus, smart_volume_control_getstatus,
      smart_volume_control_set_level, smart_volume_control_get_level,
      smart_volume_control_set_attact_order, smart_volume_control_get_attact_order,
      smart_volume_control_set_release_order, smart_volume_control_get_release_order,
      smart_volume_control_process));
}
