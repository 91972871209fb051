#include "commands.hpp"
#include "error.hpp"

namespace tool {

const loader::Export& exportNamed(const std::string& name) {
  const loader::Export* found = loader::findExport(name);
  if (found == nullptr)
    throw Error("unknown export {} (qelvm list shows all)", inQuotes(name));
  return *found;
}

void checkOperands(const loader::Export& e, bool hasSecond, bool hasScalar) {
  const bool takesSecond = e.sources() == 2;
  if (takesSecond && !hasSecond)
    throw Error("{} takes two sources: give the second by --second", e.name);
  if (!takesSecond && hasSecond)
    throw Error("{} does not take a second source", e.name);
  if (e.hasScalar() && !hasScalar)
    throw Error("{} takes a scalar: give it by --scalar", e.name);
  if (!e.hasScalar() && hasScalar)
    throw Error("{} does not take a scalar", e.name);
}

} // namespace tool
