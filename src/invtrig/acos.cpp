// Arccosine.
//
// Ranges: for 2^-53 < |x| < 1/2 it is pi/2 - asin x, for 1/2 <= |x| < 1 the half angle, twice
// asin(sqrt((1 - |x|) / 2)), or pi less that where x is negative: the two series of the arcsine
// (asin.cpp), with the same errors. From 2^-53 down it is pi/2 - x.
//
// Error: proven (docs/proofs.md) below 0.518 ulp (where the result is just above or below a power
// of two, in the half angle of positive arguments), 0.50560 seen at 0x1.1a20e193b0c18p-1.

#include "core/export.hpp"
#include "invtrig/arcsine.hpp"
#include "invtrig/short_arcsine.hpp"

namespace qelvm {
namespace {

template <class V>
QELVM_INLINE DoubleDoubleOf<V> flipSigns(const DoubleDoubleOf<V>& value, const V& sign) {
  return {flipSign(value.hi, sign), flipSign(value.lo, sign)};
}

struct AcosShortRoad : ShortArcsineDomain {
  static constexpr double distance =
      distanceOf(ShortArcsine<double>::offBy + shortInverseRootOffBy, 16);

  /// Below 1/2, pi/2 - arcsin x; from there on the angle itself, or for negative x pi less it.
  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const ShortArcsine<V> arcsine(x);
    return selectBySign(arcsine.below, halfPi.hi, whereNegative(pi.hi, x)) +
           flipSign(flipSign(arcsine.angle, x), arcsine.below);
  }
};

template <class Export>
struct Arccosine {
  using Element = typename Export::Element;
  using ShortRoad = AcosShortRoad;
  static constexpr int lanes = 1;

  QELVM_INLINE static auto isOrdinary(const auto& x) { return isInSeries<Element>(x); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const DoubleDoubleOf<V> arcsine = arcsineSeries(magnitude(x));
    return difference(halfPi, flipSigns(arcsine, x));
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, Element{0.5}, Element{1});
  }

  /// pi - t for a negative and t for a positive x: the difference from zero of -t is exact.
  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    const DoubleDoubleOf<V> t = twiceArcsineOfRoot<Export>(magnitude(x));
    return difference(DoubleDoubleOf<V>{whereNegative(pi.hi, x), whereNegative(pi.lo, x)},
                      flipSigns(t, -x));
  }

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    const Element a = magnitude(x);
    if (isInfiniteOrNan(x) || a > 1)
      return outsideArcDomain(source, result);
    if (a != 1)
      result = static_cast<Element>(halfPi.hi + (halfPi.lo - static_cast<double>(x)));
    else
      result = signBit(x) ? static_cast<Element>(roundedAngle(pi)) : Element{0};
    return qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Acos, Arccosine, Arccosine, Arccosine)
