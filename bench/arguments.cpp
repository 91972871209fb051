#include "arguments.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>
#include <limits>
#include <map>

namespace bench {
namespace {

using Random = std::mt19937_64; // the same arguments in every run

template <class T>
T drawn(Random& random, const peers::Interval& interval) {
  return static_cast<T>(
      std::uniform_real_distribution<double>(interval.low, interval.high)(random));
}

bool happens(Random& random, double probability) {
  return std::bernoulli_distribution(probability)(random);
}

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// What a family reports, for its first source or, in Div, for the second.
std::vector<double> exceptions(const std::string& family) {
  static const std::map<std::string, std::vector<double>> reported = {
      {"Acos", {2}},      {"Acosh", {0.5}},     {"Asin", {2}},    {"Atanh", {1, 2}},
      {"Cosh", {1000}},   {"Div", {0}},         {"Erfc", {30}},   {"Exp", {1000, -1000}},
      {"InvCbrt", {0}},   {"InvSqrt", {0, -1}}, {"Inv", {0}},     {"Ln", {0, -1}},
      {"Log10", {0, -1}}, {"Pow", {-1.5}},      {"Powx", {-1.5}}, {"Sinh", {1000}},
      {"Sqrt", {-1}},
  };
  std::vector<double> values;
  if (const auto found = reported.find(family); found != reported.end())
    values = found->second;
  values.insert(values.end(), {infinity, nan});
  return values;
}

} // namespace

template <class T>
Arrays<T> ordinary(const peers::Peer& peer, std::size_t elements) {
  Random random(1);
  Arrays<T> arrays(elements);
  for (T& x : arrays.x)
    x = drawn<T>(random, peer.x);
  for (T& y : arrays.y)
    y = drawn<T>(random, peer.y);
  return arrays;
}
template Arrays<float> ordinary<float>(const peers::Peer&, std::size_t);
template Arrays<double> ordinary<double>(const peers::Peer&, std::size_t);

Arrays<double> withExceptions(const peers::Peer& peer, std::size_t elements) {
  Arrays<double> arrays = ordinary<double>(peer, elements);
  const std::vector<double> values = exceptions(peer.family);
  Random random(2);
  for (double& element : peer.family == "Div" ? arrays.y : arrays.x)
    if (happens(random, 0.01))
      element = values[random() % values.size()];
  return arrays;
}

std::string exceptionsText(const std::string& family) {
  return fmt::format("{}{}", family == "Div" ? "y: " : "", fmt::join(exceptions(family), ", "));
}

std::string text(const peers::Interval& interval) {
  return fmt::format("[{:.8g}, {:.8g}]", interval.low, interval.high);
}

const std::vector<TwoRanges>& twoRanges() {
  static const std::vector<TwoRanges> all = {
      {"Acos", {-0.5, 0.5}, {0.5, 1}},           {"Acosh", {1, 1.0625}, {1.0625, 100}},
      {"Asin", {-0.5, 0.5}, {0.5, 1}},           {"Asinh", {-0.125, 0.125}, {0.125, 10}},
      {"Atanh", {-0.0625, 0.0625}, {0.0625, 1}}, {"Cos", {-10, 10}, {0x1p17, 0x1p23}},
      {"Erf", {-0.125, 0.125}, {0.125, 5}},      {"Erfc", {-1.8, 1.8}, {1.9, 9}},
      {"Ln", {0.995, 1.005}, {1.1, 1000}},       {"Log10", {0.995, 1.005}, {1.1, 1000}},
      {"SinCos", {-10, 10}, {0x1p17, 0x1p23}},   {"Sin", {-10, 10}, {0x1p17, 0x1p23}},
      {"Sinh", {-0.027, 0.027}, {0.03, 10}},     {"Tan", {-10, 10}, {0x1p17, 0x1p23}},
      {"Tanh", {-0.125, 0.125}, {0.125, 5}},
  };
  return all;
}

Arrays<double> ofTwoRanges(const TwoRanges& ranges, double ofSecond, std::size_t elements) {
  Random random(3);
  Arrays<double> arrays(elements);
  for (double& x : arrays.x)
    x = drawn<double>(random, happens(random, ofSecond) ? ranges.second : ranges.first);
  return arrays;
}

Arrays<double> ofMagnitudes(double low, double high, std::size_t elements) {
  Random random(4);
  Arrays<double> arrays(elements);
  for (double& x : arrays.x)
    x = std::exp2(drawn<double>(random, {low, high})) * (happens(random, 0.5) ? 1 : -1);
  return arrays;
}

} // namespace bench
