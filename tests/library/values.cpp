// Directed rows from tests/values/*.txt: inputs, results, status and exception flags.
//
// A row:  EXPORTS INPUT... = RESULT... STATUS FLAGS
// EXPORTS is a name or the beginning of several (Exp_64f: both classes), or more of these joined by
// commas. Numbers are decimal or hexadecimal floats, inf, nan, snan; a number is rounded to the
// element type. A NaN can have a payload, nan(5), in hexadecimal: its fraction bits after the
// leading one, which is set in a quiet NaN; nan is nan(0) and snan is snan(1). Results are compared
// bit by bit: -nan is what an invalid operation gives. STATUS is Ok, Overflow, Underflow,
// Singularity or Domain; FLAGS those that the call raises from clear, joined by commas, or none.
// With in-place at the end of a row, the (first) destination is the last source. A # begins a
// comment.

#include "checks.hpp"

#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>

namespace checks {
namespace {

/// Writes the number into `number`: returned by value, a signalling NaN would be quieted where
/// functions return floating-point values on the x87 stack.
template <class T>
void parseNumber(std::string_view text, T& number) {
  const bool negative = text.starts_with('-');
  std::string_view digits = negative ? text.substr(1) : text;
  const auto parse = [&](std::string_view part, auto& value, auto... format) {
    const char* const end = part.data() + part.size();
    if (const auto read = std::from_chars(part.data(), end, value, format...);
        read.ec != std::errc{} || read.ptr != end)
      throw std::runtime_error("not a number: " + std::string(text));
  };
  const bool signalling = digits.starts_with("snan");
  if (signalling || digits.starts_with("nan")) {
    digits.remove_prefix(signalling ? 4 : 3);
    BitsOf<T> bits = signalling ? 1 : 0;
    if (digits.starts_with('(') && digits.ends_with(')'))
      parse(digits.substr(1, digits.size() - 2), bits, 16);
    else if (!digits.empty())
      throw std::runtime_error("not a number: " + std::string(text));
    bits |= infinityBits<T> | (signalling ? 0 : quietBit<T>) | (negative ? signBit<T> : 0);
    std::memcpy(&number, &bits, sizeof number);
    return;
  }
  const bool hex = digits.starts_with("0x");
  if (hex)
    digits.remove_prefix(2);
  parse(digits, number, hex ? std::chars_format::hex : std::chars_format::general);
  if (negative)
    number = -number;
}

struct Row {
  std::vector<std::string> exports, inputs, outcomes; // outcomes: results, status, flags
  bool inPlace = false;
};

/// The row's name, or beginning of a name, that means this export.
bool names(const std::string& beginning, const loader::Export& e) {
  return e.name == beginning || e.name.starts_with(beginning + "_");
}

Row parseRow(const std::string& line) {
  Row row;
  std::istringstream words(line);
  std::string exports;
  words >> exports;
  std::istringstream list(exports);
  for (std::string name; std::getline(list, name, ',');)
    row.exports.push_back(name);
  bool after = false;
  for (std::string word; words >> word;) {
    if (word == "=")
      after = true;
    else if (word == "in-place")
      row.inPlace = true;
    else
      (after ? row.outcomes : row.inputs).push_back(word);
  }
  return row;
}

QelStatus parseStatus(const std::string& name) {
  static const std::map<std::string, QelStatus> statuses{{"Ok", qelStatusOk},
                                                         {"Overflow", qelStatusOverflow},
                                                         {"Underflow", qelStatusUnderflow},
                                                         {"Singularity", qelStatusSingularity},
                                                         {"Domain", qelStatusDomain}};
  return statuses.at(name);
}

const std::pair<const char*, int> flagNames[] = {{"invalid", FE_INVALID},
                                                 {"divide-by-zero", FE_DIVBYZERO},
                                                 {"overflow", FE_OVERFLOW},
                                                 {"underflow", FE_UNDERFLOW},
                                                 {"inexact", FE_INEXACT}};

std::string flagText(int flags) {
  std::string text;
  for (const auto& [name, flag] : flagNames)
    if (flags & flag)
      text.append(text.empty() ? "" : ",").append(name);
  return text.empty() ? "none" : text;
}

#ifdef __i386__
/// The flags that the x87 status word has, by which some callers of 32-bit code go.
int x87Flags() {
  unsigned short word;
  asm volatile("fnstsw %0" : "=am"(word));
  return word & allFlags;
}
#endif

template <class T>
std::string hexText(const T& value) {
  char text[40];
  if (const BitsOf<T> bits = bitsOf(value); isNan<T>(bits)) {
    const auto end = std::to_chars(text, text + sizeof text, bits & (quietBit<T> - 1), 16).ptr;
    std::string nan = bits & signBit<T> ? "-" : "";
    nan.append(bits & quietBit<T> ? "nan(" : "snan(").append(text, end).append(")");
    return nan;
  }
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::hex).ptr;
  return {text, end};
}

template <class T>
void checkRow(const loader::Export& e, const loader::Function& f, const Row& row,
              Results& results) {
  const std::size_t inputs = e.sources() == 2 || e.hasScalar() ? 2 : 1;
  const auto destinations = static_cast<std::size_t>(e.destinations());
  if (row.inputs.size() != inputs || row.outcomes.size() != destinations + 2)
    throw std::runtime_error("a row of " + e.name + " has " + std::to_string(row.inputs.size()) +
                             " inputs and " + std::to_string(row.outcomes.size()) + " outcomes");
  T x{}, y{}, expected[2] = {}, computed[2] = {};
  parseNumber(row.inputs[0], x);
  if (inputs == 2)
    parseNumber(row.inputs[1], y);
  for (std::size_t d = 0; d < destinations; ++d)
    parseNumber(row.outcomes[d], expected[d]);
  std::feclearexcept(FE_ALL_EXCEPT);
#ifdef __i386__
  asm volatile("fnclex");
#endif
  T* const source = e.sources() == 2 ? &y : &x;
  T* const destination = row.inPlace ? source : &computed[0];
  const QelStatus status = f(loader::Operands<T>{&x, &y, y, destination, &computed[1]}, 1);
#ifdef __i386__
  const int inX87 = x87Flags();
#endif
  const int flags = std::fetestexcept(allFlags);
  if (row.inPlace)
    computed[0] = *source;

  for (std::size_t d = 0; d < destinations; ++d)
    results.expect(bitsOf(computed[d]) == bitsOf(expected[d]), "result " + hexText(computed[d]));
  results.expect(status == parseStatus(row.outcomes[destinations]),
                 "status " + loader::statusName(status));
  results.expect(flagText(flags) == row.outcomes[destinations + 1], "flags " + flagText(flags));
#ifdef __i386__
  static const std::map<QelStatus, int> reported{{qelStatusOk, 0},
                                                 {qelStatusOverflow, FE_OVERFLOW | FE_INEXACT},
                                                 {qelStatusUnderflow, FE_UNDERFLOW | FE_INEXACT},
                                                 {qelStatusSingularity, FE_DIVBYZERO},
                                                 {qelStatusDomain, FE_INVALID}};
  results.expect(inX87 == reported.at(status), "flags in the x87 unit " + flagText(inX87));
#endif
}

} // namespace

void checkValues(const loader::Library& library, const std::string& directory, Results& results) {
  std::map<std::string, int> rowsOfFamily;
  for (const auto& file : std::filesystem::directory_iterator(directory)) {
    std::ifstream in(file.path());
    int number = 0;
    for (std::string line; std::getline(in, line);) {
      ++number;
      line.resize(line.find('#') == std::string::npos ? line.size() : line.find('#'));
      const Row row = parseRow(line);
      if (row.exports.empty())
        continue;
      for (const std::string& beginning : row.exports) {
        bool known = false;
        for (const loader::Export& e : loader::exports()) {
          if (!names(beginning, e))
            continue;
          known = true;
          ++rowsOfFamily[e.name];
          results.begin(file.path().filename().string() + ":" + std::to_string(number) + " " +
                        e.name + " " + row.inputs.front());
          withElement(e, [&](auto element) {
            checkRow<decltype(element)>(e, library.function(e), row, results);
          });
        }
        if (!known)
          throw std::runtime_error(file.path().string() + ":" + std::to_string(number) +
                                   ": no such export: " + beginning);
      }
    }
  }
  for (const loader::Export& e : loader::exports()) {
    if (!library.has(e))
      continue;
    results.begin(e.name + " has directed rows");
    results.expect(rowsOfFamily[e.name] > 0, "add some to " + directory);
  }
}

} // namespace checks
