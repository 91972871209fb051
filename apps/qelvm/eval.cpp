#include "block.hpp"
#include "commands.hpp"
#include "number_text.hpp"

#include <algorithm>
#include <cfenv>

namespace tool {
namespace {

template <class T>
std::vector<T> numbers(const std::vector<std::string>& lists, const char* option) {
  std::vector<T> values;
  for (const std::string& list : lists)
    for (std::string_view rest = list;;) {
      const std::size_t comma = rest.find(',');
      values.push_back(numberAt<T>(rest.substr(0, comma), [&] { return option; }));
      if (comma == std::string_view::npos)
        break;
      rest.remove_prefix(comma + 1);
    }
  return values;
}

/// As many as there are elements; a single one serves all.
template <class T>
std::vector<T> secondNumbers(const std::string& list, std::size_t elements) {
  std::vector<T> values = numbers<T>({list}, "--second");
  if (values.size() == 1)
    values.assign(elements, values.front());
  if (values.size() != elements)
    throw Error("--second: {} values for {} elements", values.size(), elements);
  return values;
}

std::string flagNames(int flags) {
  constexpr std::pair<int, const char*> all[] = {{FE_INVALID, "invalid"},
                                                 {FE_DIVBYZERO, "divide-by-zero"},
                                                 {FE_OVERFLOW, "overflow"},
                                                 {FE_UNDERFLOW, "underflow"},
                                                 {FE_INEXACT, "inexact"}};
  std::string names;
  for (const auto& [flag, name] : all)
    if ((flags & flag) != 0)
      names += fmt::format(" {}", name);
  return names.empty() ? " none" : names;
}

using Row = std::vector<std::string>;

std::string table(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size(), 0);
  for (const Row& row : rows)
    for (std::size_t k = 0; k < row.size(); ++k)
      widths[k] = std::max(widths[k], row[k].size());
  std::string text;
  for (const Row& row : rows) {
    for (std::size_t k = 0; k + 1 < row.size(); ++k)
      text += fmt::format("{:<{}}  ", row[k], widths[k]);
    text += row.back() + '\n';
  }
  return text;
}

Row heading(const loader::Export& e) {
  Row row = {"source"};
  if (e.sources() == 2)
    row = {"source 1", "source 2"};
  for (int k = 1; k <= e.destinations(); ++k) {
    row.push_back(e.destinations() == 1 ? "result" : fmt::format("result {}", k));
    row.push_back("hexadecimal");
  }
  row.push_back("status");
  return row;
}

template <class T>
Evaluation evaluateAs(const loader::Export& e, loader::Function function,
                      const EvalOptions& options) {
  const auto values = numbers<T>(options.values, "VALUES");
  Block<T> block(e, function, values.size());
  const Columns<T> sources = block.sources();
  std::copy(values.begin(), values.end(), sources[0]);
  if (options.second) {
    const auto second = secondNumbers<T>(*options.second, values.size());
    std::copy(second.begin(), second.end(), sources[1]);
  }
  if (options.scalar)
    block.setScalar(numberAt<T>(*options.scalar, [] { return "--scalar"; }));

  std::feclearexcept(FE_ALL_EXCEPT);
  const QelStatus status = block.call(values.size());
  const int flags = std::fetestexcept(FE_ALL_EXCEPT);

  std::vector<Row> rows = {heading(e)};
  for (std::size_t i = 0; i < values.size(); ++i) {
    Row& row = rows.emplace_back();
    for (const T* source : sources)
      if (source != nullptr)
        row.push_back(shortest(source[i]));
    for (const T* result : block.results())
      if (result != nullptr) {
        row.push_back(shortest(result[i]));
        row.push_back(hexadecimal(result[i]));
      }
    row.push_back(loader::statusName(block.statusOf(i)));
  }
  return {fmt::format("{}\nstatus of the call: {}\nexception flags:{}\n", table(rows),
                      loader::statusName(status), flagNames(flags)),
          status != qelStatusOk};
}

} // namespace

Evaluation evaluate(const loader::Library& library, const EvalOptions& options) {
  const loader::Export& e = exportNamed(options.exportName);
  checkOperands(e, options.second.has_value(), options.scalar.has_value());
  const auto evaluateExport = e.single ? evaluateAs<float> : evaluateAs<double>;
  return evaluateExport(e, library.function(e), options);
}

} // namespace tool
