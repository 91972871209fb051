// What the square and cube roots and their reciprocals share: the rule of their tables, the third
// of an exponent, the row that is nearest to a significand.
#pragma once

#include "core/floating_point.hpp"
#include "stages/inverse_root.hpp"

namespace qelvm {
namespace {

/// round(32 (m - 1)), 0 to 32, for m in [1, 2): the row of a table centred on its entries.
template <class V>
QELVM_INLINE constexpr IntegerOf<V> nearestThirtySecond(const V& m) {
  constexpr double shifter = 0x1.000000000002p47; // 2^47 + 1: its last place is 1/32
  return lowWord(m + shifter) & 63;
}

/// x = m 2^(3 quotient + remainder) with m in [1, 2) and remainder 0, 1 or 2, for a normal x.
template <class I>
struct ExponentThird {
  I quotient, remainder;
};

template <class V>
QELVM_INLINE constexpr ExponentThird<IntegerOf<V>> thirdOfExponent(const V& x) {
  const IntegerOf<V> field = exponentField(x);      // the bias is 3 times 341
  const IntegerOf<V> third = (field * 43691) >> 17; // field / 3
  return {third - 341, field - third * 3};
}

} // namespace
} // namespace qelvm
