// Three regimes, by the exponent of |x|: below 2^23 and below 2^30 an even multiple m of pi/4 is
// subtracted, pi/4 in four or five pieces so short that all products but the last are exact.
// Above, the bits of 4/pi that matter are multiplied by x (Payne and Hanek): those in front of them
// contribute multiples of 8 octants, those behind too little.
//
// Error: within 2^-75 of the remainder, but for arguments next to multiples of pi/2. There, below
// 2^30, what the pieces lack of pi/4 counts, 2^-143 m: 2^-58.96 of the remainder at most, seen at
// 0x1.b951f1572eba5p+23; above, the rounded sums of the last products, 2^-121.

#include "trig/reduce_trig_argument.hpp"

namespace qelvm {
namespace {

/// 25 bits of 4/pi each, scaled by 2^200.
constexpr double fourOverPiBits[50] = {
#define QELVM_FOUR_OVER_PI_BITS(bits) bits,
#include "trig/four_over_pi_bits.inc"
#undef QELVM_FOUR_OVER_PI_BITS
};

/// The multiple of pi/2 nearest to an argument of that many whole octants: half of them, rounded
/// up.
constexpr std::uint32_t nearestQuarterTurn(std::uint32_t octants) {
  return (octants + 1) >> 1;
}

/// The sign of an argument: a product with it costs less than a branch that no processor can
/// foresee.
struct Sign {
  double factor; ///< 1 or -1

  constexpr explicit Sign(double x) : factor(copySign(1.0, x)) {}

  /// The quadrant of a negative argument is that of its negated multiple.
  constexpr std::int32_t quadrant(std::uint32_t quarterTurns) const {
    return (static_cast<std::int32_t>(factor) * static_cast<std::int32_t>(quarterTurns & 3)) & 3;
  }
};

/// total.hi + term, its error added to total.lo.
QELVM_INLINE void accumulate(DoubleDouble& total, double term) {
  const DoubleDouble sum = fastTwoSum(total.hi, term);
  total = {sum.hi, total.lo + sum.lo};
}

/// a - m pi/4, a below 2^23.
QELVM_INLINE DoubleDouble subtractShort(double a, double m) {
  constexpr double piece1 = 0x1.921fb54p-1;       // 27 bits
  constexpr double piece2 = 0x1.10b4612p-31;      // 28 bits
  constexpr double piece3 = -0x1.676733cp-61;     // 27 bits
  constexpr double piece4 = 0x1.1701b839a252p-89; // together within 2^-142 of pi/4
  const DoubleDouble t2 = fastTwoSum(a - m * piece1, -(m * piece2));
  const DoubleDouble t3 = fastTwoSum(t2.hi, -(m * piece3));
  return {t3.hi, (t2.lo + t3.lo) - m * piece4};
}

/// a - m pi/4, a below 2^30.
QELVM_INLINE DoubleDouble subtractLong(double a, double m) {
  constexpr double piece1 = 0x1.921fap-1;          // 20 bits
  constexpr double piece2 = 0x1.54443p-21;         // 21 bits
  constexpr double piece3 = -0x1.73dcap-44;        // 20 bits
  constexpr double piece4 = -0x1.3b39ap-64;        // 20 bits
  constexpr double piece5 = 0x1.45c06e0e68948p-87; // together within 2^-142 of pi/4
  const DoubleDouble t2 = fastTwoSum(a - m * piece1, -(m * piece2));
  const DoubleDouble t3 = fastTwoSum(t2.hi, -(m * piece3));
  const DoubleDouble t = fastTwoSum(t3.hi, t2.lo + t3.lo);
  const DoubleDouble t4 = fastTwoSum(t.hi, -(m * piece4));
  return {t4.hi, (t.lo + t4.lo) - m * piece5};
}

/// |x| below 2^30, by subtraction.
QELVM_INLINE TrigReduction reduceBySubtraction(double a, Sign sign) {
  constexpr double fourOverPi = 0x1.45f306dc9c883p0;
  const auto octants = static_cast<std::int32_t>(a * fourOverPi);
  const std::uint32_t quarterTurns = nearestQuarterTurn(static_cast<std::uint32_t>(octants));
  const double m = static_cast<double>(static_cast<std::int32_t>(2 * quarterTurns));
  const DoubleDouble t = exponentField(a) < 1023 + 23 ? subtractShort(a, m) : subtractLong(a, m);
  return {fastTwoSum(t.hi * sign.factor, t.lo * sign.factor), sign.quadrant(quarterTurns)};
}

/// |x| of 2^30 and more, by multiplication.
QELVM_INLINE TrigReduction reduceByMultiplication(double a, Sign sign) {
  // |x| 2^-200 = xh + xl, of 26 and 27 bits: all products with the bits of 4/pi are exact. The
  // first entry that matters is number i; what it leaves out in front is a multiple of 8.
  const std::int32_t e = exponentField(a) - 1052;
  const std::int32_t i = (e * 83886) >> 21; // (e - 1) / 25
  const std::int32_t rho = e - 25 * i;
  const double* const bits = fourOverPiBits + i;
  const double x = withExponent(e + 1052 - 200, a);
  const double xh = clearLowBits(x, 27);
  const double xl = x - xh;

  // The leading products, less multiples of 8: of weight 2^12 or more.
  const DoubleDouble leading = fastTwoSum(xl * bits[0], xh * bits[1]);
  DoubleDouble sum = {leading.hi - clearLowBits(leading.hi + leading.lo, 38 - rho), leading.lo};
  accumulate(sum, xl * bits[1]);
  accumulate(sum, xh * bits[2]);

  // The whole octants: below 2^32, and at least 3, to which the product with bits[2] alone comes.
  const double a2 = xl * bits[2];
  const double b3 = xh * bits[3];
  const double total = ((sum.hi + sum.lo) + a2) + b3;
  const std::int32_t fractionBits = 1023 + 52 - exponentField(total);
  const std::uint64_t significand =
      (bitsOf(total) & fractionMask<double>) | (std::uint64_t{1} << 52);
  const auto octants = static_cast<std::uint32_t>(significand >> fractionBits);
  const std::uint32_t quarterTurns = nearestQuarterTurn(octants);

  static constexpr double lessIfOdd[2] = {0.0, -1.0};
  // Less the octants, and less one more where they are odd: a fraction in [-1, 1).
  sum = fastTwoSum(sum.hi - clearLowBits(total, fractionBits), sum.lo);
  sum.hi = sum.hi + lessIfOdd[octants & 1];
  accumulate(sum, a2);
  accumulate(sum, b3);
  accumulate(sum, xl * bits[3]);
  accumulate(sum, xh * bits[4]);
  accumulate(sum, xl * bits[4]);
  accumulate(sum, xh * bits[5]);
  accumulate(sum, xl * bits[5] + xh * bits[6]);
  accumulate(sum, xl * bits[6] + xh * bits[7]);
  const double last = xl * bits[7] + xh * bits[8];

  // Times pi/4, the leading product exact.
  constexpr double quarterPiHi = 0x1.921fb4p-1;               // 24 bits
  constexpr double quarterPiLo = 0x1.4442d18469899p-25;       // the rest
  const double hi = keepLeadingBits(sum.hi + last, 0x1.8p26); // 26 bits
  const double lo = ((sum.hi - hi) + last) + sum.lo;
  const DoubleDouble t = fastTwoSum(hi * quarterPiHi, lo * quarterPiHi + (hi + lo) * quarterPiLo);
  return {{t.hi * sign.factor, t.lo * sign.factor}, sign.quadrant(quarterTurns)};
}

} // namespace

TrigReduction reduceTrigArgument(double x) noexcept {
  const double a = magnitude(x);
  return exponentField(a) < 1023 + 30 ? reduceBySubtraction(a, Sign(x))
                                      : reduceByMultiplication(a, Sign(x));
}

} // namespace qelvm
