#include "commands.hpp"
#include "error.hpp"

#include <fnmatch.h>

#include <algorithm>
#include <cctype>

namespace tool {
namespace {

std::string lowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

const char* argumentNames(loader::Shape shape) {
  switch (shape) {
  case loader::Shape::TwoSources:
    return "src1, src2, dst";
  case loader::Shape::SourceAndScalar:
    return "src, scalar, dst";
  case loader::Shape::TwoDestinations:
    return "src, dst1, dst2";
  case loader::Shape::OneSource:
    break;
  }
  return "src, dst";
}

std::string statusNames(unsigned statuses) {
  constexpr std::pair<loader::StatusSet, QelStatus> all[] = {
      {loader::Overflow, qelStatusOverflow},
      {loader::Underflow, qelStatusUnderflow},
      {loader::Singularity, qelStatusSingularity},
      {loader::Domain, qelStatusDomain}};
  std::string names = loader::statusName(qelStatusOk);
  for (const auto& [bit, status] : all)
    if ((statuses & bit) != 0)
      names.append(" ").append(loader::statusName(status));
  return names;
}

constexpr auto row = "{:<16}{:<18}{:<12}{}\n";

} // namespace

std::string listExports(const loader::Library& library, const ListOptions& options) {
  const std::string pattern = fmt::format("*{}*", lowerCase(options.pattern));
  std::string rows;
  for (const loader::Export& e : loader::exports())
    if (fnmatch(pattern.c_str(), lowerCase(e.symbol()).c_str(), 0) == 0 && library.has(e))
      rows +=
          fmt::format(row, e.name, argumentNames(e.shape),
                      fmt::format("{}", e.bound), statusNames(e.statuses));
  if (rows.empty())
    throw Error("{} has no export that matches {}", library.path(), quoted(options.pattern));
  return fmt::format(row, "export", "arguments", "bound, ulp", "statuses") + rows;
}

} // namespace tool
