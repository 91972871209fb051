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

/// Text of any origin made fit for a message: on one line, printable, of bounded length.
inline std::string quoted(std::string_view text) {
  constexpr std::size_t longest = 40;
  std::string result = "\"";
  for (const char c : text.substr(0, longest)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f)
      result += fmt::format("\\x{:02x}", byte);
    else
      result += c;
  }
  return result + (text.size() > longest ? "...\"" : "\"");
}

} // namespace tool
