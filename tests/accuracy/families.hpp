// What the accuracy test knows of each family: the exact function, where to sample it, and the
// places where a kernel is most likely to be worst.
#pragma once

#include <mpfr.h>

#include <functional>
#include <string>
#include <vector>

namespace accuracy {

/// Sets r to the exact function of (x, y), rounded to r's precision; y is unused with one source.
using Reference = std::function<void(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y)>;

struct Interval {
  double low, high;
};

/// Samples are drawn from each region in equal numbers, half of them uniform in value, half uniform
/// in their bit patterns.
struct Region {
  Interval x;
  Interval y = {0, 0};
};

struct Point {
  double x, y = 0;
};

struct Family {
  std::string name;
  std::vector<Reference> references; ///< one for each destination
  std::vector<Region> regions;       ///< of doubles
  std::vector<Region> singleRegions; ///< of floats
  std::vector<Point> hardPoints;     ///< tried with their neighbours on both sides
  /// Bounds for subnormal results, where they differ from those in the table of families; by class.
  double subnormalA50 = 0, subnormalA53 = 0;
};

const std::vector<Family>& families();

} // namespace accuracy
