// Sine and cosine at once: the kernel of sine_cosine.hpp, which tells the method. Reduction and
// polynomials are done once; each result has the very operations of the family that computes it
// alone.
//
// Error: as for sine and cosine alone.

#include "core/export.hpp"
#include "trig/sine_cosine.hpp"

namespace qelvm {
namespace {

template <class Export>
struct SineAndCosine : SineCosineMethod {
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
