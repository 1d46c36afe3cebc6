// The slice for any number of rows: included behind run<rows> of an instruction set.
#pragma once

#include "dsp/kernels/section_bank.h"

void variant::section_slice(section_bank* bank, int first_row, int rows) {
  static_assert(kBankRows == 5);
  switch (rows) {
    case 1:
      return run<1>(bank, first_row);
    case 2:
      return run<2>(bank, first_row);
    case 3:
      return run<3>(bank, first_row);
    case 4:
      return run<4>(bank, first_row);
    case 5:
      return run<5>(bank, first_row);
  }
}
