// Sine and cosine at once: the kernel of sine_cosine.hpp, which tells the method. Reduction and
// polynomials are done once; each result has the very operations of the family that computes it
// alone.
//
// Error: as for sine and cosine alone.

#include "core/export.hpp"
#include "trig/short_sine.hpp"
#include "trig/sine_cosine.hpp"

namespace qelvm {
namespace {

template <class Export>
struct SinCosShortRoad : ShortQuarters {
  static constexpr double distance =
      distanceOf(ShortQuarterSine::offBy + ShortQuarterCosine::offBy, 16);

  template <class V>
  QELVM_INLINE static TwoResults<V> compute(const V& x) {
    return inQuadrant(of(x));
  }
  template <class V>
  QELVM_INLINE static TwoResults<V> computeWider(const V& x) {
    return inQuadrant(ofWider<Export>(x));
  }

private:
  template <class V>
  QELVM_INLINE static TwoResults<V> inQuadrant(const ShortSineCosine<V>& x) {
    const V odd = flipByBit<0>(uniform<V>(0.0), x.shifted);
    const V next = lanewise(
        [](const auto& n) QELVM_ALWAYS_INLINE { return fromBits(bitsOf(n) + 1); }, x.shifted);
    return {flipByBit<1>(selectBySign(odd, x.cosine, x.sine), x.shifted),
            flipByBit<1>(selectBySign(odd, x.sine, x.cosine), next)};
  }
};

template <class Export>
struct SineAndCosine : SineCosineMethod {
  using ShortRoad = SinCosShortRoad<Export>;
  template <class V, class Quadrant, class Lo>
  QELVM_INLINE static TwoResults<V> result(const TrigArgument<V, Quadrant, Lo>& x) {
    const SineCosine<Export, V> both(x);
    return {both.at(0), both.at(16)};
  }
  static TwoResults<double> tinyResult(double x) { return {tinyTrigResult(x), tinyCosine(x)}; }
};

template <class Export>
using SineAndCosineKernel = TrigKernel<Export, SineAndCosine<Export>>;

} // namespace
} // namespace qelvm

QELVM_TWO_DESTINATIONS(SinCos, SineAndCosineKernel, SineAndCosineKernel, SineAndCosineKernel)
