// How many elements of a long computation reported which warning, and where the first was.
#pragma once

#include "loader/loader.hpp"

#include <cstdint>
#include <map>
#include <string>

namespace tool {

class Warnings {
public:
  /// place() tells where the element stands; asked for the first of a status only.
  template <class Place>
  void add(QelStatus status, std::uint64_t index, Place&& place) {
    if (status == qelStatusOk)
      return;
    const auto [entry, isFirst] = entries_.try_emplace(status);
    if (isFirst)
      entry->second = {0, index, place()};
    ++entry->second.count;
  }

  bool any() const { return !entries_.empty(); }
  /// A line for each status.
  std::string report(std::uint64_t elements) const;

private:
  struct Entry {
    std::uint64_t count = 0, firstIndex = 0;
    std::string firstPlace;
  };
  std::map<QelStatus, Entry> entries_;
};

} // namespace tool
