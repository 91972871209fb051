// What operating systems do differently: arguments, paths, descriptors, the standard streams. Names
// are UTF-8. What fails returns -1 or false, with errno set.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool::files {

/// Before anything else: binary streams, and none of the descriptors 0 to 2 free to become that of
/// a file; one that was closed fails when it is used.
void prepareStandardStreams();

/// The arguments of main() without the name of the program.
std::vector<std::string> arguments(int count, char** values);

std::filesystem::path pathOf(const std::string& name);

int openForReading(const std::string& name);
/// What is there already.
int openForWriting(const std::string& name);
int create(const std::filesystem::path& path);

/// At most `count` bytes; goes on after an interruption.
std::ptrdiff_t read(int descriptor, char* bytes, std::size_t count);
std::ptrdiff_t write(int descriptor, const char* bytes, std::size_t count);

/// A pipe, terminal or device that has this name.
bool isDevice(const std::string& name);
bool isWritable(const std::filesystem::path& path);

/// Tells one regular file from all others; nothing for what is none.
using Identity = std::pair<std::uint64_t, std::uint64_t>;
std::optional<Identity> identity(int descriptor);
std::optional<Identity> identity(const std::filesystem::path& path);

/// Waits until the file's bytes, the folder's names, are on the disk.
bool sync(int descriptor);
void syncFolder(const std::filesystem::path& folder);

/// Gives a new file the owner and mode of another.
void takeAttributes(int descriptor, const std::filesystem::path& from);

/// A signal that ends the tool removes this file first; until it is empty again.
void removeOnSignals(const std::filesystem::path& path);

/// Whether to end in silence, as by a signal, when nobody reads the output any more.
bool closedPipeEnds();
/// Does so; returns the exit status where that cannot be.
int endByClosedPipe();

/// Writes to standard error, if that can be written to: there is nowhere to say that it cannot.
inline void tell(std::string_view text) {
  constexpr int standardError = 2;
  while (!text.empty()) {
    const std::ptrdiff_t written = write(standardError, text.data(), text.size());
    if (written <= 0)
      return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

} // namespace tool::files
