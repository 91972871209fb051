#include "output.hpp"

#include "error.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

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

/// These name an open descriptor, even where that is a regular file: renaming something over the
/// file would not write to the descriptor.
bool namesDescriptor(const std::string& path) {
  return path == "/dev/stdout" || path == "/dev/stderr" || path.starts_with("/dev/fd/") ||
         path.starts_with("/proc/");
}

} // namespace

Output::Output(const std::string& path) : name_(path == "-" ? "standard output" : path) {
  if (path == "-" || path == "/dev/stdout") {
    descriptor_ = STDOUT_FILENO;
    return;
  }
  struct stat old;
  const bool exists = stat(path.c_str(), &old) == 0;
  if (exists && (namesDescriptor(path) || !S_ISREG(old.st_mode))) {
    descriptor_ = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (descriptor_ < 0)
      fail();
    return;
  }
  path_ = exists ? std::filesystem::canonical(path).string() : path;
  if (exists && access(path_.c_str(), W_OK) != 0)
    fail();
  createTemporary(exists ? &old : nullptr);
}

Output::~Output() {
  if (descriptor_ > STDERR_FILENO)
    close(descriptor_);
  if (!temporary_.empty())
    unlink(temporary_.c_str());
  temporaryToRemove = nullptr;
}

void Output::createTemporary(const struct stat* old) {
  const std::string folder = std::filesystem::path(path_).parent_path().string();
  int attempt = 0;
  do {
    temporary_ =
        fmt::format("{}{}.qelvm-{}-{}", folder, folder.empty() ? "" : "/", getpid(), attempt++);
    descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  } while (descriptor_ < 0 && errno == EEXIST && attempt < 100);
  if (descriptor_ < 0) {
    temporary_.clear();
    fail();
  }
  temporaryToRemove = temporary_.c_str();
  removeTemporaryOnSignals();
  if (old != nullptr) {
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
