// What the hyperbolic sine and cosine share: their ranges, the halves of e^x and e^-x from one
// table, the polynomials, and the range where e^-x no longer counts.
#pragma once

#include "core/floating_point.hpp"
#include "stages/exp_reduction.hpp"

namespace qelvm {
namespace {

/// The ranges of |x|, widened to double, and where a type's results overflow.
template <class Element>
struct HyperbolicLimits;

struct HyperbolicRanges {
  static constexpr double tiny = 0x1p-53;             // cosh x is one and sinh x is x below
  static constexpr double large = 0x1.57cd0e702682p4; // 21.487562597358306, 31 ln 2
};

template <>
struct HyperbolicLimits<double> : HyperbolicRanges {
  static constexpr double ordinary = 710.0;               // 2^(m - 1) is finite below
  static constexpr double overflow = 0x1.633ce8fb9f87ep9; // 710.475860073944, the first that does
};

template <>
struct HyperbolicLimits<float> : HyperbolicRanges {
  static constexpr double ordinary = 0x1.65a9fap6; // 89.4159927368164, the first that overflows
  static constexpr double overflow = ordinary;
};

/// 2^(j/64), j = 0 to 64, rounded to double (cosine, A50).
template <class Export>
QELVM_TABLE double hyperbolicPowers[65] = {
#define QELVM_HYPERBOLIC_POWER(hi, lo) hi,
#include "hyperbolic/hyperbolic_powers.inc"
#undef QELVM_HYPERBOLIC_POWER
};

/// 2^(j/64), j = 0 to 64, as hi + lo (all others).
template <class Export>
QELVM_TABLE PairRow hyperbolicPowerPairs[65] = {
#define QELVM_HYPERBOLIC_POWER(hi, lo) {hi, lo},
#include "hyperbolic/hyperbolic_powers.inc"
#undef QELVM_HYPERBOLIC_POWER
};

template <class Export, class V>
QELVM_INLINE DoubleDoubleOf<V> powerPair(const IntegerOf<V>& j) {
  return {lookUp(hyperbolicPowerPairs<Export>, j, &PairRow::hi),
          lookUp(hyperbolicPowerPairs<Export>, j, &PairRow::lo)};
}

/// e^r 2^(j/64) from the power as one double, or as hi + lo.
template <class V>
QELVM_INLINE V shortExp(const V& r, const V& power) {
  return power + power * (r + expTail<ExpPolynomialShort>(r));
}
template <class V>
QELVM_INLINE V longExp(const V& r, const DoubleDoubleOf<V>& power) {
  return power.hi + (power.hi * (r + expTail<ExpPolynomialLong>(r)) + power.lo);
}

/// With n = 64 m + j of the reduction, the factors of a = e^(n ln2/64) / 2 = 2^(j/64) up and
/// b = e^(-n ln2/64) / 2 = 2^((64 - j)/64) down. Exact products.
template <class V>
struct HalfScales {
  V up, down;

  QELVM_INLINE explicit HalfScales(const IntegerOf<V>& m)
      : up(withExponent(m + 1022, 0.0)), down(withExponent(1021 - m, 0.0)) {}
};

/// a and b, each hi + lo.
template <class V>
struct HalfPowers {
  DoubleDoubleOf<V> a;
  DoubleDoubleOf<V> b;
};

template <class Export, class V>
QELVM_INLINE HalfPowers<V> halfPowers(const ExpReduced<V>& reduced) {
  const HalfScales<V> scale(reduced.m);
  const DoubleDoubleOf<V> a = powerPair<Export, V>(reduced.j);
  const DoubleDoubleOf<V> b = powerPair<Export, V>(64 - reduced.j);
  return {{a.hi * scale.up, a.lo * scale.up}, {b.hi * scale.down, b.lo * scale.down}};
}

/// cosh r - 1 and sinh r - r, from the polynomial of e^r - 1 - r.
template <class V>
struct ExpTailParts {
  V even, odd;
};

template <class Polynomial, class V>
QELVM_INLINE ExpTailParts<V> expTailParts(const V& r) {
  const V square = r * r;
  return {square * horner(Polynomial::even, square),
          (horner(Polynomial::odd, square) * square) * r};
}

/// The ranges with a table. A method, Short (A50) or Long (A53 and 32f), of a function computes
///
///   V table(const V& x)                        from `Method::tableFrom` on, with e^-|x|;
///   V significand(const ExpReduced<V>& of)     e^|x| 2^-m, where e^-|x| is below 2^-62 of it;
///   V withSignOf(const V& magnitude, x)        the result, of the function's parity.
template <class ExportTag, class Method>
struct HyperbolicKernel : Method {
  using Element = typename ExportTag::Element;
  using Limits = HyperbolicLimits<Element>;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(widened(x), Method::tableFrom, Limits::large);
  }
  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return Method::withSignOf(x, Method::table(magnitude(x)));
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(widened(x), Limits::large, Limits::ordinary);
  }
  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    const ExpReduced<V> reduced = reduceExp(magnitude(x));
    return Method::withSignOf(x, scaleByPowerOfTwo(Method::significand(reduced), reduced.m - 1));
  }

  /// From `Limits::ordinary` on: close to the end of the finite results, and beyond it.
  static QelStatus exceptionallyLarge(Element source, Stored<Element>& result) {
    const double x = static_cast<double>(source);
    if (magnitude(x) >= Limits::overflow) {
      result = static_cast<Element>(Method::withSignOf(x, overflowed()));
      return qelStatusOverflow;
    }
    const ExpReduced<double> reduced = reduceExp(magnitude(x));
    result = static_cast<Element>(
        Method::withSignOf(x, scaleTwoStep(Method::significand(reduced), reduced.m - 1)));
    return qelStatusOk;
  }
};

} // namespace
} // namespace qelvm
