#include <gtest/gtest.h>

#include "interface/linked.h"

struct gramophone;
void gramophone_init(gramophone*);
void gramophone_end(gramophone*);
void gramophone_setstatus(gramophone*, int);
void gramophone_getstatus(gramophone*, int*);
void gramophone_process(gramophone*, int*, int*, int);
void overdrive_process(int*, int*);
void bit_shift_porocess(int*, int*);

struct iirecho;
void iirecho_init(iirecho*);
void iirecho_update(iirecho*);
void iirecho_end(iirecho*);
void iirecho_processStereo(iirecho*, int*, int*, int*, int*, int);
void iirecho_setfeedback(iirecho*, int);
void iirecho_setdelay(iirecho*, int);
void iirecho_setwet(iirecho*, int);
void iirecho_setdry(iirecho*, int);
void iirecho_setstatus(iirecho*, int);
void iirecho_getfeedback(iirecho*, int*);
void iirecho_getdelay(iirecho*, int*);
void iirecho_getwet(iirecho*, int*);
void iirecho_getdry(iirecho*, int*);
void iirecho_getstatus(iirecho*, int*);

TEST(Interface, GramophoneAndEchoAreThere) {
  EXPECT_TRUE(all_linked(gramophone_init, gramophone_end, gramophone_setstatus,
                         gramophone_getstatus, gramophone_process, overdrive_process,
                         bit_shift_porocess));
  EXPECT_TRUE(all_linked(iirecho_init, iirecho_update, iirecho_end, iirecho_processStereo,
                         iirecho_setfeedback, iirecho_setdelay, iirecho_setwet, iirecho_setdry,
                         iirecho_setstatus, iirecho_getfeedback, iirecho_getdelay, iirecho_getwet,
                         iirecho_getdry, iirecho_getstatus));
}
