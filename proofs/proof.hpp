// A proof: scripts for all cases of a family, what they cover, and the replay that shows that what
// was recorded is what the library computes. See README.md for how one is written.
#pragma once

#include "script.hpp"

#include "qelvm.h"

#include <algorithm>
#include <array>
#include <functional>
#include <random>

namespace qelvm::proof {

class Proof {
public:
  /// Arguments of a proof program: `print`, every script; `replay COUNT`, so many arguments for
  /// every recorded case; `draw SCRIPT COUNT`, arguments of the case that a script is about.
  Proof(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "";
    if (mode == "replay" && argc == 3)
      replays_ = std::atoi(argv[2]);
    else if (mode == "draw" && argc == 4) {
      drawn_ = argv[2];
      draws_ = std::atoi(argv[3]);
    } else if (mode != "print" || argc != 2)
      fail("usage: print | replay COUNT | draw SCRIPT COUNT");
  }

  // ---- coverage ----
  /// The variable lies in `piece`: a hypothesis of the script, and a piece of the domain.
  void over(Script& script, const std::string& domain, const std::string& variable,
            Interval piece) {
    script.assume(variable + " in " + piece.text());
    covered(domain, piece);
  }
  void covered(const std::string& domain, Interval piece) { pieces_[domain].push_back(piece); }
  /// The pieces leave nothing of these real numbers, nor of these doubles.
  void coversReals(const std::string& domain, Interval whole) { covers(domain, whole, false); }
  void coversDoubles(const std::string& domain, Interval whole) { covers(domain, whole, true); }

  // ---- scripts ----
  void add(Script& script) {
    if (!names_.insert(script.name()).second)
      fail("two scripts are called " + script.name());
    if (draws_ != 0 && script.name() == drawn_)
      draw(script);
    if (replays_ != 0 || draws_ != 0)
      return;
    std::printf("#script %s\n", script.name().c_str());
    for (const auto& b : script.bounds())
      std::printf("#bound %s %s\n", b.name.c_str(), b.label.c_str());
    std::printf("%s#end\n", script.print().c_str());
  }
  /// The same script for several exports: printed once.
  void addOnce(Script& script) {
    const auto [found, isNew] = shared_.insert({script.name(), script.print()});
    if (isNew)
      add(script);
    else if (found->second != script.print())
      fail("another script is called " + script.name());
  }

  // ---- replay ----
  using Export = QelStatus(QELVM_CALL*)(const double*, double*, std::int32_t);
  /// The record of `result` and the library's export give the same bits for arguments of the case,
  /// of those that `sample` draws.
  template <class Sample>
  void replay(const std::string& what, Export library, const Term& x, const Term& result,
              const Sample& sample) {
    next_ = [this, sample, x] { return std::pair{x.id, static_cast<double>(sample(random_))}; };
    replay(
        what, std::array{x}, result, [&](std::mt19937_64& r) { return std::array{sample(r)}; },
        [&](const std::array<double, 1>& a, double* to) { library(a.data(), to, 1); });
  }
  /// The records of this program are stages of those that another replays.
  void replayedBy(const std::string& program) { replayedBy_ = program; }
  /// The same of several arguments: `sample` draws them all, `library(arguments, result)` calls.
  template <std::size_t N, class Sample, class Library>
  void replay(const std::string& what, const std::array<Term, N>& terms, const Term& result,
              const Sample& sample, const Library& library) {
    int met = 0;
    for (int i = 0; met < replays_; ++i) {
      if (i > 1000 * replays_)
        fail(what + ": the sample never meets the case");
      const std::array<double, N> arguments = sample(random_);
      std::map<int, double> values;
      std::string written;
      for (std::size_t k = 0; k < N; ++k) {
        values[terms[k].id] = arguments[k];
        written += (k ? ", " : "") + hex(arguments[k]);
      }
      const auto found = Recorder::get().evaluate(values);
      if (!found)
        continue;
      ++met;
      double expected = 0;
      library(arguments, &expected);
      const double recorded = fromWord<double>((*found)[static_cast<std::size_t>(result.id)]);
      if (bitsOf(recorded) != bitsOf(expected))
        fail(what + ": of " + written + " the record gives " + hex(recorded) + ", the library " +
             hex(expected));
    }
    replayed_ += met;
    ++records_;
  }
  /// What a program compares by itself: how many arguments it is to try, and that it did.
  int replays() const { return replays_; }
  void compared(int arguments) {
    replayed_ += arguments;
    ++records_;
  }
  /// Draws from an interval, evenly, and evenly in their exponents.
  static auto uniform(double low, double high) {
    return [=](std::mt19937_64& random) {
      return std::min(high, std::uniform_real_distribution<double>(low, high)(random));
    };
  }

  /// The same with either sign.
  static auto eitherSign(Interval range) {
    return [=](std::mt19937_64& random) {
      const double a = uniform(range.low, range.high)(random);
      return random() % 2 == 0 ? a : -a;
    };
  }

  int finish() {
    if (draws_ != 0)
      return drawn_.empty() ? 0
                            : (std::fprintf(stderr, "no arguments of '%s'\n", drawn_.c_str()), 1);
    for (const auto& [domain, pieces] : pieces_)
      if (checked_.count(domain) == 0)
        fail("nothing says what '" + domain + "' covers");
    if (replays_ != 0) {
      if (records_ == 0 && replayedBy_.empty())
        fail("nothing to replay");
      if (!replayedBy_.empty())
        std::printf("replayed by %s\n", replayedBy_.c_str());
      std::printf("%d arguments of %d records: the library's bits\n", replayed_, records_);
    } else
      std::printf("#complete %zu\n", names_.size());
    return 0;
  }

private:
  int replays_ = 0, replayed_ = 0, records_ = 0, draws_ = 0;
  std::string replayedBy_;
  std::string drawn_;                            // a script
  std::function<std::pair<int, double>()> next_; // an argument of the last replay
  std::mt19937_64 random_{20240229};
  std::set<std::string> names_, checked_;
  std::map<std::string, std::string> shared_;
  std::map<std::string, std::vector<Interval>> pieces_;

  /// Of the arguments of the last replay those that a script is about: whose recorded values lie
  /// where its hypotheses have them.
  void draw(const Script& script) {
    std::vector<std::pair<std::size_t, Interval>> ranges;
    const auto& nodes = Recorder::get().nodes;
    for (std::size_t i = 0; i < nodes.size(); ++i)
      if (const auto range = script.assumed(nodes[i].name); range && !nodes[i].known)
        ranges.push_back({i, *range});
    for (int i = 0, met = 0; next_ && met < draws_ && i < 100 * draws_; ++i) {
      const auto [id, argument] = next_();
      const auto values = Recorder::get().evaluate({{id, argument}});
      if (!values || !std::all_of(ranges.begin(), ranges.end(), [&](const auto& r) {
            const double v = fromWord<double>((*values)[r.first]);
            return r.second.low <= v && v <= r.second.high;
          }))
        continue;
      ++met;
      std::printf("%a\n", argument);
      drawn_.clear();
    }
  }

  void covers(const std::string& domain, Interval whole, bool doubles) {
    auto& pieces = pieces_[domain];
    std::sort(pieces.begin(), pieces.end(),
              [](const Interval& a, const Interval& b) { return a.low < b.low; });
    double reached = doubles ? below(whole.low) : whole.low;
    bool first = true;
    for (const Interval& p : pieces) {
      if (p.low > (doubles ? above(reached) : reached) || (first && p.low > whole.low))
        break;
      first = false;
      reached = std::max(reached, p.high);
    }
    if (first || reached < whole.high)
      fail("'" + domain + "' leaves a gap above " + hex(reached));
    checked_.insert(domain);
  }
};

/// Cuts an interval into `count` pieces of about the same length, the ends shared.
inline std::vector<Interval> pieces(Interval whole, int count) {
  std::vector<Interval> result;
  double low = whole.low;
  for (int i = 1; i <= count; ++i) {
    const double high = i == count ? whole.high : whole.low + (whole.high - whole.low) * i / count;
    result.push_back({low, high});
    low = high;
  }
  return result;
}
/// For a function that is monotonic from doubles to integers, such as a sum with a shifter: every
/// value on [low, high] with the doubles that have it, by bisection.
template <class F>
std::vector<std::pair<std::int32_t, Interval>> preimages(const F& f, Interval whole) {
  std::vector<std::pair<std::int32_t, Interval>> result;
  const auto ordered = [](double v) {
    const auto bits = static_cast<std::int64_t>(bitsOf(v));
    return bits >= 0 ? bits : std::numeric_limits<std::int64_t>::min() - bits;
  };
  const auto doubleOf = [](std::int64_t o) {
    return std::bit_cast<double>(o >= 0 ? o : std::numeric_limits<std::int64_t>::min() - o);
  };
  for (double low = whole.low; low <= whole.high;) {
    std::int64_t same = ordered(low), other = ordered(whole.high) + 1;
    const std::int32_t value = f(low);
    while (other - same > 1) {
      const std::int64_t middle = same + (other - same) / 2;
      (f(doubleOf(middle)) == value ? same : other) = middle;
    }
    result.push_back({value, {low, doubleOf(same)}});
    low = above(doubleOf(same));
  }
  return result;
}

/// The pieces, the one that contains the point cut there.
inline std::vector<Interval> cutAt(const std::vector<Interval>& pieces, double point) {
  std::vector<Interval> result;
  for (const Interval& p : pieces)
    if (p.low < point && point < p.high) {
      result.push_back({p.low, point});
      result.push_back({point, p.high});
    } else
      result.push_back(p);
  return result;
}

/// The piece lies in one of those.
inline bool liesInOneOf(const std::vector<Interval>& those, const Interval& piece) {
  return std::any_of(those.begin(), those.end(),
                     [&](const Interval& i) { return piece.low >= i.low && piece.high <= i.high; });
}

/// [low, high], both of one sign or one of them zero, cut by its powers of two down to 2^`least`.
inline std::vector<Interval> binades(Interval whole, int least) {
  if (whole.low < 0) {
    std::vector<Interval> result = binades({-whole.high, -whole.low}, least);
    for (Interval& i : result)
      i = {-i.high, -i.low};
    return result;
  }
  std::vector<Interval> result;
  double low = whole.low;
  while (low < whole.high) {
    const double next = low < std::ldexp(1.0, least) ? std::ldexp(1.0, least)
                                                     : std::ldexp(1.0, std::ilogb(low) + 1);
    result.push_back({low, std::min(next, whole.high)});
    low = next;
  }
  return result;
}

} // namespace qelvm::proof
