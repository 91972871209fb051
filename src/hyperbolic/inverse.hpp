// What the inverse hyperbolic functions share: a logarithm of an unevaluated sum.
#pragma once

#include "stages/seeded_root.hpp"
#include "stages/table_logarithm.hpp"

namespace qelvm {
namespace {

/// ln((m + low) 2^k), 1 <= m < 2; the trailing parts in another order than Ln's, with other bits.
template <class Export, class V, class... Low>
QELVM_INLINE V naturalLogarithm(const V& m, const IntegerOf<V>& k, const Low&... low) {
  const LogarithmSum<V> sum = reduceLogarithm<Export, NaturalLogarithm>(m, k, low...);
  const V u = sum.uHi + sum.uLo;
  const V tail = (u * u) * NaturalLogarithm::polynomial(u);
  return sum.leading + ((sum.rest + sum.uLo) + tail);
}

/// ln(z.hi + z.lo) for a positive normal z.hi.
template <class Export, class V>
QELVM_INLINE V naturalLogarithm(const DoubleDoubleOf<V>& z) {
  const IntegerOf<V> k = exponentField(z.hi) - 1023;
  return naturalLogarithm<Export>(withExponent(1023, z.hi), k, z.lo * withExponent(1023 - k, 1.0));
}

/// ln(2a): what asinh a and acosh a are from 2^28 on.
template <class Export>
double logarithmOfTwice(double a) {
  return naturalLogarithm<Export>(withExponent(1023, a), exponentField(a) - 1022);
}

/// ln(a + sqrt(u.hi + u.lo))
template <class Export, class V>
QELVM_INLINE V logarithmOfSumWithRoot(const V& a, const DoubleDoubleOf<V>& u) {
  const DoubleDoubleOf<V> exact = seededRoot<Export>(u.hi, u.lo);
  const DoubleDoubleOf<V> root = fastTwoSum(exact.hi, exact.lo);
  const DoubleDoubleOf<V> z = twoSum(root.hi, a);
  return naturalLogarithm<Export>(DoubleDoubleOf<V>{z.hi, root.lo + z.lo});
}

} // namespace
} // namespace qelvm
