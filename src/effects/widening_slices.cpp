#include "effects/widening_slices.h"

#include <algorithm>

#include "dsp/kernels/audio_delay.h"
#include "dsp/kernels/section_bank.h"
#include "effects/widening_stages.h"

namespace {

// The signal's way through the sections, and their rows in the bank. What has work at the same tick
// stands in neighbouring rows.
enum stage { kAllpass1, kAllpass2, kAllpass3, kBands, kCrossfeed, kHighpass, kStages };
constexpr int kFirstRow[kStages] = {0, 0, 1, 2, 3, 4};
constexpr int kLastRow[kStages] = {0, 0, 1, 2, 4, 4};

constexpr int kSections = 18;

struct placed_section {
  stage at;
  int row, column;
  IIR* section;
};

// A slice of both channels, the right one behind the left one, so that what goes sample by sample does
// both in one call.
using two_slices = int[2 * kSliceFrames];

struct slices {
  two_slices once, twice, allpassed;  // behind one, two and three all-passes
  two_slices previous;                // allpassed, a slice later
  int sum[kSliceFrames], difference[kSliceFrames];
  int mid_band[kSliceFrames], mid_low[kSliceFrames];
  int side_low[kSliceFrames], side_high[kSliceFrames];
  two_slices direct, other, high;  // in the crossfeed network
  two_slices quarter;              // of its result
};

// The difference circuit's results, and before them what the crossfeed network's delay has still to
// give: its lines lie straight here, and delayed samples are `delay` words back.
using widened_samples = int[kLongestCrossfeedDelay + kBlockFrames];

bool fits(const audio_delay* line) {
  return line->delay <= kLongestCrossfeedDelay && line->index >= 0 && line->index < line->delay;
}

struct pipeline {
  stereo_widening_system* system;
  section_bank bank;
  slices wire;
  widened_samples widened[2];
  placed_section sections[kSections];
  int placed;

  void place(stage at, int row, int column, IIR* section, const int* in, int* out) {
    sections[placed++] = {at, row, column, section};
    bank.in[row][column] = in;
    bank.out[row][column] = out;
  }

  // All of one channel but what moves from slice to slice: the inputs of the first section and of the
  // crossfeed's, and the last one's output.
  void place_side(int side, IIR* const* allpass, IIR* direct, IIR* high, IIR* low, IIR* room) {
    const int here = side * kSliceFrames, there = (1 - side) * kSliceFrames;
    place(kAllpass1, 0, side, allpass[0], bank.silence, wire.once + here);
    place(kAllpass2, 0, 2 + side, allpass[1], wire.once + here, wire.twice + here);
    place(kAllpass3, 1, side, allpass[2], wire.twice + here, wire.allpassed + here);
    place(kCrossfeed, 3, side, direct, bank.silence, wire.direct + here);
    place(kCrossfeed, 3, 2 + side, high, bank.silence, wire.high + here);
    place(kCrossfeed, 4, side, low, bank.silence, wire.other + there);
    place(kHighpass, 4, 2 + side, room, wire.quarter + here, bank.nowhere);
  }

  void init(stereo_widening_system* of) {
    system = of;
    section_bank_init(&bank);
    wire = {};
    placed = 0;
    const difference_sections d = sections_of(system->difference);
    const crossfeed_network& c = *system->crossfeed;
    const early_reflector& r = *system->reflector;
    place_side(0, d.allpass_left, c.allpass_left, c.highpass_left, c.lowpass_left, r.highpass_left);
    place_side(1, d.allpass_right, c.allpass_right, c.highpass_right, c.lowpass_right,
               r.highpass_right);
    place(kBands, 2, 0, d.mid_band, wire.sum, wire.mid_band);
    place(kBands, 2, 1, d.mid_low, wire.sum, wire.mid_low);
    place(kBands, 2, 2, d.side_low, wire.difference, wire.side_low);
    place(kBands, 2, 3, d.side_high, wire.difference, wire.side_high);
  }

  void enter(int at) {
    for (const placed_section& p : sections)
      if (p.at == at) section_bank_enter(&bank, p.row, p.column, p.section);
  }
  void leave(int at) const {
    for (const placed_section& p : sections)
      if (p.at == at) section_bank_leave(&bank, p.row, p.column, p.section);
  }

  // The inputs of a stage's next slice, of what the sections before it made at the last tick.
  void make_bands_input() {
    std::copy_n(wire.allpassed, 2 * kSliceFrames, wire.previous);
    difference_sums(wire.previous, wire.previous + kSliceFrames, wire.sum, wire.difference,
                    kSliceFrames);
  }
  void make_crossfeed_input(int start) {
    const difference_signals signals = {wire.previous, wire.previous + kSliceFrames,
                                        wire.sum,      wire.difference,
                                        wire.mid_band, wire.mid_low,
                                        wire.side_low, wire.side_high};
    int* const out[] = {widened[0] + kLongestCrossfeedDelay + start,
                        widened[1] + kLongestCrossfeedDelay + start};
    kernels().mix_difference_q13(signals, system->difference->side_gain, out[0], out[1],
                                 kSliceFrames);
    for (int side : {0, 1}) {
      bank.in[3][side] = bank.in[3][2 + side] = out[side];
      bank.in[4][side] = out[side] - delay(side)->delay;
    }
  }
  void make_highpass_input(int* const (&mixed)[2]) {
    for (int side : {0, 1}) {
      const int here = side * kSliceFrames;
      kernels().mix_crossfeed_q13(wire.direct + here, wire.other + here, wire.high + here,
                                  system->crossfeed->gain, mixed[side], kSliceFrames);
      reflector_quarter(mixed[side], wire.quarter + here, kSliceFrames);
    }
  }

  audio_delay* delay(int side) const {
    return side == 0 ? system->crossfeed->delay_left : system->crossfeed->delay_right;
  }
  void unroll_delays() {
    for (int side : {0, 1})
      audio_delay_unroll(delay(side), widened[side] + kLongestCrossfeedDelay - delay(side)->delay);
  }
  void roll_delays(int n) const {
    for (int side : {0, 1})
      audio_delay_roll(delay(side), widened[side] + kLongestCrossfeedDelay + n - delay(side)->delay,
                       n);
  }
};

}  // namespace

// At a tick the last stage's input is made first: each takes what the stage before it left at the tick
// before, which that one is about to replace.
int widen_slices(stereo_widening_system* system, const int* in_left, const int* in_right,
                 stereo_buffers wide, stereo_buffers fed, int n) {
  const int count = n / kSliceFrames;
  const crossfeed_network& c = *system->crossfeed;
  if (count == 0 || !fits(c.delay_left) || !fits(c.delay_right)) return 0;
  pipeline p;
  p.init(system);
  p.unroll_delays();
  for (int tick = 0; tick < count + kStages - 1; ++tick) {
    // The stages that have a slice.
    const int first = std::max(tick - (count - 1), 0), last = std::min(tick, kStages - 1);
    const auto works = [=](stage at) { return first <= at && at <= last; };
    if (works(kHighpass)) {
      const int start = (tick - kHighpass) * kSliceFrames;
      p.make_highpass_input({wide.left + start, wide.right + start});
      p.bank.out[4][2] = fed.left + start;
      p.bank.out[4][3] = fed.right + start;
    }
    if (works(kCrossfeed)) p.make_crossfeed_input((tick - kCrossfeed) * kSliceFrames);
    if (works(kBands)) p.make_bands_input();
    if (works(kAllpass1)) {
      p.bank.in[0][0] = in_left + tick * kSliceFrames;
      p.bank.in[0][1] = in_right + tick * kSliceFrames;
    }
    if (last == tick) p.enter(last);
    kernels().section_slice(&p.bank, kFirstRow[first], kLastRow[last] + 1 - kFirstRow[first]);
    if (tick >= count - 1) p.leave(first);
  }
  p.roll_delays(count * kSliceFrames);
  return count * kSliceFrames;
}
