// What the kernels of sine, cosine and tangent share: the ranges, and everything about arguments
// that are not ordinary.
#pragma once

#include "core/call_frame.hpp"
#include "trig/reduce_trig_argument.hpp"

#include <limits>

namespace qelvm {
namespace {

/// 32/pi: arguments are counted in steps of pi/32.
inline constexpr double stepsPerRadian = 0x1.45f306dc9c883p3;

/// An argument, or what its reduction left of it, as a multiple of pi/2 and hi + lo.
template <class V, class Quadrant = IntegerOf<V>, class Lo = V>
struct TrigArgument {
  Quadrant quadrant;
  V hi;
  Lo lo;
};

QELVM_INLINE TrigArgument<double> reducedArgument(double x) {
  const TrigReduction reduced = reduceTrigArgument(x);
  return {reduced.quadrant, reduced.remainder.hi, reduced.remainder.lo};
}
template <class V>
QELVM_INLINE TrigArgument<V> reducedArgument(const V& x) {
  const TrigReductionOf<V> reduced = reduceTrigArguments(x);
  return {reduced.quadrant, reduced.remainder.hi, reduced.remainder.lo};
}

/// x itself, inexact unless zero (never underflow, unlike unchangedButInexact): a tiny sine.
inline double tinyTrigResult(double x) {
  return isZero(x) ? x : (x * 0x1p55 - x) * 0x1p-55;
}

/// The kernel of a family. `Method` has the members
///   double directLimit     magnitudes from which arguments are reduced first
///   int lanes
///   result(argument)       the results for a TrigArgument: a V, or a TwoResults<V>
///   tinyResult(x)          the same for |x| < 2^-252
///   ShortRoad              that of floats
template <class Export, class Method>
struct TrigKernel {
  using Element = typename Export::Element;
  using ShortRoad = typename Method::ShortRoad;
  static constexpr int lanes = Method::lanes;
  static constexpr bool secondRangeApart = true; // it calls the reduction
  /// Below 2^-252 no double is ordinary, and no float but zero exists.
  static constexpr Element lowest = sizeof(Element) < sizeof(double)
                                        ? smallestWidenedNormal<Element>
                                        : static_cast<Element>(0x1p-252);
  static constexpr Element directLimit = Method::directLimit;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, lowest, directLimit);
  }

  template <class V>
  QELVM_INLINE static auto compute(const V& x) {
    return Method::result(TrigArgument<V, std::int32_t, double>{0, x, 0.0});
  }

  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    return magnitudeWithin(x, directLimit, std::numeric_limits<Element>::infinity());
  }

  template <class V>
  QELVM_INLINE static auto computeSecondRange(const V& x) {
    return Method::result(reducedArgument(x));
  }

  template <class... Elements>
  static QelStatus exceptional(const Stored<Element>& source, Elements&... results) {
    const Element x = source;
    if (isInfiniteOrNan(x)) {
      const bool infinite = fractionIsZero(x);
      const Element nan = infinite ? x * Element{0} : x * x;
      ((results = nan), ...);
      return infinite ? qelStatusDomain : qelStatusOk;
    }
    store(Method::tinyResult(static_cast<double>(x)), results...);
    return qelStatusOk;
  }

private:
  static void store(double value, Stored<Element>& result) { result = static_cast<Element>(value); }
  static void store(const TwoResults<double>& values, Stored<Element>& first,
                    Stored<Element>& second) {
    first = static_cast<Element>(values.first);
    second = static_cast<Element>(values.second);
  }
};

} // namespace
} // namespace qelvm
