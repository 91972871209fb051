// What the exports are called with.
#pragma once

#include "loader/loader.hpp"
#include "peers/peers.hpp"

#include <random>
#include <string>
#include <vector>

namespace bench {

/// Room behind each array, so that the arrays of a call do not lie whole pages apart: loads would
/// then wait for unrelated stores.
constexpr std::size_t padding = 160;

/// The arrays of calls that go through them from one end to the other, again and again.
template <class T>
struct Arrays {
  explicit Arrays(std::size_t elements)
      : x(elements + padding), y(elements + 2 * padding), r(elements + 3 * padding), r2(elements) {}

  loader::Operands<T> operands(std::size_t at) {
    return {x.data() + at, y.data() + at, y[0], r.data() + at, r2.data() + at};
  }
  std::size_t elements() const { return r2.size(); }

  std::vector<T> x, y, r, r2;
};

/// "[-10, 10]"
std::string text(const peers::Interval& interval);

/// Uniform over the main ranges of the family.
template <class T>
Arrays<T> ordinary(const peers::Peer& peer, std::size_t elements);

/// The same with one element in a hundred, at random places, that is infinite, NaN or something
/// that the family reports.
template <class T>
Arrays<T> withExceptions(const peers::Peer& peer, std::size_t elements);
/// What these are, for a table: "1000, -1000, inf, nan".
std::string exceptionsText(const std::string& family);

/// Two ranges, both ordinary, in which a kernel goes different ways: a series and a table, say.
struct TwoRanges {
  std::string family;
  peers::Interval first, second;
};
/// Of every family that has them.
const std::vector<TwoRanges>& twoRanges();
/// Each element from the second range with that probability, otherwise from the first.
Arrays<double> ofTwoRanges(const TwoRanges& ranges, double ofSecond, std::size_t elements);

/// Floats for short roads, whose usual ones are those of ordinary(): "a tenth of large angles"
/// (from 2^30 on), "subnormals", "middles" (whose results, which a double export tells, are next to
/// a middle between two floats).
Arrays<float> mixedFloats(const peers::Peer& peer, const std::string& kind,
                          const loader::Function& doubles, std::size_t elements);

/// Of either sign, of magnitudes 2^low to 2^high, their logarithms uniform.
Arrays<double> ofMagnitudes(double low, double high, std::size_t elements);

} // namespace bench
