#include "timing.hpp"

#include <algorithm>
#include <chrono>

namespace bench {
namespace {

constexpr double run = 0.5e6;    // nanoseconds
constexpr double enough = 0.3e9; // of one contestant, and then
constexpr int enoughRounds = 6;  // that many rounds suffice
constexpr long warmUpShare = 8;  // before each run, this part of it: caches and predictors

double time(const Contestant& contestant, long calls) {
  using Clock = std::chrono::steady_clock;
  const auto begin = Clock::now();
  contestant.calls(calls);
  return std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
}

/// How many calls of it take as long as a run should.
long callsOfRun(const Contestant& contestant) {
  time(contestant, 1); // pages and tables for the first time
  for (long calls = 1;; calls *= 4)
    if (const double taken = time(contestant, calls); taken > run / 8)
      return std::max(1L, static_cast<long>(run / taken * static_cast<double>(calls)));
}

} // namespace

void measure(std::vector<Contestant>& contestants, int rounds) {
  std::vector<long> calls;
  for (const Contestant& contestant : contestants)
    calls.push_back(callsOfRun(contestant));
  double total = 0;
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < contestants.size(); ++turn) {
      // Another one begins each round: none always follows the same work.
      const std::size_t i = (turn + static_cast<std::size_t>(round)) % contestants.size();
      Contestant& contestant = contestants[i];
      total += time(contestant, std::max(1L, calls[i] / warmUpShare));
      const double taken = time(contestant, calls[i]);
      total += taken;
      const double one = taken / static_cast<double>(calls[i]);
      if (round == 0 || one < contestant.nanoseconds)
        contestant.nanoseconds = one;
    }
    if (round + 1 >= enoughRounds && total > enough * static_cast<double>(contestants.size()))
      return;
  }
}

} // namespace bench
