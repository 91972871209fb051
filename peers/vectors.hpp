// The vector functions that a family is measured beside, in loops for one level of processors:
// those of the C library (libmvec) and the more accurate ones of SLEEF, at most about 1 ulp off.
// Both are loaded at run time, so that neither is needed to build.
#pragma once

#include "peers/peers.hpp"

#include <string>

namespace peers {

enum class Vectors { CLibrary, OneUlp };

/// Whether this machine has the library with these functions.
bool installed(Vectors);

/// The family's work by these functions on processors of a level, "v3" or "v4", which this one has
/// to be; empty where there are none. Takes lengths that are multiples of 16.
template <class T>
Loop<T> vectorLoop(Vectors, const std::string& family, const std::string& level);

/// What that loop does with each register: "1 / cbrt(x)". Empty where there are none.
std::string vectorText(Vectors, const std::string& family);

} // namespace peers
