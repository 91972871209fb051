// Numbers as text: what the tool accepts and how it writes them, the same in every locale.
#pragma once

#include "error.hpp"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace tool {

enum class Reading { Number, NotANumber, OutOfRange };

inline std::string_view withoutBlanks(std::string_view text) {
  constexpr const char* blanks = " \t";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

namespace number_text {

/// For the rare text that from_chars finds out of range without saying on which side: too small
/// is rounded as any number is, too large is refused.
template <class T>
Reading beyondRange(std::string_view text, T& value) {
  const std::string terminated(text);
  if constexpr (std::is_same_v<T, float>)
    value = std::strtof(terminated.c_str(), nullptr);
  else
    value = std::strtod(terminated.c_str(), nullptr);
  return std::isinf(value) ? Reading::OutOfRange : Reading::Number;
}

inline bool startsHexFloat(std::string_view text) {
  return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

inline bool startsDigits(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == '.';
}

} // namespace number_text

/// Reads the whole of `text`, blanks at its ends apart: decimal, hexadecimal (0x1.8p4), inf or nan,
/// with or without sign; rounded once, to the nearest T.
template <class T>
Reading readNumber(std::string_view text, T& value) {
  text = withoutBlanks(text);
  bool negative = false;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
    negative = text[0] == '-';
    text.remove_prefix(1);
    if (text.starts_with('-'))
      return Reading::NotANumber;
  }
  const bool hex = number_text::startsHexFloat(text);
  if (hex && !number_text::startsDigits(text[2])) // from_chars would accept 0x-1 and 0xnan
    return Reading::NotANumber;
  const char* const first = text.data() + (hex ? 2 : 0);
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(
      first, last, value, hex ? std::chars_format::hex : std::chars_format::general);
  if (error == std::errc::invalid_argument || end != last)
    return Reading::NotANumber;
  if (error == std::errc::result_out_of_range &&
      number_text::beyondRange(text, value) == Reading::OutOfRange)
    return Reading::OutOfRange;
  if (negative)
    value = -value;
  return Reading::Number;
}

/// readNumber, or the error; place() says where the text stands.
template <class T, class Place>
T numberAt(std::string_view text, Place&& place) {
  T value;
  const Reading reading = readNumber(text, value);
  if (reading == Reading::Number) [[likely]]
    return value;
  const std::string shown = inQuotes(withoutBlanks(text));
  if (reading == Reading::NotANumber)
    throw Error("{}: {} is not a number", place(), shown);
  throw Error("{}: {} is beyond the range of {} (write inf for infinity)", place(), shown,
              std::is_same_v<T, float> ? "float" : "double");
}

/// A line that ended here in the manner of old systems would hide those after it.
[[noreturn]] inline void throwBareReturn(const std::string& place) {
  throw Error("{}: a carriage return without a line feed: lines end with LF or CR LF", place);
}

/// No number is longer, in either notation.
inline constexpr std::size_t longestNumber = 32;

/// Appends the shortest decimal that reads back as the same value; a NaN has no sign, since that
/// differs between processors.
template <class T>
void appendShortest(std::string& text, T value) {
  char buffer[longestNumber];
  const auto end =
      std::to_chars(buffer, buffer + longestNumber, std::isnan(value) ? std::abs(value) : value);
  text.append(buffer, end.ptr);
}

template <class T>
std::string shortest(T value) {
  std::string text;
  appendShortest(text, value);
  return text;
}

/// As C's %a: 0x1.8p+1.
template <class T>
std::string hexadecimal(T value) {
  if (!std::isfinite(value))
    return shortest(value);
  char buffer[longestNumber];
  const auto end =
      std::to_chars(buffer, buffer + longestNumber, std::abs(value), std::chars_format::hex);
  return fmt::format("{}0x{}", std::signbit(value) ? "-" : "", std::string_view(buffer, end.ptr));
}

} // namespace tool
