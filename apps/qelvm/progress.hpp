// A progress bar on standard error: only on a terminal, and only once the work has taken long.
#pragma once

#include "input.hpp"
#include "output.hpp"

#include <chrono>
#include <cstdint>
#include <string>

namespace tool {

class Progress {
public:
  /// Shows nothing where data come from or go to a terminal, which the bar would garble.
  Progress(const Input& input, const Output& output);
  /// Wipes the bar.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void update(std::uint64_t elements);

private:
  using Clock = std::chrono::steady_clock;

  std::string line(std::uint64_t elements, double seconds) const;
  void show(const std::string& text);

  const Input& input_;
  bool wanted_;
  Clock::time_point start_ = Clock::now(), next_;
  std::size_t shown_ = 0; ///< characters on the terminal's line
};

} // namespace tool
