// The committed rows of fitted polynomials against MPFR, whatever fitted them: the largest relative
// error over points in each interval, the ends among them.

#include "mpfr_real.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

namespace {

using Function = std::function<Real(const Real&)>;
using Row = std::vector<double>;

/// The value of a row (-c, pairs, single coefficients) at a.
Real polynomial(const Row& row, std::size_t pairs, const Real& a) {
  const Real t = a + Real(row[0]);
  Real sum;
  for (std::size_t i = row.size() - 1; i > 2 * pairs; --i)
    sum = sum * t + Real(row[i]);
  for (std::size_t i = pairs; i > 0; --i)
    sum = sum * t + (Real(row[2 * i - 1]) + Real(row[2 * i]));
  return sum;
}

/// log2 of the largest relative error over [low, high].
double worst(const Row& row, std::size_t pairs, double low, double high, const Function& f) {
  constexpr int points = 96; // close enough together that none of the 16 extrema escapes
  double largest = 0;
  for (int i = 0; i <= points; ++i) {
    const double part = (1 - std::cos(std::numbers::pi * i / points)) / 2;
    const Real a = low + (high - low) * part;
    const double error = (polynomial(row, pairs, a) / f(a) - Real(1)).toDouble();
    largest = std::max(largest, std::abs(error));
  }
  return std::log2(largest);
}

/// The rows of a function that saturates: four to each binade from 0.125 on.
void checkQuarterBinades(const std::vector<Row>& rows, double saturation, const Function& f,
                         const std::function<double(std::size_t)>& bound) {
  for (std::size_t j = 0; j < rows.size(); ++j) {
    const auto start = [](std::size_t k) {
      return std::ldexp(1 + static_cast<double>(k % 4) / 4, static_cast<int>(k / 4) - 3);
    };
    const double high = std::min(start(j + 1), saturation);
    EXPECT_LT(worst(rows[j], 3, start(j), high, f), bound(j)) << "row " << j;
    // The kernel's products are exact only with a short coefficient of t^2.
    EXPECT_EQ(rows[j][5], static_cast<double>(std::ldexp(
                              std::rint(std::ldexp(rows[j][5], 25 - std::ilogb(rows[j][5]))),
                              std::ilogb(rows[j][5]) - 25)))
        << "row " << j;
  }
}

TEST(Rows, Tanh) {
  const std::vector<Row> rows = {
#define QELVM_TANH_ROW(...) {__VA_ARGS__},
#include "hyperbolic/tanh_rows.inc"
  };
  ASSERT_EQ(rows.size(), 29u);
  checkQuarterBinades(
      rows, 19.0615474653985, [](const Real& a) { return Real::apply(mpfr_tanh, a); },
      [](std::size_t) { return std::log2(5e-20); });
}

TEST(Rows, Erf) {
  const std::vector<Row> rows = {
#define QELVM_ERF_ROW(...) {__VA_ARGS__},
#include "errfunc/erf_rows.inc"
  };
  ASSERT_EQ(rows.size(), 22u);
  checkQuarterBinades(
      rows, 5.921587195794508, [](const Real& a) { return Real::apply(mpfr_erf, a); },
      [](std::size_t j) { return j < 12    ? -70.8
                                 : j == 20 ? -60.1
                                           : -64; });
}

TEST(Rows, Erfc) {
  const std::vector<Row> rows = {
#define QELVM_ERFC_ROW(...) {__VA_ARGS__},
#define QELVM_ERFC_FAR_ROW(...) {__VA_ARGS__},
#include "errfunc/erfc_rows.inc"
  };
  ASSERT_EQ(rows.size(), 20u);
  for (std::size_t E = 0; E < rows.size(); ++E) {
    const Function f = [E](const Real& a) {
      const Real erfc = Real::apply(mpfr_erfc, a);
      return E < 6 ? erfc : erfc * Real::apply(mpfr_exp, a * a);
    };
    const double low = std::exp2(static_cast<double>(E) / 4) - 1;
    const double high =
        E == 19 ? 27.226017111108366 : std::exp2(static_cast<double>(E + 1) / 4) - 1;
    EXPECT_LT(worst(rows[E], 6, low, high, f), E == 5 ? -64.2 : -70) << "row " << E;
  }
}

} // namespace
