// The kernels of all shapes: included behind interleave, deinterleave and step_lanes of an instruction
// set.
#pragma once

#include <utility>

#include "dsp/kernels/iir_lanes.h"

namespace {

template <rule results, size_t... shape>
constexpr lane_kernels kernels_of(std::index_sequence<shape...>) {
  return {interleave<results>,
          deinterleave<results>,
          {step_lanes<kLaneShapes[shape].groups, kLaneShapes[shape].rows, results>...}};
}
template <rule results>
constexpr lane_kernels kKernels = kernels_of<results>(std::make_index_sequence<kLaneShapeCount>());

}  // namespace

void variant::iir_chains_32(const iir_chain* chains, int chain_count, int n) {
  iir_chains_32_in_lanes(chains, chain_count, n, kKernels<rule::saturating>);
}

void variant::iir_chains_wrapping(const iir_chain* chains, int chain_count, int n) {
  iir_chains_wrapping_in_lanes(chains, chain_count, n, kKernels<rule::wrapping>);
}
