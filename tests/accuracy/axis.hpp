// Where the errors of a family are looked at: pictures, and pages that measure themselves.
#pragma once

#include "peers/peers.hpp"

#include <cmath>

namespace accuracy {

/// The range of x: even steps, or even steps of the logarithm where it spans powers of ten.
class Axis {
public:
  explicit Axis(const peers::Interval& range)
      : low_(range.low),
        high_(range.high),
        logarithmic_(range.low > 0 && range.high > 100 * range.low) {}

  /// The value at a share, 0 to 1, of the axis.
  double at(double share) const {
    return logarithmic_ ? low_ * std::pow(high_ / low_, share) : low_ + (high_ - low_) * share;
  }

private:
  double low_, high_;
  bool logarithmic_;
};

} // namespace accuracy
