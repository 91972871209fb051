#include "progress.hpp"

#include "files.hpp"

#include <fmt/format.h>

#include <unistd.h>

namespace tool {
namespace {

using namespace std::chrono_literals;

constexpr auto patience = 1s;
constexpr auto interval = 200ms;
// With the numbers behind it within 80 columns.
constexpr int barWidth = 16;

} // namespace

Progress::Progress(const Input& input, const Output& output)
    : input_(input),
      wanted_(isatty(STDERR_FILENO) != 0 && !input.isTerminal() && !output.isTerminal()),
      next_(start_ + patience) {}

Progress::~Progress() {
  if (shown_ > 0) {
    show(""); // blanks over the bar,
    show(""); // then back to the first column
  }
}

void Progress::update(std::uint64_t elements) {
  if (!wanted_)
    return;
  const auto now = Clock::now();
  if (now < next_)
    return;
  next_ = now + interval;
  show(line(elements, std::chrono::duration<double>(now - start_).count()));
}

std::string Progress::line(std::uint64_t elements, double seconds) const {
  const double rate = static_cast<double>(elements) / seconds;
  const std::string count = fmt::format("{:.1f} million elements, {:.1f} million/s",
                                        static_cast<double>(elements) / 1e6, rate / 1e6);
  if (input_.size() == 0)
    return count;
  const double done =
      std::min(1.0, static_cast<double>(input_.consumed()) / static_cast<double>(input_.size()));
  const int filled = static_cast<int>(done * barWidth);
  return fmt::format("[{:#<{}}{:.<{}}] {:3.0f}%, {}, {:.0f} s left", "", filled, "",
                     barWidth - filled, 100 * done, count, seconds / done * (1 - done));
}

void Progress::show(const std::string& text) {
  files::tell(fmt::format("\r{:{}}", text, shown_));
  shown_ = text.size();
}

} // namespace tool
