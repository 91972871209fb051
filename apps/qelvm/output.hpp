// Where results go. A file appears complete or not at all: it is written under a temporary name
// beside its destination and renamed at the end. Pipes, terminals and devices are written directly.
#pragma once

#include "input.hpp"

#include <filesystem>
#include <string>
#include <string_view>

namespace tool {

/// Nobody reads the output any more, and the tool is to end as others then do.
struct ClosedPipe {};

class Output {
public:
  /// "-" is standard output.
  explicit Output(const std::string& path);
  /// Without commit() the destination is as before.
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void write(std::string_view bytes);
  /// The input must be closed by now where this replaces it.
  void commit();

  bool isDirect() const { return temporary_.empty(); }
  bool isTerminal() const;
  /// Whether the input is the file that this writes.
  bool isSameFile(const Input& input) const;

private:
  void createTemporary(const std::filesystem::path& path);
  [[noreturn]] void fail(int error) const;

  std::string name_;                ///< for messages
  std::filesystem::path path_;      ///< of the destination, links resolved
  std::filesystem::path temporary_; ///< empty when direct
  int descriptor_ = -1;
};

} // namespace tool
