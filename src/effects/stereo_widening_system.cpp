#include "effects/stereo_widening_system.h"

#include "dsp/block.h"
#include "effects/memory.h"
#include "effects/widening_slices.h"
#include "effects/widening_stages.h"

void stereo_widening_system_init(stereo_widening_system* system) {
  system->status = 0;
  bool whole = true;
  whole &= make(system->difference, difference_circuit_init);
  whole &= make(system->crossfeed, crossfeed_network_init);
  whole &= make(system->reflector, early_reflector_init);
  if (!whole) stereo_widening_system_end(system);
}

void stereo_widening_system_reset(stereo_widening_system* system) {
  on(system->difference, difference_circuit_reset);
  on(system->crossfeed, crossfeed_network_reset);
  on(system->reflector, early_reflector_reset);
}

void stereo_widening_system_end(stereo_widening_system* system) {
  end_and_release(system->difference, difference_circuit_end);
  end_and_release(system->crossfeed, crossfeed_network_end);
  end_and_release(system->reflector, early_reflector_end);
}

void stereo_widening_system_set_sample_rate(stereo_widening_system* system, SampleRateType rate) {
  on(system->difference, difference_circuit_set_sample_rate, rate);
  on(system->crossfeed, crossfeed_network_set_sample_rate, rate);
  on(system->reflector, early_reflector_set_sample_rate, rate);
}

void stereo_widening_system_setstatus(stereo_widening_system* system, int status) {
  system->status = status;
}
void stereo_widening_system_getstatus(stereo_widening_system* system, int* status) {
  *status = system->status;
}

void stereo_widening_system_dc_set_side_gain(stereo_widening_system* system, int gain) {
  on(system->difference, difference_circuit_set_side_gain, gain);
}
void stereo_widening_system_dc_get_side_gain(stereo_widening_system* system, int* gain) {
  on(system->difference, difference_circuit_get_side_gain, gain);
}

void stereo_widening_system_cfn_set_gain(stereo_widening_system* system, int gain) {
  on(system->crossfeed, crossfeed_network_set_gain, gain);
}
void stereo_widening_system_cfn_get_gain(stereo_widening_system* system, int* gain) {
  on(system->crossfeed, crossfeed_network_get_gain, gain);
}

void stereo_widening_system_er_set_dry_gain(stereo_widening_system* system, int gain) {
  on(system->reflector, early_reflector_set_dry_gain, gain);
}
void stereo_widening_system_er_get_dry_gain(stereo_widening_system* system, int* gain) {
  on(system->reflector, early_reflector_get_dry_gain, gain);
}

void stereo_widening_system_er_set_wet_gain(stereo_widening_system* system, int gain) {
  on(system->reflector, early_reflector_set_wet_gain, gain);
}
void stereo_widening_system_er_get_wet_gain(stereo_widening_system* system, int* gain) {
  on(system->reflector, early_reflector_get_wet_gain, gain);
}

void stereo_widening_system_er_set_roomsize(stereo_widening_system* system, int roomsize) {
  on(system->reflector, early_reflector_set_roomsize, roomsize);
}
void stereo_widening_system_er_get_roomsize(stereo_widening_system* system, int* roomsize) {
  on(system->reflector, early_reflector_get_roomsize, roomsize);
}

void stereo_widening_system_er_set_damp(stereo_widening_system* system, int damp) {
  on(system->reflector, early_reflector_set_damp, damp);
}
void stereo_widening_system_er_get_damp(stereo_widening_system* system, int* damp) {
  on(system->reflector, early_reflector_get_damp, damp);
}

namespace {

// Each stage over what is left of a block behind its slices, up to the room. Never inlined, as
// widen_slices.
[[gnu::noinline]] void widen_rest(stereo_widening_system* system, int* in_left, int* in_right,
                                  stereo_buffers wide, stereo_buffers fed, int n) {
  difference_circuit_process_block(system->difference, in_left, in_right, wide.left, wide.right, n);
  crossfeed_network_process_block(system->crossfeed, wide.left, wide.right, wide.left, wide.right,
                                  n);
  reflector_feed(system->reflector, wide.left, wide.right, fed.left, fed.right, n);
}

}  // namespace

// Block by block: the sections of all stages side by side over whole slices, each stage over the
// rest, then the room. Work buffers in between, so that no left output overwrites a right input when
// the caller's buffers coincide.
void stereo_widening_system_process(stereo_widening_system* system, int* in_left, int* in_right,
                                    int* out_left, int* out_right, int n) {
  if (!has_memory(system)) return pass(in_left, in_right, out_left, out_right, n);
  for_each_block(n, [=](int64_t start, int count) {
    int left[kBlockFrames], right[kBlockFrames], fed_left[kBlockFrames], fed_right[kBlockFrames];
    const int done = widen_slices(system, in_left + start, in_right + start, {left, right},
                                  {fed_left, fed_right}, count);
    widen_rest(system, in_left + start + done, in_right + start + done, {left + done, right + done},
               {fed_left + done, fed_right + done}, count - done);
    reflector_room(system->reflector, left, right, fed_left, fed_right, out_left + start,
                   out_right + start, count);
  });
}
