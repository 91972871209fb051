#include "sections.hpp"

#include "arguments.hpp"
#include "timing.hpp"

#include "peers/vectors.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <type_traits>

namespace bench {
namespace {

using peers::Vectors;

constexpr int usual = 4096; // elements
constexpr const char* scalar = "C scalar";

std::string vectorsName(Vectors vectors, const std::string& level) {
  return (vectors == Vectors::CLibrary ? "C vectors " : "1 ulp ") + level;
}

// ---- measuring
// -----------------------------------------------------------------------------------

template <class T>
using Shared = std::shared_ptr<Arrays<T>>;
template <class T>
Shared<T> share(Arrays<T> arrays) {
  return std::make_shared<Arrays<T>>(std::move(arrays));
}

/// Calls of that length from one end of the arrays to the other, again and again.
template <class T, class F>
std::function<void(long)> callsOf(F f, Shared<T> arrays, int length) {
  return [f = std::move(f), arrays = std::move(arrays),
          step = static_cast<std::size_t>(length)](long calls) {
    for (std::size_t at = 0; calls > 0; --calls) {
      f(arrays->operands(at), static_cast<int>(step));
      at += step;
      if (at + step > arrays->elements())
        at = 0;
    }
  };
}

/// The contestants of a section and a family, who are measured together.
class Contest {
public:
  Contest(Subject& subject, std::string section, const std::string& family,
          const std::string& suffix)
      : subject_(subject),
        section_(std::move(section)),
        family_(family),
        export_(*loader::findExport(family + suffix)) {}

  template <class T>
  void addBuilds(Shared<T> arrays, int length, const std::string& name = "") {
    for (const Build& build : subject_.builds)
      add<T>(build.name, build.library.function(export_), arrays, length, name);
  }
  template <class T>
  void addFullRoads(Shared<T> arrays, int length, const std::string& name) {
    for (const Build& build : subject_.fullRoads)
      add<T>(build.name, build.library.function(export_), arrays, length, name);
  }

  /// All others that do the same work.
  template <class T>
  void addPeers(Shared<T> arrays, int length) {
    addPeer<T>(scalar, peers::peerOf(family_)->loop(T{}), arrays, length);
    for (const std::string& level : subject_.levels())
      for (const Vectors vectors : {Vectors::CLibrary, Vectors::OneUlp})
        if (const peers::Loop<T> loop = peers::vectorLoop<T>(vectors, family_, level))
          addPeer<T>(vectorsName(vectors, level), loop, arrays, length);
  }

  void run() {
    measure(contestants_, subject_.rounds);
    for (const Contestant& c : contestants_)
      subject_.figures.add({section_, family_, c.arguments, c.length}, c.name, c.nanoseconds);
  }

private:
  /// Throws std::runtime_error if its results are not those of the export, but for roundings.
  template <class T>
  void addPeer(const std::string& name, const peers::Loop<T>& loop, Shared<T> arrays, int length) {
    constexpr double roundings = std::is_same_v<T, float> ? 1e-5 : 1e-12;
    subject_.plain().library.function(export_)(arrays->operands(0), length);
    const std::vector<T> expected[] = {arrays->r, arrays->r2};
    loop(arrays->operands(0), length);
    const std::vector<T>* results[] = {&arrays->r, &arrays->r2};
    for (int destination = 0; destination < export_.destinations(); ++destination)
      for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) {
        const double exact = expected[destination][i], result = (*results[destination])[i];
        if (!(std::abs(result - exact) <= roundings * std::max(1.0, std::abs(exact))))
          throw std::runtime_error(fmt::format("{} of {}: {} from {} in the place of {}", name,
                                               export_.name, result, arrays->x[i], exact));
      }
    add<T>(name, loop, arrays, length, "");
  }

  template <class T, class F>
  void add(const std::string& name, F f, Shared<T> arrays, int length,
           const std::string& arguments) {
    contestants_.push_back(
        {name, arguments, length, callsOf<T>(std::move(f), std::move(arrays), length)});
  }

  Subject& subject_;
  std::string section_, family_;
  const loader::Export& export_;
  std::vector<Contestant> contestants_;
};

/// The families among these; all that are measured where these were chosen one by one.
std::vector<std::string> handful(const Subject& subject, std::vector<std::string> families) {
  return subject.chosen ? subject.families : families;
}

template <class T>
void measureClass(Subject& subject, const char* suffix, bool withPeers) {
  for (const std::string& family : subject.families) {
    const auto arrays = share(ordinary<T>(*peers::peerOf(family), usual));
    Contest contest(subject, std::string(suffix).substr(1), family, suffix);
    contest.addBuilds(arrays, usual);
    if (withPeers)
      contest.addPeers(arrays, usual);
    contest.run();
  }
}

constexpr int sizes[] = {usual, 1 << 16, 1 << 22};

std::vector<std::string> familiesOfSizes(const Subject& subject) {
  return handful(subject, {"Div", "Exp", "Sin", "Pow"});
}

void measureSizes(Subject& subject) {
  for (const std::string& family : familiesOfSizes(subject))
    for (const int size : sizes) {
      const auto arrays =
          share(ordinary<double>(*peers::peerOf(family), static_cast<std::size_t>(size)));
      Contest contest(subject, "sizes", family, "_64f_A53");
      contest.addBuilds(arrays, size);
      contest.run();
    }
}

constexpr int lengths[] = {1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 24, 32, 48, 64};
constexpr int lengthsOfAll[] = {1, 4, 8};

std::vector<std::string> familiesOfLengths(const Subject& subject) {
  return handful(subject, {"Exp", "Sin", "Div", "Pow", "Tanh"});
}

void measureLengths(Subject& subject) {
  const std::vector<std::string> some = familiesOfLengths(subject);
  for (const std::string& family : subject.families) {
    const auto arrays = share(ordinary<double>(*peers::peerOf(family), usual));
    const bool all = std::ranges::find(some, family) != some.end();
    Contest contest(subject, "lengths", family, "_64f_A53");
    for (const int length : lengths)
      if (all || std::ranges::find(lengthsOfAll, length) != std::end(lengthsOfAll))
        contest.addBuilds(arrays, length);
    contest.run();
  }
}

/// Of angles: what is tried, by its name in the table.
struct Angles {
  const char* name;
  double low, high; ///< exponents of two
};
constexpr const char* smallAngles = "[-10, 10]";
constexpr Angles largeAngles[] = {{"2^17 to 2^30", 17, 30}, {"2^30 to 2^1000", 30, 1000}};

std::vector<std::string> familiesOfAngles(const Subject& subject) {
  std::vector<std::string> families;
  for (const char* family : {"Sin", "Cos", "SinCos", "Tan"})
    if (std::ranges::find(subject.families, family) != subject.families.end())
      families.push_back(family);
  return families;
}

void measureAngles(Subject& subject) {
  for (const std::string& family : familiesOfAngles(subject)) {
    Contest contest(subject, "angles", family, "_64f_A53");
    contest.addBuilds(share(ordinary<double>(*peers::peerOf(family), usual)), usual, smallAngles);
    for (const auto& [name, low, high] : largeAngles)
      contest.addBuilds(share(ofMagnitudes(low, high, usual)), usual, name);
    contest.run();
  }
}

void measureExceptions(Subject& subject) {
  for (const std::string& family : subject.families) {
    const peers::Peer& peer = *peers::peerOf(family);
    Contest contest(subject, "exceptions", family, "_64f_A53");
    contest.addBuilds(share(ordinary<double>(peer, usual)), usual, "ordinary");
    contest.addBuilds(share(withExceptions<double>(peer, usual)), usual, "exceptions");
    contest.run();
  }
}

std::vector<TwoRanges> measuredRanges(const Subject& subject) {
  std::vector<TwoRanges> ranges = twoRanges();
  std::erase_if(ranges, [&](const TwoRanges& two) {
    return std::ranges::find(subject.families, two.family) == subject.families.end();
  });
  return ranges;
}

void measureRanges(Subject& subject) {
  for (const TwoRanges& two : measuredRanges(subject)) {
    Contest contest(subject, "ranges", two.family, "_64f_A53");
    contest.addBuilds(share(ofTwoRanges(two, 0, usual)), usual, "first");
    contest.addBuilds(share(ofTwoRanges(two, 0.5, usual)), usual, "both");
    contest.addBuilds(share(ofTwoRanges(two, 1, usual)), usual, "second");
    contest.run();
  }
}

/// What short roads meet, by its name in the table.
std::vector<std::string> floatKinds(const std::string& family) {
  std::vector<std::string> kinds{"usual", "one in a hundred exceptional", "subnormals"};
  if (family == "Sin" || family == "Cos" || family == "SinCos" || family == "Tan")
    kinds.emplace_back("a tenth of large angles");
  if (family != "Div" && family != "Inv" && family != "Sqrt") // theirs are not approximate
    kinds.emplace_back("middles");
  return kinds;
}
constexpr int shortFloats[] = {1, 4, 16};

void measureFloats(Subject& subject) {
  if (subject.fullRoads.empty())
    return;
  for (const std::string& family : subject.families) {
    const peers::Peer& peer = *peers::peerOf(family);
    const loader::Function doubles =
        subject.plain().library.function(*loader::findExport(family + "_64f_A53"));
    Contest contest(subject, "floats", family, "_32f_A24");
    const auto addAll = [&](const Shared<float>& arrays, int length, const std::string& name) {
      contest.addBuilds(arrays, length, name);
      contest.addFullRoads(arrays, length, name);
    };
    for (const std::string& kind : floatKinds(family))
      addAll(share(kind == "usual" ? ordinary<float>(peer, usual)
                   : kind == "one in a hundred exceptional"
                       ? withExceptions<float>(peer, usual)
                       : mixedFloats(peer, kind, doubles, usual)),
             usual, kind);
    for (const int length : shortFloats)
      addAll(share(ordinary<float>(peer, usual)), length, "usual");
    contest.run();
  }
}

// ---- tables
// --------------------------------------------------------------------------------------

Column timeColumn(const Subject& subject, const std::string& who) {
  return {who, [&subject, who](const Place& place) { return subject.figures.element(place, who); }};
}

Column ratioColumn(const Subject& subject, const std::string& other, const std::string& who) {
  const auto ratio = [&subject, other, who](const Place& place) {
    return subject.figures.ratio(place, other, who);
  };
  return {other + " / " + who, ratio, true};
}

/// The times of all builds, and how many times as fast the levels are.
std::vector<Column> columnsOfBuilds(const Subject& subject) {
  std::vector<Column> columns;
  for (const Build& build : subject.builds)
    columns.push_back(timeColumn(subject, build.name));
  for (const std::string& level : subject.levels())
    columns.push_back(ratioColumn(subject, subject.plain().name, level));
  return columns;
}

/// How many times as long a library takes as with other arguments; the mean of several.
Column slowdownColumn(const Subject& subject, const std::string& who,
                      const std::vector<std::string>& others) {
  const auto ratio = [&subject, who, others](const Place& place) {
    double time = 0;
    for (const std::string& arguments : others)
      time += subject.figures.element({place.section, place.family, arguments, place.length}, who);
    const double mean = time / static_cast<double>(others.size());
    return mean > 0 ? subject.figures.element(place, who) / mean : 0;
  };
  return {who + ", times", ratio, true};
}

std::string code(const std::string& text) {
  return "`" + text + "`";
}

/// Of rows that do not belong together.
void withoutMeans(std::vector<Column>& columns) {
  for (Column& column : columns)
    column.mean = false;
}

std::vector<Row> rowsOf(const std::vector<std::string>& families, const std::string& section,
                        const std::string& arguments) {
  std::vector<Row> rows;
  for (const std::string& family : families)
    rows.push_back({{code(family)}, {section, family, arguments, usual}});
  return rows;
}

void printFunctions(const Subject& subject) {
  fmt::print(
      "## Functions\n\nThe main ranges, over which arguments are uniform, and what the other "
      "libraries do with each element or\nregister. Where an operation is an instruction, that "
      "is what stands beside.\n\n");
  const auto textOrDash = [](const std::string& text) { return text.empty() ? "-" : code(text); };
  std::vector<Row> rows;
  for (const std::string& family : subject.families) {
    const peers::Peer& peer = *peers::peerOf(family);
    const bool two = peer.y.high != 0;
    rows.push_back({{code(family), text(peer.x) + (two ? ", " + text(peer.y) : ""), code(peer.text),
                     textOrDash(peers::vectorText(Vectors::CLibrary, family)),
                     textOrDash(peers::vectorText(Vectors::OneUlp, family))},
                    {}});
  }
  printTable({"family", "arguments", scalar, "C vectors", "1 ulp"}, {}, rows);
}

void printWithPeers(const Subject& subject, const std::string& section) {
  std::vector<Column> columns;
  for (const Build& build : subject.builds)
    columns.push_back(timeColumn(subject, build.name));
  columns.push_back(timeColumn(subject, scalar));
  for (const Vectors vectors : {Vectors::CLibrary, Vectors::OneUlp})
    for (const std::string& level : subject.levels()) {
      columns.push_back(timeColumn(subject, vectorsName(vectors, level)));
      if (!peers::installed(vectors))
        columns.back().title += " (not installed)";
    }
  for (const std::string& level : subject.levels())
    columns.push_back(ratioColumn(subject, subject.plain().name, level));
  columns.push_back(ratioColumn(subject, scalar, subject.plain().name));
  for (const std::string& level : subject.levels())
    columns.push_back(ratioColumn(subject, scalar, level));
  for (const Vectors vectors : {Vectors::CLibrary, Vectors::OneUlp})
    for (const std::string& level : subject.levels())
      columns.push_back(ratioColumn(subject, vectorsName(vectors, level), level));
  printTable({"family"}, columns, rowsOf(subject.families, section, ""));
}

void printA53(const Subject& subject) {
  fmt::print("## 64f_A53\n\nNanoseconds per element, {} elements.\n\n", usual);
  printWithPeers(subject, "64f_A53");
}

void printA50(const Subject& subject) {
  fmt::print("## 64f_A50\n\nNanoseconds per element, {} elements.\n\n", usual);
  printTable({"family"}, columnsOfBuilds(subject), rowsOf(subject.families, "64f_A50", ""));
}

void printA24(const Subject& subject) {
  fmt::print("## 32f_A24\n\nNanoseconds per element, {} elements. The other libraries have short "
             "functions for floats;\nthe plain library rounds its double result, levels take "
             "[short roads](short-roads.md).\n\n",
             usual);
  printWithPeers(subject, "32f_A24");
}

void printFloats(const Subject& subject) {
  if (subject.fullRoads.empty())
    return;
  fmt::print(
      "## Floats of all kinds\n\nNanoseconds per element of `32f_A24`, {} elements or, where it is "
      "told, fewer; and how many times\nas fast as without the short roads (the full road: a float "
      "costs as much as a double). Middles: all\nresults within 2^-37 of a middle between two "
      "floats.\n\n",
      usual);
  std::vector<Column> columns;
  for (const std::string& level : subject.levels())
    for (const Build& full : subject.fullRoads)
      if (full.name == level + "f") {
        columns.push_back(timeColumn(subject, level));
        columns.push_back(timeColumn(subject, full.name));
        columns.back().title = level + " full road";
        columns.push_back(ratioColumn(subject, full.name, level));
        columns.back().title = "full road / " + level;
      }
  withoutMeans(columns);
  std::vector<Row> rows;
  for (const std::string& family : subject.families) {
    for (const std::string& kind : floatKinds(family))
      rows.push_back({{code(family), kind}, {"floats", family, kind, usual}});
    for (const int length : shortFloats)
      rows.push_back({{code(family), fmt::format("{} at a time", length)},
                      {"floats", family, "usual", length}});
  }
  printTable({"family", "arguments"}, columns, rows);
}

void printSizes(const Subject& subject) {
  fmt::print("## Sizes\n\nNanoseconds per element of `64f_A53`; KiB are those of all arrays of a "
             "call. Where memory decides,\nmore elements at once gain less.\n\n");
  std::vector<Row> rows;
  for (const std::string& family : familiesOfSizes(subject)) {
    const loader::Export& e = *loader::findExport(family + "_64f_A53");
    for (const int size : sizes)
      rows.push_back({{code(family), std::to_string(size),
                       std::to_string((e.sources() + e.destinations()) * (size / 1024) * 8)},
                      {"sizes", family, "", size}});
  }
  std::vector<Column> columns = columnsOfBuilds(subject);
  withoutMeans(columns);
  printTable({"family", "elements", "KiB"}, columns, rows);
}

void printLengths(const Subject& subject) {
  fmt::print(
      "## Short calls\n\nNanoseconds per call of `64f_A53`, by its length. (The means over all "
      "families are in the summary.)\n\n");
  std::vector<std::string> titles{"family", "library"};
  for (const int length : lengths)
    titles.push_back(std::to_string(length));
  printTitles(titles);
  for (const std::string& family : familiesOfLengths(subject))
    for (const Build& build : subject.builds) {
      std::vector<std::string> cells{code(family), build.name};
      for (const int length : lengths) {
        const double time = subject.figures.call({"lengths", family, "", length}, build.name);
        cells.push_back(fmt::format("{:.1f}", time));
      }
      printCells(cells);
    }
  fmt::print("\n");
}

void printAngles(const Subject& subject) {
  if (familiesOfAngles(subject).empty())
    return;
  fmt::print(
      "## Large angles\n\nNanoseconds per element of `64f_A53`, {} elements of either sign, "
      "magnitudes uniform in their\nlogarithms; and how many times as long each library takes "
      "as for small ones.\n\n",
      usual);
  std::vector<Column> columns = columnsOfBuilds(subject);
  for (const Build& build : subject.builds)
    columns.push_back(slowdownColumn(subject, build.name, {smallAngles}));
  withoutMeans(columns);
  std::vector<Row> rows;
  for (const std::string& family : familiesOfAngles(subject)) {
    rows.push_back({{code(family), smallAngles}, {"angles", family, smallAngles, usual}});
    for (const auto& [name, low, high] : largeAngles)
      rows.push_back({{code(family), name}, {"angles", family, name, usual}});
  }
  printTable({"family", "arguments"}, columns, rows);
}

void printExceptions(const Subject& subject) {
  fmt::print(
      "## Exceptional elements\n\nNanoseconds per element of `64f_A53`, {} elements, one in a "
      "hundred exceptional; and how many\ntimes as long each library takes as without "
      "these.\n\n",
      usual);
  std::vector<Column> columns = columnsOfBuilds(subject);
  for (const Build& build : subject.builds)
    columns.push_back(slowdownColumn(subject, build.name, {"ordinary"}));
  std::vector<Row> rows;
  for (const std::string& family : subject.families)
    rows.push_back(
        {{code(family), exceptionsText(family)}, {"exceptions", family, "exceptions", usual}});
  printTable({"family", "exceptional"}, columns, rows);
}

void printRanges(const Subject& subject) {
  if (measuredRanges(subject).empty())
    return;
  fmt::print("## Two ranges\n\nNanoseconds per element of `64f_A53`, {} elements, each from one of "
             "two ordinary ranges at random;\nand how many times as long each library takes as for "
             "the ranges apart.\n\n",
             usual);
  std::vector<Column> columns = columnsOfBuilds(subject);
  for (const Build& build : subject.builds)
    columns.push_back(slowdownColumn(subject, build.name, {"first", "second"}));
  std::vector<Row> rows;
  for (const TwoRanges& two : measuredRanges(subject))
    rows.push_back({{code(two.family), text(two.first) + ", " + text(two.second)},
                    {"ranges", two.family, "both", usual}});
  printTable({"family", "ranges"}, columns, rows);
}

} // namespace

std::vector<std::string> Subject::levels() const {
  std::vector<std::string> names;
  for (const Build& build : builds)
    if (&build != &builds.front())
      names.push_back(build.name);
  return names;
}

const std::vector<Section>& sections() {
  static const std::vector<Section> all = {
      {"functions", [](Subject&) {}, printFunctions},
      {"A53", [](Subject& s) { measureClass<double>(s, "_64f_A53", true); }, printA53},
      {"A50", [](Subject& s) { measureClass<double>(s, "_64f_A50", false); }, printA50},
      {"A24", [](Subject& s) { measureClass<float>(s, "_32f_A24", true); }, printA24},
      {"floats", measureFloats, printFloats},
      {"sizes", measureSizes, printSizes},
      {"lengths", measureLengths, printLengths},
      {"angles", measureAngles, printAngles},
      {"exceptions", measureExceptions, printExceptions},
      {"ranges", measureRanges, printRanges},
  };
  return all;
}

void printSummary(const Subject& subject) {
  fmt::print("## Summary\n\nHow many times as fast the levels are: the geometric mean, how many "
             "families it is of, and the\nsmallest.\n\n");
  std::vector<std::string> titles{"measured", "beside"};
  for (const std::string& level : subject.levels())
    titles.push_back(level);
  printTitles(titles);
  // A row, if there is anything for it.
  const auto row = [&](const std::string& text, const std::string& section,
                       const std::string& arguments, int length, const std::string& beside,
                       const auto& other) {
    std::vector<std::string> cells{text, beside};
    bool any = false;
    for (const std::string& level : subject.levels()) {
      Mean mean;
      for (const std::string& family : subject.families)
        mean.add(family,
                 subject.figures.ratio({section, family, arguments, length}, other(level), level));
      any = any || mean.count() > 0;
      cells.push_back(mean.count() == 0
                          ? "-"
                          : fmt::format("{} ({}), {} `{}`", cell(mean.mean()), mean.count(),
                                        cell(mean.smallest()), mean.smallestFamily()));
    }
    if (any)
      printCells(cells);
  };
  const auto plain = [&](const std::string&) { return subject.plain().name; };
  const auto besidePlain = [&](const std::string& text, const std::string& section,
                               const std::string& arguments = "", int length = usual) {
    row(text, section, arguments, length, subject.plain().name, plain);
  };
  for (const char* section : {"64f_A53", "64f_A50", "32f_A24"}) {
    besidePlain(code(section), section);
    row(code(section), section, "", usual, scalar, [](const std::string&) { return scalar; });
    for (const Vectors vectors : {Vectors::CLibrary, Vectors::OneUlp})
      row(code(section), section, "", usual, vectors == Vectors::CLibrary ? "C vectors" : "1 ulp",
          [&](const std::string& level) { return vectorsName(vectors, level); });
  }
  for (const int length : lengthsOfAll)
    besidePlain(fmt::format("`64f_A53`, calls of length {}", length), "lengths", "", length);
  for (const auto& [name, low, high] : largeAngles)
    besidePlain(fmt::format("`64f_A53`, angles {}", name), "angles", name);
  besidePlain("`64f_A53`, one element in a hundred exceptional", "exceptions", "exceptions");
  besidePlain("`64f_A53`, of two ranges at random", "ranges", "both");
}

} // namespace bench
