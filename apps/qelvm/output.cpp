#include "output.hpp"

#include "error.hpp"
#include "files.hpp"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <random>
#include <utility>

namespace tool {
namespace {

/// The open descriptor that a path names. Where that is a regular file, a file renamed over it
/// would not be what the descriptor writes to.
std::optional<int> namedDescriptor(const std::string& path) {
  if (path == "-" || path == "/dev/stdout")
    return STDOUT_FILENO;
  if (path == "/dev/stderr")
    return STDERR_FILENO;
  constexpr std::string_view folder = "/dev/fd/";
  int number = -1;
  if (path.starts_with(folder))
    std::from_chars(path.data() + folder.size(), path.data() + path.size(), number);
  return number < 0 ? std::nullopt : std::optional(number);
}

} // namespace

Output::Output(const std::string& path) : name_(path == "-" ? "standard output" : path) {
  if (const auto number = namedDescriptor(path))
    descriptor_ = dup(*number);
  else if (files::isDevice(path))
    descriptor_ = files::openForWriting(path);
  else
    createTemporary(files::pathOf(path));
  if (descriptor_ < 0) {
    const int error = errno;
    files::removeOnSignals({});
    fail(error);
  }
}

Output::~Output() {
  if (descriptor_ >= 0)
    close(descriptor_);
  if (!temporary_.empty()) {
    std::error_code ignored;
    std::filesystem::remove(temporary_, ignored);
  }
  files::removeOnSignals({});
}

void Output::createTemporary(const std::filesystem::path& path) {
  std::error_code none;
  const bool exists = std::filesystem::exists(path, none);
  if (!exists && std::filesystem::is_symlink(path, none))
    throw Error("{}: is a symbolic link to nothing", name_);
  path_ = exists ? std::filesystem::canonical(path) : path;
  if (std::filesystem::is_directory(path_, none))
    fail(EISDIR);
  if (exists && !files::isWritable(path_))
    fail(errno);
  std::random_device random;
  temporary_ = path_.parent_path() / fmt::format(".qelvm-{:08x}{:08x}", random(), random());
  files::removeOnSignals(temporary_);
  descriptor_ = files::create(temporary_);
  if (exists && descriptor_ >= 0)
    files::takeAttributes(descriptor_, path_);
}

void Output::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::ptrdiff_t written = files::write(descriptor_, bytes.data(), bytes.size());
    if (written < 0 && errno == EPIPE && files::closedPipeEnds())
      throw ClosedPipe{};
    if (written < 0)
      fail(errno);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void Output::commit() {
  if (isDirect())
    return;
  // Else a machine that stops soon after could have the new name and none of the bytes.
  if (!files::sync(descriptor_))
    fail(errno);
  // Some file systems report a full disk only here.
  if (close(std::exchange(descriptor_, -1)) != 0)
    fail(errno);
  std::error_code error;
  std::filesystem::rename(temporary_, path_, error);
  if (error)
    fail(error.default_error_condition().value());
  files::removeOnSignals({});
  temporary_.clear();
  files::syncFolder(path_.parent_path());
}

bool Output::isTerminal() const {
  return isatty(descriptor_) != 0;
}

bool Output::isSameFile(const Input& input) const {
  const auto here = isDirect() ? files::identity(descriptor_) : files::identity(path_);
  return here && here == files::identity(input.descriptor());
}

void Output::fail(int error) const {
  if (error == EBADF)
    throw Error("{}: is not open for writing", name_);
  throw Error("{}: cannot write: {}", name_, std::strerror(error));
}

} // namespace tool
