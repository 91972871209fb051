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

/// The quadrant of x, whose sign is that of `sign`, for |x| of that many whole octants: the low two
/// bits of the nearest multiple of pi/2, for a negative x those of the negated multiple. The sign
/// of an argument is a factor: a branch on it no processor could foresee.
template <class V>
QELVM_INLINE IntegerOf<V> quadrantOf(const IntegerOf<V>& octants, const V& sign) {
  return lanewise(
      [](std::int32_t count, double factor) QELVM_ALWAYS_INLINE {
        const auto quarterTurns =
            static_cast<std::int32_t>((static_cast<std::uint32_t>(count) + 1) >> 1 & 3);
        return (static_cast<std::int32_t>(factor) * quarterTurns) & 3;
      },
      octants, sign);
}

/// total.hi + term, its error added to total.lo.
template <class V>
QELVM_INLINE void accumulate(DoubleDoubleOf<V>& total, const V& term) {
  const DoubleDoubleOf<V> sum = fastTwoSum(total.hi, term);
  total.hi = sum.hi;
  total.lo = total.lo + sum.lo;
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
QELVM_INLINE TrigReduction reduceBySubtraction(double a, double sign) {
  constexpr double fourOverPi = 0x1.45f306dc9c883p0;
  const auto octants = static_cast<std::int32_t>(a * fourOverPi);
  const double m = static_cast<double>(octants + (octants & 1));
  const DoubleDouble t = exponentField(a) < 1023 + 23 ? subtractShort(a, m) : subtractLong(a, m);
  return {fastTwoSum(t.hi * sign, t.lo * sign), quadrantOf(octants, sign)};
}

/// |x| of 2^30 and more, by multiplication.
template <class V>
QELVM_INLINE TrigReductionOf<V> reduceByMultiplication(const V& a, const V& sign) {
  using I = IntegerOf<V>;
  // |x| 2^-200 = xh + xl, of 26 and 27 bits: all products with the bits of 4/pi are exact. The
  // first entry that matters is number i; what it leaves out in front is a multiple of 8.
  const I e = exponentField(a) - 1052;
  const I i = (e * 83886) >> 21; // (e - 1) / 25
  const I rho = e - i * 25;
  const auto bits = [&i](int k) QELVM_ALWAYS_INLINE { return lookUp(fourOverPiBits + k, i); };
  const V x = withExponent(e + (1052 - 200), a);
  const V xh = clearLowBits(x, 27);
  const V xl = x - xh;

  // The leading products, less multiples of 8: of weight 2^12 or more.
  const DoubleDoubleOf<V> leading = fastTwoSum(xl * bits(0), xh * bits(1));
  DoubleDoubleOf<V> sum = {leading.hi - clearLowBits(leading.hi + leading.lo, 38 - rho),
                           leading.lo};
  accumulate(sum, xl * bits(1));
  accumulate(sum, xh * bits(2));

  // The whole octants: below 2^32, and at least 3, to which the product with bits(2) alone comes.
  const V a2 = xl * bits(2);
  const V b3 = xh * bits(3);
  const V total = ((sum.hi + sum.lo) + a2) + b3;
  const I fractionBits = (1023 + 52) - exponentField(total);
  const I octants = lanewise(
      [](double t, std::int32_t below) QELVM_ALWAYS_INLINE {
        const std::uint64_t significand =
            (bitsOf(t) & fractionMask<double>) | (std::uint64_t{1} << 52);
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(significand >> below));
      },
      total, fractionBits);

  static constexpr double lessIfOdd[2] = {0.0, -1.0};
  // Less the octants, and less one more where they are odd: a fraction in [-1, 1).
  sum = fastTwoSum(sum.hi - clearLowBits(total, fractionBits), sum.lo);
  sum.hi = sum.hi + lookUp(lessIfOdd, octants & 1);
  accumulate(sum, a2);
  accumulate(sum, b3);
  accumulate(sum, xl * bits(3));
  accumulate(sum, xh * bits(4));
  accumulate(sum, xl * bits(4));
  accumulate(sum, xh * bits(5));
  accumulate(sum, xl * bits(5) + xh * bits(6));
  accumulate(sum, xl * bits(6) + xh * bits(7));
  const V last = xl * bits(7) + xh * bits(8);

  // Times pi/4, the leading product exact.
  constexpr double quarterPiHi = 0x1.921fb4p-1;          // 24 bits
  constexpr double quarterPiLo = 0x1.4442d18469899p-25;  // the rest
  const V hi = keepLeadingBits(sum.hi + last, 0x1.8p26); // 26 bits
  const V lo = ((sum.hi - hi) + last) + sum.lo;
  const DoubleDoubleOf<V> t =
      fastTwoSum(hi * quarterPiHi, lo * quarterPiHi + (hi + lo) * quarterPiLo);
  return {{t.hi * sign, t.lo * sign}, quadrantOf(octants, sign)};
}

constexpr bool isMultiplied(double x) {
  return exponentField(x) >= 1023 + 30;
}

} // namespace

TrigReduction reduceTrigArgument(double x) noexcept {
  const double a = magnitude(x), sign = copySign(1.0, x);
  return isMultiplied(x) ? reduceByMultiplication(a, sign) : reduceBySubtraction(a, sign);
}

TrigReductionOf<Lanes<2>> reduceTrigArguments(const Lanes<2>& x) noexcept {
  if (allLanes(isMultiplied, x))
    return reduceByMultiplication(magnitude(x), copySign(Lanes<2>{1.0, 1.0}, x));
  const TrigReduction first = reduceTrigArgument(laneOf<0>(x));
  const TrigReduction second = reduceTrigArgument(laneOf<1>(x));
  return {{{first.remainder.hi, second.remainder.hi}, {first.remainder.lo, second.remainder.lo}},
          {first.quadrant, second.quadrant}};
}

} // namespace qelvm
