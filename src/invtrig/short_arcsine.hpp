// What arcsine and arccosine share of their short roads for floats.
#pragma once

#include "core/short_road.hpp"
#include "stages/short_root.hpp"

namespace qelvm {
namespace {

/// |x| < 1: below 1/2, arcsin |x|; from there on arccos |x| = 2 arcsin(sqrt((1 - |x|)/2)).
template <class V>
struct ShortArcsine {
  // Polynomial short_arcsine: fit; off by 2^-39.99 (relative) for 2^-30 <= w <= 1/2
  // (tools/polynomials/short_arcsine.sollya).
  static constexpr double c[] = {0x1.0000000001018p0,  0x1.5555554164f58p-3,  0x1.3333436fde444p-4,
                                 0x1.6db1c8c0634abp-5, 0x1.f29129f20ff84p-6,  0x1.65cdc8fea9665p-6,
                                 0x1.542ca9a364e8ap-6, 0x1.c18d865e2e803p-10, 0x1.0fa32bda36f7p-5};
  static constexpr double offBy = 0x1.02p-40;

  V angle;
  V below; ///< negative where |x| < 1/2

  QELVM_INLINE explicit ShortArcsine(const V& x) {
    const V a = magnitude(x);
    const V twice = fused(a, -2.0, 2.0);
    below = a - 0.5;
    const V square = selectBySign(below, a * a, 0.25 * twice);
    const V root = selectBySign(below, a, twice * shortInverseRoot(twice)); // 2 sqrt((1 - |x|)/2)
    angle = root * fusedHorner(c, square);
  }
};

struct ShortArcsineDomain {
  static constexpr double inside[] = {0.25};
  QELVM_INLINE static auto isOrdinary(const auto& x) { return magnitudeWithin(x, 0x1p-60, 1.0); }
};

} // namespace
} // namespace qelvm
