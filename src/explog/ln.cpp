// Natural logarithm.
//
// A50: no table; a series in s = f / (2 + f) and a one-word ln 2. The error is largest where
// k ln 2 and ln m nearly cancel.
// A53 and 32f: 65 reciprocals with their logarithms, a polynomial of degree 9 on both sides of a
// reduced argument of at most 2^-7, ln 2 in two words; within 5/512 of one the same polynomial in
// x - 1.

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

struct NaturalTable {
  static constexpr double c = 1.0;
  static constexpr double log2Hi = 0x1.62e42fefa38p-1; // ln 2, 42 bits
  static constexpr double log2Lo = 0x1.ef35793c7673p-45;
  static constexpr double splitShifter = 0x1p21; // to a multiple of 2^-31: 32 bits
  static constexpr double nearOne = 0x1.4p-7;    // 5/512

  template <class Export>
  static constexpr LogarithmRow rows[65] = {
#define QELVM_LN_ROW(r, hi, lo) {r, hi, lo},
#include "explog/ln_rows.inc"
#undef QELVM_LN_ROW
  };

  /// (ln(1 + u) - u) / u^2
  template <class V>
  QELVM_INLINE static V polynomial(const V& u) {
    static constexpr double p[] = {-0x1p-1,
                                   0x1.5555555555613p-2,
                                   -0x1.0000000000262p-2,
                                   0x1.9999997b36c81p-3,
                                   -0x1.555555228b38fp-3,
                                   0x1.249c02481059dp-3,
                                   -0x1.000b405a2836dp-3};
    return horner(p, u);
  }

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

QELVM_ONE_SOURCE(Ln, 32f, A11, qelvm::LnA53)
QELVM_ONE_SOURCE(Ln, 32f, A21, qelvm::LnA53)
QELVM_ONE_SOURCE(Ln, 32f, A24, qelvm::LnA53)
QELVM_ONE_SOURCE(Ln, 64f, A50, qelvm::LnA50)
QELVM_ONE_SOURCE(Ln, 64f, A53, qelvm::LnA53)
