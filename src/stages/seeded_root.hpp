// The square root as a stage of other kernels: as an unevaluated sum, of a double or of such a sum.
//
// Reduction: u = w 2^(2 half), 1 <= w < 4.
//
// Table: g = 1/sqrt(w) to 11 bits for 257 points of [1, 2] and of [2, 4], the nearest of them to w.
// g^2 times the leading 31 bits of w is exact.
//
// Polynomial: with d = g^2 w - 1, |d| < 2^-8.59, the root is w g (1 + d)^(-1/2); the binomial
// series goes up to d^7.
//
// Error: the leading part w g is exact, so what is rounded is 2^-9.6 of the root at most: d, the
// inner and the outer factor of the series, two products and a sum, together below 6.7 * 2^-63 of
// it, 7.6 * 2^-63 with `rest` (proven, docs/proofs.md).
#pragma once

#include "core/floating_point.hpp"
#include "stages/inverse_root.hpp"

namespace qelvm {
namespace {

/// For w = 1 + i/256 up to 2, then for every second of them up to 4.
consteval double rootSeed(int i) {
  return inverseRoot(2, i <= 256 ? 256 + i : 2 * i, 256, 11, TableRounding::nearest);
}

template <class Export>
QELVM_TABLE auto rootSeeds = tabulate<513>(rootSeed);

/// hi + lo = sqrt(u + rest) for a positive normal u; `rest` is absent or one small summand. hi is a
/// product of a 31-bit and an 11-bit number.
template <class Export, class V, class... Rest>
QELVM_INLINE DoubleDoubleOf<V> seededRoot(const V& u, const Rest&... rest) {
  // Polynomial root: Taylor series, rounded; off by 2^-71.06 (relative) for |d| <= 2^-8.59
  // (tools/polynomials/root.sollya).
  static constexpr double binomial[] = {-0x1p-1,    0x1.8p-2,  -0x1.4p-2, 0x1.18p-2,
                                        -0x1.f8p-3, 0x1.cep-3, -0x1.adp-3};
  constexpr double indexShifter = 0x1.00000000001p44; // 2^44 + 1: its last place is 1/256
  const IntegerOf<V> exponent = exponentField(u) - 1023;
  const IntegerOf<V> odd = exponent & 1;
  const IntegerOf<V> half = exponent >> 1;
  const V y = withExponent(1023, u);
  const V w = withExponent(odd + 1023, u);
  const IntegerOf<V> nearest = lowWord(y + indexShifter) & 0x1FF; // 256 (y - 1): 0 to 256
  const V g = lookUp(rootSeeds<Export>.entry, (odd << 8) + nearest);

  const DoubleDoubleOf<V> part = splitHiLo(w, split31Bits);
  [[maybe_unused]] const V unscale = withExponent(1023 - (half << 1), 1.0);
  const V wLo = (part.lo + ... + (rest * unscale));
  const V wFull = (w + ... + (rest * unscale));
  const V square = g * g;
  const V d = (part.hi * square - 1.0) + square * wLo;
  const V p = d * horner(binomial, d);
  const V scale = withExponent(half + 1023, 1.0);
  return {(part.hi * g) * scale, (wLo * g + wFull * (g * p)) * scale};
}

} // namespace
} // namespace qelvm
