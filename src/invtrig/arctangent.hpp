// What the two arctangents share: the table and the polynomial.
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {
namespace {

/// arctan b as hi + lo, hi to 26 bits: b = 0, then the centres of half-binades from 1/8 to 2^54.
inline constexpr int arctanRows = 115;
template <class Export>
QELVM_TABLE PairRow arctanTable[arctanRows] = {
    {0.0, 0.0},
#define QELVM_ATAN_ROW(hi, lo) {hi, lo},
#include "invtrig/atan_rows.inc"
#undef QELVM_ATAN_ROW
};

/// The row for x >= 0: two for each binade, and row 0 below 1/8.
template <class V>
QELVM_INLINE IntegerOf<V> arctanRow(const V& x) {
  return lanewise(
      [](const auto& high) QELVM_ALWAYS_INLINE {
        constexpr int shift = 19; // one bit of the fraction stays
        constexpr std::int32_t below = (highWord(0x1p-3) >> shift) - 1;
        const auto row = (high >> shift) - below;
        return row & ~(row >> 31); // zero where negative, without a branch
      },
      highWord(x));
}

/// The b of x's row: three significant bits, so that products with 50 bits are exact.
template <class V>
QELVM_INLINE V arctanCentre(const V& x, const IntegerOf<V>& row) {
  return lanewise(
      [](const auto& v, const auto& i) QELVM_ALWAYS_INLINE {
        constexpr std::uint64_t half = std::uint64_t{1} << 50;
        return fromBits(((bitsOf(v) & ~(2 * half - 1)) | half) & fillWhereNonzero(i));
      },
      x, row);
}

/// arctan t = t + t arctanTail(t^2) for |t| <= 1/8.
template <class V>
QELVM_INLINE V arctanTail(const V& square) {
  // Polynomial arctangent: given; off by 2^-61.78 (relative) for 0 <= q <= 1/8 and 2^-62.14
  // (relative) for 0 <= q <= 1/9 (tools/polynomials/arctangent.sollya).
  static constexpr double c[] = {
      // -1/3, 1/5, -1/7, ..., fitted
      -0x1.5555555555555p-2, 0x1.99999999991bbp-3, -0x1.2492492382a27p-3, 0x1.c71c6f9b157d3p-4,
      -0x1.745be69cca475p-4, 0x1.3ab7c1048afd1p-4, -0x1.029bd34239994p-4};
  return square * horner(c, square);
}

} // namespace
} // namespace qelvm
