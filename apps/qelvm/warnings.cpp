#include "warnings.hpp"

#include "error.hpp"

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

std::string Warnings::report(std::uint64_t elements, BadRows badRows) const {
  std::string text;
  const auto add = [&](const Entry& entry, const char* what, const std::string& reason) {
    text +=
        fmt::format("qelvm: {} of {} elements {} ({}), the first at index {} ({})\n", entry.count,
                    elements, what, reason, entry.firstIndex, printable(entry.firstPlace));
  };
  for (const auto& [status, entry] : entries_)
    add(entry, event(status), loader::statusName(status));
  if (bad_.count > 0)
    add(bad_, badRows == BadRows::Skip ? "skipped" : "marked", "not a number");
  return text;
}

} // namespace tool
