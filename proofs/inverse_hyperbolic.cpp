// Atanh, Asinh and Acosh.
//
// 1. The series next to zero, by pieces of binades; that of Acosh, sqrt(2t) (1 + t Q(t)), t = x - 1, of
//    any root as seeded_root.hpp shows it.
// 2. What the logarithm is of, z = m 2^k + low: how far it is off (1 + a)/(1 - a), or a + sqrt(a^2 +- 1).
// 3. The logarithm, by pieces of m, of any z that is as far off as 2. says.
#include "seeded_root.hpp"

#include "hyperbolic/acosh.cpp"
#include "hyperbolic/asinh.cpp"
#include "hyperbolic/atanh.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

Real logarithm(const Real& x) {
  return Real::apply(mpfr_log, x);
}
const auto itself = [](const Real& v) { return v; };

// ---- series -------------------------------------------------------------------------------------

/// x + (s p(s)) x, s = x^2
template <class Kernel>
void series(Proof& proof, const std::string& name, Proof::Export library, const std::string& function,
            int (*of)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t), double limit) {
  const auto value0 = [=](const Real& x) { return Real::apply(of, x); };
  for (const Interval& binade : binades({0x1p-57, limit}, -60))
    for (const Interval& piece : pieces(binade, binade.low < 0x1p-7 ? 1 : 4)) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), value = call(Kernel::computeSecondRange(x), "value");
      const Term trailing = operand(value, 1);
      Recorder::get().freeze();
      proof.replay(text(name, " series ", piece), library, x, value,
                   Proof::eitherSign({piece.low, below(piece.high)}));
      const double error = polynomialError("x + " + formulaOf(trailing, x, "x"), function + "(x)",
                                           {0, limit}, true);
      Script s(text(name, " series ", piece)); // (odd, sign for sign)
      s.cut(x, "x");
      proof.over(s, name + " series", "x", piece);
      s.define("P", "x + " + s.ideal(trailing));
      s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
      s.define("S", "P*(1 + dS)");
      s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                  ") + -(P*dS)"));
      s.lastRounding(name + " normal", value, "S", leastUlp(value0, piece.low, piece.high));
      proof.add(s);
    }
  proof.coversReals(name + " series", {0x1p-57, limit});
}

/// Below 2^-8, of a root in [1,2], which is any scale: of products with powers of two nothing is rounded.
template <class Tag>
void acoshSeries(Proof& proof, const std::string& name, const std::vector<RootGroup>& groups) {
  for (const Interval& binade : binades({0x1p-52, 0x1p-4}, -8))
    for (const Interval& piece :
         cutAt(pieces(binade, binade.low < 0x1p-8 ? 1 : 8), 0x1.015c4p-5)) { // above cosh(1/4) - 1
      Recorder::get().clear();
      const Term x = Term::argument("x"), t = call(x - 1.0, "t");
      const Term value = call(InverseCosine<Tag>::computeSecondRange(x), "value");
      const auto root = seededRoot<Tag>(2.0 * t);
      const Term trailing = operand(value, 1), p = operand(operand(trailing, 0), 0);
      Recorder::get().freeze();
      proof.replay(text(name, " series ", piece), qelsAcosh_64f_A53, x, value,
                   Proof::uniform(1 + std::max(piece.low, 0x1p-52), below(1 + piece.high)));
      const double error = polynomialError("x*(1 + " + formulaOf(p, t, "(x^2/2)") + ")",
                                           "2*asinh(x/2)", {0, 0x1.6a09e667f3bcdp-2}, true);
      const bool anyScale = piece.high <= 0x1p-8;
      const RootGroup group = rootOf(groups, {anyScale ? 0 : 2 * piece.low, 2 * piece.high});
      const std::vector<Interval> all{{std::sqrt(2 * piece.low) * (1 - 0x1p-50),
                                       std::sqrt(2 * piece.high) * (1 + 0x1p-50)}};
      for (const Interval& u : anyScale ? pieces({1, 2}, 4) : all) {
        Script s(text(name, " series ", piece, anyScale ? text(" ", u) : ""));
        s.cut(t, "t", "fixed<-52,ne>");
        proof.over(s, name + " series", "t", piece);
        s.cut(root.hi, "rootHi");
        s.cut(root.lo, "rootLo");
        s.real("U", u);
        s.assume(text("|rootHi + rootLo - U| <= ", group.error * u.high, " /\\ |rootLo| <= ",
                      group.low * u.high));
        s.define("P", text("1 + ", s.ideal(p)));
        s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
        s.define("S", "U*P*(1 + dS)");
        s.hint(text("rootHi -> U + (rootHi + rootLo - U) - rootLo"));
        s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                    ") + P*(rootHi + rootLo - U) + -(U*P*dS)"));
        const auto at = [](double v) { return Real::apply(mpfr_acosh, Real(1) + Real(v)); };
        // (acosh(1 + t) > sqrt(2t) (1 - t/12): next to a power of two the ulp below.)
        s.lastRounding(name + " normal", value, "S",
                       anyScale ? leastUlp(itself, u.low * (1 - 0x1p-11), u.high)
                                : leastUlp(itself, at(piece.low), at(piece.high)));
        proof.add(s);
        if (anyScale)
          proof.covered(name + " roots", u);
      }
    }
  proof.coversReals(name + " series", {0x1p-52, 0x1p-4});
  proof.coversReals(name + " roots", {1, 2});
}

// ---- what the logarithm is of -------------------------------------------------------------------

/// A quotient of [1,4], any 1 + a by any 1 - a scaled to [1/2,1], is off by this at most.
constexpr double quotientError = 0x1p-68;

void atanhQuotient(Proof& proof) {
  const Term a = (Recorder::get().clear(), Term::argument("a"));
  const auto n = onePlus(a), d = onePlus(-a);
  const Reciprocal<Term> reciprocal(d);
  const auto q = quotient(n, reciprocal);
  const Term e = call(operand(operand(reciprocal.correction, 0), 1), "e"), rest = operand(e, 0);
  const Term inverse = 1.0 / d.hi, difference = 1.0 + -a, dSplitLo = operand(d.lo, 1);
  Recorder::get().freeze();
  // Both sums without an error; from 1/2 on 1 - a itself is exact, and dLo what its split leaves.
  for (const Interval& piece : binades({0x1p-4, 1}, -4)) {
    Script s(text("Atanh sums ", piece));
    s.cut(a, "a");
    s.multiple(a, std::ilogb(piece.low) - 52);
    proof.over(s, "Atanh sums", "a", piece);
    s.exact(n.lo);
    s.exact(d.lo);
    s.goal(text("(", n.hi, " + ", n.lo, ") - (1 + a) in [0,0] /\\ (", d.hi, " + ", d.lo, ") - (1 - a) in [0,0]"));
    s.goal(text("|", n.lo, "| <= 0x1.01p-25"));
    if (piece.low < 0.5)
      s.goal(text("|", d.lo, "| <= 0x1.01p-26"));
    else
      s.goal(text(d.lo, " - ", dSplitLo, " in [0,0]"));
    proof.add(s);
  }
  proof.coversReals("Atanh sums", {0x1p-4, 1});
  Script s("Atanh quotient");
  s.cut(n.hi, "nHi");
  s.cut(n.lo, "nLo");
  s.cut(d.hi, "dHi");
  s.cut(d.lo, "dLo");
  call(reciprocal.seed, "seed");
  s.assume("@FLT(nHi,26) /\\ @FLT(dHi,26) /\\ dHi in [0.5,1] /\\ |dLo| <= 0x1.01p-26 /\\ nHi in [1,2] /\\ "
           "|nLo| <= 0x1.01p-25");
  for (const Term& t : {operand(rest, 1), rest, q.hi})
    s.exact(t);
  s.define("N", "nHi + nLo");
  s.define("Y", "dHi + dLo");
  s.define("E", "1 - Y*seed");
  s.stands(e, "E");
  s.hint(text("1 - dHi*seed -> -(dHi*(seed - ", inverse, ")) - dHi*(", inverse, " - 1/dHi) {dHi <> 0}"));
  s.real("Q", {0.99, 4.01});
  s.assume("Q*Y - N in [0,0]"); // (rather than a quotient: atan.cpp)
  s.hint(text(q.hi, " + ", q.lo, " - Q -> (", q.lo, " - ", s.ideal(q.lo), // seed (1 + E + E^2) Y = 1 - E^3
              ") + -(Q*E*E*E) + (N - Q*Y)*seed*(1 + E + E*E)"));
  s.goal(text("|", q.hi, " + ", q.lo, " - Q| <= ", quotientError));
  proof.add(s);
}

/// What a^2 + 1 or x^2 - 1, as the kernel computes it, is off at most, relative to itself.
struct SquareError {
  Interval a;
  double error;
};

/// `sign` 1: Asinh, -1: Acosh. The square, and the sum with a root that is [1/4,2] of any scale.
template <class Kernel>
void squares(Proof& proof, const std::string& name, int sign, const std::vector<SquareError>& errors) {
  const Term x = (Recorder::get().clear(), Term::argument("x")), a = sign > 0 ? magnitude(x) : x;
  Kernel::compute(x);
  const auto part = splitHiLo(a, split26Bits);
  const Term squareHi = part.hi * part.hi, lo = (a + part.hi) * part.lo;
  const auto sum = sign > 0 ? twoSum(squareHi, 1.0) : DoubleDoubleOf<Term>{squareHi - 1.0, 0.0};
  const Term uLo = lo + sum.lo;
  const auto u = fastTwoSum(sum.hi, uLo);
  Recorder::get().freeze();
  for (const auto& [range, error] : errors) {
    Script s(text(name, " square ", range));
    s.cut(a, "a");
    s.multiple(a, std::ilogb(range.low) - 52);
    proof.over(s, name + " square", "a", range);
    s.exact(squareHi);
    if (sign < 0 && range.high <= 0x1p26)
      s.exact(sum.hi);
    s.define("T", sign > 0 ? "a*a + 1" : "a*a - 1");
    s.hint(text("(", u.hi, " + ", u.lo, ") - T -> (", uLo, " - ", s.ideal(uLo), ")"));
    s.bound("E", text("((", u.hi, " + ", u.lo, ") - T)/(", range.low*range.low, ")/0x1p-80"));
    proof.add(s);
  }
  proof.coversReals(name + " square", {sign > 0 ? 0.125 : 1.0625, 0x1p28});
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  series<InverseTangent<Atanh_64f_A53>>(proof, "Atanh_64f_A53", qelsAtanh_64f_A53, "atanh", mpfr_atanh, 0.0625);
  series<InverseSine<Asinh_64f_A53>>(proof, "Asinh_64f_A53", qelsAsinh_64f_A53, "asinh", mpfr_asinh, 0.125);
  const auto groups = seededRootGroups<Acosh_64f_A53>(proof);
  acoshSeries<Acosh_64f_A53>(proof, "Acosh_64f_A53", groups);
  atanhQuotient(proof);
  std::vector<SquareError> errors;
  for (auto& b: binades({0.125,0x1p28},-3)) errors.push_back({b,0});
  squares<InverseSine<Asinh_64f_A53>>(proof, "Asinh", 1, errors);
  errors.clear();
  for (auto& b: binades({1.0625,0x1p28},-3)) errors.push_back({b,0});
  squares<InverseCosine<Acosh_64f_A53>>(proof, "Acosh", -1, errors);

  return proof.finish();
}
