// InvSqrt: x = y 2^(-2 half), 1 <= y < 4; the result is seed (1 + E/2 + P), with the seed of a row
// and E = 1 - y seed^2, P = (1 - E)^(-1/2) - 1 - E/2; for every row and its y. The power of two
// that scales it is exact: no result is subnormal.
#include "proof.hpp"

#include "algebraic/inv_sqrt.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

template <class Tag>
void row(Proof& proof, const std::string& name, Proof::Export library, int odd, int j, Interval m) {
  Recorder::get().clear();
  const Term x = Term::argument("x");
  suppose((exponentField(x) - 1023) & 1, odd);
  suppose(nearestThirtySecond(withExponent(1023, x)), j);
  const Term result = inverseSquareRoot<Tag>(x, 0), value = call(unscaled(result), "value");
  const Term y = withExponent(odd + 1023, x);
  const double seed = invSqrtSeeds<Tag>.entry[(odd << 5) + j];
  const Term square = seed * Term(seed);
  const auto part = splitHiLo(y, split26BitsShort);
  const Term a = call(1.0 - part.hi * square, "a"), b = call(part.lo * square, "b"),
             e = call(a - b, "e");
  const auto lead = splitHiLo(a, split26BitsShort);
  const Term rest = operand(value, 1), bend = (0.5 * Term(seed)) * lead.hi;
  const Term product = operand(rest, 0);
  const Term q = nodeOf(product.id).label == "*" ? operand(product, 0) : product; // (seed may be 1)
  const Term p = call(operand(q, 0), "p");
  Recorder::get().freeze();
  const std::string where = text(name, " ", odd, " row ", j);
  proof.replay(where, library, x, result, [&](std::mt19937_64& random) {
    const int k = 2 * (static_cast<int>(random() % 1022) - 511) + odd;
    return std::ldexp(Proof::uniform(m.low, m.high)(random), k);
  });
  const int scale = odd == 0 ? 1 : 2;
  const Interval range{m.low * scale, m.high * scale};
  const auto errorAt = [&](double v) { return 1 - v * seed * seed; };
  const Interval e0{errorAt(range.high) - 0x1p-40, errorAt(range.low) + 0x1p-40};
  Script s(where);
  s.cut(y, "y");
  s.multiple(y, -52);
  proof.over(s, text(name, " ", odd), "y", range);
  for (const Term& t : {part.hi * square, a, b, bend})
    s.exact(t);
  s.truth(p, "P", Interval::within(polynomialError(p, e, "(1-x)^(-1/2)-1-x/2", e0)));
  s.hint(text("Me -> 1 - y*", square));
  s.goal(text("Me in ", e0));
  s.hint("a -> Me + b");
  s.define("S", text(seed, "*(1 + 0.5*(1 - y*", square, ") + P)"));
  s.hint(text(s.operationOf(value), " - S -> ", rest, " - ", s.ideal(rest)));
  const Real least = Real(1) / Real::apply(mpfr_sqrt, Real(range.high));
  s.lastRounding(name + " normal", value, "S",
                 std::ldexp(1.0, std::ilogb(least.toDouble() * (1 - 0x1p-50)) - 52));
  proof.add(s);
}

template <class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library) {
  for (const int odd : {0, 1}) {
    for (const auto& [j, m] :
         preimages([](double v) { return nearestThirtySecond(v); }, {1, below(2)}))
      row<Tag>(proof, name, library, odd, j, m);
    proof.coversDoubles(text(name, " ", odd), {odd == 0 ? 1.0 : 2.0, below(odd == 0 ? 2 : 4)});
  }
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  prove<InvSqrt_64f_A50>(proof, "InvSqrt_64f_A50", qelsInvSqrt_64f_A50);
  prove<InvSqrt_64f_A53>(proof, "InvSqrt_64f_A53", qelsInvSqrt_64f_A53);
  return proof.finish();
}
