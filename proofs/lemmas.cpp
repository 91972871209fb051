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

} // namespace

int main(int argc, char** argv) {
  const int count = argc > 1 ? std::atoi(argv[1]) : 1000000;
  int ordered = 0, multiples = 0;
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
    // Split, with every splitter of the kernels and their like.
    for (int k = 16; k <= 43; ++k)
      for (const double splitter : {std::ldexp(1.0, k), std::ldexp(1.0, k) + 1}) {
        if (k < 27 && splitter == std::ldexp(1.0, k))
          continue;
        const DoubleDouble s = splitHiLo<double>(a, splitter);
        const Real rest = Real(a) - Real(s.hi) - Real(s.lo);
        require(mpfr_zero_p(rest.get()) && significantBits(s.hi) <= 53 - k &&
                    significantBits(s.lo) <= k &&
                    std::fabs(s.lo) <= std::ldexp(std::fabs(a), k - 53) &&
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
  require(ordered > count / 3 && multiples > count / 1000, "the operands meet the conditions");
  std::printf("%d operands: the lemmas hold\n", count);
}
