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

/// Text of any origin on one line: control characters are written as \x0a and so on.
inline std::string printable(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f)
      result += fmt::format("\\x{:02x}", byte);
    else
      result += c;
  }
  return result;
}

/// Printable, of bounded length, and told from the words around it.
inline std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 40;
  return fmt::format("\"{}{}\"", printable(text.substr(0, longest)),
                     text.size() > longest ? "..." : "");
}

} // namespace tool
