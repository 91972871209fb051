#include "arguments.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
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

template <class T>
Arrays<T> withExceptions(const peers::Peer& peer, std::size_t elements) {
  Arrays<T> arrays = ordinary<T>(peer, elements);
  const std::vector<double> values = exceptions(peer.family);
  Random random(2);
  for (T& element : peer.family == "Div" ? arrays.y : arrays.x)
    if (happens(random, 0.01))
      element = static_cast<T>(values[random() % values.size()]);
  return arrays;
}
template Arrays<float> withExceptions<float>(const peers::Peer&, std::size_t);
template Arrays<double> withExceptions<double>(const peers::Peer&, std::size_t);

Arrays<float> mixedFloats(const peers::Peer& peer, const std::string& kind,
                          const loader::Function& doubles, std::size_t elements) {
  Arrays<float> arrays = ordinary<float>(peer, elements);
  Random random(5);
  if (kind == "a tenth of large angles") {
    for (float& x : arrays.x)
      if (happens(random, 0.1))
        x = std::exp2(drawn<float>(random, {30, 127}));
  } else if (kind == "subnormals") {
    for (float& x : arrays.x)
      x = drawn<float>(random, {0, 1}) * std::numeric_limits<float>::min();
  } else {
    // Every 2^11th or so is within 2^-37.
    const auto isNearMiddle = [](double result) {
      constexpr std::uint64_t middle = 1u << 28, near = 1u << 16;
      return (std::bit_cast<std::uint64_t>(result) - (middle - near)) % (2 * middle) < 2 * near;
    };
    std::vector<float> x, y;
    while (x.size() < arrays.elements()) {
      Arrays<double> wide(4096);
      for (std::size_t i = 0; i < wide.elements(); ++i) {
        wide.x[i] = drawn<float>(random, peer.x);
        wide.y[i] = drawn<float>(random, peer.y);
      }
      doubles(wide.operands(0), 4096);
      for (std::size_t i = 0; i < wide.elements(); ++i)
        if (isNearMiddle(wide.r[i])) {
          x.push_back(static_cast<float>(wide.x[i]));
          y.push_back(static_cast<float>(wide.y[i]));
        }
    }
    std::copy_n(x.begin(), arrays.elements(), arrays.x.begin());
    if (peer.y.low != peer.y.high) // all of Powx have one exponent
      std::copy_n(y.begin(), arrays.elements(), arrays.y.begin());
  }
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
