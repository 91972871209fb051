// Sines and cosines for the short roads of floats.
#pragma once

#include "core/short_road.hpp"

#include <limits>

namespace qelvm {
namespace {

/// x = n period + r: n in the low bits of `shifted`.
template <class V>
struct ShortTurns {
  V shifted;
  V r;
};

/// 2^e of a float of 24 bits, M 2^(e - 23), times 2/pi: M (hi + mid + lo), less multiples of 4;
/// M hi is exact.
struct alignas(rowAlignment<4>) ShortTurnRow {
  double hi, mid, lo, unused;
};
inline constexpr int firstTurnRow = -20; // e of row 0

/// 25 bits of 4/pi each, entry j those from 2^(25 - 25 j) down to 2^(1 - 25 j), times 2^200.
constexpr double shortFourOverPiBits[] = {
#define QELVM_FOUR_OVER_PI_BITS(bits) bits,
#include "trig/four_over_pi_bits.inc"
#undef QELVM_FOUR_OVER_PI_BITS
};
/// `count` bits of 4/pi from that of 2^weight on, times 2^scale.
consteval double bitsOfFourOverPi(int weight, int count, int scale) {
  double sum = 0;
  for (int w = weight; w > weight - count; --w) {
    const double entry = shortFourOverPiBits[(25 - w) / 25];
    constexpr std::uint64_t leadingBit = std::uint64_t{1} << 52;
    const std::uint64_t significand = (bitsOf(entry) & fractionMask<double>) | leadingBit;
    const int place = 52 + w - (exponentField(entry) - 1023 - 200); // of the bit in it
    if (entry != 0 && place >= 0 && place <= 52 && (significand >> place & 1) != 0)
      sum += fromBits(static_cast<std::uint64_t>(w + scale + 1023) << 52);
  }
  return sum;
}
consteval ShortTurnRow shortTurnRow(int e) {
  const int scale = e - 24; // 2^(e - 23) 2/pi = 2^scale 4/pi
  const int weight = scale < 1 ? 0 : 1 - scale;
  return {bitsOfFourOverPi(weight, 29, scale), bitsOfFourOverPi(weight - 29, 53, scale),
          bitsOfFourOverPi(weight - 29 - 53, 53, scale), 0};
}
struct ShortTurnTable {
  ShortTurnRow row[128 - firstTurnRow];
};
consteval ShortTurnTable shortTurnTable() {
  ShortTurnTable table{};
  for (int e = firstTurnRow; e < 128; ++e)
    table.row[e - firstTurnRow] = shortTurnRow(e);
  return table;
}
template <class Export>
QELVM_TABLE ShortTurnTable shortTurns = shortTurnTable();

/// For 2^-20 <= |x|, a float: x = (n - offset) pi/2 + r, n a multiple of 1 (of 2, where the shifter
/// is twice as large).
template <class Export, class V>
QELVM_INLINE ShortTurns<V> multiplyOutTurns(const V& x, double shifter, double offset) {
  constexpr double halfPi = 0x1.921fb54442d18p0;
  const V significand = withExponent(1023 + 23, x);
  const IntegerOf<V> row = exponentField(x) - (1023 + firstTurnRow);
  const V hi = significand * lookUp(shortTurns<Export>.row, row, &ShortTurnRow::hi);
  const V mid = lookUp(shortTurns<Export>.row, row, &ShortTurnRow::mid);
  const V shifted = (fused(significand, mid, hi) + offset) + shifter;
  const V exact = hi - ((shifted - shifter) - offset);
  const V turns = fused(significand, lookUp(shortTurns<Export>.row, row, &ShortTurnRow::lo),
                        fused(significand, mid, exact));
  return {shifted, turns * halfPi};
}

/// The shared domains of the trigonometric short roads.
struct TrigShortRoad {
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, 0x1p-100, 0x1p30);
  }
  QELVM_INLINE static auto isInWiderRange(const auto& x) {
    return magnitudeWithin(x, 0x1p-20, std::numeric_limits<double>::infinity());
  }
};

/// In multiples of pi: the sine of r, negated where n is odd.
struct ShortSine : TrigShortRoad {
  // Polynomial short_sine: fit; off by 2^-43.86 (relative) for 2^-30 <= r <= pi/2
  // (tools/polynomials/short_sine.sollya).
  static constexpr double c[] = {
      0x1.ffffffffffdcep-1,  -0x1.5555555540b9ap-3,  0x1.111111090f063p-7, -0x1.a019fce976f3cp-13,
      0x1.71dce5ac58ad7p-19, -0x1.ae00fd58319bdp-26, 0x1.52ace768ecbfp-33};
  static constexpr double offBy = 0x1.1bp-44;
  static constexpr double distance = distanceOf(offBy, 16);

  /// x = (n - offset) pi + r
  template <class V>
  QELVM_INLINE static V of(const V& x, double offset) {
    constexpr double inversePi = 0x1.45f306dc9c883p-2;
    constexpr double piHi = 0x1.921fb54442d18p1, piLo = 0x1.1a62633145c07p-53;
    const V shifted = offset == 0 ? fused(x, inversePi, integerShifter)
                                  : fused(x, inversePi, offset) + integerShifter;
    const V n = offset == 0 ? shifted - integerShifter : (shifted - integerShifter) - offset;
    // The products are exact or next to it: what is left has an error of its own size.
    return ofTurns(ShortTurns<V>{shifted, fused(n, -piLo, fused(n, -piHi, x))});
  }
  template <class Export, class V>
  QELVM_INLINE static V ofWider(const V& x, double offset) {
    return ofTurns(multiplyOutTurns<Export>(x, 2 * integerShifter, 2 * offset));
  }

private:
  template <class V>
  QELVM_INLINE static V ofTurns(const ShortTurns<V>& turns) {
    return flipByBit<0>(turns.r * fusedHorner(c, turns.r * turns.r), turns.shifted);
  }
};

/// In multiples of pi/2: sine and cosine of r, exchanged where n is odd.
template <class V>
struct ShortSineCosine {
  V sine, cosine; ///< of r
  V shifted;      ///< n in its low bits
};
struct ShortQuarterSine {
  // Polynomial short_quarter_sine: fit; off by 2^-37.67 (relative) for 2^-30 <= r <= pi/4
  // (tools/polynomials/short_quarter_sine.sollya).
  static constexpr double c[] = {0x1.fffffffff5fecp-1, -0x1.55555548e3522p-3, 0x1.111107186f9dbp-7,
                                 -0x1.a00ec71946847p-13, 0x1.6cb0a83a7c2eap-19};
  static constexpr double offBy = 0x1.42p-38;
};
struct ShortQuarterCosine {
  // Polynomial short_quarter_cosine: fit; off by 2^-43.79 (relative) for |r| <= pi/4
  // (tools/polynomials/short_quarter_cosine.sollya).
  static constexpr double c[] = {0x1.ffffffffffdb1p-1,  -0x1.ffffffffdff3ep-2,
                                 0x1.555555430ee0ap-5,  -0x1.6c16b209e442cp-10,
                                 0x1.a00e399de32d4p-16, -0x1.23b6c6dcb1f65p-22};
  static constexpr double offBy = 0x1.29p-44;
};
struct ShortQuarters : TrigShortRoad {
  template <class V>
  QELVM_INLINE static ShortSineCosine<V> ofTurns(const ShortTurns<V>& x) {
    const V square = x.r * x.r;
    return {x.r * fusedHorner(ShortQuarterSine::c, square),
            fusedHorner(ShortQuarterCosine::c, square), x.shifted};
  }
  template <class V>
  QELVM_INLINE static ShortSineCosine<V> of(const V& x) {
    constexpr double twoOverPi = 0x1.45f306dc9c883p-1;
    constexpr double halfPiHi = 0x1.921fb54442d18p0, halfPiLo = 0x1.1a62633145c07p-54;
    const V shifted = fused(x, twoOverPi, integerShifter);
    const V n = shifted - integerShifter;
    return ofTurns(ShortTurns<V>{shifted, fused(n, -halfPiLo, fused(n, -halfPiHi, x))});
  }
  template <class Export, class V>
  QELVM_INLINE static ShortSineCosine<V> ofWider(const V& x) {
    return ofTurns(multiplyOutTurns<Export>(x, integerShifter, 0.0));
  }
};

} // namespace
} // namespace qelvm
