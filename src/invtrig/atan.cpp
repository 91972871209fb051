// Arctangent.
//
// Reduction: arctan a = arctan b + arctan q with q = (a - b) / (1 + a b), |q| < 1/9, b the centre
// of the half-binade of a = |x| from 1/8 on. Below, b = 0 and q = a: the same steps, no rounding of
// theirs left but those of the polynomial and the last sum.
//
// Table: arctan b for the 114 half-binades from 1/8 to 2^54, in two words, the first to 26 bits;
// and row 0 for b = 0.
//
// Polynomial: arctan q - q of degree 15 (invtrig/arctangent.hpp).
//
// Ranges: below 2^-53 the result is x, from 2^54 on it is pi/2; everything between is ordinary.
//
// Error: proven (docs/proofs.md) below 0.754 ulp (0.7533, for x just above 1/2), 0.7456 ulp seen at
// 0x1.09b8e06a6e6e4p-1; 0.6194 ulp seen for x from 0.547 on. The leading part of q is rounded
// twice, which counts most where q is large beside the result: for x just above 1/8, 1/4 and 1/2,
// up to x = 0.546, where the arctangent is still in the binade below and q is a fifth of it.

#include "core/export.hpp"
#include "invtrig/angles.hpp"
#include "invtrig/arctangent.hpp"
#include "invtrig/short_arctangent.hpp"
#include "stages/reciprocal.hpp"

namespace qelvm {
namespace {

struct AtanShortRoad {
  static constexpr double distance = distanceOf(ShortArctangent::offBy, 16);
  static constexpr double inside[] = {1.5};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, 0x1p-100, std::numeric_limits<double>::infinity());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return copySign(ShortArctangent::of(magnitude(x), uniform<V>(1.0)), x);
  }
};

template <class Export>
struct ArcTangent {
  using Element = typename Export::Element;
  using ShortRoad = AtanShortRoad;
  static constexpr int lanes = fewRegisters ? 1 : 3;
  static constexpr int registers = 3;
  static constexpr double tiny = 0x1p-53;
  static constexpr double large = 0x1p54;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(widened(x), tiny, large);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    const IntegerOf<V> row = arctanRow(a);
    const V b = arctanCentre(a, row);
    const V d = a - b;
    const DoubleDoubleOf<V> dHi = splitHiLo(d, split26Bits);
    const DoubleDoubleOf<V> aHi = splitHiLo(a, split26Bits);

    // 1 + a b
    const V s = aHi.hi * b + aHi.lo * b;
    const V sLow = (aHi.hi * b - s) + aHi.lo * b;
    const DoubleDoubleOf<V> u = twoSum(1.0, s);
    const DoubleDoubleOf<V> uHi = splitHiLo(u.hi, split26Bits);
    const Reciprocal<V> inverse({uHi.hi, (sLow + u.lo) + uHi.lo});

    // Sums of its own: those of quotient() in stages/reciprocal.hpp would give other bits.
    const V main =
        (dHi.hi * inverse.seed + inverse.correction * dHi.hi) + dHi.lo * inverse.correction;
    const DoubleDoubleOf<V> q = fastTwoSum(main, inverse.seed * dHi.lo);

    const V tail = arctanTail(q.hi * q.hi) * q.hi;
    const DoubleDoubleOf<V> sum = fastTwoSum(lookUp(arctanTable<Export>, row, &PairRow::hi), q.hi);
    const V low = (q.lo + tail) + lookUp(arctanTable<Export>, row, &PairRow::lo);
    return copySign(sum.hi + (sum.lo + low), x);
  }

  static void exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const double x = static_cast<double>(source);
    if (isInfiniteOrNan(x) && !fractionIsZero(x))
      result = static_cast<Element>(x + x);
    else if (magnitude(x) >= large)
      result = static_cast<Element>(copySign(roundedAngle(halfPi), x));
    else
      result = static_cast<Element>(unchangedButInexact(x));
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Atan, ArcTangent, ArcTangent, ArcTangent)
