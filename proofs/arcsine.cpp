// Asin and Acos.
//
// 1. The series of a = |x| < 1/2, by pieces of binades.
// 2. The root of the half angle, for every row of its table: w in [1,4) stands for any scale.
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

#include "proof.hpp"

#include "invtrig/acos.cpp"
#include "invtrig/asin.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

// What 2. shows for 3.
constexpr double rootError = 0x1.ap-61, rootLow = 0x1.58p-10; // of the root

template <template <class> class Kernel, class Tag>
void rootRow(Proof& proof, const std::string& name, Proof::Export library, int odd, int j,
             Interval y) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), v = 1.0 - magnitude(x), u = v * 0.5;
  const auto exponent = exponentField(u) - 1023;
  suppose(exponent & 1, odd);
  suppose(lowWord(withExponent(1023, u) + 0x1.00000000001p44) & 0x1FF, j);
  const Term w = withExponent(odd + 1023, u);
  const Term result = Kernel<Tag>::computeSecondRange(x);
  const auto root = seededRoot<Tag>(u);
  const Term hi = call(operand(root.hi, 0), "hi"), lo = call(operand(root.lo, 0), "lo");
  const double seed = rootSeeds<Tag>.entry[(odd << 8) + j];
  const Term gp = operand(operand(lo, 1), 1),
             p = nodeOf(gp.id).label == "*" && seed != 1 ? operand(gp, 1) : gp;
  const auto part = splitHiLo(w, split31Bits);
  const Term dHi = operand(p, 0), square = Term(seed) * seed;
  const Term exactOnes[] = {hi, part.hi * square, part.hi * square - 1.0};
  Recorder::get().freeze();
  const Interval range{y.low * (1 << odd), y.high * (1 << odd)};
  proof.replay(text(name, " root ", odd, " ", j), library, x, result, [&](std::mt19937_64& random) {
    const int half = -2 - static_cast<int>(random() % 16);
    const double sign = random() % 2 == 0 ? 1 : -1; // v = 2 w 2^(2 half)
    return sign * (1 - std::ldexp(Proof::uniform(range.low, range.high)(random), 2 * half + 1));
  });
  Script s(text(name, " root ", odd, " ", j));
  s.cut(w, "w");
  s.multiple(w, -52);
  proof.over(s, text(name, " root ", odd), "w", range);
  for (const Term& t : exactOnes)
    s.exact(t);
  const auto offset = [&](double v0) { return v0 * seed * seed - 1; };
  const Interval d{offset(range.low) - 0x1p-40, offset(range.high) + 0x1p-40};
  const double error = polynomialError(p, dHi, "(1+x)^(-1/2)-1", d);
  s.define("D", text("w*", square, " - 1"));
  s.stands(dHi, "D");
  s.goal(text("D in ", d));
  const Term dLo = operand(dHi, 1);
  s.hint(text(dHi, " - D -> (", dHi, " - (", s.operationOf(dHi), ")) + (", dLo, " - ", s.ideal(dLo),
              ")"));
  s.real("dR", Interval::within(error));
  s.define("R", text("w*", seed, "*(1 + ", s.ideal(p), " + dR)"));
  s.hint(text("hi + lo - R -> (lo - ", s.ideal(lo), ") + -(w*", seed, "*dR)"));
  const double least = std::sqrt(range.low) * (1 - 0x1p-50); // of the root
  s.goal(text("|hi + lo - R| <= ", rootError * least, " /\\ |lo| <= ", rootLow * least));
  proof.add(s);
}

template <template <class> class Kernel, class Tag>
void root(Proof& proof, const std::string& name, Proof::Export library) {
  for (const int odd : {0, 1}) {
    for (const auto& [j, y] :
         preimages([](double v) { return lowWord(v + 0x1.00000000001p44) & 0x1FF; }, {1, below(2)}))
      rootRow<Kernel, Tag>(proof, name, library, odd, j, y);
    proof.coversDoubles(text(name, " root ", odd), {odd == 0 ? 1.0 : 2.0, below(odd == 0 ? 2 : 4)});
  }
}

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
  for (const Interval& binade : binades({0x1p-53, 0.5}, -60))
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

/// 3. Of v = 1 - a, any root within what 2. shows.
template <template <class> class Kernel, class Tag>
void halfAngle(Proof& proof, const std::string& name, Proof::Export library, int sign) {
  const std::string what = text(name, sign == 0 ? "" : sign > 0 ? " +" : " -", " half angle");
  for (const Interval& binade : binades({0x1p-53, 0.5}, -60))
    for (const Interval& piece : pieces(binade, binade.low >= 0x1p-4 ? 8 : sign < 0 ? 1 : 2)) {
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
      Script s(text(what, " ", piece));
      s.cut(v, "v", "fixed<-53,ne>");
      s.multiple(v, -53);
      proof.over(s, what, "v", piece);
      s.cut(rootHi, "rootHi");
      s.cut(rootLo, "rootLo");
      const Interval u{std::sqrt(piece.low / 2) * (1 - 0x1p-50),
                       std::sqrt(piece.high / 2) * (1 + 0x1p-50)};
      s.real("U", u);
      s.assume(text("|rootHi + rootLo - U| <= ", rootError * u.high,
                    " /\\ |rootLo| <= ", rootLow * u.high));
      s.hint("rootHi -> U + (rootHi + rootLo - U) - rootLo");
      for (const Term& e : {t.hi, first, second, operand(operand(second, 0), 0)})
        s.exact(e);
      s.define("F", polynomial("v", s.ideal(series)));
      s.stands(factor, "F");
      s.hint(text("factor - F -> (factor - Mfactor) + -", k0Lo, " + ((", operand(rounded, 0), " - ",
                  k1, ") + (", operand(operand(rounded, 1), 0), " - ", k2, ")*v)*v"));
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
      const auto at = [&](double y) {
        const Real z = Real(1) - Real(y);
        return sign == 0 ? arcsine(z) : arccosine(sign > 0 ? z : Real(0) - z);
      };
      s.lastRounding(name + " normal", value, "S",
                     leastUlp([](const Real& y) { return y; }, at(piece.low), at(piece.high)));
      proof.add(s);
    }
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
  root<Kernel, Tag>(proof, name, library);
  for (const int sign : signs) {
    series<Kernel<Tag>>(proof, name, library, sign);
    halfAngle<Kernel, Tag>(proof, name, library, sign);
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
