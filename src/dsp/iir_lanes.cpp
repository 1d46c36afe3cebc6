#include "dsp/iir_lanes_internal.h"

#include <algorithm>
#include <cstring>

#include "dsp/block.h"
#include "dsp/fixed.h"

namespace {

constexpr int kFewestSections = 3;  // below, and for shorter calls, lanes don't pay
constexpr int kFewestSamples = 8;   // and at least two results of every section are needed
constexpr int kUnity = 1 << 28;

// The scales on both sides of a chain's sections.
struct scaled_32 {
  static int up(int in) { return saturate32(int64_t{in} * 32); }
  static int down(int y) { return y >> 5; }
  static int handed_on(int y) { return y & ~31; }
  static constexpr auto* portable = iir_chains_32_portable;
};
struct unscaled {
  static int up(int in) { return in; }
  static int down(int y) { return y; }
  static int handed_on(int y) { return y; }
  static constexpr auto* portable = iir_chains_wrapping_portable;
};

int columns_of(const iir_chain& chain, int rows) { return (chain.count + rows - 1) / rows; }

// The fewest rows in whose columns the chains find place; more than kMostRows if there are none.
int rows_for(const iir_chain* chains, int chain_count) {
  int rows = 1;
  for (; rows <= kMostRows; ++rows) {
    int columns = 0;
    for (int c = 0; c < chain_count; ++c) columns += columns_of(chains[c], rows);
    if (columns <= kColumns) break;
  }
  return rows;
}

// Calls use(chain, first column, lag of the last section) for every chain.
template <typename Use>
void for_each_place(const iir_chain* chains, int chain_count, int rows, Use use) {
  int column = 0;
  for (const iir_chain* c = chains; c < chains + chain_count; ++c) {
    const int columns = columns_of(*c, rows);
    use(*c, column, columns * rows - 1);
    column += columns;
  }
}

void load_section(iir_lanes* lanes, int row, int column, const IIR& section) {
  const int* coef = section.coef;
  const int x1 = section.state[1], x2 = section.state[2];
  const int y1 = section.state[3], y2 = section.state[4];
  for (int i = 0; i < 5; ++i) lanes->coef[row][i][column] = coef[i];
  lanes->first[row][column] =
      mac(mac(mac(mac(0, coef[1], x1), coef[2], x2), coef[3], y1), coef[4], y2);
  lanes->second[row][column] = mac(mac(0, coef[2], x1), coef[4], y1);
  lanes->y1[row][column] = y1;
  lanes->y2[row][column] = y2;
}

// What follows a chain's sections down to the last row lets their results through.
void load_chain(iir_lanes* lanes, const iir_chain& chain, int column, int rows, int last) {
  lanes->head[column] = -1;
  for (int lag = 0; lag <= last; ++lag) {
    const int row = lag % rows, here = column + lag / rows;
    lanes->lag[row][here] = lag;
    if (lag < chain.count)
      load_section(lanes, row, here, *chain.sections[lag]);
    else
      lanes->coef[row][0][here] = kUnity;
  }
  lanes->longest_lag = std::max(lanes->longest_lag, last);
}

// x1 and x2 are the last samples that the chain's first section got, the last one first.
template <typename Scale>
void store_chain(const iir_lanes& lanes, const iir_chain& chain, int column, int rows, int x1,
                 int x2) {
  for (int k = 0; k < chain.count; ++k) {
    const int row = k % rows, here = column + k / rows;
    const int y1 = lanes.y1[row][here], y2 = lanes.y2[row][here];
    const int words[] = {x1, x1, x2, y1, y2};
    std::copy_n(words, 5, chain.sections[k]->state);
    x1 = Scale::handed_on(y1);
    x2 = Scale::handed_on(y2);
  }
}

// 2 <= n <= kBlockFrames samples through chains that find place in that many rows.
template <typename Scale>
void run_in_lanes(const iir_chain* chains, int chain_count, int n, int rows,
                  lane_stepper* stepper) {
  iir_lanes lanes = {};
  alignas(32) int_row in[kBlockFrames + kMostLag], out[kBlockFrames + kMostLag];
  const int* source[kColumns];
  std::fill_n(source, kColumns, chains[0].in);  // for columns that no chain starts in
  for_each_place(chains, chain_count, rows, [&](const iir_chain& chain, int column, int last) {
    load_chain(&lanes, chain, column, rows, last);
    source[column] = chain.in;
  });
  for (int i = 0; i < n; ++i)
    for (int c = 0; c < kColumns; ++c) in[i][c] = Scale::up(source[c][i]);
  std::memset(in + n, 0, sizeof(int_row) * static_cast<size_t>(lanes.longest_lag));

  stepper(&lanes, in, out, n);

  for_each_place(chains, chain_count, rows, [&](const iir_chain& chain, int column, int last) {
    store_chain<Scale>(lanes, chain, column, rows, in[n - 1][column], in[n - 2][column]);
    const int_row* results = out + last;
    const int from = column + last / rows;
    for (int i = 0; i < n; ++i) chain.out[i] = Scale::down(results[i][from]);
  });
}

template <typename Scale>
void run(const iir_chain* chains, int chain_count, int n, const lane_steppers& steppers) {
  if (n < kFewestSamples || n > kBlockFrames) return Scale::portable(chains, chain_count, n);
  int sections = 0, shortest = kFewestSections;
  for (int c = 0; c < chain_count; ++c) {
    sections += chains[c].count;
    shortest = std::min(shortest, chains[c].count);
  }
  const int rows = rows_for(chains, chain_count);
  const bool too_long = rows > kMostRows && chain_count == 1;
  if (sections < kFewestSections || shortest < 1 || too_long) {
    Scale::portable(chains, chain_count, n);
  } else if (rows > kMostRows) {
    const int half = chain_count / 2;
    run<Scale>(chains, half, n, steppers);
    run<Scale>(chains + half, chain_count - half, n, steppers);
  } else {
    run_in_lanes<Scale>(chains, chain_count, n, rows, steppers[rows - 1]);
  }
}

}  // namespace

void iir_chains_32_in_lanes(const iir_chain* chains, int chain_count, int n,
                            const lane_steppers& steppers) {
  run<scaled_32>(chains, chain_count, n, steppers);
}

void iir_chains_wrapping_in_lanes(const iir_chain* chains, int chain_count, int n,
                                  const lane_steppers& steppers) {
  run<unscaled>(chains, chain_count, n, steppers);
}
