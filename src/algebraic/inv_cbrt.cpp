// Reciprocal cube root.
//
// Reduction: |x| = y 2^(3 quotient), 1 <= y < 8.
//
// Table: R = y^(-1/3) at the centre of each of 97 intervals, to 8 bits, so that R^3 and its product
// with the leading part of y are exact.
//
// Polynomial: with e = 1 - y R^3, |e| < 2^-5.4, the result is R (1 + third e + thirdRest e + p), p
// of degree 8 in e; the last two are (1 - e)^(-1/3) - 1 - third e, more closely where R > 0.78. R
// and the product of its leading parts with the short third are added exactly.
//
// Ranges: elements that are normal doubles are ordinary; subnormal ones are scaled by 2^90 first.
//
// Error: proven (docs/proofs.md) below 0.51 ulp (0.5085), 0.50818 seen at 0x1.1400a3de141b7p+0.

#include "algebraic/exceptional_root.hpp"
#include "algebraic/roots.hpp"
#include "algebraic/short_cube_root.hpp"
#include "core/export.hpp"

#include <limits>

namespace qelvm {
namespace {

/// The entries for y = 1 + i/32 up to 2, then in double and fourfold steps up to 8.
consteval double invCbrtSeed(int i) {
  return inverseRoot(3, (32 + i % 32) << (i / 32), 32, 8, TableRounding::nearest);
}

template <class Export>
QELVM_TABLE auto invCbrtSeeds = tabulate<97>(invCbrtSeed);

/// 2^adjustment / cbrt(x) for a normal x of either sign.
template <class Export, class V>
QELVM_INLINE V inverseCubeRoot(const V& x, std::int32_t adjustment) {
  // Polynomial inv_cbrt: given; off by 2^-59.95 (absolute) for -0.0171 <= e <= 0.01983 and 2^-59.66
  // (absolute) for -0.02357 <= e <= 0.0218 (tools/polynomials/inv_cbrt.sollya).
  static constexpr double c[] = {
      0x1.c71c71c71c7c6p-3, // 2/9, 14/81, 35/243, ...: (1 - e)^(-1/3) from e^2 on, fitted
      0x1.61f9add3d926ep-3, 0x1.26fabb82a92c1p-3, 0x1.ff4c2cad96dcp-4,
      0x1.c67d1021abd48p-4, 0x1.9b8dcfa1cbb4bp-4, 0x1.76e1b29541c7ap-4,
  };
  constexpr double third = 0x1.5556p-2;                // 0.33333587646484375, 15 bits
  constexpr double thirdRest = -0x1.555555556eeb1p-19; // -2.543e-6: 1/3 - third, fitted with c
  constexpr double split16Bits = 0x1p37;               // 2^37: hi at most 16 bits
  const auto exponent = thirdOfExponent(x);
  const V a0 = magnitude(x);
  const V m = withExponent(1023, a0);
  const V y = withExponent(exponent.remainder + 1023, a0);
  const V seed =
      lookUp(invCbrtSeeds<Export>.entry, (exponent.remainder << 5) + nearestThirtySecond(m));

  const V cube = (seed * seed) * seed;
  const DoubleDoubleOf<V> part = splitHiLo(y, split16Bits);
  const V a = 1.0 - part.hi * cube;
  const V b = cube * part.lo;
  const V e = a - b;
  const V p = (horner(c, e) * e) * e;

  const DoubleDoubleOf<V> lead = splitHiLo(a, split16Bits);
  const V w = (((p - b * third) + e * thirdRest) + lead.lo * third) * seed;
  const DoubleDoubleOf<V> sum = fastTwoSum(seed, (lead.hi * seed) * third);
  const V scale = withExponent((adjustment - exponent.quotient) + 1023, copySign(0.0, x));
  return (sum.hi + (w + sum.lo)) * scale;
}

struct InvCbrtShortRoad : ShortCubeRootDomain {
  static constexpr double distance = ShortCubeRoot<double>::distance;

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const ShortCubeRoot<V> root(magnitude(x));
    return copySign(fused(root.y * root.rest, 1.0 / 3, root.y), x);
  }
};

template <class Export>
struct InverseCubeRoot {
  using Element = typename Export::Element;
  using ShortRoad = InvCbrtShortRoad;
  static constexpr int lanes = fewRegisters ? 2 : 3;
  static constexpr int registers = registersInFlight(4, 3);
  static constexpr bool ofNegative = true, reciprocal = true;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, smallestWidenedNormal<Element>,
                           std::numeric_limits<Element>::infinity());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return inverseCubeRoot<Export>(x, 0);
  }

  static double ofSubnormal(double x) { return inverseCubeRoot<Export>(x * 0x1p90, 30); }

  static QelStatus exceptional(const Stored<Element>& x, Stored<Element>& result) {
    return exceptionalRoot<InverseCubeRoot>(x, result);
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(InvCbrt, InverseCubeRoot, InverseCubeRoot, InverseCubeRoot)
