// Asin and Acos.
//
// 1. The series of a = |x| < 1/2, by pieces of binades.
// 2. The root of the half angle (seeded_root.hpp).
// 3. The half angle, by pieces of v = 1 - a, of any root as 2. has shown it.
#include "recorder.hpp"

#include "invtrig/angles.hpp"

namespace qelvm {
/// As the kernels have it, told to be a Fast2Sum: so its rest is exact.
template <class A>
Term difference(const DoubleDoubleOf<A>& a, const DoubleDoubleOf<Term>& b) {
  const auto sum = fastTwoSum(Term(a.hi), -b.hi);
  return sum.hi + ((Term(a.lo) - b.lo) + sum.lo);
}
} // namespace qelvm

#include "seeded_root.hpp"

#include "invtrig/acos.cpp"
#include "invtrig/asin.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

/// What an angle leaves of pi / divisor.
Interval restOf(const DoubleDouble& angle, double divisor) {
  return enclosure(proof::pi() / Real(divisor) - Real(angle.hi) - Real(angle.lo));
}

Real arcsine(const Real& x) {
  return Real::apply(mpfr_asin, x);
}
Real arccosine(const Real& x) {
  return Real::apply(mpfr_acos, x);
}

/// `sign` 0: Asin; else Acos of x with this sign.
template <class Kernel>
void series(Proof& proof, const std::string& name, Proof::Export library, int sign) {
  const std::string what = text(name, sign == 0 ? "" : sign > 0 ? " +" : " -", " series");
  // (The ulps of Acos are those of pi/2 there.)
  for (const Interval& binade : binades({0x1p-53, 0.5}, sign == 0 ? -53 : -7))
    for (const Interval& piece : pieces(binade, binade.low < 0x1p-6 ? 1 : 4)) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), a = magnitude(x);
      if (sign != 0)
        suppose(isNegative(x), sign < 0);
      const Term result = Kernel::compute(x),
                 value = call(sign == 0 ? operand(result, 0) : result, "value");
      const auto series = arcsineSeries(a);
      const auto part = splitShort(a);
      const Term squareHi = part.hi * part.hi, trailing = operand(value, 1);
      const auto s2 = splitShort(squareHi);
      const Term product3 = part.hi * s2.hi;
      const auto s3 = splitShort(product3);
      const Term product5 = s3.hi * s2.hi;
      const Term sum5 = series.hi, sum3 = operand(sum5, 0), fifth = operand(sum5, 1),
                 third = operand(sum3, 1);
      // The constants of the series, from the record.
      const Term last = operand(series.lo, 0);
      const Term lo3 = operand(operand(last, 1), 1); // ... + sum3.lo
      const Term lo2 = operand(lo3, 0),
                 lo1 = operand(operand(lo2, 1), 1); // (cube c3.lo + fifth c5.lo) + tail
      const Term cubeLow = operand(operand(lo1, 0), 0), fifthLow = operand(operand(lo1, 0), 1),
                 tail = operand(lo1, 1);
      const Term q = operand(tail, 0);
      const Term square = operand(operand(tail, 1), 0);
      Recorder::get().freeze();
      proof.replay(text(what, " ", piece), library, x, result,
                   Proof::eitherSign({above(piece.low), below(piece.high)}));
      const std::string c3 = text("(", operand(third, 1), " + ", operand(cubeLow, 1), ")"),
                        c5 = text("(", operand(fifth, 1), " + ", operand(fifthLow, 1), ")");
      const auto polynomial = [&](const std::string& v, const std::string& rest) {
        const std::string cube = text(v, "*", v, "*", v, "*");
        return text(v, " + ", cube, c3, " + ", cube, v, "*", v, "*", c5, " + ", cube, v, "*", cube,
                    rest);
      };
      const double error = polynomialError(polynomial("x", formulaOf(q, square, "(x^2)")),
                                           "asin(x)", {0, 0.5}, true);
      Script s(text(what, " ", piece));
      s.cut(a, "a");
      s.multiple(a, std::ilogb(piece.low) - 52);
      proof.over(s, what, "a", piece);
      for (const Term& t : {squareHi, product3, product5, third, fifth})
        s.exact(t);
      s.define("P", polynomial("a", s.ideal(q)));
      s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
      if (sign == 0)
        s.define("S", "P*(1 + dS)");
      else {
        s.truth(Term(halfPi.lo), "HALFPI", restOf(halfPi, 2));
        s.define("S", text(halfPi.hi, " + HALFPI ", sign > 0 ? "-" : "+", " P*(1 + dS)"));
      }
      s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                  sign > 0 ? ") + P*dS" : ") + -(P*dS)"));
      const double ends[] = {sign < 0 ? -piece.low : piece.low,
                             sign < 0 ? -piece.high : piece.high};
      s.lastRounding(name + " normal", value, "S",
                     sign == 0 ? leastUlp(arcsine, ends[0], ends[1])
                               : leastUlp(arccosine, ends[0], ends[1]));
      proof.add(s);
    }
  proof.coversReals(what, {0x1p-53, 0.5});
}

/// 3. Of v = 1 - a, any root within what 2. shows. Below 2^-8 the result of a positive x is
/// proportional to the root: of products with powers of two nothing is rounded, and one in [1,2] is
/// any scale.
template <template <class> class Kernel, class Tag>
void halfAngle(Proof& proof, const std::string& name, Proof::Export library, int sign,
               const std::vector<RootGroup>& groups) {
  const std::string what = text(name, sign == 0 ? "" : sign > 0 ? " +" : " -", " half angle");
  const auto count = [](double low) { return low < 0x1p-8 ? 1 : low < 0x1p-4 ? 2 : 8; };
  for (const Interval& binade : binades({0x1p-53, 0.5}, -8))
    for (const Interval& piece : pieces(binade, count(binade.low))) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), a = magnitude(x), v = call(1.0 - a, "v");
      if (sign != 0) {
        suppose(isNegative(x), sign < 0);
        suppose(isNegative(-x), sign > 0);
      }
      const Term result = Kernel<Tag>::computeSecondRange(x);
      const Term value = call(sign == 0 ? operand(result, 0) : result, "value");
      const auto t = twiceArcsineOfRoot<Tag>(a);
      Recorder::get().freeze();
      proof.replay(text(what, " ", piece), library, x, result,
                   Proof::eitherSign({1 - piece.high, below(1 - piece.low)}));
      // The parts, found in the record.
      const Term uHi = operand(t.hi, 0), outer = operand(operand(t.hi, 1), 0);
      const Term inner = operand(outer, 1), first = operand(inner, 0), second = operand(inner, 1);
      const Term factorProduct = operand(operand(t.lo, 0), 0), rest = operand(operand(t.lo, 1), 0);
      const Term factor = call(operand(factorProduct, 0), "factor"), tail = operand(rest, 1);
      const Term rootHi = operand(uHi, 0), rootLo = operand(operand(factorProduct, 1), 0);
      const Term series = operand(operand(operand(tail, 0), 0), 0);
      const Term k0Lo = operand(operand(rest, 0), 1);
      const Term lows = operand(operand(operand(rest, 0), 0), 1);
      const Term rounded = operand(operand(operand(factor, 1), 1), 0); // k1 + k2 v, as doubles
      const std::string k0 = text("(", operand(outer, 0), " + ", k0Lo, ")"),
                        k1 = text("(", operand(first, 1), " + ", operand(lows, 0), ")"),
                        k2 =
                            text("(", operand(second, 1), " + ", operand(operand(lows, 1), 0), ")");
      const auto polynomial = [&](const std::string& y, const std::string& last) {
        return text(k0, " + ", y, "*", k1, " + ", y, "*", y, "*", k2, " + ", y, "*", y, "*", y, "*",
                    last);
      };
      const double error =
          polynomialError("x*(" + polynomial("(2*x^2)", formulaOf(series, v, "(2*x^2)")) + ")",
                          "2*asin(x)", {0, 0.5}, true);
      const auto at = [&](double y) {
        const Real z = Real(1) - Real(y);
        return sign == 0 ? arcsine(z) : arccosine(sign > 0 ? z : Real(0) - z);
      };
      const bool anyScale = sign > 0 && piece.high <= 0x1p-8;
      const RootGroup root = rootOf(groups, {anyScale ? 0 : piece.low / 2, piece.high / 2});
      const std::vector<Interval> all{
          {std::sqrt(piece.low / 2) * (1 - 0x1p-50), std::sqrt(piece.high / 2) * (1 + 0x1p-50)}};
      for (const Interval& u : anyScale ? pieces({1, 2}, 4) : all) {
        Script s(text(what, " ", piece, anyScale ? text(" ", u) : ""));
        s.cut(v, "v", "fixed<-53,ne>");
        s.multiple(v, -53);
        proof.over(s, what, "v", piece);
        s.cut(rootHi, "rootHi");
        s.cut(rootLo, "rootLo");
        s.real("U", u);
        s.assume(text("rootHi in ", Interval{u.low * (1 - 0x1p-8), u.high * (1 + 0x1p-8)}));
        s.assume(text("|rootHi + rootLo - U| <= ", root.error * u.high,
                      " /\\ |rootLo| <= ", root.low * u.high));
        s.hint("rootHi -> U + (rootHi + rootLo - U) - rootLo");
        for (const Term& e : {t.hi, first, second, operand(operand(second, 0), 0)})
          s.exact(e);
        s.define("F", polynomial("v", s.ideal(series)));
        s.stands(factor, "F");
        s.hint(text("factor - F -> (factor - Mfactor) + -", k0Lo, " + ((", operand(rounded, 0),
                    " - ", k1, ") + (", operand(operand(rounded, 1), 0), " - ", k2, ")*v)*v"));
        s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
        const DoubleDouble& angle = sign == 0 ? halfPi : qelvm::pi;
        if (sign > 0)
          s.define("S", "U*F*(1 + dS)");
        else {
          s.truth(Term(angle.lo), "ANGLE", restOf(angle, sign == 0 ? 2 : 1));
          s.define("S", text(angle.hi, " + ANGLE - U*F*(1 + dS)"));
        }
        const Term trailing = operand(value, 1);
        s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing), ") ",
                    sign > 0 ? "+ F*(rootHi + rootLo - U) + -(U*F*dS)"
                             : "+ -(F*(rootHi + rootLo - U)) + U*F*dS"));
        const double ulp =
            anyScale ? std::ldexp(1.0, std::ilogb(2 * u.low) - 52) // 2 asin(u) > 2 u
                     : leastUlp([](const Real& y) { return y; }, at(piece.low), at(piece.high));
        s.lastRounding(name + " normal", value, "S", ulp);
        proof.add(s);
        if (anyScale)
          proof.covered(what + " roots", u);
      }
    }
  if (sign > 0)
    proof.coversReals(what + " roots", {1, 2});
  proof.coversReals(what, {0x1p-53, 0.5});
}

/// v = 1 - a is exact, a multiple of 2^-53. (0 is that of |x| = 1, see atOne.)
void exactV(Proof& proof, const std::string& name) {
  Recorder::get().clear();
  const Term a = Term::argument("a"), v = call(1.0 - a, "v");
  Script s(text(name, " v"));
  s.cut(a, "a");
  proof.over(s, text(name, " a"), "a", {0.5, 1});
  s.exact(v);
  s.goal("@FIX(v,-53)");
  proof.add(s);
  proof.coversReals(text(name, " a"), {0.5, 1});
}

/// |x| <= 2^-53, where Acos is the sum of three numbers (and Asin x itself, off by x^3/4 at most).
/// The kernel has it for doubles alone, so that it stands here again.
void tinyAcos(Proof& proof, const std::string& name, Proof::Export library) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), rest = halfPi.lo - x, value = call(halfPi.hi + rest, "value");
  Recorder::get().freeze();
  for (const double most : {0x1p-53, 0x1p-54, 0x1p-200})
    proof.replay(name + " tiny", library, x, value, Proof::uniform(-most, most));
  Script s(name + " tiny");
  s.cut(x, "x");
  proof.over(s, name + " tiny", "x", Interval::within(0x1p-53));
  s.truth(Term(halfPi.lo), "ANGLE", restOf(halfPi, 2));
  s.real("dS", {0, 0x1p-106}); // asin x = x (1 + y), y from 0 to x^2
  s.define("S", text(halfPi.hi, " + ANGLE - x*(1 + dS)"));
  s.hint(text(s.operationOf(value), " - S -> (", rest, " - ", s.ideal(rest), ") + x*dS"));
  s.lastRounding(name + " normal", value, "S", 0x1p-52);
  proof.add(s);
  proof.coversReals(name + " tiny", Interval::within(0x1p-53));
}

/// The result is the double next to an angle.
void atOne(double x, Proof::Export library, double angle) {
  double result = 0;
  library(&x, &result, 1);
  require(mpfr_cmpabs((proof::pi() * Real(angle) - Real(result)).get(),
                      twoTo(std::ilogb(result) - 53).get()) < 0,
          "the result of one is the double next to it");
}

template <template <class> class Kernel, class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library,
           const std::vector<int>& signs) {
  const auto groups = seededRootGroups<Tag>(proof);
  for (const int sign : signs) {
    series<Kernel<Tag>>(proof, name, library, sign);
    halfAngle<Kernel, Tag>(proof, name, library, sign, groups);
  }
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  exactV(proof, "Asin_64f and Acos_64f");
  prove<Arcsine, Asin_64f_A50>(proof, "Asin_64f_A50", qelsAsin_64f_A50, {0});
  prove<Arcsine, Asin_64f_A53>(proof, "Asin_64f_A53", qelsAsin_64f_A53, {0});
  prove<Arccosine, Acos_64f_A50>(proof, "Acos_64f_A50", qelsAcos_64f_A50, {1, -1});
  prove<Arccosine, Acos_64f_A53>(proof, "Acos_64f_A53", qelsAcos_64f_A53, {1, -1});
  tinyAcos(proof, "Acos_64f_A50", qelsAcos_64f_A50);
  tinyAcos(proof, "Acos_64f_A53", qelsAcos_64f_A53);
  for (const auto library : {qelsAsin_64f_A50, qelsAsin_64f_A53})
    atOne(1, library, 0.5);
  for (const auto library : {qelsAcos_64f_A50, qelsAcos_64f_A53})
    atOne(-1, library, 1);
  return proof.finish();
}
