#include <gtest/gtest.h>

#include "interface/linked.h"

struct Resampler_t;
void Resampler_init(Resampler_t*);
void Resampler_config(Resampler_t*, int, int);
int Resampler_proc(Resampler_t*, const short*, int, short*, int, int*);
void Resampler_delete(Resampler_t*);

TEST(Interface, SampleRateConverterIsThere) {
  EXPECT_TRUE(all_linked(Resampler_init, Resampler_config, Resampler_proc, Resampler_delete));
}
