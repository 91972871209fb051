#include "files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace tool::files {
namespace {

bool wasPipeSignalIgnored = false;

std::string pathToRemove;
// A signal handler can look at nothing else.
std::atomic<const char*> removedOnSignals = nullptr;

extern "C" void removeAndDie(int signal) {
  if (const char* path = removedOnSignals)
    unlink(path);
  std::signal(signal, SIG_DFL);
  raise(signal);
}

std::optional<Identity> identityOf(const struct stat& status) {
  if (!S_ISREG(status.st_mode))
    return std::nullopt;
  return Identity{status.st_dev, status.st_ino};
}

template <class Call>
auto uninterrupted(Call&& call) {
  auto result = call();
  while (result < 0 && errno == EINTR)
    result = call();
  return result;
}

} // namespace

void prepareStandardStreams() {
  // Each opened for what it is not used for: 0 to write, 1 to read. The lowest free descriptor is
  // taken, and that is this one.
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
      open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  wasPipeSignalIgnored = std::signal(SIGPIPE, SIG_IGN) == SIG_IGN;
}

std::vector<std::string> arguments(int count, char** values) {
  return {values + (count > 0 ? 1 : 0), values + count};
}

std::filesystem::path pathOf(const std::string& name) {
  return name;
}

int openForReading(const std::string& name) {
  return uninterrupted([&] { return open(name.c_str(), O_RDONLY | O_CLOEXEC); });
}

int openForWriting(const std::string& name) {
  return uninterrupted([&] { return open(name.c_str(), O_WRONLY | O_CLOEXEC); });
}

int create(const std::filesystem::path& path) {
  return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
}

std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count) {
  return uninterrupted([&] { return ::read(descriptor, bytes, count); });
}

std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count) {
  return uninterrupted([&] { return ::write(descriptor, bytes, count); });
}

bool isDevice(const std::string& name) {
  struct stat status;
  return stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

bool isWritable(const std::filesystem::path& path) {
  return access(path.c_str(), W_OK) == 0;
}

std::optional<Identity> identity(int descriptor) {
  struct stat status;
  return fstat(descriptor, &status) == 0 ? identityOf(status) : std::nullopt;
}

std::optional<Identity> identity(const std::filesystem::path& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? identityOf(status) : std::nullopt;
}

bool sync(int descriptor) {
  // EINVAL: a file system that has nothing to wait for.
  return uninterrupted([&] { return fsync(descriptor); }) == 0 || errno == EINVAL;
}

void syncFolder(const std::filesystem::path& folder) {
  const int descriptor =
      open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) // a folder that may be written but not read
    return;
  fsync(descriptor);
  close(descriptor);
}

void takeAttributes(int descriptor, const std::filesystem::path& from) {
  struct stat status;
  if (stat(from.c_str(), &status) != 0)
    return;
  // Another owner can be kept by root alone; then the mode still is.
  [[maybe_unused]] const int kept = fchown(descriptor, status.st_uid, status.st_gid);
  fchmod(descriptor, status.st_mode & 0777);
}

void removeOnSignals(const std::filesystem::path& path) {
  removedOnSignals = nullptr;
  pathToRemove = path.string();
  if (pathToRemove.empty())
    return;
  removedOnSignals = pathToRemove.c_str();
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGXCPU, SIGXFSZ})
    if (std::signal(signal, removeAndDie) == SIG_IGN)
      std::signal(signal, SIG_IGN);
}

bool closedPipeEnds() {
  return !wasPipeSignalIgnored;
}

int endByClosedPipe() {
  std::signal(SIGPIPE, SIG_DFL);
  raise(SIGPIPE);
  return 128 + SIGPIPE;
}

} // namespace tool::files
