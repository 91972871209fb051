// The kernel of sine and cosine.
//
// Reduction: x = n pi/32 + r, |r| <= pi/64, pi/32 in three pieces, the products with the first two
// exact; r in two words, r and lo.
//
// Table: sine and cosine of j pi/32, 64 rows. The sine has two words; the cosine is a power of two,
// whose product with r is exact, and a rest, whose product is off by at most 2^-7 ulp of the
// result.
//
// Polynomial: the Taylor series of sine and cosine to degrees 9 and 8. Cosine is sine 16 rows on.
//
// Ranges: below 2^17 arguments are ordinary; from there on reduceTrigArgument goes before.
//
// Error: the sums of the leading terms are exact in two words; the terms below them, less than
// 2^-9.7, cost some 2^-10 ulp of the result each. The word lo meets only the first derivative,
// cos(j pi/32) - r sin(j pi/32): what lacks is lo r^2/2. Next to 2^17, n times the third piece
// makes lo 1.7e-16, and that comes to 0.03 ulp of results next to pi/64: below 0.541 ulp. Next to a
// zero the error of the three pieces, 6.3e-39 n, counts as well, most by far in the cosine of
// 0x1.65a1dd290660fp+16, which is 2.26e-16: 0.119 ulp, of which 0.101 come to light.
#pragma once

#include "trig/trig_kernel.hpp"

namespace qelvm {
namespace {

/// Sine and cosine of j pi/32. The cosine is a power of two, whose products are exact, and a rest.
struct alignas(rowAlignment<4>) SineCosineRow {
  double cosineRest;
  double sineHi;
  double sineLo;
  double cosinePower;
};

template <class Export>
QELVM_TABLE SineCosineRow sineCosineRows[64] = {
#define QELVM_SIN_COS_ROW(rest, hi, lo, power) {rest, hi, lo, power},
#include "trig/sin_cos_rows.inc"
#undef QELVM_SIN_COS_ROW
};

/// An argument as j pi/32 + r + lo, and the polynomials of r; what sine and cosine have in common.
template <class Export, class V>
class SineCosine {
public:
  template <class Quadrant, class Lo>
  QELVM_INLINE explicit SineCosine(const TrigArgument<V, Quadrant, Lo>& x) {
    // Constants sine_step: rounded; off by 2^-123.55 (relative)
    // (tools/polynomials/sine_step.sollya).
    constexpr double step1 = 0x1.921fb544p-4;       // pi/32: 31 bits,
    constexpr double step2 = 0x1.0b4611a6p-38;      // 32 bits,
    constexpr double step3 = 0x1.3198a2e037073p-73; // and the rest
    // Polynomial sine: Taylor series, rounded; off by 2^-69.50 (absolute) for |r| <= pi/64
    // (tools/polynomials/sine.sollya).
    static constexpr double s[] = {-0x1.5555555555555p-3, 0x1.1111111111111p-7,    // -1/6, 1/120
                                   -0x1.a01a01a01a01ap-13, 0x1.71de3a556c734p-19}; // -1/7!, 1/9!
    // Polynomial cosine: Taylor series, rounded; off by 2^-65.27 (absolute) for |r| <= pi/64
    // (tools/polynomials/cosine.sollya).
    static constexpr double c[] = {-0x1p-1, 0x1.5555555555555p-5,                  // -1/2, 1/24
                                   -0x1.6c16c16c16c17p-10, 0x1.a01a01a01a01ap-16}; // -1/6!, 1/8!
    const Rounded<V> n = roundShifter(x.hi * stepsPerRadian, integerShifter);
    j_ = (x.quadrant << 4) + lowWord(n.sum);
    const DoubleDoubleOf<V> t = fastTwoSum(x.hi - n.value * step1, -(n.value * step2));
    r_ = t.hi;
    lo_ = (t.lo - n.value * step3) + x.lo;
    const V z = r_ * r_;
    sineTail_ = horner(s, z) * z;
    cosineTail_ = horner(c, z) * z;
  }

  /// sin(x + offset pi/32): 0 for the sine, 16 for the cosine.
  QELVM_INLINE V at(std::int32_t offset) const {
    constexpr auto& rows = sineCosineRows<Export>;
    const IntegerOf<V> j = (j_ + offset) & 63;
    const V cosineRest = lookUp(rows, j, &SineCosineRow::cosineRest);
    const V sine = lookUp(rows, j, &SineCosineRow::sineHi);
    const V cosinePower = lookUp(rows, j, &SineCosineRow::cosinePower);
    const V cosine = cosineRest + cosinePower;
    const V tails = (sineTail_ * r_) * cosine + cosineTail_ * sine;
    // The product with the power of two is exact, and so are the errors of both sums.
    const DoubleDoubleOf<V> h1 = fastTwoSum(sine, cosinePower * r_);
    const DoubleDoubleOf<V> h2 = fastTwoSum(h1.hi, cosineRest * r_);
    const V first = lo_ * (cosine - sine * r_);
    return h2.hi + ((((first + lookUp(rows, j, &SineCosineRow::sineLo)) + tails) + h1.lo) + h2.lo);
  }

private:
  IntegerOf<V> j_;
  V r_;
  V lo_;
  V sineTail_;
  V cosineTail_;
};

/// The cosine of a tiny argument: one, inexact unless x is zero.
inline double tinyCosine(double x) {
  return 1.0 - magnitude(x);
}

/// What the methods of the three families have in common.
struct SineCosineMethod {
  static constexpr double directLimit = 0x1p17;
  static constexpr int lanes = fewRegisters ? 1 : 2;
};

} // namespace
} // namespace qelvm
