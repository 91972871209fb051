// Cbrt and InvCbrt of |x|, whose sign the kernels copy into the scale. The power of two that scales
// a result is exact: no result is subnormal.
#include "proof.hpp"

#include "algebraic/cbrt.cpp"
#include "algebraic/inv_cbrt.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

/// 1 - y seed^3 for the y of a range, each end a bit further.
Interval excess(Interval y, double seed) {
  const auto at = [&](double v) { return 1 - v * seed * seed * seed; };
  return {at(y.high) - 0x1p-40, at(y.low) + 0x1p-40};
}
/// Arguments of an exponent with this remainder and with significands from a range.
auto significands(Interval m, int remainder) {
  return [=](std::mt19937_64& random) {
    const double x = std::ldexp(Proof::uniform(m.low, m.high)(random),
                                3 * (static_cast<int>(random() % 680) - 340) + remainder);
    return random() % 2 == 0 ? x : -x;
  };
}

/// Cbrt: |x| = m 2^(3 quotient + remainder), 1 <= m < 2, is m seed^2 (1 + Q) 2^(remainder/3) with
/// the seed of a row, E = 1 - m seed^3 and Q = (1 - E)^(-2/3) - 1.
template <class Tag>
void cubeRootRow(Proof& proof, const std::string& name, Proof::Export library, int remainder, int j,
                 Interval range) {
  Recorder::get().clear();
  const Term x = Term::argument("x");
  suppose(thirdOfExponent(x).remainder, remainder);
  suppose((highWord(x) >> 15) & 31, j);
  const Term result = cubeRoot<Tag>(x, 0), value = call(unscaled(result), "value");
  Recorder::get().freeze();
  const bool isOne = remainder == 0; // 2^(0/3): its products are their operands
  const Term m = withExponent(1023, magnitude(x)), low = operand(value, 1);
  const Term lead = call(isOne ? operand(value, 0) : operand(operand(value, 0), 0), "lead");
  const Term w = call(isOne ? low : operand(operand(low, 1), 0), "w");
  // lead and w, of (n + l) (1 + vHi + vLo).
  const Term f = operand(lead, 0), n = call(operand(f, 0), "n"), bend = operand(f, 1);
  const Term l = call(operand(w, 0), "l"), rest = operand(w, 1);
  const Term vHi = call(operand(bend, 0), "vHi"), v = call(operand(vHi, 0), "v");
  const Term vLo = operand(operand(operand(rest, 0), 1), 0);
  // v, of Q = (sHi + sLo) (eHi + eLo).
  const Term sHi = call(operand(v, 0), "sHi"), eHi = call(operand(v, 1), "eHi");
  const Term sum = operand(sHi, 0), thirds = operand(sum, 0), tail = call(operand(sum, 1), "tail");
  const Term sLo = operand(operand(operand(vLo, 0), 0), 0), thirdsLo = operand(operand(sLo, 0), 1);
  const Term e = call(operand(tail, 1), "e"), a = call(operand(eHi, 0), "a");
  const std::string where = text(name, " 2^(", remainder, "/3) row ", j);
  proof.replay(where, library, x, result, significands(range, remainder));
  const double seed = cbrtSeeds<Tag>.entry[j];
  const auto factor = [&](const std::string& t) {
    return text("(", thirds, " + ", thirdsLo, " + ", t, ")");
  };
  const double error = polynomialError("x*" + factor(formulaOf(tail, e, "x")), "(1-x)^(-2/3)-1",
                                       excess(range, seed));
  Script s(where);
  s.cut(m, "m");
  s.multiple(m, -52);
  s.atMost(m, 1);
  proof.over(s, text(name, " ", remainder), "m", range);
  for (const Term& t : {n, operand(a, 1), a, operand(operand(e, 1), 1), v, operand(sLo, 1),
                        operand(vLo, 1), bend, operand(operand(rest, 1), 1), operand(value, 0)})
    s.exact(t);
  const PairRow power = cbrtPowers<Tag>[remainder];
  const std::string rounded = text("(", power.hi, " + ", power.lo, ")");
  s.real("dR", isOne ? Interval{0, 0}
                     : enclosure(Real::apply(mpfr_cbrt, twoTo(remainder)) - Real(power.hi) -
                                 Real(power.lo)));
  const std::string lead2 = text("m*", seed * seed);
  s.real("dQ", Interval::within(error));
  s.define("Q", text("(1 - ", lead2, "*", seed, ")*", factor(s.ideal(tail)), " + dQ"));
  s.define("S", text(lead2, "*(1 + Q)*(", rounded, " + dR)"));
  s.hint(text("Me -> 1 - ", lead2, "*", seed));
  // w is a third of l, what it is the sum of cancels: 1 - 2/3 is left.
  const std::string ideal = s.ideal(l), whole = factor("tail");
  s.hint(text(s.ideal(w), " -> ", ideal, "*((1 + vHi) - ", whole, "*(1 - Me)) + (n + ", ideal,
              ")*(", whole, "*(a - eHi) + (", whole, " - sHi)*eHi + (v - vHi)) + ((n + ", bend,
              ") - lead)"));
  s.hint(text(s.operationOf(w), " -> ", s.ideal(w), " + (", rest, " - ", s.ideal(rest), ") + (", l,
              " - ", ideal, ")"));
  s.hint(text(s.operationOf(value), " - S -> (", low, " - ", s.ideal(low), ") + ", lead2,
              "*(Me*(tail - ", s.ideal(tail), ") + -dQ)*", rounded, " + -(", lead2,
              "*(1 + Q)*dR)"));
  s.lastRounding(name + " normal", value, "S", 0x1p-52);
  proof.add(s);
}

/// InvCbrt: |x| = y 2^(3 quotient), 2^remainder <= y < 2^(remainder + 1); the result is
/// seed (1 + third E + P) with the seed of a row, E = 1 - y seed^3 and P = (1 - E)^(-1/3) - 1 -
/// third E.
template <class Tag>
void inverseCubeRootRow(Proof& proof, const std::string& name, Proof::Export library, int remainder,
                        int j, Interval m) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), a0 = magnitude(x);
  suppose(thirdOfExponent(x).remainder, remainder);
  suppose(nearestThirtySecond(withExponent(1023, a0)), j);
  const Term result = inverseCubeRoot<Tag>(x, 0), value = call(unscaled(result), "value");
  Recorder::get().freeze();
  const Term y = withExponent(remainder + 1023, a0), rest = operand(value, 1);
  const double seed = invCbrtSeeds<Tag>.entry[(remainder << 5) + j];
  const bool isOne = seed == 1; // (its products are their operands)
  const Term bend = operand(operand(value, 0), 1), third = operand(bend, 1);
  const Term leadHi = isOne ? operand(bend, 0) : operand(operand(bend, 0), 0);
  const Term a = call(operand(leadHi, 0), "a");
  const Term w = isOne ? operand(rest, 0) : operand(operand(rest, 0), 0);
  const Term fitted = operand(operand(w, 0), 1), thirdRest = operand(fitted, 1);
  const Term e = call(operand(fitted, 0), "e"), b = call(operand(e, 1), "b");
  const Term p = call(operand(operand(operand(w, 0), 0), 0), "p");
  const std::string where = text(name, " 2^", remainder, " row ", j);
  proof.replay(where, library, x, result, significands(m, remainder));
  const Interval range{std::ldexp(m.low, remainder), std::ldexp(m.high, remainder)};
  const std::string cube = hex(seed * seed * seed), e1 = text("(1 - y*", cube, ")");
  const std::string thirds = text("(", third, " + ", thirdRest, ")");
  Script s(where);
  s.cut(y, "y");
  s.multiple(y, remainder - 52);
  s.atMost(y, remainder + 1);
  proof.over(s, text(name, " ", remainder), "y", range);
  for (const Term& t : {operand(a, 1), a, bend, operand(bend, 0)})
    s.exact(t);
  s.truth(
      p, "P",
      Interval::within(polynomialError(p, e, "(1-x)^(-1/3)-1-x*" + thirds, excess(range, seed))));
  s.hint(text("Me -> ", e1));
  s.hint(text("a -> ", e1, " + ", s.ideal(b)));
  s.define("S", text(seed, "*(1 + ", thirds, "*", e1, " + P)"));
  s.hint(text(s.operationOf(value), " - S -> ", rest, " - ", s.ideal(rest)));
  s.lastRounding(name + " normal", value, "S", 0x1p-53); // (y < 8)
  proof.add(s);
}

/// Subnormal arguments are scaled exactly; then they are as others.
void replaySubnormal(Proof& proof, const std::string& name, Proof::Export library, double scale,
                     const std::function<Term(Term)>& kernel) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), result = kernel(x * scale);
  proof.replay(name + " subnormal", library, x, result, [](std::mt19937_64& random) {
    return std::bit_cast<double>(random() >> 12 >> random() % 52 | 1 |
                                 (random() & signMask<double>));
  });
}

template <class Tag>
void proveCubeRoot(Proof& proof, const std::string& name, Proof::Export library) {
  for (const int remainder : {0, 1, 2}) {
    for (const auto& [j, range] :
         preimages([](double m) { return (highWord(m) >> 15) & 31; }, {1, below(2)}))
      cubeRootRow<Tag>(proof, name, library, remainder, j, range);
    proof.coversDoubles(text(name, " ", remainder), {1, below(2)});
  }
  replaySubnormal(proof, name, library, 0x1p300,
                  [](const Term& x) { return cubeRoot<Tag>(x, -100); });
}
template <class Tag>
void proveInverse(Proof& proof, const std::string& name, Proof::Export library) {
  for (const int remainder : {0, 1, 2}) {
    const Interval whole{std::ldexp(1.0, remainder), below(std::ldexp(2.0, remainder))};
    for (const auto& [j, m] :
         preimages([](double v) { return nearestThirtySecond(v); }, {1, below(2)}))
      inverseCubeRootRow<Tag>(proof, name, library, remainder, j, m);
    proof.coversDoubles(text(name, " ", remainder), whole);
  }
  replaySubnormal(proof, name, library, 0x1p90,
                  [](const Term& x) { return inverseCubeRoot<Tag>(x, 30); });
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  proveCubeRoot<Cbrt_64f_A50>(proof, "Cbrt_64f_A50", qelsCbrt_64f_A50);
  proveCubeRoot<Cbrt_64f_A53>(proof, "Cbrt_64f_A53", qelsCbrt_64f_A53);
  proveInverse<InvCbrt_64f_A50>(proof, "InvCbrt_64f_A50", qelsInvCbrt_64f_A50);
  proveInverse<InvCbrt_64f_A53>(proof, "InvCbrt_64f_A53", qelsInvCbrt_64f_A53);
  return proof.finish();
}
