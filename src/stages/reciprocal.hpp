// The reciprocal of a double-word, and a quotient, beyond double precision, by one division.
#pragma once

#include "core/floating_point.hpp"

namespace qelvm {
namespace {

/// 1 / (hi + lo), hi to 26 bits, as seed + correction, the seed to 26 bits.
template <class V>
struct Reciprocal {
  V seed, correction;

  QELVM_INLINE explicit Reciprocal(const DoubleDoubleOf<V>& x)
      : seed(splitHiLo(1.0 / x.hi, split26Bits).hi) {
    const V e = (1.0 - x.hi * seed) - x.lo * seed;
    correction = ((1.0 + e) * e) * seed;
  }
};

/// n / d, n with hi to 26 bits, as an exact product and a rest.
template <class V>
QELVM_INLINE DoubleDoubleOf<V> quotient(const DoubleDoubleOf<V>& n, const Reciprocal<V>& d) {
  return {n.hi * d.seed, (n.hi * d.correction + n.lo * d.correction) + n.lo * d.seed};
}

} // namespace
} // namespace qelvm
