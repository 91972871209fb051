// Two builds of the library side by side: the same bits in every result, the same status, the same
// exception flags, and nothing else written.
// usage: compare_libraries ONE OTHER [--count N] [--seed S] [--only REGEX] [--every-float STRIDE]
//
// Vectors of 1 to 70 elements at any address, in place and apart, mix all kinds of arguments:
// random patterns, the ranges of the kernels, their limits, numbers that are special to a family,
// infinities, NaNs of both kinds, and floats whose result is next to a middle between two floats. N
// elements (200000 unless told) go through each export.
//
// With --every-float all floats, or every STRIDEth 4096, go through each float export of one
// source, in ascending order: results and statuses of each, the flags of each call of 4096; and one
// float in 64 alone and as a vector of copies: the flags of each.

#include "loader/loader.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
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
      kind = static_cast<unsigned>(random_() % 9);
    if (random_() % 16 == 0) // nothing of it may raise inexact where powers are exact
      kinds[0] = kinds[1] = kinds[2] = exactOrNan;
    const unsigned mostly = static_cast<unsigned>(random_() % 33);
    for (int i = 0; i < count; ++i)
      values[i] = draw(random_() % 32 < mostly ? kinds[0] : kinds[random_() % 3]);
  }

private:
  static constexpr unsigned exactOrNan = 7;

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
    case exactOrNan: // powers of two have exact results in some families
      return random_() % 2 != 0
                 ? static_cast<T>(std::ldexp(1.0, static_cast<int>(random_() % 9) - 4))
                 : nans_[random_() % nans_.size()];
    default:
      return static_cast<T>(20 * unit - 10);
    }
  }
  T signedValue(double magnitude) {
    return static_cast<T>((random_() & 1) != 0 ? magnitude : -magnitude);
  }

  Random& random_;
  std::vector<T> special_;
  const std::array<T, 2> nans_{std::numeric_limits<T>::quiet_NaN(),
                               std::numeric_limits<T>::signaling_NaN()};
};

/// Arguments of a float export whose result, as a double, is within 2^-36 of a middle between two
/// floats; those with a scalar all have the same.
struct Middles {
  std::vector<float> x, y;

  Middles(const loader::Library& library, const loader::Export& e, Random& random) {
    constexpr std::size_t batch = 4096;
    const loader::Function function = library.function(*loader::findExport(e.family + "_64f_A53"));
    const double scalar = std::ldexp(static_cast<double>(random() % 64) + 1, -3);
    std::vector<double> xs(batch), ys(batch), results(batch), others(batch);
    for (int i = 0; i < 250; ++i) {
      const double size = std::ldexp(1.0, static_cast<int>(random() % 12) - 5);
      const auto draw = [&] {
        const double unit = static_cast<double>(random() >> 11) * 0x1p-52;
        return static_cast<double>(static_cast<float>(size * (unit - (random() % 4 == 0 ? 1 : 0))));
      };
      std::ranges::generate(xs, draw);
      std::ranges::generate(ys, draw);
      if (e.hasScalar())
        std::ranges::fill(ys, scalar);
      function(
          loader::Operands<double>{xs.data(), ys.data(), scalar, results.data(), others.data()},
          batch);
      for (std::size_t k = 0; k < batch; ++k)
        if (isNearMiddle(results[k]) || (e.destinations() == 2 && isNearMiddle(others[k]))) {
          x.push_back(static_cast<float>(xs[k]));
          y.push_back(static_cast<float>(ys[k]));
        }
    }
  }

  /// Puts some among the arguments, or all.
  void mix(std::vector<float>& xs, std::vector<float>& ys, Random& random) const {
    const unsigned share = random() % 4 == 0 ? 32 : static_cast<unsigned>(random() % 8);
    for (std::size_t i = 0; i < xs.size() && !x.empty(); ++i)
      if (random() % 32 < share) {
        const std::size_t k = random() % x.size();
        xs[i] = x[k];
        ys[i] = y[k];
      }
  }

private:
  static bool isNearMiddle(double result) {
    constexpr std::uint64_t middle = 1u << 28, near = 1u << 17;
    return (std::bit_cast<std::uint64_t>(result) - (middle - near)) % (2 * middle) <= 2 * near;
  }
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
  std::unique_ptr<Middles> middles;
  if constexpr (std::is_same_v<T, float>)
    middles = std::make_unique<Middles>(one, e, random);
  while (count > 0) {
    const int length = 1 + static_cast<int>(random() % 70);
    const std::size_t offset[] = {random() % 16, random() % 16, random() % 16, random() % 16};
    // Sources are arrays 0 and 1; destinations these or 2 and 3.
    const int inPlace = static_cast<int>(random() % 4);
    const int first = inPlace == 1 ? 0 : inPlace == 2 && e.sources() == 2 ? 1 : 2;
    const int second = inPlace == 3 ? 0 : 3;
    arguments.fill(x.data(), length);
    arguments.fill(y.data(), length);
    if constexpr (std::is_same_v<T, float>)
      if (random() % 2 == 0)
        middles->mix(x, y, random);
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

/// The same for all floats.
bool compareEvery(const loader::Library& one, const loader::Library& other, const loader::Export& e,
                  long stride) {
  constexpr std::size_t piece = 4096, copies = 64;
  const loader::Function functions[] = {one.function(e), other.function(e)};
  std::vector<float> x(piece), results[2][2] = {{x, x}, {x, x}};
  const auto differ = [&](const float* source, int length, const char* what, int otherLength) {
    Outcome outcome[2];
    for (int side = 0; side < 2; ++side)
      outcome[side] = call<float>(
          functions[side], {source, source, 0, results[side][0].data(), results[side][1].data()},
          side == 0 ? length : otherLength);
    bool same = outcome[0].status == outcome[1].status && outcome[0].flags == outcome[1].flags;
    for (int d = 0; d < e.destinations(); ++d)
      same = same && std::memcmp(results[0][d].data(), results[1][d].data(),
                                 static_cast<std::size_t>(length) * sizeof(float)) == 0;
    if (!same)
      std::printf("FAILED %s, %s from %s on: statuses %d and %d, flags %x and %x, or results\n",
                  e.name.c_str(), what, hex(source).c_str(), outcome[0].status, outcome[1].status,
                  static_cast<unsigned>(outcome[0].flags), static_cast<unsigned>(outcome[1].flags));
    return !same;
  };
  for (std::uint64_t first = 0; first < std::uint64_t{1} << 32;
       first += piece * static_cast<std::uint64_t>(stride)) {
    for (std::size_t i = 0; i < piece; ++i)
      x[i] = std::bit_cast<float>(static_cast<std::uint32_t>(first + i));
    if (differ(x.data(), piece, "4096 floats", piece))
      return false;
    for (std::size_t i = first / piece % 64; i < piece; i += 64) {
      const std::vector<float> same(copies, x[i]);
      if (differ(same.data(), 1, "alone and as 64", copies))
        return false;
    }
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
  long count = 200000, everyFloat = 0;
  std::uint64_t seed = 1;
  std::string only;
  bool good = argc >= 3 && argc % 2 == 1;
  for (int i = 3; good && i < argc; i += 2) {
    const std::string option = argv[i];
    if (option == "--count")
      good = parse(argv[i + 1], count);
    else if (option == "--seed")
      good = parse(argv[i + 1], seed);
    else if (option == "--every-float")
      good = parse(argv[i + 1], everyFloat) && everyFloat > 0;
    else if (option == "--only")
      only = argv[i + 1];
    else
      good = false;
  }
  if (!good) {
    std::fprintf(stderr, "usage: compare_libraries ONE OTHER [--count N] [--seed S] [--only REGEX] "
                         "[--every-float STRIDE]\n");
    return 2;
  }
  try {
    const loader::Library one(argv[1]), other(argv[2]);
    const std::regex pattern(only);
    int passed = 0, failed = 0;
    for (const loader::Export& e : loader::exports()) {
      if (!std::regex_search(e.name, pattern))
        continue;
      if (everyFloat > 0 && (!e.single || e.sources() == 2 || e.hasScalar()))
        continue;
      const bool same = everyFloat > 0 ? compareEvery(one, other, e, everyFloat)
                        : e.single     ? compare<float>(one, other, e, count, seed)
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
