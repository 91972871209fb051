#include "facts.hpp"

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>

namespace facts {
namespace {

const std::set<std::string> words = {
    "like",        "reference", "doubles", "floats", "subnormal-bound",
    "float-proof", "tables",    "hard",    "golden", "hash"};

[[noreturn]] void fail(const std::string& place, const std::string& what) {
  throw std::runtime_error(place + ": " + what);
}

} // namespace

bool isRow(const Fact& fact) {
  return !words.contains(fact.word);
}

std::vector<Fact> of(const std::string& directory, const std::string& family) {
  const std::string path = directory + "/" + family + ".txt";
  std::ifstream in(path);
  if (!in)
    throw std::runtime_error("no facts about " + family + ": write " + path +
                             " (families/README.md tells how)");
  std::vector<Fact> facts;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    std::istringstream text(line.substr(0, line.find('#')));
    Fact fact{.word = {}, .values = {}, .place = path + ":" + std::to_string(number)};
    if (!(text >> fact.word))
      continue;
    for (std::string value; text >> value;)
      fact.values.push_back(value);
    if (fact.values.empty())
      fail(fact.place, "nothing after '" + fact.word + "'");
    if (fact.word == "like")
      for (const Fact& other : of(directory, fact.values[0])) {
        if (other.word != "hash")
          facts.push_back(other);
      }
    else
      facts.push_back(std::move(fact));
  }
  return facts;
}

namespace {

/// A decimal or hexadecimal number without a sign; false where the text is none.
template <class T>
bool read(std::string_view digits, T& value) {
#ifdef __wasm__ // its standard library has from_chars for integers alone
  const std::string copy(digits);
  char* end = nullptr;
  value = sizeof(T) == 4 ? static_cast<T>(std::strtof(copy.c_str(), &end))
                         : static_cast<T>(std::strtod(copy.c_str(), &end));
  return end != copy.c_str() && *end == '\0';
#else
  const bool hex = digits.starts_with("0x");
  if (hex)
    digits.remove_prefix(2);
  const auto [end, error] =
      std::from_chars(digits.data(), digits.data() + digits.size(), value,
                      hex ? std::chars_format::hex : std::chars_format::general);
  return error == std::errc{} && end == digits.data() + digits.size();
#endif
}

} // namespace

template <class T>
T number(const Fact& fact, std::string_view text) {
  const bool negative = text.starts_with('-');
  std::string_view digits = negative ? text.substr(1) : text;
  const auto withSign = [=](T value) { return negative ? -value : value; };
  using Limits = std::numeric_limits<T>;
  if (digits == "largest")
    return withSign(Limits::max());
  if (digits == "normal")
    return withSign(Limits::min());
  if (digits == "smallest")
    return withSign(Limits::denorm_min());
  T value{};
  if (!read(digits, value))
    fail(fact.place, "not a number: " + std::string(text));
  return withSign(value);
}
template float number(const Fact&, std::string_view);
template double number(const Fact&, std::string_view);

} // namespace facts
