// Inverse hyperbolic cosine.
//
// Ranges: for 1 < x < 17/16 a series, sqrt(2t) (1 + t Q(t)) with t = x - 1; for 17/16 <= x < 2^28
// ln(x + sqrt(x^2 - 1)); from there ln 2x.
//
// Root: in two parts, from a table of 513 reciprocals and a polynomial (stages/seeded_root.hpp).
// Logarithm: of the sum in two parts, from a table of 65 reciprocals and a polynomial
// (stages/table_logarithm.hpp).
//
// Error: proven (docs/proofs.md) below 0.519 ulp (0.5187), 0.5121 seen at 0x1.0fc29ddefe992p+0:
// worst in the series, where t Q(t) is up to 2^-7.6 and its product with the root is rounded.

#include "core/export.hpp"
#include "hyperbolic/inverse.hpp"
#include "stages/short_logarithm.hpp"

#include <limits>

namespace qelvm {
namespace {

struct AcoshShortRoad {
  static constexpr double distance = distanceOf(ShortLog::offBy, 16);
  static constexpr double inside[] = {2.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, 1.0 + 0x1p-23, std::numeric_limits<double>::infinity());
  }

  /// With t = x - 1, ln(1 + t + sqrt(t (t + 2)))
  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V t = x - 1.0;
    return ShortLog::onePlus(t + squareRootByInstruction(t * (t + 2.0)));
  }
};

template <class Export>
struct InverseCosine {
  using Element = typename Export::Element;
  using ShortRoad = AcoshShortRoad;
  static constexpr int lanes = fewRegisters ? 2 : 3;
  static constexpr int registers = registersInFlight(3, 2);

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, Element{1.0625}, Element{0x1p28});
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const DoubleDoubleOf<V> part = splitHiLo(x, split26Bits);
    const V squareHi = part.hi * part.hi - 1.0;
    const V squareLo = (x + part.hi) * part.lo;
    return logarithmOfSumWithRoot<Export>(x, fastTwoSum(squareHi, squareLo));
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return positiveWithin(x, 1 + std::numeric_limits<Element>::epsilon(), Element{1.0625});
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    // Polynomial acosh: given; off by 2^-63.25 (relative) for 0 <= sqrt(t/2) <= sqrt(1/32)
    // (tools/polynomials/acosh.sollya).
    static constexpr double q[] = {-0x1.5555555555555p-4,  0x1.3333333333147p-6,
                                   -0x1.6db6db6d6156fp-8,  0x1.f1c71bfecd52dp-10,
                                   -0x1.6e8b7818c0c1dp-11, 0x1.1c45756012e6ap-12,
                                   -0x1.c73d6f559c80fp-14, 0x1.50e16464bfb1bp-15};
    const V t = x - 1.0;
    const DoubleDoubleOf<V> root = seededRoot<Export>(2.0 * t);
    const V series = t * horner(q, t);
    return root.hi + (series * (root.hi + root.lo) + root.lo);
  }

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    if (isInfiniteOrNan(x) && !(signBit(x) && fractionIsZero(x))) {
      result = x + x;
      return qelStatusOk;
    }
    if (x < 1) {
      result = static_cast<Element>(invalid());
      return qelStatusDomain;
    }
    result = x == 1 ? Element{0}
                    : static_cast<Element>(logarithmOfTwice<Export>(static_cast<double>(x)));
    return qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Acosh, InverseCosine, InverseCosine, InverseCosine)
