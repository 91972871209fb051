// Where results go. A file appears complete or not at all: it is written under a temporary name
// beside its destination and renamed at the end. Pipes, terminals and devices are written directly.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>

namespace tool {

class Output {
public:
  /// "-" is standard output.
  explicit Output(const std::string& path);
  /// Without commit() the destination is as before.
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void write(std::string_view bytes);
  void commit();

  bool isDirect() const { return temporary_.empty(); }
  bool isTerminal() const;
  /// Whether the descriptor is open on the file that this writes.
  bool isSameFile(int descriptor) const;

private:
  /// `old` is what stands at the path, if anything.
  void createTemporary(const std::string& path, const struct stat* old);
  [[noreturn]] void fail() const;

  std::string name_;      ///< for messages
  std::string path_;      ///< of the destination, links resolved
  std::string temporary_; ///< empty when direct
  int descriptor_ = -1;
};

} // namespace tool
