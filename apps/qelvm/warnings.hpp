// How many elements of a long computation reported which warning or are no numbers, and where the
// first was.
#pragma once

#include "formats.hpp"
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
    if (status != qelStatusOk)
      count(entries_[status], index, place);
  }
  /// An element that is not a number.
  template <class Place>
  void addBad(std::uint64_t index, Place&& place) {
    count(bad_, index, place);
  }

  bool any() const { return !entries_.empty() || bad_.count > 0; }
  /// A line for each status.
  std::string report(std::uint64_t elements, BadRows badRows) const;

private:
  struct Entry {
    std::uint64_t count = 0, firstIndex = 0;
    std::string firstPlace;
  };
  template <class Place>
  static void count(Entry& entry, std::uint64_t index, Place&& place) {
    if (entry.count++ == 0) {
      entry.firstIndex = index;
      entry.firstPlace = place();
    }
  }

  std::map<QelStatus, Entry> entries_;
  Entry bad_;
};

} // namespace tool
