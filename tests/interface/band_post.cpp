#include <gtest/gtest.h>

#include "interface/linked.h"

struct BPInfo_tag;
BPInfo_tag* BP_ns_init(int, int);
int BP_ns_pre(BPInfo_tag*, short*, int, short*);
short BP_ns_app(BPInfo_tag*, unsigned short*, unsigned int, short);
int BP_ns_post(BPInfo_tag*, short*, int, short*);
int BP_ns_delete(BPInfo_tag*);
void soft_gain_proc(short*, int, short*, short, short*, short);

TEST(Interface, BandPostProcessingIsThere) {
  EXPECT_TRUE(
      all_linked(BP_ns_init, BP_ns_pre, BP_ns_app, BP_ns_post, BP_ns_delete, soft_gain_proc));
}
