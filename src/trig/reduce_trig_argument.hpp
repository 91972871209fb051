// Reduction of a large trigonometric argument by the nearest multiple of pi/2.
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {

/// An argument as (4 k + quadrant) pi/2 + remainder, k an integer, 0 <= quadrant < 4; |remainder|
/// is at most pi/4, give or take a rounding error.
template <class V>
struct TrigReductionOf {
  DoubleDoubleOf<V> remainder;
  IntegerOf<V> quadrant;
};
using TrigReduction = TrigReductionOf<double>;

/// Reduces a finite x, |x| >= pi/4.
TrigReduction reduceTrigArgument(double x) noexcept;

/// The same of two elements at once, which takes little longer than one from 2^30 on, or of two
/// registers: V = Lanes<2>, LaneArray<Simd<double, N>, 2>.
template <class V>
TrigReductionOf<V> reduceTrigArguments(const V& x) noexcept;

} // namespace qelvm
