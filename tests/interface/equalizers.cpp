#include <gtest/gtest.h>

#include "interface/linked.h"

enum SampleRateType : unsigned;

struct equalizer_t;
void equalizer_init(equalizer_t*);
void equalizer_reset(equalizer_t*);
void equalizer_end(equalizer_t*);
void equalizer_setparameter(equalizer_t*, int (*)[5]);
void equalizer_getparameter(equalizer_t*, int (*)[5]);
int equalizer_set_param_index_44100(equalizer_t*, int*);
int equalizer_set_param_index_48000(equalizer_t*, int*);
int equalizer_set_param_index_96000(equalizer_t*, int*);
int equalizer_set_param_index(equalizer_t*, int*, SampleRateType);
void equalizer_get_param_index(equalizer_t*, int*);
void equalizer_setstatus(equalizer_t*, int);
void equalizer_getstatus(equalizer_t*, int*);
void equalizer_set_gain(equalizer_t*, int);
void equalizer_get_gain(equalizer_t*, int*);
void equalizer_process_stereo(equalizer_t*, int*, int*, int*, int*, int);
void equalizer_process_mono(equalizer_t*, int*, int*, int);
float weighting_offset(int, float);
int calc_gain_from_idxs(int*);

TEST(Interface, GraphicEqualizerIsThere) {
  EXPECT_TRUE(all_linked(
      equalizer_init, equalizer_reset, equalizer_end, equalizer_setparameter,
      equalizer_getparameter, equalizer_set_param_index_44100, equalizer_set_param_index_48000,
      equalizer_set_param_index_96000, equalizer_set_param_index, equalizer_get_param_index,
      equalizer_setstatus, equalizer_getstatus, equalizer_set_gain, equalizer_get_gain,
      equalizer_process_stereo, equalizer_process_mono, weighting_offset, calc_gain_from_idxs));
}

struct parameter_equalizer_t;
void parameter_equalizer_init(parameter_equalizer_t*);
void parameter_equalizer_reset(parameter_equalizer_t*);
void parameter_equalizer_end(parameter_equalizer_t*);
void parameter_equalizer_setparameter_left(parameter_equalizer_t*, const int (*)[6]);
void parameter_equalizer_setparameter_right(parameter_equalizer_t*, const int (*)[6]);
void parameter_equalizer_getparameter_left(parameter_equalizer_t*, int (*)[6]);
void parameter_equalizer_getparameter_right(parameter_equalizer_t*, int (*)[6]);
void parameter_equalizer_setstatus(parameter_equalizer_t*, int);
void parameter_equalizer_getstatus(parameter_equalizer_t*, int*);
void parameter_equalizer_set_gain_left(parameter_equalizer_t*, int);
void parameter_equalizer_get_gain_left(parameter_equalizer_t*, int*);
void parameter_equalizer_set_gain_right(parameter_equalizer_t*, int);
void parameter_equalizer_get_gain_right(parameter_equalizer_t*, int*);
void parameter_equalizer_process_stereo(parameter_equalizer_t*, int*, int*, int*, int*, int);
void parameter_equalizer_process_mono(parameter_equalizer_t*, int*, int*, int);

TEST(Interface, ParametricEqualizerIsThere) {
  EXPECT_TRUE(
      all_linked(parameter_equalizer_init, parameter_equalizer_reset, parameter_equalizer_end,
                 parameter_equalizer_setparameter_left, parameter_equalizer_setparameter_right,
                 parameter_equalizer_getparameter_left, parameter_equalizer_getparameter_right,
                 parameter_equalizer_setstatus, parameter_equalizer_getstatus,
                 parameter_equalizer_set_gain_left, parameter_equalizer_get_gain_left,
                 parameter_equalizer_set_gain_right, parameter_equalizer_get_gain_right,
                 parameter_equalizer_process_stereo, parameter_equalizer_process_mono));
}
