// Tangent.
//
// Reduction: x = n pi/32 + R, |R| <= pi/64, pi/32 in three pieces, the products with the first two
// exact; R in two words.
//
// Table: the series of the tangent at j pi/32, 32 rows, the value and the slope in two words. From
// j = 9 to 23 the series is that of tan + 1/G, G the distance to the pole, which is smooth there;
// the kernel subtracts 1/G itself, in two words: 1/G to 18 bits, so that its product with the
// leading 35 of G is exact, and a first-order correction.
//
// Polynomial: the Taylor series to degree 15. What it leaves out is largest in row 8, about
// 60.7 R^16 <= 2^-63.6.
//
// Ranges: below 12800 arguments are ordinary; from there on reduceTrigArgument goes before.
//
// Error: of the slope's rest times R, at most 2^-6 ulp, only the sum is exact; the roundings of the
// series and of the sums of small terms cost 2^-9 ulp each. Below 0.558 ulp, proven
// (docs/proofs.md); 0.5363 seen at 0x1.c60ef6eda0a92p-2.

#include "core/export.hpp"
#include "trig/short_sine.hpp"
#include "trig/trig_kernel.hpp"

namespace qelvm {
namespace {

/// The series of tan(j pi/32 + R), or, next to the pole, of its sum with 1/G, G = R + j pi/32 -
/// pi/2.
struct alignas(rowAlignment<20>) TangentRow {
  double valueHi;
  double valueLo;
  double slopePower; ///< a power of two
  double slopeRest;
  double c[14];       ///< the coefficients of R^2 to R^15
  double pole;        ///< 1 next to the pole, otherwise 0
  std::uint64_t keep; ///< the bits that are kept of 1/G: the leading 18, or none
};

// Polynomial tan: Taylor series by tools/tables/tan_rows.cpp; off by 2^-59.56 (absolute) for |R| <=
// pi/64 (tools/polynomials/tan.sollya).
template <class Export>
QELVM_TABLE TangentRow tangentRows[32] = {
#define QELVM_TAN_ROW(hi, lo, power, rest, ...) {hi, lo, power, rest, {__VA_ARGS__}, 0.0, 0},
#define QELVM_TAN_POLE_ROW(hi, lo, power, rest, ...)                                               \
  {hi, lo, power, rest, {__VA_ARGS__}, 1.0, 0xFFFFFFF800000000},
#include "trig/tan_rows.inc"
#undef QELVM_TAN_ROW
#undef QELVM_TAN_POLE_ROW
};

/// pi/32 in three pieces, the first two short.
struct Step {
  double piece1, piece2, piece3;
};

/// (hi - n step) + lo as a sum normalised.
template <class V, class Quadrant, class Lo>
QELVM_INLINE DoubleDoubleOf<V> subtractSteps(const TrigArgument<V, Quadrant, Lo>& x, const V& n,
                                             const Step& step) {
  const DoubleDoubleOf<V> t = fastTwoSum(x.hi - n * step.piece1, -(n * step.piece2));
  return fastTwoSum(t.hi, (t.lo - n * step.piece3) + x.lo);
}

/// c2 + r (c3 + ... + r c15), of row j.
template <class Export, class V>
QELVM_INLINE V tangentPolynomial(const IntegerOf<V>& j, const V& r) {
  return horner<14>(
      [&](int k) QELVM_ALWAYS_INLINE { return lookUp(tangentRows<Export>, j, &TangentRow::c, k); },
      r);
}

/// sin/cos, in odd quadrants -cos/sin.
template <class Export>
struct TanShortRoad : ShortQuarters {
  static constexpr double distance =
      distanceOf(ShortQuarterSine::offBy + ShortQuarterCosine::offBy, 16);

  QELVM_INLINE static auto compute(const auto& x) { return quotient(of(x)); }
  QELVM_INLINE static auto computeWider(const auto& x) { return quotient(ofWider<Export>(x)); }

private:
  template <class V>
  QELVM_INLINE static V quotient(const ShortSineCosine<V>& x) {
    const V odd = flipByBit<0>(uniform<V>(0.0), x.shifted);
    return flipSign(selectBySign(odd, x.cosine, x.sine) / selectBySign(odd, x.sine, x.cosine), odd);
  }
};

template <class Export>
struct Tangent {
  using ShortRoad = TanShortRoad<Export>;
  static constexpr double directLimit = 12800.0;
  static constexpr int lanes = fewRegisters ? 1 : 2;

  template <class V, class Quadrant, class Lo>
  QELVM_INLINE static V result(const TrigArgument<V, Quadrant, Lo>& x) {
    constexpr auto& rows = tangentRows<Export>;
    constexpr double multipleOf16Shifter = 0x1.8p56;
    // Constants tan_steps: rounded; off by 2^-131.12 (relative)
    // (tools/polynomials/tan_steps.sollya).
    constexpr Step offsetStep = {0x1.921fb54440000p-4, 0x1.68c234c4c0000p-43, // 35 bits each
                                 0x1.98a2e03707345p-81};
    constexpr Step distanceStep = {0x1.921fb54444000p-4, -0x1.2e7b967674000p-44, // 39 bits each
                                   0x1.8a2e03707344ap-85};
    const V steps = x.hi * stepsPerRadian;
    const Rounded<V> n = roundShifter(steps, integerShifter);
    const IntegerOf<V> j = ((x.quadrant << 4) + lowWord(n.sum)) & 31;

    // The distance G to the nearest multiple of pi/2: to the pole, where the row is next to it.
    const DoubleDoubleOf<V> g =
        subtractSteps(x, roundShifter(steps, multipleOf16Shifter).value, distanceStep);
    const V gHi = clearLowBits(g.hi, 18);
    const V gLo = g.lo + (g.hi - gHi);

    // 1/G = inverse - rest next to the pole, zero elsewhere.
    const V v = 1.0 / gHi;
    const V inverse = keepBits(v, lookUp(rows, j, &TangentRow::keep));
    const V w = (gHi * inverse - 1.0) + gLo * v;
    const V rest = (lookUp(rows, j, &TangentRow::pole) * v) * w;

    // The series of the row.
    const DoubleDoubleOf<V> r = subtractSteps(x, n.value, offsetStep);
    const V series = (r.hi * r.hi) * tangentPolynomial<Export>(j, r.hi);
    const V slopePower = lookUp(rows, j, &TangentRow::slopePower);
    const V slopeRest = lookUp(rows, j, &TangentRow::slopeRest);
    const DoubleDoubleOf<V> linear = fastTwoSum(slopePower * r.hi, slopeRest * r.hi);
    const DoubleDoubleOf<V> sum =
        fastTwoSum(lookUp(rows, j, &TangentRow::valueHi) - inverse, linear.hi);
    const V tail = (series + linear.lo) + sum.lo;
    return sum.hi + ((((rest + tail) + slopeRest * r.lo) + lookUp(rows, j, &TangentRow::valueLo)) +
                     slopePower * r.lo);
  }
  static double tinyResult(double x) { return tinyTrigResult(x); }
};

template <class Export>
using TangentKernel = TrigKernel<Export, Tangent<Export>>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Tan, TangentKernel, TangentKernel, TangentKernel)
