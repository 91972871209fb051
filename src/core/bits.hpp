// The bits of elements: fields, signs, NaNs, words; tests of ranges by unsigned comparisons.
#pragma once

#include "core/simd.hpp"

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

// What a register has functions of these names for (simd.hpp): on them the others rest.

/// The low half of a pattern as a signed integer, and an integer as the low half of a pattern,
/// whose high half may be anything.
QELVM_INLINE constexpr std::int32_t lowInteger(std::uint64_t bits) {
  return static_cast<std::int32_t>(bits);
}
QELVM_INLINE constexpr std::int32_t lowInteger(std::uint32_t bits) {
  return static_cast<std::int32_t>(bits);
}
QELVM_INLINE constexpr std::uint64_t lowBits(std::int32_t i) {
  return static_cast<std::uint64_t>(i);
}
/// The signed number in the upper 12 bits.
QELVM_INLINE constexpr std::int32_t signedExponent(std::uint64_t bits) {
  return static_cast<std::int32_t>(static_cast<std::int64_t>(bits) >> 52);
}
/// All ones where the sign bit is set, where the integer is not zero; else zeros.
QELVM_INLINE constexpr std::uint64_t fillWhereNegative(std::uint64_t bits) {
  return static_cast<std::uint64_t>(static_cast<std::int64_t>(bits) >> 63);
}
QELVM_INLINE constexpr std::uint64_t fillWhereNonzero(std::int32_t i) {
  return std::uint64_t{0} - (i != 0);
}
QELVM_INLINE constexpr double exactDouble(std::int32_t i) {
  return static_cast<double>(i);
}
/// A number from 0 to below 2^31 without its fraction.
QELVM_INLINE constexpr std::int32_t truncated(double x) {
  return static_cast<std::int32_t>(x);
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
  using F = Format<ScalarOf<V>>;
  return lanewise(
      [](const auto& value) QELVM_ALWAYS_INLINE {
        return lowInteger(bitsOf(value) >> F::fractionBits) & F::exponentMask;
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
      [](const auto& e, const auto& p) QELVM_ALWAYS_INLINE {
        constexpr std::uint64_t mask = std::uint64_t{0x7FF} << 52;
        return fromBits((bitsOf(p) & ~mask) | (lowBits(e & 0x7FF) << 52));
      },
      field, pattern);
}

/// |x|, and `value` with the sign of `sign`, by their bits alone.
template <class V>
QELVM_INLINE constexpr auto magnitude(const V& x) {
  return lanewise([](const auto& v)
                      QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) & ~signMask<ScalarOf<V>>); },
                  x);
}
template <class V, class S>
QELVM_INLINE constexpr auto copySign(const V& value, const S& sign) {
  return lanewise(
      [](const auto& v, const auto& s) QELVM_ALWAYS_INLINE {
        constexpr auto mask = signMask<ScalarOf<S>>;
        return fromBits((bitsOf(v) & ~mask) | (bitsOf(s) & mask));
      },
      value, sign);
}

/// `value`, negated where `sign` is negative.
template <class V, class S>
QELVM_INLINE constexpr auto flipSign(const V& value, const S& sign) {
  return lanewise(
      [](const auto& v, const auto& s)
          QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) ^ (bitsOf(s) & signMask<double>)); },
      value, sign);
}
/// `value` where `sign` is negative, else +0.
template <class V, class S>
QELVM_INLINE constexpr auto whereNegative(const V& value, const S& sign) {
  return lanewise(
      [](const auto& v, const auto& s)
          QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) & fillWhereNegative(bitsOf(s))); },
      value, sign);
}

/// `whereZero` where the index is zero, else `value`, by the bits: no branch.
template <class I, class V>
QELVM_INLINE constexpr V selectWhereZero(const I& index, const V& whereZero, const V& value) {
  return lanewise(
      [](const auto& i, const auto& a, const auto& b) QELVM_ALWAYS_INLINE {
        return fromBits(bitsOf(a) ^ ((bitsOf(a) ^ bitsOf(b)) & fillWhereNonzero(i)));
      },
      index, whereZero, value);
}

/// `value` with the bits of a mask, the others cleared.
template <class V, class M>
QELVM_INLINE constexpr V keepBits(const V& value, const M& mask) {
  return lanewise([](const auto& v, const auto& m)
                      QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) & m); },
                  value, mask);
}

/// `value` with the low `count` bits of its pattern cleared.
template <class V, class I>
QELVM_INLINE constexpr auto clearLowBits(const V& value, const I& count) {
  return lanewise([](const auto& v, const auto& n)
                      QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) >> n << n); },
                  value, count);
}

/// x 2^n by an addition to the exponent field, exact for normal x and a normal result.
template <class V, class I>
QELVM_INLINE constexpr V addToExponent(const V& x, const I& n) {
  return lanewise([](const auto& v, const auto& e)
                      QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) + (lowBits(e) << 52)); },
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
      lanewise([=](const auto& v) QELVM_ALWAYS_INLINE { return bitsOf(v) - bitsOf(lowest); }, x);
  return {
      lanewise(
          [](const auto& v, const auto& d)
              QELVM_ALWAYS_INLINE { return fromBits(bitsOf(v) - (d & ~fractionMask<double>)); },
          x, aboveLowest),
      lanewise([](const auto& d) QELVM_ALWAYS_INLINE { return signedExponent(d); }, aboveLowest)};
}

/// The low and the high 32-bit word of a double, as signed integers.
template <class V>
QELVM_INLINE constexpr auto lowWord(const V& x) {
  return lanewise([](const auto& v) QELVM_ALWAYS_INLINE { return lowInteger(bitsOf(v)); }, x);
}
template <class V>
QELVM_INLINE constexpr auto highWord(const V& x) {
  return lanewise([](const auto& v) QELVM_ALWAYS_INLINE { return lowInteger(bitsOf(v) >> 32); }, x);
}

/// An integer as a double, exactly.
template <class I>
QELVM_INLINE constexpr auto toDouble(const I& integer) {
  return lanewise([](const auto& i) QELVM_ALWAYS_INLINE { return exactDouble(i); }, integer);
}

/// The smallest positive element that is a normal double once it is widened: every positive float
/// is.
template <class Element>
inline constexpr Element smallestWidenedNormal = sizeof(Element) < sizeof(double)
                                                     ? std::numeric_limits<Element>::denorm_min()
                                                     : std::numeric_limits<Element>::min();

/// `whereTrue()` or `elsewhere()`. Of a register both are computed, and neither may raise a flag
/// for the elements of the other.
template <class Test, class F, class G>
QELVM_INLINE constexpr auto choose(const Test& test, const F& whereTrue, const G& elsewhere) {
  if constexpr (std::is_same_v<Test, bool>)
    return test ? whereTrue() : elsewhere();
  else
    return select(test, whereTrue(), elsewhere());
}
QELVM_INLINE constexpr bool isNegative(double x) {
  return signBit(x);
}

// ---- ranges: the tests of a kernel, of one element or of a register
// ------------------------------ (of the elements widened: the limits, exactly representable, are
// widened too)

/// An element as a double; those of a register are.
template <class X>
QELVM_INLINE constexpr auto widened(const X& x) {
  if constexpr (isSimd<X>)
    return x;
  else
    return static_cast<double>(x);
}

/// The pattern of a limit, as x has its own.
template <class X, class T>
QELVM_INLINE constexpr auto limitBits(T limit) {
  return bitsOf(static_cast<ScalarOf<X>>(limit));
}

/// True when lowest <= |x| < limit, both positive and finite: one unsigned comparison. The cheap
/// test of a kernel for its main range.
template <class X, class T>
QELVM_INLINE constexpr auto magnitudeWithin(const X& x, T lowest, T limit) {
  const auto low = limitBits<X>(lowest) << 1;
  return (bitsOf(x) << 1) - low < (limitBits<X>(limit) << 1) - low;
}

/// True when lowest <= x < limit, both positive; false for every negative x and every NaN.
template <class X, class T>
QELVM_INLINE constexpr auto positiveWithin(const X& x, T lowest, T limit) {
  return bitsOf(x) - limitBits<X>(lowest) < limitBits<X>(limit) - limitBits<X>(lowest);
}

/// True when the patterns differ.
template <class X, class T>
QELVM_INLINE constexpr auto differsFrom(const X& x, T value) {
  return bitsOf(x) != limitBits<X>(value);
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
