#include <gtest/gtest.h>

#include "interface/linked.h"

enum SampleRateType : unsigned;

struct dynamic_range_control_t;
void dynamic_range_control_init(dynamic_range_control_t*, int, int);
void dynamic_range_control_reinit(dynamic_range_control_t*, int);
void dynamic_range_control_reset(dynamic_range_control_t*);
void dynamic_range_control_end(dynamic_range_control_t*);
void dynamic_range_control_set_threshold(dynamic_range_control_t*, int);
void dynamic_range_control_get_threshold(dynamic_range_control_t*, int*);
void dynamic_range_control_set_denoise_threshold(dynamic_range_control_t*, int);
void dynamic_range_control_get_denoise_threshold(dynamic_range_control_t*, int*);
void dynamic_range_control_set_volume(dynamic_range_control_t*, int);
void dynamic_range_control_get_volume(dynamic_range_control_t*, int*);
void dynamic_range_control_set_attact_order(dynamic_range_control_t*, int);
void dynamic_range_control_get_attact_order(dynamic_range_control_t*, int*);
void dynamic_range_control_set_release_order(dynamic_range_control_t*, int);
void dynamic_range_control_get_release_order(dynamic_range_control_t*, int*);
void dynamic_range_control_process(dynamic_range_control_t*, int*, int*, int);
int find_current_max_drc(int*, int*, int);

struct compressor_t;
void compressor_init(compressor_t*, int, int);
void compressor_set_sample_rate(compressor_t*, SampleRateType);
void compressor_reset(compressor_t*);
void compressor_end(compressor_t*);
void compressor_setstatus(compressor_t*, int);
void compressor_getstatus(compressor_t*, int*);
void compressor_set_volume(compressor_t*, int);
void compressor_get_volume(compressor_t*, int*);
void compressor_process(compressor_t*, int*, int*, int*, int*, int);

TEST(Interface, DynamicRangeControlAndCompressorAreThere) {
  EXPECT_TRUE(all_linked(
      dynamic_range_control_init, dynamic_range_control_reinit, dynamic_range_control_reset,
      dynamic_range_control_end, dynamic_range_control_set_threshold,
      dynamic_range_control_get_threshold, dynamic_range_control_set_denoise_threshold,
      dynamic_range_control_get_denoise_threshold, dynamic_range_control_set_volume,
      dynamic_range_control_get_volume, dynamic_range_control_set_attact_order,
      dynamic_range_control_get_attact_order, dynamic_range_control_set_release_order,
      dynamic_range_control_get_release_order, dynamic_range_control_process,
      find_current_max_drc));
  EXPECT_TRUE(all_linked(compressor_init, compressor_set_sample_rate, compressor_reset,
                         compressor_end, compressor_setstatus, compressor_getstatus,
                         compressor_set_volume, compressor_get_volume, compressor_process));
}
