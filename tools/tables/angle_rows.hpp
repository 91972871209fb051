// What the generators of the trigonometric tables share: functions at j pi/32, the powers of two
// next to them.
#pragma once

#include "mpfr_real.hpp"

#include <cmath>

/// f(j pi/32), f being mpfr_sinu, mpfr_cosu or mpfr_tanu: exact where it is rational.
inline Real atAngle(int (*f)(mpfr_ptr, mpfr_srcptr, unsigned long, mpfr_rnd_t), int j) {
  return Real::apply([f](mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t mode) { f(r, x, 64, mode); },
                     Real(j));
}

/// The power of two nearest to x, with its sign; x itself if it is zero.
inline double nearestPowerOfTwo(double x) {
  int exponent;
  const double m = std::frexp(x, &exponent); // 0.5 <= |m| < 1
  return x == 0 ? x : std::copysign(std::ldexp(std::fabs(m) < 0.75 ? 0.5 : 1.0, exponent), x);
}
