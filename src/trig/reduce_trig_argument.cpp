// Three regimes, by the exponent of |x|: below 2^23 and below 2^30 an even multiple m of pi/4 is
// subtracted, pi/4 in four or five pieces so short that all products but the last are exact.
// Above, the bits of 4/pi that matter are multiplied by x (Payne and Hanek): those in front of them
// contribute multiples of 8 octants, those behind too little.
//
// Error: docs/proofs.md has what is proven. It counts next to multiples of pi/2 alone: there, below
// 2^30, by what the pieces lack of pi/4, 2^-143 m: 2^-58.96 of the remainder is the most that was
// seen, at 0x1.b951f1572eba5p+23; above, by the rounded sums of the last products, 2^-121.

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
/// bits of the nearest multiple of pi/2, for a negative x those of the negated multiple.
template <class V>
QELVM_INLINE IntegerOf<V> quadrantOf(const IntegerOf<V>& octants, const V& sign) {
  const IntegerOf<V> quarterTurns = (octants >> 1) + (octants & 1);
  const IntegerOf<V> negative = highWord(sign) >> 31; // -1 or 0
  return ((quarterTurns ^ negative) - negative) & 3;
}

/// total.hi + term, its error added to total.lo.
template <class V>
QELVM_INLINE void accumulate(DoubleDoubleOf<V>& total, const V& term) {
  const DoubleDoubleOf<V> sum = fastTwoSum(total.hi, term);
  total.hi = sum.hi;
  total.lo = total.lo + sum.lo;
}

/// a - m pi/4, a below 2^23.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> subtractShort(const V& a, const V& m) {
  constexpr double piece1 = 0x1.921fb54p-1;       // 27 bits
  constexpr double piece2 = 0x1.10b4612p-31;      // 28 bits
  constexpr double piece3 = -0x1.676733cp-61;     // 27 bits
  constexpr double piece4 = 0x1.1701b839a252p-89; // together within 2^-142 of pi/4
  const DoubleDoubleOf<V> t2 = fastTwoSum(a - m * piece1, -(m * piece2));
  const DoubleDoubleOf<V> t3 = fastTwoSum(t2.hi, -(m * piece3));
  return {t3.hi, (t2.lo + t3.lo) - m * piece4};
}

/// a - m pi/4, a below 2^30.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> subtractLong(const V& a, const V& m) {
  constexpr double piece1 = 0x1.921fap-1;          // 20 bits
  constexpr double piece2 = 0x1.54443p-21;         // 21 bits
  constexpr double piece3 = -0x1.73dcap-44;        // 20 bits
  constexpr double piece4 = -0x1.3b39ap-64;        // 20 bits
  constexpr double piece5 = 0x1.45c06e0e68948p-87; // together within 2^-142 of pi/4
  const DoubleDoubleOf<V> t2 = fastTwoSum(a - m * piece1, -(m * piece2));
  const DoubleDoubleOf<V> t3 = fastTwoSum(t2.hi, -(m * piece3));
  const DoubleDoubleOf<V> t = fastTwoSum(t3.hi, t2.lo + t3.lo);
  const DoubleDoubleOf<V> t4 = fastTwoSum(t.hi, -(m * piece4));
  return {t4.hi, (t.lo + t4.lo) - m * piece5};
}

/// |x| below 2^30, by subtraction.
template <class V>
QELVM_INLINE TrigReductionOf<V> reduceBySubtraction(const V& a, const V& sign) {
  constexpr double fourOverPi = 0x1.45f306dc9c883p0;
  const IntegerOf<V> octants =
      lanewise([](const auto& x) QELVM_ALWAYS_INLINE { return truncated(x); }, a * fourOverPi);
  const V m = toDouble(octants + (octants & 1));
  const auto pieces = lanewise(
      [](const auto& x, const auto& multiple) QELVM_ALWAYS_INLINE {
        return choose(
            magnitudeWithin(x, 0.0, 0x1p23),
            [&]() QELVM_ALWAYS_INLINE { return subtractShort(x, multiple); },
            [&]() QELVM_ALWAYS_INLINE { return subtractLong(x, multiple); });
      },
      a, m);
  const V hi = lanewise([](const auto& t) QELVM_ALWAYS_INLINE { return t.hi; }, pieces);
  const V lo = lanewise([](const auto& t) QELVM_ALWAYS_INLINE { return t.lo; }, pieces);
  return {fastTwoSum(hi * sign, lo * sign), quadrantOf(octants, sign)};
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
      [](const auto& t, const auto& below) QELVM_ALWAYS_INLINE {
        const auto significand = (bitsOf(t) & fractionMask<double>) | (std::uint64_t{1} << 52);
        return lowInteger(significand >> below);
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

constexpr auto isSubtracted(const auto& x) {
  return magnitudeWithin(x, 0.0, 0x1p30);
}

/// One element, or a register: one whose elements are of both kinds goes both ways, each with
/// arguments of its kind.
template <class V>
QELVM_INLINE TrigReductionOf<V> reduceAny(const V& x) {
  const auto subtracted = isSubtracted(x);
  if constexpr (isSimd<V>) {
    const V a = magnitude(x), sign = copySign(1.0, x);
    const TrigReductionOf<V> small =
        reduceBySubtraction(select(subtracted, a, uniform<V>(1.0)), sign);
    const TrigReductionOf<V> large =
        reduceByMultiplication(select(subtracted, uniform<V>(0x1p30), a), sign);
    return {select(subtracted, small.remainder, large.remainder),
            select(subtracted, small.quadrant, large.quadrant)};
  } else {
    const V a = magnitude(x), sign = copySign(1.0, x);
    return subtracted ? reduceBySubtraction(a, sign) : reduceByMultiplication(a, sign);
  }
}

} // namespace

TrigReduction reduceTrigArgument(double x) noexcept {
  return reduceAny(x);
}

template <class V>
TrigReductionOf<V> reduceTrigArguments(const V& x) noexcept {
  const auto isMultiplied = [](const auto& v) QELVM_ALWAYS_INLINE { return !isSubtracted(v); };
  const V sign = copySign(1.0, x);
  if (allLanes(isMultiplied, x))
    return reduceByMultiplication(magnitude(x), sign);
  if constexpr (hasRegisters<V>)
    if (allLanes([](const auto& v) QELVM_ALWAYS_INLINE { return isSubtracted(v); }, x))
      return reduceBySubtraction(magnitude(x), sign);
  const auto first = reduceAny(laneOf<0>(x));
  const auto second = reduceAny(laneOf<1>(x));
  return {{{first.remainder.hi, second.remainder.hi}, {first.remainder.lo, second.remainder.lo}},
          {first.quadrant, second.quadrant}};
}

template TrigReductionOf<Lanes<2>> reduceTrigArguments(const Lanes<2>& x) noexcept;
#ifdef QELVM_REGISTER_DOUBLES
template TrigReductionOf<LaneArray<Simd<double, registerDoubles>, 2>>
reduceTrigArguments(const LaneArray<Simd<double, registerDoubles>, 2>& x) noexcept;
#endif

} // namespace qelvm
