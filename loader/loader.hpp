// What callers of the library share (the command-line tool, the tests, the benchmarks): the table
// of its exports, loading a build of it at run time, and calling any export by the shape of its
// argument list.
#pragma once

#include "qelvm.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace loader {

enum class Shape { OneSource, TwoSources, SourceAndScalar, TwoDestinations };

/// The warnings that an export can return, as a set.
enum StatusSet : unsigned {
  Nothing = 0,
  Overflow = 1,
  Underflow = 2,
  Singularity = 4,
  Domain = 8,
};

/// What is known of the error of some results of an export, in ulps of the exact ones.
struct Error {
  std::string results;          ///< "normal", "subnormal", ...
  std::string where;            ///< the same in words: "the result is normal"
  std::optional<double> proven; ///< a bound that a proof has shown
  double observed;              ///< the largest one,
  std::string at;               ///< with its input, hexadecimal; two are parted by ", "
};

/// What a bound rests on: a proof for all results, or for some; a run over every float;
/// measurement.
enum class Basis { Proven, Partly, Tried, Observed };

struct Export {
  std::string name;   ///< without the prefix: "Exp_64f_A50"
  std::string family; ///< "Exp"
  bool single;        ///< float elements; otherwise double
  Shape shape;
  unsigned statuses;         ///< StatusSet
  double bound;              ///< largest error in ulps
  int ordinal;               ///< in the DLL
  Basis basis;               ///< of the bound
  std::vector<Error> errors; ///< of double elements

  int sources() const { return shape == Shape::TwoSources ? 2 : 1; }
  int destinations() const { return shape == Shape::TwoDestinations ? 2 : 1; }
  bool hasScalar() const { return shape == Shape::SourceAndScalar; }
  std::string symbol() const { return "qels" + name; }
};

/// All vector exports, in the order of the list of families.
const std::vector<Export>& exports();

/// Where the bounds of a family's doubles are others; empty for most.
std::string boundNote(const std::string& family);

/// The export of that name, with or without the prefix "qels"; null if there is none.
const Export* findExport(std::string_view name);

/// "qelStatusOverflow" and so on; the number as text for an unknown status.
std::string statusName(QelStatus status);

/// The code of a version record, "px", "v3" and so on, and what it means: "x86-64-v4 (AVX-512)".
std::string cpuCode(const QelLibVersion& version);
std::string processorName(const QelLibVersion& version);

/// The arguments of a call; those that the shape does not have are ignored.
template <class T>
struct Operands {
  const T* source = nullptr;
  const T* secondSource = nullptr;
  T scalar = 0;
  T* destination = nullptr;
  T* secondDestination = nullptr;
};

/// An export of a loaded library.
class Function {
public:
  Function(void* address, Shape shape) : address_(address), shape_(shape) {}

  /// T is the element type of the export.
  template <class T>
  QelStatus operator()(const Operands<T>& operands, std::int32_t length) const {
    const auto& [source, second, scalar, destination, secondDestination] = operands;
    switch (shape_) {
    case Shape::TwoSources:
      return as<QelStatus(QELVM_CALL*)(const T*, const T*, T*, std::int32_t)>()(
          source, second, destination, length);
    case Shape::SourceAndScalar:
      return as<QelStatus(QELVM_CALL*)(const T*, T, T*, std::int32_t)>()(source, scalar,
                                                                         destination, length);
    case Shape::TwoDestinations:
      return as<QelStatus(QELVM_CALL*)(const T*, T*, T*, std::int32_t)>()(
          source, destination, secondDestination, length);
    case Shape::OneSource:
      break;
    }
    return as<QelStatus(QELVM_CALL*)(const T*, T*, std::int32_t)>()(source, destination, length);
  }

private:
  template <class Pointer>
  Pointer as() const {
    return reinterpret_cast<Pointer>(address_);
  }

  void* address_;
  Shape shape_;
};

/// A loaded library; unloaded on destruction.
class Library {
public:
  /// Loads the build at `path`, or the one that the platform finds by that name: of the builds for
  /// several levels of processors the dynamic loader takes the best that this one can run. Throws
  /// std::runtime_error with the platform's reason, or where the build is for another processor.
  explicit Library(const std::string& path);
  ~Library();
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /// As it was given.
  const std::string& path() const { return path_; }
  /// The full path of the file that was loaded, links resolved.
  std::string file() const;
  bool has(const Export& e) const { return symbol(e.symbol()) != nullptr; }

  /// Throws std::runtime_error if the library does not have it.
  Function function(const Export& e) const;
  const QelLibVersion& version() const;

  /// The file name under which the library is installed on this platform.
  static std::string defaultName();

private:
  void* symbol(const std::string& name) const;
  void unload();
  void refuseOtherProcessors();

  std::string path_;
  void* handle_;
};

} // namespace loader
