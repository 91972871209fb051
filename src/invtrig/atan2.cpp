// Arctangent of two arguments.
//
// Reduction: |y| / |x| = b + ..., b the centre of the quotient's half-binade from 1/8 on and 0
// below: the angle is arctan b + arctan t, t = (|y| - b |x|) / (|x| + b |y|), |t| <= 1/8. Both are
// scaled by the power of two that brings |y| into [1, 2), so that nothing overflows or underflows;
// numerator and denominator are exact to twice the precision. A negative x subtracts the angle from
// pi.
//
// Table: arctan b for the 114 half-binades from 1/8 to 2^54, in two words, the first to 26 bits;
// and row 0 for b = 0.
//
// Polynomial: arctan t - t of degree 15 (invtrig/arctangent.hpp).
//
// Ranges: the ordinary elements are normal and have a quotient within 53 binades of one; y at the
// ends of the exponent range and subnormal arguments run the same steps on the slow path. Where
// the exponents are 54 or more apart, the angle is the quotient, pi/2 less its reciprocal, pi/2 or
// pi.
//
// Error: t (1 + tail) is exact but for the tail, z P(z) in one double with z from the rounded
// quotient. Just below a quotient of 1/8 the tail is 2^-7.6 of the result and its roundings come to
// 0.0155 ulp, the polynomial to 0.0022: below 0.52 ulp, 0.5161 seen at 0x1.fb4505dd50be1p-4,
// 0x1.0089e718e4747p+0. Where x is subnormal and the quotient above 2^54, b is the quotient's and
// the row the table's last: they differ by 2^-54, and with it the error may reach 0.7244 ulp.

#include "core/export.hpp"
#include "invtrig/angles.hpp"
#include "invtrig/arctangent.hpp"
#include "invtrig/short_arctangent.hpp"
#include "stages/reciprocal.hpp"

#include <algorithm>

namespace qelvm {
namespace {

/// |y| / |x|, and both times the power of two with the given exponent field: the one that brings
/// |y| into [1, 2), or as near to it as there is.
template <class V>
struct Ratio {
  V y;
  V x;
  V quotient;

  QELVM_INLINE Ratio(const V& ordinate, const V& abscissa, const IntegerOf<V>& scaleField)
      : y(magnitude(ordinate)), x(magnitude(abscissa)), quotient(y / x) {
    const V scale = withExponent(scaleField, 1.0);
    y = y * scale;
    x = x * scale;
  }
};

/// a + b c exactly to twice the precision, hi to 26 bits; b has three bits.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> addProduct(const V& a, const V& b, const V& c) {
  const DoubleDoubleOf<V> cHi = splitHiLo(c, split26Bits);
  const DoubleDoubleOf<V> product = fastTwoSum(cHi.hi * b, cHi.lo * b);
  const DoubleDoubleOf<V> sum = twoSum(a, product.hi);
  const DoubleDoubleOf<V> sumHi = splitHiLo(sum.hi, split26Bits);
  return {sumHi.hi, (product.lo + sum.lo) + sumHi.lo};
}

/// The arctangent of a quotient, hi rounded and lo the rest, with a tail that belongs to it.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> arctangentOf(const DoubleDoubleOf<V>& quotient, const V& tail) {
  const DoubleDoubleOf<V> t = fastTwoSum(quotient.hi, quotient.lo);
  const DoubleDoubleOf<V> tHi = splitHiLo(t.hi, split26Bits);
  const V tLo = t.lo + tHi.lo;
  const DoubleDoubleOf<V> tailHi = splitHiLo(tail, split26Bits);
  const DoubleDoubleOf<V> sum = twoSum(tailHi.hi * tHi.hi, tHi.hi);
  const V products = (tailHi.lo * tLo + tailHi.hi * tLo) + tailHi.lo * tHi.hi;
  return {sum.hi, products + (tLo + sum.lo)};
}

/// arctan b + arctan((y - b x) / (x + b y)), where row 0 takes the square from the plain quotient.
template <class Export, class V>
QELVM_INLINE DoubleDoubleOf<V> ratioAngle(const Ratio<V>& ratio, const IntegerOf<V>& row) {
  const V b = arctanCentre(ratio.quotient, row);
  const Reciprocal<V> inverse(addProduct(ratio.x, b, ratio.y));
  const DoubleDoubleOf<V> t = quotient(addProduct(ratio.y, -b, ratio.x), inverse);
  const V root = selectWhereZero(row, ratio.quotient, t.hi + t.lo);
  const DoubleDoubleOf<V> angle = arctangentOf(t, arctanTail(root * root));
  const DoubleDoubleOf<V> sum = twoSum(angle.hi, lookUp(arctanTable<Export>, row, &PairRow::hi));
  return {sum.hi, (angle.lo + sum.lo) + lookUp(arctanTable<Export>, row, &PairRow::lo)};
}

/// The angle of (x, y) from that of (|x|, |y|).
template <class V>
QELVM_INLINE V inQuadrant(const DoubleDoubleOf<V>& angle, const V& y, const V& x) {
  const DoubleDoubleOf<V> sum = twoSum(flipSign(angle.hi, x), whereNegative(pi.hi, x));
  const V low = whereNegative(pi.lo, x) + (flipSign(angle.lo, x) + sum.lo);
  return copySign(sum.hi + low, y);
}

struct Atan2ShortRoad {
  static constexpr double distance = distanceOf(ShortArctangent::offBy, 16);
  static constexpr double inside[] = {1.5, 2.5};

  /// The angle is a normal float.
  QELVM_INLINE static auto isOrdinary(const auto& y, const auto& x) {
    return magnitudeWithin(y, 0x1p-60, 0x1p60) && magnitudeWithin(x, 0x1p-60, 0x1p60);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& y, const V& x) {
    const V angle = ShortArctangent::of(magnitude(y), magnitude(x));
    return copySign(whereNegative(pi.hi, x) + flipSign(angle, x), y);
  }
};

template <class Export>
struct ArcTangentOfTwo {
  using Element = typename Export::Element;
  using ShortRoad = Atan2ShortRoad;
  static constexpr int lanes = fewRegisters ? 1 : 2;
  static constexpr int registers = registersInFlight(3, 2);

  /// Both normal, y not in the last binade; 2^lowest <= |y / x| < 2^highest, nearly: the difference
  /// of the bits of |y| and |x| lies between these many binades.
  QELVM_INLINE static auto quotientWithin(const auto& y, const auto& x, int lowest, int highest) {
    constexpr double normal = std::numeric_limits<double>::min();
    const auto ordinate = widened(y);
    const auto abscissa = widened(x);
    const auto binades = [](int count) { return static_cast<std::uint64_t>(count) << 52; };
    const auto difference = bitsOf(magnitude(ordinate)) - bitsOf(magnitude(abscissa));
    return magnitudeWithin(ordinate, normal, 0x1p1023) &&
           magnitudeWithin(abscissa, normal, std::numeric_limits<double>::infinity()) &&
           difference - binades(lowest) < binades(highest - lowest);
  }

  QELVM_INLINE static auto isOrdinary(const auto& y, const auto& x) {
    return quotientWithin(y, x, -53, 53);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& y, const V& x) {
    const Ratio<V> ratio(y, x, 2046 - exponentField(y));
    return inQuadrant(ratioAngle<Export>(ratio, arctanRow(ratio.quotient)), y, x);
  }

  /// Finite, not zero, the exponents so close that both count.
  static double generalAngle(double y, double x) {
    const Ratio<double> ratio(y, x, std::clamp(2046 - exponentField(y), 1, 2045));
    // Beyond the table only where x is subnormal.
    const std::int32_t row = std::min(arctanRow(ratio.quotient), arctanRows - 1);
    return inQuadrant(ratioAngle<Export>(ratio, row), y, x);
  }

  static double angle(double y, double x) {
    if (isInfiniteOrNan(y)) {
      if (!isInfiniteOrNan(x))
        return roundedAngle(halfPi);
      return roundedAngle(signBit(x) ? threeQuarterPi : quarterPi);
    }
    if (isZero(y) || isInfiniteOrNan(x))
      return signBit(x) ? roundedAngle(pi) : 0.0;
    const int distance = exponentField(y) - exponentField(x);
    if (isZero(x) || distance >= 74)
      return roundedAngle(halfPi);
    if (distance >= 54)
      return (halfPi.lo - x / magnitude(y)) + halfPi.hi;
    if (distance > -54)
      return generalAngle(y, x);
    if (signBit(x))
      return roundedAngle(pi);
    const double quotient = magnitude(y) / x; // is the angle; not exactly
    return exponentField(quotient) == 0 ? quotient + quotient * quotient
                                        : quotient * (1.0 + quotient);
  }

  static void exceptional(const Stored<Element>& ordinate, const Stored<Element>& abscissa,
                          Stored<Element>& result) {
    const double y = static_cast<double>(ordinate);
    const double x = static_cast<double>(abscissa);
    const bool hasNan = y != y || x != x;
    result = static_cast<Element>(hasNan ? y + x : copySign(angle(y, x), y));
  }
};

} // namespace
} // namespace qelvm

QELVM_TWO_SOURCES(Atan2, ArcTangentOfTwo, ArcTangentOfTwo, ArcTangentOfTwo)
