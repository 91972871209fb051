#include "peers/peers.hpp"

#include <cmath>
#include <vector>

namespace peers {
namespace {

/// destination[i] = f(source[i], secondSource[i]).
template <class T, class F>
Loop<T> loopOf(F f) {
  return [f](const loader::Operands<T>& operands, int length) {
    const T* x = operands.source;
    const T* y = operands.secondSource;
    T* r = operands.destination;
    for (int i = 0; i < length; ++i)
      r[i] = f(x[i], y[i]);
  };
}

/// destination[i] and secondDestination[i] from source[i].
template <class T, class F>
Loop<T> loopOfBoth(F f) {
  return [f](const loader::Operands<T>& operands, int length) {
    for (int i = 0; i < length; ++i)
      f(operands.source[i], &operands.destination[i], &operands.secondDestination[i]);
  };
}

template <class F>
Peer peer(const char* family, const char* text, F f, Interval x, Interval y = {0, 0}) {
  return {family, text, loopOf<float>(f), loopOf<double>(f), x, y};
}

const std::vector<Peer>& peers() {
  static const std::vector<Peer> all = {
      peer("Acos", "std::acos(x)", [](auto x, auto) { return std::acos(x); }, {-1, 1}),
      peer("Acosh", "std::acosh(x)", [](auto x, auto) { return std::acosh(x); }, {1, 100}),
      peer("Asin", "std::asin(x)", [](auto x, auto) { return std::asin(x); }, {-1, 1}),
      peer("Asinh", "std::asinh(x)", [](auto x, auto) { return std::asinh(x); }, {-10, 10}),
      peer("Atanh", "std::atanh(x)", [](auto x, auto) { return std::atanh(x); }, {-1, 1}),
      peer("Atan", "std::atan(x)", [](auto x, auto) { return std::atan(x); }, {-10, 10}),
      peer("Atan2", "std::atan2(y, x)", [](auto y, auto x) { return std::atan2(y, x); }, {-10, 10},
           {-10, 10}),
      peer("Cbrt", "std::cbrt(x)", [](auto x, auto) { return std::cbrt(x); }, {-1000, 1000}),
      peer("Cos", "std::cos(x)", [](auto x, auto) { return std::cos(x); }, {-10, 10}),
      peer("Cosh", "std::cosh(x)", [](auto x, auto) { return std::cosh(x); }, {-10, 10}),
      peer("Div", "x / y", [](auto x, auto y) { return x / y; }, {-10, 10}, {1, 10}),
      peer("Erf", "std::erf(x)", [](auto x, auto) { return std::erf(x); }, {-5, 5}),
      peer("Erfc", "std::erfc(x)", [](auto x, auto) { return std::erfc(x); }, {-5, 9}),
      peer("Exp", "std::exp(x)", [](auto x, auto) { return std::exp(x); }, {-10, 10}),
      peer("Inv", "1 / x", [](auto x, auto) { return 1 / x; }, {1, 10}),
      peer("InvCbrt", "1 / std::cbrt(x)", [](auto x, auto) { return 1 / std::cbrt(x); }, {1, 1000}),
      peer("InvSqrt", "1 / std::sqrt(x)", [](auto x, auto) { return 1 / std::sqrt(x); }, {1, 1000}),
      peer("Ln", "std::log(x)", [](auto x, auto) { return std::log(x); }, {0.001, 1000}),
      peer("Log10", "std::log10(x)", [](auto x, auto) { return std::log10(x); }, {0.001, 1000}),
      peer("Pow", "std::pow(x, y)", [](auto x, auto y) { return std::pow(x, y); }, {0.1, 10},
           {-10, 10}),
      peer("Powx", "std::pow(x, y)", [](auto x, auto y) { return std::pow(x, y); }, {0.1, 10},
           {2.5, 2.5}),
      {"SinCos",
       "sincos(x, &s, &c)",
       loopOfBoth<float>(sincosf),
       loopOfBoth<double>(sincos),
       {-10, 10}},
      peer("Sin", "std::sin(x)", [](auto x, auto) { return std::sin(x); }, {-10, 10}),
      peer("Sinh", "std::sinh(x)", [](auto x, auto) { return std::sinh(x); }, {-10, 10}),
      peer("Sqrt", "std::sqrt(x)", [](auto x, auto) { return std::sqrt(x); }, {1, 1000}),
      peer("Tan", "std::tan(x)", [](auto x, auto) { return std::tan(x); }, {-10, 10}),
      peer("Tanh", "std::tanh(x)", [](auto x, auto) { return std::tanh(x); }, {-5, 5}),
  };
  return all;
}

} // namespace

const Peer* peerOf(const std::string& family) {
  for (const Peer& p : peers())
    if (p.family == family)
      return &p;
  return nullptr;
}

} // namespace peers
