#include <gtest/gtest.h>

#include "interface/linked.h"

struct reverb_t;
void reverb_init(reverb_t*);
void reverb_reset(reverb_t*);
void reverb_end(reverb_t*);
void reverb_setroomsize(reverb_t*, int);
void reverb_setdamp(reverb_t*, int);
void reverb_setwet(reverb_t*, int);
void reverb_setdry(reverb_t*, int);
void reverb_setwidth(reverb_t*, int);
void reverb_setgain(reverb_t*, int);
void reverb_setstatus(reverb_t*, int);
void reverb_getroomsize(reverb_t*, int*);
void reverb_getdamp(reverb_t*, int*);
void reverb_getwet(reverb_t*, int*);
void reverb_getdry(reverb_t*, int*);
void reverb_getwidth(reverb_t*, int*);
void reverb_getgain(reverb_t*, int*);
void reverb_getstatus(reverb_t*, int*);
void reverb_update(reverb_t*);
void reverb_process_stereo_16(reverb_t*, short*, short*, short*, short*, unsigned int);
void reverb_process_stereo_24(reverb_t*, int*, int*, int*, int*, unsigned int);
void reverb_processMono(reverb_t*, short*, short*, int);

TEST(Interface, ReverbIsThere) {
  EXPECT_TRUE(all_linked(reverb_init, reverb_reset, reverb_end, reverb_setroomsize, reverb_setdamp,
                         reverb_setwet, reverb_setdry, reverb_setwidth, reverb_setgain,
                         reverb_setstatus, reverb_getroomsize, reverb_getdamp, reverb_getwet,
                         reverb_getdry, reverb_getwidth, reverb_getgain, reverb_getstatus,
                         reverb_update, reverb_process_stereo_16, reverb_process_stereo_24,
                         reverb_processMono));
}
