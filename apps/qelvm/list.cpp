#include "commands.hpp"
#include "error.hpp"

#include <algorithm>
#include <cctype>

namespace tool {
namespace {

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

/// Whether the whole text is as the pattern says: * stands for any text, ? for any character.
bool matches(std::string_view pattern, std::string_view text) {
  std::size_t p = 0, t = 0;
  // After the latest *, and where the text goes on that it does not stand for.
  std::size_t afterStar = std::string_view::npos, resume = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      afterStar = ++p;
      resume = t;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == text[t])) {
      ++p;
      ++t;
    } else if (afterStar != std::string_view::npos) {
      p = afterStar;
      t = ++resume;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

using Names = std::vector<std::string>;

Names argumentNames(loader::Shape shape) {
  switch (shape) {
  case loader::Shape::TwoSources:
    return {"src1", "src2", "dst"};
  case loader::Shape::SourceAndScalar:
    return {"src", "scalar", "dst"};
  case loader::Shape::TwoDestinations:
    return {"src", "dst1", "dst2"};
  case loader::Shape::OneSource:
    break;
  }
  return {"src", "dst"};
}

Names statusNames(unsigned statuses) {
  constexpr std::pair<loader::StatusSet, QelStatus> all[] = {
      {loader::Overflow, qelStatusOverflow},
      {loader::Underflow, qelStatusUnderflow},
      {loader::Singularity, qelStatusSingularity},
      {loader::Domain, qelStatusDomain}};
  Names names = {loader::statusName(qelStatusOk)};
  for (const auto& [bit, status] : all)
    if ((statuses & bit) != 0)
      names.push_back(loader::statusName(status));
  return names;
}

using Exports = std::vector<const loader::Export*>;

std::string joined(const Names& names, const char* between) {
  return fmt::format("{}", fmt::join(names, between));
}

/// In the table: the proven bound, or what there is in its place.
std::string provenText(const loader::Export& e) {
  switch (e.basis) {
  case loader::Basis::Proven: {
    double largest = e.single ? e.bound : 0;
    for (const loader::Error& error : e.errors)
      largest = std::max(largest, *error.proven);
    return fmt::format("{}", largest);
  }
  case loader::Basis::Partly:
    return "partly";
  case loader::Basis::Tried:
    return "tried";
  case loader::Basis::Observed:
    break;
  }
  return "-";
}

std::string table(const Exports& exports) {
  constexpr auto row = "{:<17}{:<9}{:<18}{:<12}{:<11}{}\n";
  std::string text =
      fmt::format(row, "export", "ordinal", "arguments", "bound, ulp", "proven", "statuses");
  for (const loader::Export* e : exports)
    text += fmt::format(row, e->name, e->ordinal, joined(argumentNames(e->shape), ", "),
                        fmt::format("{}", e->bound), provenText(*e),
                        joined(statusNames(e->statuses), " "));
  std::string noted; // the last family whose note stands
  for (const loader::Export* e : exports) {
    const std::string note = e->single ? "" : loader::boundNote(e->family);
    if (note.empty() || e->family == noted)
      continue;
    text += fmt::format("{}{}, {}\n", noted.empty() ? "\n" : "", e->family, note);
    noted = e->family;
  }
  return text;
}

/// A row for each kind of results: of double elements, since all floats of one source are tried.
std::string errorTable(const Exports& exports) {
  constexpr auto row = "{:<17}{:<12}{:<11}{:<10}{:<49}{}\n";
  std::string text = fmt::format(row, "export", "bound, ulp", "proven", "observed", "at", "where");
  for (const loader::Export* e : exports) {
    const std::string bound = fmt::format("{}", e->bound);
    if (e->errors.empty())
      text += fmt::format(row, e->name, bound, provenText(*e), "-", "-", "always");
    for (const loader::Error& error : e->errors)
      text +=
          fmt::format(row, e->name, bound, error.proven ? fmt::format("{}", *error.proven) : "-",
                      fmt::format("{:.4f}", error.observed), error.at, error.where);
  }
  return text;
}

/// Names and numbers only: nothing that JSON would want escaped.
std::string json(const loader::Error& error) {
  std::string at = error.at; // one input, or two
  if (const std::size_t comma = at.find(", "); comma != std::string::npos)
    at.replace(comma, 2, R"(", ")");
  return fmt::format(R"({{"results": "{}", "proven": {}, "observed": {}, "at": ["{}"]}})",
                     error.results, error.proven ? fmt::format("{}", *error.proven) : "null",
                     error.observed, at);
}
std::string json(const Exports& exports) {
  constexpr const char* bases[] = {"proven", "partly", "tried", "observed"}; // as loader::Basis
  std::string text;
  for (const loader::Export* e : exports) {
    Names errors;
    for (const loader::Error& error : e->errors)
      errors.push_back(json(error));
    text += fmt::format(R"({}  {{"name": "{}", "ordinal": {}, "family": "{}", "type": "{}", )"
                        R"("arguments": ["{}"], "bound": {}, "basis": "{}", "errors": [{}], )"
                        R"("statuses": ["{}"]}})",
                        text.empty() ? "" : ",\n", e->symbol(), e->ordinal, e->family,
                        e->single ? "float" : "double", joined(argumentNames(e->shape), R"(", ")"),
                        fmt::format("{}", e->bound), bases[static_cast<int>(e->basis)],
                        joined(errors, ", "), joined(statusNames(e->statuses), R"(", ")"));
  }
  return fmt::format("[\n{}\n]\n", text);
}

} // namespace

std::string listExports(const loader::Library& library, const ListOptions& options) {
  const std::string pattern = fmt::format("*{}*", lowerCase(options.pattern));
  Exports exports;
  for (const loader::Export& e : loader::exports())
    if (matches(pattern, lowerCase(e.symbol())) && library.has(e))
      exports.push_back(&e);
  if (exports.empty())
    throw Error("{} has no export that matches {}", library.path(), inQuotes(options.pattern));
  return options.json ? json(exports) : options.errors ? errorTable(exports) : table(exports);
}

} // namespace tool
