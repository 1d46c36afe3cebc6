#include <gtest/gtest.h>

#include "interface/linked.h"

enum SampleRateType : unsigned;

struct speaker_boost_system_t;
void speaker_boost_system_init(speaker_boost_system_t*);
void speaker_boost_system_set_sample_rate(speaker_boost_system_t*, SampleRateType);
void speaker_boost_system_reset(speaker_boost_system_t*);
void speaker_boost_system_end(speaker_boost_system_t*);
void speaker_boost_system_setstatus(speaker_boost_system_t*, int);
void speaker_boost_system_getstatus(speaker_boost_system_t*, int*);
void speaker_boost_system_set_nld_gain_left(speaker_boost_system_t*, int);
void speaker_boost_system_get_nld_gain_left(speaker_boost_system_t*, int*);
void speaker_boost_system_set_nld_gain_right(speaker_boost_system_t*, int);
void speaker_boost_system_get_nld_gain_right(speaker_boost_system_t*, int*);
void speaker_boost_system_set_channel_num(speaker_boost_system_t*, int);
void speaker_boost_system_get_channel_num(speaker_boost_system_t*, int*);
void speaker_boost_system_set_nld_param(speaker_boost_system_t*, int*);
void speaker_boost_system_get_nld_param(speaker_boost_system_t*, int*);
void speaker_boost_system_process_stereo(speaker_boost_system_t*, int*, int*, int*, int*, int);
void speaker_boost_system_process_mono(speaker_boost_system_t*, int*, int*, int);

TEST(Interface, SpeakerBoostIsThere) {
  EXPECT_TRUE(all_linked(
      speaker_boost_system_init, speaker_boost_system_set_sample_rate, speaker_boost_system_reset,
      speaker_boost_system_end, speaker_boost_system_setstatus, speaker_boost_system_getstatus,
      speaker_boost_system_set_nld_gain_left, speaker_boost_system_get_nld_gain_left,
      speaker_boost_system_set_nld_gain_right, speaker_boost_system_get_nld_gain_right,
      speaker_boost_system_set_channel_num, speaker_boost_system_get_channel_num,
      speaker_boost_system_set_nld_param, speaker_boost_system_get_nld_param,
      speaker_boost_system_process_stereo, speaker_boost_system_process_mono));
}

// Eight controllers of five parameters, each with a setter and a getter.
// clang-format off
#define FOR_EACH_PARAMETER(use, controller) \
  use(controller, attact_order)             \
  use(controller, release_order)            \
  use(controller, threshold)                \
  use(controller, denoise_threshold)        \
  use(controller, volume)
#define FOR_EACH_CONTROLLER(use)      \
  FOR_EACH_PARAMETER(use, low_left)   \
  FOR_EACH_PARAMETER(use, mid_left)   \
  FOR_EACH_PARAMETER(use, high_left)  \
  FOR_EACH_PARAMETER(use, full_left)  \
  FOR_EACH_PARAMETER(use, low_right)  \
  FOR_EACH_PARAMETER(use, mid_right)  \
  FOR_EACH_PARAMETER(use, high_right) \
  FOR_EACH_PARAMETER(use, full_right)
// clang-format on

#define DECLARE(controller, parameter)                                                        \
  void speaker_boost_system_drc_##controller##_set_##parameter(speaker_boost_system_t*, int); \
  void speaker_boost_system_drc_##controller##_get_##parameter(speaker_boost_system_t*, int*);
FOR_EACH_CONTROLLER(DECLARE)

#define EXPECT_LINKED(controller, parameter)                                      \
  EXPECT_TRUE(all_linked(speaker_boost_system_drc_##controller##_set_##parameter, \
                         speaker_boost_system_drc_##controller##_get_##parameter));
TEST(Interface, EightyAccessorsOfTheSpeakerBoostAreThere) { FOR_EACH_CONTROLLER(EXPECT_LINKED) }
