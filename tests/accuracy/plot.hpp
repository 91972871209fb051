#pragma once

#include "families.hpp"
#include "loader/loader.hpp"

#include <string>

namespace accuracy {

/// Writes DIRECTORY/FAMILY.svg: the largest error in ulps of the double exports whose names contain
/// `pattern`, and of the C library, over the family's main range. Throws std::runtime_error if the
/// file cannot be written.
void plotErrors(const loader::Library& library, const Family& family, const std::string& pattern,
                const std::string& directory);

} // namespace accuracy
