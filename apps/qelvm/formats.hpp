// The formats of `qelvm apply`, each a reader and a writer of blocks of elements.
#pragma once

#include "csv_records.hpp"
#include "input.hpp"
#include "number_text.hpp"
#include "output.hpp"

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// One array, or two; the second is null where there is one.
template <class T>
using Columns = std::array<T*, 2>;

/// What becomes of an element that is not a number: it ends all, has no row in the output, or has a
/// row without a result.
enum class BadRows { Stop, Skip, Mark };

template <class T>
class Reader {
public:
  Reader(const std::string& path, BadRows badRows) : input_(path), badRows_(badRows) {}
  virtual ~Reader() = default;

  /// Reads 1 to `most` elements into each column: as many as have arrived, so that a slow pipe gets
  /// its answers at once. 0 at the end.
  virtual std::size_t read(const Columns<T>& columns, std::size_t most) = 0;
  /// Where element i of the latest block stands, for a message.
  virtual std::string place(std::size_t i) const = 0;
  /// The elements of the latest block that are not numbers, in ascending order.
  const std::vector<std::size_t>& bad() const { return bad_; }

  const Input& input() const { return input_; }

protected:
  void beginBlock() { bad_.clear(); }

  /// The number that stands in a cell of element i, or a NaN after that has been noted.
  T numberIn(std::string_view cell, std::size_t i) {
    if (badRows_ == BadRows::Stop)
      return numberAt<T>(cell, [this] { return input_.place(); });
    T value;
    if (readNumber(cell, value) == Reading::Number)
      return value;
    if (bad_.empty() || bad_.back() != i)
      bad_.push_back(i);
    return std::numeric_limits<T>::quiet_NaN();
  }

  Input input_;

private:
  BadRows badRows_;
  std::vector<std::size_t> bad_;
};

/// What the output has for an element.
enum class Row : char { Result, None, Mark };

template <class T>
class Writer {
public:
  virtual ~Writer() = default;
  /// Of `rows.size()` elements.
  virtual void write(const Columns<const T>& columns, std::span<const Row> rows) = 0;
};

/// One number a line; two results stand on one line with a space between. A row without a result
/// has nan.
template <class T>
std::unique_ptr<Reader<T>> textReader(const std::string& path, BadRows badRows);
template <class T>
std::unique_ptr<Writer<T>> textWriter(Output& output);

/// Little-endian elements without anything between; two results alternate.
template <class T>
std::unique_ptr<Reader<T>> rawReader(const std::string& path);
template <class T>
std::unique_ptr<Writer<T>> rawWriter(Output& output);

/// The columns of these names or numbers, one or two.
template <class T>
std::unique_ptr<Reader<T>> csvReader(const std::string& path, BadRows badRows, CsvLayout layout,
                                     const std::vector<std::string>& columns);
/// The records of `reader`, which csvReader made, with the results appended as columns of these
/// names. A row without a result has empty fields.
template <class T>
std::unique_ptr<Writer<T>> csvWriter(Output& output, const Reader<T>& reader,
                                     const std::vector<std::string>& names);

} // namespace tool
