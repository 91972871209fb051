#include "references.hpp"

#include <map>

namespace accuracy {
namespace {

/// An MPFR function of one argument, or of two.
Reference of(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)) {
  return [f](mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) { f(r, x, MPFR_RNDN); };
}
Reference of(int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t)) {
  return [f](mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y) { f(r, x, y, MPFR_RNDN); };
}

void inverse(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) {
  mpfr_ui_div(r, 1, x, MPFR_RNDN);
}
void inverseCubeRoot(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr) {
  mpfr_cbrt(r, x, MPFR_RNDN);
  mpfr_ui_div(r, 1, r, MPFR_RNDN);
}

} // namespace

Reference referenceOf(const std::string& name) {
  static const std::map<std::string, Reference> all = {
      {"acos", of(mpfr_acos)},         {"acosh", of(mpfr_acosh)}, {"asin", of(mpfr_asin)},
      {"asinh", of(mpfr_asinh)},       {"atan", of(mpfr_atan)},   {"atan2", of(mpfr_atan2)},
      {"atanh", of(mpfr_atanh)},       {"cbrt", of(mpfr_cbrt)},   {"cos", of(mpfr_cos)},
      {"cosh", of(mpfr_cosh)},         {"div", of(mpfr_div)},     {"erf", of(mpfr_erf)},
      {"erfc", of(mpfr_erfc)},         {"exp", of(mpfr_exp)},     {"exp10", of(mpfr_exp10)},
      {"exp2", of(mpfr_exp2)},         {"expm1", of(mpfr_expm1)}, {"gamma", of(mpfr_gamma)},
      {"hypot", of(mpfr_hypot)},       {"inv", inverse},          {"inv_cbrt", inverseCubeRoot},
      {"inv_sqrt", of(mpfr_rec_sqrt)}, {"log", of(mpfr_log)},     {"log10", of(mpfr_log10)},
      {"log1p", of(mpfr_log1p)},       {"log2", of(mpfr_log2)},   {"pow", of(mpfr_pow)},
      {"sin", of(mpfr_sin)},           {"sinh", of(mpfr_sinh)},   {"sqrt", of(mpfr_sqrt)},
      {"tan", of(mpfr_tan)},           {"tanh", of(mpfr_tanh)}};
  const auto found = all.find(name);
  return found == all.end() ? Reference{} : found->second;
}

} // namespace accuracy
