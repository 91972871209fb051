// The exact functions that facts can name.
#pragma once

#include <mpfr.h>

#include <functional>
#include <string>

namespace accuracy {

/// Sets r to the exact function of (x, y), rounded to r's precision; y is unused with one source.
using Reference = std::function<void(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y)>;

/// Null where there is none of that name.
Reference referenceOf(const std::string& name);

} // namespace accuracy
