#include "csv_records.hpp"

#include "error.hpp"
#include "number_text.hpp"

#include <algorithm>
#include <charconv>

namespace tool {
namespace {

constexpr auto incomplete = std::string_view::npos;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

/// The positive number that the whole text is, or 0.
std::size_t columnNumber(const std::string& text) {
  std::size_t number = 0;
  const char* const last = text.data() + text.size();
  const auto [end, error] = std::from_chars(text.data(), last, number);
  return error == std::errc{} && end == last ? number : 0;
}

} // namespace

CsvRecords::CsvRecords(Input& input, CsvLayout layout) : input_(input), layout_(layout) {
  if (!hasHeader())
    return;
  const auto record = nextOfAnyWidth(true);
  if (!record)
    throw Error("{}:1: no header line", input.name());
  header_ = record->content;
  headerLineEnd_ = record->lineEnd;
  width_ = fields_.size();
  for (const std::string_view field : fields_)
    columnNames_.push_back(unquoted(field));
}

std::size_t CsvRecords::column(const std::string& name) const {
  const auto count = std::count(columnNames_.begin(), columnNames_.end(), name);
  if (count > 1)
    throw Error("{}:1: more than one column {}", input_.name(), inQuotes(name));
  if (count == 1) {
    const auto found = std::find(columnNames_.begin(), columnNames_.end(), name);
    return static_cast<std::size_t>(found - columnNames_.begin());
  }
  const std::size_t number = columnNumber(name);
  if (number == 0 && !hasHeader())
    throw Error("{}: without a header, columns have numbers from 1 and no names", inQuotes(name));
  if (number == 0 || (hasHeader() && number > width_))
    throw Error("{}:1: no column {}", input_.name(), inQuotes(name));
  return number - 1;
}

std::optional<CsvRecord> CsvRecords::next(bool wait) {
  const auto record = nextOfAnyWidth(wait);
  if (record && width_ == 0)
    width_ = fields_.size();
  if (record && fields_.size() != width_)
    throw Error("{}: {} fields, but the {} has {}", input_.place(), fields_.size(),
                hasHeader() ? "header" : "first record", width_);
  return record;
}

std::string_view CsvRecords::field(std::size_t column) const {
  if (column >= fields_.size())
    throw Error("{}: no column {}", input_.place(), column + 1);
  return fields_[column];
}

std::optional<CsvRecord> CsvRecords::nextOfAnyWidth(bool wait) {
  const auto bytes = input_.next(
      wait, [this](std::string_view there, bool ended) { return cutRecord(there, ended); });
  if (!bytes)
    return std::nullopt;
  const auto contentLength = static_cast<std::size_t>(fields_.back().end() - bytes->begin());
  return CsvRecord{bytes->substr(0, contentLength), bytes->substr(contentLength), input_.line()};
}

Cut CsvRecords::cutRecord(std::string_view bytes, bool ended) {
  fields_.clear();
  const bool marked = input_.consumed() == 0 && bytes.starts_with(byteOrderMark);
  for (std::size_t begin = marked ? byteOrderMark.size() : 0;; ++begin) {
    const std::size_t end = bytes.substr(begin).starts_with('"')
                                ? endOfQuotedField(bytes, begin, ended)
                                : endOfPlainField(bytes, begin, ended);
    if (end == incomplete)
      return {};
    fields_.push_back(bytes.substr(begin, end - begin));
    begin = end;
    if (end == bytes.size() || bytes[end] != delimiter())
      break;
  }
  const std::string_view content(bytes.data(), fields_.back().data() + fields_.back().size());
  const std::size_t lineEnd = bytes.substr(content.size()).starts_with('\r') ? 2 : 1;
  const auto innerLines = std::count(content.begin(), content.end(), '\n');
  return {std::min(content.size() + lineEnd, bytes.size()),
          static_cast<std::size_t>(innerLines) + 1};
}

std::size_t CsvRecords::endOfPlainField(std::string_view bytes, std::size_t begin,
                                        bool ended) const {
  const auto stop = std::find_if(bytes.begin() + begin, bytes.end(),
                                 [&](char c) { return c == delimiter() || c == '\n' || c == '"'; });
  if (stop == bytes.end() && !ended)
    return incomplete;
  auto end = static_cast<std::size_t>(stop - bytes.begin());
  if (stop != bytes.end() && *stop == '"')
    throw Error("{}: a quote inside a field that does not begin with one", input_.nextPlace());
  if (stop != bytes.end() && *stop == '\n' && end > begin && bytes[end - 1] == '\r')
    --end;
  if (bytes.substr(begin, end - begin).find('\r') != incomplete)
    throwBareReturn(input_.nextPlace());
  return end;
}

std::size_t CsvRecords::endOfQuotedField(std::string_view bytes, std::size_t begin,
                                         bool ended) const {
  std::size_t quote = bytes.find('"', begin + 1);
  while (quote != incomplete && bytes.substr(quote + 1).starts_with('"'))
    quote = bytes.find('"', quote + 2);
  if (quote == incomplete && ended)
    throw Error("{}: a quote is not closed", input_.nextPlace());
  if (quote == incomplete)
    return incomplete;
  const std::string_view rest = bytes.substr(quote + 1);
  if (!ended && (rest.empty() || rest == "\r"))
    return incomplete;
  if (!rest.empty() && !rest.starts_with(delimiter()) && !rest.starts_with('\n') &&
      !rest.starts_with("\r\n"))
    throw Error("{}: text between a closing quote and the end of the field", input_.nextPlace());
  return quote + 1;
}

std::string CsvRecords::quotedAsNeeded(const std::string& text) const {
  if (text.find_first_of("\"\r\n") == std::string::npos &&
      text.find(delimiter()) == std::string::npos)
    return text;
  std::string result = "\"";
  for (const char c : text)
    result.append(c == '"' ? 2 : 1, c);
  return result + '"';
}

std::string unquoted(std::string_view field) {
  if (!field.starts_with('"'))
    return std::string(field);
  std::string text;
  for (std::size_t i = 1; i + 1 < field.size(); ++i) {
    text += field[i];
    i += field[i] == '"';
  }
  return text;
}

} // namespace tool
