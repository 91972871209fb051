// Arcsine.
#include "core/export.hpp"
#include "invtrig/arcsine.hpp"

namespace qelvm {
namespace {

template <class Export>
struct Arcsine {
  using Element = typename Export::Element;
  static constexpr int lanes = 1;

  static bool isOrdinary(Element x) { return isInSeries(x); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const DoubleDoubleOf<V> arcsine = arcsineSeries(magnitude(x));
    return copySign(arcsine.hi + arcsine.lo, x);
  }

  static bool isInSecondRange(Element x) {
    return magnitudeWithin(x, Element{0.5}, 1 + std::numeric_limits<Element>::epsilon());
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    return copySign(difference(halfPi, twiceArcsineOfRoot<Export>(magnitude(x))), x);
  }

  static QelStatus exceptional(const Element& source, Element& result) {
    const Element x = source;
    if (isInfiniteOrNan(x) || magnitude(x) > 1)
      return outsideArcDomain(source, result);
    result = static_cast<Element>(unchangedButInexact(static_cast<double>(x)));
    return qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Asin, 32f, A11, qelvm::Arcsine)
QELVM_ONE_SOURCE(Asin, 32f, A21, qelvm::Arcsine)
QELVM_ONE_SOURCE(Asin, 32f, A24, qelvm::Arcsine)
QELVM_ONE_SOURCE(Asin, 64f, A50, qelvm::Arcsine)
QELVM_ONE_SOURCE(Asin, 64f, A53, qelvm::Arcsine)
