#include "output.hpp"

#include "error.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <optional>
#include <random>
#include <utility>

namespace tool {
namespace {

// What a signal that ends the tool must remove.
std::atomic<const char*> temporaryToRemove = nullptr;

extern "C" void removeTemporaryAndDie(int signal) {
  if (const char* path = temporaryToRemove)
    unlink(path);
  std::signal(signal, SIG_DFL);
  raise(signal);
}

void removeTemporaryOnSignals() {
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGXCPU, SIGXFSZ})
    if (std::signal(signal, removeTemporaryAndDie) == SIG_IGN)
      std::signal(signal, SIG_IGN);
}

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
  struct stat old;
  const bool exists = stat(path.c_str(), &old) == 0;
  if (const auto number = namedDescriptor(path))
    descriptor_ = dup(*number);
  else if (exists && !S_ISREG(old.st_mode))
    descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  else
    createTemporary(path, exists ? &old : nullptr);
  if (descriptor_ < 0) {
    temporaryToRemove = nullptr;
    fail();
  }
}

Output::~Output() {
  if (descriptor_ >= 0)
    close(descriptor_);
  if (!temporary_.empty())
    unlink(temporary_.c_str());
  temporaryToRemove = nullptr;
}

void Output::createTemporary(const std::string& path, const struct stat* old) {
  path_ = old == nullptr ? path : std::filesystem::canonical(path).string();
  if (old != nullptr && access(path_.c_str(), W_OK) != 0)
    fail();
  std::random_device random;
  const auto folder = std::filesystem::path(path_).parent_path();
  const auto unique = fmt::format(".qelvm-{:08x}{:08x}", random(), random());
  temporary_ = (folder / unique).string();
  temporaryToRemove = temporary_.c_str();
  removeTemporaryOnSignals();
  descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (old != nullptr && descriptor_ >= 0) {
    // Another owner can be kept by root alone; then the mode still is.
    [[maybe_unused]] const int kept = fchown(descriptor_, old->st_uid, old->st_gid);
    fchmod(descriptor_, old->st_mode & 0777);
  }
}

void Output::write(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(descriptor_, bytes.data(), bytes.size());
    if (written >= 0)
      bytes.remove_prefix(static_cast<std::size_t>(written));
    else if (errno != EINTR)
      fail();
  }
}

void Output::commit() {
  if (isDirect())
    return;
  // Some file systems report a full disk only here.
  if (close(std::exchange(descriptor_, -1)) != 0 || rename(temporary_.c_str(), path_.c_str()) != 0)
    fail();
  temporaryToRemove = nullptr;
  temporary_.clear();
}

bool Output::isTerminal() const {
  return isatty(descriptor_) != 0;
}

bool Output::isSameFile(int descriptor) const {
  struct stat here, there;
  const bool known = isDirect() ? fstat(descriptor_, &here) == 0 : stat(path_.c_str(), &here) == 0;
  return known && fstat(descriptor, &there) == 0 && S_ISREG(there.st_mode) &&
         here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

void Output::fail() const {
  throw Error("{}: cannot write: {}", name_, std::strerror(errno));
}

} // namespace tool
