// The facts about each family, from families/<Family>.txt: the one reader behind all tests that
// need them. families/README.md tells what they are.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace facts {

/// A line of a family's file.
struct Fact {
  std::string word;
  std::vector<std::string> values;
  std::string place; ///< file and line, for messages
};

/// The facts of `family`, in the order of its file; throws std::runtime_error where there is none.
std::vector<Fact> of(const std::string& directory, const std::string& family);

/// True for a directed row, whose first word is a list of classes.
bool isRow(const Fact& fact);

/// The number that a text means; throws std::runtime_error with the fact's place.
template <class T>
T number(const Fact& fact, std::string_view text);

} // namespace facts
