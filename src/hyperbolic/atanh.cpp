// Inverse hyperbolic tangent.
//
// Ranges: for 2^-57 <= |x| < 1/16 a series; for 1/16 <= |x| < 1 half the logarithm of
// (1 + a) / (1 - a), a = |x|; below 2^-57 x itself.
//
// Quotient: in two parts, from one division and one correction of the reciprocal. Logarithm: of
// both parts, from a table of 65 reciprocals and a polynomial (stages/table_logarithm.hpp).
//
// Error: proven (docs/proofs.md) below 0.508 ulp (0.5051), 0.50397 seen at 0x1.e9ed072d246c7p-5:
// worst at the end of the series, whose cubic term, up to 2^-13.5, is rounded four times.

#include "core/export.hpp"
#include "hyperbolic/inverse.hpp"
#include "stages/reciprocal.hpp"
#include "stages/short_logarithm.hpp"

namespace qelvm {
namespace {

/// 1 + a with a leading part of at most 26 bits.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> onePlus(const V& a) {
  const DoubleDoubleOf<V> sum = fastTwoSum(1.0, a);
  const DoubleDoubleOf<V> part = splitHiLo(sum.hi, split26Bits);
  return {part.hi, sum.lo + part.lo};
}

struct AtanhShortRoad {
  static constexpr double distance = distanceOf(ShortLog::offBy, 16);
  static constexpr double inside[] = {0.25};

  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-60, 1.0); }

  /// ln(1 + 2 a/(1 - a))/2
  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    return copySign(0.5 * ShortLog::onePlus((a + a) / (1.0 - a)), x);
  }
};

template <class Export>
struct InverseTangent {
  using Element = typename Export::Element;
  using ShortRoad = AtanhShortRoad;
  static constexpr int lanes = fewRegisters ? 2 : 3;
  static constexpr int registers = 3;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, Element{0.0625}, Element{1});
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    const DoubleDoubleOf<V> q = quotient(onePlus(a), Reciprocal<V>(onePlus(-a)));
    return copySign(naturalLogarithm<Export>(fastTwoSum(q.hi, q.lo)) * 0.5, x);
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, Element{0x1p-57}, Element{0.0625});
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    // Polynomial atanh: given; off by 2^-62.40 (relative) for 0 <= x <= 1/16
    // (tools/polynomials/atanh.sollya).
    static constexpr double s[] = {0x1.5555555555575p-2, 0x1.99999999617f9p-3, 0x1.24924a261c82p-3,
                                   0x1.c7186a4ccaf82p-4, 0x1.7805c0c359672p-4};
    const V b = x * x;
    return x + (b * horner(s, b)) * x;
  }

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    const Element a = magnitude(x);
    if (isInfiniteOrNan(x) && !fractionIsZero(x)) {
      result = x + x;
      return qelStatusOk;
    }
    if (a == 1) {
      result = static_cast<Element>(dividedByZero(static_cast<double>(x)));
      return qelStatusSingularity;
    }
    if (a > 1) {
      result = static_cast<Element>(invalid());
      return qelStatusDomain;
    }
    result = unchangedButInexact(x);
    return qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Atanh, InverseTangent, InverseTangent, InverseTangent)
