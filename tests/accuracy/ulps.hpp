// Exact values, floating-point numbers in their order, errors in ulps.
#pragma once

#include "../mpfr_number.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace accuracy {

/// 160 bits decide every rounding that a sample can meet.
using Number = MpfrNumber<160>;

template <class T>
struct Input {
  T x, y;
};

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

/// The order of floating-point values as an order of integers.
template <class T>
std::int64_t ordinal(T value) {
  using Signed = std::make_signed_t<BitsOf<T>>;
  const auto bits = std::bit_cast<Signed>(value);
  return bits >= 0 ? bits : std::int64_t{std::numeric_limits<Signed>::min()} - bits;
}
template <class T>
T fromOrdinal(std::int64_t number) {
  using Signed = std::make_signed_t<BitsOf<T>>;
  return std::bit_cast<T>(static_cast<Signed>(
      number >= 0 ? number : std::int64_t{std::numeric_limits<Signed>::min()} - number));
}

template <class T>
T rounded(mpfr_ptr number) {
  if constexpr (sizeof(T) == 4)
    return mpfr_get_flt(number, MPFR_RNDN);
  else
    return mpfr_get_d(number, MPFR_RNDN);
}

/// |result - exact| in units in the last place of the exact value.
template <class T>
double errorInUlps(T result, mpfr_ptr exact) {
  const T nearest = rounded<T>(exact);
  if (!std::isfinite(nearest) || !std::isfinite(result) || mpfr_zero_p(exact))
    return result == nearest ? 0 : std::numeric_limits<double>::infinity();
  thread_local Number difference;
  mpfr_sub_d(difference, exact, static_cast<double>(result), MPFR_RNDN);
  const long lowest = std::numeric_limits<T>::min_exponent;
  const long ulp = std::max<long>(mpfr_get_exp(exact), lowest) - std::numeric_limits<T>::digits;
  mpfr_mul_2si(difference, difference, -ulp, MPFR_RNDN);
  return std::fabs(mpfr_get_d(difference, MPFR_RNDN));
}

} // namespace accuracy
