// Div, Inv and Sqrt: every result is the correctly rounded one.
//
// Div and Inv are one operation of the record, rounded once. For Sqrt, x = y 2^(2 half), 1 <= y <
// 4:
//
// 1. The iteration, for any seed near 1/sqrt(y): of the root Z, g and h leave 2 h Z - 1 and
//    g - 2 h y, which each step bounds by those of the last.
// 2. The corrected sum before its last rounding is within `rootError` of Z.
// 3. Where no middle between two doubles is that near to Z, the result is Z rounded. The middles
//    that are: (Z - M) (Z + M) = y - M^2 is a multiple of 2^-106, for one of few multiples D each M
//    solves M^2 = -D modulo a power of two. The kernel itself rounds these y.
#include "proof.hpp"

#include "algebraic/div.cpp"
#include "algebraic/inv.cpp"
#include "algebraic/sqrt.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

using Wide = unsigned __int128;

// What each step of the iteration has shown before the next: of 2 h Z - 1 and g - 2 h y.
constexpr double excess[] = {0x1.4p-9, 0x1.3p-17, 0x1.1p-33, 0x1.4p-50};
constexpr double skew[] = {0x1p-52, 0x1.ap-51, 0x1.6p-50, 0x1p-49};
constexpr double rootError = 0x1p-95;

/// Rounded to nearest, a number is off by half an ulp: in any binade as in [1,2].
void rounding(Proof& proof, const std::string& name, bool subnormal) {
  for (const bool normal : {true, false}) {
    if (!normal && !subnormal)
      continue;
    const std::string results = normal ? " normal" : " subnormal";
    Script s(name + results);
    s.real("Q", normal ? Interval{1, 2} : Interval{0, 0x1p-1022});
    s.bound(name + results, text("(rnd(Q) - Q)/", normal ? 0x1p-52 : 0x1p-1074));
    proof.add(s);
  }
}

/// A finite double, not zero, whose exponent and fraction are any.
double anyDouble(std::mt19937_64& random) {
  const Word fraction = random() & fractionMask<double>;
  return std::bit_cast<double>((random() % 2 << 63) | (random() % 2047 << 52) | fraction | 1);
}

template <class Tag>
void division(Proof& proof, const std::string& name,
              QelStatus(QELVM_CALL* library)(const double*, const double*, double*, std::int32_t)) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), y = Term::argument("y");
  const Term quotient = DivDouble<Tag>::compute(x, y);
  require(nodeOf(quotient.id).label == "/" && operand(quotient, 0).id == x.id &&
              operand(quotient, 1).id == y.id,
          "Div is one division");
  proof.replay(
      name, std::array{x, y}, quotient,
      [](std::mt19937_64& random) {
        return std::array{anyDouble(random), anyDouble(random)};
      },
      [&](const std::array<double, 2>& a, double* to) { library(&a[0], &a[1], to, 1); });
  rounding(proof, name, true);
}

template <class Tag>
void reciprocal(Proof& proof, const std::string& name, Proof::Export library) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), quotient = Reciprocal<Tag>::compute(x);
  require(nodeOf(quotient.id).label == "/" && isKnownAs(operand(quotient, 0), 1) &&
              operand(quotient, 1).id == x.id,
          "Inv is one division");
  proof.replay(name, library, x, quotient, anyDouble);
  rounding(proof, name, true);
}

/// The y in [2^odd, 2^(odd+1)) whose root may be within rootError of a middle M 2^-53, M odd.
/// With y = Y 2^(odd-52) and D = Y 2^(odd+54) - M^2: |D| = |Z - M 2^-53| (Z + M 2^-53) 2^106.
std::vector<double> nextToMiddles(int odd) {
  const int digits = odd + 54;
  const auto limit = static_cast<std::int64_t>(rootError * 5 * 0x1p106);
  std::vector<double> result;
  for (std::int64_t d = -limit; d <= limit; ++d) {
    const auto square = static_cast<Word>(-d); // of M, modulo 2^digits
    if (square % 8 != 1)
      continue; // no square of an odd number
    Word root = 1;
    for (int n = 3; n < digits; ++n)
      if (((root * root - square) >> n & 1) != 0)
        root += Word{1} << (n - 1);
    const Word modulus = Word{1} << digits, half = modulus / 2;
    for (const Word any : {root, root + half, 0 - root, half - root}) {
      const Word middle = any % modulus;
      require(((middle * middle - square) & (modulus - 1)) == 0, "a root modulo 2^digits");
      const auto y = static_cast<double>(static_cast<std::int64_t>(
          (static_cast<Wide>(middle) * middle + static_cast<Wide>(d)) >> digits));
      if (middle >> 53 == 1 && y >= 0x1p52 && y < 0x1p53)
        result.push_back(std::ldexp(y, odd - 52));
    }
  }
  return result;
}

/// Of the leading part y = 2^odd m of a normal x.
template <class Tag>
void root(Proof& proof, const std::string& name, Proof::Export library, int odd) {
  Recorder::get().clear();
  const Term x = Term::argument("x");
  suppose((exponentField(x) - 1023) & 1, odd);
  const Term result = squareRoot<Tag>(x, 0), value = call(unscaled(result), "value");
  Recorder::get().freeze();
  call(withExponent(odd + 1023, x), "y");
  proof.replay(text(name, " ", odd), library, x, result, [&](std::mt19937_64& random) {
    const int half = static_cast<int>(random() % 1022) - 511;
    return std::ldexp(Proof::uniform(1, 2)(random), 2 * half + odd);
  });
  const Term correction = operand(value, 1);
  std::vector<Term> gs{operand(value, 0)}, hs{operand(correction, 1)}; // of all steps
  for (int i = 0; i < 3; ++i) {
    gs.insert(gs.begin(), operand(operand(gs[0], 1), 1));
    hs.insert(hs.begin(), operand(hs[0], 0));
  }
  const auto twice = [&](std::size_t i) { return text("(2*", hs[i], "*Z - 1)"); };
  const auto less = [&](std::size_t i) { return text("(", gs[i], " - 2*", hs[i], "*y)"); };
  const auto bounds = [&](std::size_t i) {
    const double slack = 0x1p-8 * static_cast<double>(i);
    return text("|", twice(i), "| <= ", excess[i], " /\\ |", less(i), "| <= ", skew[i], " /\\ ",
                hs[i], " in ", Interval{0.25 - slack, 0.5 + slack});
  };
  for (std::size_t i = 0; i < 4; ++i) {
    call(gs[i], text("g", static_cast<int>(i)));
    call(hs[i], text("h", static_cast<int>(i)));
  }
  for (const auto& [k, m] :
       preimages([](double v) { return (highWord(v) >> 12) & 255; }, {1, below(2)})) {
    const double seed = sqrtSeeds<Tag>.entry[(odd << 8) | k];
    for (const double end : {m.low, m.high}) {
      const Real z = Real::apply(mpfr_sqrt, Real(std::ldexp(end, odd)));
      require(std::fabs((Real(seed) * z - Real(1)).toDouble()) < excess[0] && seed >= 0.5 &&
                  seed <= 1,
              "a seed is near to its reciprocal root");
    }
  }
  const Interval roots{odd == 0 ? 1 : below(std::sqrt(2.0)), odd == 0 ? above(std::sqrt(2.0)) : 2};
  for (std::size_t i = 0; i <= 4; ++i) {
    const std::string domain = text(name, " ", odd, " ", static_cast<int>(i));
    Script s(domain);
    s.define("y", "Z*Z");
    s.assume(text("@FIX(y,", odd - 52, ")"));
    proof.over(s, domain, "Z", roots);
    proof.coversReals(domain, roots);
    if (i == 0) {
      s.cut(operand(gs[0], 0), "seed");
      s.assume(text("|seed*Z - 1| <= ", excess[0], " /\\ seed in [0.5,1]"));
      s.exact(hs[0]);
      s.hint(twice(0) + " -> seed*Z - 1");
      s.hint(text(less(0), " -> g0 - seed*y"));
      s.goal(bounds(0));
      proof.add(s);
      continue;
    }
    const Term &g = gs[i - 1], &h = hs[i - 1];
    const std::string b = twice(i - 1), k = less(i - 1);
    s.cut(g, text(g));
    s.cut(h, text(h));
    s.assume(bounds(i - 1));
    s.hint(text(g, " -> ", k, " + Z*", b, " + Z"));
    if (i < 4) {
      const Term r = operand(operand(hs[i], 1), 0), product = operand(r, 1);
      const std::string off = text("(", product, " - ", g, "*", h, ")");
      const std::string hOff = text("(", hs[i], " - (", h, " + ", r, "*", h, "))"),
                        gOff = text("(", gs[i], " - (", g, " + ", r, "*", g, "))");
      s.exact(r);
      s.hint(text(r, " -> -", b, " - 0.5*", b, "*", b, " - ", h, "*", k, " - ", off));
      s.hint(text(twice(i), " -> -0.5*", b, "*", b, " - ", h, "*", k, " - ", off, " + ", b, "*", r,
                  " + 2*Z*", hOff));
      s.hint(text(less(i), " -> ", k, "*(1 + ", r, ") + ", gOff, " - 2*y*", hOff));
      s.goal(bounds(i));
    } else {
      const Term residual = call(operand(correction, 0), "residual");
      s.multiple(g, -53);
      const Term inner = operand(residual, 0), first = operand(inner, 0), cross = operand(inner, 1);
      for (const Term& t : {operand(first, 1), first, operand(cross, 0), cross, inner})
        s.exact(t);
      const std::string off = text("(", g, " - Z)");
      s.hint(text(off, " -> ", k, " + Z*", b));
      s.hint(text(s.ideal(residual), " -> -(", off, "*(2*Z + ", off, "))"));
      s.hint(text(s.operationOf(value), " - Z -> (", correction, " - ", s.ideal(correction), ") - ",
                  off, "*", b, " - ", off, "*", off, "*", h));
      s.goal(text("|", s.operationOf(value), " - Z| <= ", rootError));
    }
    proof.add(s);
  }
  const std::vector<double> near = nextToMiddles(odd);
  require(near.size() > 100, "some roots are next to middles");
  for (const double y : near)
    require(squareRoot<Tag>(y, 0) == Real::apply(mpfr_sqrt, Real(y)).toDouble(),
            "the root of " + hex(y) + " is correctly rounded");
  if (odd == 0)
    rounding(proof, name, false);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  division<Div_64f_A50>(proof, "Div_64f_A50", qelsDiv_64f_A50);
  division<Div_64f_A53>(proof, "Div_64f_A53", qelsDiv_64f_A53);
  reciprocal<Inv_64f_A50>(proof, "Inv_64f_A50", qelsInv_64f_A50);
  reciprocal<Inv_64f_A53>(proof, "Inv_64f_A53", qelsInv_64f_A53);
  for (const int odd : {0, 1}) {
    root<Sqrt_64f_A50>(proof, "Sqrt_64f_A50", qelsSqrt_64f_A50, odd);
    root<Sqrt_64f_A53>(proof, "Sqrt_64f_A53", qelsSqrt_64f_A53, odd);
  }
  return proof.finish();
}
