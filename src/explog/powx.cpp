// Power with one exponent for all elements: the kernel and the bits of Pow (its method and error
// are described there). The exponent is classified once, in the constructor; what the loop needs of
// it is in two masks.

#include "core/export.hpp"
#include "explog/power.hpp"
#include "explog/short_power.hpp"

namespace qelvm {
namespace {

template <class Export>
class PowxShortRoad : public PowerShortRoad {
public:
  static constexpr double inside[] = {1.0};

  explicit PowxShortRoad(float power)
      : y_(static_cast<double>(power)), moderate_(isModerate(power)) {}

  QELVM_INLINE auto isOrdinary(const auto& x) const {
    return positiveWithin(x, 0x1p-126,
                          moderate_ ? std::numeric_limits<double>::infinity() : 0x1p-126);
  }

  template <class V>
  QELVM_INLINE auto compute(const V& x) const {
    return ofPositive(x, y_);
  }

private:
  double y_;
  bool moderate_;
};

template <class Export>
class PowxKernel {
public:
  using Element = typename Export::Element;
  using ShortRoad = PowxShortRoad<Export>;
  static constexpr int lanes = fewRegisters ? 1 : 2;
  static constexpr int registers = registersInFlight(3, 2);

  explicit PowxKernel(Element power)
      : y_(static_cast<double>(power)),
        parity_(parityOf(y_)),
        resultSign_(parity_ == Parity::odd ? 0x800 : 0),
        relevantBits_(!isModerate(power)              ? 0
                      : parity_ == Parity::notInteger ? ~std::uint64_t{0}
                                                      : ~signMask<double>) {}

  /// Normal, not 1 and, unless the exponent is an integer, positive. Nothing is ordinary with an
  /// exponent that is not moderate.
  template <class X>
  QELVM_INLINE auto isOrdinary(const X& x) const {
    const auto base = fromBits(bitsOf(x) & relevantBits<ScalarOf<X>>());
    return positiveWithin(base, std::numeric_limits<Element>::min(),
                          std::numeric_limits<Element>::infinity()) &&
           differsFrom(base, Element{1});
  }

  template <class V>
  QELVM_INLINE Tentative<V> compute(const V& x) const {
    const Tentative<V> power = ordinaryPower<Export>(magnitude(x), PowExponent<double>(y_));
    // A power is positive: its sign is set by an addition to the bit above the exponent.
    return {addToExponent(power.value, (highWord(x) >> 20) & resultSign_), power.valid};
  }

  QelStatus exceptional(const Stored<Element>& base, Stored<Element>& result) const {
    return powerOf<Export>(static_cast<double>(base), y_, parity_, result);
  }

private:
  /// As x has its own: the leading ones.
  template <class T>
  QELVM_INLINE auto relevantBits() const {
    return static_cast<typename Format<T>::Bits>(relevantBits_ >> (64 - 8 * sizeof(T)));
  }

  double y_;
  Parity parity_;
  std::int32_t resultSign_;    ///< the bit of the sign above the exponent, where results have it
  std::uint64_t relevantBits_; ///< the bits of a base that decide whether it is ordinary
};

} // namespace
} // namespace qelvm

QELVM_SOURCE_AND_SCALAR(Powx, PowxKernel, PowxKernel, PowxKernel)
