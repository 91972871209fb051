// Functions that saturate, by rows of fitted polynomials: each binade from 0.125 on is cut into
// four equal intervals, each with a polynomial of degree 14 about its centre.
#pragma once

#include "core/floating_point.hpp"

#include <cstdint>

namespace qelvm {
namespace {

/// A row: -c; the coefficients of 1, t and t^2 as pairs, hi before lo; those of t^3 to t^14. The hi
/// of t^2 has at most 26 bits.
using QuarterBinadeRow = FittedRow<19>;

/// The value at a >= 0.125 by its row of the table.
///
/// The three leading terms are summed as double-words, their leading products exact; the rest is
/// below 2^-9 of the result (|t| <= c/9), so that its roundings stay below 2^-8 ulp. The last sum
/// is the only rounding of a full half ulp.
template <class V>
QELVM_INLINE V quarterBinadePolynomial(const QuarterBinadeRow* rows, const V& a) {
  const IntegerOf<V> row = (highWord(a) - highWord(0.125)) >> 18;
  const auto f = [&](int k) QELVM_ALWAYS_INLINE { return lookUp(rows, row, k); };

  const V t = a + f(0);
  V fromCube = t * f(18) + f(17);
  const auto step = [&](int k) QELVM_ALWAYS_INLINE {
    loadInGroups(fromCube, rows, k);
    fromCube = fromCube * t + f(k);
  };
  withIndices<10>([&](auto... i) QELVM_ALWAYS_INLINE { (step(16 - i), ...); });
  const V high = ((fromCube * t) * t) * t;

  const DoubleDoubleOf<V> split = splitHiLo(t, split26Bits);
  const DoubleDoubleOf<V> bend = productOfShort(DoubleDoubleOf<V>{f(5), f(6)}, split);
  const DoubleDoubleOf<V> slope = fastTwoSum(f(3), bend.hi);
  const DoubleDoubleOf<V> slopes = splitHiLo(slope.hi, split26Bits);
  const V slopeLo = ((bend.lo + slope.lo) + f(4)) + slopes.lo;
  const DoubleDoubleOf<V> rise = productOfShort(DoubleDoubleOf<V>{slopes.hi, slopeLo}, split);
  const DoubleDoubleOf<V> value = fastTwoSum(f(1), rise.hi);
  return value.hi + (high + ((rise.lo + value.lo) + f(2)));
}

} // namespace
} // namespace qelvm
