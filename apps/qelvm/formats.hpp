// The formats of `qelvm apply`, each a reader and a writer of blocks of elements.
#pragma once

#include "input.hpp"
#include "output.hpp"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// One array, or two; the second is null where there is one.
template <class T>
using Columns = std::array<T*, 2>;

template <class T>
class Reader {
public:
  explicit Reader(const std::string& path) : input_(path) {}
  virtual ~Reader() = default;

  /// Reads 1 to `most` elements into each column: as many as have arrived, so that a slow pipe gets
  /// its answers at once. 0 at the end.
  virtual std::size_t read(const Columns<T>& columns, std::size_t most) = 0;
  /// Where element i of the latest block stands, for a message.
  virtual std::string place(std::size_t i) const = 0;

  const Input& input() const { return input_; }

protected:
  Input input_;
};

template <class T>
class Writer {
public:
  virtual ~Writer() = default;
  virtual void write(const Columns<const T>& columns, std::size_t count) = 0;
};

/// One number a line; two results stand on one line with a space between.
template <class T>
std::unique_ptr<Reader<T>> textReader(const std::string& path);
template <class T>
std::unique_ptr<Writer<T>> textWriter(Output& output);

/// Little-endian elements without anything between; two results alternate.
template <class T>
std::unique_ptr<Reader<T>> rawReader(const std::string& path);
template <class T>
std::unique_ptr<Writer<T>> rawWriter(Output& output);

/// The columns of these names, one or two.
template <class T>
std::unique_ptr<Reader<T>> csvReader(const std::string& path, char delimiter,
                                     const std::vector<std::string>& names);
/// The records of `reader`, which csvReader made, with the results appended as columns of these
/// names.
template <class T>
std::unique_ptr<Writer<T>> csvWriter(Output& output, const Reader<T>& reader,
                                     const std::vector<std::string>& names);

} // namespace tool
