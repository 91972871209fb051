// Atan of a = |x|, whose sign the kernel copies: atan b + atan Q, Q = (a - b)/(1 + a b) for every
// row and pieces of its a; the series of row 0, b = 0, by binades; and what is left at both ends.
#include "proof.hpp"

#include "invtrig/atan.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

Real arctangent(const Real& x) {
  return Real::apply(mpfr_atan, x);
}

Interval quotientEnclosure(double a, double b) {
  return enclosure((Real(a) - Real(b)) / (Real(1) + Real(a) * Real(b)));
}

/// Row j, for the a that have it.
template <class Tag>
void row(Proof& proof, const std::string& name, Proof::Export library, int j, Interval range) {
  const double center = arctanCentre(range.low, j);
  Recorder::get().clear();
  const Term x = Term::argument("x"), a = magnitude(x);
  const auto index = arctanRow(a);
  suppose(index, j);
  const Term unknown = arctanCentre(a, index);
  suppose(Whole<std::uint64_t>::ofNode(nodeOf(unknown.id).args[0]), bitsOf(center));
  const Term result = ArcTangent<Tag>::compute(x), value = call(operand(result, 0), "value");
  const Term b(center), d = call(a - b, "d"), trailing = operand(value, 1);
  const auto aHi = splitHiLo(a, split26Bits);
  const Term productHi = aHi.hi * b, productLo = aHi.lo * b, s0 = call(productHi + productLo, "s");
  const Term difference = productHi - s0, sLow = difference + productLo;
  const Term qHi = call(operand(operand(value, 0), 1), "q"), main = call(operand(qHi, 0), "main");
  const Term rest = operand(qHi, 1), seed = operand(rest, 0);
  const Term correction = operand(operand(main, 1), 1),
             e = call(operand(operand(correction, 0), 1), "e");
  const Term denominator = operand(operand(operand(e, 0), 1), 0), inverse = 1.0 / denominator;
  const Term exactOnes[] = {
      d, productHi, productLo, difference, sLow, rest, operand(operand(e, 0), 1), operand(e, 0)};
  const auto sum = fastTwoSum(main, rest);
  const Term tail = arctanTail(qHi * qHi) * qHi;
  call(seed, "seed");
  Recorder::get().freeze();
  proof.replay(text(name, " row ", j), library, x, result, Proof::eitherSign(range));

  const PairRow& entry = arctanTable<Tag>[j];
  const std::string poly = "x + x*" + formulaOf(operand(tail, 0), qHi, "x");
  const double error = polynomialError(poly, "atan(x)", Interval::within(0x1p-3));
  for (const Interval& piece : pieces(range, j < 6 ? 16 : j < 12 ? 4 : 1)) {
    Script s(text(name, " row ", j, " ", piece));
    s.cut(a, "a");
    s.multiple(a, std::ilogb(piece.low) - 52);
    proof.over(s, name, "a", piece);
    for (const Term& t : exactOnes)
      s.exact(t);
    s.stands(s0, "s");
    s.unordered(sum.lo);
    s.truth(Term(entry.lo), "ROW", enclosure(arctangent(center) - Real(entry.hi) - Real(entry.lo)));
    s.define("Y", text("1 + a*", b));
    // (Q*Y = d rather than a quotient, whose divisor Gappa would assume not to be zero.)
    const Interval q{quotientEnclosure(piece.low, center).low,
                     quotientEnclosure(piece.high, center).high};
    s.real("Q", q);
    s.assume("Q*Y - d in [0,0]");
    // atan Q = atan q + G (Q - q), G the derivative between them
    const double most = q.magnitude() + 0x1p-50,
                 least = std::max(0.0, std::min(std::fabs(q.low), std::fabs(q.high)) - 0x1p-50);
    s.goal("|q - Q| <= 0x1p-50 /\\ |q| <= 0x1p-3");
    s.real("G", {below(below(1 / (1 + most * most))),
                 q.low * q.high > 0 ? above(above(1 / (1 + least * least))) : 1.0});
    s.stands(qHi, "q");
    s.real("dT", Interval::within(error));
    s.define("S", text(entry.hi, " + ROW + q + ", s.ideal(tail), " + dT + G*(Q - q)"));
    s.hint(text(difference, " -> -", productLo, " + -(s - (", productHi, " + ", productLo, "))"));
    s.hint(text(sLow, " -> -(s - (", productHi, " + ", productLo, "))"));
    s.hint(text("1 - ", denominator, "*seed -> -(", denominator, "*(seed - ", inverse, ")) - ",
                denominator, "*(", inverse, " - 1/", denominator, ") {", denominator, " <> 0}"));
    s.hint(text("main + ", rest, " - Q -> (main - Mmain) + (Mmain + ", rest, " - Q)"));
    s.hint(text("Mmain + ", rest, " - Q -> -(Q*Me*Me*Me) + -((Q*Y - d)*seed*(1 + Me + Me*Me))"));
    s.hint(text("q - Q -> (q - (main + ", rest, ")) + (main + ", rest, " - Q)"));
    s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                ") + (main + ", rest, " - q)*(1 - G) + (main + ", rest, " - Q)*G + -dT"));
    s.lastRounding(name + " normal", value, "S", leastUlp(arctangent, piece.low, piece.high));
    proof.add(s);
  }
}

/// Row 0: b is zero, q is a in two parts, and the tail is that of the polynomial at a.
template <class Tag>
void series(Proof& proof, const std::string& name, Proof::Export library) {
  const Interval whole{ArcTangent<Tag>::tiny, 0x1p-3};
  for (const Interval& binade : binades(whole, -60))
    for (const Interval& piece : pieces(binade, binade.low < 0x1p-6 ? 1 : 4)) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), a = magnitude(x);
      const auto index = arctanRow(a);
      suppose(index, 0);
      const Term unknown = arctanCentre(a, index);
      suppose(Whole<std::uint64_t>::ofNode(nodeOf(unknown.id).args[0]), std::uint64_t{0});
      const Term result = ArcTangent<Tag>::compute(x), value = call(operand(result, 0), "value");
      const Term q = call(operand(value, 0), "q"), trailing = operand(value, 1);
      const Term tail = arctanTail(q * q) * q;
      Recorder::get().freeze();
      proof.replay(text(name, " series ", piece), library, x, result,
                   Proof::eitherSign({piece.low, below(piece.high)}));
      const double error = polynomialError("x + x*" + formulaOf(operand(tail, 0), q, "x"),
                                           "atan(x)", {0, whole.high}, true);
      Script s(text(name, " series ", piece));
      s.cut(a, "a");
      s.multiple(a, std::ilogb(piece.low) - 52);
      proof.over(s, name + " series", "a", piece);
      s.exact(q);
      s.stands(q, "a");
      s.hint(text(s.operationOf(q), " -> a"));
      s.define("P", "a + " + s.ideal(tail));
      s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
      s.define("S", "P*(1 + dS)");
      s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                  ") + (q - a) + -(P*dS)"));
      s.lastRounding(name + " normal", value, "S", leastUlp(arctangent, piece.low, piece.high));
      proof.add(s);
    }
  proof.coversReals(name + " series", whole);
}

/// From 2^54 on the result is pi/2, the double next to it; below 2^-53 it is a, off by a^3/3.
void ends(Proof::Export library) {
  const Real rest = twoTo(-54); // pi/2 - atan a is below 1/a
  for (const double x : {0x1p54, std::numeric_limits<double>::max()}) {
    double angle = 0;
    library(&x, &angle, 1);
    const Real off = proof::pi() / Real(2) - Real(angle);
    require(mpfr_cmpabs(off.get(), twoTo(-53).get()) < 0 &&
                mpfr_cmpabs((off - rest).get(), twoTo(-53).get()) < 0,
            "pi/2 is off by half an ulp at most");
  }
}

template <class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library) {
  const Interval whole{0x1p-3, below(ArcTangent<Tag>::large)};
  for (const auto& [j, range] : preimages([](double v) { return arctanRow(v); }, whole))
    row<Tag>(proof, name, library, j, range);
  proof.coversDoubles(name, whole);
  series<Tag>(proof, name, library);
  ends(library);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  prove<Atan_64f_A50>(proof, "Atan_64f_A50", qelsAtan_64f_A50);
  prove<Atan_64f_A53>(proof, "Atan_64f_A53", qelsAtan_64f_A53);
  return proof.finish();
}
