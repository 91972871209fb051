// What every export promises about its arguments, arrays and statuses.

#include "checks.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>
#include <sstream>

namespace checks {
namespace {

using loader::Export;
using loader::Function;
using loader::Operands;

std::set<QelStatus> statusesOf(const Export& e) {
  std::set<QelStatus> set;
  const std::pair<unsigned, QelStatus> all[] = {{loader::Overflow, qelStatusOverflow},
                                                {loader::Underflow, qelStatusUnderflow},
                                                {loader::Singularity, qelStatusSingularity},
                                                {loader::Domain, qelStatusDomain}};
  for (const auto& [bit, status] : all)
    if (e.statuses & bit)
      set.insert(status);
  return set;
}

/// An array of T at an odd address, between guard bytes.
template <class T>
class Guarded {
public:
  explicit Guarded(std::size_t size, unsigned char fill = 0xA5)
      : bytes_(size * sizeof(T) + 2 * guard, fill), size_(size), fill_(fill) {}

  T* data() { return reinterpret_cast<T*>(bytes_.data() + guard); }
  T get(std::size_t i) const {
    T value;
    std::memcpy(&value, bytes_.data() + guard + i * sizeof(T), sizeof(T));
    return value;
  }
  void set(std::size_t i, T value) {
    std::memcpy(bytes_.data() + guard + i * sizeof(T), &value, sizeof(T));
  }
  bool guardsIntact() const {
    const auto isFill = [this](unsigned char byte) { return byte == fill_; };
    return std::all_of(bytes_.begin(), bytes_.begin() + guard, isFill) &&
           std::all_of(bytes_.end() - guard, bytes_.end(), isFill);
  }
  bool untouched() const {
    return std::all_of(bytes_.begin(), bytes_.end(),
                       [this](unsigned char byte) { return byte == fill_; });
  }
  std::size_t size() const { return size_; }

private:
  static constexpr std::ptrdiff_t guard = 33;
  std::vector<unsigned char> bytes_;
  std::size_t size_;
  unsigned char fill_;
};

template <class T>
class FrameChecks {
public:
  FrameChecks(const Export& e, const Function& f, Results& results)
      : export_(e), call_(f), results_(results) {}

  void run() {
    badArguments();
    elements();
    inPlace();
    statuses();
    nans();
  }

private:
  static constexpr T scalar = 3;

  void begin(const char* topic) { results_.begin(export_.name + " " + topic); }

  /// Operand i of an array pair: sources that differ.
  static T firstOperand(const std::vector<T>& values, std::size_t i) {
    return values[i % values.size()];
  }
  static T secondOperand(const std::vector<T>& values, std::size_t i) {
    return values[(i * 7 + i / values.size() + 3) % values.size()];
  }

  void badArguments() {
    begin("bad arguments");
    Guarded<T> x(4, 0x40), y(4, 0x40), r(4), r2(4);
    Operands<T> good{x.data(), y.data(), scalar, r.data(), r2.data()};
    std::vector<Operands<T>> withNull;
    const auto add = [&](auto member) {
      withNull.push_back(good);
      withNull.back().*member = nullptr;
    };
    add(&Operands<T>::source);
    add(&Operands<T>::destination);
    if (export_.sources() == 2)
      add(&Operands<T>::secondSource);
    if (export_.destinations() == 2)
      add(&Operands<T>::secondDestination);

    std::feclearexcept(FE_ALL_EXCEPT);
    for (int length : {0, -1, std::numeric_limits<int>::min()}) {
      results_.expect(call_(good, length) == qelStatusSizeError, "length below 1");
      results_.expect(call_(Operands<T>{}, length) == qelStatusSizeError,
                      "length is checked before the pointers");
    }
    for (const Operands<T>& operands : withNull)
      for (int length : {1, 4})
        results_.expect(call_(operands, length) == qelStatusNullPointer, "null pointer");
    results_.expect(std::fetestexcept(allFlags) == 0, "flags raised");
    results_.expect(r.untouched() && r2.untouched(), "a destination was written");
  }

  /// Every element as if it were alone, whatever its position and the length; nothing else written.
  void elements() {
    begin("elements");
    const std::vector<T> values = specialValues<T>();
    for (std::size_t length : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 16u, 17u, 40u, 1000u}) {
      for (std::size_t start : {0u, 1u, 5u, 50u}) {
        Guarded<T> x(length), y(length), r(length), r2(length);
        QelStatus expectedStatus = qelStatusOk;
        std::vector<Outcome<T>> expected;
        for (std::size_t i = 0; i < length; ++i) {
          // Long stretches of ordinary elements among the special ones.
          const bool ordinary = (i / 24) % 2 == 1;
          x.set(i,
                ordinary ? T(1.5) + static_cast<T>(i % 9) / 16 : firstOperand(values, start + i));
          y.set(i, ordinary ? T(2.5) : secondOperand(values, start + i));
          expected.push_back(callOne(export_, call_, x.get(i), secondOf(y.get(i))));
          if (expected.back().status != qelStatusOk)
            expectedStatus = expected.back().status;
        }
        const Guarded<T> xBefore = x, yBefore = y;
        const QelStatus status = call_(Operands<T>{x.data(), y.data(), scalar, r.data(), r2.data()},
                                       static_cast<int>(length));
        results_.expect(status == expectedStatus, "status of the last reported element");
        for (std::size_t i = 0; i < length; ++i)
          results_.expect(outcome(r, r2, i) == resultsOf(expected[i]),
                          "element " + std::to_string(i) + " of " + std::to_string(length));
        results_.expect(r.guardsIntact() && r2.guardsIntact(), "written beyond a destination");
        results_.expect(
            std::memcmp(x.data(), Guarded<T>(xBefore).data(), length * sizeof(T)) == 0 &&
                std::memcmp(y.data(), Guarded<T>(yBefore).data(), length * sizeof(T)) == 0,
            "a source was written");
      }
    }
  }

  void inPlace() {
    begin("in place");
    const std::vector<T> values = specialValues<T>();
    const std::size_t length = values.size() * 2;
    Guarded<T> x(length), y(length), r(length), r2(length);
    for (std::size_t i = 0; i < length; ++i) {
      x.set(i, firstOperand(values, i));
      y.set(i, secondOperand(values, i));
    }
    const int n = static_cast<int>(length);
    call_(Operands<T>{x.data(), y.data(), scalar, r.data(), r2.data()}, n);
    const auto expectSame = [&](Guarded<T>& first, Guarded<T>& second, const char* where) {
      for (std::size_t i = 0; i < length; ++i)
        results_.expect(outcome(first, second, i) == outcome(r, r2, i),
                        std::string(where) + ", element " + std::to_string(i));
    };
    for (bool second : {false, true}) {
      if (second && export_.sources() == 1 && export_.destinations() == 1)
        break;
      Guarded<T> a = x, b = y, other(length);
      Guarded<T>& shared = second && export_.sources() == 2 ? b : a;
      const bool swap = second && export_.destinations() == 2;
      Guarded<T>& first = swap ? other : shared;
      Guarded<T>& last = swap ? shared : other;
      call_(Operands<T>{a.data(), b.data(), scalar, first.data(), last.data()}, n);
      expectSame(first, last, second ? "second array" : "first array");
    }
  }

  /// The special values reach every status of the family, and no other.
  void statuses() {
    begin("statuses");
    const std::vector<T> values = specialValues<T>();
    std::set<QelStatus> seen;
    for (T x : values)
      for (T y : values) {
        seen.insert(callOne(export_, call_, x, y).status);
        if (export_.sources() == 1 && !export_.hasScalar())
          break;
      }
    seen.erase(qelStatusOk);
    results_.expect(seen == statusesOf(export_), "reports other statuses than the table says");
  }

  /// A NaN result is the first argument that is a NaN, made quiet, and the negative default NaN
  /// where none is. Only a power can have a NaN argument and another result.
  void nans() {
    begin("NaN results");
    const bool two = export_.sources() == 2 || export_.hasScalar();
    const std::vector<T> values = specialValues<T>();
    for (const T& x : values)
      for (const T& y : values) {
        BitsOf<T> expected = infinityBits<T> | quietBit<T> | signBit<T>;
        bool hasNan = false;
        for (const T* argument : {&y, &x})
          if (isNan<T>(bitsOf(*argument)) && (two || argument == &x)) {
            expected = bitsOf(*argument) | quietBit<T>;
            hasNan = true;
          }
        const Outcome<T> outcome = callOne(export_, call_, x, y);
        for (int d = 0; d < export_.destinations(); ++d) {
          const BitsOf<T> result = outcome.results[d];
          const bool mayBeNumber = !hasNan || (export_.family.starts_with("Pow") &&
                                               result == bitsOf(T{1}) && (x == 1 || y == 0));
          results_.expect(isNan<T>(result) ? result == expected : mayBeNumber, pairText(x, y));
        }
        if (!two)
          break;
      }
  }

  static std::string pairText(const T& x, const T& y) {
    std::ostringstream text;
    text << "of " << std::hex << bitsOf(x) << " and " << bitsOf(y);
    return text.str();
  }

  T secondOf(T y) const { return export_.hasScalar() ? scalar : y; }

  std::vector<BitsOf<T>> outcome(const Guarded<T>& r, const Guarded<T>& r2, std::size_t i) const {
    std::vector<BitsOf<T>> bits{bitsOf(r.get(i))};
    if (export_.destinations() == 2)
      bits.push_back(bitsOf(r2.get(i)));
    return bits;
  }
  std::vector<BitsOf<T>> resultsOf(const Outcome<T>& one) const {
    return {one.results, one.results + export_.destinations()};
  }

  const Export& export_;
  Function call_;
  Results& results_;
};

/// SinCos gives what Sin and Cos of its class give, apart and with either destination in place.
template <class T>
void checkSinCos(const loader::Library& library, const Export& both, Results& results) {
  results.begin(both.name + " is Sin and Cos");
  const std::string suffix = both.name.substr(both.family.size());
  std::vector<T> x = specialValues<T>();
  for (BitsOf<T> bits = 1; x.size() < 5000; bits *= 5) // any patterns, and ordinary arguments
    for (double v : {static_cast<double>(std::bit_cast<T>(bits)),
                     static_cast<double>(static_cast<std::int32_t>(bits >> 3)) * 0x1p-24})
      x.push_back(static_cast<T>(v));
  const int n = static_cast<int>(x.size());
  std::vector<T> expected[2] = {x, x};
  for (int d = 0; d < 2; ++d) {
    const Export* one = loader::findExport((d == 0 ? "Sin" : "Cos") + suffix);
    library.function (*one)(Operands<T>{.source = x.data(), .destination = expected[d].data()}, n);
  }
  for (int place : {0, 1, 2}) { // 2: the source is no destination
    std::vector<T> arrays[3] = {x, x, x};
    library.function(both)(Operands<T>{.source = arrays[place].data(),
                                       .destination = arrays[0].data(),
                                       .secondDestination = arrays[1].data()},
                           n);
    for (int d = 0; d < 2; ++d)
      for (std::size_t i = 0; i < x.size(); ++i)
        results.expect(bitsOf(arrays[d][i]) == bitsOf(expected[d][i]),
                       "destination " + std::to_string(d) + ", element " + std::to_string(i) +
                           ", source " + std::to_string(place));
  }
}

} // namespace

void checkFrame(const loader::Library& library, const std::string& cpuCode, Results& results) {
  for (const Export& e : loader::exports()) {
    results.begin(e.name + " present");
    results.expect(library.has(e),
                   "is in families/families.inc, but not in the library: its line of "
                   "export is missing in src");
    if (library.has(e))
      withElement(e, [&](auto element) {
        FrameChecks<decltype(element)>(e, library.function(e), results).run();
        if (e.family == "SinCos")
          checkSinCos<decltype(element)>(library, e, results);
      });
  }

  results.begin("version record");
  const QelLibVersion& version = library.version();
  results.expect(&version == &library.version(), "another pointer at the second call");
  results.expect(version.versionMajor == 5 && version.versionMinor == 0 &&
                     version.buildMajor == 11 && version.buildNumber == 35,
                 "numbers");
  results.expect(loader::cpuCode(version) == cpuCode, "processor code");
  results.expect(std::string(version.libraryFile) == "qelvmpx.dll" &&
                     std::string(version.versionText) == "v5.0" &&
                     std::string(version.buildDateText) == "Sep  7 2005",
                 "texts");
}

} // namespace checks
