// The arguments that reductions by multiples of pi find hardest.
#pragma once

#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <vector>

/// For each exponent below 2^maxExponent a number of `digits` binary digits next to an even
/// multiple of pi/4, the nearest or nearly, and one next to an odd multiple: denominators q of the
/// fractions p/q that approximate 2^k 4/pi best, or their multiples.
inline std::vector<double> hardAngles(int digits, int maxExponent) {
  const double lowest = std::ldexp(1.0, digits - 1), limit = 2 * lowest;
  mpfr_t fourOverPi, scaled, rest, quotient, turns;
  mpfr_inits2(2000, fourOverPi, scaled, rest, quotient, turns, nullptr);
  mpfr_const_pi(fourOverPi, MPFR_RNDN);
  mpfr_ui_div(fourOverPi, 4, fourOverPi, MPFR_RNDN);
  std::vector<double> angles;
  for (int k = 1 - digits; k <= maxExponent - digits; ++k) {
    mpfr_mul_2si(scaled, fourOverPi, k, MPFR_RNDN);
    double nearest[2] = {}, least[2] = {1, 1}; // by the parity of the multiple of pi/4
    const auto consider = [&](double q) {
      if (q < lowest || q >= limit)
        return;
      mpfr_mul_d(turns, scaled, q, MPFR_RNDN);
      mpfr_rint(quotient, turns, MPFR_RNDN);
      mpfr_sub(turns, turns, quotient, MPFR_RNDN);
      mpfr_div_2ui(quotient, quotient, 1, MPFR_RNDN);
      const bool odd = mpfr_integer_p(quotient) == 0;
      const double distance = std::fabs(mpfr_get_d(turns, MPFR_RNDN));
      if (distance < least[odd]) {
        least[odd] = distance;
        nearest[odd] = std::ldexp(q, k);
      }
    };
    double q = 1, before = 0; // denominators of two successive convergents
    mpfr_frac(rest, scaled, MPFR_RNDN);
    while (q < limit) {
      for (double factor : {std::ceil(lowest / q), std::ceil(lowest / q) + 1})
        consider(factor * q);
      mpfr_ui_div(rest, 1, rest, MPFR_RNDN);
      mpfr_floor(quotient, rest);
      mpfr_sub(rest, rest, quotient, MPFR_RNDN);
      // Between two convergents lie before + t q; those next to the end are the best.
      const double a = mpfr_get_d(quotient, MPFR_RNDN);
      const double most = std::fmin(a, std::floor((limit - before) / q));
      for (double t = most; t > 0 && t > most - 4; --t)
        consider(before + t * q);
      const double next = before + a * q;
      before = q;
      q = next;
    }
    for (double angle : nearest)
      if (angle != 0)
        angles.push_back(angle);
  }
  mpfr_clears(fourOverPi, scaled, rest, quotient, turns, nullptr);
  return angles;
}
