// A file or standard input, read in one pass through a buffer of bounded size.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tool {

/// What a reader cuts off the front of the bytes that are there: a record with its end, and the
/// lines in it. Length 0: more bytes are needed.
struct Cut {
  std::size_t length = 0;
  std::size_t lines = 0;
};

class Input {
public:
  /// "-" is standard input.
  explicit Input(const std::string& path);
  ~Input();
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  int descriptor() const { return descriptor_; }
  const std::string& name() const { return name_; }

  /// The next record, as cut by split(bytes, ended), where `ended` says that no byte follows.
  /// Without `wait` only a record that has been read already, so that views of earlier ones stay
  /// valid. Nothing at the end.
  template <class Split>
  std::optional<std::string_view> next(bool wait, Split&& split) {
    for (;;) {
      const std::string_view bytes(buffer_.get() + begin_, end_ - begin_);
      if (bytes.empty() && ended_)
        return std::nullopt;
      const Cut cut = bytes.empty() ? Cut{} : split(bytes, ended_);
      if (cut.length > 0) {
        begin_ += cut.length;
        line_ = nextLine_;
        nextLine_ += cut.lines;
        consumed_ += cut.length;
        return bytes.substr(0, cut.length);
      }
      if (!wait)
        return std::nullopt;
      readMore();
    }
  }

  /// The line on which the latest record begins, from 1.
  std::uint64_t line() const { return line_; }
  /// "name:line" of the latest record, and of the one that is next.
  std::string place() const { return place(line_); }
  std::string nextPlace() const { return place(nextLine_); }
  std::string place(std::uint64_t line) const;

  std::uint64_t consumed() const { return consumed_; }
  /// Bytes in all, 0 where that is not known (a pipe).
  std::uint64_t size() const { return size_; }
  bool isTerminal() const;

private:
  void readMore();

  std::string name_;
  int descriptor_;
  std::unique_ptr<char[]> buffer_;
  std::size_t begin_ = 0, end_ = 0;
  bool ended_ = false;
  std::uint64_t line_ = 0, nextLine_ = 1;
  std::uint64_t consumed_ = 0, size_ = 0;
};

} // namespace tool
