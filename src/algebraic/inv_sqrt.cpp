// Reciprocal square root.
//
// Reduction: x = y 2^(-2 half), 1 <= y < 4.
//
// Table: R = 1/sqrt(y) at the centre of each of 65 intervals, to 13 bits, so that R^2 and its
// product with the leading half of y are exact.
//
// Polynomial: with e = 1 - y R^2, |e| < 2^-5.98, the result is R (1 + e/2 + p), p of degree 8 in e,
// p = (1 - e)^(-1/2) - 1 - e/2. R and the leading part of R e/2 are added exactly.
//
// Ranges: every positive element that is a normal double is ordinary; subnormal ones are scaled by
// 2^60 first.
//
// Error: proven (docs/proofs.md) below 0.502 ulp (0.5016), 0.5013 seen at
// 0x1.0bc46d7dcd3a9p+336.

#include "algebraic/exceptional_root.hpp"
#include "algebraic/roots.hpp"
#include "core/export.hpp"
#include "stages/short_root.hpp"

#include <limits>

namespace qelvm {
namespace {

/// The entries for y = 1 + i/32 up to 2, then for every second of them up to 4.
consteval double invSqrtSeed(int i) {
  return inverseRoot(2, i <= 32 ? 32 + i : 2 * i, 32, 13, TableRounding::nearest);
}

template <class Export>
QELVM_TABLE auto invSqrtSeeds = tabulate<65>(invSqrtSeed);

/// 2^adjustment / sqrt(x) for a positive normal x.
template <class Export, class V>
QELVM_INLINE V inverseSquareRoot(const V& x, std::int32_t adjustment) {
  // Polynomial inv_sqrt: given; off by 2^-62.51 (absolute) for -0.01576 <= e <= 0.01522
  // (tools/polynomials/inv_sqrt.sollya).
  static constexpr double c[] = {
      0x1.8000000000001p-2, // 3/8, 5/16, 35/128, ...: (1 - e)^(-1/2) from e^2 on, fitted
      0x1.400000000138bp-2, 0x1.17ffffffe2a26p-2, 0x1.f7fffec1426e4p-3,
      0x1.ce000c07a3b3ep-3, 0x1.ad28a9e3226dfp-3, 0x1.91a80bfbf8b2ap-3,
  };
  const IntegerOf<V> exponent = exponentField(x) - 1023;
  const IntegerOf<V> odd = exponent & 1;
  const IntegerOf<V> half = adjustment - (exponent >> 1);
  const V m = withExponent(1023, x);
  const V y = withExponent(odd + 1023, x);
  const V seed = lookUp(invSqrtSeeds<Export>.entry, (odd << 5) + nearestThirtySecond(m));

  const V square = seed * seed;
  const DoubleDoubleOf<V> part = splitHiLo(y, split26BitsShort);
  const V a = 1.0 - part.hi * square;
  const V b = part.lo * square;
  const V e = a - b;
  const V p = (horner(c, e) * e) * e;

  const DoubleDoubleOf<V> lead = splitHiLo(a, split26BitsShort);
  const V q = p - 0.5 * (b - lead.lo);
  const DoubleDoubleOf<V> sum = fastTwoSum(seed, (0.5 * seed) * lead.hi);
  return scaleByPowerOfTwo(sum.hi + (q * seed + sum.lo), half);
}

struct InvSqrtShortRoad {
  static constexpr double distance = distanceOf(shortInverseRootOffBy, 8);
  static constexpr double inside[] = {3.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, 0x1p-126, std::numeric_limits<double>::infinity()) && hasFraction(x);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return shortInverseRoot(x);
  }
};

template <class Export>
struct InverseSquareRoot {
  using Element = typename Export::Element;
  using ShortRoad = InvSqrtShortRoad;
  static constexpr int lanes = fewRegisters ? 2 : 4;
  static constexpr int registers = registersInFlight(4, 3);
  static constexpr bool ofNegative = false, reciprocal = true;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, smallestWidenedNormal<Element>,
                          std::numeric_limits<Element>::infinity());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return inverseSquareRoot<Export>(x, 0);
  }

  static double ofSubnormal(double x) { return inverseSquareRoot<Export>(x * 0x1p60, 30); }

  static QelStatus exceptional(const Stored<Element>& x, Stored<Element>& result) {
    return exceptionalRoot<InverseSquareRoot>(x, result);
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(InvSqrt, InverseSquareRoot, InverseSquareRoot, InverseSquareRoot)
