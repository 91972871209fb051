// Arithmetic done for its exception flags.
#pragma once

#include "core/bits.hpp"

namespace qelvm {

/// `value`, unknown to the compiler: an operation on it happens at run time, where it stands, and
/// raises its exception flags.
QELVM_INLINE double atRunTime(double value) {
  const volatile double hidden = value;
  return hidden;
}

inline constexpr double largestDouble = 0x1.fffffffffffffp1023;
inline constexpr double tinyDouble = 0x1.0000000000001p-1022; // the second smallest normal double

/// The default results of exceptional elements, with the flags that forming them raises.
QELVM_INLINE double overflowed() { // +infinity; overflow, inexact
  const double x = atRunTime(largestDouble);
  return x * x;
}
QELVM_INLINE double underflowed() { // +0; underflow, inexact
  const double x = atRunTime(tinyDouble);
  return x * x;
}
QELVM_INLINE double dividedByZero(double x) { // x / +0; divide-by-zero
  return x / atRunTime(0.0);
}
QELVM_INLINE double invalid() { // a NaN; invalid
  return dividedByZero(atRunTime(0.0));
}

/// x itself, for |x| at most half the type's epsilon; inexact unless x is zero, and underflow where
/// x is subnormal in T.
template <class T>
QELVM_INLINE T unchangedButInexact(T x) {
  const T a = magnitude(x);
  return copySign(exponentField(x) == 0 ? a + a * a : a * (T{1} + a), x);
}

} // namespace qelvm
