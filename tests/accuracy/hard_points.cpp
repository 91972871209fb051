#include "hard_points.hpp"

#include "../hard_angles.hpp"

#include <cmath>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>

namespace accuracy {
namespace {

using Arguments = std::vector<double>;

/// START STEP COUNT
std::vector<Point> grid(const Arguments& a) {
  std::vector<Point> points;
  for (double i = 0; i < a[2]; ++i)
    points.push_back({a[0] + i * a[1]});
  return points;
}

/// 2^e and 1.5 2^e for e = FIRST to LAST: the ends of the arctangents' rows.
std::vector<Point> halfBinades(const Arguments& a) {
  std::vector<Point> points;
  for (int e = static_cast<int>(a[0]); e <= a[1]; ++e)
    for (const double significand : {1.0, 1.5})
      points.push_back({std::ldexp(significand, e)});
  return points;
}
/// The same as quotients.
std::vector<Point> halfBinadeQuotients(const Arguments& a) {
  std::vector<Point> points;
  for (const Point& quotient : halfBinades(a))
    for (const double x : {-1.9, -1.0, 1.0, 1.9})
      points.push_back({quotient.x * std::fabs(x), x});
  return points;
}

/// The ends of COUNT intervals, four to a binade from 0.125 on, of the functions that saturate.
std::vector<Point> quarterBinades(const Arguments& a) {
  std::vector<Point> points;
  for (int i = 0; i < a[0]; ++i)
    points.push_back({std::ldexp(1 + (i % 4) / 4.0, i / 4 - 3)});
  return points;
}

/// The ends of the rows of the complementary error function, (1 + |x|)^4 = 2^n.
std::vector<Point> erfcRows(const Arguments&) {
  std::vector<Point> points;
  for (int n = 1; n < 20; ++n)
    for (const double sign : {-1.0, 1.0})
      points.push_back({sign * (std::exp2(n / 4.0) - 1)});
  return points;
}

/// Where logarithms change from one reciprocal to the next; powers of two; the neighbourhood of
/// one.
std::vector<Point> logarithmPlaces(const Arguments&) {
  std::vector<Point> points;
  for (int j = 0; j < 64; ++j)
    for (int k : {-1000, -100, -2, -1, 0, 1, 100, 1000})
      points.push_back({std::ldexp(1 + (j + 0.5) / 64, k)});
  for (int k = -1074; k < 1024; ++k)
    points.push_back({std::ldexp(1, k)});
  for (double sixteenth = -16; sixteenth <= 16; ++sixteenth)
    points.push_back({1 + sixteenth / 512}); // with 5/512 and 3/512, where the series end
  return points;
}

/// Powers that are exact, or nearly.
std::vector<Point> exactPowers(const Arguments&) {
  std::vector<Point> points;
  for (int k = -1074; k < 1024; ++k)
    points.push_back({2, static_cast<double>(k)});
  for (double n = 3; n < 200; n += 2)
    for (double y : {2.0, 3.0, 5.0, -1.0, -2.0, 0.5, 1.5}) {
      points.push_back({n, y});
      points.push_back({n * n, y});
      points.push_back({-n, y});
    }
  return points;
}
/// The ends of the intervals of the powers' first reciprocals.
std::vector<Point> firstReciprocals(const Arguments&) {
  std::vector<Point> points;
  for (double i = 0; i < 32; ++i)
    points.push_back({1 + (i + 0.5) / 32, 700.0 / (i + 1)});
  return points;
}

/// Floats and doubles that are closest to multiples of pi/2.
std::vector<Point> angles(const Arguments&) {
  std::vector<Point> points;
  for (int digits : {24, 53})
    for (double angle : hardAngles(digits, digits == 24 ? 128 : 1024))
      for (double sign : {1.0, -1.0})
        points.push_back({sign * angle});
  return points;
}

/// Arguments whose square roots come closest to midpoints between doubles: with n odd, n 2^-53 is a
/// midpoint in [1, 2), and y = n^2 - c is a double if 2^54 (for y < 2; else 2^55) divides it.
std::vector<Point> rootsNearMidpoints(const Arguments&) {
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

/// Where a root or a logarithm inside a kernel passes from one entry of its table to the next: the
/// midpoints of 2^-k intervals of the binades FIRST to LAST, through the inverse of the kernel's
/// first step.
std::vector<Point> betweenEntries(const facts::Fact& fact, int entriesPerBinade) {
  static const std::map<std::string, double (*)(double)> inverses = {
      {"1-2u", [](double u) { return 1 - 2 * u; }},
      {"2u-1", [](double u) { return 2 * u - 1; }},
      {"1+u/2", [](double u) { return 1 + u / 2; }},
      {"sqrt(u+1)", [](double u) { return std::sqrt(u + 1); }},
      {"sqrt(u-1)", [](double u) { return std::sqrt(u - 1); }},
      {"(z+1/z)/2", [](double z) { return (z + 1 / z) / 2; }},
      {"(z-1/z)/2", [](double z) { return (z - 1 / z) / 2; }},
      {"(z-1)/(z+1)", [](double z) { return (z - 1) / (z + 1); }}};
  const auto inverse = fact.values.size() == 4 ? inverses.find(fact.values[3]) : inverses.end();
  if (inverse == inverses.end())
    throw std::runtime_error(fact.place + ": needs FIRST LAST and a known inverse");
  std::vector<Point> points;
  for (int k = static_cast<int>(facts::number<double>(fact, fact.values[1]));
       k <= facts::number<double>(fact, fact.values[2]); ++k)
    for (int i = 0; i < entriesPerBinade; ++i)
      points.push_back({inverse->second(std::ldexp(1 + (i + 0.5) / entriesPerBinade, k))});
  return points;
}

struct Generator {
  std::vector<Point> (*points)(const Arguments&);
  std::size_t arguments;
};
const std::map<std::string, Generator> generators = {
    {"angles", {angles, 0}},
    {"erfc-rows", {erfcRows, 0}},
    {"exact-powers", {exactPowers, 0}},
    {"first-reciprocals", {firstReciprocals, 0}},
    {"grid", {grid, 3}},
    {"half-binade-quotients", {halfBinadeQuotients, 2}},
    {"half-binades", {halfBinades, 2}},
    {"logarithm-places", {logarithmPlaces, 0}},
    {"quarter-binades", {quarterBinades, 1}},
    {"roots-near-midpoints", {rootsNearMidpoints, 0}}};

} // namespace

std::vector<Point> hardPoints(const facts::Fact& fact) {
  const std::string& name = fact.values.front();
  if (name == "root-seeds")
    return betweenEntries(fact, 256);
  if (name == "logarithm-rows")
    return betweenEntries(fact, 64);
  const auto generator = generators.find(name);
  Arguments numbers;
  for (std::size_t i = generator == generators.end() ? 0 : 1; i < fact.values.size(); ++i)
    numbers.push_back(facts::number<double>(fact, fact.values[i]));
  if (generator == generators.end()) {
    if (numbers.size() > 2)
      throw std::runtime_error(fact.place + ": a point has one number or two");
    return {{numbers[0], numbers.size() > 1 ? numbers[1] : 0}};
  }
  if (numbers.size() != generator->second.arguments)
    throw std::runtime_error(fact.place + ": '" + name + "' has other arguments");
  return generator->second.points(numbers);
}

} // namespace accuracy
