// The reduction of an argument by ln2/64 and the polynomials of e^r. The tables of 2^(j/64) are the
// families': each needs its powers in words of its own, which are other bits.
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {
namespace {

/// x = n ln2/64 + r, |r| <= ln2/128 (and a little for the rounding of n), n = 64 m + j.
template <class V>
struct ExpReduced {
  IntegerOf<V> j; ///< row of a table of 2^(j/64)
  IntegerOf<V> m; ///< power of two
  V leading;      ///< x - n times the leading part of ln2/64, exact
  V trailing;     ///< n times the rest of ln2/64

  QELVM_INLINE V r() const { return leading - trailing; }
  QELVM_INLINE DoubleDoubleOf<V> exactR() const { return twoSum(leading, -trailing); }
};

template <class V>
QELVM_INLINE ExpReduced<V> reduceExp(const V& x) {
  constexpr double inverseStep = 0x1.71547652b82fep6; // 64 / ln 2
  // Constants exp_step: rounded; off by 2^-92.47 (relative) (tools/polynomials/exp_step.sollya).
  constexpr double stepHi = 0x1.62e42fefap-7;      // ln2 / 64, the last 17 bits cleared
  constexpr double stepLo = 0x1.cf79abc9e3b3ap-46; // the rest
  const Rounded<V> n = roundShifter(x * inverseStep, integerShifter);
  const IntegerOf<V> integer = lowWord(n.sum);
  return {integer & 63, integer >> 6, x - n.value * stepHi, n.value * stepLo};
}

/// e^r - 1 - r = r^2 (c[0] + r c[1] + ...); `even` and `odd` are its alternate coefficients.
struct ExpPolynomialShort {
  // Polynomial exp_short: given; off by 2^-59.35 (absolute) for |r| <= log(2)/128
  // (tools/polynomials/exp.sollya).
  static constexpr double c[] = {0x1.fffffffffdbd9p-2, 0x1.5555555557676p-3, 0x1.555573c3184f2p-5,
                                 0x1.111108f38cb59p-7};
  static constexpr double even[] = {c[0], c[2]};
  static constexpr double odd[] = {c[1], c[3]};
};

/// The same, longer.
struct ExpPolynomialLong {
  // Polynomial exp_long: given; off by 2^-70.20 (absolute) for |r| <= log(2)/128
  // (tools/polynomials/exp.sollya).
  static constexpr double c[] = {0x1p-1, 0x1.55555555548f8p-3, 0x1.5555555558fccp-5,
                                 0x1.111123aaf20d3p-7, 0x1.6c16a1c2a3ffdp-10};
  static constexpr double even[] = {c[0], c[2], c[4]};
  static constexpr double odd[] = {c[1], c[3]};
};

/// e^r - 1 - r.
template <class Polynomial, class V>
QELVM_INLINE V expTail(const V& r) {
  return (horner(Polynomial::c, r) * r) * r;
}

} // namespace
} // namespace qelvm
