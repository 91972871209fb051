#include "formats.hpp"

namespace tool {
namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

Cut cutLine(std::string_view bytes, bool ended) {
  const std::size_t end = bytes.find('\n');
  if (end != std::string_view::npos)
    return {end + 1, 1};
  return {ended ? bytes.size() : 0, 1};
}

std::string_view withoutLineEnd(std::string_view line) {
  if (line.ends_with('\n'))
    line.remove_suffix(line.ends_with("\r\n") ? 2 : 1);
  return line;
}

template <class T>
class TextReader final : public Reader<T> {
public:
  using Reader<T>::Reader;

  std::size_t read(const Columns<T>& columns, std::size_t most) override {
    this->beginBlock();
    std::size_t count = 0;
    while (count < most) {
      const auto line = this->input_.next(count == 0, cutLine);
      if (!line)
        break;
      columns[0][count] = this->numberIn(content(*line), count);
      ++count;
    }
    lineAfterBlock_ = this->input_.line() + 1;
    count_ = count;
    return count;
  }

  std::string place(std::size_t i) const override {
    return this->input_.place(lineAfterBlock_ - count_ + i);
  }

private:
  std::string_view content(std::string_view line) const {
    const Input& input = this->input_;
    line = withoutLineEnd(line);
    if (line.find('\r') != std::string_view::npos) [[unlikely]]
      throwBareReturn(input.place());
    if (input.line() == 1 && line.starts_with(byteOrderMark))
      line.remove_prefix(byteOrderMark.size());
    return line;
  }

  std::uint64_t lineAfterBlock_ = 0;
  std::size_t count_ = 0;
};

template <class T>
class TextWriter final : public Writer<T> {
public:
  explicit TextWriter(Output& output) : output_(output) {}

  void write(const Columns<const T>& columns, std::span<const Row> rows) override {
    text_.clear();
    for (std::size_t i = 0; i < rows.size(); ++i) {
      if (rows[i] == Row::None)
        continue;
      append(columns[0][i], rows[i]);
      if (columns[1] != nullptr) {
        text_ += ' ';
        append(columns[1][i], rows[i]);
      }
      text_ += '\n';
    }
    output_.write(text_);
  }

private:
  void append(T result, Row row) {
    if (row == Row::Mark)
      text_ += "nan";
    else
      appendShortest(text_, result);
  }

  Output& output_;
  std::string text_;
};

} // namespace

template <class T>
std::unique_ptr<Reader<T>> textReader(const std::string& path, BadRows badRows) {
  return std::make_unique<TextReader<T>>(path, badRows);
}
template <class T>
std::unique_ptr<Writer<T>> textWriter(Output& output) {
  return std::make_unique<TextWriter<T>>(output);
}

template std::unique_ptr<Reader<float>> textReader(const std::string&, BadRows);
template std::unique_ptr<Reader<double>> textReader(const std::string&, BadRows);
template std::unique_ptr<Writer<float>> textWriter(Output&);
template std::unique_ptr<Writer<double>> textWriter(Output&);

} // namespace tool
