// The call frame: what every vector export does around its kernel. Checks the length, then the
// pointers, then walks the elements in ascending order. Nothing of a family is in it.
//
//   while i < length:
//     main path   elements i to i + N - 1 ordinary? ──yes──> load, compute, store N ──> i += N
//                   no
//                 element i ordinary? ───────────────yes──> load, compute, store 1 ──> i += 1
//                   no
//     slow path   store its default result ──> a status? ──yes──> report it ────────> i += 1
//
// A kernel is a type with these members (T the element type, double or float; all const or static):
//
//   auto isOrdinary(x)                          the cheap test for the main range, of an element
//                                               or of a register of them, widened
//   V compute(V x)                              the result of an ordinary element, a straight line
//                                               of building blocks over V = double, Lanes<N>, a
//                                               register, or several
//   QelStatus exceptional(const Stored<T>& x, Stored<T>& r)
//                                               everything else: stores the result into r, then
//                                               returns the status to report, qelStatusOk for none;
//                                               void in a family that never reports. Of a NaN, only
//                                               that it is one counts; all NaNs come from here
//   static constexpr int lanes                  elements in flight (1 where more do not help)
//   static constexpr int registers              registers in flight, where two are not the best
//   ShortRoad                                   a type: how registers of floats are computed
//                                               (core/short_road.hpp)
//
// and, where a family has a second ordinary range (a series beside a table), also
// isInSecondRange(x) and computeSecondRange(x), tried after the first, and secondRangeApart = true
// if it should leave the main loop alone, in a function of its own. Where only the result shows
// whether an element is ordinary, `compute` returns a Tentative<V>. Kernels of two sources take
// (x, y); with two destinations `compute` returns a TwoResults<V> and `exceptional` takes (x, r1,
// r2). A scalar argument goes to the kernel's constructor, once per call.
//
// Single precision is the same double computation: sources are widened exactly, results rounded
// once when they are stored. That gives the correctly rounded float unless the double result is the
// middle between two floats, and the exact result lies on its other side: docs/every-float.md.
#pragma once

#include "core/error_report.hpp"
#include "core/floating_point.hpp"
#include "qelvm.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qelvm {

/// The name under which an export reports: empty. Each reporting export has its own.
template <class Export>
QELVM_TABLE char nameSlot[1] = {};

/// The results of one element (or of N) for the two destinations.
template <class V>
struct TwoResults {
  V first;
  V second;
};

/// The result of one element (or of N) that stands only if `valid`; otherwise the element is
/// exceptional. Computing what is not valid must raise no flag that the element itself does not.
template <class V>
struct Tentative {
  V value;
  bool valid; ///< all N of them
};

/// An element in the caller's memory, at any address.
template <class T>
struct [[gnu::packed]] Stored {
  T value;

  QELVM_INLINE operator T() const { return value; } // NOLINT(google-explicit-constructor)
  QELVM_INLINE Stored& operator=(T newValue) {
    value = newValue;
    return *this;
  }
};

/// The source arrays, or the destination arrays, of one call.
template <class Pointer, int Count>
struct ArrayList {
  Pointer array[Count];

  bool hasNull() const {
    for (const Pointer pointer : array)
      if (pointer == nullptr)
        return true;
    return false;
  }

  /// The arrays from element i on.
  ArrayList from(std::ptrdiff_t i) const {
    ArrayList rest = *this;
    for (Pointer& pointer : rest.array)
      pointer += i;
    return rest;
  }

  /// f(place of element i in the first array, in the second, ...)
  template <class F>
  QELVM_INLINE decltype(auto) withPlaces(std::ptrdiff_t i, const F& f) const {
    return withIndices<Count>(
        [&](auto... k) QELVM_ALWAYS_INLINE -> decltype(auto) { return f(array[k] + i...); });
  }
};

template <class T, class... Others>
QELVM_INLINE auto sources(const T* first, Others... others) {
  return ArrayList<const Stored<T>*, 1 + sizeof...(Others)>{
      {reinterpret_cast<const Stored<T>*>(first), reinterpret_cast<const Stored<T>*>(others)...}};
}
template <class T, class... Others>
QELVM_INLINE auto destinations(T* first, Others... others) {
  return ArrayList<Stored<T>*, 1 + sizeof...(Others)>{
      {reinterpret_cast<Stored<T>*>(first), reinterpret_cast<Stored<T>*>(others)...}};
}

/// The array arguments of one call.
template <class T, int Sources, int Destinations>
struct Arrays {
  ArrayList<const Stored<T>*, Sources> source;
  ArrayList<Stored<T>*, Destinations> destination;
};

namespace frame {

/// What a kernel's results hold for a destination.
QELVM_INLINE const auto& resultFor(int /*destination*/, const auto& only) {
  return only;
}
template <class V>
QELVM_INLINE const V& resultFor(int destination, const TwoResults<V>& both) {
  return destination == 0 ? both.first : both.second;
}
template <class V>
QELVM_INLINE const V& resultFor(int /*destination*/, const Tentative<V>& checked) {
  return checked.value;
}

QELVM_INLINE bool stands(const auto&) {
  return true;
}
template <class V>
QELVM_INLINE bool stands(const Tentative<V>& checked) {
  return checked.valid;
}

/// A kernel's two ordinary ranges under common names.
template <class Kernel>
struct MainRange {
  const Kernel& kernel;

  QELVM_INLINE auto contains(auto... x) const { return kernel.isOrdinary(x...); }
  QELVM_INLINE auto compute(const auto&... x) const { return kernel.compute(x...); }
};

template <class Kernel, class T>
inline constexpr bool hasSecondRange = requires(const Kernel& kernel, T x) {
  kernel.isInSecondRange(x);
};

template <class Kernel>
struct SecondRange {
  const Kernel& kernel;

  QELVM_INLINE auto contains(auto... x) const { return kernel.isInSecondRange(x...); }
  QELVM_INLINE auto compute(const auto&... x) const { return kernel.computeSecondRange(x...); }
};

/// The elements from `source` on that a V holds, widened; those of a V rounded to elements from
/// `destination` on.
template <class V, class T>
QELVM_INLINE V loadElements(const Stored<T>* source) {
  if constexpr (isLanes<V>)
    return withIndices<LaneTraits<V>::count>([&](auto... k) QELVM_ALWAYS_INLINE {
      using Lane = typename LaneTraits<V>::Lane;
      return V{loadElements<Lane>(source + k * elementCount<Lane>)...};
    });
  else if constexpr (isSimd<V>)
    return loadRegister<V, T>(source);
  else
    return static_cast<V>(*source);
}
template <class V, class T>
QELVM_INLINE void storeElements(const V& value, Stored<T>* destination) {
  if constexpr (isLanes<V>)
    withIndices<LaneTraits<V>::count>([&](auto... k) QELVM_ALWAYS_INLINE {
      (storeElements(laneOf<k>(value),
                     destination + k * elementCount<typename LaneTraits<V>::Lane>),
       ...);
    });
  else if constexpr (isSimd<V>)
    storeRegister<T>(value, destination);
  else
    *destination = static_cast<T>(value);
}

/// The main path: the ordinary elements of a call, as many at once as a value type V holds.
template <class Kernel, class T, int S, int D>
struct MainPath {
  const Kernel& kernel;
  Arrays<T, S, D> arrays;

  /// All elements from i on that a V holds lie in the range.
  template <class V, class Range>
  QELVM_INLINE bool allIn(Range range, std::ptrdiff_t i) const {
    if constexpr (isLanes<V>)
      return allTrue(withIndices<LaneTraits<V>::count>([&](auto... k) QELVM_ALWAYS_INLINE {
        using Lane = typename LaneTraits<V>::Lane;
        return (contains<Lane>(range, i + k * elementCount<Lane>) & ...);
      }));
    else
      return allTrue(contains<V>(range, i));
  }
  template <class V, class Range>
  QELVM_INLINE auto contains(Range range, std::ptrdiff_t i) const {
    return arrays.source.withPlaces(i, [&](auto... source) QELVM_ALWAYS_INLINE {
      if constexpr (isSimd<V>)
        return range.contains(loadElements<V>(source)...);
      else
        return static_cast<int>(range.contains(source->value...));
    });
  }

  /// Loads, computes and stores the elements from i on that a V holds; false if the results do not
  /// stand.
  template <class V, class Range>
  QELVM_INLINE bool run(Range range, std::ptrdiff_t i) const {
    const auto results = arrays.source.withPlaces(i, [&](auto... source) QELVM_ALWAYS_INLINE {
      return range.compute(loadElements<V>(source)...);
    });
    if (!stands(results)) [[unlikely]]
      return false;
    withIndices<D>([&](auto... d) QELVM_ALWAYS_INLINE {
      (storeElements<V>(resultFor(d, results), arrays.destination.array[d] + i), ...);
    });
    return true;
  }

  /// The second range in a function of its own; source and destination apart travel in registers.
  template <class V>
  [[gnu::noinline]] static bool
  runSecondRangeApart(const Kernel& kernel, ArrayList<const Stored<T>*, S> source,
                      ArrayList<Stored<T>*, D> destination, std::ptrdiff_t i) {
    const MainPath path{kernel, {source, destination}};
    return path.template run<V>(SecondRange<Kernel>{kernel}, i);
  }

  /// Computes the elements from i on that a V holds if they all lie in one ordinary range.
  template <class V>
  QELVM_INLINE bool runOrdinary(std::ptrdiff_t i) const {
    const MainRange<Kernel> mainRange{kernel};
    if (allIn<V>(mainRange, i)) [[likely]]
      return run<V>(mainRange, i);
    if constexpr (hasSecondRange<Kernel, T>) {
      const SecondRange<Kernel> secondRange{kernel};
      if (allIn<V>(secondRange, i)) {
        if constexpr (requires { Kernel::secondRangeApart; })
          return runSecondRangeApart<V>(kernel, arrays.source, arrays.destination, i);
        else
          return run<V>(secondRange, i);
      }
    }
    return false;
  }
};

/// Replaces NaNs that a kernel has stored when it goes out of scope.
template <class T, int D>
struct NanReplacement {
  ArrayList<Stored<T>*, D> destination;
  std::ptrdiff_t i;
  T nan;

  QELVM_INLINE ~NanReplacement() {
    for (Stored<T>* const array : destination.array)
      if (isNan(array[i].value))
        array[i] = nan;
  }
};

/// The slow path: stores exceptional element i and returns the status that it reports; void in a
/// family that never does. Out of line, so that the loop keeps its registers; its stack is free
/// again when the element is reported.
///
/// Every NaN result comes by here. Its sign and payload would depend on the processor and on the
/// order in which a compiler puts operands, so the kernel's NaN is replaced: its arithmetic raises
/// the flags, the arguments decide the bits.
template <class Kernel, class T, int S, int D, class... Scalars>
[[gnu::noinline]] auto storeExceptional(const Kernel& kernel, Arrays<T, S, D> arrays,
                                        std::ptrdiff_t i, Scalars... scalars) {
  return arrays.source.withPlaces(i, [&](auto... source) QELVM_ALWAYS_INLINE {
    return arrays.destination.withPlaces(i, [&](auto... destination) QELVM_ALWAYS_INLINE {
      const NanReplacement<T, D> afterwards{arrays.destination, i,
                                            nanResult<T>(source->value..., scalars...)};
      return kernel.exceptional(*source..., *destination...);
    });
  });
}

/// Stores exceptional element i and reports it. Returns the status, qelStatusOk for none.
template <class Export, class Kernel, class T, int S, int D, class... Scalars>
QELVM_INLINE QelStatus takeExceptional(const Kernel& kernel, const Arrays<T, S, D>& arrays,
                                       std::ptrdiff_t i, Scalars... scalars) {
  const auto store = [&] { return storeExceptional(kernel, arrays, i, scalars...); };
  if constexpr (std::is_void_v<decltype(store())>) {
    store();
    return qelStatusOk;
  } else {
    const QelStatus reported = store();
    if (reported != qelStatusOk)
      reportElementError(reported, static_cast<std::int32_t>(i), arrays.source.array[0],
                         arrays.source.array[S - 1], arrays.destination.array[0],
                         arrays.destination.array[D - 1], nameSlot<Export>);
    return reported;
  }
}

/// Elements i to end - 1 in ascending order. Returns the status of the last that reported one.
template <class Export, class Kernel, class T, int S, int D, class... Scalars>
QELVM_INLINE QelStatus walk(const Kernel& kernel, const Arrays<T, S, D>& arrays, std::ptrdiff_t i,
                            std::ptrdiff_t end, Scalars... scalars) {
  constexpr int lanes = lanesOf<Kernel>;
  const MainPath<Kernel, T, S, D> path{kernel, arrays};
  QelStatus status = qelStatusOk;
  while (i < end) {
    if constexpr (lanes > 1) {
      if (end - i >= lanes && path.template runOrdinary<Lanes<lanes>>(i)) [[likely]] {
        i += lanes;
        continue;
      }
    }
    if (!path.template runOrdinary<double>(i)) [[unlikely]] {
      const QelStatus reported = takeExceptional<Export>(kernel, arrays, i, scalars...);
      if (reported != qelStatusOk)
        status = reported;
    }
    ++i;
  }
  return status;
}

} // namespace frame
} // namespace qelvm

#include "core/register_frame.hpp"

namespace qelvm {

/// Runs one call of `Export`; `scalars` are the kernel's constructor arguments.
template <class Export, class Kernel, class T, int S, int D, class... Scalars>
QELVM_INLINE QelStatus call(ArrayList<const Stored<T>*, S> source,
                            ArrayList<Stored<T>*, D> destination, std::int32_t length,
                            Scalars... scalars) {
  static_assert(frame::ShortRoadIsComplete<Kernel>);
  if (length < 1)
    return qelStatusSizeError;
  if (source.hasNull() || destination.hasNull())
    return qelStatusNullPointer;

  if constexpr (registerDoubles > 0) {
    return frame::RegisterWalk<Export, Kernel, T, S, D, Scalars...>::walk(source, destination,
                                                                          length, scalars...);
  } else {
    const Kernel kernel{scalars...};
    return frame::walk<Export>(kernel, Arrays<T, S, D>{source, destination}, 0, length, scalars...);
  }
}

} // namespace qelvm
