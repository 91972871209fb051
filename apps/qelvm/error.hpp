// What ends the tool: one line on standard error and exit status 2.
#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tool {

struct Error : std::runtime_error {
  template <class... Arguments>
  explicit Error(fmt::format_string<Arguments...> text, Arguments&&... arguments)
      : std::runtime_error(fmt::format(text, std::forward<Arguments>(arguments)...)) {}
};

/// The bytes of the UTF-8 character at the front of a text; 0 where none begins, or one that
/// controls a terminal.
inline std::size_t printableCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned first = byte(0);
  if (first < 0x80)
    return first >= 0x20 && first != 0x7f ? 1 : 0;
  const std::size_t length = first < 0xc2   ? 0
                             : first < 0xe0 ? 2
                             : first < 0xf0 ? 3
                             : first < 0xf5 ? 4
                                            : 0;
  if (length > text.size())
    return 0;
  for (std::size_t i = 1; i < length; ++i)
    if ((byte(i) & 0xc0) != 0x80)
      return 0;
  const bool controls = first == 0xc2 && byte(1) < 0xa0;
  return controls ? 0 : length;
}

/// Text of any origin on one line: bytes that are not printable are written as \x0a and so on.
inline std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = printableCharacter(text);
    if (length > 0)
      result += text.substr(0, length);
    else
      result += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[0]));
    text.remove_prefix(length > 0 ? length : 1);
  }
  return result;
}

/// Printable, of bounded length, and told from the words around it.
inline std::string inQuotes(std::string_view text) {
  constexpr std::size_t longest = 40;
  if (text.size() <= longest)
    return fmt::format("\"{}\"", printable(text));
  std::size_t end = longest;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) // within a character
    --end;
  return fmt::format("\"{}...\"", printable(text.substr(0, end)));
}

} // namespace tool
