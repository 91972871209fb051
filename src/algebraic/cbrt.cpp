// Cube root.
//
// Reduction: |x| = m 2^(3 quotient + remainder), 1 <= m < 2.
//
// Table: T = m^(-1/3) at the left end of each of 32 intervals, rounded down to 8 bits, so that T^2
// and its product with the leading part of m are exact.
//
// Polynomial: with e = 1 - m T^3, |e| <= 2^-5, the root of m is m T^2 (1 + e Q), Q = 2/3 + P, P of
// degree 11 in e; e Q is (1 - e)^(-2/3) - 1. The leading parts of 2/3 + P, of its products with e
// and m T^2 and of 2^(remainder/3) are kept apart, so that only parts below 2^-9 of the result are
// rounded before the last sum.
//
// Ranges: normal arguments are ordinary; subnormal ones are scaled by 2^300 first.
//
// Error: proven (docs/proofs.md) below 0.506 ulp (0.5056), 0.50232 seen at
// 0x1.27457bbd597cap+2.

#include "algebraic/exceptional_root.hpp"
#include "algebraic/roots.hpp"
#include "algebraic/short_cube_root.hpp"
#include "core/export.hpp"

#include <limits>

namespace qelvm {
namespace {

/// The entry for the leading 5 fraction bits.
consteval double cbrtSeed(int i) {
  return inverseRoot(3, 32 + i, 32, 8, TableRounding::down);
}

template <class Export>
QELVM_TABLE auto cbrtSeeds = tabulate<32>(cbrtSeed);

/// 2^(rem/3), the leading parts to 26 bits.
// Constants cbrt_powers: rounded; off by 2^-79.98 (relative)
// (tools/polynomials/cbrt_powers.sollya).
template <class Export>
QELVM_TABLE PairRow cbrtPowers[3] = {
    {1.0, 0.0},
    {0x1.428a2f8p0, 0x1.8d728ae223ddbp-28}, // 1.2599210498948732
    {0x1.965feap0, 0x1.4f5b8f20ac166p-26},  // 1.5874010519681994
};

/// cbrt(x) 2^adjustment for a normal x of either sign.
template <class Export, class V>
QELVM_INLINE V cubeRoot(const V& x, std::int32_t adjustment) {
  // Polynomial cbrt: given; off by 2^-64.71 (absolute) for -1/32 <= e <= 0.01373
  // (tools/polynomials/cbrt.sollya).
  constexpr DoubleDouble twoThirds = {0x1.5555555555555p-1, 0x1.5555555555555p-55};
  static constexpr double c[] = {
      0x1.1c71c71c71c72p-1, // 5/9, 40/81, 110/243, ...: (1 - e)^(-2/3) from e^2 on, fitted
      0x1.f9add3c0ca458p-2, 0x1.cf8a021b64151p-2, 0x1.b0a2f0e65d69p-2,  0x1.9899e3843bc6cp-2,
      0x1.8524d8aeb2d5ap-2, 0x1.74edfa52160ccp-2, 0x1.671e0d7e740c4p-2, 0x1.5b259593d6946p-2,
      0x1.50a0910b7abe7p-2, 0x1.4746c5e79ae3dp-2,
  };
  constexpr double split10Bits = 0x1.00000000002p43; // 2^43 + 1: hi at most 10 bits
  const V m = withExponent(1023, magnitude(x));
  const V seed = lookUp(cbrtSeeds<Export>.entry, (highWord(x) >> 15) & 31);

  // e = 1 - m T^3 as eHi + eLo, eHi to 26 bits.
  const V square = seed * seed;
  const DoubleDoubleOf<V> part = splitHiLo(m, split10Bits);
  const V n = part.hi * square;
  const V l = square * part.lo;
  const V a = 1.0 - seed * n;
  const V eHi = splitHiLo(a, split26Bits).hi;
  const V eLo = -l * seed + (a - eHi);
  const V e = eHi + eLo;

  // Q = 2/3 + e (c0 + e c1 + ...) as sHi + sLo.
  const V tail = horner(c, e) * e;
  const DoubleDoubleOf<V> sum = twoSum(twoThirds.hi, tail);
  const V sHi = splitHiLo(sum.hi, split26Bits).hi;
  const V sLo = (sum.lo + twoThirds.lo) + (sum.hi - sHi);

  // e Q as vHi + vLo.
  const V v = sHi * eHi;
  const V vHi = splitHiLo(v, split26Bits).hi;
  const V vLo = (sLo * eHi + (sHi * eLo + sLo * eLo)) + (v - vHi);

  // cbrt(m) = (n + l) (1 + vHi + vLo) as fHi + w.
  const DoubleDoubleOf<V> f = twoSum(n, vHi * n);
  const V fHi = splitHiLo(f.hi, split26Bits).hi;
  const V w = l + (((vLo * l + vHi * l) + vLo * n) + (f.lo + (f.hi - fHi)));

  const auto exponent = thirdOfExponent(x);
  const V scale = withExponent((exponent.quotient + adjustment) + 1023, copySign(0.0, x));
  const V powerHi = lookUp(cbrtPowers<Export>, exponent.remainder, &PairRow::hi);
  const V powerLo = lookUp(cbrtPowers<Export>, exponent.remainder, &PairRow::lo);
  const V low = (fHi * powerLo + powerLo * w) + w * powerHi;
  return (fHi * powerHi + low) * scale;
}

struct CbrtShortRoad : ShortCubeRootDomain {
  static constexpr double distance = ShortCubeRoot<double>::distance;

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    const ShortCubeRoot<V> root(magnitude(x));
    return copySign(fused(root.product * root.rest, 2.0 / 3, root.product), x);
  }
};

template <class Export>
struct CubeRoot {
  using Element = typename Export::Element;
  using ShortRoad = CbrtShortRoad;
  static constexpr int lanes = fewRegisters ? 2 : 3;
  static constexpr int registers = registersInFlight(4, 3);
  static constexpr bool ofNegative = true, reciprocal = false;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, std::numeric_limits<Element>::min(),
                           std::numeric_limits<Element>::infinity());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    return cubeRoot<Export>(x, 0);
  }

  static double ofSubnormal(double x) { return cubeRoot<Export>(x * 0x1p300, -100); }

  static void exceptional(const Stored<Element>& x, Stored<Element>& result) {
    exceptionalRoot<CubeRoot>(x, result);
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Cbrt, CubeRoot, CubeRoot, CubeRoot)
