// Arguments of a family over its main range, in their order, and the exact results there: for
// programs without MPFR that measure errors, such as the page of web/.
//
// The output is raw: little-endian arrays of COUNT doubles, one after another. First the sources;
// then for every result the double nearest to the exact one, and what the exact one lies above it.

#include "axis.hpp"
#include "families.hpp"
#include "ulps.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <bit>
#include <cstdio>
#include <random>
#include <stdexcept>

namespace {

using namespace accuracy;

void write(const Family& family, bool single, std::size_t count) {
  const peers::Peer* peer = peers::peerOf(family.name);
  if (peer == nullptr)
    throw std::runtime_error(family.name + " has no range in peers/peers.cpp");
  const Axis axis(peer->x);
  const bool two = peer->y.high != 0;
  std::vector<std::vector<double>> arrays((two ? 2 : 1) + 2 * family.references.size());
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> share(0, 1);
  const auto argument = [single](double x) { return single ? static_cast<float>(x) : x; };
  Number x, y, exact;
  for (std::size_t i = 0; i < count; ++i) {
    auto array = arrays.begin();
    const double where = (static_cast<double>(i) + share(random)) / static_cast<double>(count);
    const double first = argument(axis.at(where));
    const double second = argument(peer->y.low + (peer->y.high - peer->y.low) * share(random));
    (array++)->push_back(first);
    if (two)
      (array++)->push_back(second);
    mpfr_set_d(x, first, MPFR_RNDN);
    mpfr_set_d(y, second, MPFR_RNDN);
    for (const Reference& reference : family.references) {
      reference(exact, x, y);
      const double nearest = rounded<double>(exact);
      (array++)->push_back(nearest);
      mpfr_sub_d(exact, exact, nearest, MPFR_RNDN);
      (array++)->push_back(std::isfinite(nearest) ? rounded<double>(exact) : 0);
    }
  }
  static_assert(std::endian::native == std::endian::little);
  for (const std::vector<double>& array : arrays)
    if (std::fwrite(array.data(), sizeof(double), count, stdout) != count)
      throw std::runtime_error("cannot write");
  if (std::fflush(stdout) != 0)
    throw std::runtime_error("cannot write");
}

} // namespace

int main(int argc, char** argv) {
  std::string name;
  std::size_t count = 0;
  bool single = false;
  CLI::App app{"Writes arguments of a family and the exact results there, as raw doubles"};
  app.add_option("family", name, "such as Exp")->required();
  app.add_option("count", count, "of the arguments")->required();
  app.add_flag("--floats", single, "arguments that are floats");
  CLI11_PARSE(app, argc, argv);
  try {
    for (const Family& family : families())
      if (family.name == name) {
        write(family, single, count);
        return 0;
      }
    throw std::runtime_error("no family " + name + " in the list of families");
  } catch (const std::exception& error) {
    fmt::print(stderr, "exact: {}\n", error.what());
    return 2;
  }
}
