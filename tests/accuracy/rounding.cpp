// Judges results that others computed: how many are not the correctly rounded ones (by MPFR), and
// the largest error. Behind tools/python_figures.py.
//
// Without arguments it prints the ranges of all families, a line each:
//   FAMILY X_LOW X_HIGH Y_LOW Y_HIGH
//
// rounding FAMILY TYPE ARGUMENTS RESULTS... judges results of a family, TYPE being 32f or 64f. The
// files hold raw elements: ARGUMENTS all x, then all y; each of RESULTS, one after the other, those
// of each destination. For each of RESULTS it prints a line:
//   WRONG LARGEST_ERROR_IN_ULPS

#include "families.hpp"
#include "peers/peers.hpp"
#include "ulps.hpp"

#include <fmt/format.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

using Exact = MpfrNumber<113>; // enough for samples: one in 2^60 is not decided

template <class T>
std::vector<T> elements(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  if (!file)
    throw std::runtime_error("cannot read " + path);
  std::vector<T> values(bytes.size() / sizeof(T));
  std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
  return values;
}

template <class T>
void judge(const accuracy::Family& family, bool twoSources, const std::vector<std::string>& paths) {
  const std::vector<T> arguments = elements<T>(paths[0]);
  const std::size_t count = arguments.size() / (twoSources ? 2 : 1);
  std::vector<std::vector<T>> results;
  for (std::size_t k = 1; k < paths.size(); ++k) {
    results.push_back(elements<T>(paths[k]));
    if (results.back().size() != count * family.references.size())
      throw std::runtime_error(paths[k] + " has not as many results as there are arguments");
  }
  std::vector<std::size_t> wrong(results.size());
  std::vector<double> largest(results.size());
  Exact x, y, exact;
  for (std::size_t d = 0; d < family.references.size(); ++d)
    for (std::size_t i = 0; i < count; ++i) {
      mpfr_set_d(x, arguments[i], MPFR_RNDN);
      mpfr_set_d(y, twoSources ? arguments[count + i] : 0, MPFR_RNDN);
      family.references[d](exact, x, y);
      const T nearest = accuracy::rounded<T>(exact);
      for (std::size_t k = 0; k < results.size(); ++k)
        if (const T result = results[k][d * count + i]; !(result == nearest)) {
          ++wrong[k];
          largest[k] = std::max(largest[k], accuracy::errorInUlps(result, exact));
        }
    }
  for (std::size_t k = 0; k < results.size(); ++k)
    fmt::print("{} {:.3g}\n", wrong[k], largest[k]);
}

} // namespace

int main(int count, char** arguments) try {
  const std::vector<std::string> words(arguments + 1, arguments + count);
  const auto& families = accuracy::families();
  if (words.empty()) {
    for (const accuracy::Family& family : families)
      if (const peers::Peer* peer = peers::peerOf(family.name))
        fmt::print("{} {} {} {} {}\n", family.name, peer->x.low, peer->x.high, peer->y.low,
                   peer->y.high);
    return 0;
  }
  for (const accuracy::Family& family : families)
    if (words.size() > 3 && family.name == words[0]) {
      const loader::Export& e = *loader::findExport(family.name + "_64f_A53");
      const bool twoSources = e.sources() == 2 || e.hasScalar();
      const std::vector<std::string> paths(words.begin() + 2, words.end());
      words[1] == "32f" ? judge<float>(family, twoSources, paths)
                        : judge<double>(family, twoSources, paths);
      return 0;
    }
  fmt::print(stderr, "usage: rounding [FAMILY 32f|64f ARGUMENTS RESULTS...]\n");
  return 2;
} catch (const std::exception& error) {
  fmt::print(stderr, "rounding: {}\n", error.what());
  return 1;
}
