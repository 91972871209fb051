// The call frame over SIMD registers: what a build for a processor that has them does with a call.
//
//   while a block is left:
//     all its elements in the main range? ────yes──> load, compute, store         `run` of the
//     range all in the second range? ───────────────yes──> the same with its computation otherwise
//     each element by its kind: ──────────> into the queue of its range    `sort`
//                                             ──────> exceptional: as in the plain library
//
// A queue is computed, by the very loop that takes the blocks, when another block would not fit; so
// no register ever holds an element that is not of its range, and none can raise a flag of its own.
// What is less than a block, of a call or in a queue at its end, goes the scalar way, and so do two
// mixed blocks with none behind them.
//
// Floats whose kernel has a short road (short_path.hpp) take it first, `walkShort`; all of this is
// then for the elements that it leaves.
#pragma once

#include "core/call_frame.hpp"
#include "core/short_path.hpp"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qelvm::frame {

/// Elements of one range, taken out of blocks, with their places.
template <class T, int S, int D, int Width>
struct Queue {
  static constexpr int capacity = 2 * Width > 48 ? 2 * Width : 48;

  T element[S > D ? S : D][capacity]; // the sources, then in their place the results
  std::int32_t place[capacity];
  int count = 0;

  /// No room for another block.
  QELVM_INLINE bool isFull() const { return count > capacity - Width; }

  /// The elements of a set (a bit for each) out of a register that begins with element i.
  template <int N>
  QELVM_INLINE void append(std::ptrdiff_t i, unsigned set, const Simd<double, N>& x,
                           const auto&... y) {
    int s = 0;
    storeRegister<T>(compressed(x, set), element[s] + count);
    (storeRegister<T>(compressed(y, set), element[++s] + count), ...);
    storeNumbers<N>(static_cast<std::int32_t>(i), set, place + count);
    count += std::popcount(set);
  }

  Arrays<T, S, D> arrays() {
    return {
        withIndices<S>([&](auto... s) QELVM_ALWAYS_INLINE { return sources(element[s]...); }),
        withIndices<D>([&](auto... d) QELVM_ALWAYS_INLINE { return destinations(element[d]...); })};
  }

  /// Closes up after the first n elements.
  void dropFirst(int n) {
    for (int k = n; k < count; ++k) {
      for (auto& array : element)
        array[k - n] = array[k];
      place[k - n] = place[k];
    }
    count -= n;
  }
};

/// A call as its queues see it: not of one export, so that exports of one shape share the code.
template <class T, int S, int D, int Width>
class QueuedCall {
public:
  /// Computes blocks of one range, while all their elements lie in it and their results stand.
  /// Returns the first element that is left.
  using Run = std::ptrdiff_t (*)(const void* call, Arrays<T, S, D> arrays, std::ptrdiff_t i,
                                 std::ptrdiff_t end);
  /// Elements i to end - 1 as in the plain library.
  using Walk = QelStatus (*)(const void* call, std::ptrdiff_t i, std::ptrdiff_t end);

  QueuedCall(const void* call, const Arrays<T, S, D>& arrays, Walk walkFew)
      : call_(call), arrays_(arrays), walk_(walkFew) {}

  Queue<T, S, D, Width>& queue(int range) { return queues_[range]; }
  QelStatus status() const { return status_; }

  void walk(std::ptrdiff_t i, std::ptrdiff_t end) { report(walk_(call_, i, end), end); }

  /// Keeps the status of the last place that reported one: what waited in a queue comes late.
  void report(QelStatus reported, std::ptrdiff_t end) {
    if (reported != qelStatusOk && end > reportedUpTo_) {
      status_ = reported;
      reportedUpTo_ = end;
    }
  }

  /// Computes the whole blocks of a queue.
  [[gnu::noinline]] void compute(int range, Run run) {
    Queue<T, S, D, Width>& queue = queues_[range];
    const Arrays<T, S, D> own = queue.arrays();
    int done = 0;
    while (queue.count - done >= Width) {
      const int computed = static_cast<int>(run(call_, own, done, queue.count));
      for (int d = 0; d < D; ++d)
        for (int k = done; k < computed; ++k)
          arrays_.destination.array[d][queue.place[k]] = queue.element[d][k];
      done = computed;
      if (queue.count - done >= Width) { // a block whose results do not all stand
        walkQueued(queue, done, done + Width);
        done += Width;
      }
    }
    queue.dropFirst(done);
  }

  /// Computes all that is left in a queue.
  [[gnu::noinline]] void flush(int range, Run run) {
    compute(range, run);
    walkQueued(queues_[range], 0, queues_[range].count);
  }

private:
  void walkQueued(const Queue<T, S, D, Width>& queue, int k, int end) {
    for (; k < end; ++k)
      walk(queue.place[k], queue.place[k] + 1);
  }

  const void* call_;
  Arrays<T, S, D> arrays_;
  Walk walk_;
  QelStatus status_ = qelStatusOk;
  std::ptrdiff_t reportedUpTo_ = 0;
  Queue<T, S, D, Width> queues_[S == 1 ? 2 : 1];
};

/// One call of an export.
template <class Export, class Kernel, class T, int S, int D, class... Scalars>
class RegisterWalk {
public:
  /// Elements 0 to length - 1.
  QELVM_INLINE static QelStatus walk(ArrayList<const Stored<T>*, S> source,
                                     ArrayList<Stored<T>*, D> destination, std::ptrdiff_t length,
                                     Scalars... scalars) {
    // Both out of line, so that a short call keeps no registers.
    return length < width ? walkFew(source, destination, 0, length, scalars...)
                          : walkMany(source, destination, length, scalars...);
  }

private:
  using Road = typename ShortRoadOf<Kernel, T>::Type;
  static constexpr bool hasRoad = !std::is_same_v<Road, NoShortRoad>;
  using Short = std::conditional_t<hasRoad, ShortPath<Road, S, D>, NoShortRoad>;

  [[gnu::noinline]] static QelStatus walkMany(ArrayList<const Stored<T>*, S> source,
                                              ArrayList<Stored<T>*, D> destination,
                                              std::ptrdiff_t length, Scalars... scalars) {
    const Kernel kernel{scalars...};
    const Call call{kernel, {source, destination}, {scalars...}, Road{scalars...}};
    std::ptrdiff_t i = 0;
    if constexpr (hasRoad)
      if (length >= Short::width) {
        i = Short::run(call.road, call.arrays, 0, length);
        if (length - i >= Short::width)
          return RegisterWalk(call).walkShort(i, length);
      }
    i = run<MainRange<Kernel>>(&call, call.arrays, i, length);
    if (length - i >= 2 * width)
      return RegisterWalk(call).walkRest(i, length);
    if constexpr (twoRanges)
      i = run<SecondRange<Kernel>>(&call, call.arrays, i, length);
    return walkPlaces(&call, i, length); // too few for the queues to be worth their while
  }

  /// Its arguments, for what sees them through one pointer.
  struct Call {
    const Kernel& kernel;
    Arrays<T, S, D> arrays;
    LaneArray<T, sizeof...(Scalars)> scalars;
    [[no_unique_address]] Road road;

    MainPath<Kernel, T, S, D> path() const { return {kernel, arrays}; }

    /// f(the scalars...)
    template <class F>
    QELVM_INLINE QelStatus withScalars(const F& f) const {
      return withIndices<sizeof...(Scalars)>(
          [&](auto... k) QELVM_ALWAYS_INLINE { return f(laneOf<k>(scalars)...); });
    }
  };

  using Register = Simd<double, registerDoubles>;
  static constexpr int registers = registersOf<Kernel>;
  static constexpr int width = registers * registerDoubles;
  using V = std::conditional_t<registers == 1, Register, LaneArray<Register, registers>>;
  static constexpr unsigned allOfRegister = (1u << registerDoubles) - 1;
  static constexpr bool twoRanges = hasSecondRange<Kernel, T>;
  static_assert(!twoRanges || S == 1, "QueuedCall has one queue for calls of two sources");

  explicit RegisterWalk(const Call& call)
      : arguments_(call), call_(&call, call.arrays, walkPlaces) {}

  /// The scalar way, its arguments in registers.
  [[gnu::noinline]] static QelStatus walkFew(ArrayList<const Stored<T>*, S> source,
                                             ArrayList<Stored<T>*, D> destination, std::ptrdiff_t i,
                                             std::ptrdiff_t end, Scalars... scalars) {
    const Kernel kernel{scalars...};
    return frame::walk<Export>(kernel, Arrays<T, S, D>{source, destination}, i, end, scalars...);
  }
  static QelStatus walkPlaces(const void* call, std::ptrdiff_t i, std::ptrdiff_t end) {
    const Call& arguments = *static_cast<const Call*>(call);
    return arguments.withScalars([&](auto... scalars) QELVM_ALWAYS_INLINE {
      return walkFew(arguments.arrays.source, arguments.arrays.destination, i, end, scalars...);
    });
  }

  template <class Range>
  [[gnu::noinline]] static std::ptrdiff_t run(const void* call, Arrays<T, S, D> arrays,
                                              std::ptrdiff_t i, std::ptrdiff_t end) {
    // A copy, which no store to the destination can change.
    const Kernel kernel = static_cast<const Call*>(call)->kernel;
    const MainPath<Kernel, T, S, D> path{kernel, arrays};
    while (end - i >= width && path.template allIn<V>(Range{kernel}, i) &&
           path.template run<V>(Range{kernel}, i))
      i += width;
    return i;
  }

  /// From element i on, where the short road ended. Where it leaves many elements of a block, it is
  /// not tried again for some blocks, for more each time.
  QelStatus walkShort(std::ptrdiff_t i, std::ptrdiff_t length) {
    constexpr std::ptrdiff_t shortPause = 16 * Short::width, longPause = 256 * Short::width;
    std::ptrdiff_t pause = shortPause;
    const auto& [kernel, arrays, scalars, road] = arguments_;
    while (length - i >= Short::width) {
      if constexpr (Short::hasWiderRange) {
        const std::ptrdiff_t begin = i;
        i = Short::runWider(road, arrays, i, length);
        if (i != begin) {
          i = Short::run(road, arrays, i, length);
          continue;
        }
      }
      const unsigned left = Short::runSome(road, arrays, i);
      int queued = 0;
      if (left != Short::allElements) {
        for (int k = 0; k < Short::width; k += registerDoubles)
          if (const unsigned set = left >> k & allOfRegister; set != 0)
            queued += sortRegister(i + k, set);
        i += Short::width;
      }
      if (16 * queued > Short::width || 4 * std::popcount(left) > Short::width) {
        const std::ptrdiff_t end = length - i > pause ? i + pause : length;
        i = walkBlocks(run<MainRange<Kernel>>(&arguments_, arrays, i, end), end);
        pause = pause < longPause ? 4 * pause : longPause;
      } else if (queued == 0) {
        pause = shortPause;
      }
      i = Short::run(road, arrays, i, length);
    }
    return walkRest(i, length);
  }

  /// From element i on, where the main range ended.
  QelStatus walkRest(std::ptrdiff_t i, std::ptrdiff_t length) {
    i = walkBlocks(i, length);
    if (i < length)
      call_.walk(i, length);
    call_.flush(0, run<MainRange<Kernel>>);
    if constexpr (twoRanges)
      call_.flush(1, run<SecondRange<Kernel>>);
    return call_.status();
  }
  /// As many of them as make blocks.
  std::ptrdiff_t walkBlocks(std::ptrdiff_t i, std::ptrdiff_t length) {
    const Arrays<T, S, D>& arrays = arguments_.arrays;
    while (length - i >= width) {
      const std::ptrdiff_t begin = i;
      if constexpr (twoRanges)
        i = run<SecondRange<Kernel>>(&arguments_, arrays, i, length);
      if (i == begin)
        i = sortBlocks(i, length);
      i = run<MainRange<Kernel>>(&arguments_, arrays, i, length);
    }
    return i;
  }

  /// Sorts the elements of a set out of the register that begins with element i. Returns how many
  /// of them wait in queues.
  int sortRegister(std::ptrdiff_t i, unsigned set) {
    const unsigned first = elementsIn(MainRange<Kernel>{arguments_.kernel}, i) & set;
    unsigned second = 0;
    if constexpr (twoRanges)
      second = elementsIn(SecondRange<Kernel>{arguments_.kernel}, i) & set & ~first;
    distribute(i, set, first, second);
    computeFullQueues();
    return std::popcount(first | second);
  }

  /// The elements of a set out of a register: those of the two ranges into their queues.
  QELVM_INLINE void distribute(std::ptrdiff_t i, unsigned set, unsigned first, unsigned second) {
    append(0, i, first);
    if constexpr (twoRanges)
      append(1, i, second);
    takeAllExceptional(i, set & ~(first | second));
  }
  QELVM_INLINE void computeFullQueues() {
    if (call_.queue(0).isFull())
      call_.compute(0, run<MainRange<Kernel>>);
    if constexpr (twoRanges)
      if (call_.queue(1).isFull())
        call_.compute(1, run<SecondRange<Kernel>>);
  }

  /// Sorts blocks from i on until one lies in one range again. Returns the first element left.
  [[gnu::noinline]] std::ptrdiff_t sortBlocks(std::ptrdiff_t i, std::ptrdiff_t length) {
    for (const std::ptrdiff_t begin = i; length - i >= width; i += width) {
      constexpr unsigned all = allOfRegister;
      unsigned first[registers], second[registers];
      unsigned everyFirst = all, everySecond = all;
      for (int k = 0; k < registers; ++k) {
        const std::ptrdiff_t at = i + k * registerDoubles;
        everyFirst &= first[k] = elementsIn(MainRange<Kernel>{arguments_.kernel}, at);
        if constexpr (twoRanges)
          second[k] = elementsIn(SecondRange<Kernel>{arguments_.kernel}, at) & ~first[k];
        else
          second[k] = 0;
        everySecond &= second[k];
      }
      if (i != begin && (everyFirst == all || everySecond == all))
        break;

      for (int k = 0; k < registers; ++k)
        distribute(i + k * registerDoubles, all, first[k], second[k]);
      computeFullQueues();
    }
    return i;
  }

  /// The elements of a register's from i on that lie in a range: a bit for each.
  template <class Range>
  QELVM_INLINE unsigned elementsIn(const Range& range, std::ptrdiff_t i) const {
    return arguments_.path().template contains<Register>(range, i).bits();
  }
  QELVM_INLINE void append(int queue, std::ptrdiff_t i, unsigned set) {
    arguments_.arrays.source.withPlaces(i, [&](auto... source) QELVM_ALWAYS_INLINE {
      call_.queue(queue).append(i, set, loadElements<Register>(source)...);
    });
  }
  QELVM_INLINE void takeAllExceptional(std::ptrdiff_t i, unsigned set) {
    for (; set != 0; set &= set - 1) {
      const std::ptrdiff_t at = i + std::countr_zero(set);
      call_.report(arguments_.withScalars([&](auto... scalars) QELVM_ALWAYS_INLINE {
        return takeExceptional<Export>(arguments_.kernel, arguments_.arrays, at, scalars...);
      }),
                   at + 1);
    }
  }

  const Call& arguments_;
  QueuedCall<T, S, D, width> call_;
};

} // namespace qelvm::frame
