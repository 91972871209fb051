// Sine: the kernel of sine_cosine.hpp, which tells the method.
//
// Error: below 0.541 ulp, proven (docs/proofs.md); 0.53423 seen at
// 0x1.fdf7f96dee227p+16 in a search of the worst places.

#include "core/export.hpp"
#include "trig/short_sine.hpp"
#include "trig/sine_cosine.hpp"

namespace qelvm {
namespace {

template <class Export>
struct SinShortRoad : ShortSine {
  QELVM_INLINE static auto compute(const auto& x) { return of(x, 0.0); }
  QELVM_INLINE static auto computeWider(const auto& x) { return ofWider<Export>(x, 0.0); }
};

template <class Export>
struct Sine : SineCosineMethod {
  using ShortRoad = SinShortRoad<Export>;
  template <class V, class Quadrant, class Lo>
  QELVM_INLINE static V result(const TrigArgument<V, Quadrant, Lo>& x) {
    return SineCosine<Export, V>(x).at(0);
  }
  static double tinyResult(double x) { return tinyTrigResult(x); }
};

template <class Export>
using SineKernel = TrigKernel<Export, Sine<Export>>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Sin, SineKernel, SineKernel, SineKernel)
