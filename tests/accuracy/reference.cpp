// The exact result of a family for given arguments, its rounding in each type, and what the library
// gives, as directed rows for the family's facts.

#include "families.hpp"
#include "loader/loader.hpp"
#include "ulps.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <stdexcept>

namespace {

using accuracy::Number;
using loader::Export;

std::string flagText(int flags) {
  std::string text;
  for (const auto& [name, flag] : {std::pair{"invalid", FE_INVALID},
                                   {"divide-by-zero", FE_DIVBYZERO},
                                   {"overflow", FE_OVERFLOW},
                                   {"underflow", FE_UNDERFLOW},
                                   {"inexact", FE_INEXACT}})
    if (flags & flag)
      text += (text.empty() ? "" : ",") + std::string(name);
  return text.empty() ? "none" : text;
}

template <class T>
std::string hex(T value) {
  return fmt::format("{:a}", value);
}

std::string decimal(mpfr_srcptr number) {
  char text[64];
  mpfr_snprintf(text, sizeof text, "%.40Rg", number);
  return text;
}

/// The exports of one type that give the same, as one row: 64f, or 64f_A50 and 64f_A53 apart.
template <class T>
void printRows(const loader::Library& library, const accuracy::Family& family,
               const std::vector<double>& inputs) {
  const T x = static_cast<T>(inputs[0]);
  const T y = static_cast<T>(inputs.size() > 1 ? inputs[1] : 0);
  std::string arguments = hex(x);
  if (inputs.size() > 1)
    arguments += " " + hex(y);

  std::vector<T> nearest;
  thread_local Number wideX, wideY, exact;
  mpfr_set_d(wideX, x, MPFR_RNDN);
  mpfr_set_d(wideY, y, MPFR_RNDN);
  for (const accuracy::Reference& reference : family.references) {
    reference(exact, wideX, wideY);
    nearest.push_back(accuracy::rounded<T>(exact));
    fmt::print("# exactly {}, as a {}: {}\n", decimal(mpfr_ptr(exact)),
               sizeof(T) == 4 ? "float" : "double", hex(nearest.back()));
  }

  std::vector<std::pair<std::string, std::string>> rows; // classes, and what they give
  for (const Export& e : loader::exports()) {
    if (e.family != family.name || e.single != (sizeof(T) == 4) || !library.has(e))
      continue;
    T results[2] = {};
    std::feclearexcept(FE_ALL_EXCEPT);
    const QelStatus status =
        library.function(e)(loader::Operands<T>{&x, &y, y, &results[0], &results[1]}, 1);
    const int flags = std::fetestexcept(FE_ALL_EXCEPT);
    std::string row = arguments + " =";
    std::string remark;
    for (std::size_t d = 0; d < nearest.size(); ++d) {
      row += " " + hex(results[d]);
      if (!(results[d] == nearest[d]) && !(std::isnan(results[d]) && std::isnan(nearest[d])))
        remark = " # not the correctly rounded one";
    }
    const std::string name = loader::statusName(status).substr(std::string("qelStatus").size());
    row += fmt::format(" {} {}{}", name, flagText(flags), remark);
    const std::string type = e.single ? "32f" : "64f";
    const bool merges = !rows.empty() && rows.back().second == row;
    if (merges)
      rows.back().first = type;
    else
      rows.emplace_back(e.name.substr(e.family.size() + 1), row);
  }
  for (const auto& [classes, row] : rows)
    fmt::print("{} {}\n", classes, row);
}

} // namespace

int main(int argc, char** argv) {
  std::string library, name;
  std::vector<std::string> numbers;
  CLI::App app{
      "Prints the exact result of a family for given arguments, its rounding to float and to "
      "double, and what the library gives, as directed rows for families"};
  app.add_option("library", library, "the build")->required();
  app.add_option("family", name, "such as Exp")->required();
  app.add_option("numbers", numbers, "arguments; two for each result in families of two")
      ->required();
  app.allow_extras(false)->positionals_at_end(true);
  CLI11_PARSE(app, argc, argv);
  try {
    const loader::Library build(library);
    for (const accuracy::Family& family : accuracy::families()) {
      if (family.name != name)
        continue;
      const Export* e = loader::findExport(name + "_64f_A53");
      const std::size_t each = e->sources() == 2 || e->hasScalar() ? 2 : 1;
      if (numbers.size() % each != 0)
        throw std::runtime_error(name + " takes two arguments for each result");
      const facts::Fact command{"numbers", numbers, "command line"};
      for (std::size_t i = 0; i < numbers.size(); i += each) {
        std::vector<double> inputs;
        for (std::size_t k = 0; k < each; ++k)
          inputs.push_back(facts::number<double>(command, numbers[i + k]));
        printRows<float>(build, family, inputs);
        printRows<double>(build, family, inputs);
      }
      return 0;
    }
    throw std::runtime_error("no family " + name + " in the list of families");
  } catch (const std::exception& error) {
    fmt::print(stderr, "reference: {}\n", error.what());
    return 2;
  }
}
