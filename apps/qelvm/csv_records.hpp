// Comma-separated values as RFC 4180 has them: a header or none, records of equally many fields,
// fields in quotes that can hold delimiters, doubled quotes and line ends.
#pragma once

#include "input.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Views of the input's buffer.
struct CsvRecord {
  std::string_view content; ///< without its line end
  std::string_view lineEnd; ///< empty at the end of a file that has none
  std::uint64_t line;
};

struct CsvLayout {
  char delimiter = ',';
  bool hasHeader = true;
};

class CsvRecords {
public:
  /// Reads the header, if there is one.
  CsvRecords(Input& input, CsvLayout layout);

  char delimiter() const { return layout_.delimiter; }
  bool hasHeader() const { return layout_.hasHeader; }
  const std::vector<std::string>& columnNames() const { return columnNames_; }
  const std::string& header() const { return header_; }
  const std::string& headerLineEnd() const { return headerLineEnd_; }

  /// The index of the one column of that name; where there is none, of that number, from 1.
  std::size_t column(const std::string& name) const;

  /// The next record; see Input::next about `wait`.
  std::optional<CsvRecord> next(bool wait);
  /// Of the record of the latest next(), as it stands in the file.
  std::string_view field(std::size_t column) const;

  /// A text as a field.
  std::string quotedAsNeeded(const std::string& text) const;

private:
  std::optional<CsvRecord> nextOfAnyWidth(bool wait);
  Cut cutRecord(std::string_view bytes, bool ended);
  std::size_t endOfPlainField(std::string_view bytes, std::size_t begin, bool ended) const;
  std::size_t endOfQuotedField(std::string_view bytes, std::size_t begin, bool ended) const;

  Input& input_;
  CsvLayout layout_;
  std::size_t width_ = 0; ///< fields of every record; 0 before the first
  std::vector<std::string> columnNames_;
  std::string header_, headerLineEnd_;
  std::vector<std::string_view> fields_;
};

/// The text of a field: without the quotes around it, doubled ones halved.
std::string unquoted(std::string_view field);

} // namespace tool
