// Exponential.
//
// Reduction: x = n ln2/64 + r, |r| <= ln2/128, n = 64 m + j; e^x = 2^m 2^(j/64) e^r. n is exact
// from a shifter, n times the leading part of ln2/64 is exact, the trailing part leaves an error
// far below the last place of r.
//
// Table: 2^(j/64), 64 rows; A50 rounded to double, the others with the rest relative to it.
//
// Polynomial: e^r - 1 - r, of degree 5 (A50) or 6 (stages/exp_reduction.hpp).
//
// Ranges: the ordinary elements have a normal result, well away from overflow; near overflow and
// where it is subnormal the same steps run with their own scalings, on the slow path.
//
// Error: proven (docs/proofs.md), A50 below 2.0 ulp (1.9691), 1.9507 seen at
// -0x1.af2d1a246a2e1p+8; A53 below 0.518 ulp, 0.517008 seen at 0x1.4ec56e4b9908p+9. Where the
// result is subnormal, A50 at most 1.5 ulp, 1.4547 seen at -0x1.62364ef070405p+9; A53 below
// 0.51 ulp, 0.506821 seen at -0x1.623e8e5146cfep+9.

#include "core/export.hpp"
#include "stages/exp_reduction.hpp"
#include "stages/short_exp.hpp"

namespace qelvm {
namespace {

/// Where a type's results overflow, underflow to zero, and leave the normal range. The limits
/// themselves lie inside.
template <class Element>
struct ExpLimits;

template <>
struct ExpLimits<double> {
  static constexpr double overflow = 0x1.62e42fefa39efp9;   // 709.782712893384, ln of the largest
  static constexpr double underflow = -0x1.74910d52d3052p9; // -745.1332191019412, -1075 ln 2
  static constexpr double subnormal = -0x1.6232bdd7abcd2p9; // -708.3964185322641, -1022 ln 2
  static constexpr double ordinary = 708.0;
};

template <>
struct ExpLimits<float> {
  static constexpr float overflow = 0x1.62e42ep6f;   // 88.7228317, below ln of the largest float
  static constexpr float underflow = -0x1.9fe368p6f; // -103.972076, above -150 ln 2
  static constexpr float subnormal = -0x1.5d589ep6f; // -87.3365402, above -126 ln 2
  static constexpr float ordinary = 87.0f;
};

/// 2^(j/64) rounded to double (A50).
template <class Export>
QELVM_TABLE double expPowers[64] = {
#define QELVM_EXP_POWER(hi, lo) hi,
#include "explog/exp_powers.inc"
#undef QELVM_EXP_POWER
};

struct alignas(rowAlignment<2>) PowerPair {
  double hi;
  double lo; ///< the rest of the power, divided by hi
};

/// 2^(j/64) as hi (1 + lo) (A53 and 32f).
template <class Export>
QELVM_TABLE PowerPair expPowerPairs[64] = {
#define QELVM_EXP_POWER(hi, lo) {hi, lo},
#include "explog/exp_powers.inc"
#undef QELVM_EXP_POWER
};

/// A50: the significand 2^(j/64) e^r as one double.
template <class Export, class V>
struct ExpShort {
  static constexpr int lanes = 4;

  IntegerOf<V> m;
  V significand;

  QELVM_INLINE explicit ExpShort(const V& x) {
    const ExpReduced<V> reduced = reduceExp(x);
    const V r = reduced.r();
    m = reduced.m;
    significand =
        (1.0 + (r + expTail<ExpPolynomialShort>(r))) * lookUp(expPowers<Export>, reduced.j);
  }

  QELVM_INLINE V value() const { return significand; }
  V subnormal() const { return (significand * subnormalScale(m)) * subnormalUnscale; }
};

/// A53 and 32f: the significand as power + rest, where power is the leading part of 2^(j/64).
template <class Export, class V>
struct ExpLong {
  static constexpr int lanes = 4;

  IntegerOf<V> m;
  V power;
  V rest;

  QELVM_INLINE explicit ExpLong(const V& x) {
    const ExpReduced<V> reduced = reduceExp(x);
    const V r = reduced.r();
    const V tail = expTail<ExpPolynomialLong>(r);
    m = reduced.m;
    power = lookUp(expPowerPairs<Export>, reduced.j, &PowerPair::hi);
    rest = ((r + tail) + lookUp(expPowerPairs<Export>, reduced.j, &PowerPair::lo)) * power;
  }

  QELVM_INLINE V value() const { return power + rest; }

  /// (power + rest) 2^m, rounded once at the place where the subnormal result ends.
  V subnormal() const {
    const V scale = subnormalScale(m);
    const V a = rest * scale;
    const V b = power * scale;
    if (exponentField(scale) <= 50) // below 2^-1032: the sum has more bits than the result
      return (b + a) * subnormalUnscale;
    // The leading 21 bits scale exactly, so the only rounding of the final sum is that of the rest.
    // (roundedOnceTimes2ToMinus200 would round the rest of 26 bits, with other bits here and
    // there.)
    const DoubleDoubleOf<V> sum = fastTwoSum(b, a);
    const V hi = keepLeadingBits(sum.hi, 0x1.8p32);
    const V lo = sum.lo + (sum.hi - hi);
    return hi * subnormalUnscale + lo * subnormalUnscale;
  }
};

struct ExpShortRoad {
  /// The product of x and log2 e, below 2^7, is off by 2^-47; besides three roundings.
  static constexpr double distance = distanceOf(ShortPower<double>::offBy, 3 + 64);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-52, 87.0); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return ShortPower<V>(x, log2OfE).value();
  }
};

template <class Export, template <class, class> class Method>
struct Exponential {
  using Element = typename Export::Element;
  using ShortRoad = ExpShortRoad;
  using Limits = ExpLimits<Element>;
  static constexpr int lanes = Method<Export, double>::lanes;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, Element{0x1p-52}, Limits::ordinary);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const Method<Export, V> power(x);
    return scaleByPowerOfTwo(power.value(), power.m);
  }

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    if (isInfiniteOrNan(x)) {
      const bool minusInfinity = signBit(x) && fractionIsZero(x);
      result = minusInfinity ? Element{0} : x * x;
      return qelStatusOk;
    }
    if (exponentField(x) < exponentField(Element{0x1p-52})) {
      result = Element{1} + x;
      return qelStatusOk;
    }
    if (x > Limits::overflow) {
      result = static_cast<Element>(overflowed());
      return qelStatusOverflow;
    }
    if (x < Limits::underflow) {
      result = static_cast<Element>(underflowed());
      return qelStatusUnderflow;
    }
    const Method<Export, double> power(static_cast<double>(x));
    result = static_cast<Element>(x < Limits::subnormal ? power.subnormal()
                                                        : scaleTwoStep(power.value(), power.m));
    return qelStatusOk;
  }
};

template <class Export>
using ExpA50 = Exponential<Export, ExpShort>;
template <class Export>
using ExpA53 = Exponential<Export, ExpLong>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Exp, ExpA53, ExpA50, ExpA53)
