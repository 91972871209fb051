// Short roads: floats over SIMD registers. A float result is the double result rounded, and only 24
// bits of that count. A short road computes the double approximately, with fused multiply-add, to
// 2^-37 or better. Where no middle between two floats lies within the distance that the two doubles
// can have, both round to the same float; the few other elements take the full kernel. So the
// results are the full kernel's, bit for bit, and nothing but speed depends on a short road.
//
// A short road is a type named ...ShortRoad with these members, all but the constructor static or
// const; a kernel of floats names its own as `ShortRoad`:
//
//   double distance            of its results from the full kernel's, relative: an upper bound
//                              (distanceOf)
//   float inside[]             arguments of the domain, one for each source, which stand in for
//                              others. Where the full kernel raises no inexact for some of the
//                              domain, the road raises none for these
//   auto isOrdinary(x...)      its domain, of registers of floats, or of floats widened. Results
//                              are normal floats, unless they do not stand
//   V compute(V x...)          the approximation, over registers; raises no flag but inexact. With
//                              two destinations a TwoResults<V>; where only the result shows
//                              whether it stands, an IfStanding<V>
//   constexpr int registers    registers in flight, where four are not the best
//
// and, where it has a wider domain with a longer way, isInWiderRange(x...) and computeWider(x...),
// for blocks that are not ordinary. With the member `exact` it computes correctly rounded results
// over registers of floats, with just the flags of the full kernel. A scalar argument goes to its
// constructor, once a call.
#pragma once

#include "core/bits.hpp"
#include "core/exact_arithmetic.hpp"
#include "core/tables.hpp"

#include <cstdint>

namespace qelvm {

/// Only in builds over registers of four doubles or more, which have fused multiply-add; and not in
/// those that measure what short roads gain.
#ifdef QELVM_FULL_ROADS
inline constexpr bool hasShortRoads = false;
#else
inline constexpr bool hasShortRoads = registerDoubles >= 4;
#endif

// ---- arithmetic that only short roads may use ---------------------------------------------------

/// a b + c, rounded once.
template <int N>
QELVM_INLINE Simd<double, N> fusedProduct(const Simd<double, N>& a, const Simd<double, N>& b,
                                          const Simd<double, N>& c) {
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm512_fmadd_pd(reinterpret_cast<__m512d>(a.raw), reinterpret_cast<__m512d>(b.raw),
                        reinterpret_cast<__m512d>(c.raw)));
#endif
#if defined(__AVX2__) && defined(__FMA__)
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm256_fmadd_pd(reinterpret_cast<__m256d>(a.raw), reinterpret_cast<__m256d>(b.raw),
                        reinterpret_cast<__m256d>(c.raw)));
#endif
  auto sum = c.raw;
  for (int i = 0; i < N; ++i)
    sum[i] = __builtin_fma(a.raw[i], b.raw[i], c.raw[i]);
  return sum;
}

/// A register, or a number for all of its elements.
template <class R>
QELVM_INLINE R spread(const R& x) {
  return x;
}
template <class R>
QELVM_INLINE R spread(double x) {
  return uniform<R>(x);
}
template <class A, class... Others>
struct FirstRegister {
  using Type = std::conditional_t<isSimd<A>, A, typename FirstRegister<Others...>::Type>;
};
template <class A>
struct FirstRegister<A> {
  using Type = A;
};

/// The same of registers, several, or of numbers among them.
template <class A, class B, class C>
QELVM_INLINE auto fused(const A& a, const B& b, const C& c) {
  return lanewise(
      []<class X, class Y, class Z>(const X& x, const Y& y, const Z& z) QELVM_ALWAYS_INLINE {
        using R = typename FirstRegister<X, Y, Z>::Type;
        return fusedProduct(spread<R>(x), spread<R>(y), spread<R>(z));
      },
      a, b, c);
}

/// c[0] + x (c[1] + x (c[2] + ... )), each step rounded once; long ones as two chains, of the even
/// and of the odd powers, so that they take half the time.
template <class V, int N>
QELVM_INLINE V fusedHorner(const double (&c)[N], const V& x) {
  constexpr int chains = N < 8 ? 1 : 2;
  const auto chain = [&](auto first, const V& power) QELVM_ALWAYS_INLINE {
    constexpr int last = first + (N - 1 - first) / chains * chains;
    return withIndices<(last - first) / chains - 1>([&](auto... i) QELVM_ALWAYS_INLINE {
      V sum = fused(power, c[last], c[last - chains]);
      ((sum = fused(sum, power, c[last - chains * (2 + i)])), ...);
      return sum;
    });
  };
  if constexpr (chains == 1) {
    return chain(std::integral_constant<int, 0>{}, x);
  } else {
    const V square = x * x;
    return fused(x, chain(std::integral_constant<int, 1>{}, square),
                 chain(std::integral_constant<int, 0>{}, square));
  }
}

/// 1/sqrt(x) for normal floats x > 0, off by this of itself at most (the processors' manuals say
/// so).
inline constexpr double inverseRootEstimateError = 0x1.8p-12;
template <int N>
QELVM_INLINE Simd<double, N> inverseRootEstimateInstruction(const Simd<double, N>& x) {
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm512_rsqrt14_pd(reinterpret_cast<__m512d>(x.raw)));
#endif
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm256_cvtps_pd(_mm_rsqrt_ps(_mm256_cvtpd_ps(reinterpret_cast<__m256d>(x.raw)))));
#endif
  return 1.0 / squareRootInstruction(x);
}
template <class V>
QELVM_INLINE V inverseRootEstimate(const V& x) {
  return lanewise(
      [](const auto& v) QELVM_ALWAYS_INLINE { return inverseRootEstimateInstruction(v); }, x);
}

template <int N>
QELVM_INLINE Simd<double, N> selectBySignInstruction(const Simd<double, N>& sign,
                                                     const Simd<double, N>& whereNegative,
                                                     const Simd<double, N>& elsewhere) {
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(_mm256_blendv_pd(
        reinterpret_cast<__m256d>(elsewhere.raw), reinterpret_cast<__m256d>(whereNegative.raw),
        reinterpret_cast<__m256d>(sign.raw)));
#endif
  return select(isNegative(sign), whereNegative, elsewhere);
}

/// The low words of the elements of two registers, in some order.
template <int N>
QELVM_INLINE Simd<std::uint32_t, 2 * N> lowWords(const Simd<double, N>& a,
                                                 const Simd<double, N>& b) {
  // (As floats: one instruction, where words would take three.)
  using Floats = typename RawVectors<N>::Floats;
  const auto x = reinterpret_cast<Floats>(a.raw), y = reinterpret_cast<Floats>(b.raw);
  if constexpr (N == 4)
    return bitsOf(Simd<float, 8>(__builtin_shufflevector(x, y, 0, 2, 8, 10, 4, 6, 12, 14)));
  else
    return bitsOf(Simd<float, 16>(
        __builtin_shufflevector(x, y, 0, 2, 16, 18, 4, 6, 20, 22, 8, 10, 24, 26, 12, 14, 28, 30)));
}

/// The smaller one; `whereNegative` where the sign bit is set, else `elsewhere`.
template <int N>
QELVM_INLINE Simd<double, N> smallerOf(const Simd<double, N>& a, const Simd<double, N>& b) {
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm512_min_pd(reinterpret_cast<__m512d>(a.raw), reinterpret_cast<__m512d>(b.raw)));
#endif
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm256_min_pd(reinterpret_cast<__m256d>(a.raw), reinterpret_cast<__m256d>(b.raw)));
#endif
  return select(isNegative(a - b), a, b);
}
template <class V, class W>
QELVM_INLINE V smaller(const V& a, const W& b) {
  return lanewise([]<class R>(const R& x, const auto& y)
                      QELVM_ALWAYS_INLINE { return smallerOf(x, spread<R>(y)); },
                  a, b);
}
template <class V, class A, class B>
QELVM_INLINE V selectBySign(const V& sign, const A& whereNegative, const B& elsewhere) {
  return lanewise(
      []<class R>(const R& s, const auto& a, const auto& b)
          QELVM_ALWAYS_INLINE { return selectBySignInstruction(s, spread<R>(a), spread<R>(b)); },
      sign, whereNegative, elsewhere);
}
template <class V>
QELVM_INLINE V squareRootByInstruction(const V& x) {
  return lanewise([](const auto& v) QELVM_ALWAYS_INLINE { return squareRootInstruction(v); }, x);
}

/// True where x is no power of two.
template <class X>
QELVM_INLINE auto hasFraction(const X& x) {
  using F = Format<ScalarOf<X>>;
  return (bitsOf(x) << (8 * static_cast<int>(sizeof(typename F::Bits)) - F::fractionBits)) !=
         typename F::Bits{0};
}

/// `value`, negated where bit `bit` of the pattern of `counted` is set.
template <int bit, class V>
QELVM_INLINE V flipByBit(const V& value, const V& counted) {
  return lanewise(
      [](const auto& v, const auto& n) QELVM_ALWAYS_INLINE {
        return fromBits(bitsOf(v) ^ ((bitsOf(n) << (63 - bit)) & signMask<double>));
      },
      value, counted);
}

// ---- the rounding test --------------------------------------------------------------------------

/// The largest bound of a full kernel's error, in ulps.
consteval double largestKernelError() {
  double largest = 0;
#define QELVM_FAMILY(name, shape, statuses, of32f, ofA50, ofA53)                                   \
  largest = ofA53 > largest ? ofA53 : largest;
#define QELVM_NOTE(name, text)
#include "../../families/families.inc"
  return largest;
}

/// How far a short road's result may be from the full kernel's, relative to it: what the
/// approximation leaves out, its roundings (so many that each is at most 2^-53 of the result), and
/// the full kernel's own error; an ulp is at most 2^-52 of a result.
consteval double distanceOf(double approximation, int roundings) {
  return (approximation + roundings * 0x1p-53 + largestKernelError() * 0x1p-52) * (1 + 0x1p-20);
}

/// Whether a middle between two floats lies within `distance` of a double, relatively; of a pattern
/// whose low 29 bits, those that a float does not have, are shifted to the top.
template <class Number>
struct MiddleTest {
  static constexpr int shift = 8 * static_cast<int>(sizeof(Number)) - 29;
  // In last places of a double, of which a middle is the 2^28th behind a float: at most 2^53 to
  // the binade.
  Number first; ///< the lowest place that is too near
  Number count; ///< how many are

  consteval explicit MiddleTest(double distance) {
    const auto places = static_cast<Number>(distance * 0x1p53) + 1;
    first = ((Number{1} << 28) - places) << shift;
    count = (2 * places + 1) << shift;
  }
};

template <class Road, int N>
QELVM_INLINE Mask<N> awayFromMiddles(const Simd<double, N>& z) {
  constexpr MiddleTest<std::uint64_t> test(Road::distance);
  return !((bitsOf(z) << test.shift) - test.first < test.count);
}

/// Of all elements of registers at once: their low words two by two. (The constants are known
/// before a loop: GCC would make them anew each time.)
template <class Road, int N>
class AllAwayFromMiddles {
public:
  QELVM_INLINE AllAwayFromMiddles()
      : first_(uniformWords(test.first)), count_(uniformWords(test.count)) {}

  template <int M>
  QELVM_INLINE bool operator()(const LaneArray<Simd<double, N>, M>& z) const {
    static_assert(M % 2 == 0);
    return withIndices<M / 2>([&](auto... k) QELVM_ALWAYS_INLINE {
      return (isNear(lowWords(laneOf<2 * k>(z), laneOf<2 * k + 1>(z))) | ...).bits() == 0;
    });
  }

private:
  using Words = Simd<std::uint32_t, 2 * N>;
  static constexpr MiddleTest<std::uint32_t> test{Road::distance};

  QELVM_INLINE static Words uniformWords(std::uint32_t value) {
    Words words = value - typename Words::Raw{};
#ifdef __AVX512F__
    asm("" : "+x"(words.raw));
#elif defined(__AVX2__)
    if constexpr (N == 4)
      asm("" : "+x"(words.raw));
#endif
    return words;
  }
  QELVM_INLINE WordMask<2 * N> isNear(const Words& words) const {
    return WordMask<2 * N>::lessUnsigned(((words << test.shift) - first_).raw, count_.raw);
  }

  Words first_, count_;
};

/// Results of which only those of the mask, or masks, stand.
template <class V, class M>
struct IfStanding {
  V value;
  M stands;
};
template <class V, class M>
IfStanding(V, M) -> IfStanding<V, M>;

} // namespace qelvm
