// Floating-point building blocks: bit access, exact sums and splits, rounding by a shifter, scaling
// by powers of two. All of them work on one value and on Lanes<N>.
//
// They are exact only while every operation is a double operation rounded once, to nearest: no
// wider evaluation, no fused multiply-add, no reassociation. The build sets the flags; what a
// compiler admits about itself is checked here.
#pragma once

#include "core/bits.hpp"
#include "core/exact_arithmetic.hpp"
#include "core/flags.hpp"
#include "core/scaling.hpp"
#include "core/tables.hpp"

#include <cfloat>
#include <limits>

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__)
#error "qelvm needs IEEE arithmetic: build without -ffast-math and -ffinite-math-only"
#endif
static_assert(FLT_EVAL_METHOD == 0, "qelvm needs plain double evaluation (32-bit x86: SSE2)");
static_assert(std::numeric_limits<double>::is_iec559 && std::numeric_limits<float>::is_iec559);
