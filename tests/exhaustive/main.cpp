// Every float: all 2^32 arguments of the single-precision families of one source, against the
// correctly rounded result.
//
// The C library's double function decides nearly all of them: it is right to a few ulps, so where
// both ends of a wider interval around it round to the same float, that float is the correct one.
// MPFR decides the rest, about one in ten million.
//
// Arguments that are known not to give the correctly rounded float are always tried, however few
// blocks are; where they are given, every other wrong result is a failure, and so are they
// themselves in a family whose bound is 0.5.
//
// What is done is noted in a file, a line for each block of 2^20 arguments, so that an interrupted
// run goes on where it stopped.

#include "accuracy/families.hpp"
#include "accuracy/ulps.hpp"
#include "loader/loader.hpp"
#include "peers/peers.hpp"

#include <CLI/CLI.hpp>
#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace {

using accuracy::Number;
using loader::Export;
using loader::Operands;

constexpr std::uint32_t blockSize = 1u << 20;
constexpr std::uint32_t pieceSize = 1u << 12; // what stays in the cache
constexpr std::uint32_t blocksPerFamily = 1u << 12;
constexpr double estimateTolerance = 0x1p-48; // 16 to 32 ulps; the C library states 5 at most

/// One family: its three exports, the C library's function, the exact function.
struct Subject {
  const accuracy::Family* family;
  const peers::Peer* peer;
  std::vector<const Export*> exports; ///< A11, A21, A24
};

/// What was found out about one family, or about one block of it.
struct Findings {
  std::set<std::uint32_t> blocks;
  std::uint64_t byMpfr = 0;       ///< results that MPFR decided
  std::vector<std::string> wrong; ///< rows of a table

  void add(const Findings& other) {
    blocks.insert(other.blocks.begin(), other.blocks.end());
    byMpfr += other.byMpfr;
    wrong.insert(wrong.end(), other.wrong.begin(), other.wrong.end());
  }
};

template <class T>
using Results = std::array<std::vector<T>, 2>; ///< by destination

template <class T>
Operands<T> operands(const std::vector<T>& source, Results<T>& results) {
  for (std::vector<T>& destination : results)
    destination.resize(source.size());
  // (The C library's loops read a second source whether or not the function takes one.)
  return {source.data(), source.data(), 0, results[0].data(), results[1].data()};
}

bool identical(float a, float b) {
  return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) ||
         (std::isnan(a) && std::isnan(b));
}

/// The correctly rounded result for destination d.
float exact(const Subject& subject, std::size_t d, float x) {
  thread_local Number argument, result;
  mpfr_set_flt(argument, x, MPFR_RNDN);
  subject.family->references[d](result, argument, argument);
  return accuracy::rounded<float>(result);
}

/// Checks the arguments whose bit patterns start at `first`.
void checkPiece(const loader::Library& library, const Subject& subject, std::uint32_t first,
                Findings& findings) {
  std::vector<float> source(pieceSize);
  for (std::uint32_t i = 0; i < pieceSize; ++i)
    source[i] = std::bit_cast<float>(first + i);
  const std::vector<double> wide(source.begin(), source.end());
  const auto length = static_cast<int>(pieceSize);

  Results<double> estimates;
  subject.peer->doubleLoop(operands(wide, estimates), length);
  std::vector<Results<float>> results(subject.exports.size());
  for (std::size_t e = 0; e < results.size(); ++e)
    library.function (*subject.exports[e])(operands(source, results[e]), length);

  for (std::size_t d = 0; d < subject.family->references.size(); ++d)
    for (std::uint32_t i = 0; i < pieceSize; ++i) {
      const double estimate = estimates[d][i];
      const double margin = std::fabs(estimate) * estimateTolerance;
      auto expected = static_cast<float>(estimate);
      if (std::isfinite(estimate) &&
          static_cast<float>(estimate - margin) != static_cast<float>(estimate + margin)) {
        expected = exact(subject, d, source[i]);
        ++findings.byMpfr;
      }
      if (std::ranges::all_of(
              results, [&](const Results<float>& of) { return identical(of[d][i], expected); }))
        continue;
      std::string row =
          fmt::format("| {} | {:a} | {:a} |", subject.family->name, source[i], expected);
      for (const Results<float>& of : results)
        row += fmt::format(" {:a} |", of[d][i]);
      findings.wrong.push_back(row);
    }
}

Findings checkBlock(const loader::Library& library, const Subject& subject, std::uint32_t block) {
  Findings findings{{block}, 0, {}};
  for (std::uint32_t piece = 0; piece < blockSize; piece += pieceSize)
    checkPiece(library, subject, block * blockSize + piece, findings);
  return findings;
}

/// The notes of what is done: a line 'done FAMILY BLOCK BY_MPFR' for a block, before it a line
/// 'wrong FAMILY BLOCK TEXT' for each wrong result.
class Notes {
public:
  explicit Notes(const std::string& path) {
    std::ifstream in(path);
    Findings block;
    for (std::string line; std::getline(in, line);) {
      std::istringstream words(line);
      std::string kind, family, text;
      std::uint32_t number = 0;
      if (!(words >> kind >> family >> number) || !std::getline(words >> std::ws, text))
        continue; // cut off when the run was interrupted
      if (kind == "wrong" && !block.blocks.contains(number))
        block = {{number}, 0, {}};
      if (kind == "wrong")
        block.wrong.push_back(text);
      else if (kind == "done") {
        block.blocks = {number};
        block.byMpfr = std::stoull(text);
        found_[family].add(block);
        block = {};
      }
    }
    if (path.empty())
      return;
    out_.open(path, std::ios::app);
    if (!out_)
      throw std::runtime_error("cannot write " + path);
  }

  void add(const std::string& family, const Findings& block) {
    const std::uint32_t number = *block.blocks.begin();
    const std::lock_guard guard(mutex_);
    for (const std::string& text : block.wrong)
      out_ << fmt::format("wrong {} {} {}\n", family, number, text);
    out_ << fmt::format("done {} {} {}\n", family, number, block.byMpfr) << std::flush;
    found_[family].add(block);
  }

  Findings& of(const std::string& family) { return found_[family]; }

private:
  std::mutex mutex_;
  std::map<std::string, Findings> found_;
  std::ofstream out_;
};

/// [#####.....] 51 %  Exp  12 min left
class ProgressBar {
public:
  explicit ProgressBar(std::size_t total) : total_(total) {}

  void advance(const std::string& what) {
    const std::lock_guard guard(mutex_);
    const std::size_t before = 100 * done_ / total_;
    if (100 * ++done_ / total_ == before)
      return;
    const double share = static_cast<double>(done_) / static_cast<double>(total_);
    const std::chrono::duration<double, std::ratio<60>> spent = Clock::now() - start_;
    fmt::print(stderr, "\r[{:.<40}] {:3.0f} %  {:8}  {:.0f} min left ",
               std::string(static_cast<std::size_t>(40 * share), '#'), 100 * share, what,
               spent.count() * (1 - share) / share);
    if (done_ == total_)
      fmt::print(stderr, "\n");
  }

private:
  using Clock = std::chrono::steady_clock;
  std::mutex mutex_;
  std::size_t done_ = 0, total_;
  Clock::time_point start_ = Clock::now();
};

/// The rows of the second table of docs/every-float.md.
std::set<std::string> knownRows(const std::string& path) {
  std::ifstream in(path);
  if (!path.empty() && !in)
    throw std::runtime_error("cannot read " + path);
  std::set<std::string> rows;
  for (std::string line; std::getline(in, line);)
    if (line.find("| 0x") != std::string::npos || line.find("| -0x") != std::string::npos)
      rows.insert(line);
  return rows;
}

/// The first arguments of the pieces in which a family's known rows lie.
std::set<std::uint32_t> piecesOf(const std::set<std::string>& rows, const std::string& family) {
  std::set<std::uint32_t> pieces;
  for (const std::string& row : rows)
    if (const std::string start = "| " + family + " | "; row.starts_with(start))
      pieces.insert(std::bit_cast<std::uint32_t>(std::stof(row.substr(start.size()))) / pieceSize *
                    pieceSize);
  return pieces;
}

/// Of the known arguments those, and of all others those found, that contradict what is published.
std::vector<std::string> contradictions(const std::vector<Subject>& subjects,
                                        const std::set<std::string>& known,
                                        const std::set<std::string>& found) {
  std::vector<std::string> list;
  for (const std::string& row : found)
    if (!known.contains(row))
      list.push_back("not correctly rounded, and not known: " + row);
  for (const Subject& subject : subjects)
    for (const std::string& row : known) {
      if (!row.starts_with("| " + subject.family->name + " | "))
        continue;
      if (!found.contains(row))
        list.push_back("known, but not found: " + row);
      else if (subject.exports.front()->bound == 0.5)
        list.push_back("not correctly rounded, so the bound of floats is not 0.5: " + row);
    }
  return list;
}

std::vector<Subject> subjects(const loader::Library& library, const std::string& pattern) {
  std::vector<Subject> list;
  for (const accuracy::Family& family : accuracy::families()) {
    Subject subject{&family, peers::peerOf(family.name), {}};
    for (const Export& e : loader::exports())
      if (e.family == family.name && e.single && e.sources() == 1 && !e.hasScalar() &&
          library.has(e) && e.name.find(pattern) != std::string::npos)
        subject.exports.push_back(&e);
    if (!subject.exports.empty() && subject.peer != nullptr)
      list.push_back(subject);
  }
  return list;
}

struct Options {
  std::string library, pattern, notes, known;
  unsigned threads = std::max(1u, std::thread::hardware_concurrency());
  std::uint32_t stride = 1;
};

/// Checks every `stride`th block and the known arguments; true if all results are right, or as
/// known.
bool run(const Options& options) {
  const loader::Library library(options.library);
  const std::vector<Subject> list = subjects(library, options.pattern);
  if (list.empty())
    throw std::runtime_error("no export of one float source has '" + options.pattern +
                             "' in its name");
  Notes notes(options.notes);
  std::vector<std::pair<const Subject*, std::uint32_t>> work;
  for (const Subject& subject : list) {
    const std::set<std::uint32_t>& done = notes.of(subject.family->name).blocks;
    for (std::uint32_t block = 0; block < blocksPerFamily; block += options.stride)
      if (!done.contains(block))
        work.emplace_back(&subject, block);
  }

  const std::set<std::string> known = knownRows(options.known);
  std::set<std::string> found;
  for (const Subject& subject : list) {
    Findings findings;
    for (const std::uint32_t piece : piecesOf(known, subject.family->name))
      checkPiece(library, subject, piece, findings);
    found.insert(findings.wrong.begin(), findings.wrong.end());
  }

  ProgressBar bar(work.size());
  std::atomic<std::size_t> next = 0;
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < options.threads; ++t)
    threads.emplace_back([&] {
      for (std::size_t i; (i = next++) < work.size();) {
        const auto& [subject, block] = work[i];
        notes.add(subject->family->name, checkBlock(library, *subject, block));
        bar.advance(subject->family->name);
      }
      mpfr_free_cache();
    });
  for (std::thread& thread : threads)
    thread.join();

  fmt::print("| family | arguments | decided by MPFR | not correctly rounded |\n"
             "|---|---|---|---|\n");
  std::vector<std::string> wrong;
  for (const Subject& subject : list) {
    const Findings& blocks = notes.of(subject.family->name);
    fmt::print("| {} | {} | {} | {} |\n", subject.family->name,
               std::uint64_t{blockSize} * blocks.blocks.size(), blocks.byMpfr, blocks.wrong.size());
    wrong.insert(wrong.end(), blocks.wrong.begin(), blocks.wrong.end());
    found.insert(blocks.wrong.begin(), blocks.wrong.end());
  }
  constexpr std::size_t most = 1000; // to list
  wrong.resize(std::min(wrong.size(), most));
  if (!wrong.empty())
    fmt::print("\n| family | argument | correctly rounded | A11 | A21 | A24 |\n"
               "|---|---|---|---|---|---|\n{}\n",
               fmt::join(wrong, "\n"));
  if (known.empty())
    return wrong.empty();
  const std::vector<std::string> against = contradictions(list, known, found);
  for (const std::string& text : against)
    fmt::print("FAILED {}\n", text);
  fmt::print("{} known arguments tried, {} contradictions\n", known.size(), against.size());
  return against.empty();
}

} // namespace

int main(int argc, char** argv) {
  Options options;
  CLI::App app{"Compares the single-precision exports of one source with the correctly rounded "
               "results, for all 2^32 arguments"};
  app.add_option("library", options.library, "the build to check")->required();
  app.add_option("--notes", options.notes, "file that notes what is done, to go on from it");
  app.add_option(
      "--known", options.known,
      "docs/every-float.md: its arguments are tried always, and may be wrong as it says");
  app.add_option("--exports", options.pattern, "only exports whose name contains this");
  app.add_option("--threads", options.threads, "default: one for each processor")
      ->check(CLI::PositiveNumber);
  app.add_option("--stride", options.stride, "only every Nth block of 2^20 arguments")
      ->check(CLI::PositiveNumber);
  CLI11_PARSE(app, argc, argv);
  try {
    return run(options) ? 0 : 1;
  } catch (const std::exception& error) {
    fmt::print(stderr, "exhaustive: {}\n", error.what());
    return 2;
  }
}
