// Natural logarithm.
//
// Reduction: x = m 2^k. A50: sqrt(1/2) <= m < sqrt(2), f = m - 1, s = f / (2 + f), |s| <= 0.1716.
// A53 and 32f: 1 <= m < 2 and u = m r - 1, |u| <= 65 * 2^-13, r the reciprocal of 1 + j/64.
//
// Table (A53 and 32f): 65 reciprocals of 11 bits and their logarithms in two words, of which the
// first, like that of ln 2, is a multiple of 2^-42: they and the leading part of u sum exactly.
//
// Polynomial: A50, 7 terms in s^2 (explog/logarithm.hpp); the others, degree 9 in u
// (explog/table_logarithm.hpp).
//
// Ranges (A53 and 32f): within 5/512 of one the same polynomial in x - 1.
//
// Error, proven (docs/proofs.md): A50 below 1.6 ulp, worst where k ln 2 is in the binade above the
// result, 1.5402 seen at 0x1.68b012440592fp-3; A53 below 0.511 ulp, 0.50979 seen at
// 0x1.020167a83940bp+0.

#include "core/export.hpp"
#include "explog/logarithm.hpp"

namespace qelvm {
namespace {

struct NaturalSeries {
  template <class V>
  QELVM_INLINE static V combine(const V& k, const V& g) {
    constexpr double ln2 = 0x1.62e42fefa39efp-1;
    return k * ln2 + g;
  }
};

struct LnShortRoad : LogShortRoad {
  static constexpr double distance = distanceOf(ShortLog::offBy, 8);

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const ShortSplit<V> split = shortSplit(x);
    return ShortLog::of(split.k, split.m - 1.0);
  }
};

struct NaturalTable : NaturalLogarithm {
  using ShortRoad = LnShortRoad;
  static constexpr double nearOne = 0x1.4p-7; // 5/512

  template <class V>
  QELVM_INLINE static V series(const V& d) {
    return d + (d * d) * polynomial(d);
  }

  template <class V>
  QELVM_INLINE static V trailing(const V& hi, const V& lo, const V& rest) {
    const V u = hi + lo;
    return lo + (rest + (u * u) * polynomial(u));
  }
};

template <class Export>
using LnA50 = SeriesLogarithm<Export, NaturalSeries>;
template <class Export>
using LnA53 = TableLogarithm<Export, NaturalTable>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Ln, LnA53, LnA50, LnA53)
