// What the accuracy tests know of each family, from its facts: the exact function, where to sample
// it, and the places where a kernel is most likely to be worst.
#pragma once

#include "hard_points.hpp"
#include "references.hpp"

#include <string>
#include <vector>

namespace accuracy {

struct Interval {
  double low, high;
};

/// Samples are drawn from each region in equal numbers, half of them uniform in value, half uniform
/// in their bit patterns.
struct Region {
  Interval x;
  Interval y = {0, 0};
};

struct Family {
  std::string name;
  std::vector<Reference> references; ///< one for each destination
  std::vector<Region> regions;       ///< of doubles
  std::vector<Region> singleRegions; ///< of floats
  std::vector<Point> namedPoints;    ///< hard points written one by one: always tried,
  std::vector<Point> hardPoints;     ///< others as far as there is room; with their neighbours
  /// Bounds for subnormal results, where they differ from those in the table of families; by class.
  double subnormalA50 = 0, subnormalA53 = 0;
};

/// All families of the list, with their facts.
const std::vector<Family>& families();

} // namespace accuracy
