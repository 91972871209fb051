// Arctangents for the short roads of floats.
#pragma once

#include "core/short_road.hpp"
#include "invtrig/angles.hpp"

namespace qelvm {
namespace {

struct ShortArctangent {
  // Polynomial short_arctangent: fit; off by 2^-40.33 (relative) for 2^-30 <= t <= sqrt(2) - 1
  // (tools/polynomials/short_arctangent.sollya).
  static constexpr double c[] = {
      0x1.fffffffffe68fp-1, -0x1.5555554bf456ep-2, 0x1.99999080b2d07p-3, -0x1.249099225d868p-3,
      0x1.c6cd341680093p-4, -0x1.705e6f44749d6p-4, 0x1.1dce77b128cd1p-4, -0x1.34f27090b33f1p-5};
  static constexpr double offBy = 0x1.98p-41;

  /// The angle of (x, y), both positive. With t = y/x or x/y, the smaller, it is arctan t or what
  /// that lacks of pi/2; from t = tan(pi/8) on arctan t = pi/4 + arctan((t - 1)/(t + 1)).
  template <class Y, class X>
  QELVM_INLINE static auto of(const Y& y, const X& x) {
    constexpr double tanEighthPi = 0x1.a827999fcef32p-2;
    const auto steep = x - y; // negative where y is the larger
    const auto low = smaller(y, x);
    const auto high = selectBySign(steep, y, x);
    const auto far = fused(high, tanEighthPi, -low);
    const auto numerator = selectBySign(far, low - high, low);
    const auto t = numerator / selectBySign(far, low + high, high);
    const auto angle = fused(t, fusedHorner(c, t * t), whereNegative(quarterPi.hi, far));
    return selectBySign(steep, halfPi.hi - angle, angle);
  }
};

} // namespace
} // namespace qelvm
