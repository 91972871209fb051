// The rule of all tables of reciprocal roots; their bits differ as the kernels' exact products do.
#pragma once

#include <cstdint>

namespace qelvm {
namespace {

enum class TableRounding { down, nearest };

/// y^(-1/degree) for y = numerator / denominator >= 1, rounded to a multiple of 2^-bits by exact
/// comparisons of integers. (No entry is a tie.)
consteval double inverseRoot(int degree, std::int64_t numerator, std::int64_t denominator, int bits,
                             TableRounding rounding) {
  std::int64_t n = 0;
  for (std::int64_t bit = std::int64_t{1} << bits; bit != 0; bit /= 2) {
    // n + bit is small enough when (n + bit - 1/2)^degree y <= 2^(bits degree), without the 1/2
    // when rounding down. Both sides are multiplied by 2^degree times the denominator.
    const std::int64_t twice = 2 * (n + bit) - (rounding == TableRounding::nearest ? 1 : 0);
    std::int64_t left = numerator;
    std::int64_t right = denominator;
    for (int i = 0; i < degree; ++i) {
      left *= twice;
      right *= std::int64_t{2} << bits;
    }
    if (left <= right)
      n += bit;
  }
  return static_cast<double>(n) / static_cast<double>(std::int64_t{1} << bits);
}

} // namespace
} // namespace qelvm
