// Hard points by the thousand: what facts write as the name of a generator and its arguments.
#pragma once

#include "facts/facts.hpp"

#include <vector>

namespace accuracy {

struct Point {
  double x, y = 0;
};

/// The point or points of a fact of the word `hard`; throws std::runtime_error with the fact's
/// place.
std::vector<Point> hardPoints(const facts::Fact& fact);

} // namespace accuracy
