// Checks of a built library through its exports alone, without a test framework: the same program
// runs wherever the library does (under Wine, under QEMU).
#pragma once

#include "loader/loader.hpp"

#include <bit>
#include <cfenv>
#include <cstdint>
#include <iostream>
#include <string>
#include <type_traits>
#include <vector>

#ifdef __wasm__ // it has no exception flags, nor names for them: what is checked is that none is
                // set
#define FE_INVALID 1
#define FE_DIVBYZERO 4
#define FE_OVERFLOW 8
#define FE_UNDERFLOW 16
#define FE_INEXACT 32
#endif

namespace checks {

#ifdef __wasm__
inline constexpr bool hasFlags = false;
#else
inline constexpr bool hasFlags = true;
#endif

/// Counts named cases; a case fails at its first false expectation and says why.
class Results {
public:
  void begin(std::string name) {
    finish();
    name_ = std::move(name);
    open_ = true;
    failed_ = false;
  }
  void expect(bool condition, const std::string& message) {
    if (condition || failed_)
      return;
    failed_ = true;
    std::cout << "FAILED " << name_ << ": " << message << '\n';
  }
  /// Prints the totals; true if nothing failed and something ran.
  bool report() {
    finish();
    std::cout << passes_ << " passed, " << failures_ << " failed\n";
    return failures_ == 0 && passes_ > 0;
  }

private:
  void finish() {
    if (open_)
      ++(failed_ ? failures_ : passes_);
    open_ = false;
  }

  std::string name_;
  bool open_ = false, failed_ = false;
  int passes_ = 0, failures_ = 0;
};

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

template <class T>
inline constexpr auto signBit = BitsOf<T>{1} << (8 * sizeof(T) - 1);
template <class T>
inline constexpr auto infinityBits = static_cast<BitsOf<T>>(sizeof(T) == 4 ? 0x7F800000u
                                                                           : 0x7FF0000000000000u);
/// The leading fraction bit, which makes a NaN quiet.
template <class T>
inline constexpr auto quietBit = BitsOf<T>{1} << (sizeof(T) == 4 ? 22 : 51);

/// (By reference: returned by value, a signalling NaN would be made quiet where functions return
/// floating-point values on the x87 stack.)
template <class T>
BitsOf<T> bitsOf(const T& x) {
  return std::bit_cast<BitsOf<T>>(x);
}
template <class T>
bool isNan(BitsOf<T> bits) {
  return (bits & ~signBit<T>) > infinityBits<T>;
}

/// What one element alone gives.
template <class T>
struct Outcome {
  BitsOf<T> results[2] = {};
  QelStatus status = 0;
  bool operator==(const Outcome&) const = default;
};

template <class T>
Outcome<T> callOne(const loader::Export& e, const loader::Function& f, T x, T y) {
  T results[2] = {};
  const QelStatus status = f(loader::Operands<T>{&x, &y, y, &results[0], &results[1]}, 1);
  Outcome<T> outcome;
  for (int d = 0; d < e.destinations(); ++d)
    outcome.results[d] = bitsOf(results[d]);
  outcome.status = status;
  return outcome;
}

/// Values at which something changes for some family or format, with both signs.
template <class T>
std::vector<T> specialValues() {
  const bool single = sizeof(T) == 4;
  const int subnormalExponent = single ? -149 : -1074;
  std::vector<T> values;
  const auto add = [&](double v) {
    values.push_back(static_cast<T>(v));
    values.push_back(static_cast<T>(-v));
  };
  const auto power = [](int exponent) { // 2^exponent, subnormal too
    return exponent >= -1022
               ? std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52)
               : std::bit_cast<double>(std::uint64_t{1} << (exponent + 1074));
  };
  add(0.0);
  for (int exponent : {subnormalExponent,
                       subnormalExponent + 10,
                       single ? -127 : -1023,
                       single ? -126 : -1022,
                       -100,
                       -60,
                       -53,
                       -52,
                       -28,
                       -10,
                       -3,
                       -1,
                       0,
                       1,
                       2,
                       5,
                       17,
                       20,
                       53,
                       60,
                       100,
                       single ? 127 : 1023}) {
    const double v = power(exponent);
    add(v);
    add(v * 1.5);
    add(v + power(exponent - (single ? 23 : 52) < -1074 ? -1074 : exponent - (single ? 23 : 52)));
  }
  for (double v : {0.1,  0.3,   0.7,   0.999, 1.1,   3.0,   7.0,   9.0,   10.0, 27.0, 88.0,
                   89.0, 103.9, 104.5, 700.0, 709.0, 710.0, 745.0, 746.0, 1e4,  1e10, 1e30})
    add(v);
  constexpr BitsOf<T> infinity = infinityBits<T>;
  for (BitsOf<T> bits : {infinity - 1, infinity, infinity + 1, infinity + 0x5A5,
                         infinity | quietBit<T>, (infinity | quietBit<T>)+5})
    for (BitsOf<T> s : {BitsOf<T>{0}, signBit<T>})
      values.push_back(std::bit_cast<T>(static_cast<BitsOf<T>>(bits | s)));
  return values;
}

/// Runs f with an instance of the export's element type: f(float{}) or f(double{}).
template <class F>
void withElement(const loader::Export& e, F f) {
  if (e.single)
    f(float{});
  else
    f(double{});
}

inline const int allFlags = FE_DIVBYZERO | FE_INEXACT | FE_INVALID | FE_OVERFLOW | FE_UNDERFLOW;

void checkFrame(const loader::Library& library, const std::string& cpuCode, Results& results);
void checkValues(const loader::Library& library, const std::string& directory, Results& results);

/// Compares the hash of every export with that in its family's facts, or prints the lines that
/// these should have.
void checkGolden(const loader::Library& library, const std::string& directory, Results& results);
void printGolden(const loader::Library& library, const std::string& directory);

} // namespace checks
