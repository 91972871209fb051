// The slow path of the square and cube roots and of their reciprocals.
#pragma once

#include "core/call_frame.hpp"

namespace qelvm {
namespace {

/// Stores the result of x, which is not ordinary, and returns the status. `Kernel` has
///   bool ofNegative             of a negative argument too: a cube root
///   bool reciprocal
///   double ofSubnormal(x)       the result for a subnormal x of its domain
template <class Kernel, class Element>
QelStatus exceptionalRoot(const Stored<Element>& source, Stored<Element>& result) {
  const Element x = source;
  if (!Kernel::ofNegative && signBit(x) && !isZero(x) && !isNan(x)) {
    result = static_cast<Element>(invalid());
    return qelStatusDomain;
  }
  if (isZero(x) || isInfiniteOrNan(x)) {
    result = Kernel::reciprocal ? Element{1} / x : x + x;
    return Kernel::reciprocal && isZero(x) ? qelStatusSingularity : qelStatusOk;
  }
  result = static_cast<Element>(Kernel::ofSubnormal(static_cast<double>(x)));
  return qelStatusOk;
}

} // namespace
} // namespace qelvm
