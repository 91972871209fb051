#include "csv_records.hpp"
#include "formats.hpp"

#include <algorithm>

namespace tool {
namespace {

template <class T>
class CsvReader final : public Reader<T> {
public:
  CsvReader(const std::string& path, BadRows badRows, CsvLayout layout,
            const std::vector<std::string>& columns)
      : Reader<T>(path, badRows), records_(this->input_, layout) {
    for (const std::string& column : columns)
      selected_.push_back(records_.column(column));
  }

  std::size_t read(const Columns<T>& columns, std::size_t most) override {
    this->beginBlock();
    block_.clear();
    while (block_.size() < most) {
      const auto record = records_.next(block_.empty());
      if (!record)
        break;
      for (std::size_t k = 0; k < selected_.size(); ++k)
        columns[k][block_.size()] =
            this->numberIn(withoutQuotes(records_.field(selected_[k])), block_.size());
      block_.push_back(*record);
    }
    return block_.size();
  }

  std::string place(std::size_t i) const override { return this->input_.place(block_[i].line); }

  const CsvRecords& records() const { return records_; }
  const std::vector<CsvRecord>& block() const { return block_; }

private:
  /// Of a number, which has no quotes of its own.
  static std::string_view withoutQuotes(std::string_view field) {
    return field.starts_with('"') ? field.substr(1, field.size() - 2) : field;
  }

  CsvRecords records_;
  std::vector<std::size_t> selected_;
  std::vector<CsvRecord> block_;
};

template <class T>
class CsvWriter final : public Writer<T> {
public:
  CsvWriter(Output& output, const CsvReader<T>& reader, const std::vector<std::string>& names)
      : output_(output), reader_(reader) {
    const CsvRecords& records = reader.records();
    if (!records.hasHeader())
      return;
    std::string line = records.header();
    for (const std::string& name : names) {
      const auto& taken = records.columnNames();
      if (std::find(taken.begin(), taken.end(), name) != taken.end())
        throw Error("{}:1: there is a column {} already: name the result by --result-column",
                    reader.input().name(), inQuotes(name));
      line += records.delimiter() + records.quotedAsNeeded(name);
    }
    output_.write(line + records.headerLineEnd());
  }

  void write(const Columns<const T>& columns, std::span<const Row> rows) override {
    text_.clear();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (rows[i] == Row::None)
        continue;
      const CsvRecord& record = reader_.block()[i];
      text_ += record.content;
      for (std::size_t k = 0; k < columns.size() && columns[k] != nullptr; ++k) {
        text_ += reader_.records().delimiter();
        if (rows[i] == Row::Result)
          appendShortest(text_, columns[k][i]);
      }
      text_ += record.lineEnd;
    }
    output_.write(text_);
  }

private:
  Output& output_;
  const CsvReader<T>& reader_;
  std::string text_;
};

} // namespace

template <class T>
std::unique_ptr<Reader<T>> csvReader(const std::string& path, BadRows badRows, CsvLayout layout,
                                     const std::vector<std::string>& columns) {
  return std::make_unique<CsvReader<T>>(path, badRows, layout, columns);
}
template <class T>
std::unique_ptr<Writer<T>> csvWriter(Output& output, const Reader<T>& reader,
                                     const std::vector<std::string>& names) {
  return std::make_unique<CsvWriter<T>>(output, dynamic_cast<const CsvReader<T>&>(reader), names);
}

template std::unique_ptr<Reader<float>> csvReader(const std::string&, BadRows, CsvLayout,
                                                  const std::vector<std::string>&);
template std::unique_ptr<Reader<double>> csvReader(const std::string&, BadRows, CsvLayout,
                                                   const std::vector<std::string>&);
template std::unique_ptr<Writer<float>> csvWriter(Output&, const Reader<float>&,
                                                  const std::vector<std::string>&);
template std::unique_ptr<Writer<double>> csvWriter(Output&, const Reader<double>&,
                                                   const std::vector<std::string>&);

} // namespace tool
