// The reciprocal of a double-word, beyond double precision, by one division.
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {
namespace {

/// 1 / (hi + lo), hi to 26 bits, as seed + correction, the seed to 26 bits.
template <class V>
struct Reciprocal {
  V seed;
  V correction;

  QELVM_INLINE explicit Reciprocal(const DoubleDoubleOf<V>& x)
      : seed(splitHiLo(1.0 / x.hi, split26Bits).hi) {
    const V e = (1.0 - x.hi * seed) - x.lo * seed;
    correction = ((1.0 + e) * e) * seed;
  }
};

} // namespace
} // namespace qelvm
