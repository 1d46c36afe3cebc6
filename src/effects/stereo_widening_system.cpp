#include "effects/stereo_widening_system.h"

#include "allocation.h"
#include "dsp/block.h"

void stereo_widening_system_init(stereo_widening_system* system) {
  system->status = 0;
  system->difference = make<difference_circuit>(difference_circuit_init);
  system->crossfeed = make<crossfeed_network>(crossfeed_network_init);
  system->reflector = make<early_reflector>(early_reflector_init);
}

void stereo_widening_system_reset(stereo_widening_system* system) {
  difference_circuit_reset(system->difference);
  crossfeed_network_reset(system->crossfeed);
  early_reflector_reset(system->reflector);
}

void stereo_widening_system_end(stereo_widening_system* system) {
  end_and_release(system->difference, difference_circuit_end);
  end_and_release(system->crossfeed, crossfeed_network_end);
  end_and_release(system->reflector, early_reflector_end);
}

void stereo_widening_system_set_sample_rate(stereo_widening_system* system, SampleRateType rate) {
  difference_circuit_set_sample_rate(system->difference, rate);
  crossfeed_network_set_sample_rate(system->crossfeed, rate);
  early_reflector_set_sample_rate(system->reflector, rate);
}

void stereo_widening_system_setstatus(stereo_widening_system* system, int status) {
  system->status = status;
}
void stereo_widening_system_getstatus(stereo_widening_system* system, int* status) {
  *status = system->status;
}

void stereo_widening_system_dc_set_side_gain(stereo_widening_system* system, int gain) {
  difference_circuit_set_side_gain(system->difference, gain);
}
void stereo_widening_system_dc_get_side_gain(stereo_widening_system* system, int* gain) {
  difference_circuit_get_side_gain(system->difference, gain);
}

void stereo_widening_system_cfn_set_gain(stereo_widening_system* system, int gain) {
  crossfeed_network_set_gain(system->crossfeed, gain);
}
void stereo_widening_system_cfn_get_gain(stereo_widening_system* system, int* gain) {
  crossfeed_network_get_gain(system->crossfeed, gain);
}

void stereo_widening_system_er_set_dry_gain(stereo_widening_system* system, int gain) {
  early_reflector_set_dry_gain(system->reflector, gain);
}
void stereo_widening_system_er_get_dry_gain(stereo_widening_system* system, int* gain) {
  early_reflector_get_dry_gain(system->reflector, gain);
}

void stereo_widening_system_er_set_wet_gain(stereo_widening_system* system, int gain) {
  early_reflector_set_wet_gain(system->reflector, gain);
}
void stereo_widening_system_er_get_wet_gain(stereo_widening_system* system, int* gain) {
  early_reflector_get_wet_gain(system->reflector, gain);
}

void stereo_widening_system_er_set_roomsize(stereo_widening_system* system, int roomsize) {
  early_reflector_set_roomsize(system->reflector, roomsize);
}
void stereo_widening_system_er_get_roomsize(stereo_widening_system* system, int* roomsize) {
  early_reflector_get_roomsize(system->reflector, roomsize);
}

void stereo_widening_system_er_set_damp(stereo_widening_system* system, int damp) {
  early_reflector_set_damp(system->reflector, damp);
}
void stereo_widening_system_er_get_damp(stereo_widening_system* system, int* damp) {
  early_reflector_get_damp(system->reflector, damp);
}

// Block by block, each stage over the whole block. Work buffers between the stages, so that no
// stage's left output overwrites its right input when the caller's buffers coincide.
void stereo_widening_system_process(stereo_widening_system* system, int* in_left, int* in_right,
                                    int* out_left, int* out_right, int n) {
  for_each_block(n, [=](int64_t start, int count) {
    int left[kBlockFrames], right[kBlockFrames];
    difference_circuit_process_block(system->difference, in_left + start, in_right + start, left,
                                     right, count);
    crossfeed_network_process_block(system->crossfeed, left, right, left, right, count);
    early_reflector_process_block(system->reflector, left, right, out_left + start,
                                  out_right + start, count);
  });
}
