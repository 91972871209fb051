// What the generators of logarithm tables share: reciprocals rounded to a grid, logarithms split
// into a leading part that sums exactly and the rest.
#pragma once

#include "mpfr_real.hpp"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>

/// numerator / denominator rounded to a multiple of 2^-bits. No ties occur in these tables.
inline Real roundedQuotient(const Real& numerator, const Real& denominator, int bits) {
  const Real grid = std::ldexp(1.0, bits);
  Real n = numerator / denominator * grid;
  mpfr_rint(n.get(), n.get(), MPFR_RNDN);
  return n / grid;
}

/// Rows (reciprocal, hi, lo) of the logarithms hi + lo; collects the text and the largest error.
class LogarithmRows {
public:
  /// Leading parts that are given, in units of 2^-42, by row. Any other multiple of 2^-42 within
  /// 13 units of the logarithm would serve as well and give the same sums; these are fixed.
  using LeadingParts = std::map<int, std::int64_t>;

  LogarithmRows(std::string macro, LeadingParts given = {})
      : macro_(std::move(macro)), given_(std::move(given)) {}

  /// hi is the nearest multiple of 2^-42, or the given one; lo the rest, rounded to double.
  void add(const Real& reciprocal, const Real& logarithm) {
    const auto given = given_.find(row_);
    const double hi = given != given_.end() ? std::ldexp(static_cast<double>(given->second), -42)
                                            : nearestLeadingPart(logarithm);
    const double lo = (logarithm - Real(hi)).toDouble();
    const Real error = Real::apply(mpfr_abs, Real(hi) + Real(lo) - logarithm);
    if (mpfr_cmp(error.get(), worst_.get()) > 0)
      worst_ = error;
    char row[160];
    std::snprintf(row, sizeof row, "%s(%a, %a, %a) // %d: %.17g\n", macro_.c_str(),
                  reciprocal.toDouble(), hi, lo, row_, hi);
    text_ += row;
    ++row_;
  }

  const char* text() const { return text_.c_str(); }
  /// The largest |hi + lo - logarithm|, as a power of two.
  double worstExponent() const { return std::log2(worst_.toDouble()); }

private:
  static double nearestLeadingPart(const Real& logarithm) {
    return std::ldexp(std::nearbyint((logarithm * Real(0x1p42)).toDouble()), -42);
  }

  std::string macro_;
  LeadingParts given_;
  std::string text_;
  Real worst_;
  int row_ = 0;
};
