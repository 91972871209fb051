// Reduction of a large trigonometric argument by the nearest multiple of pi/2.
#pragma once

#include "core/floating_point.hpp"

#include <cstdint>

namespace qelvm {

/// An argument as (4 k + quadrant) pi/2 + remainder, k an integer, 0 <= quadrant < 4; |remainder|
/// is at most pi/4, give or take a rounding error.
struct TrigReduction {
  DoubleDouble remainder;
  std::int32_t quadrant;
};

/// Reduces a finite x, |x| >= pi/4.
TrigReduction reduceTrigArgument(double x) noexcept;

} // namespace qelvm
