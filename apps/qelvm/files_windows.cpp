#include "files.hpp"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>

namespace tool::files {
namespace {

constexpr int toCreate = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT;

// One call transfers no more.
unsigned countOf(std::size_t count) {
  return static_cast<unsigned>(std::min<std::size_t>(count, 1U << 20));
}

std::optional<Identity> identityOf(HANDLE handle) {
  BY_HANDLE_FILE_INFORMATION file;
  if (GetFileType(handle) != FILE_TYPE_DISK || !GetFileInformationByHandle(handle, &file))
    return std::nullopt;
  return Identity{file.dwVolumeSerialNumber,
                  (std::uint64_t{file.nFileIndexHigh} << 32) | file.nFileIndexLow};
}

/// A handle to ask a file about itself, closed in the end.
class Query {
public:
  explicit Query(const std::filesystem::path& path)
      : handle_(CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                            nullptr, OPEN_EXISTING, 0, nullptr)) {}
  ~Query() {
    if (isOpen())
      CloseHandle(handle_);
  }
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE handle() const { return handle_; }

private:
  HANDLE handle_;
};

} // namespace

void prepareStandardStreams() {
  for (const int descriptor : {0, 1, 2})
    _setmode(descriptor, _O_BINARY);
  // A library of the current folder is loaded when it is named, not when it happens to be there.
  SetDllDirectoryW(L"");
}

// The program's own arguments are in the code page, where not every path can be written, and the
// start files replace wildcards.
std::vector<std::string> arguments(int, char**) {
  int count = 0;
  wchar_t** const values = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> list;
  for (int i = 1; i < count; ++i) {
    const auto text = std::filesystem::path(values[i]).u8string();
    list.emplace_back(text.begin(), text.end());
  }
  LocalFree(values);
  return list;
}

std::filesystem::path pathOf(const std::string& name) {
  return std::u8string(name.begin(), name.end());
}

int openForReading(const std::string& name) {
  return _wopen(pathOf(name).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
}

int openForWriting(const std::string& name) {
  return _wopen(pathOf(name).c_str(), _O_WRONLY | _O_BINARY | _O_NOINHERIT);
}

int create(const std::filesystem::path& path) {
  return _wopen(path.c_str(), toCreate, _S_IREAD | _S_IWRITE);
}

std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count) {
  return _read(descriptor, bytes, countOf(count));
}

std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count) {
  return _write(descriptor, bytes, countOf(count));
}

bool isDevice(const std::string& name) {
  const Query query(pathOf(name));
  return query.isOpen() && GetFileType(query.handle()) != FILE_TYPE_DISK;
}

bool isWritable(const std::filesystem::path& path) {
  constexpr int toWrite = 2;
  return _waccess(path.c_str(), toWrite) == 0;
}

std::optional<Identity> identity(int descriptor) {
  return identityOf(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor)));
}

std::optional<Identity> identity(const std::filesystem::path& path) {
  const Query query(path);
  return query.isOpen() ? identityOf(query.handle()) : std::nullopt;
}

bool sync(int descriptor) {
  return _commit(descriptor) == 0;
}

// Names are the file system's own concern here, and so are owners and modes.
void syncFolder(const std::filesystem::path&) {}
void takeAttributes(int, const std::filesystem::path&) {}

// There is no removing a file that is open.
void removeOnSignals(const std::filesystem::path&) {}

bool closedPipeEnds() {
  return false;
}

int endByClosedPipe() {
  return 2;
}

} // namespace tool::files
