// The directed rows among the facts about a family: inputs, results, status and exception flags.
// families/README.md tells how they are written.

#include "checks.hpp"
#include "facts/facts.hpp"

#include <charconv>
#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>

namespace checks {
namespace {

/// Writes the number into `number`: returned by value, a signalling NaN would be quieted where
/// functions return floating-point values on the x87 stack.
template <class T>
void parseNumber(const facts::Fact& row, const std::string& text, T& number) {
  const bool negative = text.starts_with('-');
  std::string_view name(text);
  name.remove_prefix(negative ? 1 : 0);
  const bool signalling = name.starts_with("snan");
  BitsOf<T> bits = infinityBits<T> | (negative ? signBit<T> : 0);
  if (signalling || name.starts_with("nan")) {
    name.remove_prefix(signalling ? 4 : 3);
    BitsOf<T> payload = signalling ? 1 : 0;
    if (name.starts_with('(') && name.ends_with(')')) {
      const char* const end = name.data() + name.size() - 1;
      const auto read = std::from_chars(name.data() + 1, end, payload, 16);
      if (read.ec != std::errc{} || read.ptr != end)
        throw std::runtime_error(row.place + ": not a payload: " + text);
    }
    bits |= payload | (signalling ? 0 : quietBit<T>);
  } else if (name != "inf") {
    number = facts::number<T>(row, text);
    return;
  }
  std::memcpy(&number, &bits, sizeof number);
}

struct Row {
  std::vector<std::string> inputs, outcomes; // outcomes: results, status, flags
  bool inPlace = false;
};

/// The row is about this export.
bool isAbout(const facts::Fact& row, const loader::Export& e) {
  std::istringstream list(row.word);
  for (std::string classes; std::getline(list, classes, ',');) {
    const std::string beginning = e.family + "_" + classes;
    if (classes == "all" || e.name == beginning || e.name.starts_with(beginning + "_"))
      return true;
  }
  return false;
}

Row parseRow(const facts::Fact& fact) {
  Row row;
  bool after = false;
  for (const std::string& word : fact.values) {
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
void checkRow(const loader::Export& e, const loader::Function& f, const facts::Fact& fact,
              Results& results) {
  const Row row = parseRow(fact);
  const std::size_t inputs = e.sources() == 2 || e.hasScalar() ? 2 : 1;
  const auto destinations = static_cast<std::size_t>(e.destinations());
  if (row.inputs.size() != inputs || row.outcomes.size() != destinations + 2)
    throw std::runtime_error(fact.place + ": a row of " + e.name + " has " +
                             std::to_string(inputs) + " inputs, =, " +
                             std::to_string(destinations) + " results, a status and flags");
  T x{}, y{}, expected[2] = {}, computed[2] = {};
  parseNumber(fact, row.inputs[0], x);
  if (inputs == 2)
    parseNumber(fact, row.inputs[1], y);
  for (std::size_t d = 0; d < destinations; ++d)
    parseNumber(fact, row.outcomes[d], expected[d]);
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
  if (hasFlags)
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
  for (const loader::Export& e : loader::exports()) {
    if (!library.has(e))
      continue;
    int rows = 0;
    for (const facts::Fact& fact : facts::of(directory, e.family)) {
      if (!facts::isRow(fact) || !isAbout(fact, e))
        continue;
      ++rows;
      results.begin(fact.place + " " + e.name + " " + fact.values.front());
      withElement(e, [&](auto element) {
        checkRow<decltype(element)>(e, library.function(e), fact, results);
      });
    }
    results.begin(e.name + " has directed rows");
    results.expect(rows > 0, "add some to " + directory + "/" + e.family + ".txt");
  }
}

} // namespace checks
