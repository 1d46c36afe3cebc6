#include "dsp/kernels/split_energies.h"

#include <cstring>

#include "dsp/block.h"
#include "dsp/kernels/iir.h"

namespace {

constexpr int kSections = 3;

// A sample through a section; returns what is left of it.
int split_step(iir_registers& section, int64_t& energy, int x) {
  const int y = iir_step_32(section, x);
  energy = mac(energy, y, y);
  return saturate_sub(x, y);
}

// The section's state after a run: samples and results are five bits up inside.
void store_section(const split_lanes& lanes, int row, int lane, IIR* section) {
  const int x1 = saturate32(int64_t{lanes.taken[1][row][lane]} * 32);
  const int x2 = saturate32(int64_t{lanes.taken[0][row][lane]} * 32);
  const int words[] = {x1, x1, x2, lanes.last[1][row][lane], lanes.last[0][row][lane]};
  std::memcpy(section->state, words, sizeof words);
}

}  // namespace

void portable::split_energies(const split_channel* two, int n) {
  for (const split_channel* c = two; c < two + 2; ++c) {
    iir_registers first(c->sections[0]), second(c->sections[1]), third(c->sections[2]);
    int64_t* const energies = c->energies;
    for (int i = 0; i < n; ++i) {
      int x = split_step(first, energies[0], c->in[i]);
      x = split_step(second, energies[1], x);
      x = split_step(third, energies[2], x);
      energies[3] = mac(energies[3], x, x);
    }
    first.store(c->sections[0]);
    second.store(c->sections[1]);
    third.store(c->sections[2]);
  }
}

void split_energies_in_lanes(const split_channel* two, int n, split_kernel* kernel) {
  if (n < kFewestBlockFrames) return portable::split_energies(two, n);
  split_lanes lanes;
  std::memset(&lanes, 0, sizeof lanes);
  // The first section goes four samples ahead, the second one two.
  for (int c = 0; c < 2; ++c) {
    const int* const in = two[c].in;
    IIR* const* const sections = two[c].sections;
    int64_t* const energies = two[c].energies;
    iir_registers first(sections[0]), second(sections[1]);
    for (int i = 0; i < 2; ++i)
      lanes.rest[i][0][split_lane(c, 1)] =
          split_step(second, energies[1], split_step(first, energies[0], in[i]));
    for (int i = 0; i < 2; ++i)
      lanes.rest[i][0][split_lane(c, 0)] = split_step(first, energies[0], in[2 + i]);
    first.store(sections[0]);
    second.store(sections[1]);
    for (int k = 0; k < kSections; ++k)
      lanes.sections.load(split_row(k), split_lane(c, k), *sections[k]);
  }

  kernel(&lanes, {two[0].in + 4, two[1].in + 4}, n - 4);

  // What the later sections have still to take.
  for (int c = 0; c < 2; ++c) {
    IIR* const* const sections = two[c].sections;
    int64_t* const energies = two[c].energies;
    for (int k = 0; k < kSections; ++k) {
      const int row = split_row(k), lane = split_lane(c, k);
      store_section(lanes, row, lane, sections[k]);
      energies[k] = wrap_add64(energies[k], lanes.energy[row][lane]);
    }
    energies[3] = wrap_add64(energies[3], lanes.rest_energy[split_lane(c, 2)]);
    iir_registers second(sections[1]), third(sections[2]);
    const auto take = [&](int x) {
      const int rest = split_step(third, energies[2], x);
      energies[3] = mac(energies[3], rest, rest);
    };
    for (int i = 0; i < 2; ++i) take(lanes.rest[i][0][split_lane(c, 1)]);
    for (int i = 0; i < 2; ++i)
      take(split_step(second, energies[1], lanes.rest[i][0][split_lane(c, 0)]));
    second.store(sections[1]);
    third.store(sections[2]);
  }
}
