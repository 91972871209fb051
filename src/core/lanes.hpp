// Several elements in flight: plain structs of N values whose operators work lane by lane.
//
// A kernel is a chain of dependent operations, and one element alone leaves the processor idle
// between them. Written over a value type V, the same kernel text computes one element (V = double)
// or N interleaved ones (V = Lanes<N>). The lanes are scalar code, unrolled by pack expansion: no
// loop is left for a compiler to keep, and nothing here asks for vector instructions.
#pragma once

#if defined(__clang__) ? __clang_major__ < 14 : __GNUC__ < 12
#error "qelvm needs g++ 12 or clang++ 14, or a later one"
#endif

#include <algorithm>
#include <cstdint>
#include <type_traits>
#include <utility>

/// Kernels are one straight line at every optimisation level: for lambdas, and for functions.
#define QELVM_ALWAYS_INLINE __attribute__((always_inline))
#define QELVM_INLINE inline QELVM_ALWAYS_INLINE

namespace qelvm {

/// f(0, 1, ..., N - 1), each a constant of its own type: unrolls a loop by pack expansion.
template <int N, class F>
QELVM_INLINE constexpr decltype(auto) withIndices(const F& f) {
  return [&]<int... I>(std::integer_sequence<int, I...>) QELVM_ALWAYS_INLINE->decltype(auto) {
    return f(std::integral_constant<int, I>{}...);
  }
  (std::make_integer_sequence<int, N>{});
}

/// N values. Copied member by member: copied as blocks, they would go through memory.
template <class T, int N>
struct LaneArray {
  T first;
  LaneArray<T, N - 1> others;

  LaneArray() = default;
  template <class... Others>
  QELVM_INLINE constexpr LaneArray(T value, Others... values) : first(value), others(values...) {}
  QELVM_INLINE constexpr LaneArray(const LaneArray& from)
      : first(from.first), others(from.others) {}
  QELVM_INLINE constexpr LaneArray& operator=(const LaneArray& from) {
    first = from.first;
    others = from.others;
    return *this;
  }
};
template <class T>
struct LaneArray<T, 0> {};

/// N doubles in flight.
template <int N>
using Lanes = LaneArray<double, N>;

/// 32-bit x86 has eight floating-point registers, other processors twice that or more: there a
/// kernel keeps fewer elements in flight, or the stack would hold most of them.
#ifdef __i386__
inline constexpr bool fewRegisters = true;
#else
inline constexpr bool fewRegisters = false;
#endif

template <class V>
struct LaneTraits {
  static constexpr int count = 0; // not lanes: one value, the same for every lane
};
template <class T, int N>
struct LaneTraits<LaneArray<T, N>> {
  static constexpr int count = N;
};

template <class V>
inline constexpr bool isLanes = LaneTraits<V>::count > 0;

template <int I, class T>
QELVM_INLINE constexpr T laneOf(T value) {
  return value;
}
template <int I, class T, int N>
QELVM_INLINE constexpr T laneOf(const LaneArray<T, N>& values) {
  if constexpr (I == 0)
    return values.first;
  else
    return laneOf<I - 1>(values.others);
}

/// Applies `f` to single values, or lane by lane when any argument has lanes; the arguments that
/// have none are the same for every lane.
template <class F, class... Args>
QELVM_INLINE constexpr auto lanewise(F f, const Args&... args) {
  if constexpr (!(isLanes<Args> || ...)) {
    return f(args...);
  } else {
    constexpr int count = std::max({LaneTraits<Args>::count...});
    const auto one = [&](auto i) QELVM_ALWAYS_INLINE { return f(laneOf<i>(args)...); };
    return withIndices<count>([&](auto first, auto... others) QELVM_ALWAYS_INLINE {
      return LaneArray<decltype(one(first)), count>{one(first), one(others)...};
    });
  }
}

/// True when `test` holds for every lane of the arguments.
template <class F, class... Args>
QELVM_INLINE constexpr bool allLanes(F test, const Args&... args) {
  const auto holds = lanewise(
      [&](auto... x) QELVM_ALWAYS_INLINE { return static_cast<int>(test(x...)); }, args...);
  using Holds = std::remove_const_t<decltype(holds)>;
  if constexpr (!isLanes<Holds>) {
    return holds != 0;
  } else {
    return withIndices<LaneTraits<Holds>::count>(
        [&](auto... i) QELVM_ALWAYS_INLINE { return (laneOf<i>(holds) & ...) != 0; });
  }
}

/// The type that holds a T for every element that a V holds: int32_t for a double,
/// LaneArray<int32_t, N> for Lanes<N>.
template <class V, class T>
struct RebindLanes {
  using Type = T;
};
template <class U, int N, class T>
struct RebindLanes<LaneArray<U, N>, T> {
  using Type = LaneArray<T, N>;
};
template <class V>
using IntegerOf = typename RebindLanes<V, std::int32_t>::Type;

#define QELVM_LANE_OPERATOR(op)                                                                    \
  template <class A, class B>                                                                      \
  requires(isLanes<A> || isLanes<B>) QELVM_INLINE constexpr auto operator op(const A& a,           \
                                                                             const B& b) {         \
    return lanewise([](auto x, auto y) QELVM_ALWAYS_INLINE { return x op y; }, a, b);              \
  }
QELVM_LANE_OPERATOR(+)
QELVM_LANE_OPERATOR(-)
QELVM_LANE_OPERATOR(*)
QELVM_LANE_OPERATOR(/)
QELVM_LANE_OPERATOR(&)
QELVM_LANE_OPERATOR(|)
QELVM_LANE_OPERATOR(<<)
QELVM_LANE_OPERATOR(>>)
#undef QELVM_LANE_OPERATOR

template <class T, int N>
QELVM_INLINE constexpr LaneArray<T, N> operator-(const LaneArray<T, N>& a) {
  return lanewise([](T x) QELVM_ALWAYS_INLINE { return -x; }, a);
}

} // namespace qelvm
