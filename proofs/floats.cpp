// Floats: D, the double result, is off the exact one, S, by less than one of its ulps (which are
// 2^-29 of a float's); R, the float, is D rounded once more. For every binade of S that has floats:
//
// 1. `within`: R is off by half a float ulp and what D is off by, at most.
// 2. `nearest`: where D lies between the middles on both sides of a float F, R is F. So it is where
//    S lies there, farther from them than D is from S: R is then the float nearest to S.
//
// The binades end at 2^128: the middle below it parts the floats from those results that overflow,
// whose nearest float is infinite. By symmetry S is positive.
//
// The replay shows, for all families, that float results are the A53 results rounded once.
#include "proof.hpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

constexpr int lowest = -126, subnormalUlp = -149, highest = 128;

Script scriptOf(const std::string& name) {
  Script s(name);
  s.define("D", "rnd(D_)");
  s.define("R", "float<ieee_32,ne>(D)");
  return s;
}

/// S in the binade of 2^k, or for the least k between zero and it.
void within(Proof& proof, int k) {
  const bool isLeast = k < subnormalUlp - 1;
  const double high = std::ldexp(1.0, k + 1),
               half = std::ldexp(0.5, std::max(k - 23, subnormalUlp)),
               error = std::ldexp(1.0, std::max(k, subnormalUlp - 1) - 52);
  Script s = scriptOf(text("within 2^", k));
  proof.over(s, "exact", "S", {isLeast ? 0 : std::ldexp(1.0, k), high});
  s.assume(text("|D - S| <= ", error));
  s.goal(text("|R - S| <= ", half + error));
  s.hint(text("|R - S| $ D in (", high, ")")); // beyond it R is this power of two
  proof.add(s);
}

/// F in the binade of 2^k, or zero and the subnormal ones; D from the first double below them on.
void nearest(Proof& proof, int k) {
  const bool isLeast = k < lowest;
  const double low = isLeast ? 0 : std::ldexp(1.0, k), high = std::ldexp(1.0, k + 1);
  const double half = std::ldexp(0.5, std::max(k - 23, subnormalUlp));
  // (A double below the middle is at least a last place of one below it.)
  const double place = isLeast ? std::ldexp(1.0, subnormalUlp - 1 - 53) : std::ldexp(1.0, k - 53);
  Script s = scriptOf(text("nearest 2^", k));
  s.define("F", "float<ieee_32,ne>(F_)");
  proof.over(s, "floats", "F", {low, high});
  s.assume(text("|D - F| <= ", half - place, " /\\ D >= ", isLeast ? 0 : below(low)));
  s.goal("R - F in [0,0]");
  s.hint("R - F -> (R - D) + (D - F)");
  s.hint(text("R - F $ D in (", high, ")"));
  proof.add(s);
}

// ---- the exports --------------------------------------------------------------------------------

template <class T>
using Pair = T[2];
template <class T>
void call(QelStatus(QELVM_CALL* f)(const T*, T*, std::int32_t), const Pair<T>& x, Pair<T>& y) {
  f(&x[0], &y[0], 1);
}
template <class T>
void call(QelStatus(QELVM_CALL* f)(const T*, const T*, T*, std::int32_t), const Pair<T>& x,
          Pair<T>& y) {
  f(&x[0], &x[1], &y[0], 1);
}
template <class T>
void call(QelStatus(QELVM_CALL* f)(const T*, T, T*, std::int32_t), const Pair<T>& x, Pair<T>& y) {
  f(&x[0], x[1], &y[0], 1);
}
template <class T>
void call(QelStatus(QELVM_CALL* f)(const T*, T*, T*, std::int32_t), const Pair<T>& x, Pair<T>& y) {
  f(&x[0], &y[0], &y[1], 1);
}

/// Any pattern, or a number of a size where functions have much to do.
float argument(std::mt19937_64& random) {
  if (random() % 2 == 0)
    return std::bit_cast<float>(static_cast<std::uint32_t>(random()));
  const auto exponent = static_cast<int>(random() % 32) - 24;
  return std::ldexp(std::uniform_real_distribution<float>(-1, 1)(random), exponent);
}

template <class Single, class Double>
void compare(Proof& proof, const std::string& name, Single single, Double accurate) {
  static std::mt19937_64 random(20240229);
  for (int i = 0; i < proof.replays(); ++i) {
    const Pair<float> x = {argument(random), argument(random)};
    const Pair<double> wide = {x[0], x[1]};
    Pair<float> y = {};
    Pair<double> result = {};
    call(single, x, y);
    call(accurate, wide, result);
    for (int d = 0; d < 2; ++d)
      require(bitsOf(y[d]) == bitsOf(static_cast<float>(result[d])),
              text(name, " of ", wide[0], " and ", wide[1], " is the double result rounded"));
  }
  proof.compared(proof.replays());
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  for (int k = subnormalUlp - 2; k < highest; ++k)
    within(proof, k);
  for (int k = lowest - 1; k < highest; ++k)
    nearest(proof, k);
  for (const char* domain : {"exact", "floats"})
    proof.coversReals(domain, {0, std::ldexp(1.0, highest)});
#define QELVM_NOTE(name, text)
#define QELVM_FAMILY(name, ...)                                                                    \
  compare(proof, #name, qels##name##_32f_A11, qels##name##_64f_A53);                               \
  compare(proof, #name, qels##name##_32f_A21, qels##name##_64f_A53);                               \
  compare(proof, #name, qels##name##_32f_A24, qels##name##_64f_A53);
#include "families/families.inc"
  return proof.finish();
}
