// Complementary error function, without the cancellation of 1 - erf.
//
// Polynomials: 20 rows by the exponent of (1 + |x|)^4, evaluated in double-words down from the
// fifth degree; up to |x| = 2^1.5 - 1 they give erfc itself, beyond erfc(a) e^(a^2), which hardly
// varies. They are off row by row as in erfc_rows.inc, row 5 far more than the others.
//
// Gaussian: -a^2 = n ln2/64 + r, n = 64 m + j; e^(-a^2) = 2^m 2^(j/64) e^r, with a^2, r, e^r - 1
// and the power in double-words. For negative x the result is 2 - erfc(|x|).
//
// Ranges: arguments with the Gaussian are the main range, smaller ones the second; subnormal
// results, with a scale of their own, and what is beyond take the slow path.
//
// Error: proven (docs/proofs.md) below 0.508 ulp (0.5063, 0.5032 where the result is subnormal and
// rounded once, where it ends); 0.5035 seen at 0x1.b5b1196a66ee8p+2. The roundings of e^r - 1 give
// most of it.
#include "core/export.hpp"
#include "core/short_road.hpp"
#include "stages/exp_reduction.hpp"
#include "stages/short_exp.hpp"

#include <cstdint>
#include <type_traits>

namespace qelvm {
namespace {

/// A row: -c; d0 to d5 as pairs, hi before lo; f6 to f15.
using ErfcRow = FittedRow<23>;

// Polynomial erfc_rows: fit; off by 2^-64.22 (relative), worst in row 5
// (tools/tables/erfc_rows.sollya).
template <class Export>
QELVM_TABLE ErfcRow erfcRows[20] = {
#define QELVM_ERFC_ROW(...) {__VA_ARGS__},
#define QELVM_ERFC_FAR_ROW(...) {__VA_ARGS__},
#include "errfunc/erfc_rows.inc"
#undef QELVM_ERFC_FAR_ROW
};

/// Single precision underflows to zero before the last rows.
template <class Export>
QELVM_TABLE ErfcRow erfcSingleRows[14] = {
#define QELVM_ERFC_FAR_ROW(...)
#include "errfunc/erfc_rows.inc"
#undef QELVM_ERFC_FAR_ROW
#undef QELVM_ERFC_ROW
};

/// 2^(j/64), hi a multiple of 2^-25.
template <class Export>
QELVM_TABLE PairRow erfcPowers[64] = {
#define QELVM_ERFC_POWER(hi, lo) {hi, lo},
#include "errfunc/erfc_powers.inc"
#undef QELVM_ERFC_POWER
};

template <class Element>
struct ErfcLimits;

template <>
struct ErfcLimits<double> {
  static constexpr double saturation = 0x1.7744f8f74e94ap2;     // 5.8635847487551676, minus it
  static constexpr double underflow = 0x1.b39dc41e48bfdp4;      // 27.226017111108366
  static constexpr double subnormal = 0x1.a8b12fc6e4892p4;      // 26.54325845425098
  static constexpr double singleRounding = 0x1.ab30a0f9c4611p4; // 26.699372268345602
};

/// 3.832506856900711 and 10.054194928818097; no result is a subnormal double.
template <>
struct ErfcLimits<float> {
  static constexpr float saturation = leastNotBelow<float>(0x1.ea8f95ae0aca8p1);
  static constexpr float underflow = leastNotBelow<float>(0x1.41bbf700dc3fbp3);
  static constexpr float subnormal = underflow;
};

template <class Export>
QELVM_INLINE constexpr const ErfcRow* rowsOfErfc() {
  if constexpr (std::is_same_v<typename Export::Element, double>)
    return erfcRows<Export>;
  else
    return erfcSingleRows<Export>;
}

/// The polynomial of the row of a >= 0 as a double-word: erfc(a), from row 6 on erfc(a) e^(a^2).
template <class Export, class V>
QELVM_INLINE DoubleDoubleOf<V> erfcPolynomial(const V& a) {
  const V square = (1.0 + a) * (1.0 + a);
  const IntegerOf<V> row = exponentField(square * square) - Format<double>::bias;
  const ErfcRow* rows = rowsOfErfc<Export>();
  const auto field = [&](int k) QELVM_ALWAYS_INLINE { return lookUp(rows, row, k); };

  const DoubleDoubleOf<V> t = twoSum(a, field(0));
  V fromSixth = t.hi * field(22) + field(21);
  const auto shortStep = [&](int k) QELVM_ALWAYS_INLINE {
    loadInGroups(fromSixth, rows, k);
    fromSixth = fromSixth * t.hi + field(k);
  };
  withIndices<8>([&](auto... i) QELVM_ALWAYS_INLINE { (shortStep(20 - i), ...); });
  const V tail = fromSixth * t.hi;

  const DoubleDoubleOf<V> split = splitHiLo(t.hi, split26Bits);
  const V tLo = t.lo + split.lo;
  DoubleDoubleOf<V> sum = fastTwoSum(field(11), tail);
  sum.lo = sum.lo + field(12);
  const auto step = [&](int hi) QELVM_ALWAYS_INLINE {
    const DoubleDoubleOf<V> sums = splitHiLo(sum.hi, split26Bits);
    const V sumLo = sums.lo + sum.lo;
    const V low = (sums.hi * tLo + sumLo * split.hi) + sumLo * tLo;
    sum = fastTwoSum(field(hi), sums.hi * split.hi);
    sum.lo = (sum.lo + low) + field(hi + 1);
  };
  withIndices<5>([&](auto... i) QELVM_ALWAYS_INLINE { (step(9 - 2 * i), ...); });
  return fastTwoSum(sum.hi, sum.lo);
}

/// (hi + lo) 2^exponent
template <class V>
struct ScaledPair {
  V hi;
  V lo;
  IntegerOf<V> exponent;
};

/// value e^(-a^2)
template <class Export, class V>
QELVM_INLINE ScaledPair<V> timesGaussian(const DoubleDoubleOf<V>& value, const V& a) {
  const DoubleDoubleOf<V> as = splitHiLo(a, split26Bits);
  const DoubleDoubleOf<V> square = productOfShort(as, as);
  const ExpReduced<V> reduced = reduceExp(-square.hi);
  const DoubleDoubleOf<V> r1 = reduced.exactR();
  const DoubleDoubleOf<V> r2 = twoSum(r1.hi, -square.lo);
  const V r = r2.hi;
  const V rLo = r1.lo + r2.lo;

  // e^r - 1
  const V tail = expTail<ExpPolynomialLong>(r);
  const V u = r + tail;
  const V uError = r + (tail - u);
  DoubleDoubleOf<V> us = splitHiLo(u, split26Bits);
  us.lo = rLo + (uError + us.lo);

  // times 2^(j/64), plus 2^(j/64)
  const DoubleDoubleOf<V> power = {lookUp(erfcPowers<Export>, reduced.j, &PairRow::hi),
                                   lookUp(erfcPowers<Export>, reduced.j, &PairRow::lo)};
  const DoubleDoubleOf<V> product = productOfShort(power, us);
  const DoubleDoubleOf<V> sum = twoSum(power.hi, product.hi);
  const V sumLo = product.lo + (sum.lo + power.lo);

  DoubleDoubleOf<V> values = splitHiLo(value.hi, split26Bits);
  values.lo = value.lo + values.lo;
  DoubleDoubleOf<V> gaussian = splitHiLo(sum.hi, split26Bits);
  gaussian.lo = sumLo + gaussian.lo;
  const DoubleDoubleOf<V> result = productOfShort(values, gaussian);
  return {result.hi, result.lo, reduced.m};
}

/// e^(-x^2) times a polynomial in (|x| - c)/(|x| + c).
struct ErfcShortRoad {
  static constexpr double inside[] = {1.0};
  static constexpr double aCentre = 0x1.cp1;
  // Polynomial short_erfc: fit; off by 2^-39.99 (relative) for 2^-30 - 1 <= t <= 0.48377
  // (tools/polynomials/short_erfc.sollya).
  static constexpr double c[] = {
      0x1.3e0a99a0efb6bp-3,  -0x1.2835188db6dd2p-2,  0x1.dd7383903c6d5p-3,  -0x1.4a6bda3d884dcp-3,
      0x1.82c6bbc4cec79p-4,  -0x1.7437caa621e4fp-5,  0x1.16259d037ce65p-6,  -0x1.1605528950328p-8,
      0x1.18830cc482d5p-12,  0x1.2ec3d7e0bfc63p-12,  -0x1.c6fdfa7a5344p-14, -0x1.6bd256d1bf02cp-18,
      0x1.ca616eaa19243p-17, -0x1.a66dc9d47717cp-22, -0x1.1a3c3089d1ea2p-20};
  static constexpr double offBy = 0x1.02p-40;
  /// The argument of the exponential, below 2^7, is off by 2^-46.
  static constexpr double distance = distanceOf(offBy + ShortPower<double>::offBy + 0x1p-46, 64);

  /// The result is a normal float.
  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-60, 9.19); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    const V gaussian = ShortPower<V>(a * a, -log2OfE).value();
    const V value = gaussian * fusedHorner(c, (a - aCentre) / (a + aCentre));
    return whereNegative(2.0, x) + flipSign(value, x);
  }
};

template <class Export>
struct ErfcKernel {
  using Element = typename Export::Element;
  using ShortRoad = ErfcShortRoad;
  using Limits = ErfcLimits<Element>;
  static constexpr int lanes = 2;
  static constexpr int registers = registersInFlight(3, 3);

  static constexpr Element tiny = 0x1p-70;
  static constexpr Element gaussian = leastNotBelow<Element>(0x1.d413cccfe779ap0); // 2^1.5 - 1

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, gaussian, Limits::subnormal) ||
           positiveWithin(-x, gaussian, Limits::saturation);
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const V a = magnitude(x);
    const ScaledPair<V> value = timesGaussian<Export>(erfcPolynomial<Export>(a), a);
    return reflected(x, value.hi, value.lo, withExponent(value.exponent + 1023, 1.0));
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, tiny, gaussian);
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    const DoubleDoubleOf<V> value = erfcPolynomial<Export>(magnitude(x));
    return reflected(x, value.hi, value.lo, uniform<V>(1.0));
  }

  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    if (isInfiniteOrNan(x)) {
      result = !fractionIsZero(x) ? x * x : signBit(x) ? Element{2} : Element{0};
    } else if (magnitudeWithin(x, Element{0}, tiny)) {
      result = Element{1} + x;
    } else if (signBit(x)) {
      result = static_cast<Element>(2.0 - atRunTime(tinyDouble));
    } else if (x >= Limits::underflow) {
      result = static_cast<Element>(underflowed());
      return qelStatusUnderflow;
    } else if constexpr (std::is_same_v<Element, double>) {
      result = subnormal(x);
    }
    return qelStatusOk;
  }

private:
  /// (hi + lo) scale for positive x, 2 - (hi + lo) scale for negative x.
  template <class V>
  QELVM_INLINE static V reflected(const V& x, const V& hi, const V& lo, const V& scale) {
    return lanewise(
        []<class X>(const X& x1, const X& hi1, const X& lo1, const X& scale1) QELVM_ALWAYS_INLINE {
          const auto negative = isNegative(x1);
          return choose(
              negative,
              [&]() QELVM_ALWAYS_INLINE {
                // By a scale of a positive x, which is not for here, lo could underflow.
                const X s = choose(
                    negative, [&]() QELVM_ALWAYS_INLINE { return scale1; },
                    [&]() QELVM_ALWAYS_INLINE { return uniform<X>(1.0); });
                const DoubleDoubleOf<X> leading = fastTwoSum(2.0, -(hi1 * s));
                const DoubleDoubleOf<X> sum = twoSum(leading.hi, -(lo1 * s));
                return sum.hi + (leading.lo + sum.lo);
              },
              [&]() QELVM_ALWAYS_INLINE { return (hi1 + lo1) * scale1; });
        },
        x, hi, lo, scale);
  }

  /// A subnormal result, rounded once at the place where it ends.
  static double subnormal(double x) {
    const ScaledPair<double> value = timesGaussian<Export>(erfcPolynomial<Export>(x), x);
    const double scale = withExponent(value.exponent + 200 + 1023, 1.0);
    const double hi = value.hi * scale;
    const double lo = value.lo * scale;
    if (x > Limits::singleRounding) {
      const double result = (hi + lo) * twoToMinus200;
      return result + result * result; // the square raises underflow
    }
    return roundedOnceTimes2ToMinus200(twoSum(hi, lo));
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Erfc, ErfcKernel, ErfcKernel, ErfcKernel)
