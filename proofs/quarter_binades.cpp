// Tanh and Erf of a = |x|, whose sign the kernels copy: a polynomial in t = a - c for each quarter
// of a binade, the series below 1/8 by pieces of binades, and what is left at both ends.
#include "proof.hpp"

#include "errfunc/erf.cpp"
#include "hyperbolic/tanh.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

struct HyperbolicTangent {
  static constexpr const char* function = "tanh";
  static Real of(const Real& x) { return Real::apply(mpfr_tanh, x); }
  template <class Tag>
  static const QuarterBinadeRow* rows() {
    return tanhRows<Tag>;
  }
};
struct ErrorFunction {
  static constexpr const char* function = "erf";
  static Real of(const Real& x) { return Real::apply(mpfr_erf, x); }
  template <class Tag>
  static const QuarterBinadeRow* rows() {
    return erfRows<Tag>;
  }
};

/// Row j of the table, for the a that have it.
template <class F, class Kernel>
void row(Proof& proof, const std::string& name, Proof::Export library, const QuarterBinadeRow* rows,
         int j, Interval range) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), a = magnitude(x);
  const auto index = (highWord(a) - highWord(0.125)) >> 18;
  suppose(index, j);
  const Term result = Kernel::compute(x), value = call(operand(result, 0), "value");
  const auto f = [&](int k) { return lookUp(rows, index, k); };
  const Term t = call(a + f(0), "t"), trailing = operand(value, 1);
  const Term high = operand(trailing, 0), cubic = operand(operand(operand(high, 0), 0), 0);
  const auto split = splitHiLo(t, split26Bits);
  const Term bend = f(5) * split.hi;
  const auto slope = fastTwoSum(f(3), bend);
  const Term rise = splitHiLo(slope.hi, split26Bits).hi * split.hi;
  Recorder::get().freeze();
  proof.replay(text(name, " row ", j), library, x, result, Proof::eitherSign(range));
  const auto polynomial = [&](const std::string& v, const std::string& rest) {
    return text("(", f(1), " + ", f(2), ") + ", v, "*((", f(3), " + ", f(4), ") + ", v, "*((", f(5),
                " + ", f(6), ") + ", v, "*", rest, "))");
  };
  const double center = -f(0).value();
  const double error = polynomialError(polynomial("x", formulaOf(cubic, t, "x")),
                                       text(F::function, "(", center, " + x)"),
                                       {below(range.low - center), above(range.high - center)});
  for (const Interval& piece : pieces(range, 2)) {
    Script s(text(name, " row ", j, " ", piece));
    s.cut(a, "a");
    proof.over(s, name + " rows", "a", piece);
    s.multiple(t, std::ilogb(range.low) - 52);
    for (const Term& e : {t, bend, rise})
      s.exact(e);
    s.unordered(slope.lo); // in the last rows the bend exceeds the slope
    s.real("dT", Interval::within(error));
    s.define("S", polynomial("t", s.ideal(cubic)) + " + dT");
    s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing), ") + -dT"));
    s.lastRounding(name + " normal", value, "S", leastUlp(F::of, piece.low, piece.high));
    proof.add(s);
  }
}

/// The parts of a series c1 a + c3 a^3 + a^5 p(a^2), found in the record.
struct Series {
  Term tail, third, thirdLo;
  std::string first;            // c1
  std::vector<Term> exact, off; // off: summed as rounded
};
Series seriesOf(const Term& value, HyperbolicTangent) {
  const Term sum = operand(value, 0), leading = operand(sum, 0), low = operand(sum, 1);
  const Term third = operand(leading, 1);
  return {operand(low, 0), third, operand(low, 1), "1", {third}, {low}};
}
Series seriesOf(const Term& value, ErrorFunction) {
  const Term sum = operand(value, 0), first = operand(sum, 0), upper = operand(sum, 1);
  const Term low = operand(operand(value, 1), 0), firstLo = operand(low, 0);
  const Term third = operand(upper, 0), tail = operand(upper, 1);
  return {tail,
          third,
          operand(operand(low, 1), 0),
          text("(", operand(first, 0), " + ", operand(operand(firstLo, 1), 0), ")"),
          {first, third},
          {tail}};
}

template <class F, class Kernel>
void series(Proof& proof, const std::string& name, Proof::Export library) {
  const Interval range{Kernel::tiny, Kernel::small};
  for (const Interval& binade : binades(range, -60))
    for (const Interval& piece : pieces(binade, binade.low < 0x1p-7 ? 1 : 8)) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), a = magnitude(x);
      const Term result = Kernel::computeSecondRange(x), value = call(operand(result, 0), "value");
      const Series parts = seriesOf(value, F());
      const Term p = operand(operand(parts.tail, 0), 1), square = a * a;
      const Term cube = call(operand(parts.tail, 1), "cube"), trailing = operand(value, 1);
      Recorder::get().freeze();
      proof.replay(text(name, " series ", piece), library, x, result, Proof::eitherSign(piece));
      const std::string c3 =
          text("(", operand(parts.third, 0), " + ", operand(operand(parts.thirdLo, 1), 0), ")");
      const auto polynomial = [&](const std::string& v, const std::string& rest) {
        return text(parts.first, "*", v, " + ", c3, "*", v, "*", v, "*", v, " + ", v, "*", v, "*",
                    v, "*", v, "*", v, "*", rest);
      };
      const std::string whole = text("(", formulaOf(p, square, "(x^2)"), ")");
      const double error =
          polynomialError(polynomial("x", whole), text(F::function, "(x)"), {0, range.high}, true);
      Script s(text(name, " series ", piece));
      s.cut(a, "a");
      s.multiple(a, std::ilogb(piece.low) - 52);
      proof.over(s, name + " series", "a", piece);
      for (const Term& e : parts.exact)
        s.exact(e);
      s.define("P", polynomial("a", s.ideal(p)));
      s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
      s.define("S", "P*(1 + dS)");
      s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing), ") + (",
                  parts.off[0], " - ", s.ideal(parts.off[0]), ") + ", c3, "*(cube - ",
                  s.ideal(cube), ") + -(P*dS)"));
      s.lastRounding(name + " normal", value, "S", leastUlp(F::of, piece.low, piece.high));
      proof.add(s);
    }
  proof.coversReals(name + " series", range);
}

/// From 2^-1022 in the result up to 2^-40: 2/sqrt(pi) x, of x scaled by 2^200. The kernel has it
/// for doubles alone, so that it stands here again. Of products with powers of two nothing is
/// rounded, and u in [1,2] is any binade.
void proportional(Proof& proof, const std::string& name, Proof::Export library) {
  for (const Interval& piece : pieces({1, 2}, 4)) {
    Recorder::get().clear();
    const Term x = Term::argument("x"), u = x * twoTo200;
    const auto product = productOfShort(splitHiLo(u, split26Bits),
                                        DoubleDoubleOf<Term>{twoOverRootPi.hi, twoOverRootPi.lo});
    const Term value = call(product.hi + product.lo, "value"), result = value * twoToMinus200;
    Recorder::get().freeze();
    for (const double least : {0x1p-1021, 0x1p-700, 0x1p-41})
      proof.replay(name + " proportional", library, x, result,
                   Proof::eitherSign({least, 1.99 * least}));
    Script s(text(name, " proportional ", piece));
    s.cut(u, "u");
    s.multiple(u, -52);
    proof.over(s, name + " proportional", "u", piece);
    s.exact(product.hi);
    s.truth(Term(twoOverRootPi.lo), "C",
            enclosure(Real(2) / Real::apply(mpfr_sqrt, pi()) - Real(twoOverRootPi.hi) -
                      Real(twoOverRootPi.lo)));
    s.real("dS", {-0x1p-80, 0}); // erf x = 2/sqrt(pi) x (1 - y), y from 0 to x^2/3
    s.define("S", text("(", twoOverRootPi.hi, " + C)*u*(1 + dS)"));
    s.hint(text(s.operationOf(value), " - S -> (", product.lo, " - ", s.ideal(product.lo),
                ") + -((", twoOverRootPi.hi, " + C)*u*dS)"));
    const Real factor(twoOverRootPiRounded);
    s.lastRounding(name + " normal", value, "S",
                   leastUlp([&](const Real& v) { return v * factor; }, piece.low, piece.high));
    proof.add(s);
  }
  proof.coversReals(name + " proportional", {1, 2});
}

/// Subnormal results, of x > 0 (every operation is odd): from 2^-1034 on the same product, rounded
/// where the result ends, below one product. The kernel has these, too, for doubles alone.
void subnormal(Proof& proof, const std::string& name, Proof::Export library) {
  const double limit = 0x0.e2dfc48da77b5p-1022;
  const Real factor = Real(2) / Real::apply(mpfr_sqrt, pi());
  const auto less = [](const Real& a, const Real& b) { return mpfr_cmp(a.get(), b.get()) < 0; };
  double atLimit = 0;
  library(&limit, &atLimit, 1);
  require(less(factor * Real(limit), twoTo(-1022)) && atLimit == 0x1p-1022 &&
              less(twoTo(-1022) - twoTo(-1075), factor * Real(limit)),
          "at the limit the last subnormal result, rounded to a normal one");
  require(less(twoTo(-1022) + twoTo(-1075), factor * Real(above(limit))),
          "normal results beyond it, before they are rounded, too");
  for (const bool isShort : {true, false}) {
    const Interval range =
        isShort ? Interval{0x1p-1074, below(0x1p-1034)} : Interval{0x1p-1034, below(limit)};
    Recorder::get().clear();
    const Term x = Term::argument("x"), u = x * twoTo200;
    const auto product = productOfShort(splitHiLo(u, split26Bits),
                                        DoubleDoubleOf<Term>{twoOverRootPi.hi, twoOverRootPi.lo});
    const auto leading = splitHiLo(product.hi, split26Bits);
    const Term low = call(product.lo + leading.lo, "low"), scaled = low * twoToMinus200;
    const Term kept = leading.hi * twoToMinus200;
    const Term y = call(isShort ? x * twoOverRootPiRounded : kept + scaled, "y");
    Recorder::get().freeze();
    proof.replay(text(name, " subnormal ", range), library, x, y, Proof::eitherSign(range));
    Script s(text(name, " subnormal ", range));
    s.cut(x, "x");
    proof.over(s, name + " subnormal", "x", range);
    s.real("dS", {-0x1p-80, 0}); // as above
    const std::string exact = text("(", isShort ? 0.0 : twoOverRootPi.hi, " + C)*x");
    s.define("S", exact + "*(1 + dS)");
    if (isShort) {
      s.truth(Term(twoOverRootPiRounded), "C", enclosure(factor - Real(twoOverRootPiRounded)));
      s.hint(text(s.operationOf(y), " - S -> -(dC*x) + -(C*x*dS)"));
      s.lastRounding(name + " subnormal", y, "S", 0x1p-1074);
    } else {
      s.truth(Term(twoOverRootPi.lo), "C",
              enclosure(factor - Real(twoOverRootPi.hi) - Real(twoOverRootPi.lo)));
      s.exactNextToSubnormal(u);
      s.exact(product.hi);
      s.exactNextToSubnormal(kept);
      s.smallSum(y);
      s.scaling(scaled);
      s.hint(text("y - S -> (", scaled, " - ", s.operationOf(scaled), ") + (low - ", s.ideal(low),
                  ")*0x1p-200 + -(", exact, "*dS)"));
      s.bound(name + " subnormal", "(y - S)/0x1p-1074");
    }
    proof.add(s);
  }
  proof.coversDoubles(name + " subnormal", {0x1p-1074, below(limit)});
}

template <class F, template <class> class Kernel, class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library) {
  using K = Kernel<Tag>;
  const Interval whole{K::small, below(K::saturation)};
  for (const auto& [j, range] :
       preimages([](double v) { return (highWord(v) - highWord(0.125)) >> 18; }, whole))
    row<F, K>(proof, name, library, F::template rows<Tag>(), j, range);
  proof.coversDoubles(name + " rows", whole);
  series<F, K>(proof, name, library);
  require(mpfr_cmp((Real(1) - F::of(K::saturation)).get(), twoTo(-54).get()) <= 0,
          "from the saturation on, one is off by half an ulp at most");
  for (const double x : {K::saturation, std::numeric_limits<double>::max()}) {
    double one = 0;
    library(&x, &one, 1);
    require(one == 1, "the result is one there");
  }
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  // (Below 2^-53 Tanh is x itself, off by x^3/3.)
  prove<HyperbolicTangent, TanhKernel, Tanh_64f_A50>(proof, "Tanh_64f_A50", qelsTanh_64f_A50);
  prove<HyperbolicTangent, TanhKernel, Tanh_64f_A53>(proof, "Tanh_64f_A53", qelsTanh_64f_A53);
  prove<ErrorFunction, ErfKernel, Erf_64f_A50>(proof, "Erf_64f_A50", qelsErf_64f_A50);
  prove<ErrorFunction, ErfKernel, Erf_64f_A53>(proof, "Erf_64f_A53", qelsErf_64f_A53);
  proportional(proof, "Erf_64f_A50", qelsErf_64f_A50);
  proportional(proof, "Erf_64f_A53", qelsErf_64f_A53);
  subnormal(proof, "Erf_64f_A50", qelsErf_64f_A50);
  subnormal(proof, "Erf_64f_A53", qelsErf_64f_A53);
  return proof.finish();
}
