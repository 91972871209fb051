// Hyperbolic sine.
//
// Reduction: |x| = n ln2/64 + r, |r| <= ln2/128, as for the exponential; with n = 64 m + j,
// a = 2^(m - 1) 2^(j/64) and b = 2^(-m - 2) 2^((64 - j)/64) are the halves of e^(n ln2/64) and
// e^(-n ln2/64): sinh x = a e^r - b e^-r = (a - b) cosh r + (a + b) sinh r. The result gets the
// sign of x.
//
// Table: 2^(j/64), 65 rows, in two words: a - b cancels.
//
// Polynomial: that of e^r, of degree 5 (A50) or 6, in its even and odd parts
// (stages/exp_reduction.hpp). For small x the series to x^9.
//
// Ranges: below 2^-53 the result is x; below 0.06 (A50) or 2^-5.2 the series; from 31 ln 2 on e^-x
// is below 2^-62 of e^x and is left out. From 710 on the power of two is applied in two steps, on
// the slow path.
//
// Error: proven (docs/proofs.md), A50 below 2.0 ulp (1.9498, where a - b is not much more than
// r (a + b)), 1.9011 seen at 0x1.fea5b9e4637d3p-4; A53 below 0.52 ulp (0.5199, without e^-x; 0.5004
// in the other ranges, where a - b, a + b and r are double-doubles), 0.5171 seen at
// 0x1.e52a4c6fbadffp+8.

#include "core/export.hpp"
#include "hyperbolic/short_sinh_cosh.hpp"
#include "hyperbolic/sinh_cosh.hpp"

namespace qelvm {
namespace {

struct SinhParity {
  template <class V>
  QELVM_INLINE static V withSignOf(const V& x, const V& magnitude) {
    return copySign(magnitude, x);
  }
};

/// A50: sinh x = (a - b) cosh r + (a + b) sinh r, with the rest of a - b, which cancels.
template <class Export>
struct SinhShort : SinhParity {
  static constexpr int lanes = fewRegisters ? 1 : 3;
  static constexpr double tableFrom = 0x1.eb851eb851eb8p-5; // 0.06

  template <class V>
  QELVM_INLINE static V table(const V& magnitude) {
    const ExpReduced<V> reduced = reduceExp(magnitude);
    const V r = reduced.r();
    const ExpTailParts<V> tail = expTailParts<ExpPolynomialShort>(r);
    const auto [a, b] = halfPowers<Export>(reduced);
    const V difference = a.lo + ((a.hi - b.hi) - b.lo);
    const V sum = a.hi + b.hi;
    return difference + (r * sum + (tail.even * difference + tail.odd * sum));
  }

  template <class V>
  QELVM_INLINE static V significand(const ExpReduced<V>& reduced) {
    return shortExp(reduced.r(), powerPair<Export, V>(reduced.j).hi);
  }
};

/// A53 and 32f: a - b, a + b and r as double-doubles, the leading product exact.
template <class Export>
struct SinhLong : SinhParity {
  static constexpr int lanes = 1;
  static constexpr double tableFrom = 0x1.bdb8cdadbe12p-6; // 0.02720470510300388, 2^-5.2

  template <class V>
  QELVM_INLINE static V table(const V& magnitude) {
    const ExpReduced<V> reduced = reduceExp(magnitude);
    const auto [a, b] = halfPowers<Export>(reduced);
    const DoubleDoubleOf<V> leadingDifference = fastTwoSum(a.hi, -b.hi);
    const DoubleDoubleOf<V> difference =
        fastTwoSum(leadingDifference.hi, (leadingDifference.lo - b.lo) + a.lo);
    const DoubleDoubleOf<V> leadingSum = fastTwoSum(a.hi, b.hi);
    const DoubleDoubleOf<V> sum = fastTwoSum(leadingSum.hi, (a.lo + b.lo) + leadingSum.lo);

    const DoubleDoubleOf<V> r = reduced.exactR();
    const ExpTailParts<V> tail = expTailParts<ExpPolynomialLong>(r.hi);
    const DoubleDoubleOf<V> rHi = splitHiLo(r.hi, split26Bits);
    const DoubleDoubleOf<V> sumHi = splitHiLo(sum.hi, split26Bits);

    // The terms in ascending order, down to the exact product of the leading halves of sum and r.
    const V low =
        difference.lo + (r.lo * sum.hi + (r.hi * sum.lo + ((tail.odd * sum.lo + r.lo * sum.lo) +
                                                           tail.even * difference.lo)));
    const DoubleDoubleOf<V> second = fastTwoSum(tail.odd * sum.hi, tail.even * difference.hi);
    const V cross =
        rHi.lo * sumHi.hi + (rHi.hi * sumHi.lo + ((low + second.lo) + rHi.lo * sumHi.lo));
    const DoubleDoubleOf<V> first = fastTwoSum(sumHi.hi * rHi.hi, second.hi);
    const DoubleDoubleOf<V> whole = fastTwoSum(difference.hi, first.hi);
    return whole.hi + ((cross + first.lo) + whole.lo);
  }

  template <class V>
  QELVM_INLINE static V significand(const ExpReduced<V>& reduced) {
    return longExp(reduced.r(), powerPair<Export, V>(reduced.j));
  }
};

/// x + x^3/3! + ... + x^9/9! for x > 0.
template <class V>
QELVM_INLINE V sinhSeries(const V& x) {
  // Polynomial sinh: Taylor series, rounded; off by 2^-66.98 (relative) for 2^-53 <= x <= 2^-5.2
  // and 2^-64.16 (relative) for 2^-53 <= x <= 0.06 (tools/polynomials/sinh.sollya).
  static constexpr double c[] = {0x1.5555555555555p-3, 0x1.1111111111111p-7, 0x1.a01a01a01a01ap-13,
                                 0x1.71de3a556c734p-19};
  const V square = x * x;
  return x + x * (square * horner(c, square));
}

struct SinhShortRoad {
  static constexpr double distance = distanceOf(ShortSinhCosh<double>::sinhOffBy, 16);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-60, 89.0); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return ShortSinhCosh<V>(x).sinh();
  }
};

template <class Export, template <class> class Method>
struct HyperbolicSine : HyperbolicKernel<Export, Method<Export>> {
  using Kernel = HyperbolicKernel<Export, Method<Export>>;
  using Element = typename Export::Element;
  using ShortRoad = SinhShortRoad;

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const double x = static_cast<double>(source);
    const double a = magnitude(x);
    if (isInfiniteOrNan(x))
      result = static_cast<Element>(x + x);
    else if (exponentField(x) == 0) // itself; a subnormal raises underflow and inexact
      result = static_cast<Element>(x + x * tinyDouble);
    else if (a < HyperbolicRanges::tiny) // itself, inexact
      result = static_cast<Element>((1.0 + atRunTime(tinyDouble)) * x);
    else if (a < Kernel::tableFrom)
      result = static_cast<Element>(copySign(sinhSeries(a), x));
    else
      return Kernel::exceptionallyLarge(source, result);
    return qelStatusOk;
  }
};

template <class Export>
using SinhA50 = HyperbolicSine<Export, SinhShort>;
template <class Export>
using SinhA53 = HyperbolicSine<Export, SinhLong>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Sinh, SinhA53, SinhA50, SinhA53)
