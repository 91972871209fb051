// What is measured, an export or the C library's function in its place, and the search for its
// worst inputs.
#pragma once

#include "families.hpp"
#include "loader/loader.hpp"
#include "peers/peers.hpp"
#include "ulps.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace accuracy {

using loader::Export;

template <class T>
struct Worst {
  double error = 0;
  Input<T> at{};

  void see(double value, Input<T> input) {
    if (value > error)
      *this = {value, input};
  }
};

/// What is measured: an export, or what the C library has in its place; and what was seen of it.
template <class T>
struct Record {
  const Export* e; ///< null for the C library
  std::function<void(const loader::Operands<T>&)> compute;
  Worst<T> normal, subnormal;
  std::size_t inputs = 0, wronglyRounded = 0;
  double last = 0; ///< error at the last input
};

/// What is measured of one family in one type, all over the same inputs.
template <class T>
class Measurement {
public:
  Measurement(const loader::Library& library, const Family& family, const std::string& pattern)
      : family_(family) {
    for (const Export& e : loader::exports())
      if (e.family == family.name && e.single == (sizeof(T) == 4) && library.has(e) &&
          e.name.find(pattern) != std::string::npos)
        records_.push_back(
            {&e,
             [f = library.function(e)](const loader::Operands<T>& operands) { f(operands, 1); },
             {},
             {}});
  }

  void addPeer() {
    if (const peers::Peer* peer = peers::peerOf(family_.name))
      records_.push_back(
          {nullptr,
           [peer](const loader::Operands<T>& operands) { peer->loop(T{})(operands, 1); },
           {},
           {}});
  }

  std::vector<Record<T>>& records() { return records_; }

  void sample(const std::vector<Input<T>>& inputs) {
    for (const Input<T>& input : inputs)
      judge(input, records_.data(), records_.data() + records_.size());
  }

  double errorAt(Record<T>& record, const Input<T>& input) {
    judge(input, &record, &record + 1);
    return record.last;
  }

  /// Steps of all sizes away from the worst inputs seen, keeping what is worse.
  void climb(Record<T>& record, const std::vector<Input<T>>& starts, std::size_t steps,
             unsigned seed) {
    std::vector<Worst<T>> population;
    for (const Input<T>& start : starts) {
      judge(start, &record, &record + 1);
      population.push_back({record.last, start});
    }
    constexpr std::size_t survivors = 24;
    const auto worse = [](const Worst<T>& a, const Worst<T>& b) { return a.error > b.error; };
    std::sort(population.begin(), population.end(), worse);
    population.resize(std::min(population.size(), survivors));
    std::mt19937_64 random(seed);
    const auto moved = [&random](T value, unsigned size) {
      const std::int64_t step = static_cast<std::int64_t>(random()) >> (63 - size);
      return fromOrdinal<T>(ordinal(value) + step);
    };
    constexpr unsigned largestStep = sizeof(T) == 4 ? 22 : 51; // up to a change of the exponent
    for (std::size_t i = 0; i < steps; ++i) {
      Worst<T>& parent = population[random() % population.size()];
      const auto size = static_cast<unsigned>(random() % (largestStep + 1));
      const Input<T> child{moved(parent.at.x, size), moved(parent.at.y, size)};
      if (!std::isfinite(child.x) || !std::isfinite(child.y))
        continue;
      judge(child, &record, &record + 1);
      if (record.last > parent.error)
        parent = {record.last, child};
    }
  }

private:
  void judge(const Input<T>& input, Record<T>* first, Record<T>* end) {
    mpfr_set_d(x_, static_cast<double>(input.x), MPFR_RNDN);
    mpfr_set_d(y_, static_cast<double>(input.y), MPFR_RNDN);
    for (Record<T>* record = first; record != end; ++record) {
      ++record->inputs;
      record->last = 0;
    }
    for (std::size_t d = 0; d < family_.references.size(); ++d) {
      family_.references[d](exact_, x_, y_);
      if (mpfr_nan_p(static_cast<mpfr_ptr>(exact_)))
        continue; // outside the domain
      const T nearest = rounded<T>(exact_);
      const bool subnormal = std::fabs(nearest) < std::numeric_limits<T>::min();
      for (Record<T>* record = first; record != end; ++record) {
        T results[2];
        record->compute(loader::Operands<T>{&input.x, &input.y, input.y, &results[0], &results[1]});
        record->wronglyRounded += results[d] != nearest;
        const double error = errorInUlps(results[d], exact_);
        (subnormal ? record->subnormal : record->normal).see(error, input);
        record->last = std::max(record->last, error);
      }
    }
  }

  const Family& family_;
  std::vector<Record<T>> records_;
  Number x_, y_, exact_;
};

} // namespace accuracy
