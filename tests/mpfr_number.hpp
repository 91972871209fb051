#pragma once

#include <mpfr.h>

/// An MPFR number that frees itself.
template <mpfr_prec_t bits>
class MpfrNumber {
public:
  MpfrNumber() { mpfr_init2(number_, bits); }
  ~MpfrNumber() { mpfr_clear(number_); }
  MpfrNumber(const MpfrNumber&) = delete;
  MpfrNumber& operator=(const MpfrNumber&) = delete;
  operator mpfr_ptr() { return number_; } // NOLINT(google-explicit-constructor)

private:
  mpfr_t number_;
};
