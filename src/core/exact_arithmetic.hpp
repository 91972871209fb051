// Sums, splits and products without error, as unevaluated sums of two doubles, and rounding by a
// shifter.
#pragma once

#include "core/lanes.hpp"

namespace qelvm {

/// The unevaluated sum hi + lo, with hi = fl(hi + lo) where it is normalised.
template <class V>
struct DoubleDoubleOf {
  V hi;
  V lo;
};
using DoubleDouble = DoubleDoubleOf<double>;

/// (of the elements of a register, as select of doubles)
template <class Mask, class V>
QELVM_INLINE DoubleDoubleOf<V> select(const Mask& mask, const DoubleDoubleOf<V>& where,
                                      const DoubleDoubleOf<V>& elsewhere) {
  return {select(mask, where.hi, elsewhere.hi), select(mask, where.lo, elsewhere.lo)};
}

/// Split constants of splitHiLo.
inline constexpr double split26Bits = 0x1.0000002p27; // 2^27 + 1: both parts at most 26 bits
inline constexpr double split26BitsShort = 0x1p27;    // 2^27: hi at most 26 bits
inline constexpr double split31Bits = 0x1.000004p22;  // 2^22 + 1: hi at most 31 bits

/// hi + lo = x exactly, hi short, while splitter times x is finite.
template <class V>
QELVM_INLINE constexpr DoubleDoubleOf<V> splitHiLo(const V& x, double splitter) {
  const V t = splitter * x;
  const V hi = t - (t - x);
  return {hi, x - hi};
}

/// hi = fl(a + b) and lo its error, hi + lo = a + b exactly, for |a| >= |b|. Here and below one of
/// the two may be a constant, the same for every lane.
template <class A, class B>
QELVM_INLINE constexpr auto fastTwoSum(const A& a, const B& b) {
  using V = decltype(a + b);
  const V s = a + b;
  return DoubleDoubleOf<V>{s, b + (a - s)};
}

/// hi = fl(a + b) and lo its error, hi + lo = a + b exactly, in either order of magnitude.
template <class A, class B>
QELVM_INLINE constexpr auto twoSum(const A& a, const B& b) {
  using V = decltype(a + b);
  const V s = a + b;
  const V d = a - s;
  const V w = s + d;
  return DoubleDoubleOf<V>{s, (b + d) + (a - w)};
}

/// The product of two double-words whose hi parts have at most 26 bits: hi is exact, and the error
/// of lo that of its own roundings.
template <class A, class V>
QELVM_INLINE constexpr DoubleDoubleOf<V> productOfShort(const DoubleDoubleOf<A>& a,
                                                        const DoubleDoubleOf<V>& b) {
  return {a.hi * b.hi, (a.lo * b.lo + a.hi * b.lo) + a.lo * b.hi};
}

// ---- rounding by a shifter
// -------------------------------------------------------------------------

/// 1.5 * 2^52: rounds to integers.
inline constexpr double integerShifter = 0x1.8p52;

/// x + shifter, and x rounded to a multiple of the shifter's last place, ties to even. The low word
/// of `sum` holds the multiple in two's complement: the integer itself with integerShifter.
template <class V>
struct Rounded {
  V sum;
  V value;
};

/// Rounds x by a shifter 1.5 * 2^k to a multiple of 2^(k - 52); exact for |x| < 2^(k - 1).
template <class V>
QELVM_INLINE constexpr Rounded<V> roundShifter(const V& x, double shifter) {
  const V sum = x + shifter;
  return {sum, sum - shifter};
}

/// x with its leading bits kept: rounded to a multiple of the last place of x + factor * x. A
/// factor of 1.5 * 2^32 leaves at most 21 significant bits.
template <class V>
QELVM_INLINE constexpr V keepLeadingBits(const V& x, double factor) {
  const V shifter = x * factor;
  return (x + shifter) - shifter;
}

} // namespace qelvm
