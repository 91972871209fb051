#include "input.hpp"

#include "error.hpp"
#include "files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tool {
namespace {

// No record may be longer. Only as much of the buffer as records need is ever touched.
constexpr std::size_t capacity = std::size_t{16} << 20;
constexpr std::size_t readSize = std::size_t{128} << 10;

/// From the current position, which a shell may have moved.
std::uint64_t remainingSize(int descriptor) {
  struct stat status;
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
    return 0;
  const off_t position = lseek(descriptor, 0, SEEK_CUR);
  return static_cast<std::uint64_t>(std::max<off_t>(status.st_size - position, 0));
}

} // namespace

Input::Input(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      descriptor_(path == "-" ? STDIN_FILENO : files::openForReading(path)),
      buffer_(std::make_unique_for_overwrite<char[]>(capacity)) {
  if (descriptor_ < 0)
    throw Error("{}: {}", name_, std::strerror(errno));
  size_ = remainingSize(descriptor_);
}

Input::~Input() {
  if (descriptor_ != STDIN_FILENO)
    close(descriptor_);
}

std::string Input::place(std::uint64_t line) const {
  return fmt::format("{}:{}", name_, line);
}

bool Input::isTerminal() const {
  return isatty(descriptor_) != 0;
}

void Input::readMore() {
  std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  if (end_ == capacity)
    throw Error("{}: more than {} MiB without an end of line", nextPlace(), capacity >> 20);
  const std::ptrdiff_t got =
      files::read(descriptor_, buffer_.get() + end_, std::min(readSize, capacity - end_));
  if (got < 0 && errno == EBADF)
    throw Error("{}: is not open for reading", name_);
  if (got < 0)
    throw Error("{}: {}", name_, std::strerror(errno));
  ended_ = got == 0;
  end_ += static_cast<std::size_t>(got);
}

} // namespace tool
