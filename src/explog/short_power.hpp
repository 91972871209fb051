// What Pow and Powx share of their short roads for floats.
#pragma once

#include "core/short_road.hpp"
#include "stages/short_exp.hpp"
#include "stages/short_logarithm.hpp"

namespace qelvm {
namespace {

struct ShortLog2 {
  // Polynomial short_log2: fit; off by 2^-45.09 (relative) for 2^-30 <= s <= 3 - 2*sqrt(2)
  // (tools/polynomials/short_log2.sollya).
  static constexpr double c[] = {0x1.71547652b8251p1,  0x1.ec709dc53c4b3p-1, 0x1.2776c2936d4c1p-1,
                                 0x1.a61a2e9d9f602p-2, 0x1.47955e2a08c8p-2,  0x1.21b06e4d3e92bp-2};
  static constexpr double offBy = 0x1.e2p-46;

  template <class V>
  QELVM_INLINE static V of(const V& x) {
    const ShortSplit<V> split = shortSplit(x);
    const V s = shortLogArgument(split.m - 1.0);
    return fused(s, fusedHorner(c, s * s), split.k);
  }
};

struct PowerShortRoad {
  /// y log2 x is below 2^7: it is off by what log2 x is, and by its roundings.
  static constexpr double distance =
      distanceOf(ShortPower<double>::offBy + 0.7 * 128 * (ShortLog2::offBy + 8 * 0x1p-53), 16);

  /// a^y for positive a. It stands where it is a normal float and y log2 a no integer: an integer
  /// power of two raises nothing, neither here nor in the full kernel.
  template <class V, class Y>
  QELVM_INLINE static auto ofPositive(const V& a, const Y& y) {
    const ShortPower<V> power(ShortLog2::of(a), y);
    const auto stands = lanewise(
        [](const auto& shifted, const auto& r) QELVM_ALWAYS_INLINE {
          return positiveWithin(shifted, integerShifter - 125.0, integerShifter + 127.0) &&
                 magnitudeWithin(r, 0x1p-1022, 1.0);
        },
        power.shifted, power.r);
    return IfStanding{power.value(), stands};
  }
};

} // namespace
} // namespace qelvm
