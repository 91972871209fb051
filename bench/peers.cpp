#include "peers.hpp"

#include <cmath>
#include <vector>

namespace bench {
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

template <class F>
Peer peer(const char* family, const char* text, F f, Interval x, Interval y = {0, 0}) {
  return {family, text, loopOf<float>(f), loopOf<double>(f), x, y};
}

const std::vector<Peer>& peers() {
  static const std::vector<Peer> all = {
      peer("Div", "x / y", [](auto x, auto y) { return x / y; }, {-10, 10}, {1, 10}),
      peer("Exp", "std::exp(x)", [](auto x, auto) { return std::exp(x); }, {-10, 10}),
      peer("Inv", "1 / x", [](auto x, auto) { return 1 / x; }, {1, 10}),
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

} // namespace bench
