// The rows of a table of 2^(j/count), hi a double near it and lo the rest.
#pragma once

#include "mpfr_real.hpp"

#include <cmath>
#include <cstdio>
#include <string>

struct PowerRows {
  std::string text;
  double log2Error; ///< of the worst row
};

/// One line MACRO(hi, lo) for each j from 0 to last. lo(power, hi) is the exact rest before it is
/// rounded to double, error(power, hi, lo) what is then missing; hi(power) is rounded to nearest if
/// not given.
template <class Lo, class Error, class Hi = double (*)(const Real&)>
PowerRows powerRows(
    const char* macro, int count, int last, Lo lo, Error error,
    Hi hiOf = [](const Real& power) { return power.toDouble(); }) {
  std::string text;
  Real worst;
  for (int j = 0; j <= last; ++j) {
    const Real power = Real::apply(mpfr_exp2, Real(j) / Real(count));
    const double hi = hiOf(power);
    const double rest = lo(power, Real(hi)).toDouble();
    const Real missing = Real::apply(mpfr_abs, error(power, Real(hi), Real(rest)));
    if (mpfr_cmp(missing.get(), worst.get()) > 0)
      worst = missing;
    char row[128];
    std::snprintf(row, sizeof row, "%s(%a, %a) // %d: %.17g\n", macro, hi, rest, j, hi);
    text += row;
  }
  return {text, std::log2(worst.toDouble())};
}
