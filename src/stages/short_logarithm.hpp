// Logarithms for the short roads of floats.
#pragma once

#include "core/short_road.hpp"

namespace qelvm {
namespace {

/// x = m 2^k, m from sqrt(1/2) to sqrt(2); k as a double.
template <class V>
struct ShortSplit {
  V m;
  V k;
};
template <class V>
QELVM_INLINE ShortSplit<V> shortSplit(const V& x) {
  constexpr std::uint64_t sqrtHalf = bitsOf(0x1.6a09e667f3bcdp-1);
  constexpr std::uint64_t bias = 1024; // more than any -k
  return {lanewise(
              [](const auto& v) QELVM_ALWAYS_INLINE {
                constexpr std::uint64_t fraction = fractionMask<double>;
                return fromBits(((bitsOf(v) - sqrtHalf) & fraction) + sqrtHalf);
              },
              x),
          lanewise(
              [](const auto& v) QELVM_ALWAYS_INLINE {
                const auto biased = (bitsOf(v) - (sqrtHalf - (bias << 52))) >> 52;
                return fromBits(biased | bitsOf(0x1p52)) - (0x1p52 + bias);
              },
              x)};
}

/// s = (m - 1)/(m + 1), so that m = (1 + s)/(1 - s); of f = m - 1.
template <class V>
QELVM_INLINE V shortLogArgument(const V& f) {
  return f / (f + 2.0);
}

struct ShortLog {
  // Polynomial short_log: fit; off by 2^-37.78 (relative) for 2^-30 <= s <= 3 - 2*sqrt(2)
  // (tools/polynomials/short_log.sollya).
  static constexpr double c[] = {0x1.0000000004a19p1, 0x1.555554dad288fp-1, 0x1.999a9c8d9455fp-2,
                                 0x1.2432c0d6ef058p-2, 0x1.e3af8ca5d1784p-3};
  static constexpr double offBy = 0x1.2bp-38;

  /// ln 2^k (1 + f), off by offBy; where k is 0, of itself.
  template <class V>
  QELVM_INLINE static V of(const V& k, const V& f) {
    constexpr double ln2 = 0x1.62e42fefa39efp-1;
    const V s = shortLogArgument(f);
    return fused(s, fusedHorner(c, s * s), k * ln2);
  }

  /// ln(1 + u), u > 0, off by offBy of itself.
  template <class V>
  QELVM_INLINE static V onePlus(const V& u) {
    const V sum = 1.0 + u;
    const ShortSplit<V> split = shortSplit(sum);
    return of(split.k, selectBySign(sum - 0x1.6ap0, u, split.m - 1.0)); // k is 0: exactly u
  }
};

} // namespace
} // namespace qelvm
