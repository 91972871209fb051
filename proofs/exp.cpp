// Exp: x = N ln2/64 + R, the result 2^m S with S = 2^(j/64) e^R.
//
// 1. The reduction, binade by binade: l is exact and R small.
// 2. S, for every row j and every piece of R. N and l are any that give this R.
// 3. What is scaled: exactly where the result is normal; one more rounding where it is subnormal,
// for
//    any row, by what 2. has shown of the sum before its last rounding.
#include "exp_reduction.hpp"

#include "explog/exp.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

// What 2. shows for 3.
constexpr double longError = 0x1.25p-58; // of power + rest, as a significand
constexpr double longErrorBelowOne = 0x1.1p-60;
constexpr double shortError = 0x1p-51; // of the A50 significand
constexpr double shortErrorBelowOne = 0x1.1p-53;

/// The scripts of one row: `formula` gives S by the names of a script.
template <class Kernel>
void row(Proof& proof, const std::string& name, Proof::Export library, int j, int count) {
  constexpr bool isLong = std::is_same_v<Kernel, ExpA53<Exp_64f_A53>>;
  Recorder::get().clear();
  const Reduction red;
  suppose(red.reduced.j, j);
  const Term result = Kernel::compute(red.x), value = call(unscaled(result), "value");
  const Term tail = call(
      expTail<std::conditional_t<isLong, ExpPolynomialLong, ExpPolynomialShort>>(red.r), "tail");
  const double error = polynomialError(tail, red.r, "expm1(x) - x", Interval::within(largestR));
  Recorder::get().freeze();
  proof.replay(text(name, " row ", j), library, red.x, result, Proof::uniform(-708, 708));
  for (const Interval& piece : pieces(Interval::within(largestR), count)) {
    Script s(text(name, " row ", j, " ", piece));
    red.over(proof, s, text(name, " row ", j), piece);
    s.truth(tail, "Q", Interval::within(error));
    if constexpr (isLong) {
      const double hi = expPowerPairs<Exp_64f_A53>[j].hi, lo = expPowerPairs<Exp_64f_A53>[j].lo;
      require(j != 0 || (hi == 1 && lo == 0), "row 0 is one");
      if (j != 0) {
        s.define("ell", text(lo, " + dell"));
        s.real("dell", enclosure(power(j) / Real(hi) - Real(1) - Real(lo)));
        s.stands(Term(lo), "ell");
      }
      const Term rest = operand(value, 1);
      s.define("S", j == 0 ? "1 + (Mr + Q)" : text(hi, "*(1 + ell)*(1 + (Mr + Q))"));
      s.goal(text("|", rest, "| <= 0x1p-6"));
      if (j == 0 && piece.high <= 0)
        s.goal(text(rest, " <= 0x1p-60"));
      s.goal(text("|", hi, " + ", rest,
                  " - S| <= ", j == 0 && piece.high <= 0 ? longErrorBelowOne : longError));
      const std::string crossed = j == 0 ? "" : text(" + -(", hi, "*(ell*(Mr + Q)))");
      s.hint(text(hi, " + ", rest, " - S -> (", rest, " - ", s.ideal(rest), ")", crossed));
    } else {
      const double rounded = expPowers<Exp_64f_A50>[j];
      if (j != 0)
        s.truth(Term(rounded), "P", enclosure(power(j) - Real(rounded)));
      s.define("S", j == 0 ? "1 + (Mr + Q)" : "P*(1 + (Mr + Q))");
      s.hint(text(s.operationOf(value), " - S -> ", s.operationOf(value), " - Mvalue"));
      s.hint("value - S -> value - Mvalue");
      s.goal(j == 0 ? "value >= 0.5" : "value - 1 >= 0 /\\ value <= 2");
      s.goal(text("|value - S| <= ", j == 0 && piece.high <= 0 ? shortErrorBelowOne : shortError));
    }
    if (j == 0 && piece.low >= 0)
      s.goal("value >= 1"); // with 2^-1022 it is normal
    const double ulp = j == 0 && piece.high <= 0 ? 0x1p-53 : 0x1p-52;
    if (isLong || j == 0)
      s.lastRounding(name + " normal", value, "S", ulp);
    else // off by more than an ulp before the last rounding, but far from a power of two
      s.bound(name + " normal", text("(value - S)/", ulp));
    proof.add(s);
  }
  proof.coversReals(text(name, " row ", j), Interval::within(largestR));
}

/// Results that are subnormal, or may be: of arguments in an interval, by all m that they have.
template <class Method>
void subnormal(Proof& proof, const std::string& name, Proof::Export library, Interval arguments) {
  constexpr bool isLong = requires(Method method) {
    method.rest;
  };
  const auto exponentOf = [](double x) {
    return reduceExp(x).m;
  }; // (each of its steps is monotonic)
  for (int m = exponentOf(arguments.low); m <= exponentOf(arguments.high); ++m) {
    Recorder::get().clear();
    const Reduction red;
    suppose(red.reduced.m, m);
    const Method method(red.x);
    const Term result = call(method.subnormal(), "result");
    Recorder::get().freeze();
    proof.replay(text(name, " 2^", m), library, red.x, result,
                 Proof::uniform(std::max(arguments.low, (m - 1) * 0.6932), arguments.high));
    Script s(text(name, " 2^", m));
    const std::string exact = text("S*1b", m), label = name + " subnormal",
                      last = s.operationOf(result);
    const bool top = m == exponentOf(arguments.high); // of row 0 below zero only, see main
    s.assume(text("S in ", Interval{0.99, top ? 1.0 : 2.0}));
    if constexpr (isLong) {
      s.cut(method.power, "power");
      s.cut(method.rest, "rest");
      s.assume(text("power in ", Interval{1, top ? 1.0 : expPowers<Exp_64f_A50>[63]},
                    " /\\ rest in ", Interval{-0x1p-6, top ? 0x1p-60 : 0x1p-6},
                    " /\\ |power + rest - S| <= ", top ? longErrorBelowOne : longError));
      if (nodeOf(result.id).label == "+") {
        const Term hi = operand(operand(result, 0), 0), lo = operand(operand(result, 1), 0);
        const Term sum = operand(operand(lo, 1), 0), b = operand(sum, 0), a = operand(sum, 1);
        s.stands(hi, text(hi));
        const Term shifted = operand(hi, 0), shifter = operand(hi, 1);
        s.hint(text(sum, " - ", hi, " -> -(", shifted, " - (", sum, " + ", shifter, ")) + -(", hi,
                    " - (", shifted, " - ", shifter, "))"));
        s.exact(b);
        s.exact(operand(lo, 1));
        s.smallSum(result);
        s.scaling(a);
        s.hint(text("result - ", exact, " -> (result - Mresult) + (", a, " - ", s.ideal(a), ")*",
                    subnormalUnscale, " + (power + rest - S)*1b", m));
        s.bound(label, text("(result - ", exact, ")/0x1p-1074"));
      } else {
        s.hint(text(last, " - ", exact, " -> (", last, " - Mresult) + (power + rest - S)*1b", m));
        s.lastRounding(label, result, exact, 0x1p-1074);
      }
    } else {
      s.cut(method.significand, "significand");
      s.assume(text("|significand - S| <= ", top ? shortErrorBelowOne : shortError));
      s.hint(text(last, " - ", exact, " -> (", last, " - Mresult) + (significand - S)*1b", m));
      s.lastRounding(label, result, exact, 0x1p-1074);
    }
    proof.add(s);
  }
}

/// What scales a significand to a normal result is exact; where the ranges meet.
void ends() {
  using Limits = ExpLimits<double>;
  const auto exp = [](double x) { return Real::apply(mpfr_exp, Real(x)); };
  const auto less = [](const Real& a, const Real& b) { return mpfr_cmp(a.get(), b.get()) < 0; };
  const auto first = reduceExp(Limits::subnormal), lastBelow = reduceExp(below(Limits::subnormal));
  require(less(exp(below(Limits::subnormal)), twoTo(-1022)) &&
              less(twoTo(-1022), exp(Limits::subnormal)),
          "results are normal from the limit on");
  require(first.m == -1022 && first.j == 0 && lastBelow.m == -1022 && lastBelow.j == 0,
          "where m is -1022 there, the row is 0, and R has the sign of the side");
  require(less(Real::apply(mpfr_exp, Real(largestR)) * power(63), Real(2)) &&
              less(Real(0.99), exp(-largestR)) && less(Real(1), exp(-largestR) * power(1)),
          "S is in [0.99,2], in [1,2] from row 1 on");
  require(less(exp(Limits::overflow) + twoTo(972), twoTo(1024)),
          "no result within two ulps overflows");
  require(less(exp(below(Limits::underflow)), twoTo(-1075)), "zero is the nearest below");
}

/// |x| < 2^-52: 1 + x.
void tiny(Proof& proof, const std::string& name, Proof::Export library) {
  for (const Interval& side : {Interval{-0x1p-52, 0}, Interval{0, 0x1p-52}}) {
    Recorder::get().clear();
    const Term x = Term::argument("x"), value = call(1.0 + x, "value");
    proof.replay(name + " tiny", library, x, value,
                 Proof::uniform(0.99 * side.low, 0.99 * side.high));
    Script s(text(name, " tiny ", side));
    s.cut(x, "x");
    proof.over(s, name + " tiny", "x", side);
    s.real("dS", {0, 0x1p-104}); // e^x - 1 - x is below x^2, for |x| < 1
    s.define("S", "1 + x + dS");
    s.hint("1 + x - S -> -dS");
    s.lastRounding(name + " normal", value, "S", side.low < 0 ? 0x1p-53 : 0x1p-52);
    proof.add(s);
  }
  proof.coversReals(name + " tiny", Interval::within(0x1p-52));
}

/// The whole path of a normal result, ordinary or not, as the library has it.
template <template <class, class> class Method, class Tag>
void replay(Proof& proof, const std::string& name, Proof::Export library) {
  Recorder::get().clear();
  const Term x = Term::argument("x");
  const Method<Tag, Term> method(x);
  const Term result = scaleTwoStep(method.value(), method.m);
  for (const Interval& range :
       {Interval{ExpLimits<double>::subnormal, -708}, Interval{708, ExpLimits<double>::overflow}})
    proof.replay(name + " far", library, x, result, Proof::uniform(range.low, range.high));
}

template <template <class, class> class Method, class Kernel, class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library) {
  const Interval subnormals{ExpLimits<double>::underflow, below(ExpLimits<double>::subnormal)};
  for (int j = 0; j < 64; ++j)
    row<Kernel>(proof, name, library, j, 4);
  subnormal<Method<Tag, Term>>(proof, name, library, subnormals);
  tiny(proof, name, library);
  replay<Method, Tag>(proof, name, library);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  using Limits = ExpLimits<double>;
  ends();
  reduction(proof, {Limits::underflow, -0x1p-52});
  reduction(proof, {0x1p-52, Limits::overflow});
  proof.covered("arguments", Interval::within(0x1p-52)); // tiny
  proof.coversDoubles("arguments", {Limits::underflow, Limits::overflow});
  prove<ExpLong, ExpA53<Exp_64f_A53>, Exp_64f_A53>(proof, "Exp_64f_A53", qelsExp_64f_A53);
  prove<ExpShort, ExpA50<Exp_64f_A50>, Exp_64f_A50>(proof, "Exp_64f_A50", qelsExp_64f_A50);
  return proof.finish();
}
