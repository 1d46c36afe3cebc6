// Twenty sections of iir_step_32, side by side through slices of their signals.
//
// A section waits for its own last result most of the time; several rows of lanes at once keep the
// processor busy. Where sections take each other's results, with other arithmetic in between, each
// works one slice behind the one before it:
//
//   tick         0         1         2         3
//   section a    slice 0   slice 1   slice 2   slice 3       between two ticks: what makes b's input
//   section b              slice 0   slice 1   slice 2       of a's results, slice by slice
//
// A section's state enters the bank before its first slice and leaves it after its last one; what it
// computes at other ticks is ignored.
#pragma once

#include "dsp/block.h"
#include "dsp/kernels/iir_lanes.h"
#include "dsp/kernels/kernels.h"

constexpr int kBankRows = 5;

struct section_bank {
  section_rows<kBankRows> state;
  const int* in[kBankRows][kColumns];  // slices; silence where no section stands
  int* out[kBankRows][kColumns];
  // The last two samples taken and results, five bits up, the older one first.
  int_row taken[2][kBankRows], last[2][kBankRows];
  int silence[kSliceFrames], nowhere[kSliceFrames];
};

// A bank without sections.
void section_bank_init(section_bank* bank);
void section_bank_enter(section_bank* bank, int row, int column, const IIR* section);
void section_bank_leave(const section_bank* bank, int row, int column, IIR* section);
