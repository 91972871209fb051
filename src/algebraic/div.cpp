// Division: one IEEE division per element, correctly rounded. A zero divisor is a singularity.

#include "core/export.hpp"
#include "core/short_road.hpp"

#include <limits>

namespace qelvm {
namespace {

/// Double precision. The singularity is decided by the divisor in memory after the quotient is
/// stored: in place of the divisor, a zero or NaN quotient is reported, a zero divisor is not.
template <class Export>
struct DivDouble {
  static constexpr int lanes = 4;
  static constexpr int registers = 4;

  /// Neither operand zero, infinite or NaN, and the quotient neither: nothing to report, in place
  /// or apart.
  QELVM_INLINE static auto isOrdinary(const auto& x, const auto& y) {
    return magnitudeWithin(x, 0x1p-511, 0x1p511) && magnitudeWithin(y, 0x1p-511, 0x1p511);
  }

  template <class V>
  static V compute(const V& x, const V& y) {
    return x / y;
  }

  static QelStatus exceptional(const Stored<double>& dividend, const Stored<double>& divisor,
                               Stored<double>& quotient) {
    const double x = dividend, y = divisor;
    quotient = x / y;
    const double stored = divisor; // read again, after the store
    const bool finite = !isInfiniteOrNan(x) && !isInfiniteOrNan(y);
    return finite && (stored == 0.0 || stored != stored) ? qelStatusSingularity : qelStatusOk;
  }
};

/// As for Inv.
struct DivShortRoad {
  static constexpr bool exact = true;
  static constexpr int registers = registersInFlight(2, 1);
  static constexpr double inside[] = {1.0, 1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x, const auto& y) {
    return magnitudeWithin(x, 0x1p-62, 0x1p63) && magnitudeWithin(y, 0x1p-62, 0x1p63);
  }
  QELVM_INLINE static auto compute(const auto& x, const auto& y) { return x / y; }
};

/// Single precision: the quotient of the widened operands, rounded again, is the correctly rounded
/// one. The divisor is tested before the store, and what is not finite takes the slow path.
template <class Export>
struct DivSingle {
  using ShortRoad = DivShortRoad;
  static constexpr int lanes = 4;
  static constexpr int registers = 4;

  QELVM_INLINE static auto isOrdinary(const auto& x, const auto& y) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    return magnitudeWithin(x, 0.0f, infinity) &&
           magnitudeWithin(y, std::numeric_limits<float>::denorm_min(), infinity);
  }

  template <class V>
  static V compute(const V& x, const V& y) {
    return x / y;
  }

  static QelStatus exceptional(const Stored<float>& dividend, const Stored<float>& divisor,
                               Stored<float>& quotient) {
    const float x = dividend, y = divisor;
    quotient = static_cast<float>(static_cast<double>(x) / static_cast<double>(y));
    return isZero(y) && !isInfiniteOrNan(x) ? qelStatusSingularity : qelStatusOk;
  }
};

} // namespace
} // namespace qelvm

QELVM_TWO_SOURCES(Div, DivSingle, DivDouble, DivDouble)
