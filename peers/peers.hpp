// What each family is measured beside, and over which arguments.
#pragma once

#include "loader/loader.hpp"

#include <functional>
#include <string>

namespace peers {

struct Interval {
  double low, high;
};

template <class T>
using Loop = std::function<void(const loader::Operands<T>&, int)>;

/// The same work as an export's call, done by a plain loop of scalar operations.
struct Peer {
  std::string family;
  std::string text; ///< the loop's body, for the table
  Loop<float> singleLoop;
  Loop<double> doubleLoop;
  Interval x;
  Interval y = {0, 0};

  const Loop<float>& loop(float) const { return singleLoop; }
  const Loop<double>& loop(double) const { return doubleLoop; }
};

/// Null if the family has none yet.
const Peer* peerOf(const std::string& family);

} // namespace peers
