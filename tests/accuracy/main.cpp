// The largest error in ulps of every export against MPFR, asserted against its published bound.

#include "families.hpp"
#include "loader/loader.hpp"
#include "measure.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>

namespace accuracy {
namespace {

using loader::Export;

template <class T>
class Sampler {
public:
  explicit Sampler(unsigned seed) : random_(seed) {}

  std::vector<Input<T>> inputs(const Family& family, std::size_t count) {
    std::vector<Input<T>> list;
    for (const Point& p : family.hardPoints)
      for (int step = -1; step <= 1; ++step)
        add(list, {shifted(p.x, step), shifted(p.y, -step)});
    // Of many hard points, no more than of random ones.
    if (list.size() > count / 2) {
      std::shuffle(list.begin(), list.end(), random_);
      list.resize(count / 2);
    }
    const auto& regions = sizeof(T) == 4 ? family.singleRegions : family.regions;
    for (std::size_t i = 0; list.size() < count; ++i) {
      const Region& region = regions[i % regions.size()];
      add(list, {within(region.x), within(region.y)});
    }
    return list;
  }

private:
  static void add(std::vector<Input<T>>& list, Input<T> input) {
    if (std::isfinite(input.x) && std::isfinite(input.y))
      list.push_back(input);
  }
  static T shifted(double value, int step) {
    const T rounded = static_cast<T>(value);
    return std::isfinite(rounded) ? fromOrdinal<T>(ordinal(rounded) + step) : rounded;
  }
  T within(const Interval& interval) {
    const T low = static_cast<T>(interval.low), high = static_cast<T>(interval.high);
    if (low == high)
      return low;
    if (random_() & 1) {
      const double share = static_cast<double>(random_() >> 11) * 0x1p-53;
      return static_cast<T>(interval.low * (1 - share) + interval.high * share);
    }
    return fromOrdinal<T>(
        std::uniform_int_distribution<std::int64_t>(ordinal(low), ordinal(high))(random_));
  }

  std::mt19937_64 random_;
};

template <class T>
struct Worst {
  double error = 0;
  Input<T> at{};

  void see(double value, Input<T> input) {
    if (value > error)
      *this = {value, input};
  }
};

/// What was seen of one export.
template <class T>
struct Record {
  const Export* e;
  std::vector<std::vector<T>> results; ///< by destination
  Worst<T> normal, subnormal;
  std::size_t wronglyRounded = 0;
};

template <class T>
Record<T> callOn(const loader::Library& library, const Export& e,
                 const std::vector<Input<T>>& inputs) {
  Record<T> record{&e, std::vector(2, std::vector<T>(inputs.size())), {}, {}};
  const loader::Function f = library.function(e);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const auto& [x, y] = inputs[i];
    f(loader::Operands<T>{&x, &y, y, &record.results[0][i], &record.results[1][i]}, 1);
  }
  return record;
}

std::string hex(double value) {
  return fmt::format("{:a}", value);
}

template <class T>
std::string inputText(const Export& e, Input<T> input) {
  std::string text = hex(input.x);
  if (e.sources() == 2 || e.hasScalar())
    text += ", " + hex(input.y);
  return text;
}

struct Options {
  std::string library, pattern;
  std::size_t count = 100000;
  unsigned seed = 1;
  bool markdown = false;
};

class Report {
public:
  explicit Report(bool markdown) {
    if (markdown)
      fmt::print("| export | bound | largest error | at | largest, subnormal results | at | "
                 "inputs |\n|---|---|---|---|---|---|---|\n");
    form_ = markdown ? "| `{}` | {} | {:.4f} | `{}` | {} | {} | {} |\n"
                     : "{:14} bound {:<5} largest {:.4f} at {}  subnormal {} {}  of {}\n";
  }

  template <class T>
  void add(const Family& family, const Record<T>& record, std::size_t count) {
    const Export& e = *record.e;
    const double special = e.name.ends_with("A50")   ? family.subnormalA50
                           : e.name.ends_with("A53") ? family.subnormalA53
                                                     : 0;
    const double subnormalBound = special != 0 ? special : e.bound;
    const bool any = record.subnormal.error > 0;
    fmt::print(fmt::runtime(form_), e.name, e.bound, record.normal.error,
               inputText(e, record.normal.at),
               any ? fmt::format("{:.4f}", record.subnormal.error) : "-",
               any ? inputText(e, record.subnormal.at) : "-", count);
    const bool good =
        e.bound == 0.5 ? record.wronglyRounded == 0
                       : record.normal.error <= e.bound && record.subnormal.error <= subnormalBound;
    if (!good)
      fmt::print("FAILED {}: beyond its bound ({} not correctly rounded)\n", e.name,
                 record.wronglyRounded);
    ++(good ? passed_ : failed_);
  }

  /// Every export of the library must have a row in families.cpp.
  void requireComplete(const loader::Library& library) {
    for (const Export& e : loader::exports())
      if (library.has(e) && std::none_of(families().begin(), families().end(),
                                         [&](const Family& f) { return f.name == e.family; })) {
        fmt::print("FAILED {}: no row of its family\n", e.name);
        ++failed_;
      }
  }

  bool finish(bool markdown) const {
    if (!markdown || failed_ > 0)
      fmt::print("{} passed, {} failed\n", passed_, failed_);
    return failed_ == 0 && passed_ > 0;
  }

private:
  std::string form_;
  int passed_ = 0, failed_ = 0;
};

template <class T>
void measure(const loader::Library& library, const Family& family, const Options& options,
             Report& report) {
  std::vector<const Export*> chosen;
  for (const Export& e : loader::exports())
    if (e.family == family.name && e.single == (sizeof(T) == 4) && library.has(e) &&
        e.name.find(options.pattern) != std::string::npos)
      chosen.push_back(&e);
  if (chosen.empty())
    return;

  const auto inputs = Sampler<T>(options.seed).inputs(family, options.count);
  std::vector<Record<T>> records;
  for (const Export* e : chosen)
    records.push_back(callOn(library, *e, inputs));

  Number x, y, exact;
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    mpfr_set_d(x, static_cast<double>(inputs[i].x), MPFR_RNDN);
    mpfr_set_d(y, static_cast<double>(inputs[i].y), MPFR_RNDN);
    for (std::size_t d = 0; d < family.references.size(); ++d) {
      family.references[d](exact, x, y);
      if (mpfr_nan_p(static_cast<mpfr_ptr>(exact)))
        continue; // outside the domain
      const T nearest = rounded<T>(exact);
      const bool subnormal = std::fabs(nearest) < std::numeric_limits<T>::min();
      for (Record<T>& record : records) {
        const T result = record.results[d][i];
        record.wronglyRounded += result != nearest;
        (subnormal ? record.subnormal : record.normal).see(errorInUlps(result, exact), inputs[i]);
      }
    }
  }
  for (const Record<T>& record : records)
    report.add(family, record, inputs.size());
}

} // namespace
} // namespace accuracy

int main(int argc, char** argv) {
  using namespace accuracy;
  Options options;
  CLI::App app{"Measures the largest error of every export against MPFR"};
  app.add_option("library", options.library, "the build to measure")->required();
  app.add_option("--count", options.count, "inputs for each family and type")
      ->capture_default_str();
  app.add_option("--seed", options.seed, "of the random inputs")->capture_default_str();
  app.add_option("--exports", options.pattern, "only exports whose name contains this");
  app.add_flag("--markdown", options.markdown, "print the table of docs/accuracy.md");
  CLI11_PARSE(app, argc, argv);
  try {
    const loader::Library library(options.library);
    Report report(options.markdown);
    report.requireComplete(library);
    for (const Family& family : families()) {
      measure<float>(library, family, options, report);
      measure<double>(library, family, options, report);
    }
    return report.finish(options.markdown) ? 0 : 1;
  } catch (const std::exception& error) {
    fmt::print(stderr, "accuracy: {}\n", error.what());
    return 2;
  }
}
