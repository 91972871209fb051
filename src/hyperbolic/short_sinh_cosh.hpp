// The hyperbolic functions' short roads for floats.
#pragma once

#include "core/short_road.hpp"
#include "stages/short_exp.hpp"

namespace qelvm {
namespace {

struct ShortSinh {
  // Polynomial short_sinh: fit; off by 2^-37.70 (relative) for 2^-30 <= r <= log(2)/2
  // (tools/polynomials/short_sinh.sollya).
  static constexpr double c[] = {0x1.fffffffff6379p-1, 0x1.5555557e3976bp-3, 0x1.1110a66f81029p-7,
                                 0x1.a17d879894c0fp-13};
  static constexpr double offBy = 0x1.3cp-38;
};
struct ShortCosh {
  // Polynomial short_cosh: fit; off by 2^-46.11 (relative) for |r| <= log(2)/2
  // (tools/polynomials/short_cosh.sollya).
  static constexpr double c[] = {0x1.000000000003bp0, 0x1.ffffffffe7c38p-2, 0x1.5555558820699p-5,
                                 0x1.6c162cb51308fp-10, 0x1.a17ce90b84b26p-16};
  static constexpr double offBy = 0x1.dbp-47;
};

/// x = n ln2 + r; with p, q = 2^(+-n)/2, the hyperbolic sine of x is (p - q) cosh r + (p + q) sinh
/// r, and its cosine (p + q) cosh r + (p - q) sinh r. Where n is 0, the sine is that of r = x: no
/// sum loses what counts.
template <class V>
struct ShortSinhCosh {
  static constexpr double inside[] = {1.0};
  /// Of the sine, where n is 1, (p + q) sinh r is at most 1.25 times the result, the other summand
  /// twice as much.
  static constexpr double sinhOffBy = 1.25 * ShortSinh::offBy + 2.5 * ShortCosh::offBy;
  static constexpr double coshOffBy = ShortSinh::offBy + ShortCosh::offBy;

  V even, odd; ///< cosh r, sinh r
  V sum, difference;

  QELVM_INLINE explicit ShortSinhCosh(const V& x) {
    constexpr double ln2Hi = 0x1.62e42fefa39efp-1, ln2Lo = 0x1.abc9e3b39803fp-56;
    const V shifted = fused(x, log2OfE, integerShifter);
    const V n = shifted - integerShifter;
    const V r = fused(n, -ln2Lo, fused(n, -ln2Hi, x));
    const V square = r * r;
    even = fusedHorner(ShortCosh::c, square);
    odd = r * fusedHorner(ShortSinh::c, square);
    const V p = lanewise(
        [](const auto& t) QELVM_ALWAYS_INLINE { return fromBits(bitsOf(0.5) + (bitsOf(t) << 52)); },
        shifted);
    const V q = lanewise(
        [](const auto& t) QELVM_ALWAYS_INLINE { return fromBits(bitsOf(0.5) - (bitsOf(t) << 52)); },
        shifted);
    sum = p + q;
    difference = p - q;
  }

  QELVM_INLINE V sinh() const { return fused(even, difference, odd * sum); }
  QELVM_INLINE V cosh() const { return fused(even, sum, odd * difference); }
};

} // namespace
} // namespace qelvm
