// Every export beside the same export of other builds of the library, and beside other libraries,
// in one process: the levels of processors that stand beside the plain library, the C library's
// scalar functions in a loop, its vector functions, and those of SLEEF.

#include "sections.hpp"

#include "peers/peers.hpp"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using bench::Build;
using bench::Subject;

struct Options {
  std::string library = QELVM_DEFAULT_LIBRARY;
  std::vector<std::string> wide;
  std::string families;
  std::vector<std::string> sections;
  bool csv = false;
  int rounds = 150;
};

/// Loads the build and names it after its processors; a second one for the same gets a number.
void addBuild(Subject& subject, const std::string& path) {
  Build& build = subject.builds.emplace_back(path);
  const std::string code = loader::cpuCode(build.library.version());
  const std::string name = code == "px" ? "plain" : code;
  const auto taken = [&](const Build& other) { return other.name == build.name; };
  build.name = name;
  for (int number = 2; std::count_if(subject.builds.begin(), subject.builds.end(), taken) > 1;
       ++number)
    build.name = name + " " + std::to_string(number);
}

/// The builds for levels of processors that stand beside the first, as far as this processor can
/// run them.
void addLevels(Subject& subject) {
  const fs::path plain = subject.builds.front().library.file();
  for (const char* folder : {"glibc-hwcaps/x86-64-v3", "glibc-hwcaps/x86-64-v4", "qelvm/neon"}) {
    fs::path level = plain.parent_path() / folder / plain.filename();
    if (!fs::exists(level))
      level.replace_filename(loader::Library::defaultName());
    if (!fs::exists(level))
      continue;
    try {
      addBuild(subject, level.string());
    } catch (const std::runtime_error& error) {
      fmt::print(stderr, "qelvm_bench: without a level: {}\n", error.what());
    }
  }
}

/// Builds of the levels without short roads, if they have been made.
void addFullRoads(Subject& subject) {
  const fs::path plain = subject.builds.front().library.file();
  for (const char* level : {"v3", "v4"}) {
    const fs::path path =
        plain.parent_path() / "full-roads" / level / loader::Library::defaultName();
    if (!fs::exists(path))
      continue;
    try {
      Build& build = subject.fullRoads.emplace_back(path.string());
      build.name = loader::cpuCode(build.library.version());
    } catch (const std::runtime_error& error) {
      fmt::print(stderr, "qelvm_bench: without a level: {}\n", error.what());
    }
  }
}

void addFamilies(Subject& subject, const std::string& pattern) {
  const std::regex regex(pattern);
  for (const loader::Export& e : loader::exports()) {
    if (!e.name.ends_with("_64f_A53"))
      continue;
    if (!std::regex_search(e.family, regex))
      subject.chosen = true;
    else if (peers::peerOf(e.family) == nullptr)
      fmt::print(stderr, "qelvm_bench: no peer for {} in peers/peers.cpp\n", e.family);
    else
      subject.families.push_back(e.family);
  }
  if (subject.families.empty())
    throw std::runtime_error("no family matches " + pattern);
}

void run(const Options& options) {
  Subject subject;
  subject.rounds = options.rounds;
  addFamilies(subject, options.families);
  addBuild(subject, options.library);
  if (options.wide.empty())
    addLevels(subject);
  addFullRoads(subject);
  for (const std::string& path : options.wide)
    addBuild(subject, path);

  for (const bench::Section& section : bench::sections()) {
    if (!options.sections.empty() &&
        std::ranges::find(options.sections, section.name) == options.sections.end())
      continue;
    section.measure(subject);
    if (options.csv)
      continue;
    section.print(subject);
    std::fflush(stdout); // the next one takes its time
  }
  if (options.csv)
    subject.figures.printCsv();
  else if (subject.builds.size() > 1)
    bench::printSummary(subject);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0)
    throw std::runtime_error("cannot write");
}

} // namespace

int main(int argc, char** argv) {
  Options options;
  std::vector<std::string> sections;
  for (const bench::Section& section : bench::sections())
    sections.push_back(section.name);
  CLI::App app{"Measures the exports of several builds of the library, and the functions of other "
               "libraries, in turn, and prints the tables of docs/performance.md"};
  app.add_option("--library", options.library, "the plain library")->capture_default_str();
  app.add_option(
         "--wide", options.wide,
         "a build to measure beside it, instead of the levels in the folders beside it that "
         "this processor can run; can be given several times")
      ->take_all();
  app.add_option("--family", options.families,
                 "only families whose names have a match for this regular expression");
  app.add_option("--section", options.sections, "only these sections")
      ->check(CLI::IsMember(sections));
  app.add_option("--rounds", options.rounds,
                 "how often each call is measured, for half a millisecond; the fastest counts")
      ->check(CLI::Range(1, 100000))
      ->capture_default_str();
  app.add_flag("--csv", options.csv, "print comma-separated values for other programs");
  CLI11_PARSE(app, argc, argv);
  try {
    run(options);
  } catch (const std::regex_error&) {
    fmt::print(stderr, "qelvm_bench: \"{}\" is no regular expression\n", options.families);
    return 2;
  } catch (const std::exception& error) {
    fmt::print(stderr, "qelvm_bench: {}\n", error.what());
    return 2;
  }
}
