// What the square and cube roots and their reciprocals share: the rule of their tables, the third
// of an exponent, the row that is nearest to a significand.
#pragma once

#include "core/floating_point.hpp"

#include <cstdint>

namespace qelvm {

enum class TableRounding { down, nearest };

/// y^(-1/degree) for y = numerator / denominator >= 1, rounded to a multiple of 2^-bits by exact
/// comparisons of integers. (No entry is a tie.)
constexpr double inverseRoot(int degree, std::int64_t numerator, std::int64_t denominator, int bits,
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

/// round(32 (m - 1)), 0 to 32, for a significand m in [1, 2): the row of a table whose steps are
/// centred on their entries.
template <class V>
QELVM_INLINE constexpr IntegerOf<V> nearestThirtySecond(const V& m) {
  constexpr double shifter = 0x1.000000000002p47; // 2^47 + 1: its last place is 1/32
  return lowWord(m + shifter) & 63;
}

/// x = m 2^(3 quotient + remainder) with m in [1, 2) and remainder 0, 1 or 2, for a normal x.
template <class I>
struct ExponentThird {
  I quotient;
  I remainder;
};

template <class V>
QELVM_INLINE constexpr ExponentThird<IntegerOf<V>> thirdOfExponent(const V& x) {
  const IntegerOf<V> field = exponentField(x); // the bias is 3 times 341
  const IntegerOf<V> third = field / 3;
  return {third - 341, field - third * 3};
}

} // namespace qelvm
