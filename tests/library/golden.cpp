// A hash of every export's result bits, those of NaNs too, and statuses over a fixed sequence of
// inputs, the same on all platforms, compilers and optimisation levels. The sequence has inputs of
// all kinds, which are the same for every family, and the limits among the family's own facts.

#include "checks.hpp"
#include "facts/facts.hpp"

#include <algorithm>
#include <cstdio>

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

constexpr int kinds = 8;
constexpr int perKind = 16384;

std::vector<double> limits(const std::vector<facts::Fact>& known) {
  std::vector<double> values;
  for (const facts::Fact& fact : known)
    if (fact.word == "golden")
      for (const std::string& text : fact.values)
        values.push_back(facts::number<double>(fact, text));
  return values;
}

template <class T>
std::uint64_t hashOf(const loader::Export& e, const loader::Function& f,
                     const std::vector<facts::Fact>& known) {
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
  for (const double limit : limits(known))
    for (int step = -2; step <= 2; ++step)
      for (const bool negative : {false, true}) {
        const auto near = static_cast<BitsOf<T>>(std::bit_cast<BitsOf<T>>(static_cast<T>(limit)) +
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

/// The hash of an export as its family's facts should have it: its class and the number.
std::string hashText(const loader::Library& library, const loader::Export& e,
                     const std::vector<facts::Fact>& known) {
  std::uint64_t hash = 0;
  withElement(
      e, [&](auto element) { hash = hashOf<decltype(element)>(e, library.function(e), known); });
  char text[20];
  std::snprintf(text, sizeof text, " %08x%08x", static_cast<unsigned>(hash >> 32),
                static_cast<unsigned>(hash));
  return e.name.substr(e.family.size() + 1) + text;
}

} // namespace

void checkGolden(const loader::Library& library, const std::string& directory, Results& results) {
  for (const loader::Export& e : loader::exports()) {
    if (!library.has(e))
      continue;
    const std::vector<facts::Fact> known = facts::of(directory, e.family);
    const std::string computed = hashText(library, e, known);
    const bool found = std::any_of(known.begin(), known.end(), [&](const facts::Fact& fact) {
      return fact.word == "hash" && fact.values.size() == 2 &&
             fact.values[0] + " " + fact.values[1] == computed;
    });
    results.begin(e.name + " golden");
    results.expect(found, "other results than before; where that is meant, " + directory + "/" +
                              e.family + ".txt has the line: hash " + computed);
  }
}

void printGolden(const loader::Library& library, const std::string& directory) {
  for (const loader::Export& e : loader::exports())
    if (library.has(e))
      std::cout << e.family << ".txt: hash " << hashText(library, e, facts::of(directory, e.family))
                << '\n';
}

} // namespace checks
