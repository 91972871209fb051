// The reciprocal square root for the short roads of floats.
#pragma once

#include "core/short_road.hpp"

namespace qelvm {
namespace {

/// From the estimate y, 1/sqrt(x) = y (1 - r)^(-1/2), r = 1 - x y^2: a series to r^3.
inline constexpr double shortInverseRootRest =
    inverseRootEstimateError * (2 + inverseRootEstimateError);
inline constexpr double shortInverseRootOffBy = 0.28 * shortInverseRootRest * shortInverseRootRest *
                                                shortInverseRootRest *
                                                shortInverseRootRest; // 35/128 r^4 and what follows

/// x a normal float, positive.
template <class V>
QELVM_INLINE V shortInverseRoot(const V& x) {
  static constexpr double series[] = {1.0 / 2, 3.0 / 8, 5.0 / 16};
  const V y = inverseRootEstimate(x);
  const V r = fused(x * y, -y, 1.0);
  return fused(y * r, fusedHorner(series, r), y);
}

} // namespace
} // namespace qelvm
