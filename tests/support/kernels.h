// Tests that hold the block kernels' variants together.
#pragma once

#include <gtest/gtest.h>

#include "dsp/kernels/kernels.h"

// Calls test() once with each variant other than the portable one that runs here; what was chosen
// before is chosen again after. The portable variants can be called directly.
template <typename Test>
void with_each_kernel(Test test) {
  const kernel_table* before = &kernels();
  for (const char* name : {"avx2", "neon"}) {
    if (!select_kernels(name)) continue;
    SCOPED_TRACE(name);
    test();
  }
  select_kernels(before->name);
}
