// Scaling by powers of two, in and out of the subnormal range with one rounding.
#pragma once

#include "core/bits.hpp"
#include "core/exact_arithmetic.hpp"

#include <cstdint>

namespace qelvm {

/// r * 2^m by one multiplication, exact for 1 <= m + 1023 <= 0x7FE and a normal result.
template <class V, class I>
QELVM_INLINE constexpr V scaleByPowerOfTwo(const V& r, const I& m) {
  return r * withExponent(m + 1023, 1.0);
}

/// The scale 2^(m + 60) with which a subnormal result is still a normal double, and the factor
/// 2^-60 that then rounds it once.
template <class I>
QELVM_INLINE constexpr auto subnormalScale(const I& m) {
  return withExponent(m - 965, 1.0);
}
inline constexpr double subnormalUnscale = 0x1p-60;

/// r * 2^m for r in [0.5, 4) and any m from -1083 to 1024, rounded once where the result is
/// subnormal and exact elsewhere.
template <class V, class I>
QELVM_INLINE constexpr V scaleTwoStep(const V& r, const I& m) {
  return lanewise(
      [](double v, std::int32_t exponent) QELVM_ALWAYS_INLINE {
        if (exponent < -1022)
          return (v * subnormalScale(exponent)) * subnormalUnscale;
        if (exponent > 1023)
          return (v * 0x1p1023) * 2.0;
        return scaleByPowerOfTwo(v, exponent);
      },
      r, m);
}

/// A subnormal operand (or zero) brought into the normal range by an exact power of two.
template <class V>
struct Prescaled {
  V x;
  IntegerOf<V> adjustment; ///< what to add to the result's exponent: 0 where x was normal
};

inline constexpr double twoTo200 = 0x1p200;
inline constexpr double twoToMinus200 = 0x1p-200;

/// Multiplies x by `scale` where its exponent field is zero; `adjustment` is then the given one.
template <class V>
QELVM_INLINE constexpr Prescaled<V> prescaleSubnormal(const V& x, double scale,
                                                      std::int32_t adjustment) {
  const auto field = exponentField(x);
  return {
      lanewise([=](double v, std::int32_t e) QELVM_ALWAYS_INLINE { return e == 0 ? v * scale : v; },
               x, field),
      lanewise([=](std::int32_t e) QELVM_ALWAYS_INLINE { return e == 0 ? adjustment : 0; }, field)};
}

/// (x.hi + x.lo) 2^-200 where that is subnormal: the leading 26 bits scale exactly, so the only
/// rounding that counts is that of the sum.
QELVM_INLINE double roundedOnceTimes2ToMinus200(const DoubleDouble& x) {
  const DoubleDouble leading = splitHiLo(x.hi, split26Bits);
  return leading.hi * twoToMinus200 + (x.lo + leading.lo) * twoToMinus200;
}

} // namespace qelvm
