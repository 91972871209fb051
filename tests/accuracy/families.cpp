#include "families.hpp"

#include "../hard_angles.hpp"

#include <cfloat>
#include <cmath>
#include <cstdint>

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

std::vector<Point> joined(std::vector<Point> points, const std::vector<Point>& more) {
  points.insert(points.end(), more.begin(), more.end());
  return points;
}

/// Arguments whose square roots come closest to midpoints between doubles: with n odd, n 2^-53 is a
/// midpoint in [1, 2), and y = n^2 - c is a double if 2^54 (for y < 2; else 2^55) divides it.
std::vector<Point> rootsNearMidpoints() {
  std::vector<Point> points;
  for (int k = 54; k <= 55; ++k)
    for (std::int64_t c = -1999; c < 2000; c += 8) { // 1 modulo 8: the squares of odd numbers
      const auto goal = static_cast<std::uint64_t>(c);
      std::uint64_t root = 1; // of c, modulo ever higher powers of two
      for (int bit = 3; bit < k; ++bit)
        root += ((root * root - goal) >> bit & 1) << (bit - 1);
      const std::uint64_t half = std::uint64_t{1} << (k - 1);
      for (const std::uint64_t solution : {root, root + half, -root, half - root}) {
        const std::uint64_t n = solution % (2 * half);
        const auto square = static_cast<unsigned __int128>(n) * n - static_cast<__int128>(c);
        const auto y = static_cast<std::uint64_t>(square >> k);
        if (n >> 53 == 1 && y >> 52 == 1)
          points.push_back({std::ldexp(static_cast<double>(y), k - 106)});
      }
    }
  return points;
}

Family squareRoot() {
  return {.name = "Sqrt",
          .references = {unary(mpfr_sqrt)},
          .regions = {{{1, 4}}, {{DBL_TRUE_MIN, DBL_MAX}}, {{DBL_TRUE_MIN, DBL_MIN}}},
          .singleRegions = {{{1, 4}}, {{FLT_TRUE_MIN, FLT_MAX}}, {{FLT_TRUE_MIN, FLT_MIN}}},
          .hardPoints = joined(rootsNearMidpoints(), grid(1, 0x1p-8, 769))};
}

Family reciprocalSquareRoot() {
  return {.name = "InvSqrt",
          .references = {unary(mpfr_rec_sqrt)},
          .regions = {{{1, 4}}, {{1, 1.05}}, {{DBL_TRUE_MIN, DBL_MAX}}, {{DBL_TRUE_MIN, DBL_MIN}}},
          .singleRegions = {{{1, 4}}, {{FLT_TRUE_MIN, FLT_MAX}}, {{FLT_TRUE_MIN, FLT_MIN}}},
          // The ends of the table's intervals; the worst that a long search met.
          .hardPoints = joined(grid(1, 0x1p-6, 193), {{0x1.0c31a5f6dc54ep+92}})};
}

Family cubeRoot() {
  return {.name = "Cbrt",
          .references = {unary(mpfr_cbrt)},
          .regions = {{{1, 8}}, {{4.8, 5}}, {{-DBL_MAX, -DBL_TRUE_MIN}}, {{0, DBL_MIN}}},
          .singleRegions = {{{1, 8}}, {{-FLT_MAX, -FLT_TRUE_MIN}}, {{0, FLT_MIN}}},
          .hardPoints =
              joined(grid(1, 0x1p-6, 449), {{0x1.37c1baa209606p+2}, {0x1.1fbb6c9868aacp+2}, {27}})};
}

Family reciprocalCubeRoot() {
  return {.name = "InvCbrt",
          .references = {[](mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) {
            mpfr_cbrt(r, x, MPFR_RNDN);
            mpfr_ui_div(r, 1, r, MPFR_RNDN);
          }},
          .regions = {{{1, 8}},
                      {{1.078125, 1.0782}},
                      {{-DBL_MAX, -DBL_TRUE_MIN}},
                      {{DBL_TRUE_MIN, DBL_MIN}}},
          .singleRegions = {{{1, 8}}, {{-FLT_MAX, -FLT_TRUE_MIN}}, {{FLT_TRUE_MIN, FLT_MIN}}},
          .hardPoints = joined(grid(1, 0x1p-6, 449), {{0x1.1400462dcda84p+0}, {8}})};
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
          .hardPoints = joined(grid(-68800.5 * step, step, 134336),
                               {{0x1.4ec56e4b9908p+9}, {-0x1.623e8e5146cfep+9}}),
          .subnormalA50 = 1.5,
          .subnormalA53 = 0.51};
}

/// Logarithms lose most near one, and where a kernel changes from one reciprocal, or from one
/// significand range, to the next.
Family logarithm(const char* name, Reference reference) {
  std::vector<Point> hard = {{M_SQRT2},
                             {M_SQRT1_2},
                             {DBL_MIN},
                             {FLT_MIN},
                             {DBL_MAX},
                             {FLT_MAX}, // and the worst seen
                             {0x1.6c57e7de381a9p+2},
                             {0x1.020167a83940bp+0},
                             {0x1.5557c7f9a16fdp+0},
                             {0x1.fcf09af016771p-1}};
  for (int j = 0; j < 64; ++j)
    for (int k : {-1000, -100, -2, -1, 0, 1, 100, 1000})
      hard.push_back({std::ldexp(1 + (j + 0.5) / 64, k)});
  for (int k = -1074; k < 1024; ++k)
    hard.push_back({std::ldexp(1, k)});
  for (double sixteenth = -16; sixteenth <= 16; ++sixteenth)
    hard.push_back({1 + sixteenth / 512}); // with 5/512 and 3/512, where the series end
  return {.name = name,
          .references = {std::move(reference)},
          .regions = {{{DBL_TRUE_MIN, DBL_MAX}},
                      {{0.5, 2}},
                      {{0.98, 1.02}},
                      {{1 - 0x1p-20, 1 + 0x1p-20}},
                      {{DBL_TRUE_MIN, DBL_MIN}}},
          .singleRegions = {{{FLT_TRUE_MIN, FLT_MAX}}, {{0.5, 2}}, {{0.98, 1.02}}},
          .hardPoints = std::move(hard)};
}

Family power(const char* name) {
  std::vector<Point> hard = {{2, 1023.9999999999999},
                             {2, -1074.5},
                             {-2, 1023},
                             {-2, -1073},
                             {0x1.00010126121dap+0, -0x1.5ff1a3df890efp+25}}; // the worst seen
  for (int k = -1074; k < 1024; ++k)
    hard.push_back({2, static_cast<double>(k)});
  for (double n = 3; n < 200; n += 2)
    for (double y : {2.0, 3.0, 5.0, -1.0, -2.0, 0.5, 1.5}) {
      hard.push_back({n, y});
      hard.push_back({n * n, y});
      hard.push_back({-n, y});
    }
  for (double i = 0; i < 32; ++i) // the ends of the first reciprocals' intervals
    hard.push_back({1 + (i + 0.5) / 32, 700.0 / (i + 1)});
  return {.name = name,
          .references = {binary(mpfr_pow)},
          .regions = {{{0.1, 10}, {-10, 10}},
                      {{DBL_TRUE_MIN, DBL_MAX}, {-1, 1}},
                      {{1 - 0x1p-10, 1 + 0x1p-10}, {-700000, 700000}},
                      {{1 - 0x1p-30, 1 + 0x1p-30}, {-7e11, 7e11}},
                      {{1.5, 3}, {620, 640}}, // near overflow
                      {{0x1.0001p+0, 0x1.000104p+0},
                       {-0x1.61p25, -0x1.5fp25}},         // the end of a reduction
                      {{0x1p-129, 0x1p-128}, {7.9, 8.4}}, // subnormal
                      {{-100, -1}, {3, 3}},
                      {{-0x1p-350, -0x1p-364}, {3, 3}}},
          .singleRegions = {{{0.1, 10}, {-10, 10}},
                            {{FLT_TRUE_MIN, FLT_MAX}, {-1, 1}},
                            {{0.99, 1.01}, {-8000, 8000}},
                            {{1.5, 3}, {75, 80}},
                            {{0x1p-17, 0x1p-16}, {7.8, 9.2}},
                            {{-100, -1}, {3, 3}}},
          .hardPoints = std::move(hard)};
}

/// Arguments at which the square root inside a kernel, of 2^-k u for u from 1 to 4, passes from one
/// entry of its table to the next; `argument` inverts the kernel's first step.
template <class F>
std::vector<Point> betweenRootSeeds(int first, int last, F argument) {
  std::vector<Point> points;
  for (int k = first; k <= last; ++k)
    for (int i = 0; i < 256; ++i)
      points.push_back({argument(std::ldexp(1 + (i + 0.5) / 256, k))});
  return points;
}

/// The same for the logarithm inside a kernel, of 2^k to 2^(k+1).
template <class F>
std::vector<Point> betweenLogarithmRows(int first, int last, F argument) {
  std::vector<Point> points;
  for (int k = first; k <= last; ++k)
    for (int j = 0; j < 64; ++j)
      points.push_back({argument(std::ldexp(1 + (j + 0.5) / 64, k))});
  return points;
}

/// Arcsine or arccosine: a series up to 1/2, beyond it a root of (1 - |x|) / 2.
Family inverseTrigonometric(const char* name, Reference reference, std::vector<Point> worst) {
  std::vector<Point> hard = joined({{0.5}, {-0.5}, {0x1p-53}, {1}, {-1}}, worst);
  for (double sign : {-1.0, 1.0})
    hard = joined(hard, betweenRootSeeds(-12, -3, [sign](double z) { return sign * (1 - 2 * z); }));
  return {.name = name,
          .references = {std::move(reference)},
          .regions = {{{-1, 1}},
                      {{-0.5, 0.5}},
                      {{0.45, 0.55}},
                      {{-0.55, -0.45}},
                      {{1 - 0x1p-10, 1}},
                      {{-1, -1 + 0x1p-10}},
                      {{0x1p-60, 0.5}}},
          .singleRegions = {{{-1, 1}}, {{0.5, 1}}, {{-1, -0.5}}, {{0x1p-30, 0.5}}},
          .hardPoints = std::move(hard)};
}

Family inverseHyperbolicSine() {
  const auto ofLogarithm = [](double z) { return (z - 1 / z) / 2; };
  return {
      .name = "Asinh",
      .references = {unary(mpfr_asinh)},
      .regions = {{{0.125, 2}},
                  {{-0.125, 0.125}},
                  {{0.12, 0.14}},
                  {{-100, 100}},
                  {{0x1p-60, 0x1p29}},
                  {{0x1p28, DBL_MAX}},
                  {{-DBL_MIN, DBL_MIN}}},
      .singleRegions = {{{0.125, 2}}, {{-0.125, 0.125}}, {{-100, 100}}, {{0, FLT_MAX}}},
      .hardPoints = joined(
          betweenLogarithmRows(0, 29, ofLogarithm),
          joined(betweenRootSeeds(0, 12, [](double u) { return std::sqrt(u - 1); }),
                 {{0x1p-57}, {0.125}, {0x1p28}, {DBL_MAX}, {FLT_MAX}, {0x1.2ccd98fa343f1p-3}}))};
}

Family inverseHyperbolicCosine() {
  const auto ofLogarithm = [](double z) { return (z + 1 / z) / 2; };
  return {.name = "Acosh",
          .references = {unary(mpfr_acosh)},
          .regions = {{{1, 1.0625}},
                      {{1.0625, 1.1}},
                      {{1.0625, 100}},
                      {{1, 0x1p29}},
                      {{0x1p28, DBL_MAX}},
                      {{1, 1 + 0x1p-30}}},
          .singleRegions = {{{1, 1.0625F}}, {{1.0625F, 100}}, {{1, FLT_MAX}}},
          .hardPoints = joined(
              joined(betweenLogarithmRows(0, 29, ofLogarithm),
                     betweenRootSeeds(-60, -4, [](double u) { return 1 + u / 2; })),
              joined(betweenRootSeeds(-3, 12, [](double u) { return std::sqrt(u + 1); }),
                     {{1}, {1.0625}, {0x1p28}, {DBL_MAX}, {FLT_MAX}, {0x1.0fc29ddefe992p+0}}))};
}

Family inverseHyperbolicTangent() {
  const auto ofLogarithm = [](double q) { return (q - 1) / (q + 1); };
  return {.name = "Atanh",
          .references = {unary(mpfr_atanh)},
          .regions = {{{-1, 1}},
                      {{0.0625, 0.07}},
                      {{-0.0625, 0.0625}},
                      {{0x1p-60, 1}},
                      {{1 - 0x1p-20, 1}},
                      {{-DBL_MIN, DBL_MIN}}},
          .singleRegions = {{{-1, 1}}, {{0.0625F, 0.07F}}, {{-0.0625F, 0.0625F}}, {{0.999F, 1}}},
          .hardPoints =
              joined(betweenLogarithmRows(0, 53, ofLogarithm),
                     {{0x1p-57}, {0.0625}, {1 - 0x1p-53}, {1 - 0x1p-24}, {0x1.e9ed072d246c7p-5}})};
}

/// Both hyperbolic functions: at ends of the reduction's intervals, where the ranges meet, and at
/// the worst seen.
Family hyperbolic(const char* name, Reference reference) {
  const double step = M_LN2 / 64;
  return {.name = name,
          .references = {std::move(reference)},
          .regions = {{{-21.5, 21.5}},
                      {{0.02, 0.7}},
                      {{0x1p-53, 0.07}},
                      {{21.4, 710.475860073943}},
                      {{-710.475860073943, -710.4}}},
          .singleRegions = {{{-89.41598F, 89.41598F}}, {{-0.7F, 0.7F}}, {{0x1p-53F, 0.07F}}},
          .hardPoints = joined(grid(0.5 * step, 37 * step, 1773), {{0.06},
                                                                   {0.02720470510300388},
                                                                   {21.487562597358306},
                                                                   {0x1.fea5b9e4637d3p-4},
                                                                   {0x1.56be0d64560a5p+9},
                                                                   {0x1.5111f0af9d313p+0},
                                                                   {0x1.7d236c3f6e6fdp+8},
                                                                   {0x1.577f6fb528342p+5},
                                                                   {0x1.e52a4c6fbadffp+8}})};
}

Family arcTangent() {
  std::vector<Point> hard = {{0x1.09b8e06a6e6e4p-1}}; // the worst seen
  for (int e = -4; e <= 54; ++e)                      // the ends of the table's rows
    for (const double significand : {1.0, 1.5})
      hard.push_back({std::ldexp(significand, e)});
  return {.name = "Atan",
          .references = {unary(mpfr_atan)},
          .regions = {{{-10, 10}}, {{0.5, 0.55}}, {{0.01, 0.2}}, {{0x1p-60, 0x1p60}}},
          .singleRegions = {{{-10, 10}}, {{0.01F, 0.6F}}, {{FLT_TRUE_MIN, FLT_MAX}}},
          .hardPoints = std::move(hard)};
}

Family arcTangentOfTwo() {
  std::vector<Point> hard = {{0x1.fb4505dd50be1p-4, 0x1.0089e718e4747p+0}}; // the worst seen
  for (int e = -80; e <= 80; ++e) // the ends of the table's rows, and of the ranges
    for (const double significand : {1.0, 1.5})
      for (const double x : {-1.9, -1.0, 1.0, 1.9})
        hard.push_back({std::ldexp(significand, e) * std::fabs(x), x});
  return {.name = "Atan2",
          .references = {binary(mpfr_atan2)},
          .regions = {{{-10, 10}, {-10, 10}},
                      {{0.01, 2}, {1, 2}},
                      {{0.01, 2}, {-2, -1}},
                      {{0.12, 0.126}, {0.99, 1.01}}, // where the direct quotient ends
                      {{0x1p-60, 0x1p60}, {-1, 1}},
                      {{DBL_TRUE_MIN, DBL_MAX}, {DBL_TRUE_MIN, DBL_MAX}},
                      {{DBL_TRUE_MIN, DBL_MIN}, {-DBL_MIN, DBL_MIN}},
                      {{0x1p1022, DBL_MAX}, {-DBL_MAX, DBL_MAX}},
                      {{0x1p-1000, 0x1p-970}, {0x1p30, 0x1p60}}}, // subnormal
          .singleRegions = {{{-10, 10}, {-10, 10}},
                            {{0.01F, 2}, {-2, 2}},
                            {{FLT_TRUE_MIN, FLT_MAX}, {-FLT_MAX, -FLT_TRUE_MIN}},
                            {{FLT_TRUE_MIN, FLT_MIN}, {-FLT_MIN, FLT_MIN}}},
          .hardPoints = std::move(hard)};
}

/// Sine, cosine and tangent are hardest next to multiples of pi/4 that are far away, between two
/// rows of their tables, and where a reduction takes over from another.
Family trigonometric(const char* name, std::vector<Reference> references, double directLimit,
                     const std::vector<Point>& worst) {
  std::vector<Point> hard = joined(grid(0.5 * M_PI / 32, M_PI / 32, 1000), worst);
  for (int digits : {24, 53})
    for (double angle : hardAngles(digits, digits == 24 ? 128 : 1024)) {
      hard.push_back({angle});
      hard.push_back({-angle});
    }
  for (double n = 1; n < 2000; ++n)
    hard.push_back({n * M_PI_4});
  for (double limit : {0x1p-252, 12800.0, 0x1p17, 0x1p23, 0x1p30})
    hard.push_back({limit});
  return {.name = name,
          .references = std::move(references),
          .regions = {{{-M_PI, M_PI}},
                      {{0x1p-40, 1}},
                      {{DBL_TRUE_MIN, 1}},
                      {{-directLimit, directLimit}},
                      {{directLimit, 0x1p23}},
                      {{0x1p23, 0x1p30}},
                      {{0x1p30, DBL_MAX}}},
          .singleRegions = {{{-M_PI, M_PI}},
                            {{0x1p-20, 1}},
                            {{FLT_TRUE_MIN, 1}},
                            {{-directLimit, directLimit}},
                            {{directLimit, 0x1p23}},
                            {{0x1p23, 0x1p30}},
                            {{0x1p30, FLT_MAX}}},
          .hardPoints = std::move(hard)};
}

/// The ends of the intervals, four to a binade from 0.125 on, of the functions that saturate.
std::vector<Point> quarterBinades(int count) {
  std::vector<Point> points;
  for (int i = 0; i < count; ++i)
    points.push_back({std::ldexp(1 + (i % 4) / 4.0, i / 4 - 3)});
  return points;
}

Family hyperbolicTangent() {
  return {.name = "Tanh",
          .references = {unary(mpfr_tanh)},
          .regions = {{{-19.07, 19.07}}, {{0.125, 1}}, {{0x1p-53, 0.125}}, {{-DBL_MAX, DBL_MAX}}},
          .singleRegions = {{{-9, 9}}, {{0.125F, 1}}, {{0x1p-24F, 0.125F}}, {{-FLT_MAX, FLT_MAX}}},
          .hardPoints = joined(quarterBinades(29), {{19.0615474653985}, {0x1.beceb4a5cd7ecp-4}})};
}

Family errorFunction() {
  return {.name = "Erf",
          .references = {unary(mpfr_erf)},
          .regions = {{{-5.93, 5.93}},
                      {{0.125, 1}},
                      {{0x1p-40, 0.125}},
                      {{DBL_TRUE_MIN, 0x1p-40}},
                      {{-DBL_MIN, -DBL_TRUE_MIN}}},
          .singleRegions = {{{-4, 4}}, {{0.125F, 1}}, {{FLT_TRUE_MIN, 0.125F}}},
          .hardPoints =
              joined(quarterBinades(22),
                     {{5.921587195794508}, {1.971920364530142e-308}, {0x1.02ab0111a47fep+2}})};
}

Family complementaryErrorFunction() {
  // The ends of the rows, (1 + x)^4 = 2^n, and where the kind of result changes.
  std::vector<Point> hard = {{-5.8635847487551676}, {-3.832506856900711}, {10.054194928818097},
                             {26.54325845425098},   {26.699372268345602}, {27.226017111108366},
                             {0x1.bcd3757ab2164p+2}};
  for (int n = 1; n < 20; ++n)
    for (const double sign : {-1.0, 1.0})
      hard.push_back({sign * (std::exp2(n / 4.0) - 1)});
  return {.name = "Erfc",
          .references = {unary(mpfr_erfc)},
          .regions = {{{-5.87, 5.87}},
                      {{0, 1.8285}},
                      {{-1, 0x1p-70}},
                      {{1.8284, 26.5432}},
                      {{26.5432, 27.2260}}}, // subnormal
          .singleRegions = {{{-3.84F, 10.05F}}, {{0, 1.8285F}}, {{0x1p-70F, 1}}, {{9.1F, 10.05F}}},
          .hardPoints = std::move(hard)};
}

} // namespace

const std::vector<Family>& families() {
  const Reference sine = unary(mpfr_sin), cosine = unary(mpfr_cos);
  static const std::vector<Family> all = {
      inverseTrigonometric("Acos", unary(mpfr_acos), {{0x1.1a20e193b0c18p-1}}),
      inverseHyperbolicCosine(),
      inverseTrigonometric("Asin", unary(mpfr_asin), {{0x1.0fbefc62269b5p-1}}),
      inverseHyperbolicSine(),
      inverseHyperbolicTangent(),
      errorFunction(),
      complementaryErrorFunction(),
      hyperbolicTangent(),
      division(),
      exponential(),
      reciprocal(),
      logarithm("Ln", unary(mpfr_log)),
      logarithm("Log10", unary(mpfr_log10)),
      power("Pow"),
      power("Powx"),
      squareRoot(),
      reciprocalSquareRoot(),
      cubeRoot(),
      reciprocalCubeRoot(),
      hyperbolic("Sinh", unary(mpfr_sinh)),
      hyperbolic("Cosh", unary(mpfr_cosh)),
      arcTangent(),
      arcTangentOfTwo(),
      trigonometric("Cos", {cosine}, 0x1p17, {{0x1.65a1dd290660fp+16}}),
      trigonometric("Sin", {sine}, 0x1p17, {{0x1.fdf7f96dee227p+16}}),
      trigonometric("SinCos", {sine, cosine}, 0x1p17, {{0x1.65a1dd290660fp+16}}),
      trigonometric("Tan", {unary(mpfr_tan)}, 12800, {{0x1.c7e10973b1a4ap-2}})};
  return all;
}

} // namespace accuracy
