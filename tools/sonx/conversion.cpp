#include "conversion.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <stdexcept>

namespace sonx {

namespace {

// What the converter's modes can do, as in : out in lowest terms, and the input block of each.
struct supported_ratio {
  int in, out, block;
};
constexpr supported_ratio kRatios[] = {
    {1, 2, 1},   {1, 3, 160},  {1, 4, 1},     {1, 6, 80},    {1, 12, 40},  {2, 3, 160}, {2, 11, 80},
    {4, 11, 80}, {8, 11, 160}, {11, 16, 110}, {11, 32, 110}, {2, 1, 2},    {3, 1, 480}, {4, 1, 4},
    {6, 1, 480}, {12, 1, 480}, {3, 2, 240},   {11, 2, 220},  {11, 4, 220}, {11, 8, 220}};

}  // namespace

int conversion_block(int in_rate, int out_rate) {
  const int divisor = std::gcd(in_rate, out_rate);
  const auto* match =
      std::find_if(std::begin(kRatios), std::end(kRatios), [&](const supported_ratio& ratio) {
        return ratio.in == in_rate / divisor && ratio.out == out_rate / divisor;
      });
  return match == std::end(kRatios) ? 0 : match->block;
}

std::set<int64_t> reached_rates(int in_rate) {
  std::set<int64_t> rates;
  for (const supported_ratio& ratio : kRatios) {
    const int64_t product = int64_t{in_rate} * ratio.out;
    if (product % ratio.in == 0) rates.insert(product / ratio.in);
  }
  return rates;
}

std::string list_rates(const std::set<int64_t>& rates) {
  std::string text;
  for (const int64_t rate : rates)
    text.append(text.empty() ? "" : " ").append(std::to_string(rate));
  return text;
}

void converter::process(const std::vector<short>& in, std::vector<short>& out) {
  int made = 0;
  if (Resampler_proc(&resampler_, in.data(), static_cast<int>(in.size()), out.data(),
                     static_cast<int>(out.size()), &made) != 0 ||
      static_cast<size_t>(made) != out.size())
    throw std::logic_error("the converter refused a block");
}

}  // namespace sonx
