// Power.
//
// x^y = 2^(y log2 x). log2 x is formed as a double-word through three multiplications by tabulated
// reciprocals and a polynomial of degree 4, times y exactly but for its last words; 2^ of that
// through 128 powers in double-word and a polynomial of degree 5. All classes run this kernel.
// Ordinary elements have a positive normal base and a normal result; negative bases with an integer
// exponent run the same steps with the sign added at the end.

#include "core/export.hpp"
#include "explog/power.hpp"

namespace qelvm {
namespace {

template <class Export>
struct PowKernel {
  using Element = typename Export::Element;
  static constexpr int lanes = 2;

  static bool isOrdinary(Element x, Element y) {
    return positiveWithin(x, std::numeric_limits<Element>::min(),
                          std::numeric_limits<Element>::infinity()) &&
           x != 1 && isModerate(y);
  }

  template <class V>
  QELVM_INLINE static Tentative<V> compute(const V& x, const V& y) {
    return ordinaryPower<Export>(x, PowExponent<V>(y));
  }

  static QelStatus exceptional(const Element& base, const Element& exponent, Element& result) {
    const double x = static_cast<double>(base);
    const double y = static_cast<double>(exponent);
    return powerOf<Export>(x, y, parityOf(y), result);
  }
};

} // namespace
} // namespace qelvm

QELVM_TWO_SOURCES(Pow, 32f, A11, qelvm::PowKernel)
QELVM_TWO_SOURCES(Pow, 32f, A21, qelvm::PowKernel)
QELVM_TWO_SOURCES(Pow, 32f, A24, qelvm::PowKernel)
QELVM_TWO_SOURCES(Pow, 64f, A50, qelvm::PowKernel)
QELVM_TWO_SOURCES(Pow, 64f, A53, qelvm::PowKernel)
