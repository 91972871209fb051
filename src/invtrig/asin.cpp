// Arcsine.
//
// Ranges: for 2^-53 < |x| < 1/2 a series in x; for 1/2 <= |x| <= 1 the half angle,
// asin a = pi/2 - 2 asin(u), u = sqrt((1 - a) / 2), with a series in u; from 2^-53 down x itself.
//
// Root: from a table of 513 reciprocals and a polynomial (stages/seeded_root.hpp).
//
// Polynomials: those of the series and of the half angle (invtrig/arcsine.hpp).
//
// Error: proven (docs/proofs.md) below 0.519 ulp (for x just above 1/2, where the root and what
// follows it cost most), 0.50664 seen at 0x1.0fbefc62269b5p-1. All sums are kept in two parts.

#include "core/export.hpp"
#include "invtrig/arcsine.hpp"
#include "invtrig/short_arcsine.hpp"

namespace qelvm {
namespace {

struct AsinShortRoad : ShortArcsineDomain {
  static constexpr double distance =
      distanceOf(2 * ShortArcsine<double>::offBy + 2 * shortInverseRootOffBy, 16);

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const ShortArcsine<V> arcsine(x);
    return copySign(selectBySign(arcsine.below, arcsine.angle, halfPi.hi - arcsine.angle), x);
  }
};

template <class Export>
struct Arcsine {
  using Element = typename Export::Element;
  using ShortRoad = AsinShortRoad;
  static constexpr int lanes = 1;

  QELVM_INLINE static auto isOrdinary(const auto& x) { return isInSeries<Element>(x); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const DoubleDoubleOf<V> arcsine = arcsineSeries(magnitude(x));
    return copySign(arcsine.hi + arcsine.lo, x);
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, Element{0.5}, 1 + std::numeric_limits<Element>::epsilon());
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    return copySign(difference(halfPi, twiceArcsineOfRoot<Export>(magnitude(x))), x);
  }

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    if (isInfiniteOrNan(x) || magnitude(x) > 1)
      return outsideArcDomain(source, result);
    result = static_cast<Element>(unchangedButInexact(static_cast<double>(x)));
    return qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Asin, Arcsine, Arcsine, Arcsine)
