// Hyperbolic tangent: no exponential, no division.
//
// Ranges: below 1/8 an odd series; from there to 19.06 one of 29 polynomials, each fitted over a
// quarter of a binade (stages/quarter_binades.hpp); beyond, one.
//
// Rows: off row by row as in tanh_rows.inc.
//
// Error: proven (docs/proofs.md) below 0.51 ulp (0.5058, in the series), 0.5045 seen at
// 0x1.e69f74c4113afp-4; on the intervals 0.5005 seen at 0x1.3c3ba01f037e9p+1.
#include "core/export.hpp"
#include "hyperbolic/short_sinh_cosh.hpp"
#include "stages/quarter_binades.hpp"

namespace qelvm {
namespace {

// Polynomial tanh_rows: fit; off by 2^-64.10 (relative), worst in row 24
// (tools/tables/tanh_rows.sollya).
template <class Export>
QELVM_TABLE QuarterBinadeRow tanhRows[29] = {
#define QELVM_TANH_ROW(...) {__VA_ARGS__},
#include "hyperbolic/tanh_rows.inc"
#undef QELVM_TANH_ROW
};

struct TanhShortRoad {
  static constexpr double distance =
      distanceOf(ShortSinhCosh<double>::sinhOffBy + ShortSinhCosh<double>::coshOffBy, 16);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-60, 88.0); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const ShortSinhCosh<V> both(x);
    return both.sinh() / both.cosh();
  }
};

template <class Export>
struct TanhKernel {
  using Element = typename Export::Element;
  using ShortRoad = TanhShortRoad;
  static constexpr int lanes = 2;
  static constexpr int registers = registersInFlight(3, 2);

  static constexpr Element tiny = 0x1p-53;
  static constexpr Element small = 0.125;
  /// 19.0615474653985: from here on 1 - tanh x is below 2^-54.
  static constexpr Element saturation = leastNotBelow<Element>(0x1.30fc1931f09cbp4);

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, small, saturation);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return copySign(quarterBinadePolynomial(tanhRows<Export>, magnitude(x)), x);
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, tiny, small);
  }

  /// a + c3 a^3 + a^5 p(a^2)
  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    // Polynomial tanh: given; off by 2^-64.31 (relative) for 0 <= a <= 1/8
    // (tools/polynomials/tanh.sollya).
    constexpr DoubleDouble c3 = {-0x1.555555p-2, -0x1.5555548f72a9ap-28}; // -1/3, hi with 26 bits
    static constexpr double p[] = {0x1.111111110f2ffp-3, -0x1.ba1ba1adeeb47p-5,
                                   0x1.664f365ee6189p-6, -0x1.22608847886ffp-7,
                                   0x1.cca925be3321p-9};
    const V a = magnitude(x);
    const V square = a * a;
    const V cube = a * square;
    const V tail = (square * horner(p, square)) * cube;
    const DoubleDoubleOf<V> third = productOfShort(c3, splitHiLo(cube, split26Bits));
    const V low = tail + third.lo;
    const DoubleDoubleOf<V> leading = fastTwoSum(a, third.hi);
    const DoubleDoubleOf<V> sum = fastTwoSum(leading.hi, low);
    return copySign(sum.hi + (leading.lo + sum.lo), x);
  }

  static void exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element element = source;
    const double x = static_cast<double>(element);
    const double sign = copySign(1.0, x);
    if (isInfiniteOrNan(element))
      result = fractionIsZero(element) ? static_cast<Element>(sign) : element + element;
    else if (exponentField(x) == 0) // zero or subnormal: itself; a subnormal raises underflow
      result = static_cast<Element>(x + x * atRunTime(tinyDouble));
    else // one, or x itself, inexactly
      result = static_cast<Element>((1.0 + atRunTime(tinyDouble)) *
                                    (exponentField(x) < exponentField(0x1p-53) ? x : sign));
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Tanh, TanhKernel, TanhKernel, TanhKernel)
