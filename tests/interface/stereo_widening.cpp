#include <gtest/gtest.h>

#include "interface/linked.h"

enum SampleRateType : unsigned;

struct stereo_widening_system;
void stereo_widening_system_init(stereo_widening_system*);
void stereo_widening_system_set_sample_rate(stereo_widening_system*, SampleRateType);
void stereo_widening_system_reset(stereo_widening_system*);
void stereo_widening_system_end(stereo_widening_system*);
void stereo_widening_system_setstatus(stereo_widening_system*, int);
void stereo_widening_system_getstatus(stereo_widening_system*, int*);
void stereo_widening_system_dc_set_side_gain(stereo_widening_system*, int);
void stereo_widening_system_dc_get_side_gain(stereo_widening_system*, int*);
void stereo_widening_system_cfn_set_gain(stereo_widening_system*, int);
void stereo_widening_system_cfn_get_gain(stereo_widening_system*, int*);
void stereo_widening_system_er_set_dry_gain(stereo_widening_system*, int);
void stereo_widening_system_er_get_dry_gain(stereo_widening_system*, int*);
void stereo_widening_system_er_set_wet_gain(stereo_widening_system*, int);
void stereo_widening_system_er_get_wet_gain(stereo_widening_system*, int*);
void stereo_widening_system_er_set_roomsize(stereo_widening_system*, int);
void stereo_widening_system_er_get_roomsize(stereo_widening_system*, int*);
void stereo_widening_system_er_set_damp(stereo_widening_system*, int);
void stereo_widening_system_er_get_damp(stereo_widening_system*, int*);
void stereo_widening_system_process(stereo_widening_system*, int*, int*, int*, int*, int);

TEST(Interface, StereoWideningIsThere) {
  EXPECT_TRUE(all_linked(
      stereo_widening_system_init, stereo_widening_system_set_sample_rate,
      stereo_widening_system_reset, stereo_widening_system_end, stereo_widening_system_setstatus,
      stereo_widening_system_getstatus, stereo_widening_system_dc_set_side_gain,
      stereo_widening_system_dc_get_side_gain, stereo_widening_system_cfn_set_gain,
      stereo_widening_system_cfn_get_gain, stereo_widening_system_er_set_dry_gain,
      stereo_widening_system_er_get_dry_gain, stereo_widening_system_er_set_wet_gain,
      stereo_widening_system_er_get_wet_gain, stereo_widening_system_er_set_roomsize,
      stereo_widening_system_er_get_roomsize, stereo_widening_system_er_set_damp,
      stereo_widening_system_er_get_damp, stereo_widening_system_process));
}

struct difference_circuit;
void difference_circuit_init(difference_circuit*);
void difference_circuit_set_sample_rate(difference_circuit*, SampleRateType);
void difference_circuit_reset(difference_circuit*);
void difference_circuit_end(difference_circuit*);
void difference_circuit_set_side_gain(difference_circuit*, int);
void difference_circuit_get_side_gain(difference_circuit*, int*);
void difference_circuit_process_32(difference_circuit*, int*, int*, int*, int*);
void difference_circuit_process_block(difference_circuit*, int*, int*, int*, int*, int);

struct crossfeed_network;
void crossfeed_network_init(crossfeed_network*);
void crossfeed_network_set_sample_rate(crossfeed_network*, SampleRateType);
void crossfeed_network_reset(crossfeed_network*);
void crossfeed_network_end(crossfeed_network*);
void crossfeed_network_set_gain(crossfeed_network*, int);
void crossfeed_network_get_gain(crossfeed_network*, int*);
void crossfeed_network_process_32(crossfeed_network*, int*, int*, int*, int*);
void crossfeed_network_process_block(crossfeed_network*, int*, int*, int*, int*, int);

struct early_reflector;
void early_reflector_init(early_reflector*);
void early_reflector_set_sample_rate(early_reflector*, SampleRateType);
void early_reflector_reset(early_reflector*);
void early_reflector_end(early_reflector*);
void early_reflector_update(early_reflector*);
void early_reflector_set_dry_gain(early_reflector*, int);
void early_reflector_get_dry_gain(early_reflector*, int*);
void early_reflector_set_wet_gain(early_reflector*, int);
void early_reflector_get_wet_gain(early_reflector*, int*);
void early_reflector_set_roomsize(early_reflector*, int);
void early_reflector_get_roomsize(early_reflector*, int*);
void early_reflector_set_damp(early_reflector*, int);
void early_reflector_get_damp(early_reflector*, int*);
void early_reflector_process_32(early_reflector*, int*, int*, int*, int*);
void early_reflector_process_block(early_reflector*, int*, int*, int*, int*, int);

TEST(Interface, PartsOfTheStereoWideningAreThere) {
  EXPECT_TRUE(all_linked(difference_circuit_init, difference_circuit_set_sample_rate,
                         difference_circuit_reset, difference_circuit_end,
                         difference_circuit_set_side_gain, difference_circuit_get_side_gain,
                         difference_circuit_process_32, difference_circuit_process_block));
  EXPECT_TRUE(all_linked(crossfeed_network_init, crossfeed_network_set_sample_rate,
                         crossfeed_network_reset, crossfeed_network_end, crossfeed_network_set_gain,
                         crossfeed_network_get_gain, crossfeed_network_process_32,
                         crossfeed_network_process_block));
  EXPECT_TRUE(all_linked(
      early_reflector_init, early_reflector_set_sample_rate, early_reflector_reset,
      early_reflector_end, early_reflector_update, early_reflector_set_dry_gain,
      early_reflector_get_dry_gain, early_reflector_set_wet_gain, early_reflector_get_wet_gain,
      early_reflector_set_roomsize, early_reflector_get_roomsize, early_reflector_set_damp,
      early_reflector_get_damp, early_reflector_process_32, early_reflector_process_block));
}
