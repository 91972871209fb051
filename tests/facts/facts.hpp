// The facts about each family, from tests/families/<Family>.txt: where to sample it, its hard
// places, the limits of its golden sequence, its golden hashes and its directed rows. The one
// reader behind all tests that need them.
//
// A line is a word that says what it holds, and its values; a # begins a comment.
//
//   like FAMILY                   all facts of that family hold for this one, too
//   reference FUNCTION            the exact function, one for each destination
//   (accuracy/references.cpp) doubles LOW HIGH [LOW HIGH]   a region to sample, of one source or
//   two; floats: the same of floats subnormal-bound CLASS ULPS    where the bound of subnormal
//   results is not that of the list hard X [Y]                    a point where a kernel may be
//   worst hard GENERATOR ARGUMENT...    many of them (accuracy/hard_points.cpp) golden X... limits,
//   tried with their neighbours in the golden sequence hash CLASS HASH               what the
//   golden sequence gives CLASSES INPUT... = RESULT... STATUS FLAGS [in-place]     a directed row
//   (library/values.cpp)
//
// Numbers are decimal or hexadecimal floats, or, with or without a sign, largest, normal and
// smallest: the largest finite, the smallest normal and the smallest positive number of the type in
// question.
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
