// The largest error in ulps of every export against MPFR, asserted against its published bound:
// over samples, and by a search that climbs from the worst of them.

#include "measurement.hpp"
#include "plot.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>

namespace accuracy {
namespace {

template <class T>
class Sampler {
public:
  explicit Sampler(unsigned seed) : random_(seed) {}

  std::vector<Input<T>> inputs(const Family& family, std::size_t count) {
    std::vector<Input<T>> list, named;
    addNeighbours(list, family.hardPoints);
    // Of many hard points, no more than of random ones; but all that are written one by one.
    if (list.size() > count / 2) {
      std::shuffle(list.begin(), list.end(), random_);
      list.resize(count / 2);
    }
    addNeighbours(named, family.namedPoints);
    list.insert(list.begin(), named.begin(), named.end());
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
  static void addNeighbours(std::vector<Input<T>>& list, const std::vector<Point>& points) {
    for (const Point& p : points)
      for (int step = -1; step <= 1; ++step)
        add(list, {shifted(p.x, step), shifted(p.y, -step)});
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

/// The largest error of an export's normal or subnormal results that has been observed in any
/// search (families/errors.inc), so that a kernel which lost accuracy is seen far within its bound.
double observed(const Export& e, const std::string& results) {
  const double unrounded = 0.00005; // it stands there with four places
  for (const loader::Error& error : e.errors)
    if (error.results == results)
      return error.observed + unrounded;
  return std::numeric_limits<double>::infinity();
}

struct Options {
  std::string library, pattern, plots, points;
  std::size_t count = 100000, climb = 0;
  unsigned seed = 1;
  bool peers = false, markdown = false;
};

class Report {
public:
  explicit Report(const Options& options) : markdown_(options.markdown), peers_(options.peers) {
    if (markdown_)
      fmt::print("| export | bound | largest error | at | largest, subnormal results | at | inputs "
                 "|{}\n|---|---|---|---|---|---|---|{}\n",
                 peers_ ? " C library | at |" : "", peers_ ? "---|---|" : "");
  }

  template <class T>
  void add(const Family& family, const Record<T>& record, const Record<T>* peer) {
    const Export& e = *record.e;
    const double special = e.name.ends_with("A50")   ? family.subnormalA50
                           : e.name.ends_with("A53") ? family.subnormalA53
                                                     : 0;
    const double subnormalBound = special != 0 ? special : e.bound;
    const auto error = [](const Worst<T>& worst) {
      return worst.error > 0 ? fmt::format("{:.4f}", worst.error) : "-";
    };
    const auto place = [&](const Worst<T>& worst) {
      return worst.error > 0 ? inputText(e, worst.at) : "-";
    };
    fmt::print(fmt::runtime(markdown_
                                ? "| `{}` | {} | {} | `{}` | {} | `{}` | {} |"
                                : "{:14} bound {:<5} largest {} at {}  subnormal {} at {}  of {}"),
               e.name, e.bound, error(record.normal), place(record.normal), error(record.subnormal),
               place(record.subnormal), record.inputs);
    if (peers_ && peer != nullptr)
      fmt::print(fmt::runtime(markdown_ ? " {} | `{}` |" : "  C library {} at {}"),
                 error(peer->normal), place(peer->normal));
    fmt::print("\n");
    const bool good =
        e.bound == 0.5 ? record.wronglyRounded == 0
                       : record.normal.error <= e.bound && record.subnormal.error <= subnormalBound;
    if (!good)
      fmt::print("FAILED {}: beyond its bound ({} not correctly rounded)\n", e.name,
                 record.wronglyRounded);
    const bool known = record.normal.error <= observed(e, "normal") &&
                       record.subnormal.error <= observed(e, "subnormal");
    if (!known && !markdown_) // (The table is where a larger one is written down.)
      fmt::print("FAILED {}: a larger error than any observed (families/errors.inc)\n", e.name);
    ++(good && (known || markdown_) ? passed_ : failed_);
  }

  /// The largest error that is recorded is that of its input.
  void repeat(const Export& e, const loader::Error& recorded, double error) {
    const bool same = fmt::format("{:.4f}", error) == fmt::format("{:.4f}", recorded.observed);
    if (markdown_) // (it is in the table)
      return;
    if (!same)
      fmt::print("FAILED {}: at {} the error is {:.5f}, not {:.4f} (families/errors.inc)\n", e.name,
                 recorded.at, error, recorded.observed);
    ++(same ? passed_ : failed_);
  }

  bool finish() const {
    if (!markdown_ || failed_ > 0)
      fmt::print("{} passed, {} failed\n", passed_, failed_);
    return failed_ == 0 && passed_ > 0;
  }

private:
  bool markdown_, peers_;
  int passed_ = 0, failed_ = 0;
};

/// Numbers as errors.inc and files of points have them: one, or two with a comma.
template <class T>
Input<T> inputOf(const std::string& text) {
  const std::size_t comma = text.find(',');
  const auto number = [](const std::string& t) {
    return static_cast<T>(std::strtod(t.c_str(), nullptr));
  };
  return {number(text), comma == std::string::npos ? T{0} : number(text.substr(comma + 1))};
}

template <class T>
std::vector<Input<T>> pointsIn(const std::string& path) {
  std::ifstream file(path);
  std::vector<Input<T>> points;
  for (std::string line; std::getline(file, line);)
    points.push_back(inputOf<T>(line));
  if (points.empty())
    throw std::runtime_error(path + ": no points");
  return points;
}

template <class T>
void measure(const loader::Library& library, const Family& family, const Options& options,
             Report& report) {
  Measurement<T> measurement(library, family, options.pattern);
  std::vector<Record<T>>& records = measurement.records();
  const std::size_t exports = records.size();
  if (exports == 0)
    return;
  if (options.peers)
    measurement.addPeer();

  if (!options.points.empty()) {
    for (Record<T>& record : records)
      measurement.climb(record, pointsIn<T>(options.points), options.climb, options.seed);
    for (const Record<T>& record : records)
      report.add<T>(family, record, nullptr);
    return;
  }
  for (Record<T>& record : records)
    for (const loader::Error& error :
         record.e != nullptr ? record.e->errors : std::vector<loader::Error>())
      report.repeat(*record.e, error, measurement.errorAt(record, inputOf<T>(error.at)));
  Sampler<T> sampler(options.seed);
  measurement.sample(sampler.inputs(family, options.count));
  if (options.climb > 0)
    for (Record<T>& record : records) {
      std::vector<Input<T>> starts = sampler.inputs(family, options.climb / 10);
      starts.push_back(record.normal.at);
      measurement.climb(record, starts, options.climb, options.seed);
    }
  for (std::size_t i = 0; i < exports; ++i)
    report.add(family, records[i], exports < records.size() ? &records.back() : nullptr);
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
  app.add_option("--climb", options.climb, "steps of the search for worse inputs, for each export");
  app.add_flag("--peers", options.peers, "measure the C library's functions too");
  app.add_option("--points", options.points, "begin the search at the inputs of this file alone");
  app.add_option("--plots", options.plots, "write a picture for each family into this directory");
  app.add_flag("--markdown", options.markdown, "print the table of docs/accuracy.md");
  CLI11_PARSE(app, argc, argv);
  try {
    const loader::Library library(options.library);
    Report report(options);
    if (!options.plots.empty()) {
      for (const Family& family : families())
        plotErrors(library, family, options.pattern, options.plots);
      return 0;
    }
    for (const Family& family : families()) {
      measure<float>(library, family, options, report);
      measure<double>(library, family, options, report);
    }
    return report.finish() ? 0 : 1;
  } catch (const std::exception& error) {
    fmt::print(stderr, "accuracy: {}\n", error.what());
    return 2;
  }
}
