#include "dsp/dc_remove.h"

#include "dsp/dc_remove_block.h"

void dc_remove_init(dc_remove* filter) { dc_remove_reset(filter); }

void dc_remove_reset(dc_remove* filter) { filter->y_prev = filter->x_prev = 0; }

void dc_remove_end(dc_remove* filter) { dc_remove_reset(filter); }

void dc_remove_process_16(dc_remove* filter, int* in, int* out) {
  dc_remove_block_16(filter, in, out, 1);
}

void dc_remove_process_24(dc_remove* filter, int* in, int* out) {
  dc_remove_block_24(filter, in, out, 1);
}

void dc_remove_block_16(dc_remove* filter, const int* in, int* out, int n) {
  int64_t x_prev = filter->x_prev, y_prev = filter->y_prev;
  for (int i = 0; i < n; ++i) out[i] = dc_remove_step_16(x_prev, y_prev, in[i]);
  filter->x_prev = x_prev;
  filter->y_prev = y_prev;
}

void dc_remove_block_24(dc_remove* filter, const int* in, int* out, int n) {
  int64_t x_prev = filter->x_prev, y_prev = filter->y_prev;
  for (int i = 0; i < n; ++i) out[i] = dc_remove_step_24(x_prev, y_prev, in[i]);
  filter->x_prev = x_prev;
  filter->y_prev = y_prev;
}
