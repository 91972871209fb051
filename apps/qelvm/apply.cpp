// The path of a block: reader, call of the library, warnings, writer.
#include "block.hpp"
#include "commands.hpp"
#include "formats.hpp"
#include "number_text.hpp"
#include "progress.hpp"
#include "warnings.hpp"

#include <fmt/format.h>

#include <cctype>
#include <cstdio>

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
  if (format != Format::Csv && (namesColumn || options.delimiter || !options.resultColumns.empty()))
    throw Error("--column, --second-column, --result-column and --delimiter are for --format csv");
  return format;
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
    throw Error("--delimiter: {} is not one character that can part fields", quoted(text));
  return text[0];
}

/// Checks what is known without opening a file.
void checkSecond(const ApplyOptions& options, Format format) {
  if (options.secondInput && format == Format::Csv && !options.secondColumn)
    throw Error("name the column of --second-input by --second-column");
  if (options.secondInput == "-" && options.input.value_or("-") == "-")
    throw Error("--input and --second-input cannot both be standard input");
}

std::string outputPath(const ApplyOptions& options) {
  const std::string input = options.input.value_or("-");
  if (options.inPlace && input == "-")
    throw Error("--in-place needs an --input file");
  return options.output.value_or(options.inPlace ? input : "-");
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
std::unique_ptr<Reader<T>> openReader(Format format, const std::string& path, char delimiter,
                                      const std::vector<std::string>& columns) {
  switch (format) {
  case Format::Csv:
    return csvReader<T>(path, delimiter, columns);
  case Format::Raw:
    return rawReader<T>(path);
  case Format::Text:
    break;
  }
  return textReader<T>(path);
}

template <class T>
void openReaders(Streams<T>& streams, Format format, const ApplyOptions& options) {
  const char delimiter = delimiterOf(options);
  std::vector<std::string> columns = {options.column.value_or("")}, secondColumns;
  if (options.secondColumn)
    (options.secondInput ? secondColumns : columns).push_back(*options.secondColumn);
  streams.reader = openReader<T>(format, options.input.value_or("-"), delimiter, columns);
  if (options.secondInput)
    streams.secondReader = openReader<T>(format, *options.secondInput, delimiter, secondColumns);
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
bool replaces(const Output& output, const Input& input, Format format, bool inPlace) {
  if (!output.isSameFile(input.descriptor()))
    return false;
  if (output.isDirect())
    throw Error("{}: is input and output at once", input.name());
  if (format == Format::Raw && !inPlace)
    throw Error("{}: is input and output; --in-place allows that", input.name());
  return true;
}

template <class T>
void checkReplacement(const Streams<T>& streams, const Output& output, Format format,
                      bool inPlace) {
  const Input& input = streams.reader->input();
  if (!replaces(output, input, format, inPlace) && inPlace)
    throw Error("{}: --in-place, but the output is another file", input.name());
  if (streams.secondReader)
    replaces(output, streams.secondReader->input(), format, inPlace);
}

/// Exactly `count` elements from the second reader.
template <class T>
void readSecond(const Streams<T>& streams, T* values, std::size_t count) {
  std::size_t there = 0;
  while (there < count) {
    const std::size_t got = streams.secondReader->read({values + there, nullptr}, count - there);
    if (got == 0)
      throw Error("{}: ends before {}", streams.secondReader->input().name(),
                  streams.reader->input().name());
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
std::uint64_t run(Block<T>& block, const Streams<T>& streams, Warnings& warnings,
                  Progress& progress) {
  std::uint64_t elements = 0;
  while (const std::size_t count = streams.reader->read(block.sources(), block.capacity())) {
    if (streams.secondReader)
      readSecond(streams, block.sources()[1], count);
    // A block's status tells of one element only; most blocks have none to tell of.
    if (block.call(count) != qelStatusOk)
      for (std::size_t i = 0; i < count; ++i)
        warnings.add(block.statusOf(i), elements + i, [&] { return streams.reader->place(i); });
    streams.writer->write(block.results(), count);
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

  Streams<T> streams;
  openReaders(streams, format, options);
  Output output(outputPath(options));
  checkReplacement(streams, output, format, options.inPlace);
  openWriter(streams, format, output, e, options);

  Warnings warnings;
  std::uint64_t elements;
  {
    Progress progress(streams.reader->input(), output);
    elements = run(block, streams, warnings, progress);
  }
  output.commit();
  fmt::print(stderr, "{}", warnings.report(elements));
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
