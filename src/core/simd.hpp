// Several elements in one SIMD register: the value type of the libraries for processors that have
// such registers, beside double and Lanes<N>, over the compilers' vector types.
//
// Here stands only what a register does in its own way: operators, the conversions between a
// number, its pattern and an integer, comparisons, tables, memory. Everything else is written once,
// over these names, for a double and for a register (bits.hpp and what builds on it). Each
// operation rounds each element once, as for one element alone; nothing is fused, nothing
// reordered.
#pragma once

#include "core/lanes.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#ifdef __AVX2__
#pragma GCC diagnostic push
#ifndef __clang__ // GCC warns of what its own header leaves undefined on purpose.
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#endif
#include <immintrin.h>
#pragma GCC diagnostic pop
#elif defined(__aarch64__)
#include <arm_neon.h>
#endif

namespace qelvm {

/// Doubles to a register in this build; 0 in the plain library, which has none.
#ifdef QELVM_REGISTER_DOUBLES
inline constexpr int registerDoubles = QELVM_REGISTER_DOUBLES;
#else
inline constexpr int registerDoubles = 0;
#endif

/// Elements in flight without registers: those of a kernel, or one where code travels
/// (WebAssembly).
#ifdef QELVM_SHORT_CODE
template <class Kernel>
inline constexpr int lanesOf = 1;
#else
template <class Kernel>
inline constexpr int lanesOf = Kernel::lanes;
#endif

/// Registers of a kernel in flight, as measured: of up to four doubles, or of eight. (Long kernels
/// would keep more of them than the stack has room for.)
consteval int registersInFlight(int ofFour, int ofEight) {
  return registerDoubles == 8 ? ofEight : ofFour;
}

/// The vector types of N 64-bit elements. (As members: an alias template would lose the attribute.)
template <int N>
struct RawVectors {
  typedef double Doubles __attribute__((vector_size(8 * N)));
  typedef std::uint64_t Patterns __attribute__((vector_size(8 * N)));
  typedef std::int64_t Signed __attribute__((vector_size(8 * N)));
  typedef std::uint32_t Words __attribute__((vector_size(8 * N)));
  typedef std::int32_t SignedWords __attribute__((vector_size(8 * N)));
  typedef float Floats __attribute__((vector_size(8 * N))); // twice as many
};

template <class T, int N>
struct RawVectorOf;
template <int N>
struct RawVectorOf<double, N> {
  using Type = typename RawVectors<N>::Doubles;
};
template <int N>
struct RawVectorOf<std::uint64_t, N> {
  using Type = typename RawVectors<N>::Patterns;
};
template <int N>
struct RawVectorOf<std::int32_t, N> {
  using Type = typename RawVectors<N>::Words;
};
template <int N>
struct RawVectorOf<float, N> {
  using Type = typename RawVectors<N / 2>::Floats;
};
template <int N>
struct RawVectorOf<std::uint32_t, N> {
  using Type = typename RawVectors<N / 2>::Words;
};

/// N elements: doubles, patterns of doubles (uint64_t), or integers (int32_t). An integer is the
/// low half of a 64-bit lane and the high half is undefined: lowWord costs nothing, and no 64-bit
/// shift or product is needed. Or floats, or their patterns (uint32_t), twice as many to a
/// register.
template <class T, int N>
struct Simd {
  using Raw = typename RawVectorOf<T, N>::Type;
  Raw raw;

  Simd() = default;
  QELVM_INLINE Simd(Raw value) : raw(value) {}
};

template <class T, int N>
struct ElementTraits<Simd<T, N>> {
  static constexpr int count = N;
  using Scalar = T;
  template <class U>
  using Rebind = Simd<U, N>;
};

template <class V>
inline constexpr bool isSimd = false;
template <class T, int N>
inline constexpr bool isSimd<Simd<T, N>> = true;
/// A register, or several in flight.
template <class V>
inline constexpr bool hasRegisters = isSimd<V>;
template <class V, int N>
inline constexpr bool hasRegisters<LaneArray<V, N>> = isSimd<V>;

/// x for every element of a V.
template <class V>
QELVM_INLINE constexpr V uniform(double x) {
  if constexpr (isLanes<V>)
    return withIndices<LaneTraits<V>::count>([&](auto... i) QELVM_ALWAYS_INLINE {
      return V{(static_cast<void>(i), uniform<typename LaneTraits<V>::Lane>(x))...};
    });
  else if constexpr (isSimd<V>)
    return static_cast<ScalarOf<V>>(x) - typename V::Raw{};
  else
    return x;
}

// ---- operators
// -----------------------------------------------------------------------------------

#define QELVM_SIMD_OPERATOR(T, op)                                                                 \
  template <int N>                                                                                 \
  QELVM_INLINE Simd<T, N> operator op(const Simd<T, N>& a, const Simd<T, N>& b) {                  \
    return a.raw op b.raw;                                                                         \
  }                                                                                                \
  template <int N>                                                                                 \
  QELVM_INLINE Simd<T, N> operator op(const Simd<T, N>& a, T b) {                                  \
    return a.raw op b;                                                                             \
  }                                                                                                \
  template <int N>                                                                                 \
  QELVM_INLINE Simd<T, N> operator op(T a, const Simd<T, N>& b) {                                  \
    return a op b.raw;                                                                             \
  }
QELVM_SIMD_OPERATOR(double, +)
QELVM_SIMD_OPERATOR(double, -)
QELVM_SIMD_OPERATOR(double, *)
QELVM_SIMD_OPERATOR(double, /)
QELVM_SIMD_OPERATOR(float, +)
QELVM_SIMD_OPERATOR(float, -)
QELVM_SIMD_OPERATOR(float, /)
QELVM_SIMD_OPERATOR(std::uint32_t, -)
QELVM_SIMD_OPERATOR(std::uint32_t, &)
QELVM_SIMD_OPERATOR(std::uint32_t, |)
QELVM_SIMD_OPERATOR(std::uint32_t, ^)
QELVM_SIMD_OPERATOR(std::uint64_t, +)
QELVM_SIMD_OPERATOR(std::uint64_t, -)
QELVM_SIMD_OPERATOR(std::uint64_t, &)
QELVM_SIMD_OPERATOR(std::uint64_t, |)
QELVM_SIMD_OPERATOR(std::uint64_t, ^)
#undef QELVM_SIMD_OPERATOR

// Integers wrap around: the undefined halves do.
#define QELVM_SIMD_OPERATOR(op)                                                                    \
  template <int N>                                                                                 \
  QELVM_INLINE Simd<std::int32_t, N> operator op(const Simd<std::int32_t, N>& a,                   \
                                                 const Simd<std::int32_t, N>& b) {                 \
    return a.raw op b.raw;                                                                         \
  }                                                                                                \
  template <int N>                                                                                 \
  QELVM_INLINE Simd<std::int32_t, N> operator op(const Simd<std::int32_t, N>& a, std::int32_t b) { \
    return a.raw op static_cast<std::uint32_t>(b);                                                 \
  }                                                                                                \
  template <int N>                                                                                 \
  QELVM_INLINE Simd<std::int32_t, N> operator op(std::int32_t a, const Simd<std::int32_t, N>& b) { \
    return static_cast<std::uint32_t>(a) op b.raw;                                                 \
  }
QELVM_SIMD_OPERATOR(+)
QELVM_SIMD_OPERATOR(-)
QELVM_SIMD_OPERATOR(|)
QELVM_SIMD_OPERATOR(^)
#undef QELVM_SIMD_OPERATOR

template <int N>
QELVM_INLINE Simd<double, N> operator-(const Simd<double, N>& a) {
  return -a.raw;
}
template <class T, int N>
requires std::is_integral_v<T> QELVM_INLINE Simd<T, N>
operator~(const Simd<T, N>& a) {
  return ~a.raw;
}
template <class T, int N>
requires std::is_integral_v<T> QELVM_INLINE Simd<T, N>
operator<<(const Simd<T, N>& a, int count) {
  return a.raw << count;
}
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> operator>>(const Simd<std::uint64_t, N>& a, int count) {
  return a.raw >> count;
}
/// Arithmetic.
template <int N>
QELVM_INLINE Simd<std::int32_t, N> operator>>(const Simd<std::int32_t, N>& a, int count) {
  using Raw = RawVectors<N>;
  return reinterpret_cast<typename Raw::Words>(reinterpret_cast<typename Raw::SignedWords>(a.raw) >>
                                               count);
}

template <int N>
QELVM_INLINE Simd<std::uint64_t, N> bitsOf(const Simd<double, N>& x) {
  return reinterpret_cast<typename RawVectors<N>::Patterns>(x.raw);
}
template <int N>
QELVM_INLINE Simd<double, N> fromBits(const Simd<std::uint64_t, N>& bits) {
  return reinterpret_cast<typename RawVectors<N>::Doubles>(bits.raw);
}
template <int N>
QELVM_INLINE Simd<std::uint32_t, N> bitsOf(const Simd<float, N>& x) {
  return reinterpret_cast<typename Simd<std::uint32_t, N>::Raw>(x.raw);
}
template <int N>
QELVM_INLINE Simd<float, N> fromBits(const Simd<std::uint32_t, N>& bits) {
  return reinterpret_cast<typename Simd<float, N>::Raw>(bits.raw);
}
template <int N>
QELVM_INLINE Simd<std::int32_t, N> lowInteger(const Simd<std::uint64_t, N>& bits) {
  return reinterpret_cast<typename RawVectors<N>::Words>(bits.raw);
}
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> lowBits(const Simd<std::int32_t, N>& i) {
  return reinterpret_cast<typename RawVectors<N>::Patterns>(i.raw);
}
/// Zeros above the integer, taken as unsigned.
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> zeroExtended(const Simd<std::int32_t, N>& i) {
  return lowBits(i) & std::uint64_t{0xFFFFFFFF};
}

template <int N>
QELVM_INLINE Simd<std::int32_t, N> operator&(const Simd<std::int32_t, N>& a,
                                             const Simd<std::int32_t, N>& b) {
  return a.raw & b.raw;
}
/// (The compiler sees that the high halves are zero now.)
template <int N>
QELVM_INLINE Simd<std::int32_t, N> operator&(const Simd<std::int32_t, N>& a, std::int32_t b) {
  return lowInteger(lowBits(a) & std::uint64_t{static_cast<std::uint32_t>(b)});
}
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> operator<<(const Simd<std::uint64_t, N>& a,
                                               const Simd<std::int32_t, N>& count) {
  return a.raw << zeroExtended(count).raw;
}
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> operator>>(const Simd<std::uint64_t, N>& a,
                                               const Simd<std::int32_t, N>& count) {
  return a.raw >> zeroExtended(count).raw;
}

/// The 64-bit product of an integer, taken as unsigned, and a constant.
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> wideProduct(const Simd<std::int32_t, N>& a, std::uint32_t b) {
  if ((b & (b - 1)) == 0)
    return zeroExtended(a) << std::countr_zero(b);
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Patterns>(
        _mm512_mul_epu32(reinterpret_cast<__m512i>(a.raw), _mm512_set1_epi64(b)));
#endif
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Patterns>(
        _mm256_mul_epu32(reinterpret_cast<__m256i>(a.raw), _mm256_set1_epi64x(b)));
#endif
  return zeroExtended(a).raw * std::uint64_t{b};
}
template <int N>
QELVM_INLINE Simd<std::int32_t, N> operator*(const Simd<std::int32_t, N>& a, std::int32_t b) {
  return lowInteger(wideProduct(a, static_cast<std::uint32_t>(b)));
}

// ---- numbers, patterns, integers
// -----------------------------------------------------------------

/// The signed number in the upper 12 bits.
template <int N>
QELVM_INLINE Simd<std::int32_t, N> signedExponent(const Simd<std::uint64_t, N>& bits) {
  return lowInteger(bits >> 32) >> 20;
}
/// All ones where the sign bit is set, where the integer is not zero; else zeros.
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> fillWhereNegative(const Simd<std::uint64_t, N>& bits) {
  using Raw = RawVectors<N>;
  return reinterpret_cast<typename Raw::Patterns>(
      reinterpret_cast<typename Raw::Signed>(bits.raw) >> 63);
}
template <int N>
QELVM_INLINE Simd<std::uint64_t, N> fillWhereNonzero(const Simd<std::int32_t, N>& i) {
  return reinterpret_cast<typename RawVectors<N>::Patterns>((lowBits(i) << 32).raw != 0);
}

/// An integer as a double, by its place below the last one of 2^52 + 2^31: exact.
template <int N>
QELVM_INLINE Simd<double, N> exactDouble(const Simd<std::int32_t, N>& i) {
  return fromBits(zeroExtended(i) ^ std::uint64_t{0x4330000080000000}) - 0x1.000008p52;
}

/// A number from 0 to below 2^31 without its fraction.
template <int N>
QELVM_INLINE Simd<std::int32_t, N> truncated(const Simd<double, N>& x) {
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Words>(
        _mm512_cvtepu32_epi64(_mm512_cvttpd_epi32(reinterpret_cast<__m512d>(x.raw))));
#endif
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Words>(
        _mm256_cvtepu32_epi64(_mm256_cvttpd_epi32(reinterpret_cast<__m256d>(x.raw))));
#endif
  return reinterpret_cast<typename RawVectors<N>::Words>(
      __builtin_convertvector(x.raw, typename RawVectors<N>::Signed));
}

/// Correctly rounded, by the instruction.
template <int N>
QELVM_INLINE Simd<double, N> squareRootInstruction(const Simd<double, N>& x) {
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm512_sqrt_pd(reinterpret_cast<__m512d>(x.raw)));
#endif
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm256_sqrt_pd(reinterpret_cast<__m256d>(x.raw)));
#endif
#ifdef __aarch64__
  if constexpr (N == 2)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        vsqrtq_f64(reinterpret_cast<float64x2_t>(x.raw)));
#endif
  typename RawVectors<N>::Doubles root = x.raw;
  for (int i = 0; i < N; ++i)
    root[i] = __builtin_sqrt(x.raw[i]);
  return root;
}
template <int N>
QELVM_INLINE Simd<float, N> squareRootInstruction(const Simd<float, N>& x) {
#ifdef __AVX512F__
  if constexpr (N == 16)
    return reinterpret_cast<RawVectors<8>::Floats>(_mm512_sqrt_ps(reinterpret_cast<__m512>(x.raw)));
#endif
#ifdef __AVX2__
  if constexpr (N == 8)
    return reinterpret_cast<RawVectors<4>::Floats>(_mm256_sqrt_ps(reinterpret_cast<__m256>(x.raw)));
#endif
  auto root = x.raw;
  for (int i = 0; i < N; ++i)
    root[i] = __builtin_sqrtf(x.raw[i]);
  return root;
}

// ---- comparisons
// ---------------------------------------------------------------------------------

/// Which of N elements.
template <int N>
struct Mask {
  typename RawVectors<N>::Signed raw; // all ones or zeros

  QELVM_INLINE Mask operator&(Mask other) const { return {raw & other.raw}; }
  QELVM_INLINE Mask operator&&(Mask other) const { return {raw & other.raw}; }
  QELVM_INLINE Mask operator||(Mask other) const { return {raw | other.raw}; }
  QELVM_INLINE Mask operator!() const { return {~raw}; }

  /// A bit for each element.
  QELVM_INLINE unsigned bits() const {
#ifdef __AVX2__
    if constexpr (N == 4)
      return static_cast<unsigned>(_mm256_movemask_pd(reinterpret_cast<__m256d>(raw)));
#endif
    unsigned set = 0;
    for (int i = 0; i < N; ++i)
      set |= static_cast<unsigned>(raw[i] & 1) << i;
    return set;
  }

  QELVM_INLINE static Mask lessUnsigned(typename RawVectors<N>::Patterns a,
                                        typename RawVectors<N>::Patterns b) {
    // As signed numbers, which more processors compare; the shift by half the range becomes part of
    // the sums that a and b come from.
    constexpr std::uint64_t half = std::uint64_t{1} << 63;
    using Signed = typename RawVectors<N>::Signed;
    return {reinterpret_cast<Signed>(a - half) < reinterpret_cast<Signed>(b - half)};
  }
  QELVM_INLINE static Mask negative(typename RawVectors<N>::Doubles x) {
    return {reinterpret_cast<typename RawVectors<N>::Signed>(x) < 0};
  }
  QELVM_INLINE Simd<double, N> select(const Simd<double, N>& where,
                                      const Simd<double, N>& elsewhere) const {
    return raw != 0 ? where.raw : elsewhere.raw;
  }
};

#ifdef __AVX512F__
template <>
struct Mask<8> {
  __mmask8 raw;

  QELVM_INLINE Mask operator&(Mask other) const { return {_kand_mask8(raw, other.raw)}; }
  QELVM_INLINE Mask operator&&(Mask other) const { return {_kand_mask8(raw, other.raw)}; }
  QELVM_INLINE Mask operator||(Mask other) const { return {_kor_mask8(raw, other.raw)}; }
  QELVM_INLINE Mask operator!() const { return {_knot_mask8(raw)}; }

  QELVM_INLINE unsigned bits() const { return raw; }

  QELVM_INLINE static Mask lessUnsigned(RawVectors<8>::Patterns a, RawVectors<8>::Patterns b) {
    return {_mm512_cmplt_epu64_mask(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b))};
  }
  QELVM_INLINE static Mask negative(RawVectors<8>::Doubles x) {
    return {_mm512_movepi64_mask(reinterpret_cast<__m512i>(x))};
  }
  QELVM_INLINE Simd<double, 8> select(const Simd<double, 8>& where,
                                      const Simd<double, 8>& elsewhere) const {
    return reinterpret_cast<RawVectors<8>::Doubles>(_mm512_mask_blend_pd(
        raw, reinterpret_cast<__m512d>(elsewhere.raw), reinterpret_cast<__m512d>(where.raw)));
  }
};
#endif

/// The same of N floats, or words.
template <int N>
struct WordMask {
  typename RawVectors<N / 2>::SignedWords raw;

  QELVM_INLINE WordMask operator&(WordMask other) const { return {raw & other.raw}; }
  QELVM_INLINE WordMask operator&&(WordMask other) const { return {raw & other.raw}; }
  QELVM_INLINE WordMask operator|(WordMask other) const { return {raw | other.raw}; }
  QELVM_INLINE WordMask operator!() const { return {~raw}; }

  QELVM_INLINE unsigned bits() const {
#ifdef __AVX2__
    if constexpr (N == 8)
      return static_cast<unsigned>(_mm256_movemask_ps(reinterpret_cast<__m256>(raw)));
#endif
    unsigned set = 0;
    for (int i = 0; i < N; ++i)
      set |= static_cast<unsigned>(raw[i] & 1) << i;
    return set;
  }

  QELVM_INLINE static WordMask lessUnsigned(typename RawVectors<N / 2>::Words a,
                                            typename RawVectors<N / 2>::Words b) {
    constexpr std::uint32_t half = std::uint32_t{1} << 31;
    using Signed = typename RawVectors<N / 2>::SignedWords;
    return {reinterpret_cast<Signed>(a - half) < reinterpret_cast<Signed>(b - half)};
  }
  QELVM_INLINE Simd<float, N> select(const Simd<float, N>& where,
                                     const Simd<float, N>& elsewhere) const {
    return raw != 0 ? where.raw : elsewhere.raw;
  }
};

#ifdef __AVX512F__
template <>
struct WordMask<16> {
  __mmask16 raw;

  QELVM_INLINE WordMask operator&(WordMask other) const { return {_kand_mask16(raw, other.raw)}; }
  QELVM_INLINE WordMask operator&&(WordMask other) const { return {_kand_mask16(raw, other.raw)}; }
  QELVM_INLINE WordMask operator|(WordMask other) const { return {_kor_mask16(raw, other.raw)}; }
  QELVM_INLINE WordMask operator!() const { return {_knot_mask16(raw)}; }

  QELVM_INLINE unsigned bits() const { return raw; }

  QELVM_INLINE static WordMask lessUnsigned(RawVectors<8>::Words a, RawVectors<8>::Words b) {
    return {_mm512_cmplt_epu32_mask(reinterpret_cast<__m512i>(a), reinterpret_cast<__m512i>(b))};
  }
  QELVM_INLINE Simd<float, 16> select(const Simd<float, 16>& where,
                                      const Simd<float, 16>& elsewhere) const {
    return reinterpret_cast<RawVectors<8>::Floats>(_mm512_mask_blend_ps(
        raw, reinterpret_cast<__m512>(elsewhere.raw), reinterpret_cast<__m512>(where.raw)));
  }
};
#endif

template <int N>
QELVM_INLINE bool allTrue(const WordMask<N>& mask) {
  return mask.bits() == (1u << N) - 1;
}
template <int N>
QELVM_INLINE WordMask<N> operator<(const Simd<std::uint32_t, N>& a, std::uint32_t b) {
  return WordMask<N>::lessUnsigned(a.raw, b - typename Simd<std::uint32_t, N>::Raw{});
}
template <int N>
QELVM_INLINE WordMask<N> operator!=(const Simd<std::uint32_t, N>& a, std::uint32_t b) {
  return !(a - b < std::uint32_t{1});
}
template <int N>
QELVM_INLINE Simd<float, N> select(const WordMask<N>& mask, const Simd<float, N>& where,
                                   const Simd<float, N>& elsewhere) {
  return mask.select(where, elsewhere);
}

template <int N>
QELVM_INLINE bool allTrue(const Mask<N>& mask) {
  return mask.bits() == (1u << N) - 1;
}

template <int N>
QELVM_INLINE Mask<N> operator<(const Simd<std::uint64_t, N>& a, const Simd<std::uint64_t, N>& b) {
  return Mask<N>::lessUnsigned(a.raw, b.raw);
}
template <int N>
QELVM_INLINE Mask<N> operator<(const Simd<std::uint64_t, N>& a, std::uint64_t b) {
  return Mask<N>::lessUnsigned(a.raw, b - typename RawVectors<N>::Patterns{});
}
template <int N>
QELVM_INLINE Mask<N> operator!=(const Simd<std::uint64_t, N>& a, std::uint64_t b) {
  return !(a - b < std::uint64_t{1});
}

template <int N>
QELVM_INLINE Mask<N> isNegative(const Simd<double, N>& x) {
  return Mask<N>::negative(x.raw);
}

/// `where` for the elements of the mask, `elsewhere` for the others; no branch.
template <int N>
QELVM_INLINE Simd<double, N> select(const Mask<N>& mask, const Simd<double, N>& where,
                                    const Simd<double, N>& elsewhere) {
  return mask.select(where, elsewhere);
}
template <int N>
QELVM_INLINE Simd<std::int32_t, N> select(const Mask<N>& mask, const Simd<std::int32_t, N>& where,
                                          const Simd<std::int32_t, N>& elsewhere) {
  return lowInteger(bitsOf(mask.select(fromBits(lowBits(where)), fromBits(lowBits(elsewhere)))));
}

// ---- tables
// -------------------------------------------------------------------------------------- Loads of
// single elements, of pairs and of quads, which are then transposed: a gather instruction takes two
// to five times as long on the processors that were tried.

/// Rows of tables begin where no load of a pair or a quad crosses a line of the cache.
template <int doubles>
inline constexpr std::size_t rowAlignment = registerDoubles < 4
                                                ? alignof(double)
                                                : (doubles > 2 ? 4 : doubles) * sizeof(double);

/// The doubles at `base`, each by its number of bytes from there.
template <int N>
QELVM_INLINE Simd<double, N> singles(const void* base, const Simd<std::uint64_t, N>& offset) {
  const auto at = [&](std::uint64_t place) QELVM_ALWAYS_INLINE {
    return *reinterpret_cast<const double*>(static_cast<const char*>(base) + place);
  };
  return withIndices<N>([&](auto... i) QELVM_ALWAYS_INLINE {
    return Simd<double, N>(typename RawVectors<N>::Doubles{at(offset.raw[i.value])...});
  });
}

/// Element k of the pairs, or of the quads, at `base`. (k is a constant, and what the other
/// elements share with it is computed once: all after inlining.)
template <int N>
QELVM_INLINE Simd<double, N> ofPairs(const void* base, const Simd<std::uint64_t, N>& offset,
                                     std::size_t k) {
  using Pair = typename RawVectors<2>::Doubles;
  const auto at = [&](int i) QELVM_ALWAYS_INLINE {
    return *reinterpret_cast<const Pair*>(static_cast<const char*>(base) + offset.raw[i]);
  };
  if constexpr (N == 8) {
    const auto four = [&](int i) QELVM_ALWAYS_INLINE {
      return __builtin_shufflevector(__builtin_shufflevector(at(i), at(i + 2), 0, 1, 2, 3),
                                     __builtin_shufflevector(at(i + 4), at(i + 6), 0, 1, 2, 3), 0,
                                     1, 2, 3, 4, 5, 6, 7);
    };
    const auto even = four(0), odd = four(1);
    return k == 0 ? __builtin_shufflevector(even, odd, 0, 8, 2, 10, 4, 12, 6, 14)
                  : __builtin_shufflevector(even, odd, 1, 9, 3, 11, 5, 13, 7, 15);
  } else {
    static_assert(N == 4);
    const auto even = __builtin_shufflevector(at(0), at(2), 0, 1, 2, 3);
    const auto odd = __builtin_shufflevector(at(1), at(3), 0, 1, 2, 3);
    return k == 0 ? __builtin_shufflevector(even, odd, 0, 4, 2, 6)
                  : __builtin_shufflevector(even, odd, 1, 5, 3, 7);
  }
}
template <int N>
QELVM_INLINE Simd<double, N> ofQuads(const void* base, const Simd<std::uint64_t, N>& offset,
                                     std::size_t k) {
  using Quad = typename RawVectors<4>::Doubles;
  const auto at = [&](int i) QELVM_ALWAYS_INLINE {
    return *reinterpret_cast<const Quad*>(static_cast<const char*>(base) + offset.raw[i]);
  };
  if constexpr (N == 8) {
    const auto two = [&](int i) QELVM_ALWAYS_INLINE {
      return __builtin_shufflevector(at(i), at(i + 2), 0, 1, 2, 3, 4, 5, 6, 7);
    };
    const auto half = [&](int i) QELVM_ALWAYS_INLINE {
      const auto even = two(i), odd = two(i + 1);
      return k % 2 == 0 ? __builtin_shufflevector(even, odd, 0, 8, 2, 10, 4, 12, 6, 14)
                        : __builtin_shufflevector(even, odd, 1, 9, 3, 11, 5, 13, 7, 15);
    };
    const auto low = half(0), high = half(4);
    return k < 2 ? __builtin_shufflevector(low, high, 0, 1, 4, 5, 8, 9, 12, 13)
                 : __builtin_shufflevector(low, high, 2, 3, 6, 7, 10, 11, 14, 15);
  } else {
    static_assert(N == 4);
    const auto half = [&](int i) QELVM_ALWAYS_INLINE {
      return k % 2 == 0 ? __builtin_shufflevector(at(i), at(i + 1), 0, 4, 2, 6)
                        : __builtin_shufflevector(at(i), at(i + 1), 1, 5, 3, 7);
    };
    const auto low = half(0), high = half(2);
    return k < 2 ? __builtin_shufflevector(low, high, 0, 1, 4, 5)
                 : __builtin_shufflevector(low, high, 2, 3, 6, 7);
  }
}

/// The same pointer; of a register, one that compilers take to be known only when x is.
template <class V, class Row>
QELVM_INLINE constexpr const Row* knownAfter([[maybe_unused]] const V& x, const Row* table) {
  if constexpr (isLanes<V>) {
    withIndices<LaneTraits<V>::count>(
        [&](auto... i) QELVM_ALWAYS_INLINE { ((table = knownAfter(laneOf<i>(x), table)), ...); });
  } else if constexpr (isSimd<V>) {
#ifdef __x86_64__
    asm("" : "+r"(table) : "x"(x.raw));
#endif
  }
  return table;
}

template <int N>
QELVM_INLINE Simd<double, N> entryOf(const double* table, const Simd<std::int32_t, N>& index) {
  return singles(table, zeroExtended(index) << 3);
}
/// The double `field` of the rows with these indices.
template <class Row, int N>
QELVM_INLINE Simd<double, N> fieldOf(const Row* table, const Simd<std::int32_t, N>& index,
                                     const void* field) {
  const Simd<std::uint64_t, N> offset = wideProduct(index, sizeof(Row));
  const auto place = static_cast<std::size_t>(static_cast<const char*>(field) -
                                              reinterpret_cast<const char*>(table));
  if constexpr (N < 4 || alignof(Row) == alignof(double)) {
    return singles(field, offset);
  } else {
    constexpr std::size_t group = alignof(Row);
    const void* const base = static_cast<const char*>(field) - place % group;
    const std::size_t k = place % group / sizeof(double);
    if constexpr (group == 2 * sizeof(double))
      return ofPairs(base, offset, k);
    else
      return ofQuads(base, offset, k);
  }
}
template <class Row, class Field, int N>
QELVM_INLINE Simd<Field, N> entryOf(const Row* table, const Simd<std::int32_t, N>& index,
                                    Field Row::*field) {
  const auto value = fieldOf(table, index, &(table->*field));
  if constexpr (std::is_same_v<Field, double>)
    return value;
  else
    return bitsOf(value);
}
template <class Row, int K, int N>
QELVM_INLINE Simd<double, N> entryOf(const Row* table, const Simd<std::int32_t, N>& index,
                                     double (Row::*field)[K], int k) {
  return fieldOf(table, index, &(table->*field)[k]);
}

// ---- memory
// --------------------------------------------------------------------------------------

/// The numbers of the elements in each set of four, in order, and those of their words. What is
/// left is the first element: whole, since a float is made of it.
struct CompressionTable {
  alignas(16) std::int32_t number[16][4];
  alignas(32) std::int32_t word[16][8];
};
inline constexpr CompressionTable compressionOfFour = [] {
  CompressionTable table{};
  for (unsigned set = 0; set < 16; ++set) {
    for (int i = 0, n = 0; i < 4; ++i)
      if ((set >> i & 1) != 0)
        table.number[set][n++] = i;
    for (int n = 0; n < 4; ++n)
      for (int word = 0; word < 2; ++word)
        table.word[set][2 * n + word] = 2 * table.number[set][n] + word;
  }
  return table;
}();

/// The elements of a set (a bit for each), closed up; behind them others of x, or zeros.
template <int N>
QELVM_INLINE Simd<double, N> compressed(const Simd<double, N>& x, unsigned set) {
#ifdef __AVX512F__
  if constexpr (N == 8)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm512_maskz_compress_pd(static_cast<__mmask8>(set), reinterpret_cast<__m512d>(x.raw)));
#endif
#ifdef __AVX2__
  if constexpr (N == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(_mm256_permutevar8x32_epi32(
        reinterpret_cast<__m256i>(x.raw),
        _mm256_load_si256(reinterpret_cast<const __m256i*>(compressionOfFour.word[set]))));
#endif
  Simd<double, N> close = x;
  for (int i = 0, n = 0; i < N; ++i) {
    close.raw[n] = x.raw[i];
    n += set >> i & 1;
  }
  return close;
}
/// Stores their numbers, counted from `first`: N integers are written.
template <int N>
QELVM_INLINE void storeNumbers(std::int32_t first, unsigned set, std::int32_t* place) {
#ifdef __AVX512VL__
  if constexpr (N == 8) {
    const __m256i all =
        _mm256_add_epi32(_mm256_set1_epi32(first), _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(place),
                        _mm256_maskz_compress_epi32(static_cast<__mmask8>(set), all));
    return;
  }
#endif
  if constexpr (N == 4) {
    typedef std::int32_t Four __attribute__((vector_size(16), may_alias));
    typedef std::int32_t UnalignedFour __attribute__((vector_size(16), aligned(4), may_alias));
    *reinterpret_cast<UnalignedFour*>(place) =
        first + *reinterpret_cast<const Four*>(compressionOfFour.number[set]);
  } else {
    for (int i = 0, n = 0; i < N; ++i) {
      place[n] = first + i;
      n += set >> i & 1;
    }
  }
}

/// N elements of type T from any address, widened; N elements rounded to T to any address.
template <class T, int N>
struct UnalignedVector {
  typedef T Type __attribute__((vector_size(sizeof(T) * N), aligned(1), may_alias));
};
template <int N, class T>
QELVM_INLINE Simd<double, N> loadWidened(const void* place) {
  // (GCC takes the parts of a conversion through memory.)
#ifdef __AVX512F__
  if constexpr (N == 8 && sizeof(T) == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm512_cvtps_pd(_mm256_loadu_ps(static_cast<const float*>(place))));
#endif
#ifdef __AVX2__
  if constexpr (N == 4 && sizeof(T) == 4)
    return reinterpret_cast<typename RawVectors<N>::Doubles>(
        _mm256_cvtps_pd(_mm_loadu_ps(static_cast<const float*>(place))));
#endif
  using Unaligned = typename UnalignedVector<T, N>::Type;
  return __builtin_convertvector(*static_cast<const Unaligned*>(place),
                                 typename RawVectors<N>::Doubles);
}
/// A register of doubles, or one of floats as they are.
template <class V, class T>
QELVM_INLINE V loadRegister(const void* place) {
  if constexpr (std::is_same_v<ScalarOf<V>, float>)
    return *static_cast<const typename UnalignedVector<T, elementCount<V>>::Type*>(place);
  else
    return loadWidened<elementCount<V>, T>(place);
}
template <class T, int N>
QELVM_INLINE void storeRegister(const Simd<double, N>& x, void* place) {
  using Unaligned = typename UnalignedVector<T, N>::Type;
  *static_cast<Unaligned*>(place) = __builtin_convertvector(x.raw, Unaligned);
}
template <class T, int N>
QELVM_INLINE void storeRegister(const Simd<float, N>& x, void* place) {
  *static_cast<typename UnalignedVector<T, N>::Type*>(place) = x.raw;
}

} // namespace qelvm
