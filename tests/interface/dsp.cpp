#include <gtest/gtest.h>

#include "interface/linked.h"

int sqrt_fixed(unsigned int);
int exp_fixed(int);
int log_fixed(unsigned int);

TEST(Interface, FixedPointMathIsThere) {
  EXPECT_TRUE(all_linked(sqrt_fixed, exp_fixed, log_fixed));
}

extern "C" {
void IIR_init(void*, const int*);
void IIR_reinit(void*, const int*);
void IIR_set_param(void*, const int*);
void IIR_get_param(void*, int*);
void IIR_reset(void*);
void IIR_end(void*);
void IIR_process_16(void*, const short*, short*);
void IIR_process_32(void*, const int*, int*);
}

extern const int kFilterCoefficients[5];

struct elliptic;
void elliptic_init(elliptic*, const int*);
void elliptic_setcoef(elliptic*, const int*);
void elliptic_resetstate(elliptic*);
void elliptic_end(elliptic*);
void elliptic_process(elliptic*, int*, int*);

struct notch;
void notch_init(notch*, int, int);
void notch_setcoef(notch*, int, int);
void notch_setfi(notch*, int);
void notch_resetstate(notch*);
void notch_end(notch*);
void notch_process(notch*, int*, int*);

struct dc_remove;
void dc_remove_init(dc_remove*);
void dc_remove_reset(dc_remove*);
void dc_remove_end(dc_remove*);
void dc_remove_process_16(dc_remove*, int*, int*);
void dc_remove_process_24(dc_remove*, int*, int*);

TEST(Interface, FilterSectionsAreThere) {
  EXPECT_TRUE(all_linked(IIR_init, IIR_reinit, IIR_set_param, IIR_get_param, IIR_reset, IIR_end,
                         IIR_process_16, IIR_process_32));
  EXPECT_EQ(kFilterCoefficients[0], 1027072);
  EXPECT_TRUE(all_linked(elliptic_init, elliptic_setcoef, elliptic_resetstate, elliptic_end,
                         elliptic_process));
  EXPECT_TRUE(all_linked(notch_init, notch_setcoef, notch_setfi, notch_resetstate, notch_end,
                         notch_process));
  EXPECT_TRUE(all_linked(dc_remove_init, dc_remove_reset, dc_remove_end, dc_remove_process_16,
                         dc_remove_process_24));
}

struct allpass;
void allpass_init(allpass*, int);
void allpass_reset(allpass*);
void allpass_end(allpass*);
void allpass_setfeedback(allpass*, int);
void allpass_getfeedback(allpass*, int*);
int allpass_process(int, allpass*);

struct comber;
void comb_init(comber*, int);
void comb_reset(comber*);
void comb_end(comber*);
void comb_setfeedback(comber*, int);
void comb_setsetdamp(comber*, int);
int comb_process_16(int, comber*);
int comb_process_24(int, comber*);

struct audio_delay;
void audio_delay_init(audio_delay*, int);
void audio_delay_reinit(audio_delay*, int);
void audio_delay_reset(audio_delay*);
void audio_delay_end(audio_delay*);
void audio_delay_set_delay(audio_delay*, int);
void audio_delay_get_delay(audio_delay*, int*);
int audio_delay_process(audio_delay*, int);

struct iircomber;
void iircomber_init(iircomber*, int);
void iircomber_reset(iircomber*);
void iircomber_end(iircomber*);
void iircomber_setdelay(iircomber*, int);
void iircomber_getdelay(iircomber*, int*);
void iircomber_setfeedback(iircomber*, int);
void iircomber_getfeedback(iircomber*, int*);
int iircomber_process(int, iircomber*);

TEST(Interface, DelayLinesAreThere) {
  EXPECT_TRUE(all_linked(allpass_init, allpass_reset, allpass_end, allpass_setfeedback,
                         allpass_getfeedback, allpass_process));
  EXPECT_TRUE(all_linked(comb_init, comb_reset, comb_end, comb_setfeedback, comb_setsetdamp,
                         comb_process_16, comb_process_24));
  EXPECT_TRUE(all_linked(audio_delay_init, audio_delay_reinit, audio_delay_reset, audio_delay_end,
                         audio_delay_set_delay, audio_delay_get_delay, audio_delay_process));
  EXPECT_TRUE(all_linked(iircomber_init, iircomber_reset, iircomber_end, iircomber_setdelay,
                         iircomber_getdelay, iircomber_setfeedback, iircomber_getfeedback,
                         iircomber_process));
}
