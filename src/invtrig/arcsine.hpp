// What arcsine and arccosine share: the arcsine of a small argument and twice the arcsine of a half
// angle, as unevaluated sums, and the special cases of both.
#pragma once

#include "core/call_frame.hpp"
#include "invtrig/angles.hpp"
#include "stages/seeded_root.hpp"

#include <limits>

namespace qelvm {
namespace {

/// (a.hi + a.lo) - (b.hi + b.lo) for |a| > |b|, rounded to a double.
template <class A, class V>
QELVM_INLINE V difference(const DoubleDoubleOf<A>& a, const DoubleDoubleOf<V>& b) {
  const V hi = a.hi - b.hi;
  const V lo = (a.hi - hi) - b.hi;
  return hi + ((a.lo - b.lo) + lo);
}

template <class V>
QELVM_INLINE DoubleDoubleOf<V> splitShort(const V& x) {
  return splitHiLo(x, split26BitsShort);
}

/// asin(a) = a + a^3 / 6 + 3 a^5 / 40 + a^7 Q(a^2) for 2^-53 < a < 1/2. The powers a^3 and a^5 are
/// sums of a short leading and a trailing part, like the first two coefficients, and the products
/// of leading parts are exact.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> arcsineSeries(const V& a) {
  // Polynomial arcsine: given; off by 2^-63.62 (relative) for 0 <= a <= 1/2
  // (tools/polynomials/arcsine.sollya).
  constexpr DoubleDouble c3 = {0x1.555555800p-3, -0x1.5555569702859p-30}; // 1/6
  constexpr DoubleDouble c5 = {0x1.33333300p-4, 0x1.999d1d5678e0ap-31};   // 3/40
  static constexpr double q[] = {0x1.6db6db6d48cp-5,   0x1.f1c71ca831c87p-6,  0x1.6e8b9af35a9fep-6,
                                 0x1.1c4f854d7ce2ep-6, 0x1.c980e69cfb0f6p-7,  0x1.7ba3f46a7a74cp-7,
                                 0x1.36c4e1149074ep-7, 0x1.47ff9bd88016p-7,   0x1.65df0e15d97b4p-11,
                                 0x1.96bbf93f1f13fp-6, -0x1.ac6672d8262e1p-6, 0x1.13996dc3edd7ep-5};
  const DoubleDoubleOf<V> part = splitShort(a);
  const V squareHi = part.hi * part.hi;
  const V squareLo = (a + part.hi) * part.lo;
  const V s = squareHi + squareLo;
  const V series = horner(q, s);

  const DoubleDoubleOf<V> s2 = splitShort(squareHi); // a^2 = s2.hi + rest2
  const V rest2 = squareLo + s2.lo;
  const V product3 = part.hi * s2.hi;
  const V rest3 = part.lo * s2.hi + a * rest2;
  const V cube = product3 + rest3;
  const DoubleDoubleOf<V> s3 = splitShort(product3);
  const V product5 = s3.hi * s2.hi;
  const V rest5 = s2.hi * (s3.lo + rest3) + rest2 * cube;
  const V fifth = product5 + rest5;
  const DoubleDoubleOf<V> s5 = splitShort(product5);

  const V tail = series * (s * fifth);
  const DoubleDoubleOf<V> sum3 = fastTwoSum(a, s3.hi * c3.hi);
  const DoubleDoubleOf<V> sum5 = fastTwoSum(sum3.hi, s5.hi * c5.hi);
  V lo = (cube * c3.lo + fifth * c5.lo) + tail;
  lo = s3.lo * c3.hi + (rest3 * c3.hi + lo);
  lo = lo + sum3.lo;
  lo = s5.lo * c5.hi + (rest5 * c5.hi + lo);
  return {sum5.hi, lo + sum5.lo};
}

/// 2 asin(u) for u = sqrt((1 - a) / 2) and 1/2 <= a <= 1: with v = 1 - a it is u times
/// 2 + v / 6 + 3 v^2 / 80 + v^3 R(v), leading and trailing parts apart as in the series above.
/// For a = 1 the root comes out as 2^-511.5, which is too small to show in any result.
template <class Export, class V>
QELVM_INLINE DoubleDoubleOf<V> twiceArcsineOfRoot(const V& a) {
  // Polynomial half_angle: given; off by 2^-63.14 (relative) for 0 <= u <= 1/2
  // (tools/polynomials/half_angle.sollya).
  constexpr DoubleDouble k0 = {2.0, 0x1.20073430af345p-63};
  constexpr DoubleDouble k1 = {0x1.555555800p-3, -0x1.5555574765c14p-30}; // 1/6
  constexpr DoubleDouble k2 = {0x1.33333300p-5, 0x1.999e109d761bp-32};    // 3/80
  static constexpr double r[] = {
      0x1.6db6db6d35892p-7,  0x1.f1c71caf00453p-9,  0x1.6e8b9a32aa2b8p-10,  0x1.1c4f937a8a022p-11,
      0x1.c97f757f5a67ap-13, 0x1.7bb135a197cb3p-14, 0x1.366e321244193p-15,  0x1.49906cf8ca535p-16,
      0x1.15d894603528bp-21, 0x1.9bfbe359fdaabp-17, -0x1.b2ea540703226p-18, 0x1.156909893ac75p-18};
  const V v = 1.0 - a;
  const V series = horner(r, v);
  const DoubleDoubleOf<V> root = seededRoot<Export>(v * 0.5);
  const DoubleDoubleOf<V> leadingRoot = splitShort(root.hi);
  const V& uHi = leadingRoot.hi;
  const V uLo = root.lo + leadingRoot.lo;

  const V tail = ((series * v) * v) * v;
  const V factor = tail + ((k0.hi + k0.lo) + ((k1.hi + k1.lo) + (k2.hi + k2.lo) * v) * v);
  const DoubleDoubleOf<V> v1 = splitShort(v);
  const DoubleDoubleOf<V> v2 = splitShort(v1.hi * v1.hi);
  const V v2Lo = v1.lo * (v + v1.hi) + v2.lo;

  const DoubleDoubleOf<V> inner = fastTwoSum(v1.hi * k1.hi, v2.hi * k2.hi);
  const DoubleDoubleOf<V> outer = fastTwoSum(k0.hi, inner.hi);
  const DoubleDoubleOf<V> leading = splitShort(outer.hi);
  const V trailing = (outer.lo + ((inner.lo + v1.lo * k1.hi) + v2Lo * k2.hi)) + leading.lo;
  const V lo = (factor * uLo + trailing * uHi) + (((v * (k1.lo + k2.lo * v)) + k0.lo) + tail) * uHi;
  return {uHi * leading.hi, lo};
}

/// 2^-53 < |x| < 1/2, a double or float
template <class Element>
QELVM_INLINE auto isInSeries(const auto& x) {
  constexpr Element tiny = 0x1p-53;
  return magnitudeWithin(x, tiny + tiny * std::numeric_limits<Element>::epsilon(), Element{0.5});
}

/// Stores the NaN of an infinity, a NaN or an argument beyond [-1, 1]. An infinity is told from a
/// NaN by the source after the store: in place that is the NaN, and nothing is reported.
template <class Element>
QelStatus outsideArcDomain(const Stored<Element>& source, Stored<Element>& result) {
  const Element x = source;
  if (isInfiniteOrNan(x)) {
    result = x / x;
    return fractionIsZero(Element{source}) ? qelStatusDomain : qelStatusOk;
  }
  result = static_cast<Element>(invalid());
  return qelStatusDomain;
}

} // namespace
} // namespace qelvm
