// A power of two for the short roads of floats: exponentials, powers, the Gaussian.
#pragma once

#include "core/short_road.hpp"

namespace qelvm {
namespace {

inline constexpr double log2OfE = 0x1.71547652b82fep0;

/// 2^a = 2^n 2^r, n the integer nearest to a, in the low bits of `shifted`.
template <class V>
struct ShortPower {
  // Polynomial short_exp2: fit; off by 2^-40.23 (relative) for |r| <= 1/2
  // (tools/polynomials/short_exp2.sollya).
  static constexpr double c[] = {
      0x1.ffffffffff7a3p-1,  0x1.62e42fef8615cp-1,  0x1.ebfbdff931a3bp-3,
      0x1.c6b08dd46d8c3p-5,  0x1.3b2ab5c5243c7p-7,  0x1.5d874837f37b3p-10,
      0x1.430acca95cbb7p-13, 0x1.00dad2913c356p-16, 0x1.61afc9e6c0fa1p-20};
  static constexpr double offBy = 0x1.b5p-41;

  V shifted;
  V r;

  /// of x log2(base)
  QELVM_INLINE ShortPower(const V& x, const auto& log2OfBase)
      : shifted(fused(x, log2OfBase, integerShifter)),
        r(fused(x, log2OfBase, integerShifter - shifted)) {}

  /// 2^a, where it is normal.
  QELVM_INLINE V value() const { return addToExponent(fusedHorner(c, r), lowWord(shifted)); }
};

} // namespace
} // namespace qelvm
