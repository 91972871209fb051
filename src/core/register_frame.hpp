// The call frame over SIMD registers: what a build for a processor that has them does with a call.
//
//   blocks of `width` elements, all in the main range ──────────> load, compute, store
//                               all in the second range ────────> the same with its computation
//   a block of several kinds:   element in an ordinary range ───> into the queue of that range
//                               exceptional element ────────────> as in the plain library
//
// A queue is computed, by the same loop that takes the blocks, when it holds a block or more, and at
// the end with its last element repeated: no register ever holds an element that is not of its
// range, so none can raise a flag of its own. Few elements are faster one by one.
#pragma once

#include "core/call_frame.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qelvm::frame {

/// Registers in flight, where a kernel does not tell.
template <class Kernel>
inline constexpr int registersOf = 2;
template <class Kernel>
requires requires {
  Kernel::registers;
}
inline constexpr int registersOf<Kernel> = Kernel::registers;

/// Up to this many elements the scalar way is faster.
inline constexpr int fewElements = 8;

/// Elements of one range, taken out of blocks, with their places.
template <class T, int S, int D, int Width>
struct Queue {
  static constexpr int capacity = 3 * Width;

  T source[S][capacity];
  T destination[D][capacity];
  std::int32_t index[capacity];
  int count = 0;

  QELVM_INLINE bool isFull() const { return count > capacity - Width; }

  /// Without a branch: written in any case, kept only if `belongs`.
  QELVM_INLINE void append(std::int32_t i, bool belongs, auto... x) {
    withIndices<S>([&](auto... s) QELVM_ALWAYS_INLINE { ((source[s][count] = x), ...); });
    index[count] = i;
    count += belongs;
  }

  Arrays<T, S, D> arrays() {
    return {withIndices<S>([&](auto... s) QELVM_ALWAYS_INLINE { return sources(source[s]...); }),
            withIndices<D>(
                [&](auto... d) QELVM_ALWAYS_INLINE { return destinations(destination[d]...); })};
  }

  /// The last element once more, up to a whole block.
  void fillUp() {
    for (int k = count; k < Width; ++k)
      for (auto& array : source)
        array[k] = array[count - 1];
  }

  void dropFirst(int n) {
    for (int k = n; k < count; ++k) {
      for (auto& array : source)
        array[k - n] = array[k];
      index[k - n] = index[k];
    }
    count -= n;
  }
};

/// Who reported last, by place: what waits in a queue comes later than its place.
struct LastReport {
  QelStatus status = qelStatusOk;
  std::ptrdiff_t place = -1;

  void add(QelStatus reported, std::ptrdiff_t i) {
    if (reported != qelStatusOk && i > place) {
      status = reported;
      place = i;
    }
  }
};

template <class Export, class Kernel, class T, int S, int D, int Scalars>
class RegisterWalk {
public:
  using Elements = frame::Elements<Export, Kernel, T, S, D, Scalars>;

  explicit RegisterWalk(const Elements& elements) : elements_(elements) {}

  [[gnu::noinline]] static QelStatus walkFew(const Elements& elements, std::ptrdiff_t i,
                                             std::ptrdiff_t end) {
    return elements.walk(i, end);
  }

  QelStatus walk(std::ptrdiff_t length) {
    const Arrays<T, S, D>& arrays = elements_.path.arrays;
    std::ptrdiff_t i = 0;
    for (;;) {
      i = run<MainRange<Kernel>>(elements_.path.kernel, arrays, i, length);
      if (length - i < width)
        break;
      if constexpr (twoRanges) {
        const std::ptrdiff_t end =
            run<SecondRange<Kernel>>(elements_.path.kernel, arrays, i, length);
        if (end != i) {
          i = end;
          continue;
        }
      }
      sort(i, width);
      i += width;
    }
    if (length - i > fewElements)
      sort(i, static_cast<int>(length - i));
    else if (i < length)
      one(i, length);
    flush<MainRange<Kernel>>(queues_[0]);
    if constexpr (twoRanges)
      flush<SecondRange<Kernel>>(queues_[1]);
    return report_.status;
  }

private:
  using Register = Simd<double, registerDoubles>;
  static constexpr int registers = registersOf<Kernel>;
  using V = std::conditional_t<registers == 1, Register, LaneArray<Register, registers>>;
  static constexpr int width = elementCount<V>;
  static constexpr bool twoRanges = hasSecondRange<Kernel, T>;
  using Range0 = MainRange<Kernel>;
  using QueueOf = Queue<T, S, D, width>;

  /// Blocks from i on while all their elements lie in the range and their results stand. Returns the
  /// first element that is left.
  template <class Range>
  [[gnu::noinline]] static std::ptrdiff_t run(const Kernel& kernel, Arrays<T, S, D> arrays,
                                              std::ptrdiff_t i, std::ptrdiff_t end) {
    const Kernel own = kernel; // which no store to the destination can change
    const MainPath<Kernel, T, S, D> path{own, arrays};
    while (end - i >= width && path.template allIn<V>(Range{own}, i) &&
           path.template run<V>(Range{own}, i))
      i += width;
    return i;
  }

  void one(std::ptrdiff_t i, std::ptrdiff_t end) { report_.add(walkFew(elements_, i, end), end); }

  /// Puts elements i to i + count - 1 into the queues of their ranges; exceptional ones are done.
  [[gnu::noinline]] void sort(std::ptrdiff_t i, int count) {
    const Kernel kernel = elements_.path.kernel;
    std::uint64_t exceptional = 0;
    for (int k = 0; k < count; ++k) {
      elements_.path.arrays.source.withPlaces(i + k, [&](auto... source) QELVM_ALWAYS_INLINE {
        bool ordinary = MainRange<Kernel>{kernel}.contains(source->value...);
        queues_[0].append(static_cast<std::int32_t>(i + k), ordinary, source->value...);
        if constexpr (twoRanges) {
          const bool second = SecondRange<Kernel>{kernel}.contains(source->value...);
          queues_[1].append(static_cast<std::int32_t>(i + k), !ordinary & second,
                            source->value...);
          ordinary |= second;
        }
        exceptional |= std::uint64_t{!ordinary} << k;
      });
    }
    if (queues_[0].isFull())
      compute<MainRange<Kernel>>(queues_[0], queues_[0].count);
    if constexpr (twoRanges)
      if (queues_[1].isFull())
        compute<SecondRange<Kernel>>(queues_[1], queues_[1].count);
    for (; exceptional != 0; exceptional &= exceptional - 1) {
      const std::ptrdiff_t at = i + std::countr_zero(exceptional);
      one(at, at + 1);
    }
  }

  /// Computes the whole blocks of a queue, of which `filled` elements are there, the last ones
  /// repeated.
  template <class Range>
  void compute(QueueOf& queue, int filled) {
    const Arrays<T, S, D> own = queue.arrays();
    int done = 0;
    while (filled - done >= width) {
      const int computed =
          static_cast<int>(run<Range>(elements_.path.kernel, own, done, filled));
      for (int k = done; k < computed && k < queue.count; ++k)
        for (int d = 0; d < D; ++d)
          elements_.path.arrays.destination.array[d][queue.index[k]] = queue.destination[d][k];
      done = computed;
      if (filled - done < width)
        break;
      // A block whose results do not all stand.
      for (int k = done; k < done + width && k < queue.count; ++k)
        one(queue.index[k], queue.index[k] + 1);
      done += width;
    }
    queue.dropFirst(done < queue.count ? done : queue.count);
  }

  template <class Range>
  [[gnu::noinline]] void flush(QueueOf& queue) {
    if (queue.count >= width)
      compute<Range>(queue, queue.count);
    if (queue.count > fewElements) {
      queue.fillUp();
      compute<Range>(queue, width);
    }
    for (int k = 0; k < queue.count; ++k)
      one(queue.index[k], queue.index[k] + 1);
  }

  const Elements& elements_;
  LastReport report_;
  QueueOf queues_[twoRanges ? 2 : 1];
};

/// One call: elements 0 to length - 1.
template <class Export, class Kernel, class T, int S, int D, int Scalars>
QELVM_INLINE QelStatus walkRegisters(const Elements<Export, Kernel, T, S, D, Scalars>& elements,
                                     std::ptrdiff_t length) {
  using Walk = RegisterWalk<Export, Kernel, T, S, D, Scalars>;
  if (length <= fewElements)
    return Walk::walkFew(elements, 0, length);
  return Walk(elements).walk(length);
}

} // namespace qelvm::frame
