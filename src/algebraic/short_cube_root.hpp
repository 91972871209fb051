// What the cube roots share of their short roads for floats.
#pragma once

#include "core/short_road.hpp"

#include <limits>

namespace qelvm {
namespace {

/// x^(-1/3) = y (1 - e)^(-1/3), y a double of a third of the bits of x, e = 1 - x y^3, |e| below
/// 0.1022; and once more from there, by the first term of the series.
template <class V>
struct ShortCubeRoot {
  // Polynomial short_third: fit; off by 2^-23.43 (relative) for |e| <= 0.1022
  // (tools/polynomials/short_third.sollya).
  static constexpr double c[] = {0x1.000000158d068p0, 0x1.555434531cdc8p-2, 0x1.c7186bfe31757p-3,
                                 0x1.6557c618115f2p-3, 0x1.2aba27028d0c2p-3};
  static constexpr double offBy = 0x1.7dp-24;
  /// The second rest: three times what the polynomial is off by; 5/9 of its square is left out.
  static constexpr double distance = distanceOf(6 * offBy * offBy, 16);

  V y;       ///< nearly a^(-1/3)
  V product; ///< a y^2
  V rest;    ///< 1 - a y^3

  QELVM_INLINE explicit ShortCubeRoot(const V& a) {
    const V seed = lanewise(
        [](const auto& v) QELVM_ALWAYS_INLINE {
          return fromBits((std::uint64_t{0x553EE8FF} << 32) -
                          wideProduct(lowInteger(bitsOf(v) >> 32), 0x55555556));
        },
        a);
    const V e = fused((a * seed) * seed, -seed, 1.0);
    y = seed * fusedHorner(c, e);
    product = (a * y) * y;
    rest = fused(product, -y, 1.0);
  }
};

struct ShortCubeRootDomain {
  static constexpr double inside[] = {3.0};
  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, 0x1p-126, std::numeric_limits<double>::infinity()) && hasFraction(x);
  }
};

} // namespace
} // namespace qelvm
