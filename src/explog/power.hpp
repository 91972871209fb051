// The kernel of the power functions: x^y = 2^(y log2 x).
#pragma once

#include "core/call_frame.hpp"

#include <cstdint>
#include <limits>

namespace qelvm {
namespace {

// ---- tables -------------------------------------------------------------------------------------

/// One reciprocal of a stage of the reduction, and minus its base-2 logarithm in two words.
struct alignas(rowAlignment<3>) PowLogRow {
  double reciprocal;
  double logHi;
  double logLo;
};

#define QELVM_POW_LOG_ROW(r, hi, lo) {r, hi, lo},

template <class Export>
QELVM_TABLE PowLogRow powLogs1[33] = {
#define QELVM_POW_LOG_1 QELVM_POW_LOG_ROW
#include "explog/pow_logs.inc"
#undef QELVM_POW_LOG_1
};

template <class Export>
QELVM_TABLE PowLogRow powLogs2[33] = {
#define QELVM_POW_LOG_2 QELVM_POW_LOG_ROW
#include "explog/pow_logs.inc"
#undef QELVM_POW_LOG_2
};

template <class Export>
QELVM_TABLE PowLogRow powLogs3[129] = {
#define QELVM_POW_LOG_3 QELVM_POW_LOG_ROW
#include "explog/pow_logs.inc"
#undef QELVM_POW_LOG_3
};

#undef QELVM_POW_LOG_ROW

/// 2^(j/128)
template <class Export>
QELVM_TABLE PairRow powPowers[128] = {
#define QELVM_POW_POWER(hi, lo) {hi, lo},
#include "explog/pow_powers.inc"
#undef QELVM_POW_POWER
};

// ---- the exponent -------------------------------------------------------------------------------

enum class Parity { notInteger, even, odd };

inline Parity parityOf(double y) {
  const std::int32_t exponent = exponentField(y) - 1023;
  if (isZero(y))
    return Parity::even;
  if (exponent < 0 || isInfiniteOrNan(y))
    return Parity::notInteger;
  if (exponent > 52)
    return Parity::even;
  const std::uint64_t unit = std::uint64_t{1} << (52 - exponent); // for +-1 the implicit bit: odd
  if ((bitsOf(y) & (unit - 1)) != 0)
    return Parity::notInteger;
  return (bitsOf(y) & unit) != 0 ? Parity::odd : Parity::even;
}

/// Exponents with which no step of the kernel overflows or underflows, whatever the base. Beyond
/// them every power of a normal base is 1 or saturates.
QELVM_INLINE auto isModerate(const auto& y) {
  return magnitudeWithin(y, 0x1p-72f, 0x1p64f);
}

/// An exponent prepared for its product; Y is one double where all elements have the same.
template <class Y>
struct PowExponent {
  Y y;
  DoubleDoubleOf<Y> split;

  QELVM_INLINE explicit PowExponent(const Y& exponent)
      : y(exponent), split(splitHiLo(y, split26Bits)) {}
};

// ---- the kernel ---------------------------------------------------------------------------------

/// log2 a as hi + lo, and its leading part before the polynomial is added.
template <class V>
struct Log2 {
  V leading;
  V hi;
  V lo;
};

/// log2(a 2^scale), a positive and normal. Three multiplications by tabulated reciprocals bring the
/// significand m to L = log2 e cut to 23 bits, within 2^-16; their rounding errors are all in E,
/// the exact difference between the last product and m times the product of the reciprocals. (The
/// one table of reduceLogarithm would leave too few bits for y log2 a.)
template <class Export, class V>
QELVM_INLINE Log2<V> log2Of(const V& a, std::int32_t scale) {
  constexpr double L = 0x1.715474p0;
  // Polynomial pow_log2: given; off by 2^-82.10 (absolute) for |V| <= L*2^-16
  // (tools/polynomials/pow_log2.sollya).
  static constexpr double q[] = {0x1.9c3a6966457e8p-24, -0x1.62e4346694107p-2, 0x1.47fd462b6dee1p-3,
                                 -0x1.550472a9012d8p-4}; // (log2(1 + V/L) - V) / V
  constexpr auto& logs1 = powLogs1<Export>;
  constexpr auto& logs2 = powLogs2<Export>;
  constexpr auto& logs3 = powLogs3<Export>;

  // From a significand of 1 + 0x7C000/2^20 on, the exponent is the next one, as in the first table.
  const V k = toDouble(((highWord(a) - 0x3FE7C000) >> 20) + scale);
  const V m = withExponent(1023, a);

  const IntegerOf<V> i1 = ((highWord(m) & 0xFC000) + 0x4000) >> 15;
  const V r1 = lookUp(logs1, i1, &PowLogRow::reciprocal);
  const V m1 = m * r1;
  const IntegerOf<V> i2 = ((highWord(m1) & 0xFC00) + 0x400) >> 11; // below one: the upper rows
  const V r2 = lookUp(logs2, i2, &PowLogRow::reciprocal);
  const V m2 = m1 * r2;
  const IntegerOf<V> i3 = ((highWord(m2) & 0xFF0) + 0x10) >> 5;
  const V r3 = lookUp(logs3, i3, &PowLogRow::reciprocal);
  const V m3 = m2 * r3;
  const V r = (r1 * r2) * r3;

  // The leading parts are multiples of 2^-42: this sum is exact.
  const V sumHi =
      ((k + lookUp(logs1, i1, &PowLogRow::logHi)) + lookUp(logs2, i2, &PowLogRow::logHi)) +
      lookUp(logs3, i3, &PowLogRow::logHi);
  const V sumLo = (lookUp(logs2, i2, &PowLogRow::logLo) + lookUp(logs3, i3, &PowLogRow::logLo)) +
                  lookUp(logs1, i1, &PowLogRow::logLo);

  const V v = m3 - L;
  const DoubleDoubleOf<V> ms = splitHiLo(m, split26Bits);
  const DoubleDoubleOf<V> rs = splitHiLo(r, split26Bits);
  const V error = (((ms.hi * rs.hi - m3) + rs.hi * ms.lo) + ms.hi * rs.lo) + ms.lo * rs.lo;

  const V g = sumHi + v;
  const V t = (sumHi - g) + v;
  const V u = v + error;
  const V series = u * horner(q, u);
  const V g2 = g + series;
  const V e2 = (g - g2) + series;
  const V w = sumLo + (error + t);
  const V g3 = g2 + w;
  const V e3 = (g2 - g3) + w;
  return {g, g3, e2 + e3};
}

/// 2^(y log2 a) = (power + rest) 2^n, significand = fl(power + rest).
template <class Export, class V>
struct Power {
  static constexpr double shifter = 0x1.8p45; // rounds to a multiple of 1/128

  V shifted; ///< shifter + y log2 a
  V power;
  V rest;
  V significand;

  template <class Y>
  QELVM_INLINE Power(const Log2<V>& log, const PowExponent<Y>& exponent) {
    // Polynomial pow_exp2: given; off by 2^-60.44 (absolute) for |r| <= 2^-8 + 2^-20
    // (tools/polynomials/pow_exp2.sollya).
    static constexpr double e[] = {0x1.62e42fefa39efp-1, 0x1.ebfbdff82c58fp-3, 0x1.c6b08d704a0cp-5,
                                   0x1.3b2ab6fba4e77p-7, 0x1.5d87fe78a6731p-10}; // (2^r - 1) / r
    const DoubleDoubleOf<V> g = splitHiLo(log.hi, split26Bits);
    const DoubleDoubleOf<Y>& y = exponent.split;
    const V product = y.hi * g.hi; // exact
    const V productLo = ((y.lo * g.hi) + ((y.hi * g.lo) + (y.lo * g.lo))) + log.lo * exponent.y;
    const Rounded<V> rounded = roundShifter(product, shifter);
    const V r = (product - rounded.value) + productLo;
    const V q = r * horner(e, r);
    const IntegerOf<V> j = lowWord(rounded.sum) & 127;
    shifted = rounded.sum;
    power = lookUp(powPowers<Export>, j, &PairRow::hi);
    rest = (q * power) + lookUp(powPowers<Export>, j, &PairRow::lo);
    significand = power + rest;
  }

  QELVM_INLINE IntegerOf<V> n() const { return lowWord(shifted) >> 7; }

  /// True only where the result is normal: -1021 <= n < 1023 (the significand can round below 1).
  QELVM_INLINE bool isNormal() const {
    return allLanes(
        [](const auto& sum)
            QELVM_ALWAYS_INLINE { return positiveWithin(sum, shifter - 1021.0, shifter + 1023.0); },
        shifted);
  }

  /// The result, where it is normal.
  QELVM_INLINE V value() const { return addToExponent(significand, n()); }

  /// The subnormal result, where its exponent is the given one, with the sign of s, +-1; raises
  /// underflow and inexact.
  double subnormal(std::int32_t exponent, double s) const {
    if (exponent < -1084)
      return underflowed() * s;
    const double scale = withExponent(n() + 200 + 1023, 1.0);
    if (exponent < -1032)
      return ((significand * scale) * twoToMinus200) * s + underflowed();
    const double lo = (power - significand) + rest;
    return roundedOnceTimes2ToMinus200({significand * scale, lo * scale}) * s + underflowed();
  }
};

/// a^y for positive normal a other than 1 and moderate y; valid where it is well inside the normal
/// range. Where it is 1 by the smallness of y log2 a, the steps come to 1 by themselves.
template <class Export, class V, class Y>
QELVM_INLINE Tentative<V> ordinaryPower(const V& a, const PowExponent<Y>& exponent) {
  const Power<Export, V> power(log2Of<Export>(a, 0), exponent);
  return {power.value(), power.isNormal()};
}

/// x^y for finite x other than zero and 1, finite y other than zero, and the sign s = +-1.
template <class Export>
double generalPower(double x, double y, double s) {
  const Prescaled<double> a = prescaleSubnormal(magnitude(x), twoTo200, -200);
  const Log2<double> log = log2Of<Export>(a.x, a.adjustment);
  const std::int32_t size = exponentField(y) + exponentField(log.leading);
  if (size >= 0x809) // |y log2 x| >= 2048, or nearly
    return (signBit(log.leading) != signBit(y) ? underflowed() : overflowed()) * s;
  if (size <= 0x7C0) // |y log2 x| < 2^-60
    return (1.0 + atRunTime(std::numeric_limits<double>::min())) * s;
  const Power<Export, double> power(log, PowExponent<double>(y));
  const std::int32_t exponent = power.n() + exponentField(power.significand) - 1023;
  if (exponent > 1023)
    return overflowed() * s;
  if (exponent < -1022)
    return power.subnormal(exponent, s);
  return power.value() * s;
}

/// Every case of x^y, in the order that decides where several apply.
template <class Export, class Element>
QelStatus powerOf(double x, double y, Parity parity, Stored<Element>& result) {
  const auto store = [&](double value, QelStatus status = qelStatusOk) {
    result = static_cast<Element>(value);
    return status;
  };
  const double s = signBit(x) && parity == Parity::odd ? -1.0 : 1.0;
  const bool infinite = isInfiniteOrNan(x) || isInfiniteOrNan(y);

  if (x == 1.0 || isZero(y)) {
    static_cast<void>(atRunTime(x + y)); // for its flags: invalid for a signalling NaN
    return store(1.0);
  }
  if (x != x || y != y)
    return store(x + y);
  if (isZero(x))
    return signBit(y) ? store(dividedByZero(s), qelStatusDomain) : store((x * x) * s);
  if (x == -1.0 && (parity != Parity::notInteger || infinite))
    return store(s);
  if (infinite) {
    if (exponentField(x) < 1023)
      return store(signBit(y) ? y * y : 0.0);
    return store(signBit(y) ? 0.0 * s : ((x * x) * y) * s);
  }
  if (signBit(x) && parity == Parity::notInteger)
    return store(invalid(), qelStatusDomain);
  return store(generalPower<Export>(x, y, s));
}

} // namespace
} // namespace qelvm
