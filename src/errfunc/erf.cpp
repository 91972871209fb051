// Error function.
//
// Ranges: below 2^-40 a product of two double-words; below 1/8 an odd series whose first two terms
// are such products; from there to 5.92 one of 22 polynomials, each fitted over a quarter of a
// binade (stages/quarter_binades.hpp); beyond, one.
//
// Rows: off row by row as in erf_rows.inc, row 20, the limit of its degree, far more than the
// others.
//
// Error: proven (docs/proofs.md) below 0.51 ulp (0.5068, in row 20; 0.5058 in the series), 0.5068
// seen at -0x1.1cb5828b394c5p+2. Subnormal results are rounded once: 0.5001 ulp, proven, too.
#include "core/export.hpp"
#include "core/short_road.hpp"
#include "stages/quarter_binades.hpp"

namespace qelvm {
namespace {

// Polynomial erf_rows: fit; off by 2^-60.18 (relative), worst in row 20
// (tools/tables/erf_rows.sollya).
template <class Export>
QELVM_TABLE QuarterBinadeRow erfRows[22] = {
#define QELVM_ERF_ROW(...) {__VA_ARGS__},
#include "errfunc/erf_rows.inc"
#undef QELVM_ERF_ROW
};

/// 2/sqrt(pi) in two words, hi with 25 bits, and in one.
inline constexpr DoubleDouble twoOverRootPi = {0x1.20dd75p0, 0x1.0a6db446b8ea4p-30};
inline constexpr double twoOverRootPiRounded = 0x1.20dd750429b6dp0;

/// x times a polynomial in x^2, up to where the result rounds to one.
struct ErfShortRoad {
  static constexpr double inside[] = {1.0};
  /// From here on both results, this one and the full kernel's, round to one: they lie above
  /// 1 - 2^-25.1. Its square is 2 zCentre, nearly.
  static constexpr double saturation = 3.9375;
  static constexpr double zCentre = 0x1.fp2;
  // Polynomial short_erf: fit; off by 2^-37.01 (relative) for 2^-30 <= a <= 3.9375
  // (tools/polynomials/short_erf.sollya).
  static constexpr double c[] = {
      0x1.6fcd22af708aap-2,  -0x1.6f4db906bbce2p-3,  0x1.118c916204b0cp-3,  -0x1.bdf35fe3d7b95p-4,
      0x1.72e68f904365ep-4,  -0x1.2fe2bbff59a52p-4,  0x1.dfd1c2b04821dp-5,  -0x1.67f6e35ba6998p-5,
      0x1.fd17b620a99aep-6,  -0x1.51f346ab3f6c9p-6,  0x1.a4e8929d3fe26p-7,  -0x1.ec8b69e80e2b9p-8,
      0x1.0dcbc6ae91fbp-8,   -0x1.12f46135117f6p-9,  0x1.0e77c6b73b99p-10,  -0x1.0cb4c20c54addp-11,
      0x1.c2a29cb742fd4p-13, -0x1.ec429ddb6bd5bp-15, 0x1.cbbaff1ed2c1fp-16, -0x1.94338123e317bp-16,
      0x1.052ed65513d0ep-17};
  static constexpr double offBy = 0x1p-37;
  static constexpr double distance = distanceOf(offBy, 64);

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, 0x1p-60, std::numeric_limits<double>::infinity());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = smaller(magnitude(x), saturation);
    return copySign(a * fusedHorner(c, fused(a * a, 1.0 / zCentre, -1.0)), x);
  }
};

template <class Export>
struct ErfKernel {
  using Element = typename Export::Element;
  using ShortRoad = ErfShortRoad;
  static constexpr int lanes = 2;
  static constexpr int registers = registersInFlight(3, 2);

  static constexpr Element tiny = 0x1p-40;
  static constexpr Element small = 0.125;
  /// 5.921587195794508: from here on the result is one.
  static constexpr Element saturation = leastNotBelow<Element>(0x1.7afb48dc96628p2);

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, small, saturation);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return copySign(quarterBinadePolynomial(erfRows<Export>, magnitude(x)), x);
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, tiny, small);
  }

  /// c1 a + c3 a^3 + a^5 s(a^2)
  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    // Polynomial erf: given; off by 2^-69.92 (relative) for 0 <= a <= 1/8
    // (tools/polynomials/erf.sollya).
    constexpr DoubleDouble c3 = {-0x1.8127468p-2, -0x1.81bcf35cfdb21p-29}; // -2/(3 sqrt(pi))
    static constexpr double s[] = {0x1.ce2f21a042b41p-4, -0x1.b82ce31247c36p-6,
                                   0x1.565bcc4d1d139p-8, -0x1.c02b6e14edcedp-11,
                                   0x1.f644dd9e75958p-14};
    const V a = magnitude(x);
    const V square = a * a;
    const V cube = a * square;
    const V tail = (square * horner(s, square)) * cube;
    const DoubleDoubleOf<V> third = productOfShort(c3, splitHiLo(cube, split26Bits));
    const DoubleDoubleOf<V> first = productOfShort(twoOverRootPi, splitHiLo(a, split26Bits));
    const DoubleDoubleOf<V> upper = fastTwoSum(third.hi, tail);
    const V low = first.lo + (third.lo + upper.lo);
    const DoubleDoubleOf<V> sum = fastTwoSum(first.hi, upper.hi);
    return copySign(sum.hi + (low + sum.lo), x);
  }

  static void exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element element = source;
    const double x = static_cast<double>(element);
    if (isInfiniteOrNan(element))
      result = fractionIsZero(element) ? static_cast<Element>(copySign(1.0, x)) : element + element;
    else if (magnitude(x) < tiny)
      result = static_cast<Element>(proportional(x));
    else
      result = static_cast<Element>(copySign(1.0 + atRunTime(twoToMinus200), x));
  }

private:
  /// 2/sqrt(pi) x, rounded once where the result is subnormal too.
  static double proportional(double x) {
    if (isZero(x))
      return x;
    const double a = magnitude(x);
    if (a < 0x1p-1034) // as many bits as the result still has
      return x * twoOverRootPiRounded;
    const DoubleDouble product =
        productOfShort(splitHiLo(x * twoTo200, split26Bits), twoOverRootPi);
    if (a >= 0x0.e2dfc48da77b5p-1022) // 2^-1022 / (2/sqrt(pi)): the result is normal
      return (product.hi + product.lo) * twoToMinus200;
    return roundedOnceTimes2ToMinus200(product);
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Erf, ErfKernel, ErfKernel, ErfKernel)
