#include "warnings.hpp"

#include <fmt/format.h>

namespace tool {
namespace {

const char* event(QelStatus status) {
  switch (status) {
  case qelStatusOverflow:
    return "overflowed";
  case qelStatusUnderflow:
    return "underflowed";
  case qelStatusSingularity:
    return "hit a pole";
  case qelStatusDomain:
    return "left the domain";
  default:
    return "reported a warning";
  }
}

} // namespace

std::string Warnings::report(std::uint64_t elements) const {
  std::string text;
  for (const auto& [status, entry] : entries_)
    text += fmt::format("qelvm: {} of {} elements {} ({}), the first at index {} ({})\n",
                        entry.count, elements, event(status), loader::statusName(status),
                        entry.firstIndex, entry.firstPlace);
  return text;
}

} // namespace tool
