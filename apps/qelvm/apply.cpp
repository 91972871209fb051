// The path of a block: reader, call of the library, warnings, writer.
#include "block.hpp"
#include "commands.hpp"
#include "files.hpp"
#include "formats.hpp"
#include "progress.hpp"
#include "warnings.hpp"

#include <fmt/format.h>

#include <cctype>

namespace tool {
namespace {

constexpr std::size_t blockSize = 16384;

enum class Format { Text, Csv, Raw };

Format chosenFormat(const ApplyOptions& options) {
  const bool namesColumn = options.column || options.secondColumn;
  const Format format = options.format == "raw"                 ? Format::Raw
                        : options.format == "csv"               ? Format::Csv
                        : options.format.empty() && namesColumn ? Format::Csv
                                                                : Format::Text;
  if (format == Format::Csv && !options.column)
    throw Error("name the column of a CSV file by --column");
  if (format != Format::Csv &&
      (namesColumn || options.delimiter || options.noHeader || !options.resultColumns.empty()))
    throw Error("--column, --second-column, --result-column, --delimiter and --no-header are for "
                "--format csv");
  if (options.noHeader && !options.resultColumns.empty())
    throw Error("--no-header: there is no line for the name that --result-column gives");
  if (format == Format::Raw && options.badRows != "stop")
    throw Error("--bad-rows is for text and CSV: any bytes are a number in a raw file");
  return format;
}

BadRows badRowsOf(const ApplyOptions& options) {
  return options.badRows == "skip"   ? BadRows::Skip
         : options.badRows == "mark" ? BadRows::Mark
                                     : BadRows::Stop;
}

char delimiterOf(const ApplyOptions& options) {
  const std::string text = options.delimiter.value_or(",");
  if (text == "\\t" || text == "tab")
    return '\t';
  const auto isPartOfNumbers = [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.';
  };
  if (text.size() != 1 || isPartOfNumbers(text[0]) ||
      text.find_first_of("\"\r\n") != std::string::npos)
    throw Error("--delimiter: {} is not one character that can part fields", inQuotes(text));
  return text[0];
}

/// Checks what is known without opening a file.
void checkSecond(const ApplyOptions& options, Format format) {
  if (options.secondInput && format == Format::Csv && !options.secondColumn)
    throw Error("name the column of --second-input by --second-column");
  if (options.secondInput == "-" && options.input.value_or("-") == "-")
    throw Error("--input and --second-input cannot both be standard input");
}

/// To be called before the input is opened, which can wait for ever where that is a pipe.
std::string outputPath(const ApplyOptions& options) {
  const std::string input = options.input.value_or("-");
  if (!options.inPlace)
    return options.output.value_or("-");
  if (input == "-")
    throw Error("--in-place needs an --input file");
  std::error_code none;
  const auto status = std::filesystem::status(files::pathOf(input), none);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    throw Error("{}: is not a regular file, and only such can be replaced by --in-place", input);
  return options.output.value_or(input);
}

/// Names such as "Exp_64f_A50(x)" and, where there are two, "SinCos_64f_A50(x).1".
std::vector<std::string> resultNames(const loader::Export& e, const ApplyOptions& options) {
  const auto count = static_cast<std::size_t>(e.destinations());
  if (!options.resultColumns.empty()) {
    if (options.resultColumns.size() != count)
      throw Error("{} has {} result{}: give --result-column as often", e.name, count,
                  count == 1 ? "" : "s");
    return options.resultColumns;
  }
  std::string arguments = *options.column;
  for (const auto& more : {options.secondColumn, options.second, options.scalar})
    if (more)
      arguments += "," + *more;
  const std::string name = fmt::format("{}({})", e.name, arguments);
  return count == 1 ? std::vector{name} : std::vector{name + ".1", name + ".2"};
}

/// Where blocks come from and go to. The second reader is null where the second source is a
/// constant, stands in a column of the first, or is not taken.
template <class T>
struct Streams {
  std::unique_ptr<Reader<T>> reader, secondReader;
  std::unique_ptr<Writer<T>> writer;
};

template <class T>
std::unique_ptr<Reader<T>> openReader(Format format, const std::string& path,
                                      const ApplyOptions& options,
                                      const std::vector<std::string>& columns) {
  switch (format) {
  case Format::Csv:
    return csvReader<T>(path, badRowsOf(options), {delimiterOf(options), !options.noHeader},
                        columns);
  case Format::Raw:
    return rawReader<T>(path);
  case Format::Text:
    break;
  }
  return textReader<T>(path, badRowsOf(options));
}

template <class T>
void openReaders(Streams<T>& streams, Format format, const ApplyOptions& options) {
  std::vector<std::string> columns = {options.column.value_or("")}, secondColumns;
  if (options.secondColumn)
    (options.secondInput ? secondColumns : columns).push_back(*options.secondColumn);
  streams.reader = openReader<T>(format, options.input.value_or("-"), options, columns);
  if (options.secondInput)
    streams.secondReader = openReader<T>(format, *options.secondInput, options, secondColumns);
}

template <class T>
void openWriter(Streams<T>& streams, Format format, Output& output, const loader::Export& e,
                const ApplyOptions& options) {
  switch (format) {
  case Format::Csv:
    streams.writer = csvWriter<T>(output, *streams.reader, resultNames(e, options));
    break;
  case Format::Raw:
    streams.writer = rawWriter<T>(output);
    break;
  case Format::Text:
    streams.writer = textWriter<T>(output);
    break;
  }
}

/// Whether the output would replace this input; refused where that was not asked for.
bool replaces(const Output& output, const Input& input, bool inPlace) {
  if (!output.isSameFile(input))
    return false;
  if (output.isDirect())
    throw Error("{}: is input and output at once", input.name());
  if (!inPlace)
    throw Error("{}: is input and output; --in-place allows that", input.name());
  return true;
}

template <class T>
void checkReplacement(const Streams<T>& streams, const Output& output, bool inPlace) {
  const Input& input = streams.reader->input();
  if (!replaces(output, input, inPlace) && inPlace)
    throw Error("{}: --in-place, but the output is another file", input.name());
  if (streams.secondReader)
    replaces(output, streams.secondReader->input(), inPlace);
}

/// The rows of a block of elements.
class Rows {
public:
  Rows(BadRows badRows, Warnings& warnings)
      : bad_(badRows == BadRows::Skip ? Row::None : Row::Mark), warnings_(warnings) {}

  void begin(std::uint64_t firstIndex, std::size_t count) {
    firstIndex_ = firstIndex;
    rows_.assign(count, Row::Result);
  }
  /// The bad elements of the reader's latest block, which begins at element `first` of this one.
  template <class T>
  void addBad(const Reader<T>& reader, std::size_t first) {
    for (const std::size_t i : reader.bad()) {
      Row& row = rows_[first + i];
      if (row == Row::Result)
        warnings_.addBad(firstIndex_ + first + i, [&] { return reader.place(i); });
      row = bad_;
    }
  }

  std::span<const Row> all() const { return rows_; }

private:
  Row bad_;
  Warnings& warnings_;
  std::uint64_t firstIndex_ = 0;
  std::vector<Row> rows_;
};

/// Exactly as many elements from the second reader as there are rows.
template <class T>
void readSecond(const Streams<T>& streams, T* values, Rows& rows) {
  const std::size_t count = rows.all().size();
  std::size_t there = 0;
  while (there < count) {
    const std::size_t got = streams.secondReader->read({values + there, nullptr}, count - there);
    if (got == 0)
      throw Error("{}: ends before {}", streams.secondReader->input().name(),
                  streams.reader->input().name());
    rows.addBad(*streams.secondReader, there);
    there += got;
  }
}

template <class T>
void checkSecondEnded(const Streams<T>& streams) {
  T value;
  if (streams.secondReader && streams.secondReader->read({&value, nullptr}, 1) > 0)
    throw Error("{}: goes on after the end of {}", streams.secondReader->input().name(),
                streams.reader->input().name());
}

template <class T>
std::uint64_t run(Block<T>& block, const Streams<T>& streams, BadRows badRows, Warnings& warnings,
                  Progress& progress) {
  Rows rows(badRows, warnings);
  std::uint64_t elements = 0;
  while (const std::size_t count = streams.reader->read(block.sources(), block.capacity())) {
    rows.begin(elements, count);
    rows.addBad(*streams.reader, 0);
    if (streams.secondReader)
      readSecond(streams, block.sources()[1], rows);
    // A block's status tells of one element only; most blocks have none to tell of. A bad row's NaN
    // is never reported.
    if (block.call(count) != qelStatusOk)
      for (std::size_t i = 0; i < count; ++i)
        warnings.add(block.statusOf(i), elements + i, [&] { return streams.reader->place(i); });
    streams.writer->write(block.results(), rows.all());
    elements += count;
    progress.update(elements);
  }
  checkSecondEnded(streams);
  return elements;
}

template <class T>
bool applyAs(const loader::Export& e, loader::Function function, const ApplyOptions& options) {
  const Format format = chosenFormat(options);
  checkSecond(options, format);
  Block<T> block(e, function, blockSize);
  if (options.second)
    block.setSecond(numberAt<T>(*options.second, [] { return "--second"; }));
  if (options.scalar)
    block.setScalar(numberAt<T>(*options.scalar, [] { return "--scalar"; }));

  const std::string path = outputPath(options);
  Streams<T> streams;
  openReaders(streams, format, options);
  Output output(path);
  checkReplacement(streams, output, options.inPlace);
  openWriter(streams, format, output, e, options);

  Warnings warnings;
  std::uint64_t elements;
  {
    Progress progress(streams.reader->input(), output);
    elements = run(block, streams, badRowsOf(options), warnings, progress);
  }
  streams = {}; // where files that are open cannot be replaced
  output.commit();
  files::tell(warnings.report(elements, badRowsOf(options)));
  return warnings.any();
}

} // namespace

bool apply(const loader::Library& library, const ApplyOptions& options) {
  const loader::Export& e = exportNamed(options.exportName);
  checkOperands(e, options.second || options.secondInput || options.secondColumn,
                options.scalar.has_value());
  const auto applyExport = e.single ? applyAs<float> : applyAs<double>;
  return applyExport(e, library.function(e), options);
}

} // namespace tool
