#include "error.hpp"
#include "formats.hpp"

#include <bit>
#include <cstring>
#include <type_traits>

namespace tool {
namespace {

template <class T>
using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

constexpr bool nativeOrder = std::endian::native == std::endian::little;

/// The elements in `count * sizeof(T)` little-endian bytes.
template <class T>
void decode(T* values, const char* bytes, std::size_t count) {
  if constexpr (nativeOrder) {
    std::memcpy(values, bytes, count * sizeof(T));
  } else {
    for (std::size_t i = 0; i < count; ++i) {
      Bits<T> bits = 0;
      for (std::size_t k = 0; k < sizeof(T); ++k)
        bits |= static_cast<Bits<T>>(static_cast<unsigned char>(*bytes++)) << (8 * k);
      values[i] = std::bit_cast<T>(bits);
    }
  }
}

/// Writes elements as little-endian bytes, each `width` bytes after the one before.
template <class T>
void encode(char* bytes, const T* values, std::size_t count, std::size_t width) {
  if (nativeOrder && width == sizeof(T)) {
    std::memcpy(bytes, values, count * sizeof(T));
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    const auto bits = std::bit_cast<Bits<T>>(values[i]);
    for (std::size_t k = 0; k < sizeof(T); ++k)
      bytes[i * width + k] = static_cast<char>(bits >> (8 * k));
  }
}

template <class T>
class RawReader final : public Reader<T> {
public:
  explicit RawReader(const std::string& path) : Reader<T>(path, BadRows::Stop) {}

  std::size_t read(const Columns<T>& columns, std::size_t most) override {
    const auto wholeElements = [&](std::string_view bytes, bool ended) {
      const std::size_t count = std::min(bytes.size() / sizeof(T), most);
      if (count == 0 && ended)
        throwTruncated(bytes.size());
      return Cut{count * sizeof(T), 0};
    };
    const auto bytes = this->input_.next(true, wholeElements);
    if (!bytes)
      return 0;
    const std::size_t count = bytes->size() / sizeof(T);
    decode(columns[0], bytes->data(), count);
    return count;
  }

  std::string place(std::size_t) const override { return this->input_.name(); }

private:
  [[noreturn]] void throwTruncated(std::size_t rest) const {
    throw Error("{}: truncated: ends after {} of the {} bytes of element {}", this->input_.name(),
                rest, sizeof(T), this->input_.consumed() / sizeof(T));
  }
};

template <class T>
class RawWriter final : public Writer<T> {
public:
  explicit RawWriter(Output& output) : output_(output) {}

  void write(const Columns<const T>& columns, std::span<const Row> rows) override {
    const std::size_t count = rows.size();
    const std::size_t width = columns[1] == nullptr ? sizeof(T) : 2 * sizeof(T);
    bytes_.resize(count * width);
    for (std::size_t k = 0; k * sizeof(T) < width; ++k)
      encode(bytes_.data() + k * sizeof(T), columns[k], count, width);
    output_.write({bytes_.data(), bytes_.size()});
  }

private:
  Output& output_;
  std::vector<char> bytes_;
};

} // namespace

template <class T>
std::unique_ptr<Reader<T>> rawReader(const std::string& path) {
  return std::make_unique<RawReader<T>>(path);
}
template <class T>
std::unique_ptr<Writer<T>> rawWriter(Output& output) {
  return std::make_unique<RawWriter<T>>(output);
}

template std::unique_ptr<Reader<float>> rawReader(const std::string&);
template std::unique_ptr<Reader<double>> rawReader(const std::string&);
template std::unique_ptr<Writer<float>> rawWriter(Output&);
template std::unique_ptr<Writer<double>> rawWriter(Output&);

} // namespace tool
