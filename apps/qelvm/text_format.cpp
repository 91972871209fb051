#include "formats.hpp"
#include "number_text.hpp"

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
    line.remove_suffix(1);
  if (line.ends_with('\r'))
    line.remove_suffix(1);
  return line;
}

template <class T>
class TextReader final : public Reader<T> {
public:
  using Reader<T>::Reader;

  std::size_t read(const Columns<T>& columns, std::size_t most) override {
    std::size_t count = 0;
    while (count < most) {
      const auto line = this->input_.next(count == 0, cutLine);
      if (!line)
        break;
      columns[0][count++] = number(withoutLineEnd(*line));
    }
    lineAfterBlock_ = this->input_.line() + 1;
    count_ = count;
    return count;
  }

  std::string place(std::size_t i) const override {
    return this->input_.place(lineAfterBlock_ - count_ + i);
  }

private:
  T number(std::string_view text) const {
    const Input& input = this->input_;
    if (input.line() == 1 && text.starts_with(byteOrderMark))
      text.remove_prefix(byteOrderMark.size());
    return numberAt<T>(text, [&] { return input.place(); });
  }

  std::uint64_t lineAfterBlock_ = 0;
  std::size_t count_ = 0;
};

template <class T>
class TextWriter final : public Writer<T> {
public:
  explicit TextWriter(Output& output) : output_(output) {}

  void write(const Columns<const T>& columns, std::size_t count) override {
    text_.clear();
    for (std::size_t i = 0; i < count; ++i) {
      appendShortest(text_, columns[0][i]);
      if (columns[1] != nullptr) {
        text_ += ' ';
        appendShortest(text_, columns[1][i]);
      }
      text_ += '\n';
    }
    output_.write(text_);
  }

private:
  Output& output_;
  std::string text_;
};

} // namespace

template <class T>
std::unique_ptr<Reader<T>> textReader(const std::string& path) {
  return std::make_unique<TextReader<T>>(path);
}
template <class T>
std::unique_ptr<Writer<T>> textWriter(Output& output) {
  return std::make_unique<TextWriter<T>>(output);
}

template std::unique_ptr<Reader<float>> textReader(const std::string&);
template std::unique_ptr<Reader<double>> textReader(const std::string&);
template std::unique_ptr<Writer<float>> textWriter(Output&);
template std::unique_ptr<Writer<double>> textWriter(Output&);

} // namespace tool
