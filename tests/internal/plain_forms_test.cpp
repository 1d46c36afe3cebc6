// The benchmarks measure each module against its plain form, sample by sample: that ratio means
// something only if both do the same work, so they give the same bits here.
#include <gtest/gtest.h>

#include <cctype>
#include <numbers>
#include <ostream>

#include "plain/modules.h"
#include "support/signals.h"
#include "support/splits.h"

extern "C" int __android_log_print(int, const char*, const char*, ...) { return 0; }

namespace {

// Clicks, noise, full scale, a tone that grows as a howl does, next to nothing, nothing.
samples programme(unsigned seed) {
  samples x = noise(3000, kFullScale / 10, seed);
  for (size_t i = 500; i < x.size(); i += 700) x[i] = kFullScale / 5 * 3;
  for (int v : noise(3000, kFullScale / 4, seed)) x.push_back(v);
  for (int v : noise(1500, 1, seed)) x.push_back(v < 0 ? -kFullScale : kFullScale);
  for (int i = 0; i < 6000; ++i)
    x.push_back(static_cast<int>(std::exp(8.0 + i * 0.0012) *
                                 std::sin(2.0 * std::numbers::pi * i * (0.03 + 0.01 * seed))));
  for (int v : noise(1500, 3, seed)) x.push_back(v);
  x.resize(x.size() + 1500);
  return x;
}

// choose(run) is the form of a run.
template <typename Choose>
std::vector<int> heard(const module& m, Choose choose) {
  const samples left = programme(1), right = programme(2);
  const int n = static_cast<int>(left.size());
  const auto subject = m.make();
  subject->load(left, right);
  std::vector<int> out;
  int runs = 0;
  const auto run = [&](int start, int count) {
    subject->run(choose(runs++), start, count);
    subject->hear(out, count);
  };
  if (m.whole)
    for (int start = 0; start + m.frames <= n; start += m.frames) run(start, m.frames);
  else
    over_random_splits(n, m.frames, 1, run);
  return out;
}

std::string name_of(const testing::TestParamInfo<module>& instance) {
  std::string name = instance.param.name;
  std::replace_if(
      name.begin(), name.end(), [](char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}

class PlainForm : public testing::TestWithParam<module> {};

}  // namespace

static void PrintTo(const module& m, std::ostream* out) { *out << m.name; }

TEST_P(PlainForm, GivesTheBlockFunctionsBitsAlsoInTurnsWithIt) {
  const std::vector<int> block = heard(GetParam(), [](int) { return form::block; });
  EXPECT_GT(*std::max_element(block.begin(), block.end()), 100);
  EXPECT_EQ(block, heard(GetParam(), [](int) { return form::plain; }));
  EXPECT_EQ(block, heard(GetParam(), [](int i) { return i % 2 ? form::plain : form::block; }));
}

INSTANTIATE_TEST_SUITE_P(Of, PlainForm, testing::ValuesIn(all_modules()), name_of);
