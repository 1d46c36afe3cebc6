// The environment variable SONX_KERNELS names the block kernels that the tests run with; without
// it, the processor's best.
#include <gtest/gtest.h>

#include <cstdlib>

#include "dsp/kernels/kernels.h"

namespace {

class kernel_choice : public testing::Environment {
 public:
  void SetUp() override {
    const char* name = std::getenv("SONX_KERNELS");
    if (name != nullptr) {
      ASSERT_TRUE(select_kernels(name)) << "no kernels called " << name << " here";
    }
  }
};

[[maybe_unused]] testing::Environment* const chosen =
    testing::AddGlobalTestEnvironment(new kernel_choice);

}  // namespace
