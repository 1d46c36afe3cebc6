#include <gtest/gtest.h>

#include "interface/linked.h"

enum SampleRateType : unsigned;

struct virtual_bass_system;
void virtual_bass_system_init(virtual_bass_system*);
void virtual_bass_system_set_sample_rate(virtual_bass_system*, SampleRateType);
void virtual_bass_system_reset(virtual_bass_system*);
void virtual_bass_system_end(virtual_bass_system*);
void virtual_bass_system_set_nld_gain(virtual_bass_system*, int);
void virtual_bass_system_get_nld_gain(virtual_bass_system*, int*);
void virtual_bass_system_set_origin_gain(virtual_bass_system*, int);
void virtual_bass_system_get_origin_gain(virtual_bass_system*, int*);
void virtual_bass_system_set_high_band_gain(virtual_bass_system*, int);
void virtual_bass_system_get_high_band_gain(virtual_bass_system*, int*);
void virtual_bass_system_setstatus(virtual_bass_system*, int);
void virtual_bass_system_getstatus(virtual_bass_system*, int*);
void virtual_bass_system_set_nld_band_param(virtual_bass_system*, const int*);
void virtual_bass_system_get_nld_band_param(virtual_bass_system*, int*);
void virtual_bass_system_set_nld_clip_level(virtual_bass_system*, int);
void virtual_bass_system_get_nld_clip_level(virtual_bass_system*, int*);
void virtual_bass_system_process(virtual_bass_system*, int*, int*, int*, int*, int);

TEST(Interface, VirtualBassIsThere) {
  EXPECT_TRUE(all_linked(
      virtual_bass_system_init, virtual_bass_system_set_sample_rate, virtual_bass_system_reset,
      virtual_bass_system_end, virtual_bass_system_set_nld_gain, virtual_bass_system_get_nld_gain,
      virtual_bass_system_set_origin_gain, virtual_bass_system_get_origin_gain,
      virtual_bass_system_set_high_band_gain, virtual_bass_system_get_high_band_gain,
      virtual_bass_system_setstatus, virtual_bass_system_getstatus,
      virtual_bass_system_set_nld_band_param, virtual_bass_system_get_nld_band_param,
      virtual_bass_system_set_nld_clip_level, virtual_bass_system_get_nld_clip_level,
      virtual_bass_system_process));
}

struct spectral_band_split;
void spectral_band_split_init(spectral_band_split*, const int*, const int*);
void spectral_band_split_reinit(spectral_band_split*, const int*, const int*);
void spectral_band_split_reset(spectral_band_split*);
void spectral_band_split_end(spectral_band_split*);
void spectral_band_split_process(spectral_band_split*, int*, int*, int*);

struct NLD;
void NLD_init(NLD*);
void NLD_reset(NLD*);
void NLD_end(NLD*);
void NLD_set_clip_level(NLD*, int);
void NLD_get_clip_level(NLD*, int*);
void NLD_set_clip_flag(NLD*, int);
void NLD_get_clip_flag(NLD*, int*);
void clip_process(NLD*, int*, int*);
void multiplier_process(NLD*, int*, int*);
void NLD_process(NLD*, int*, int*);

struct compressor_bass;
void compressor_bass_init(compressor_bass*);
void compressor_bass_reset(compressor_bass*);
void compressor_bass_end(compressor_bass*);
void compressor_bass_setstatus(compressor_bass*, int);
void compresso_bassr_getstatus(compressor_bass*, int*);
int find_current_max_bass(int*, int);
void compressor_bass_process(compressor_bass*, int*, int*, int);

TEST(Interface, PartsOfTheVirtualBassAreThere) {
  EXPECT_TRUE(all_linked(spectral_band_split_init, spectral_band_split_reinit,
                         spectral_band_split_reset, spectral_band_split_end,
                         spectral_band_split_process));
  EXPECT_TRUE(all_linked(NLD_init, NLD_reset, NLD_end, NLD_set_clip_level, NLD_get_clip_level,
                         NLD_set_clip_flag, NLD_get_clip_flag, clip_process, multiplier_process,
                         NLD_process));
  EXPECT_TRUE(all_linked(compressor_bass_init, compressor_bass_reset, compressor_bass_end,
                         compressor_bass_setstatus, compresso_bassr_getstatus,
                         find_current_max_bass, compressor_bass_process));
}
