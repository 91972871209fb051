// Power.
//
// Reduction: x^y = 2^(y log2 x). log2 x is a double-word: the significand goes through three
// multiplications by reciprocals, to within 2^-16 of L = log2 e cut to 23 bits. y log2 x is
// n + j/128 + r, |r| <= 2^-8, its leading product exact.
//
// Table: 33, 33 and 129 reciprocals with their logarithms in two words, the first a multiple of
// 2^-42; 2^(j/128) in two words.
//
// Polynomial: log2(1 + V/L) - V of degree 4; 2^r - 1 of degree 5 (explog/power.hpp).
//
// Ranges: the ordinary elements have a positive normal base and a normal result; negative bases
// with an integer exponent run the same steps with the sign added at the end.
//
// Error: proven below 0.6 ulp (0.5998), and 0.5557 where the result is subnormal (docs/proofs.md).
// Nearly all of it is where x is 2^-16 from one and |y log2 x| near 1024: 0.578523 seen at
// 0x1.00010003c0998p+0, 0x1.62df650b71881p+25, subnormal 0.542460 at 0x1.0001002390fb8p+0,
// -0x1.62029b095039fp+25. Away from there 0.515 seen.

#include "core/export.hpp"
#include "explog/power.hpp"
#include "explog/short_power.hpp"

namespace qelvm {
namespace {

struct PowShortRoad : PowerShortRoad {
  static constexpr double inside[] = {1.0, 1.0};

  QELVM_INLINE static auto isOrdinary(const auto& x, const auto& y) {
    return positiveWithin(x, 0x1p-126, std::numeric_limits<double>::infinity()) && isModerate(y);
  }

  template <class V>
  QELVM_INLINE static auto compute(const V& x, const V& y) {
    return ofPositive(x, y);
  }
};

template <class Export>
struct PowKernel {
  using Element = typename Export::Element;
  using ShortRoad = PowShortRoad;
  static constexpr int lanes = fewRegisters ? 1 : 2;
  static constexpr int registers = registersInFlight(3, 2);

  QELVM_INLINE static auto isOrdinary(const auto& x, const auto& y) {
    return positiveWithin(x, std::numeric_limits<Element>::min(),
                          std::numeric_limits<Element>::infinity()) &&
           differsFrom(x, Element{1}) && isModerate(y);
  }

  template <class V>
  QELVM_INLINE static Tentative<V> compute(const V& x, const V& y) {
    return ordinaryPower<Export>(x, PowExponent<V>(y));
  }

  static QelStatus exceptional(const Stored<Element>& base, const Stored<Element>& exponent,
                               Stored<Element>& result) {
    const double x = static_cast<double>(base);
    const double y = static_cast<double>(exponent);
    return powerOf<Export>(x, y, parityOf(y), result);
  }
};

} // namespace
} // namespace qelvm

QELVM_TWO_SOURCES(Pow, PowKernel, PowKernel, PowKernel)
