// Process functions by their types.
#pragma once

// Runs a process function, which takes a block, a frame or a sample, over n samples at the places of
// left and right input, left and right output; of one channel, the left.
template <typename Sample, typename Process, typename Record>
void run_through(Process process, Record* r, Sample* const (&at)[4], int n) {
  Sample *const a = at[0], *const b = at[1], *const c = at[2], *const d = at[3];
  if constexpr (requires { process(r, a, b, c, d, n); }) {
    process(r, a, b, c, d, n);
  } else if constexpr (requires { process(r, a, c, d, n); }) {
    process(r, a, c, d, n);
  } else if constexpr (requires { process(r, a, c, n); }) {
    process(r, a, c, n);
  } else {
    for (int i = 0; i < n; ++i) {
      if constexpr (requires { process(r, a, b, c, d); })
        process(r, a + i, b + i, c + i, d + i);
      else if constexpr (requires { process(r, a, c, d); })
        process(r, a + i, c + i, d + i);
      else if constexpr (requires { process(r, a, c); })
        process(r, a + i, c + i);
      else if constexpr (requires { process(r, *a); })
        c[i] = process(r, a[i]);
      else
        c[i] = process(a[i], r);
    }
  }
}
