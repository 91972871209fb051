// Floating-point building blocks: bit access, exact sums and splits, rounding by a shifter, scaling
// by powers of two. All of them work on one value and on Lanes<N>.
//
// They are exact only while every operation is a double operation rounded once, to nearest: no
// wider evaluation, no fused multiply-add, no reassociation. The build sets the flags; what a
// compiler admits about itself is checked here.
#pragma once

#include "core/lanes.hpp"

#include <bit>
#include <cfloat>
#include <cstdint>
#include <limits>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error "qelvm needs IEEE arithmetic: build without -ffast-math and -ffinite-math-only"
#endif
static_assert(FLT_EVAL_METHOD == 0, "qelvm needs plain double evaluation (32-bit x86: SSE2)");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);

namespace qelvm {

// ---- bits ---------------------------------------------------------------------------------------

/// Width, exponent mask and bias of an element type.
template <class T>
struct Format;

template <>
struct Format<double> {
  using Bits = std::uint64_t;
  static constexpr int fractionBits = 52;
  static constexpr std::int32_t exponentMask = 0x7FF;
  static constexpr std::int32_t bias = 1023;
};

template <>
struct Format<float> {
  using Bits = std::uint32_t;
  static constexpr int fractionBits = 23;
  static constexpr std::int32_t exponentMask = 0xFF;
  static constexpr std::int32_t bias = 127;
};

QELVM_INLINE constexpr std::uint64_t bitsOf(double x) {
  return std::bit_cast<std::uint64_t>(x);
}
QELVM_INLINE constexpr std::uint32_t bitsOf(float x) {
  return std::bit_cast<std::uint32_t>(x);
}
/// The double of a pattern. 32-bit x86 holds the pattern in two registers; stored as words and
/// loaded as a double it would wait for the stores, so there the words go into the vector register
/// directly.
QELVM_INLINE constexpr double fromBits(std::uint64_t bits) {
#ifdef __i386__
  if (!std::is_constant_evaluated()) {
    using Words [[gnu::vector_size(16)]] = std::int32_t;
    using Doubles [[gnu::vector_size(16)]] = double;
    const Words words = {static_cast<std::int32_t>(bits), static_cast<std::int32_t>(bits >> 32), 0,
                         0};
    return reinterpret_cast<Doubles>(words)[0];
  }
#endif
  return std::bit_cast<double>(bits);
}
QELVM_INLINE constexpr float fromBits(std::uint32_t bits) {
  return std::bit_cast<float>(bits);
}

template <class T>
inline constexpr auto signMask = typename Format<T>::Bits{1} << (8 * sizeof(T) - 1);
template <class T>
inline constexpr auto fractionMask = (typename Format<T>::Bits{1} << Format<T>::fractionBits) - 1;

template <class T>
QELVM_INLINE constexpr bool signBit(T x) {
  return (bitsOf(x) & signMask<T>) != 0;
}
template <class T>
QELVM_INLINE constexpr bool isZero(T x) {
  return (bitsOf(x) & ~signMask<T>) == 0;
}
template <class T>
QELVM_INLINE constexpr bool fractionIsZero(T x) {
  return (bitsOf(x) & fractionMask<T>) == 0;
}

/// The biased exponent field, 0 to 0x7FF (0xFF for a float).
template <class V>
QELVM_INLINE constexpr auto exponentField(const V& x) {
  return lanewise(
      []<class T>(T value) QELVM_ALWAYS_INLINE {
        return static_cast<std::int32_t>(bitsOf(value) >> Format<T>::fractionBits) &
               Format<T>::exponentMask;
      },
      x);
}

/// Infinity or NaN: the exponent field is all ones.
template <class T>
QELVM_INLINE constexpr bool isInfiniteOrNan(T x) {
  return exponentField(x) == Format<T>::exponentMask;
}

/// By the bits: raises nothing for a signalling NaN, and no compiler option can assume it away.
template <class T>
QELVM_INLINE constexpr bool isNan(T x) {
  return (bitsOf(x) & ~signMask<T>) > bitsOf(std::numeric_limits<T>::infinity());
}

/// The leading fraction bit, which a quiet NaN has.
template <class T>
inline constexpr auto quietBit = typename Format<T>::Bits{1} << (Format<T>::fractionBits - 1);
/// What an invalid operation gives: the negative default NaN, on every processor.
template <class T>
inline constexpr T defaultNan = fromBits(signMask<T> | bitsOf(std::numeric_limits<T>::infinity()) |
                                         quietBit<T>);

/// The NaN of an element with these arguments, in the order of the argument list: the first of them
/// that is a NaN, made quiet; where none is, that of an invalid operation.
template <class T>
QELVM_INLINE constexpr T nanResult() {
  return defaultNan<T>;
}
template <class T, class... Others>
QELVM_INLINE constexpr T nanResult(T argument, Others... others) {
  return isNan(argument) ? fromBits(bitsOf(argument) | quietBit<T>) : nanResult<T>(others...);
}

/// `pattern` with its exponent field replaced by the low 11 bits of `field`. The pattern 1.0 or 0.0
/// and field = k + 1023 give 2^k, for -1022 <= k <= 1023.
template <class I, class V>
QELVM_INLINE constexpr auto withExponent(const I& field, const V& pattern) {
  return lanewise(
      [](std::int32_t e, double p) QELVM_ALWAYS_INLINE {
        constexpr std::uint64_t mask = std::uint64_t{0x7FF} << 52;
        return fromBits((bitsOf(p) & ~mask) | (static_cast<std::uint64_t>(e & 0x7FF) << 52));
      },
      field, pattern);
}

/// |x|, and `value` with the sign of `sign`, by their bits alone.
template <class V>
QELVM_INLINE constexpr auto magnitude(const V& x) {
  return lanewise(
      []<class T>(T v) QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) & ~signMask<T>); }, x);
}
template <class V, class S>
QELVM_INLINE constexpr auto copySign(const V& value, const S& sign) {
  return lanewise(
      []<class T>(T v, T s) QELVM_ALWAYS_INLINE {
        return fromBits((bitsOf(v) & ~signMask<T>) | (bitsOf(s) & signMask<T>));
      },
      value, sign);
}

/// `value`, negated where `sign` is negative.
template <class V, class S>
QELVM_INLINE constexpr auto flipSign(const V& value, const S& sign) {
  return lanewise(
      [](double v, double s)
          QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) ^ (bitsOf(s) & signMask<double>)); },
      value, sign);
}
/// `value` where `sign` is negative, else +0.
template <class V, class S>
QELVM_INLINE constexpr auto whereNegative(const V& value, const S& sign) {
  return lanewise(
      [](double v, double s) QELVM_ALWAYS_INLINE {
        const auto mask = static_cast<std::uint64_t>(static_cast<std::int64_t>(bitsOf(s)) >> 63);
        return fromBits(bitsOf(v) & mask);
      },
      value, sign);
}

/// `whereZero` where the index is zero, else `value`, by the bits: no branch.
template <class I, class V>
QELVM_INLINE constexpr V selectWhereZero(const I& index, const V& whereZero, const V& value) {
  return lanewise(
      [](std::int32_t i, double a, double b) QELVM_ALWAYS_INLINE {
        const std::uint64_t mask = std::uint64_t{0} - (i != 0);
        return fromBits(bitsOf(a) ^ ((bitsOf(a) ^ bitsOf(b)) & mask));
      },
      index, whereZero, value);
}

/// `value` with the low `count` bits of its pattern cleared.
template <class V, class I>
QELVM_INLINE constexpr auto clearLowBits(const V& value, const I& count) {
  return lanewise([](double v, std::int32_t n)
                      QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) >> n << n); },
                  value, count);
}

/// x 2^n by an addition to the exponent field, exact for normal x and a normal result.
template <class V, class I>
QELVM_INLINE constexpr V addToExponent(const V& x, const I& n) {
  return lanewise(
      [](double v, std::int32_t e) QELVM_ALWAYS_INLINE {
        return fromBits(bitsOf(v) + (static_cast<std::uint64_t>(e) << 52));
      },
      x, n);
}

/// x = m 2^k with lowest <= m < 2 lowest, for normal positive x.
template <class V>
struct SignificandAndExponent {
  V m;
  IntegerOf<V> k;
};
template <class V>
QELVM_INLINE constexpr SignificandAndExponent<V> splitExponent(const V& x, double lowest) {
  const auto aboveLowest =
      lanewise([=](double v) QELVM_ALWAYS_INLINE { return bitsOf(v) - bitsOf(lowest); }, x);
  return {lanewise(
              [](double v, std::uint64_t d)
                  QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) - (d & ~fractionMask<double>)); },
              x, aboveLowest),
          lanewise(
              [](std::uint64_t d) QELVM_ALWAYS_INLINE {
                return static_cast<std::int32_t>(static_cast<std::int64_t>(d) >> 52);
              },
              aboveLowest)};
}

/// The low and the high 32-bit word of a double, as signed integers.
template <class V>
QELVM_INLINE constexpr auto lowWord(const V& x) {
  return lanewise([](double v) QELVM_ALWAYS_INLINE { return static_cast<std::int32_t>(bitsOf(v)); },
                  x);
}
template <class V>
QELVM_INLINE constexpr auto highWord(const V& x) {
  return lanewise(
      [](double v) QELVM_ALWAYS_INLINE { return static_cast<std::int32_t>(bitsOf(v) >> 32); }, x);
}

/// An integer as a double, exactly.
template <class I>
QELVM_INLINE constexpr auto toDouble(const I& integer) {
  return lanewise([](std::int32_t i) QELVM_ALWAYS_INLINE { return static_cast<double>(i); },
                  integer);
}

/// The smallest positive element that is a normal double once it is widened: every positive float
/// is.
template <class Element>
inline constexpr Element smallestWidenedNormal = sizeof(Element) < sizeof(double)
                                                     ? std::numeric_limits<Element>::denorm_min()
                                                     : std::numeric_limits<Element>::min();

/// True when lowest <= |x| < limit, both positive and finite: one unsigned comparison. The cheap
/// test of a kernel for its main range.
template <class T>
QELVM_INLINE constexpr bool magnitudeWithin(T x, T lowest, T limit) {
  return (bitsOf(x) << 1) - (bitsOf(lowest) << 1) < (bitsOf(limit) << 1) - (bitsOf(lowest) << 1);
}

/// True when lowest <= x < limit, both positive; false for every negative x and every NaN.
template <class T>
QELVM_INLINE constexpr bool positiveWithin(T x, T lowest, T limit) {
  return bitsOf(x) - bitsOf(lowest) < bitsOf(limit) - bitsOf(lowest);
}

/// The least element not below a positive limit: an element lies below one if and only if it lies
/// below the other.
template <class Element>
consteval Element leastNotBelow(double limit) {
  const auto nearest = static_cast<Element>(limit);
  return static_cast<double>(nearest) < limit ? std::bit_cast<Element>(bitsOf(nearest) + 1)
                                              : nearest;
}

// ---- tables -------------------------------------------------------------------------------------

/// Stands before a table that is a template on the export: keeps compilers from merging the copies
/// of several exports into one.
#define QELVM_TABLE [[gnu::used]] inline constexpr

/// A table whose entries are a rule that compilers evaluate exactly.
template <int N>
struct Table {
  double entry[N];
};
template <int N>
consteval Table<N> tabulate(double (*rule)(int)) {
  Table<N> table{};
  for (int i = 0; i < N; ++i)
    table.entry[i] = rule(i);
  return table;
}

/// Entry `index` of a table of doubles, or one field of row `index` of a table of records.
template <class I>
QELVM_INLINE constexpr auto lookUp(const double* table, const I& index) {
  return lanewise([table](std::int32_t i)
                      QELVM_ALWAYS_INLINE { return table[static_cast<std::uint32_t>(i)]; },
                  index);
}
template <class Row, class Field, class I>
QELVM_INLINE constexpr auto lookUp(const Row* table, const I& index, Field Row::*field) {
  return lanewise([=](std::int32_t i)
                      QELVM_ALWAYS_INLINE { return table[static_cast<std::uint32_t>(i)].*field; },
                  index);
}

// ---- polynomials --------------------------------------------------------------------------------

/// c[0] + x (c[1] + x (c[2] + ...)), from the innermost coefficient outwards, each product and each
/// sum rounded.
template <class V, int N>
QELVM_INLINE constexpr V horner(const double (&c)[N], const V& x) {
  return [&]<int... I>(std::integer_sequence<int, I...>) QELVM_ALWAYS_INLINE {
    V sum = x * c[N - 1] + c[N - 2];
    ((sum = sum * x + c[N - 3 - I]), ...);
    return sum;
  }
  (std::make_integer_sequence<int, N - 2>{});
}

// ---- exact arithmetic ---------------------------------------------------------------------------

/// The unevaluated sum hi + lo, with hi = fl(hi + lo) where it is normalised.
template <class V>
struct DoubleDoubleOf {
  V hi;
  V lo;
};
using DoubleDouble = DoubleDoubleOf<double>;

/// Split constants of splitHiLo.
inline constexpr double split26Bits = 0x1.0000002p27; // 2^27 + 1: both parts at most 26 bits
inline constexpr double split26BitsShort = 0x1p27;    // 2^27: hi at most 26 bits
inline constexpr double split31Bits = 0x1.000004p22;  // 2^22 + 1: hi at most 31 bits

/// hi + lo = x exactly, hi short, while splitter times x is finite.
template <class V>
QELVM_INLINE constexpr DoubleDoubleOf<V> splitHiLo(const V& x, double splitter) {
  const V t = splitter * x;
  const V hi = t - (t - x);
  return {hi, x - hi};
}

/// hi = fl(a + b) and lo its error, hi + lo = a + b exactly, for |a| >= |b|. Here and below one of
/// the two may be a constant, the same for every lane.
template <class A, class B>
QELVM_INLINE constexpr auto fastTwoSum(const A& a, const B& b) {
  using V = decltype(a + b);
  const V s = a + b;
  return DoubleDoubleOf<V>{s, b + (a - s)};
}

/// hi = fl(a + b) and lo its error, hi + lo = a + b exactly, in either order of magnitude.
template <class A, class B>
QELVM_INLINE constexpr auto twoSum(const A& a, const B& b) {
  using V = decltype(a + b);
  const V s = a + b;
  const V d = a - s;
  const V w = s + d;
  return DoubleDoubleOf<V>{s, (b + d) + (a - w)};
}

/// The product of two double-words whose hi parts have at most 26 bits: hi is exact, and the error
/// of lo that of its own roundings.
template <class A, class V>
QELVM_INLINE constexpr DoubleDoubleOf<V> productOfShort(const DoubleDoubleOf<A>& a,
                                                        const DoubleDoubleOf<V>& b) {
  return {a.hi * b.hi, (a.lo * b.lo + a.hi * b.lo) + a.lo * b.hi};
}

// ---- rounding by a shifter ----------------------------------------------------------------------

/// 1.5 * 2^52: rounds to integers.
inline constexpr double integerShifter = 0x1.8p52;

/// x + shifter, and x rounded to a multiple of the shifter's last place, ties to even. The low word
/// of `sum` holds the multiple in two's complement: the integer itself with integerShifter.
template <class V>
struct Rounded {
  V sum;
  V value;
};

/// Rounds x by a shifter 1.5 * 2^k to a multiple of 2^(k - 52); exact for |x| < 2^(k - 1).
template <class V>
QELVM_INLINE constexpr Rounded<V> roundShifter(const V& x, double shifter) {
  const V sum = x + shifter;
  return {sum, sum - shifter};
}

/// x with its leading bits kept: rounded to a multiple of the last place of x + factor * x. A
/// factor of 1.5 * 2^32 leaves at most 21 significant bits.
template <class V>
QELVM_INLINE constexpr V keepLeadingBits(const V& x, double factor) {
  const V shifter = x * factor;
  return (x + shifter) - shifter;
}

// ---- scaling by powers of two -------------------------------------------------------------------

/// r * 2^m by one multiplication, exact for 1 <= m + 1023 <= 0x7FE and a normal result.
template <class V, class I>
QELVM_INLINE constexpr V scaleByPowerOfTwo(const V& r, const I& m) {
  return r * withExponent(m + 1023, 1.0);
}

/// The scale 2^(m + 60) that keeps a result below the normal range a normal double, and the factor
/// 2^-60 that then rounds it once.
template <class I>
QELVM_INLINE constexpr auto denormalScale(const I& m) {
  return withExponent(m - 965, 1.0);
}
inline constexpr double denormalUnscale = 0x1p-60;

/// r * 2^m for r in [0.5, 4) and any m from -1083 to 1024, rounded once where the result is
/// subnormal and exact elsewhere.
template <class V, class I>
QELVM_INLINE constexpr V scaleTwoStep(const V& r, const I& m) {
  return lanewise(
      [](double v, std::int32_t exponent) QELVM_ALWAYS_INLINE {
        if (exponent < -1022)
          return (v * denormalScale(exponent)) * denormalUnscale;
        if (exponent > 1023)
          return (v * 0x1p1023) * 2.0;
        return scaleByPowerOfTwo(v, exponent);
      },
      r, m);
}

/// A subnormal operand (or zero) brought into the normal range by an exact power of two.
template <class V>
struct Prescaled {
  V x;
  IntegerOf<V> adjustment; ///< what to add to the result's exponent: 0 where x was normal
};

inline constexpr double twoTo200 = 0x1p200;
inline constexpr double twoToMinus200 = 0x1p-200;

/// Multiplies x by `scale` where its exponent field is zero; `adjustment` is then the given one.
template <class V>
QELVM_INLINE constexpr Prescaled<V> prescaleDenormal(const V& x, double scale,
                                                     std::int32_t adjustment) {
  const auto field = exponentField(x);
  return {
      lanewise([=](double v, std::int32_t e) QELVM_ALWAYS_INLINE { return e == 0 ? v * scale : v; },
               x, field),
      lanewise([=](std::int32_t e) QELVM_ALWAYS_INLINE { return e == 0 ? adjustment : 0; }, field)};
}

/// (x.hi + x.lo) 2^-200 where that is subnormal: the leading 26 bits scale exactly, so the only
/// rounding that counts is that of the sum.
QELVM_INLINE double roundedOnceTimes2ToMinus200(const DoubleDouble& x) {
  const DoubleDouble leading = splitHiLo(x.hi, split26Bits);
  return leading.hi * twoToMinus200 + (x.lo + leading.lo) * twoToMinus200;
}

// ---- arithmetic done for its exception flags ----------------------------------------------------

/// `value`, unknown to the compiler: an operation on it happens at run time, where it stands, and
/// raises its exception flags.
QELVM_INLINE double atRunTime(double value) {
  const volatile double hidden = value;
  return hidden;
}

inline constexpr double largestDouble = 0x1.fffffffffffffp1023;
inline constexpr double tinyDouble = 0x1.0000000000001p-1022; // the second smallest normal double

/// The default results of exceptional elements, with the flags that forming them raises.
QELVM_INLINE double overflowed() { // +infinity; overflow, inexact
  const double x = atRunTime(largestDouble);
  return x * x;
}
QELVM_INLINE double underflowed() { // +0; underflow, inexact
  const double x = atRunTime(tinyDouble);
  return x * x;
}
QELVM_INLINE double dividedByZero(double x) { // x / +0; divide-by-zero
  return x / atRunTime(0.0);
}
QELVM_INLINE double invalid() { // a NaN; invalid
  return dividedByZero(atRunTime(0.0));
}

/// x itself, for |x| at most half the type's epsilon; inexact unless x is zero, and underflow where
/// x is subnormal in T.
template <class T>
QELVM_INLINE T unchangedButInexact(T x) {
  const T a = magnitude(x);
  return copySign(exponentField(x) == 0 ? a + a * a : a * (T{1} + a), x);
}

} // namespace qelvm
