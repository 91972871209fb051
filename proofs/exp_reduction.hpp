// What the proofs of the families share that reduce by ln2/64: x = N ln2/64 + R, its scripts, and
// what these show for the parts after them.
#pragma once

#include "proof.hpp"

#include "stages/exp_reduction.hpp"

namespace qelvm::proof {
namespace { // as the kernels' stages

constexpr double largestN = 68800, largestR = 0x1.62e48p-8;

struct Reduction {
  Term x;
  ExpReduced<Term> reduced = reduceExp(x);
  Term l = call(reduced.leading, "l"), trailing = call(reduced.trailing, "trailing");
  Term r = call(reduced.r(), "r"); // so that R is Mr
  Term stepHi = operand(operand(l, 1), 1), stepLo = operand(trailing, 1);
  Term n = call(operand(trailing, 0), "N");

  explicit Reduction(const Term& argument = Term::argument("x")) : x(argument) {}

  void constants(Script& s) const {
    s.truth(stepLo, "L", enclosure(ln2() / Real(64) - Real(stepHi.value()) - Real(stepLo.value())));
  }
  /// N and l are any that give an R in `piece`, of the domain `domain`.
  void over(Proof& proof, Script& s, const std::string& domain, Interval piece) const {
    constants(s);
    s.cut(n, "N", "fixed<0,ne>");
    s.cut(l, "l");
    s.assume(text("|N| <= ", largestN));
    proof.over(s, domain, "Mr", piece);
    s.hint("l -> Mr + Mtrailing");
  }
};

/// Of arguments in a range of one sign, binade by binade: l is exact and R small.
void reduction(Proof& proof, Interval range) {
  for (const Interval& binade : binades(range, -53)) {
    Recorder::get().clear();
    const Reduction red;
    const Term product = operand(operand(red.n, 0), 0), inverse = operand(product, 1);
    Script s(text("reduction ", binade));
    red.constants(s);
    s.cut(red.x, "x");
    s.stands(red.n, "N");
    s.exact(operand(red.l, 1));
    s.exact(red.l);
    proof.over(s, "arguments", "x", binade);
    s.goal("@FIX(N,0)");
    s.goal(text("|N| <= ", largestN));
    s.goal(text("|Mr| <= ", largestR));
    s.hint(text("MN -> x*", inverse));
    s.hint(text("Mr -> (x*", inverse, " - N)*(", red.stepHi, " + L) + x*(1 - ", inverse, "*(",
                red.stepHi, " + L))"));
    s.hint(text("l -> (x*", inverse, " - N)*", red.stepHi, " + x*(1 - ", inverse, "*", red.stepHi,
                ")"));
    proof.add(s);
  }
}

/// 2^(j/64)
Real power(int j) {
  return Real::apply(mpfr_exp2, Real(j) / Real(64));
}

} // namespace
} // namespace qelvm::proof
