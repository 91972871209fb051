// The time of calls that are compared: short runs in turn, so that what else the machine does meets
// them all, and the fastest run of each counts.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

struct Contestant {
  std::string name;
  std::string arguments;           ///< which it gets
  int length;                      ///< of a call
  std::function<void(long)> calls; ///< makes so many
  double nanoseconds = 0;          ///< of a call, as measured
};

/// So many rounds, in each of which every contestant runs for half a millisecond, or for one call;
/// fewer where calls are long.
void measure(std::vector<Contestant>& contestants, int rounds);

} // namespace bench
