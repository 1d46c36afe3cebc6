#include "effects/compressor.h"

#include "effects/memory.h"
#include "effects/rates.h"

namespace {

constexpr int kLongestFrame = frame_length(SAMPLE_RATE_192000);  // the delays are taken for it

bool make_channel(dynamic_range_control_t*& drc, int volume, int history_len) {
  if (!make(drc, dynamic_range_control_init, history_len, kLongestFrame)) return false;
  dynamic_range_control_set_threshold(drc, 30720);
  dynamic_range_control_set_denoise_threshold(drc, 1);
  dynamic_range_control_set_volume(drc, volume);
  dynamic_range_control_set_attact_order(drc, 0);
  dynamic_range_control_set_release_order(drc, 7);
  return true;
}

}  // namespace

void compressor_init(compressor_t* compressor, int volume, int history_len) {
  compressor->status = 0;
  compressor->volume = volume;
  compressor->history_len = history_len;
  bool whole = make_channel(compressor->left, volume, history_len);
  whole &= make_channel(compressor->right, volume, history_len);
  if (!whole) compressor_end(compressor);
}

void compressor_set_sample_rate(compressor_t* compressor, SampleRateType rate) {
  on(compressor->left, dynamic_range_control_reinit, frame_length(rate));
  on(compressor->right, dynamic_range_control_reinit, frame_length(rate));
}

void compressor_reset(compressor_t* compressor) {
  on(compressor->left, dynamic_range_control_reset);
  on(compressor->right, dynamic_range_control_reset);
}

void compressor_end(compressor_t* compressor) {
  end_and_release(compressor->left, dynamic_range_control_end);
  end_and_release(compressor->right, dynamic_range_control_end);
}

void compressor_setstatus(compressor_t* compressor, int status) { compressor->status = status; }
void compressor_getstatus(compressor_t* compressor, int* status) { *status = compressor->status; }

void compressor_set_volume(compressor_t* compressor, int volume) {
  compressor->volume = volume;
  on(compressor->left, dynamic_range_control_set_volume, volume);
  on(compressor->right, dynamic_range_control_set_volume, volume);
}
void compressor_get_volume(compressor_t* compressor, int* volume) { *volume = compressor->volume; }

void compressor_process(compressor_t* compressor, int* in_left, int* in_right, int* out_left,
                        int* out_right, int n) {
  if (!has_memory(compressor)) return pass(in_left, in_right, out_left, out_right, n);
  dynamic_range_control_process(compressor->left, in_left, out_left, n);
  dynamic_range_control_process(compressor->right, in_right, out_right, n);
}
