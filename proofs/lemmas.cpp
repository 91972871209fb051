// The lemmas that the recorder grants (README.md names them and their sources), each tried on
// random operands, on operands with many zeros or ones, and on powers of two and their neighbours.
// What is exact is compared in MPFR.
#include "enclosures.hpp"

#include <random>

using namespace qelvm;
using namespace qelvm::proof;

namespace {

std::mt19937_64 random_(7);

/// A double with an exponent in [-range, range] whose fraction is random, or has a run of equal
/// bits.
double operand(int range) {
  Word fraction = random_() & fractionMask<double>;
  const int cut = static_cast<int>(random_() % 53);
  switch (random_() % 4) {
  case 0:
    fraction = fraction >> cut << cut;
    break;
  case 1:
    fraction |= (Word{1} << cut) - 1;
    break;
  case 2:
    fraction = (random_() & 1) ? random_() % 3 : fractionMask<double> - random_() % 3;
    break;
  default:
    break;
  }
  const auto exponent = static_cast<Word>(
      1023 + static_cast<int>(random_() % static_cast<Word>(2 * range + 1)) - range);
  return std::bit_cast<double>((random_() & signMask<double>) | exponent << 52 | fraction);
}

bool isSum(const DoubleDouble& s, double a, double b) {
  const Real rest = Real(a) + Real(b) - Real(s.hi) - Real(s.lo);
  return mpfr_zero_p(rest.get()) && s.hi == a + b;
}

/// Significant bits of a double, and the exponent of its last one.
int significantBits(double v) {
  if (v == 0)
    return 0;
  const Word fraction = (bitsOf(v) & fractionMask<double>) | (fractionMask<double> + 1);
  return 53 - std::countr_zero(fraction);
}
int lastPlace(double v) {
  return std::ilogb(v) - significantBits(v) + 1;
}

/// A share of an ulp in [-1, 1]: often an end or the middle, or next to them.
double share() {
  const double even = std::uniform_real_distribution<double>(-1, 1)(random_);
  const double end = static_cast<double>(static_cast<int>(random_() % 5) - 2) / 2;
  return random_() % 2 ? even : std::max(-1.0, std::min(1.0, end + std::ldexp(even, -60)));
}

/// Last Rounding, for a T of `digits` bits: S next to `a`, y within an ulp of S.
template <class T>
void tryLastRounding(T a, T (*nearest)(mpfr_srcptr, mpfr_rnd_t)) {
  constexpr int digits = std::numeric_limits<T>::digits;
  const auto ulp = [](const Real& v) {
    return std::ldexp(1.0, static_cast<int>(mpfr_get_exp(v.get())) - digits);
  };
  const auto size = [](const Real& v) { return Real::apply(mpfr_abs, v); };
  const Real S = Real(a) + Real(share()) * Real(ulp(Real(a)));
  const Real off = Real(share()) * Real(ulp(S)), y = S + off;
  const Real error = Real(nearest(y.get(), MPFR_RNDN)) - S;
  require(mpfr_lessequal_p(size(error).get(), (Real(ulp(S) / 2) + size(off)).get()),
          "the last rounding of " + hex(y.toDouble()) + " to " + std::to_string(digits) + " bits");
}

} // namespace

int main(int argc, char** argv) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 1000000;
  int ordered = 0, multiples = 0, subnormal = 0, small = 0;
  for (int i = 0; i < count; ++i) {
    const double a = operand(60), b = operand(60);
    // Fast2Sum: |a| >= |b|, or a a multiple of 2^k and |b| < 2^(k + 53).
    const bool byMultiple = std::fabs(b) < std::ldexp(1.0, lastPlace(a) + 53);
    if (std::fabs(a) >= std::fabs(b) || byMultiple) {
      require(isSum(fastTwoSum<double, double>(a, b), a, b),
              "Fast2Sum of " + hex(a) + " and " + hex(b));
      ++ordered;
      multiples += std::fabs(a) < std::fabs(b);
    }
    require(isSum(twoSum<double, double>(a, b), a, b), "2Sum of " + hex(a) + " and " + hex(b));
    tryLastRounding<double>(a, mpfr_get_d);
    tryLastRounding<float>(static_cast<float>(a), mpfr_get_flt);
    // Small Sum.
    const double c = std::ldexp(a, -1082), d = std::ldexp(b, -1082), sum = c + d;
    if (std::fabs(sum) <= 0x1p-1021) {
      require(isSum({sum, 0}, c, d), "the sum of " + hex(c) + " and " + hex(d));
      ++small;
    }
    // Split, with every splitter of the kernels and their like.
    for (int k = 16; k <= 43; ++k)
      for (const double splitter : {std::ldexp(1.0, k), std::ldexp(1.0, k) + 1}) {
        if (k < 27 && splitter == std::ldexp(1.0, k))
          continue;
        const DoubleDouble s = splitHiLo<double>(a, splitter);
        const Real rest = Real(a) - Real(s.hi) - Real(s.lo);
        require(mpfr_zero_p(rest.get()) && significantBits(s.hi) <= 53 - k &&
                    significantBits(s.lo) <= k &&
                    std::fabs(s.lo) <= std::ldexp(1.0, std::ilogb(a) + k - 53) &&
                    lastPlace(s.hi) >= lastPlace(a),
                "the split of " + hex(a) + " by " + hex(splitter));
      }
    // Leading Bits
    for (int k = 3; k <= 40; ++k) {
      const double hi = keepLeadingBits<double>(a, std::ldexp(1.5, k));
      require(significantBits(hi) <= 53 - k &&
                  std::fabs(hi - a) <= std::ldexp(std::fabs(a), k - 51),
              "the leading bits of " + hex(a));
    }
  }
  for (int i = 0; i < count; ++i) { // Floats, next to middles between two floats
    const auto f = static_cast<float>(std::ldexp(std::fabs(operand(75)), -65));
    const auto b = static_cast<float>(std::ldexp(operand(50), 60));
    const double middle =
        0.5 * (static_cast<double>(f) + static_cast<double>(std::nextafter(f, 0.0f)));
    const auto a = static_cast<float>(middle * static_cast<double>(b));
    const auto quotient = static_cast<float>(static_cast<double>(a) / static_cast<double>(b));
    const Real q = Real(static_cast<double>(a)) / Real(static_cast<double>(b));
    require(quotient == mpfr_get_flt(q.get(), MPFR_RNDN), "the quotient of floats");
    const auto square = static_cast<double>(static_cast<float>(middle * middle));
    const auto root = static_cast<float>(std::sqrt(square));
    const Real r = Real::apply(mpfr_sqrt, Real(square));
    require(root == mpfr_get_flt(r.get(), MPFR_RNDN), "the root of a float");
    subnormal += quotient != 0 && std::fabs(quotient) < std::numeric_limits<float>::min();
  }
  require(ordered > count / 3 && multiples > count / 1000 && subnormal > count / 1000 &&
              small > count / 3,
          "the operands meet the conditions");
  std::printf("%d operands: the lemmas hold\n", count);
}
