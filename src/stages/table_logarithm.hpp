// The reduction of a logarithm by a table of 65 reciprocals, and what makes it the natural one.
//
// x = m 2^k, 1 <= m < 2, j = 64 (m - 1) to the nearest integer, u = m r_j - c small:
// log x = (k log 2 + log(1/r_j)) + log(1 + u/c).
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {
namespace {

/// One row of a table of logarithms. `reciprocal` is short, so that its product with the leading
/// part of a significand is exact; logHi and logLo are minus its logarithm, logHi short too.
struct alignas(rowAlignment<3>) LogarithmRow {
  double reciprocal;
  double logHi;
  double logLo;
};

/// u = uHi + uLo. The leading parts of k log 2, of the row and of u are multiples of one power of
/// two and their sum is exact; what is left of k log 2 and of the row is `rest`.
template <class V>
struct LogarithmSum {
  V leading;
  V uHi;
  V uLo;
  V rest;
};

/// For x = (m + low) 2^k, where `low` is absent or one small summand. `Function` has the constants
/// c, log2Hi, log2Lo and splitShifter, and the table rows().
template <class Export, class Function, class V, class... Low>
QELVM_INLINE LogarithmSum<V> reduceLogarithm(const V& m, const IntegerOf<V>& exponent,
                                             const Low&... low) {
  constexpr double indexShifter = 0x1.000000000004p46; // 2^46 + 1: the low word is 64 m + 64 there
  constexpr const LogarithmRow* rows = Function::template rows<Export>();
  const IntegerOf<V> j = lowWord(m + indexShifter) & 0x7F; // 0 to 64
  const V mHi = roundShifter(m, Function::splitShifter).value;
  const V mLo = ((m - mHi) + ... + low);
  const V r = lookUp(rows, j, &LogarithmRow::reciprocal);
  const V uHi = mHi * r - Function::c;
  const V k = toDouble(exponent);
  return {(k * Function::log2Hi + lookUp(rows, j, &LogarithmRow::logHi)) + uHi, uHi, mLo * r,
          k * Function::log2Lo + lookUp(rows, j, &LogarithmRow::logLo)};
}

template <class Export>
QELVM_TABLE LogarithmRow lnRows[65] = {
#define QELVM_LN_ROW(r, hi, lo) {r, hi, lo},
#include "stages/ln_rows.inc"
#undef QELVM_LN_ROW
};

struct NaturalLogarithm {
  static constexpr double c = 1.0;
  // Constants ln_2: rounded; off by 2^-101.48 (relative) (tools/polynomials/ln_2.sollya).
  static constexpr double log2Hi = 0x1.62e42fefa38p-1; // ln 2, 42 bits
  static constexpr double log2Lo = 0x1.ef35793c7673p-45;
  static constexpr double splitShifter = 0x1p21; // to a multiple of 2^-31: 32 bits

  template <class Export>
  static consteval const LogarithmRow* rows() {
    return lnRows<Export>;
  }

  /// (ln(1 + u) - u) / u^2
  template <class V>
  QELVM_INLINE static V polynomial(const V& u) {
    // Polynomial ln: given; off by 2^-69.24 (absolute) for |u| <= 5/512 and 2^-70.53 (absolute) for
    // |u| <= 65/8192 (tools/polynomials/ln.sollya).
    static constexpr double p[] = {-0x1p-1,
                                   0x1.5555555555613p-2,
                                   -0x1.0000000000262p-2,
                                   0x1.9999997b36c81p-3,
                                   -0x1.555555228b38fp-3,
                                   0x1.249c02481059dp-3,
                                   -0x1.000b405a2836dp-3};
    return horner(p, u);
  }
};

} // namespace
} // namespace qelvm
