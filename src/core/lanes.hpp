// Several elements in flight: plain structs of N values whose operators work lane by lane.
//
// A kernel is a chain of dependent operations, and one element alone leaves the processor idle
// between them. Written over a value type V, the same kernel text computes one element (V =
// double), N interleaved ones (V = Lanes<N>), a SIMD register of them (simd.hpp), or several such
// registers. The lanes are unrolled by pack expansion: no loop is left for a compiler to keep, and
// nothing here asks for vector instructions.
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

/// What a value type holds: how many elements, of which type; and the type that holds a U for each.
template <class V>
struct ElementTraits {
  static constexpr int count = 1;
  using Scalar = V;
  template <class U>
  using Rebind = U;
};
template <class T, int N>
struct ElementTraits<LaneArray<T, N>> {
  static constexpr int count = N * ElementTraits<T>::count;
  using Scalar = typename ElementTraits<T>::Scalar;
  template <class U>
  using Rebind = LaneArray<typename ElementTraits<T>::template Rebind<U>, N>;
};
template <class V>
inline constexpr int elementCount = ElementTraits<V>::count;
template <class V>
using ScalarOf = typename ElementTraits<V>::Scalar;

/// The integers that belong to a V: int32_t to a double, LaneArray<int32_t, N> to Lanes<N>.
template <class V>
using IntegerOf = typename ElementTraits<V>::template Rebind<std::int32_t>;

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
  using Lane = T;
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

/// True when a comparison holds: for the one element, or for all of a register.
QELVM_INLINE constexpr bool allTrue(int holds) {
  return holds != 0;
}

/// True when `test` holds for every lane of the arguments.
template <class F, class... Args>
QELVM_INLINE constexpr bool allLanes(const F& test, const Args&... args) {
  const auto holds = lanewise(
      [&](const auto&... x) QELVM_ALWAYS_INLINE {
        if constexpr (std::is_same_v<decltype(test(x...)), bool>)
          return static_cast<int>(test(x...)); // of which `&` makes no branch
        else
          return test(x...);
      },
      args...);
  using Holds = std::remove_const_t<decltype(holds)>;
  if constexpr (!isLanes<Holds>) {
    return allTrue(holds);
  } else {
    return withIndices<LaneTraits<Holds>::count>(
        [&](auto... i) QELVM_ALWAYS_INLINE { return allTrue((laneOf<i>(holds) & ...)); });
  }
}

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
QELVM_LANE_OPERATOR(^)
QELVM_LANE_OPERATOR(<<)
QELVM_LANE_OPERATOR(>>)
#undef QELVM_LANE_OPERATOR

template <class T, int N>
QELVM_INLINE constexpr LaneArray<T, N> operator-(const LaneArray<T, N>& a) {
  return lanewise([](T x) QELVM_ALWAYS_INLINE { return -x; }, a);
}

} // namespace qelvm
