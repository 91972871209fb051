// Sinh and Cosh of a = |x| = N ln2/64 + R. With the halves A and B of e^(N ln2/64) and
// e^(-N ln2/64), S = One cosh R + Other sinh R, where One and Other are A -+ B and A +- B.
//
// All is in units of 2^(m - 1), N = 64 m + j, so that A is in [1,2]: the kernels' operations do not
// see it, as none underflows.
//
// 1. The reduction, as for Exp.
// 2. The table's range, for groups of N: what the kernel makes of its table lies in the hull of
// what
//    it is for each N.
// 3. The range without e^-|x|, for every row; the series of Sinh; both ends.
#include "exp_reduction.hpp"

#include "hyperbolic/cosh.cpp"
#include "hyperbolic/sinh.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

template <class TagOf, template <class> class Family, bool sine_, bool isLong_>
struct Export {
  using Tag = TagOf;
  using Kernel = Family<Tag>;
  using Polynomial = std::conditional_t<isLong_, ExpPolynomialLong, ExpPolynomialShort>;
  static constexpr bool sine = sine_, isLong = isLong_;
  std::string name;
  Proof::Export library;
};

/// (of either sign)
void replay(Proof& proof, const std::string& what, Proof::Export library, const Term& x,
            const Term& result, Interval range) {
  for (const Interval& binade : binades(range, -53))
    proof.replay(text(what, " ", binade), library, x, result, Proof::eitherSign(binade));
}

/// The kernel's parts of One and Other, and what its value before the last rounding has beyond
/// `rest` without roundings and S.
struct Table {
  std::vector<std::string> one, other;
  std::vector<Term> cuts;
  std::string left;
  std::function<void(Script&)> more = [](Script&) {};
};

template <class E>
Table tableOf(const Reduction& red, const Term& value, const ExpTailParts<Term>& tail) {
  const Term rest = operand(value, 1);
  if constexpr (!E::isLong) {
    const Term one = call(operand(value, 0), "one"),
               other = call(operand(operand(rest, 0), 1), "other");
    return {{"one"}, {"other"}, {one, other}, ""};
  } else {
    const auto [a, b] = halfPowers<typename E::Tag>(red.reduced);
    const DoubleDoubleOf<Term> sums = fastTwoSum(a.hi, b.hi);
    if constexpr (!E::sine) {
      return {{"one", "oneLo", "aLo", "bLo"},
              {"other", "aLo", "(-bLo)"},
              {call(sums.hi, "one"), call(sums.lo, "oneLo"), call(a.hi - b.hi, "other"),
               call(a.lo, "aLo"), call(b.lo, "bLo")},
              " + -((oneLo + aLo + bLo)*QE) + -((aLo - bLo)*QO)"};
    } else {
      const auto leading = fastTwoSum(a.hi, -b.hi);
      const auto one = fastTwoSum(leading.hi, (leading.lo - b.lo) + a.lo);
      const auto other = fastTwoSum(sums.hi, (a.lo + b.lo) + sums.lo);
      const Term odd = tail.odd * other.hi, even = tail.even * one.hi;
      call(red.reduced.exactR().lo, "rLo");
      return {{"one", "oneLo"},
              {"other", "otherLo"},
              {call(one.hi, "one"), call(one.lo, "oneLo"), call(other.hi, "other"),
               call(other.lo, "otherLo")},
              text(" + (", odd, " - QO*other) + (", even,
                   " - QE*one) + -((trailing - Mtrailing)*other) + rLo*otherLo"),
              [=, r = red.reduced.exactR().hi](Script& s) {
                const auto second = fastTwoSum(odd, even);
                const Term product =
                    splitHiLo(other.hi, split26Bits).hi * splitHiLo(r, split26Bits).hi;
                s.stands(r, "Mr");
                s.hint("rHi - Mr -> -rLo + -(trailing - Mtrailing)");
                s.assume("@FIX(l,-58) /\\ @FIX(N,0) /\\ |N| >= 1");
                s.multiple(r, -98);
                s.exact(product);
                s.unordered(second.lo);
                s.unordered(fastTwoSum(product, second.hi).lo);
              }};
    }
  }
}

/// The hull of numbers.
struct Hull : Interval {
  Hull()
      : Interval{std::numeric_limits<double>::infinity(),
                 -std::numeric_limits<double>::infinity()} {}
  void add(const Interval& i) { low = std::min(low, i.low), high = std::max(high, i.high); }
};

/// N, and what the kernel has for it: its parts, A and B, and what the sums of the parts lack.
struct Row {
  Real a, b;
  std::vector<Interval> parts;
  Interval dOne, dOther;
};

template <class E>
Row rowOf(int n, const Reduction& red, const Table& t) {
  Row row;
  const int m = n >> 6;
  const double near = n == 0 ? 0x1p-20 : (ln2() * Real(n) / Real(64)).toDouble();
  const auto values = Recorder::get().evaluate({{operand(red.x, 0).id, near}});
  const auto value = [&](const Term& term) {
    return fromWord<double>((*values)[static_cast<std::size_t>(term.id)]);
  };
  require(value(red.n) == n, "an argument of this N");
  row.a = Real::apply(mpfr_exp2, Real(n - 64 * m) / Real(64));
  row.b = Real::apply(mpfr_exp2, Real(-n - 64 * m) / Real(64));
  std::map<std::string, Real> part;
  for (const Term& cut : t.cuts) {
    const double v = std::ldexp(value(cut), 1 - m);
    row.parts.push_back({v, v});
    part[written(cut)] = Real(v);
  }
  Real one = E::sine ? row.a - row.b : row.a + row.b,
       other = E::sine ? row.a + row.b : row.a - row.b;
  for (const auto& p : t.one)
    one = one - part.at(p);
  for (const auto& p : t.other)
    other = p[0] == '(' ? other + part.at(p.substr(2, p.size() - 3)) : other - part.at(p);
  row.dOne = enclosure(one), row.dOther = enclosure(other);
  return row;
}

/// Each N below 144 (A50), then some together; where e^-|x| hardly counts, those of neighbouring
/// rows.
std::vector<std::vector<int>> groups(int first, int last, bool isLong) {
  std::vector<std::vector<int>> result;
  std::map<int, std::size_t> of;
  for (int n = first; n <= last; ++n) {
    const int key = n >= (isLong ? 128 : 256) ? 256 + (n % 64 + 3) / (isLong ? 8 : 4)
                    : n < (isLong ? 9 : 144)  ? n
                                              : n & (isLong ? ~7 : ~3);
    const auto [found, isNew] = of.emplace(key, result.size());
    if (isNew)
      result.emplace_back();
    result[found->second].push_back(n);
  }
  return result;
}

std::string sum(const std::vector<std::string>& parts) {
  std::string result;
  for (const auto& p : parts)
    result += (result.empty() ? "" : " + ") + p;
  return result;
}

template <class E>
Real functionOf(const Real& x) {
  return Real::apply(E::sine ? mpfr_sinh : mpfr_cosh, x);
}

/// The arguments next to that whose result is a power of two.
std::vector<Interval> nextToPowers(bool sine) {
  std::vector<Interval> result;
  for (int k = sine ? -4 : 1; k < 2; ++k) {
    const double x = Real::apply(sine ? mpfr_asinh : mpfr_acosh, twoTo(k)).toDouble();
    result.push_back({x - 16 * (above(x) - x), x + 16 * (above(x) - x)});
  }
  return result;
}
/// Their errors, by MPFR.
template <class E>
void evaluateNextToPowers(Proof& proof, const E& e) {
  double worst = 0;
  for (const Interval& i : nextToPowers(E::sine)) {
    for (double x = i.low; x <= i.high; x = above(x)) {
      double result = 0;
      e.library(&x, &result, 1);
      const Real exact = functionOf<E>(x);
      const int place = std::ilogb(mpfr_get_d(exact.get(), MPFR_RNDZ)) - 52;
      worst = std::max(worst, std::ldexp(std::fabs((Real(result) - exact).toDouble()), -place));
    }
  }
  Script s(e.name + " next to powers of two");
  s.real("error", Interval::within(above(worst)));
  s.bound(e.name + " normal", "error");
  proof.add(s);
}

template <class E>
void table(Proof& proof, const E& e) {
  using Kernel = typename E::Kernel;
  const Interval range{Kernel::tableFrom, below(Kernel::Limits::large)};
  Recorder::get().clear();
  const Term x = Term::argument("x");
  const Reduction red(magnitude(x));
  const Term result = Kernel::compute(x),
             value = call(E::sine ? operand(result, 0) : result, "value");
  const Term rest = operand(value, 1);
  Term r = red.r;
  if constexpr (E::sine && E::isLong)
    r = call(red.reduced.exactR().hi, "rHi");
  const ExpTailParts<Term> tail = expTailParts<typename E::Polynomial>(r);
  const Table t = tableOf<E>(red, value, tail);
  const Interval even =
      Interval::within(polynomialError(tail.even, r, "cosh(x) - 1", Interval::within(largestR)));
  const Interval odd =
      Interval::within(polynomialError(tail.odd, r, "sinh(x) - x", Interval::within(largestR)));
  Recorder::get().freeze();
  replay(proof, e.name + " table", e.library, x, result, range);

  const auto nOf = [](double v) { return reduceExp(v).m * 64 + reduceExp(v).j; };
  const int first = nOf(range.low), last = nOf(range.high);
  std::map<int, Row> rows;
  for (int n = first; n <= last; ++n)
    rows.emplace(n, rowOf<E>(n, red, t));
  for (const std::vector<int>& group : groups(first, last, E::isLong)) {
    const auto rOf = [&](double v) {
      return (Real(v) - ln2() * Real(group[0]) / Real(64)).toDouble();
    };
    const std::string name =
        text(e.name, " N ", group[0], group.size() > 1 ? text(" to ", group.back()) : "");
    // (of the first N not all R belong to the range)
    const Interval whole{group[0] == first ? below(rOf(range.low)) : -largestR, largestR};
    std::vector<Interval> all = cutAt({whole}, 0), evaluated;
    if (!E::isLong && group.size() == 1)
      for (const Interval& i : nextToPowers(E::sine)) {
        evaluated.push_back({above(rOf(i.low)), below(rOf(i.high))});
        all = cutAt(cutAt(all, evaluated.back().low), evaluated.back().high);
      }
    for (const Interval& piece : all) {
      if (liesInOneOf(evaluated, piece)) {
        proof.covered(name, piece);
        continue;
      }
      Script s(text(name, " ", piece));
      red.over(proof, s, name, piece);
      for (std::size_t i = 0; i < t.cuts.size(); ++i) {
        Hull hull;
        for (const int n : group)
          hull.add(rows.at(n).parts[i]);
        s.cut(t.cuts[i], written(t.cuts[i]));
        s.real(written(t.cuts[i]), hull);
      }
      double ulp = 1;
      bool isFar = true; // from the power of two above
      Hull dOne, dOther;
      for (const int n : group) {
        const Row& row = rows.at(n);
        const auto exact = [&](const Real& v) {
          const Real grown = row.a * Real::apply(mpfr_exp, v),
                     shrunk = row.b / Real::apply(mpfr_exp, v);
          return E::sine ? grown - shrunk : grown + shrunk;
        };
        const double ulpHere = leastUlp(exact, piece.low, piece.high);
        ulp = std::min(ulp, ulpHere);
        isFar = isFar && exact(piece.high).toDouble() * (1 + 0x1p-50) < ulpHere * 0x1p53;
        dOne.add(row.dOne), dOther.add(row.dOther);
      }
      s.real("dOne", dOne), s.real("dOther", dOther);
      s.truth(tail.even, "QE", even);
      s.truth(tail.odd, "QO", odd);
      s.define("S", text("(", sum(t.one), " + dOne)*(1 + QE) + (", sum(t.other),
                         " + dOther)*(Mr + QO)"));
      s.hint(text(s.operationOf(value), " - S -> (", rest, " - ", s.ideal(rest), ")", t.left,
                  " + -(dOne*(1 + QE)) + -(dOther*(Mr + QO))"));
      t.more(s);
      s.lastRounding(e.name + " normal", value, "S", ulp, isFar ? 2 : 1);
      proof.add(s);
    }
    proof.coversReals(name, whole);
  }
  if (!E::isLong)
    evaluateNextToPowers(proof, e);
}

/// From 31 ln 2 on, e^|x| / 2 alone.
template <class E>
void large(Proof& proof, const E& e) {
  using Kernel = typename E::Kernel;
  using Limits = typename Kernel::Limits;
  Recorder::get().clear();
  const Term x = Term::argument("x");
  const Reduction red(magnitude(x));
  const Term result = Kernel::computeSecondRange(x),
             value = call(unscaled(E::sine ? operand(result, 0) : result), "value");
  const Term far = Kernel::withSignOf(x, scaleTwoStep(value, red.reduced.m - 1));
  const Term power = operand(value, 0), rest = operand(value, 1),
             tail = expTail<typename E::Polynomial>(red.r);
  const double error = polynomialError(tail, red.r, "expm1(x) - x", Interval::within(largestR));
  Recorder::get().freeze();
  replay(proof, e.name + " large", e.library, x, result, {Limits::large, below(Limits::ordinary)});
  replay(proof, e.name + " far", e.library, x, far, {Limits::ordinary, below(Limits::overflow)});
  const double small =
      above(Real::apply(mpfr_exp, Real(-2 * Limits::large)).toDouble()); // e^-|x| / e^|x|
  for (int j = 0; j < 64; ++j) {
    const std::string name = text(e.name, " row ", j);
    const auto values = Recorder::get().evaluate(
        {{x.id, 40 * ln2().toDouble() + (ln2() * Real(j) / Real(64)).toDouble()}});
    const auto value_ = [&](const Term& t) {
      return fromWord<double>((*values)[static_cast<std::size_t>(t.id)]);
    };
    require(value_(red.n) == 40 * 64 + j, "an argument of this row");
    for (const Interval& piece : pieces(Interval::within(largestR), 2)) {
      Script s(text(name, " ", piece));
      red.over(proof, s, name, piece);
      s.truth(tail, "Q", Interval::within(error));
      s.cut(power, "power");
      s.real("power", {value_(power), value_(power)});
      Real left = proof::power(j) - Real(value_(power));
      std::string entry = "power", meets = "";
      if constexpr (E::isLong) {
        const Term lo = call(operand(rest, 1), "powerLo");
        s.cut(lo, "powerLo");
        s.real("powerLo", {value_(lo), value_(lo)});
        left = left - Real(value_(lo));
        entry = "power + powerLo", meets = " + -(powerLo*(Mr + Q))";
      }
      s.real("dP", enclosure(left));
      s.real("dE", Interval::within(small));
      s.define("E", text("(", entry, " + dP)*(1 + (Mr + Q))"));
      s.define("S", "E*(1 + dE)");
      s.hint(text(s.operationOf(value), " - S -> (", rest, " - ", s.ideal(rest), ")", meets,
                  " + -(dP*(1 + (Mr + Q))) + -(E*dE)"));
      s.lastRounding(e.name + " normal", value, "S",
                     leastUlp(
                         [&](const Real& v) {
                           return proof::power(j) * Real::apply(mpfr_exp, v) *
                                  (Real(1) - Real(small));
                         },
                         piece.low, piece.high));
      proof.add(s);
    }
    proof.coversReals(name, Interval::within(largestR));
  }
  require(mpfr_cmp((functionOf<E>(below(Limits::overflow)) + twoTo(972)).get(), twoTo(1024).get()) <
              0,
          "no result within two ulps overflows");
}

/// The series of Sinh, from 2^-53 on. (Below, results are x and 1, off by x^3 and x^2 at most.)
template <class E>
void series(Proof& proof, const E& e) {
  const Interval range{HyperbolicRanges::tiny, E::Kernel::tableFrom};
  Recorder::get().clear();
  const Term x = Term::argument("x"), a = magnitude(x), value = call(sinhSeries(a), "value"),
             rest = operand(value, 1);
  const Term result = copySign(value, x);
  Recorder::get().freeze();
  replay(proof, e.name + " series", e.library, x, result, {range.low, below(range.high)});
  const double error = polynomialError(formulaOf(value, a, "x"), "sinh(x)", {0, range.high}, true);
  for (const Interval& piece : binades(range, -53)) {
    Script s(text(e.name, " series ", piece));
    s.cut(a, "a");
    proof.over(s, e.name + " series", "a", piece);
    s.define("P", "a + " + s.ideal(rest));
    s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
    s.define("S", "P*(1 + dS)");
    s.hint(text(s.operationOf(value), " - S -> (", rest, " - ", s.ideal(rest), ") + -(P*dS)"));
    s.lastRounding(e.name + " normal", value, "S", leastUlp(functionOf<E>, piece.low, piece.high));
    proof.add(s);
  }
  proof.coversReals(e.name + " series", range);
}

template <class E>
void prove(Proof& proof, const E& e) {
  table(proof, e);
  large(proof, e);
  if constexpr (E::sine)
    series(proof, e);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  reduction(proof, {0x1p-53, 711});
  proof.coversReals("arguments", {0x1p-53, 711});
  prove(proof, Export<Cosh_64f_A53, CoshA53, false, true>{"Cosh_64f_A53", qelsCosh_64f_A53});
  prove(proof, Export<Cosh_64f_A50, CoshA50, false, false>{"Cosh_64f_A50", qelsCosh_64f_A50});
  prove(proof, Export<Sinh_64f_A53, SinhA53, true, true>{"Sinh_64f_A53", qelsSinh_64f_A53});
  prove(proof, Export<Sinh_64f_A50, SinhA50, true, false>{"Sinh_64f_A50", qelsSinh_64f_A50});
  return proof.finish();
}
