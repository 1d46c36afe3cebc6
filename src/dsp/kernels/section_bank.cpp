#include "dsp/kernels/section_bank.h"

#include <algorithm>
#include <cstring>

#include "fixed.h"

namespace {

// A section with carried sums, as in lanes.
struct lane {
  int b0, b1, b2, a1, a2;
  int64_t first, second;

  lane(const section_rows<kBankRows>& rows, int row, int column)
      : b0(rows.coef[row][0][column]),
        b1(rows.coef[row][1][column]),
        b2(rows.coef[row][2][column]),
        a1(rows.coef[row][3][column]),
        a2(rows.coef[row][4][column]),
        first(rows.first[row][column]),
        second(rows.second[row][column]) {}

  int step(int x) {
    const int y = scale_down<28>(mac(first, b0, x));
    first = mac(mac(second, b1, x), a1, y);
    second = mac(mac(0, b2, x), a2, y);
    return y;
  }
};

int scaled(int x) { return saturate32(int64_t{x} * 32); }

// Two lanes side by side: neither waits for the other.
void run_two(section_bank* bank, int row, int column) {
  if (bank->in[row][column] == bank->silence && bank->in[row][column + 1] == bank->silence) return;
  lane a(bank->state, row, column), b(bank->state, row, column + 1);
  const int *const in_a = bank->in[row][column], *const in_b = bank->in[row][column + 1];
  int *const out_a = bank->out[row][column], *const out_b = bank->out[row][column + 1];
  for (int i = 0; i < kSliceFrames; ++i) {
    const int x_a = scaled(in_a[i]), x_b = scaled(in_b[i]);
    const int y_a = a.step(x_a), y_b = b.step(x_b);
    out_a[i] = y_a >> 5;
    out_b[i] = y_b >> 5;
    if (i < kSliceFrames - 2) continue;
    const int k = i - (kSliceFrames - 2);
    bank->taken[k][row][column] = x_a;
    bank->taken[k][row][column + 1] = x_b;
    bank->last[k][row][column] = y_a;
    bank->last[k][row][column + 1] = y_b;
  }
  bank->state.first[row][column] = a.first;
  bank->state.first[row][column + 1] = b.first;
  bank->state.second[row][column] = a.second;
  bank->state.second[row][column + 1] = b.second;
}

}  // namespace

void section_bank_init(section_bank* bank) {
  std::memset(bank, 0, sizeof *bank);
  for (auto& row : bank->in)
    for (const int*& in : row) in = bank->silence;
  for (auto& row : bank->out)
    for (int*& out : row) out = bank->nowhere;
}

void section_bank_enter(section_bank* bank, int row, int column, const IIR* section) {
  bank->state.load(row, column, *section);
}

void section_bank_leave(const section_bank* bank, int row, int column, IIR* section) {
  const int x1 = bank->taken[1][row][column], x2 = bank->taken[0][row][column];
  const int words[] = {x1, x1, x2, bank->last[1][row][column], bank->last[0][row][column]};
  std::copy_n(words, 5, section->state);
}

// The last lanes first: an output may be the input of a later lane.
void portable::section_slice(section_bank* bank, int first_row, int rows) {
  for (int row = first_row + rows - 1; row >= first_row; --row)
    for (int column = kColumns - 2; column >= 0; column -= 2) run_two(bank, row, column);
}
