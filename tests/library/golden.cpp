// A hash of every export's result bits, those of NaNs too, and statuses over a fixed sequence of
// inputs: one file of hashes for all platforms, compilers and optimisation levels.

#include "checks.hpp"

#include <cstdio>
#include <fstream>
#include <map>

namespace checks {
namespace {

/// splitmix64.
class Random {
public:
  explicit Random(std::uint64_t seed) : state_(seed) {}
  std::uint64_t bits() {
    std::uint64_t z = state_ += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  int below(int count) { return static_cast<int>(bits() % static_cast<unsigned>(count)); }
  /// Uniform in [-limit, limit), on a grid that makes it the same everywhere.
  double within(double limit) {
    return static_cast<double>(static_cast<std::int64_t>(bits()) >> 10) * 0x1p-53 * limit;
  }

private:
  std::uint64_t state_;
};

/// The kinds of input, in turn: any bit pattern, and values where the families have their ranges.
template <class T>
T input(Random& random, int kind) {
  using Bits = BitsOf<T>;
  constexpr int fractionBits = sizeof(T) == 4 ? 23 : 52;
  constexpr int bias = sizeof(T) == 4 ? 127 : 1023;
  const std::uint64_t r = random.bits();
  switch (kind) {
  case 0:
    return std::bit_cast<T>(static_cast<Bits>(r));
  case 1: { // magnitudes from 2^-64 to 2^64
    const Bits exponent = static_cast<Bits>(bias - 64 + random.below(128));
    const Bits sign = Bits{1} << (8 * sizeof(T) - 1);
    const Bits fraction = (Bits{1} << fractionBits) - 1;
    return std::bit_cast<T>(
        static_cast<Bits>((r & (sign | fraction)) | (exponent << fractionBits)));
  }
  case 2:
    return static_cast<T>(random.within(1.0));
  case 3:
    return static_cast<T>(random.within(30.0));
  case 4:
    return static_cast<T>(random.within(sizeof(T) == 4 ? 110.0 : 760.0));
  case 5: { // one, and a few of its last places away
    const Bits one = static_cast<Bits>(bias) << fractionBits;
    return std::bit_cast<T>(static_cast<Bits>(one + static_cast<Bits>(random.below(64)) - 32));
  }
  case 6: { // subnormal
    const Bits exponentMask = static_cast<Bits>(2 * bias + 1) << fractionBits;
    return std::bit_cast<T>(static_cast<Bits>(static_cast<Bits>(r) & ~exponentMask));
  }
  default: { // integers, halves and quarters
    return static_cast<T>(static_cast<double>(random.below(4001) - 2000) * 0.25);
  }
  }
}

/// Magnitudes at which families change from one path to another; each is tried with its neighbours.
constexpr double places[] = {0x1p-1034,
                             0x1.c5bf891b4ef6ap-1023,
                             0x1p-252,
                             0x1p-70,
                             0x1p-57,
                             0x1p-53,
                             0x1p-52,
                             0x1p-40,
                             0x1p-12,
                             0.02720470510300388,
                             0.06,
                             0.0625,
                             0.125,
                             0.46875,
                             0.5,
                             0.9,
                             0.984375,
                             1,
                             1.015625,
                             1.0625,
                             1.75,
                             1.8284271247461903,
                             2,
                             2.75,
                             3.832506856900711,
                             5.8635847487551676,
                             5.921587195794508,
                             6,
                             10.054194928818097,
                             16,
                             19.0615474653985,
                             21.487562597358306,
                             26.54325845425098,
                             26.699372268345602,
                             27.226017111108366,
                             87.3365402,
                             88.7228317,
                             89.4159927,
                             103.972076,
                             708.3964185322641,
                             709.436139303,
                             709.782712893384,
                             710.4704448615958,
                             710.475860073944,
                             745.1332191019412,
                             12800,
                             0x1p17,
                             0x1p23,
                             0x1p28,
                             0x1p30,
                             0x1p53,
                             0x1p54,
                             0x1p60,
                             0x1p64,
                             1e22,
                             0x1p125,
                             0x1.fffffep127,
                             0x1p1021,
                             0x1.fffffffffffffp1023};

constexpr int kinds = 8;
constexpr int perKind = 16384;

template <class T>
std::uint64_t hashOf(const loader::Export& e, const loader::Function& f) {
  std::uint64_t hash = 0xCBF29CE484222325u; // FNV-1a, a byte at a time
  const auto mix = [&hash](std::uint64_t value) {
    for (int byte = 0; byte < 8; ++byte)
      hash = (hash ^ ((value >> (8 * byte)) & 0xFF)) * 0x100000001B3u;
  };
  const auto mixCall = [&](T x, T y) {
    const Outcome<T> outcome = callOne(e, f, x, y);
    for (int d = 0; d < e.destinations(); ++d)
      mix(outcome.results[d]);
    mix(static_cast<std::uint32_t>(outcome.status));
  };
  const auto mixInPlace = [&](T x, T y) { // the last source is the first destination
    T other = 0;
    T* const shared = e.sources() == 2 ? &y : &x;
    mix(static_cast<std::uint32_t>(f(loader::Operands<T>{&x, &y, y, shared, &other}, 1)));
    mix(bitsOf(*shared));
  };
  Random random(1);
  for (int i = 0; i < kinds * perKind; ++i) {
    const T x = input<T>(random, i % kinds);
    mixCall(x, input<T>(random, random.below(kinds)));
  }
  for (const double place : places)
    for (int step = -2; step <= 2; ++step)
      for (const bool negative : {false, true}) {
        const auto near = static_cast<BitsOf<T>>(std::bit_cast<BitsOf<T>>(static_cast<T>(place)) +
                                                 static_cast<BitsOf<T>>(step));
        const T x = negative ? -std::bit_cast<T>(near) : std::bit_cast<T>(near);
        mixCall(x, input<T>(random, random.below(kinds)));
        mixCall(input<T>(random, random.below(kinds)), x);
      }
  for (T x : specialValues<T>())
    for (T y : specialValues<T>()) {
      mixCall(x, y);
      mixInPlace(x, y);
    }
  return hash;
}

std::string lineOf(const loader::Library& library, const loader::Export& e) {
  std::uint64_t hash = 0;
  withElement(e, [&](auto element) { hash = hashOf<decltype(element)>(e, library.function(e)); });
  char text[20];
  std::snprintf(text, sizeof text, " %08x%08x", static_cast<unsigned>(hash >> 32),
                static_cast<unsigned>(hash));
  return e.name + text;
}

} // namespace

void checkGolden(const loader::Library& library, const std::string& file, Results& results) {
  std::map<std::string, bool> lines; // the line of the file, and whether an export had it
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);)
    lines[line] = false;
  for (const loader::Export& e : loader::exports()) {
    if (!library.has(e))
      continue;
    const std::string line = lineOf(library, e);
    results.begin(e.name + " golden");
    results.expect(lines.contains(line), "computed " + line + ", not in " + file);
    lines[line] = true;
  }
  for (const auto& [line, met] : lines) {
    results.begin("golden line " + line);
    results.expect(met, "no export gives it");
  }
}

void printGolden(const loader::Library& library) {
  for (const loader::Export& e : loader::exports())
    if (library.has(e))
      std::cout << lineOf(library, e) << '\n';
}

} // namespace checks
