// Two builds of the library side by side: the same bits in every result, the same status, the same
// exception flags, and nothing else written.
// usage: compare_libraries ONE OTHER [--count N] [--seed S] [--only REGEX]
//
// Vectors of 1 to 70 elements at any address, in place and apart, mix all kinds of arguments:
// random patterns, the ranges of the kernels, their limits, numbers that are special to a family,
// infinities, NaNs of both kinds. N elements (200000 unless told) go through each export.

#include "loader/loader.hpp"

#include <algorithm>
#include <bit>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

using Random = std::mt19937_64;

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t>;

/// Where a family changes its way, or has something special: these, their neighbours and negatives.
constexpr double limits[] = {
    0.0,    0x1p-1074, 0x1p-1022, 0x1p-149, 0x1p-126, 0x1p-57, 0x1p-54, 0x1p-53, 0x1p-40,
    0.02,   0.0272,    0.06,      0.0625,   0.125,    0.25,    0.5,     0.75,    0.994,
    1.0,    1.0097,    1.0625,    1.8,      1.8285,   2.0,     3.0,     3.8325,  4.0,
    5.8636, 5.9216,    9.0,       10.0542,  16.0,     19.0616, 21.4876, 26.5433, 27.2261,
    64.0,   87.0,      87.33,     88.7228,  89.416,   103.97,  128.0,   708.0,   708.396,
    709.7,  710.0,     710.476,   745.13,   12800.0,  0x1p17,  0x1p23,  0x1p28,  0x1p30,
    0x1p53, 0x1p54,    0x1p64,    0x1p126,  0x1p511,  0x1p1022};

template <class T>
class Arguments {
public:
  explicit Arguments(Random& random) : random_(random) {
    for (const double limit : limits)
      for (int step = -2; step <= 2; ++step) {
        const T value = static_cast<T>(limit);
        const auto bits = std::bit_cast<BitsOf<T>>(value);
        const T next = std::bit_cast<T>(static_cast<BitsOf<T>>(bits + static_cast<unsigned>(step)));
        special_.push_back(next);
        special_.push_back(-next);
      }
    for (const T end :
         {std::numeric_limits<T>::infinity(), std::numeric_limits<T>::max(),
          std::numeric_limits<T>::quiet_NaN(), std::numeric_limits<T>::signaling_NaN()}) {
      special_.push_back(end);
      special_.push_back(std::bit_cast<T>(static_cast<BitsOf<T>>(
          std::bit_cast<BitsOf<T>>(end) ^ (BitsOf<T>{1} << (8 * sizeof(T) - 1)))));
      special_.push_back(
          std::bit_cast<T>(static_cast<BitsOf<T>>(std::bit_cast<BitsOf<T>>(end) + 77)));
    }
  }

  /// Fills a vector with a mixture of its own.
  void fill(T* values, int count) {
    unsigned kinds[3]; // often one kind alone
    for (unsigned& kind : kinds)
      kind = static_cast<unsigned>(random_() % 8);
    const unsigned mostly = static_cast<unsigned>(random_() % 33);
    for (int i = 0; i < count; ++i)
      values[i] = draw(random_() % 32 < mostly ? kinds[0] : kinds[random_() % 3]);
  }

private:
  T draw(unsigned kind) {
    const double unit = static_cast<double>(random_() >> 11) * 0x1p-53;
    switch (kind) {
    case 0:
      return std::bit_cast<T>(static_cast<BitsOf<T>>(random_()));
    case 1:
      return special_[random_() % special_.size()];
    case 2: // about one
      return static_cast<T>(1 + (unit - 0.5) * std::ldexp(1.0, -static_cast<int>(random_() % 50)));
    case 3: // whole numbers and halves
      return static_cast<T>(0.5 * static_cast<double>(static_cast<int>(random_() % 400) - 200));
    case 4: // any size
      return signedValue(
          std::ldexp(1 + unit, static_cast<int>(random_() % (sizeof(T) == 8 ? 2000 : 250)) -
                                   (sizeof(T) == 8 ? 1000 : 125)));
    case 5: // large angles
      return signedValue(std::ldexp(1 + unit, 12 + static_cast<int>(random_() % 25)));
    case 6:
      return static_cast<T>(1500 * unit - 750);
    default:
      return static_cast<T>(20 * unit - 10);
    }
  }
  T signedValue(double magnitude) {
    return static_cast<T>((random_() & 1) != 0 ? magnitude : -magnitude);
  }

  Random& random_;
  std::vector<T> special_;
};

/// Memory of one call, at four places: what the other library gets is a copy.
struct Arena {
  static constexpr std::size_t place = 70 * sizeof(double) + 64;
  alignas(64) unsigned char bytes[4 * place];

  template <class T>
  T* at(int array, std::size_t offset) {
    return reinterpret_cast<T*>(bytes + static_cast<std::size_t>(array) * place + 16 + offset);
  }
};

struct Outcome {
  QelStatus status;
  int flags;
};

template <class T>
Outcome call(const loader::Function& function, const loader::Operands<T>& operands, int length) {
  std::feclearexcept(FE_ALL_EXCEPT);
  const QelStatus status = function(operands, length);
  return {status, std::fetestexcept(FE_ALL_EXCEPT)};
}

template <class T>
std::string hex(const T* place) {
  BitsOf<T> bits;
  std::memcpy(&bits, place, sizeof bits);
  char text[32];
  std::snprintf(text, sizeof text, "%0*llx", 2 * static_cast<int>(sizeof(T)),
                static_cast<unsigned long long>(bits));
  return text;
}

/// False, and a report, at the first difference.
template <class T>
bool compare(const loader::Library& one, const loader::Library& other, const loader::Export& e,
             long count, std::uint64_t seed) {
  const loader::Function functions[] = {one.function(e), other.function(e)};
  Random random(seed);
  Arguments<T> arguments(random);
  static Arena arenas[2], before;
  for (unsigned char& byte : arenas[0].bytes)
    byte = 0xA5;
  std::vector<T> x(70), y(70);
  while (count > 0) {
    const int length = 1 + static_cast<int>(random() % 70);
    const std::size_t offset[] = {random() % 16, random() % 16, random() % 16, random() % 16};
    // Sources are arrays 0 and 1; destinations these or 2 and 3.
    const int inPlace = static_cast<int>(random() % 4);
    const int first = inPlace == 1 ? 0 : inPlace == 2 && e.sources() == 2 ? 1 : 2;
    const int second = inPlace == 3 ? 0 : 3;
    arguments.fill(x.data(), length);
    arguments.fill(y.data(), length);
    std::memcpy(arenas[0].at<unsigned char>(0, offset[0]), x.data(), sizeof(T) * x.size());
    std::memcpy(arenas[0].at<unsigned char>(1, offset[1]), y.data(), sizeof(T) * y.size());
    before = arenas[1] = arenas[0];
    Outcome outcome[2];
    for (int side = 0; side < 2; ++side) {
      Arena& arena = arenas[side];
      outcome[side] =
          call<T>(functions[side],
                  {arena.at<T>(0, offset[0]), arena.at<T>(1, offset[1]), y[0],
                   arena.at<T>(first, offset[first]), arena.at<T>(second, offset[second])},
                  length);
    }
    if (std::memcmp(arenas[0].bytes, arenas[1].bytes, sizeof before.bytes) != 0 ||
        outcome[0].status != outcome[1].status || outcome[0].flags != outcome[1].flags) {
      std::printf(
          "FAILED %s, seed %llu: length %d, destinations %d and %d; statuses %d and %d, flags "
          "%x and %x\n",
          e.name.c_str(), static_cast<unsigned long long>(seed), length, first, second,
          outcome[0].status, outcome[1].status, static_cast<unsigned>(outcome[0].flags),
          static_cast<unsigned>(outcome[1].flags));
      for (int d = 0; d < e.destinations(); ++d)
        for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) {
          const int array = d == 0 ? first : second;
          const T* const results[] = {arenas[0].at<T>(array, offset[array]) + i,
                                      arenas[1].at<T>(array, offset[array]) + i};
          if (hex(results[0]) != hex(results[1]))
            std::printf("  element %zu: %s, %s (scalar %s) gives %s and %s\n", i,
                        hex(&x[i]).c_str(), hex(&y[i]).c_str(), hex(&y[0]).c_str(),
                        hex(results[0]).c_str(), hex(results[1]).c_str());
        }
      return false;
    }
    arenas[0] = before;
    count -= length;
  }
  return true;
}

template <class Number>
bool parse(const char* text, Number& value) {
  const char* const end = text + std::strlen(text);
  const auto result = std::from_chars(text, end, value);
  return result.ec == std::errc{} && result.ptr == end;
}

} // namespace

int main(int argc, char** argv) {
  long count = 200000;
  std::uint64_t seed = 1;
  std::string only;
  bool good = argc >= 3 && argc % 2 == 1;
  for (int i = 3; good && i < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--count")
      good = parse(argv[i + 1], count);
    else if (option == "--seed")
      good = parse(argv[i + 1], seed);
    else if (option == "--only")
      only = argv[i + 1];
    else
      good = false;
  }
  if (!good) {
    std::fprintf(stderr,
                 "usage: compare_libraries ONE OTHER [--count N] [--seed S] [--only REGEX]\n");
    return 2;
  }
  try {
    const loader::Library one(argv[1]), other(argv[2]);
    const std::regex pattern(only);
    int passed = 0, failed = 0;
    for (const loader::Export& e : loader::exports()) {
      if (!std::regex_search(e.name, pattern))
        continue;
      const bool same = e.single ? compare<float>(one, other, e, count, seed)
                                 : compare<double>(one, other, e, count, seed);
      ++(same ? passed : failed);
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 && passed > 0 ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "compare_libraries: %s\n", error.what());
    return 2;
  }
}
