// Every export beside the C library's scalar function in a loop, in one process. Prints a table:
// nanoseconds per element of both, and how many times faster the export is.
//
// The runs of both sides are interleaved at random and the fastest of the repetitions counts, so
// that another load on the machine falls out. Any option of Google Benchmark works too.

#include "peers/peers.hpp"

#include "loader/loader.hpp"

#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using loader::Export;
using peers::Peer;

constexpr int elements = 4096; // sources and results stay in the first-level cache

/// Room behind each array, so that the arrays of a call do not lie whole pages apart: loads would
/// then wait for unrelated stores.
constexpr int padding = 160;

template <class T>
std::vector<T> samples(const peers::Interval& interval, unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> draw(interval.low, interval.high);
  std::vector<T> values(elements + seed * padding);
  for (T& value : values)
    value = static_cast<T>(draw(random));
  return values;
}

template <class T>
void registerExport(const loader::Library& library, const Export& e, const Peer& peer) {
  const auto measure = [=](auto run) {
    return [=](benchmark::State& state) {
      const std::vector<T> x = samples<T>(peer.x, 1), y = samples<T>(peer.y, 2);
      std::vector<T> r(elements + 3 * padding), r2(elements);
      const loader::Operands<T> operands{x.data(), y.data(), y[0], r.data(), r2.data()};
      for (auto _ : state) {
        run(operands);
        benchmark::ClobberMemory();
      }
      state.SetItemsProcessed(state.iterations() * elements);
    };
  };
  const loader::Function function = library.function(e);
  const auto scalarLoop = peer.loop(T{});
  const auto add = [&](const char* side, auto run) {
    benchmark::RegisterBenchmark((e.name + side).c_str(), measure(run));
  };
  add("/export", [=](const loader::Operands<T>& operands) { function(operands, elements); });
  add("/peer", [=](const loader::Operands<T>& operands) { scalarLoop(operands, elements); });
}

/// Keeps the fastest repetition of each side and prints the table at the end.
class Table : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration)
        continue;
      const std::string& name = run.run_name.function_name;
      const auto slash = name.find('/');
      double& best = times_[name.substr(0, slash)][name.substr(slash) == "/peer"];
      const double time =
          run.cpu_accumulated_time / static_cast<double>(run.iterations) / elements * 1e9;
      best = best == 0 ? time : std::min(best, time);
    }
  }

  void Finalize() override {
    fmt::print("| export | ns per element | peer | ns per element | times as fast |\n"
               "|---|---|---|---|---|\n");
    for (const Export& e : loader::exports()) {
      if (!times_.contains(e.name))
        continue;
      const auto& [own, peer] = times_[e.name];
      fmt::print("| `{}` | {:.2f} | `{}` | {:.2f} | {:.2f} |\n", e.name, own,
                 peers::peerOf(e.family)->text, peer, peer / own);
    }
  }

private:
  std::map<std::string, std::array<double, 2>> times_; // by export: its own, its peer's
};

} // namespace

int main(int argc, char** argv) {
  std::string library = QELVM_DEFAULT_LIBRARY;
  std::vector<std::string> arguments{argv[0], "--benchmark_repetitions=15",
                                     "--benchmark_min_time=0.01",
                                     "--benchmark_enable_random_interleaving=true"};
  for (int i = 1; i < argc; ++i) {
    if (const std::string argument = argv[i]; argument.starts_with("--library="))
      library = argument.substr(argument.find('=') + 1);
    else
      arguments.push_back(argument);
  }
  std::vector<char*> pointers;
  for (std::string& argument : arguments)
    pointers.push_back(argument.data());
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
    return 2;

  try {
    const loader::Library loaded(library);
    for (const Export& e : loader::exports()) {
      const Peer* peer = peers::peerOf(e.family);
      if (!loaded.has(e))
        continue;
      if (peer == nullptr)
        fmt::print(stderr, "no peer for {} in peers/peers.cpp\n", e.family);
      else if (e.single)
        registerExport<float>(loaded, e, *peer);
      else
        registerExport<double>(loaded, e, *peer);
    }
    Table table;
    benchmark::RunSpecifiedBenchmarks(&table);
  } catch (const std::exception& error) {
    fmt::print(stderr, "qelvm_bench: {}\n", error.what());
    return 2;
  }
}
