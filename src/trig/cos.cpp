// Cosine: the kernel of sine_cosine.hpp, which tells the method, a quarter turn ahead.
//
// Error: below 0.602 ulp, proven (docs/proofs.md); 0.60110 seen at
// 0x1.65a1dd290660fp+16, an argument next to a zero.

#include "core/export.hpp"
#include "trig/short_sine.hpp"
#include "trig/sine_cosine.hpp"

namespace qelvm {
namespace {

/// The cosine is the sine a quarter turn on.
template <class Export>
struct CosShortRoad : ShortSine {
  QELVM_INLINE static auto compute(const auto& x) { return of(x, 0.5); }
  QELVM_INLINE static auto computeWider(const auto& x) { return ofWider<Export>(x, 0.5); }
};

template <class Export>
struct Cosine : SineCosineMethod {
  using ShortRoad = CosShortRoad<Export>;
  template <class V, class Quadrant, class Lo>
  QELVM_INLINE static V result(const TrigArgument<V, Quadrant, Lo>& x) {
    return SineCosine<Export, V>(x).at(16);
  }
  static double tinyResult(double x) { return tinyCosine(x); }
};

template <class Export>
using CosineKernel = TrigKernel<Export, Cosine<Export>>;

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Cos, CosineKernel, CosineKernel, CosineKernel)
