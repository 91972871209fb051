// Reciprocal: one IEEE division per element, correctly rounded. Zeros of either sign are poles.

#include "core/export.hpp"

namespace qelvm {
namespace {

template <class Export>
struct Reciprocal {
  using Element = typename Export::Element;
  static constexpr int lanes = 4;

  static bool isOrdinary(Element x) { return !isZero(x); }

  template <class V>
  static V compute(const V& x) {
    return 1.0 / x;
  }

  static QelStatus exceptional(const Stored<Element>& zero, Stored<Element>& result) {
    result = static_cast<Element>(1.0 / static_cast<double>(zero)); // the infinity of its sign
    return qelStatusSingularity;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Inv, 32f, A11, qelvm::Reciprocal)
QELVM_ONE_SOURCE(Inv, 32f, A21, qelvm::Reciprocal)
QELVM_ONE_SOURCE(Inv, 32f, A24, qelvm::Reciprocal)
QELVM_ONE_SOURCE(Inv, 64f, A50, qelvm::Reciprocal)
QELVM_ONE_SOURCE(Inv, 64f, A53, qelvm::Reciprocal)
