// Decimal logarithm.
//
// Reduction: as in the natural logarithm. The 65 reciprocals of A53 and 32f, of 7 bits, carry the
// factor c = 111/256, log10 e cut to eight bits: so the reduced argument v = c u, |u| < 3/256,
// needs no further product for its leading term, and the polynomial supplies log10(1 + v/c) - v.
//
// Table (A53 and 32f): the first words of the logarithms and of log10 2 are multiples of 2^-42.
//
// Polynomial: A50 as in the natural logarithm, then one-word log10 2 and log10 e; the others,
// degree 8 in v.
//
// Ranges (A53 and 32f): within 3/512 of one, v = c (x - 1).
//
// Error, proven (docs/proofs.md): A50 below 2.15 ulp, worst just below a result of 1/8, for x near
// 4/3, 2.0476 seen at 0x1.5557c7f9a16fdp+0; A53 below 0.542 ulp, 0.51951 seen at
// 0x1.fcf09af016771p-1.

#include "core/export.hpp"
#include "explog/logarithm.hpp"

namespace qelvm {
namespace {

struct DecimalSeries {
  template <class V>
  QELVM_INLINE static V combine(const V& k, const V& g) {
    // Constants log10_words: rounded; off by 2^-55.13 (relative)
    // (tools/polynomials/log10_words.sollya).
    constexpr double log10Of2 = 0x1.34413509f79ffp-2;
    constexpr double log10OfE = 0x1.bcb7b1526e50ep-2;
    return k * log10Of2 + g * log10OfE;
  }
};

template <class Export>
QELVM_TABLE LogarithmRow log10Rows[65] = {
#define QELVM_LOG10_ROW(r, hi, lo) {r, hi, lo},
#include "explog/log10_rows.inc"
#undef QELVM_LOG10_ROW
};

struct Log10ShortRoad : LogShortRoad {
  // Polynomial short_log10: fit; off by 2^-37.78 (relative) for 2^-30 <= s <= 3 - 2*sqrt(2)
  // (tools/polynomials/short_log10.sollya).
  static constexpr double series[] = {0x1.bcb7b152765c8p-1, 0x1.287a75cc8a8c4p-2,
                                      0x1.63c70861e577dp-3, 0x1.fb99b1095664dp-4,
                                      0x1.a41fc62c33e12p-4};
  static constexpr double offBy = 0x1.2bp-38;
  static constexpr double distance = distanceOf(offBy, 8);

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    constexpr double log10Of2 = 0x1.34413509f79ffp-2;
    const ShortSplit<V> split = shortSplit(x);
    const V s = shortLogArgument(split.m - 1.0);
    return fused(s, fusedHorner(series, s * s), split.k * log10Of2);
  }
};

struct DecimalTable {
  using ShortRoad = Log10ShortRoad;
  static constexpr double c = 0x1.bcp-2;
  // Constants log10_2: rounded; off by 2^-99.74 (relative) (tools/polynomials/log10_2.sollya).
  static constexpr double log2Hi = 0x1.34413509f8p-2; // log10 2, 38 bits
  static constexpr double log2Lo = -0x1.80433b83b532ap-44;
  static constexpr double splitShifter = 0x1p23; // to a multiple of 2^-29: 30 bits
  static constexpr double nearOne = 0x1.8p-8;    // 3/512

  template <class Export>
  static consteval const LogarithmRow* rows() {
    return log10Rows<Export>;
  }

  /// (log10(1 + v/c) - v) / v
  template <class V>
  QELVM_INLINE static V polynomial(const V& v) {
    // Polynomial log10: given; off by 2^-70.19 (absolute) for |v| <= c*3/512 and 2^-66.62
    // (absolute) for |v| <= c*3/256 (tools/polynomials/log10.sollya).
    static constexpr double a[] = {
        0x1.a7a6cbf2e4107p-10, -0x1.27af2dc77b115p+0, 0x1.c6a02dc963a31p+0, -0x1.8930964d42479p+1,
        0x1.6ab9f7b1efe5cp+2,  -0x1.5c90e698cfb68p+3, 0x1.58992e1b1aa78p+4, -0x1.5b3214e75eea2p+5};
    return horner(a, v);
  }

  template <class V>
  QELVM_INLINE static V series(const V& d) {
    const V v = c * d;
    return v + v * polynomial(v);
  }

  template <class V>
  QELVM_INLINE static V trailing(const V& hi, const V& lo, const V& rest) {
    const V q = polynomial(hi + lo);
    return q * hi + (lo + (rest + q * lo));
  }
};

template <class Export>
using Log10A50 = SeriesLogarithm<Export, DecimalSeries>;
template <class Export>
using Log10A53 = TableLogarithm<Export, DecimalTable>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Log10, Log10A53, Log10A50, Log10A53)
