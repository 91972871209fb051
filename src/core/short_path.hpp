// What the call frame over SIMD registers does with floats by a short road (short_road.hpp): blocks
// of which all results stand, and a block of which some do.
#pragma once

#include "core/call_frame.hpp"
#include "core/short_road.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qelvm::frame {

/// Registers in flight: two, unless a kernel tells, or so many.
template <class Kernel, int unlessTold = 2>
inline constexpr int registersOf = unlessTold;
template <class Kernel, int unlessTold>
requires requires {
  Kernel::registers;
}
inline constexpr int registersOf<Kernel, unlessTold> = Kernel::registers;

struct NoShortRoad {
  QELVM_INLINE constexpr explicit NoShortRoad(auto... /*scalars*/) {}
};
/// The short road of a kernel's floats.
template <class Kernel, class T>
struct ShortRoadOf {
  using Type = NoShortRoad;
};
template <class Kernel>
concept HasShortRoad = requires {
  typename Kernel::ShortRoad;
};
/// Its short road, if any, has what every one must have; checked in the builds that use none, too.
template <class Kernel>
concept ShortRoadIsComplete = !HasShortRoad<Kernel> || requires {
  Kernel::ShortRoad::inside;
  requires requires {
    Kernel::ShortRoad::distance;
  } || requires {
    Kernel::ShortRoad::exact;
  };
  registersOf<typename Kernel::ShortRoad>;
};
template <HasShortRoad Kernel>
requires hasShortRoads struct ShortRoadOf<Kernel, float> {
  using Type = typename Kernel::ShortRoad;
};

template <class V, class M>
QELVM_INLINE const V& resultFor(int /*destination*/, const IfStanding<V, M>& checked) {
  return checked.value;
}

/// The elements of a call by a short road.
template <class Road, int S, int D>
class ShortPath {
public:
  static constexpr bool exact = requires { Road::exact; }; // computed over floats
  static constexpr int registersUnlessTold = exact ? 2 : 4;
  static constexpr int registers = registersOf<Road, registersUnlessTold>;
  static constexpr int width = registers * (exact ? 2 : 1) * registerDoubles;
  static constexpr unsigned allElements = (1u << (width - 1) << 1) - 1;

  /// Computes blocks from i on while all their elements lie in the domain and all results stand.
  /// Returns the first element that is left.
  [[gnu::noinline]] static std::ptrdiff_t run(Road road, Arrays<float, S, D> arrays,
                                              std::ptrdiff_t i, std::ptrdiff_t end) {
    return ShortPath{road, arrays}.template runIn<MainRange<Road>>(i, end);
  }
  /// The same in the wider domain.
  [[gnu::noinline]] static std::ptrdiff_t runWider(Road road, Arrays<float, S, D> arrays,
                                                   std::ptrdiff_t i, std::ptrdiff_t end) {
    return ShortPath{road, arrays}.template runIn<WiderRange>(i, end);
  }
  /// Computes a block as far as its elements lie in the domain and their results stand. Returns
  /// which are left, their sources and destinations as they were: a bit for each.
  [[gnu::noinline]] static unsigned runSome(Road road, Arrays<float, S, D> arrays,
                                            std::ptrdiff_t i) {
    using Range = std::conditional_t<hasWiderRange, WiderRange, MainRange<Road>>;
    return ShortPath{road, arrays}.template runPart<Range>(i);
  }

  static constexpr bool hasWiderRange =
      requires(const Road& road, Simd<double, registerDoubles> x) {
    road.isInWiderRange(x);
  };

private:
  using Floats = Simd<float, 2 * registerDoubles>;
  using Register = std::conditional_t<exact, Floats, Simd<double, registerDoubles>>;
  using V = LaneArray<Register, registers>;

  struct WiderRange {
    const Road& road;
    QELVM_INLINE auto contains(auto... x) const { return road.isInWiderRange(x...); }
    QELVM_INLINE auto compute(const auto&... x) const { return road.computeWider(x...); }
  };

  ShortPath(const Road& road, const Arrays<float, S, D>& arrays) : road_(road), arrays_(arrays) {}

  template <class Range>
  QELVM_INLINE std::ptrdiff_t runIn(std::ptrdiff_t i, std::ptrdiff_t end) const {
    while (end - i >= width && runAll(Range{road_}, i))
      i += width;
    return i;
  }

  template <class Range>
  QELVM_INLINE bool runAll(const Range& range, std::ptrdiff_t i) const {
    return arrays_.source.withPlaces(i, [&](auto... source) QELVM_ALWAYS_INLINE {
      const auto contains = [&](const auto&... x)
                                QELVM_ALWAYS_INLINE { return range.contains(x...); };
      if (!allLanes(contains,
                    loadElements<LaneArray<Floats, width / elementCount<Floats>>>(source)...))
          [[unlikely]]
        return false;
      const auto results = range.compute(loadElements<V>(source)...);
      if (!allStand(results)) [[unlikely]]
        return false;
      withIndices<D>([&](auto... d) QELVM_ALWAYS_INLINE {
        (storeElements<V>(resultFor(d, results), arrays_.destination.array[d] + i), ...);
      });
      return true;
    });
  }

  template <class Range>
  QELVM_INLINE unsigned runPart(std::ptrdiff_t i) const {
    const Range range{road_};
    return arrays_.source.withPlaces(i, [&](auto... source) QELVM_ALWAYS_INLINE {
      return computePart(range, i, std::make_integer_sequence<int, S>{},
                         loadElements<V>(source)...);
    });
  }
  template <class Range, int... K, class... X>
  QELVM_INLINE unsigned computePart(const Range& range, std::ptrdiff_t i,
                                    std::integer_sequence<int, K...>, const X&... x) const {
    const auto inside =
        lanewise([&](const auto&... v) QELVM_ALWAYS_INLINE { return range.contains(v...); }, x...);
    if (bitsOfMasks(inside) == 0) // whose results would raise inexact for none
      return allElements;
    const auto results = range.compute(onlyWhere(inside, x, double{Road::inside[K]})...);
    const auto good = standing(inside, results);
    const unsigned left = allElements & ~bitsOfMasks(good);
    for (int d = 0; d < D; ++d)
      storeExcept(left, onlyWhere(good, resultFor(d, results), 1.0),
                  arrays_.destination.array[d] + i);
    return left;
  }

  /// All results stand.
  QELVM_INLINE bool allStand(const V& z) const {
    if constexpr (exact)
      return true;
    else
      return allAway_(z);
  }
  QELVM_INLINE bool allStand(const TwoResults<V>& both) const {
    return allStand(both.first) && allStand(both.second);
  }
  template <class M>
  QELVM_INLINE bool allStand(const IfStanding<V, M>& checked) const {
    return allLanes([](const auto& mask) QELVM_ALWAYS_INLINE { return mask; }, checked.stands) &&
           allStand(checked.value);
  }

  /// Which of those of the masks, one for each register, stand.
  QELVM_INLINE static auto standing(const auto& masks, const V& z) {
    if constexpr (exact)
      return masks;
    else
      return lanewise([](const auto& mask, const auto& v)
                          QELVM_ALWAYS_INLINE { return mask & awayFromMiddles<Road>(v); },
                      masks, z);
  }
  QELVM_INLINE static auto standing(const auto& masks, const TwoResults<V>& both) {
    return standing(standing(masks, both.first), both.second);
  }
  template <class M>
  QELVM_INLINE static auto standing(const auto& masks, const IfStanding<V, M>& checked) {
    return lanewise([](const auto& x, const auto& y) QELVM_ALWAYS_INLINE { return x & y; },
                    standing(masks, checked.value), checked.stands);
  }

  QELVM_INLINE static unsigned bitsOfMasks(const auto& masks) {
    return withIndices<registers>([&](auto... k) QELVM_ALWAYS_INLINE {
      return ((laneOf<k>(masks).bits() << (k * elementCount<Register>)) | ...);
    });
  }
  QELVM_INLINE static V onlyWhere(const auto& masks, const V& x, double elsewhere) {
    return lanewise(
        [=](const auto& mask, const Register& v)
            QELVM_ALWAYS_INLINE { return select(mask, v, uniform<Register>(elsewhere)); },
        masks, x);
  }

  /// Stores all elements but those of a set.
  QELVM_INLINE static void storeExcept(unsigned set, const V& value, Stored<float>* destination) {
    std::uint32_t kept[width];
    auto* const bits = reinterpret_cast<Stored<std::uint32_t>*>(destination);
    for (unsigned rest = set; rest != 0; rest &= rest - 1)
      kept[std::countr_zero(rest)] = bits[std::countr_zero(rest)];
    storeElements<V>(value, destination);
    for (unsigned rest = set; rest != 0; rest &= rest - 1)
      bits[std::countr_zero(rest)] = kept[std::countr_zero(rest)];
  }

  struct Nothing {};

  const Road& road_;
  const Arrays<float, S, D>& arrays_;
  [[no_unique_address]] std::conditional_t<exact, Nothing,
                                           AllAwayFromMiddles<Road, registerDoubles>>
      allAway_{};
};

} // namespace qelvm::frame
