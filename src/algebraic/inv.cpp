// Reciprocal: one IEEE division per element, correctly rounded. Zeros of either sign are poles.

#include "core/export.hpp"
#include "core/short_road.hpp"

#include <limits>

namespace qelvm {
namespace {

/// A quotient of floats is the double quotient rounded, where it is a normal float: the double one,
/// of more than twice as many bits, is a middle between two floats only where the quotient is.
struct InvShortRoad {
  static constexpr bool exact = true;
  static constexpr int registers = registersInFlight(2, 1);
  static constexpr double inside[] = {1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, 0x1p-126, 0x1p126);
  }
  QELVM_INLINE static auto compute(const auto& x) { return 1.0f / x; }
};

template <class Export>
struct Reciprocal {
  using Element = typename Export::Element;
  using ShortRoad = InvShortRoad;
  static constexpr int lanes = 4;
  static constexpr int registers = 4;

  QELVM_INLINE static auto isOrdinary(const auto& x) {
    return magnitudeWithin(x, std::numeric_limits<Element>::denorm_min(),
                           std::numeric_limits<Element>::infinity());
  }

  template <class V>
  static V compute(const V& x) {
    return 1.0 / x;
  }

  /// A zero gives the infinity of its sign, an infinity the zero.
  static QelStatus exceptional(const Stored<Element>& source, Stored<Element>& result) {
    const Element x = source;
    result = static_cast<Element>(1.0 / static_cast<double>(x));
    return isZero(x) ? qelStatusSingularity : qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_ONE_SOURCE(Inv, Reciprocal, Reciprocal, Reciprocal)
