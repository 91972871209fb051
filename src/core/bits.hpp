// The bits of elements: fields, signs, NaNs, words; tests of ranges by unsigned comparisons.
#pragma once

#include "core/lanes.hpp"

#include <bit>
#include <cstdint>
#include <limits>

namespace qelvm {

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

} // namespace qelvm
