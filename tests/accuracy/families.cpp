#include "families.hpp"

#include <cfloat>
#include <cmath>

namespace accuracy {
namespace {

/// An MPFR function of one argument.
Reference unary(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
  return [f](mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) { f(r, x, MPFR_RNDN); };
}
Reference binary(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)) {
  return [f](mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y) { f(r, x, y, MPFR_RNDN); };
}

/// start, start + step, ...: `count` points.
std::vector<Point> grid(double start, double step, int count) {
  std::vector<Point> points;
  for (int i = 0; i < count; ++i)
    points.push_back({start + i * step});
  return points;
}

Family division() {
  return {.name = "Div",
          .references = {binary(mpfr_div)},
          .regions = {{{1, 2}, {1, 2}},
                      {{DBL_TRUE_MIN, DBL_MAX}, {DBL_TRUE_MIN, DBL_MAX}},
                      {{-DBL_MAX, -DBL_TRUE_MIN}, {0.001, 1000}},
                      {{1e-310, 1e-300}, {0.5, 1e8}}}, // subnormal quotients
          .singleRegions = {{{1, 2}, {1, 2}},
                            {{FLT_TRUE_MIN, FLT_MAX}, {FLT_TRUE_MIN, FLT_MAX}},
                            {{1e-40, 1e-36}, {0.5, 1e6}}},
          .hardPoints = {{1, 3}, {0x1.fffffffffffffp0, 0x1.ffffffffffffep0}, {1, 0x1p-1022}}};
}

Family reciprocal() {
  return {.name = "Inv",
          .references = {[](mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) {
            mpfr_ui_div(r, 1, x, MPFR_RNDN);
          }},
          .regions = {{{1, 2}}, {{DBL_TRUE_MIN, DBL_MAX}}, {{0x1p1021, DBL_MAX}}},
          .singleRegions = {{{1, 2}}, {{FLT_TRUE_MIN, FLT_MAX}}, {{0x1p125, FLT_MAX}}},
          .hardPoints = {{3}, {0x1p-1024}, {0x1p-128}, {-1}}};
}

Family exponential() {
  // The ends of the reduction's intervals, (n + 1/2) ln2/64, over the whole range.
  const double step = M_LN2 / 64;
  return {.name = "Exp",
          .references = {unary(mpfr_exp)},
          .regions = {{{-708.39, 709.78}},
                      {{-0.7, 0.7}},
                      {{0x1p-52, 1}},
                      {{-1, -0x1p-52}},
                      {{-745.13, -708.39}}},
          .singleRegions = {{{-87.33F, 88.72F}},
                            {{-0.7F, 0.7F}},
                            {{0x1p-30F, 1}},
                            {{-103.97F, -87.33F}}},
          .hardPoints = grid(-68800.5 * step, step, 134336),
          .subnormalA50 = 1.5,
          .subnormalA53 = 0.505};
}

} // namespace

const std::vector<Family>& families() {
  static const std::vector<Family> all = {division(), exponential(), reciprocal()};
  return all;
}

} // namespace accuracy
