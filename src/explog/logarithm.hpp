// What the natural and the decimal logarithm share: the special cases, the kernel of a series (A50)
// and the kernel of a table (A53 and 32f). A family supplies its constants and its closing steps.
#pragma once

#include "core/call_frame.hpp"
#include "stages/short_logarithm.hpp"
#include "stages/table_logarithm.hpp"

#include <cstdint>
#include <limits>

namespace qelvm {
namespace {

template <class Element>
QELVM_INLINE auto isPositiveNormal(const auto& x) {
  return positiveWithin(x, smallestWidenedNormal<Element>,
                        std::numeric_limits<Element>::infinity());
}

/// Everything else, for a kernel whose logarithm(x, k) is the logarithm of x 2^k.
template <class Kernel, class Element>
QelStatus exceptionalLogarithm(const Stored<Element>& source, Stored<Element>& result) {
  const Element x = source;
  if (isInfiniteOrNan(x) && !(signBit(x) && fractionIsZero(x))) {
    result = x * x;
    return qelStatusOk;
  }
  if (isZero(x)) {
    result = static_cast<Element>(dividedByZero(-1.0));
    return qelStatusSingularity;
  }
  if (signBit(x)) {
    result = static_cast<Element>(invalid());
    return qelStatusDomain;
  }
  result = static_cast<Element>(Kernel::logarithm(static_cast<double>(x) * 0x1p60, -60));
  return qelStatusOk;
}

/// A50: x = m 2^k, sqrt(1/2) <= m < sqrt(2); with f = m - 1 and s = f / (2 + f), ln m = ln(1 + f) =
/// f - s (f - R), where R is a series in s^2. `Function` has combine(k, g): the logarithm of
/// 2^k e^g.
template <class Export, class Function>
struct SeriesLogarithm {
  using Element = typename Export::Element;
  static constexpr int lanes = 4;

  QELVM_INLINE static auto isOrdinary(const auto& x) { return isPositiveNormal<Element>(x); }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return logarithm(x, 0);
  }

  template <class V>
  QELVM_INLINE static V logarithm(const V& x, std::int32_t scale) {
    constexpr double sqrtHalf = 0x1.6a09e667f3bcdp-1;
    // Polynomial log_series: given; off by 2^-59.11 (absolute) for |s| <= 3 - 2*sqrt(2)
    // (tools/polynomials/log_series.sollya).
    static constexpr double c[] = {0x1.5555555555558p-1, 0x1.999999999522ep-2, 0x1.2492492e02b0fp-2,
                                   0x1.c71c62d1c74bdp-3, 0x1.7462b9b7ccdd6p-3, 0x1.39fdc7dfcb5ep-3,
                                   0x1.2b5f0a4037c5ap-3};
    const SignificandAndExponent<V> reduced = splitExponent(x, sqrtHalf);
    const V f = reduced.m - 1.0;
    const V s = f / (2.0 + f);
    const V z = s * s;
    const V series = z * horner(c, z);
    const V g = f - s * (f - series);
    return Function::combine(toDouble(reduced.k + scale), g);
  }

  static QelStatus exceptional(const Stored<Element>& x, Stored<Element>& result) {
    return exceptionalLogarithm<SeriesLogarithm>(x, result);
  }
};

/// The domain of the logarithms' short roads: the positive floats.
struct LogShortRoad {
  static constexpr double inside[] = {3.0};
  QELVM_INLINE static auto isOrdinary(const auto& x) { return isPositiveNormal<float>(x); }
};

/// A53 and 32f: the table, and near one, where its sum would cancel, a series in x - 1.
///
/// `Function` has what LogarithmSum needs; nearOne; ShortRoad, that of floats; and two steps:
/// series(d), the logarithm of 1 + d; and trailing(hi, lo, rest), the sum of everything but the
/// leading parts.
template <class Export, class Function>
struct TableLogarithm {
  using Element = typename Export::Element;
  using ShortRoad = typename Function::ShortRoad;
  static constexpr int lanes = 4;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return isPositiveNormal<Element>(x) && !isInSecondRange(x);
  }

  /// |x - 1| <= nearOne
  QELVM_INLINE static auto isInSecondRange(const auto& x) {
    constexpr Element one = 1;
    constexpr Element limit = static_cast<Element>(Function::nearOne);
    return positiveWithin(x, one - limit, one + limit + std::numeric_limits<Element>::epsilon());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return logarithm(x, 0);
  }

  template <class V>
  QELVM_INLINE static V computeSecondRange(const V& x) {
    return Function::series(x - 1.0);
  }

  template <class V>
  QELVM_INLINE static V logarithm(const V& x, std::int32_t scale) {
    const SignificandAndExponent<V> reduced = splitExponent(x, 1.0);
    const LogarithmSum<V> sum = reduceLogarithm<Export, Function>(reduced.m, reduced.k + scale);
    return sum.leading + Function::trailing(sum.uHi, sum.uLo, sum.rest);
  }

  static QelStatus exceptional(const Stored<Element>& x, Stored<Element>& result) {
    return exceptionalLogarithm<TableLogarithm>(x, result);
  }
};

} // namespace
} // namespace qelvm
