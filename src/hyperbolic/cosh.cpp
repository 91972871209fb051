// Hyperbolic cosine.
//
// Reduction: |x| = n ln2/64 + r, |r| <= ln2/128, as for the exponential; with n = 64 m + j,
// a = 2^(m - 1) 2^(j/64) and b = 2^(-m - 2) 2^((64 - j)/64) are the halves of e^(n ln2/64) and
// e^(-n ln2/64): cosh x = a e^r + b e^-r = (a + b) cosh r + (a - b) sinh r.
//
// Table: 2^(j/64), 65 rows; A50 rounded to double, the others in two words.
//
// Polynomial: that of e^r, of degree 5 (A50) or 6, in its even and odd parts
// (stages/exp_reduction.hpp).
//
// Ranges: below 2^-53 the result is one; from 31 ln 2 on e^-x is below 2^-62 of e^x and is left
// out. From 710 on the power of two is applied in two steps, on the slow path.
//
// Error: proven (docs/proofs.md), A50 below 1.8 ulp (1.7173: the table's entries, their sum and the
// last sum are rounded), 1.7132 seen at 0x1.5111f0af9d313p+0; A53 below 0.52 ulp (0.5199, without
// e^-x; 0.5175 in the table's range), 0.5171 seen at 0x1.e52a4c6fbadffp+8.

#include "core/export.hpp"
#include "hyperbolic/short_sinh_cosh.hpp"
#include "hyperbolic/sinh_cosh.hpp"

namespace qelvm {
namespace {

struct CoshParity {
  static constexpr double tableFrom = HyperbolicRanges::tiny;

  template <class V>
  QELVM_INLINE static V withSignOf(const V&, const V& magnitude) {
    return magnitude;
  }
};

/// A50: cosh x = (a + b) cosh r + (a - b) sinh r, with a and b as one double.
template <class Export>
struct CoshShort : CoshParity {
  static constexpr int lanes = fewRegisters ? 2 : 4;

  template <class V>
  QELVM_INLINE static V table(const V& magnitude) {
    const ExpReduced<V> reduced = reduceExp(magnitude);
    const V r = reduced.r();
    const ExpTailParts<V> tail = expTailParts<ExpPolynomialShort>(r);
    const HalfScales<V> scale(reduced.m);
    const V a = lookUp(hyperbolicPowers<Export>, reduced.j) * scale.up;
    const V b = lookUp(hyperbolicPowers<Export>, 64 - reduced.j) * scale.down;
    const V sum = a + b;
    const V difference = a - b;
    return sum + (r * difference + (tail.even * sum + tail.odd * difference));
  }

  template <class V>
  QELVM_INLINE static V significand(const ExpReduced<V>& reduced) {
    return shortExp(reduced.r(), lookUp(hyperbolicPowers<Export>, reduced.j));
  }
};

/// A53 and 32f: the same, a + b exactly as a sum of two, the rest of a and b to first order.
template <class Export>
struct CoshLong : CoshParity {
  static constexpr int lanes = fewRegisters ? 1 : 2;

  template <class V>
  QELVM_INLINE static V table(const V& magnitude) {
    const ExpReduced<V> reduced = reduceExp(magnitude);
    const V r = reduced.r();
    const ExpTailParts<V> tail = expTailParts<ExpPolynomialLong>(r);
    const auto [a, b] = halfPowers<Export>(reduced);
    const DoubleDoubleOf<V> sum = fastTwoSum(a.hi, b.hi);
    const V difference = a.hi - b.hi;
    const V low = a.lo + (b.lo + (a.lo - b.lo) * r);
    const V x = tail.odd * difference + (low + sum.lo);
    return sum.hi + (r * difference + (tail.even * sum.hi + x));
  }

  template <class V>
  QELVM_INLINE static V significand(const ExpReduced<V>& reduced) {
    return longExp(reduced.r(), powerPair<Export, V>(reduced.j));
  }
};

struct CoshShortRoad {
  static constexpr double distance = distanceOf(ShortSinhCosh<double>::coshOffBy, 16);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-60, 89.0); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return ShortSinhCosh<V>(x).cosh();
  }
};

template <class Export, template <class> class Method>
struct HyperbolicCosine : HyperbolicKernel<Export, Method<Export>> {
  using Kernel = HyperbolicKernel<Export, Method<Export>>;
  using Element = typename Export::Element;
  using ShortRoad = CoshShortRoad;

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    if (isInfiniteOrNan(x)) {
      result = x * x;
      return qelStatusOk;
    }
    const double a = magnitude(static_cast<double>(x));
    if (a < HyperbolicRanges::tiny) {
      result = static_cast<Element>(1.0 + a);
      return qelStatusOk;
    }
    return Kernel::exceptionallyLarge(x, result);
  }
};

template <class Export>
using CoshA50 = HyperbolicCosine<Export, CoshShort>;
template <class Export>
using CoshA53 = HyperbolicCosine<Export, CoshLong>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Cosh, CoshA53, CoshA50, CoshA53)
