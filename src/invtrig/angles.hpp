// Multiples of pi/4 in two words.
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {
namespace {

// Constants angles: rounded; off by 2^-108.89 (relative) (tools/polynomials/angles.sollya).
inline constexpr DoubleDouble quarterPi = {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55};
inline constexpr DoubleDouble halfPi = {0x1.921fb54442d18p0, 0x1.1a62633145c07p-54};
inline constexpr DoubleDouble threeQuarterPi = {0x1.2d97c7f3321d2p1, 0x1.a79394c9e8a0ap-54};
inline constexpr DoubleDouble pi = {0x1.921fb54442d18p1, 0x1.1a62633145c07p-53};

/// An angle as a double, inexact.
QELVM_INLINE double roundedAngle(const DoubleDouble& angle) {
  return atRunTime(angle.hi) + angle.lo;
}

} // namespace
} // namespace qelvm
