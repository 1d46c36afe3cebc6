#include "dsp/dc_remove.h"

#include "dsp/kernels/dc_remove.h"

void dc_remove_init(dc_remove* filter) { dc_remove_reset(filter); }

void dc_remove_reset(dc_remove* filter) { filter->y_prev = filter->x_prev = 0; }

void dc_remove_end(dc_remove* filter) { dc_remove_reset(filter); }

void dc_remove_process_16(dc_remove* filter, int* in, int* out) {
  *out = dc_remove_step_16(filter->x_prev, filter->y_prev, *in);
}

void dc_remove_process_24(dc_remove* filter, int* in, int* out) {
  *out = dc_remove_step_24(filter->x_prev, filter->y_prev, *in);
}
