// What is measured: sections, each with its contestants, its tables and words about them.
#pragma once

#include "figures.hpp"

#include "loader/loader.hpp"

#include <list>
#include <string>
#include <vector>

namespace bench {

/// A build of the library under the name that it has in the tables: "plain", "v3".
struct Build {
  explicit Build(const std::string& path) : library(path) {}

  loader::Library library;
  std::string name;
};

struct Subject {
  std::list<Build> builds;    ///< the first is the one that the others, the levels, are compared to
  std::list<Build> fullRoads; ///< levels without short roads of floats
  std::vector<std::string> families; ///< which are measured
  bool chosen = false;               ///< these are not all
  int rounds = 0;
  Figures figures;

  const Build& plain() const { return builds.front(); }
  std::vector<std::string> levels() const; ///< the names of the other builds
};

struct Section {
  std::string name;
  void (*measure)(Subject&);
  void (*print)(const Subject&);
};
const std::vector<Section>& sections();

/// The means of everything that was measured.
void printSummary(const Subject& subject);

} // namespace bench
