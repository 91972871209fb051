#include "families.hpp"

#include "facts/facts.hpp"
#include "loader/loader.hpp"

#include <stdexcept>

namespace accuracy {
namespace {

/// A region of floats or doubles: LOW HIGH, once for each source.
template <class T>
Region regionOf(const facts::Fact& fact, bool two) {
  if (fact.values.size() != (two ? 4 : 2))
    throw std::runtime_error(fact.place + ": needs " + (two ? "LOW HIGH LOW HIGH" : "LOW HIGH"));
  const auto number = [&](std::size_t i) -> double {
    return facts::number<T>(fact, fact.values[i]);
  };
  return {{number(0), number(1)}, two ? Interval{number(2), number(3)} : Interval{0, 0}};
}

Family familyOf(const loader::Export& e) {
  const bool two = e.sources() == 2 || e.hasScalar();
  Family family{.name = e.family,
                .references = {},
                .regions = {},
                .singleRegions = {},
                .namedPoints = {},
                .hardPoints = {}};
  for (const facts::Fact& fact : facts::of(QELVM_FACTS, e.family)) {
    if (fact.word == "reference") {
      family.references.push_back(referenceOf(fact.values[0]));
      if (!family.references.back())
        throw std::runtime_error(fact.place + ": write the reference '" + fact.values[0] +
                                 "' into tests/accuracy/references.cpp");
    } else if (fact.word == "doubles") {
      family.regions.push_back(regionOf<double>(fact, two));
    } else if (fact.word == "floats") {
      family.singleRegions.push_back(regionOf<float>(fact, two));
    } else if (fact.word == "hard") {
      const std::vector<Point> points = hardPoints(fact);
      std::vector<Point>& list = points.size() == 1 ? family.namedPoints : family.hardPoints;
      list.insert(list.end(), points.begin(), points.end());
    } else if (fact.word == "subnormal-bound") {
      (fact.values[0] == "A50" ? family.subnormalA50 : family.subnormalA53) =
          facts::number<double>(fact, fact.values.back());
    }
  }
  const std::string path = std::string(QELVM_FACTS) + "/" + e.family + ".txt";
  if (family.references.size() != static_cast<std::size_t>(e.destinations()))
    throw std::runtime_error(path +
                             ": a line 'reference FUNCTION' for each destination is missing");
  if (family.regions.empty() || family.singleRegions.empty())
    throw std::runtime_error(path + ": lines 'doubles LOW HIGH' and 'floats LOW HIGH' are missing");
  return family;
}

} // namespace

const std::vector<Family>& families() {
  static const std::vector<Family> all = [] {
    std::vector<Family> list;
    for (const loader::Export& e : loader::exports())
      if (list.empty() || list.back().name != e.family)
        list.push_back(familyOf(e));
    return list;
  }();
  return all;
}

} // namespace accuracy
