// The commands of the tool and what the command line says for each.
#pragma once

#include "loader/loader.hpp"

#include <optional>
#include <string>
#include <vector>

namespace tool {

enum ExitStatus { success = 0, warned = 1, failed = 2 };

struct ListOptions {
  std::string pattern;
  bool errors = false, json = false;
};

struct EvalOptions {
  std::string exportName;
  std::vector<std::string> values; ///< each a list separated by commas
  std::optional<std::string> second, scalar;
};

struct ApplyOptions {
  std::string exportName;
  std::optional<std::string> input, output;
  std::string format; ///< "text", "csv", "raw", or empty: by the other options
  std::optional<std::string> column, secondColumn;
  std::vector<std::string> resultColumns;
  std::optional<std::string> delimiter;
  std::optional<std::string> second, secondInput, scalar;
  std::string badRows = "stop"; ///< or "skip", "mark"
  bool inPlace = false, noHeader = false;
};

/// The text for standard output.
std::string listExports(const loader::Library& library, const ListOptions& options);

struct Evaluation {
  std::string text;
  bool warned;
};
Evaluation evaluate(const loader::Library& library, const EvalOptions& options);

/// Whether a warning was returned or a row was bad.
bool apply(const loader::Library& library, const ApplyOptions& options);

/// The export of that name; the error names the way to find the right one.
const loader::Export& exportNamed(const std::string& name);

/// Checks that a second source and a scalar are given exactly where the export takes them.
void checkOperands(const loader::Export& e, bool hasSecond, bool hasScalar);

} // namespace tool
