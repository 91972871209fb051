// Square root.
//
// Reduction: x = y 2^(2 half), 1 <= y < 4.
//
// Table: 1/sqrt(y) at the left end of each of 512 intervals, to 2^-11: |1 - y T^2| < 2^-7.7.
//
// Iteration: g and h, starting as y T and T/2, go to sqrt(y) and 1/(2 sqrt(y)) together; each of
// the three steps squares their relative error. Then the residual y - g^2, from exact products,
// corrects g once more.
//
// Ranges: every positive normal argument is ordinary; subnormal ones are scaled by 2^200 first.
//
// Error: proven (docs/proofs.md): every result is the correctly rounded one. Before the last
// rounding it is within 2^-95 of the root of y, and those y whose roots are that near to a middle
// between two doubles are known.

#include "algebraic/exceptional_root.hpp"
#include "algebraic/roots.hpp"
#include "core/export.hpp"
#include "core/short_road.hpp"

#include <limits>

namespace qelvm {
namespace {

/// The reciprocal square root for odd = k div 256 and the leading 8 fraction bits k mod 256.
consteval double sqrtSeed(int k) {
  return inverseRoot(2, (256 + k % 256) << (k / 256), 256, 11, TableRounding::nearest);
}

template <class Export>
QELVM_TABLE auto sqrtSeeds = tabulate<512>(sqrtSeed);

/// sqrt(x) 2^adjustment for a positive normal x.
template <class Export, class V>
QELVM_INLINE V squareRoot(const V& x, std::int32_t adjustment) {
  const IntegerOf<V> exponent = exponentField(x) - 1023;
  const IntegerOf<V> odd = exponent & 1;
  const IntegerOf<V> half = (exponent >> 1) + adjustment;
  const V y = withExponent(odd + 1023, x);
  const V seed = lookUp(sqrtSeeds<Export>.entry, (odd << 8) | ((highWord(x) >> 12) & 255));

  V g = seed * y;
  V h = 0.5 * seed;
  for (int i = 0; i < 3; ++i) {
    const V r = 0.5 - g * h;
    h = h + r * h;
    g = g + r * g;
  }
  const DoubleDoubleOf<V> s = splitHiLo(g, split26Bits);
  const V residual = ((y - s.hi * s.hi) - (2.0 * s.hi) * s.lo) - s.lo * s.lo;
  return scaleByPowerOfTwo(g + residual * h, half);
}

/// sqrt(x) by the instruction, correctly rounded too, for a positive normal x. For an exact root
/// the instruction is exact; the iteration is only for powers of four, with which all its steps
/// are. What is added for the others, far below the last place of the root, is inexact too.
template <class V>
QELVM_INLINE V rootByInstruction(const V& x) {
  using Number = ScalarOf<V>;
  using F = Format<Number>;
  return lanewise(
      [](const auto& v) QELVM_ALWAYS_INLINE {
        // With an even exponent field, whose last bit is set here:
        constexpr Number small = static_cast<Number>(sizeof(Number) == 8 ? 0x1p-701 : 0x1p-101);
        // Powers of four have it, and no fraction:
        constexpr typename F::Bits unit = typename F::Bits{1} << F::fractionBits;
        const auto excess = (bitsOf(v) & (2 * unit - 1)) ^ unit;
        return squareRootInstruction(v) + (fromBits(excess | bitsOf(small)) - small);
      },
      x);
}

/// The root of a float is the double root rounded: of twice as many bits and more, that is no
/// middle between two floats.
struct SqrtShortRoad {
  static constexpr bool exact = true;
  static constexpr int registers = registersInFlight(2, 1);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, std::numeric_limits<float>::min(),
                          std::numeric_limits<float>::infinity());
  }
  QELVM_INLINE static auto compute(const auto& x) { return rootByInstruction(x); }
};

template <class Export>
struct SquareRoot {
  using Element = typename Export::Element;
  using ShortRoad = SqrtShortRoad;
  static constexpr int lanes = fewRegisters ? 3 : 4;
  static constexpr bool ofNegative = false, reciprocal = false;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return positiveWithin(x, std::numeric_limits<Element>::min(),
                          std::numeric_limits<Element>::infinity());
  }

  template <class V>
  QELVM_INLINE static V compute(const V& x) {
    if constexpr (hasRegisters<V>)
      return rootByInstruction(x);
    else
      return squareRoot<Export>(x, 0);
  }

  static double ofSubnormal(double x) { return squareRoot<Export>(x * twoTo200, -100); }

  static QelStatus exceptional(const Stored<Element>& x, Stored<Element>& result) {
    return exceptionalRoot<SquareRoot>(x, result);
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Sqrt, SquareRoot, SquareRoot, SquareRoot)
