// MPFR numbers with operators, for the generators and the accuracy test. 300 bits throughout: far
// beyond what a table entry or an error in ulps needs.
#pragma once

#include <mpfr.h>

#include <utility>

class Real {
public:
  static constexpr mpfr_prec_t precision = 300;

  Real(double value = 0.0) { // NOLINT(google-explicit-constructor): a double is a Real
    mpfr_init2(number_, precision);
    mpfr_set_d(number_, value, MPFR_RNDN);
  }
  Real(const Real& other) {
    mpfr_init2(number_, precision);
    mpfr_set(number_, other.number_, MPFR_RNDN);
  }
  Real& operator=(const Real& other) {
    mpfr_set(number_, other.number_, MPFR_RNDN);
    return *this;
  }
  ~Real() { mpfr_clear(number_); }

  mpfr_ptr get() { return number_; }
  mpfr_srcptr get() const { return number_; }

  /// Rounded to double, once.
  double toDouble() const { return mpfr_get_d(number_, MPFR_RNDN); }

  friend Real operator+(const Real& a, const Real& b) { return combine(mpfr_add, a, b); }
  friend Real operator-(const Real& a, const Real& b) { return combine(mpfr_sub, a, b); }
  friend Real operator*(const Real& a, const Real& b) { return combine(mpfr_mul, a, b); }
  friend Real operator/(const Real& a, const Real& b) { return combine(mpfr_div, a, b); }

  /// f(a) for an MPFR function of one argument, such as mpfr_exp2.
  template <class F>
  static Real apply(F f, const Real& a) {
    Real result;
    f(result.number_, a.number_, MPFR_RNDN);
    return result;
  }

private:
  template <class F>
  static Real combine(F f, const Real& a, const Real& b) {
    Real result;
    f(result.number_, a.number_, b.number_, MPFR_RNDN);
    return result;
  }

  mpfr_t number_;
};
