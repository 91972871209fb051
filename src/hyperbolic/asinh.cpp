// Inverse hyperbolic sine.
//
// Ranges: for 2^-57 <= |x| < 1/8 a series; for 1/8 <= |x| < 2^28 ln(a + sqrt(a^2 + 1)) with a =
// |x|; from there ln 2a; below 2^-57 x itself.
//
// Root: of a^2 + 1 in two parts, from a table of 513 reciprocals and a polynomial
// (stages/seeded_root.hpp). Logarithm: of the sum in two parts, from a table of 65 reciprocals and
// a polynomial (stages/table_logarithm.hpp).
//
// Error: proven (docs/proofs.md) below 0.527 ulp (0.5264), 0.51769 seen at 0x1.2ccd98fa343f1p-3:
// worst just above 1/8, where the root's error becomes that of a result that is small beside it.

#include "core/export.hpp"
#include "hyperbolic/inverse.hpp"
#include "stages/short_logarithm.hpp"

namespace qelvm {
namespace {

struct AsinhShortRoad {
  static constexpr double distance = distanceOf(ShortLog::offBy, 16);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, 0x1p-60, std::numeric_limits<double>::infinity());
  }

  /// ln(1 + a + a^2/(1 + sqrt(1 + a^2)))
  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    const V square = a * a;
    const V root = squareRootByInstruction(1.0 + square);
    return copySign(ShortLog::onePlus(a + square / (1.0 + root)), x);
  }
};

template <class Export>
struct InverseSine {
  using Element = typename Export::Element;
  using ShortRoad = AsinhShortRoad;
  static constexpr int lanes = fewRegisters ? 2 : 3;
  static constexpr int registers = registersInFlight(3, 2);

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, Element{0.125}, Element{0x1p28});
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    const DoubleDoubleOf<V> part = splitHiLo(a, split26Bits);
    const V squareHi = part.hi * part.hi;
    const V squareLo = (a + part.hi) * part.lo;
    const DoubleDoubleOf<V> sum = twoSum(squareHi, 1.0);
    return copySign(logarithmOfSumWithRoot<Export>(a, fastTwoSum(sum.hi, squareLo + sum.lo)), x);
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, Element{0x1p-57}, Element{0.125});
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    // Polynomial asinh: given; off by 2^-60.87 (relative) for 0 <= x <= 1/8
    // (tools/polynomials/asinh.sollya).
    static constexpr double h[] = {-0x1.555555555551bp-3, 0x1.333333330facp-4,
                                   -0x1.6db6dafab4472p-5, 0x1.f1c671225ed56p-6,
                                   -0x1.6e4b04cd3b907p-6, 0x1.10437f0a10cfbp-6};
    const V s = x * x;
    return x + (s * horner(h, s)) * x;
  }

  static void exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    if (isInfiniteOrNan(x))
      result = x + x;
    else if (magnitude(x) < Element{0x1p-57})
      result = static_cast<Element>(unchangedButInexact(static_cast<double>(x)));
    else
      result = static_cast<Element>(copySign(
          logarithmOfTwice<Export>(static_cast<double>(magnitude(x))), static_cast<double>(x)));
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Asinh, InverseSine, InverseSine, InverseSine)
