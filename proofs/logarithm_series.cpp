// Ln and Log10 in A50: x = m 2^k, f = m - 1, ln m = f - Q (f - R) with Q = f/(2 + f), R a series.
//
// For k = 0, and where k log 2 may lie in the binade above the result, the result can be off by
// more than an ulp before its last rounding. These k have scripts of their own, and the doubles
// next to those whose result is a power of two, for which the lemma Last Rounding needs less, go
// through the library. The other k are in groups.
#include "proof.hpp"

#include "explog/ln.cpp"
#include "explog/log10.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

struct Natural {
  using Kernel = LnA50<Ln_64f_A50>;
  static constexpr const char* name = "Ln_64f_A50";
  static constexpr auto library = qelsLn_64f_A50;
  static constexpr bool decimal = false;
  static Real of(const Real& x) { return Real::apply(mpfr_log, x); }
  static Real inverse(const Real& y) { return Real::apply(mpfr_exp, y); }
};
struct Decimal {
  using Kernel = Log10A50<Log10_64f_A50>;
  static constexpr const char* name = "Log10_64f_A50";
  static constexpr auto library = qelsLog10_64f_A50;
  static constexpr bool decimal = true;
  static Real of(const Real& x) { return Real::apply(mpfr_log10, x); }
  static Real inverse(const Real& y) { return Real::apply(mpfr_exp10, y); }
};

/// f for sqrt(1/2) <= m < sqrt(2)
constexpr double leastM = 0x1.6a09e667f3bcdp-1;
const Interval allF{leastM - 1, below(2 * leastM) - 1};
/// |f| up to this go through the library.
constexpr double nextToOne = 0x1p-42;

/// The k of a script.
struct Group {
  int low, high;
  bool isOne() const { return low == high; }
};
/// Of all doubles, subnormal ones too: one by one where k log 2 is less than half of log 2 above a
/// power of two (or next to that).
template <class F>
std::vector<Group> groups() {
  std::vector<Group> result;
  int last = 0; // the binade of the last group, 0 if it is a single k
  for (int k = -1074; k <= 1024; ++k) {
    const double v = (Real(std::abs(k)) * F::of(2)).toDouble(), half = F::of(2).toDouble() * 0.501;
    const int binade = k == 0 ? 0 : std::ilogb(v);
    if (k == 0 || v - half < std::ldexp(1.0, binade)) {
      result.push_back({k, k});
      last = 0;
    } else if (const int key = (k < 0 ? -100 : 100) + binade; key == last)
      result.back().high = k;
    else {
      result.push_back({k, k});
      last = key;
    }
  }
  return result;
}

/// The logarithm of (1 + f) 2^k.
template <class F>
Real logarithmOf(double f, int k) {
  return F::of((Real(1) + Real(f)) * twoTo(k));
}

/// The f whose results lie within four ulps of a power of two, and some next to them; by one k.
template <class F>
std::vector<Interval> nextToPowers(int k) {
  std::vector<Interval> result;
  if (k == 0)
    result.push_back(Interval::within(nextToOne));
  for (int e = -45; e < 10; ++e)
    for (const int sign : {-1, 1}) {
      const auto end = [&](double side) {
        return (F::inverse(Real(sign) * twoTo(e) * (Real(1) + Real(side))) * twoTo(-k)).toDouble();
      };
      const double a = end(-0x1p-51), b = end(0x1p-51);
      const Interval f{below(below(std::min(a, b))) - 1, above(above(std::max(a, b))) - 1};
      if (f.high <= allF.low || f.low >= allF.high || (k == 0 && f.magnitude() < nextToOne))
        continue;
      result.push_back({std::max(f.low, allF.low), std::min(f.high, allF.high)});
    }
  return result;
}

/// Their largest error, by MPFR.
template <class F>
double largestError(const Interval& f, int k) {
  double worst = 0;
  for (double m = 1 + f.low; m <= 1 + f.high; m = above(m)) {
    const double x = std::ldexp(m, k);
    if (x == 1)
      continue;
    double result = 0;
    F::library(&x, &result, 1);
    const Real exact = F::of(Real(x));
    const int place = std::ilogb(mpfr_get_d(exact.get(), MPFR_RNDZ)) - 52;
    worst = std::max(worst, std::ldexp(std::fabs((Real(result) - exact).toDouble()), -place));
  }
  return worst;
}

/// For k = 1 and -1: next to where the logarithm of m is so large that its last place is that of
/// the result, and the last sum exact.
template <class F>
Interval nextToExact(int k) {
  const double size = F::decimal ? 0x1p-3 : 0x1p-2;
  const auto f = [&](double v) { return (F::inverse(Real(k > 0 ? -v : v)) - Real(1)).toDouble(); };
  const double a = f(size - 0x1p-46), b = f(size + 0x1p-46);
  return {std::min(a, b), std::max(a, b)};
}

/// The pieces of f: binades next to one, equal ones elsewhere.
std::vector<Interval> piecesOf(const Group& group) {
  std::vector<Interval> result;
  for (const Interval& side : {Interval{allF.low, 0}, Interval{0, allF.high}})
    if (group.low == 0 && group.high == 0) {
      for (const Interval& binade : binades(side, -42))
        for (const Interval& piece : pieces(binade, binade.magnitude() > 0x1p-2   ? 8
                                                    : binade.magnitude() > 0x1p-4 ? 4
                                                                                  : 1))
          result.push_back(piece);
    } else
      for (const Interval& piece : pieces(side, group.isOne() ? 4 : 1))
        result.push_back(piece);
  std::sort(result.begin(), result.end(),
            [](const Interval& a, const Interval& b) { return a.low < b.low; });
  return result;
}

/// The derivative of the series at |q|; without negative coefficients it increases.
double steepnessAt(double q, const Term& series, const Term& variable) {
  const auto coefficient = [](double c) {
    require(c >= 0, "a coefficient is not negative");
    return WithSlope{Real(c), Real(0)};
  };
  return polynomialAt(WithSlope{Real(q), Real(1)}, series, variable, coefficient).slope.toDouble();
}

template <class F>
double prove(Proof& proof, const Group& group) {
  using Kernel = typename F::Kernel;
  Recorder::get().clear();
  const Term x = Term::argument("x");
  const auto split = splitExponent(x, leastM);
  const auto integer = split.k + 0;
  if (group.isOne())
    suppose(integer, group.low);
  const Term value = call(Kernel::compute(x), "value");
  // By their places in the kernel's last lines.
  const bool isScaled = group.low != 0 || group.high != 0;
  const Term last = isScaled ? operand(value, 1) : value; // of the logarithm of m
  const Term g = call(F::decimal ? operand(last, 0) : last, "g");
  const Term f = call(split.m - 1.0, "f"), t = call(2.0 + f, "t"), q = call(f / t, "q");
  const Term p = call(operand(g, 1), "p"), a = call(operand(p, 1), "a"), series = operand(a, 1);
  Recorder::get().freeze();

  const std::string name =
      text(F::name, " k ", group.low, group.isOne() ? std::string() : text(" to ", group.high));
  proof.replay(name, F::library, x, value, [&](std::mt19937_64& random) {
    const int k =
        group.low + static_cast<int>(random() % static_cast<Word>(group.high + 1 - group.low));
    const double m = 1 + Proof::uniform(allF.low, allF.high)(random);
    return std::ldexp(m, std::max(-1021, std::min(m < 1 ? 1024 : 1023, k)));
  });

  double worst = 0;
  std::vector<Interval> all = piecesOf(group), evaluated;
  const bool mayBeExact = group.isOne() && std::abs(group.low) == 1;
  if (group.isOne())
    evaluated = nextToPowers<F>(group.low);
  if (mayBeExact)
    evaluated.push_back(nextToExact<F>(group.low));
  for (const Interval& i : evaluated) {
    all = cutAt(cutAt(all, i.low), i.high);
    worst = std::max(worst, largestError<F>(i, group.low));
  }
  for (const Interval& piece : all) {
    if (liesInOneOf(evaluated, piece)) {
      proof.covered(name, piece);
      continue;
    }
    Script s(text(name, " ", piece));
    s.cut(split.m, "m");
    s.exact(f);
    proof.over(s, name, "f", piece);
    s.hint("m -> f + 1");
    s.goal("@FIX(m,-53)");
    s.define("Q", "f/(2 + f)");
    // (Gappa shows the conditions of the identities.)
    const auto hint = [&](const std::string& rule, const std::string& more = "") {
      s.hint(rule + " { 2 + f <> 0" + more + " }");
    };
    hint("q - Q -> (q - f / t) + -(f / t)*((t - (2 + f))/(2 + f))", ", t <> 0");
    // What the polynomial leaves of ln((1 + Q)/(1 - Q)) = 2 Q + Q R, odd in Q
    const auto sizeOfQ = [](double v) { return std::fabs(v / (2 + v)); };
    const double least = std::min(sizeOfQ(piece.low), sizeOfQ(piece.high)) * (1 - 0x1p-50),
                 most = std::max(sizeOfQ(piece.low), sizeOfQ(piece.high)) * (1 + 0x1p-50);
    s.real("dT", Interval::within(polynomialError(
                     "x*" + formulaOf(series, q, "x"), "log1p(x) - log1p(-x) - 2*x",
                     most > 0x1p-4 ? Interval{least, most}
                                   : Interval{0, std::ldexp(1.0, std::ilogb(most) + 1)})));
    // The series at Q is that at q less (q - Q) times its derivative between them.
    s.stands(q, text(q));
    s.goal("|q - Q| <= 0x1p-52");
    const double steepness[] = {below(steepnessAt(std::max(0.0, least - 0x1p-52), series, q)),
                                above(steepnessAt(most + 0x1p-52, series, q))};
    s.real("E", piece.low < 0 ? Interval{-steepness[1], -steepness[0]}
                              : Interval{steepness[0], steepness[1]});
    s.define("R", text(s.ideal(series), " - (q - Q)*E"));
    s.define("G", "f - Q*(f - R) + dT");
    s.stands(g, "G");
    const std::string off =
        text("((p - q*", a, ") + q*(", a, " - (f - ", series, ")) + -(q*(", series, " - ",
             s.ideal(series), ")) + (q - Q)*(f - ", s.ideal(series), " - Q*E))");
    hint(text("g - G -> (g - (f - p)) + -", off, " + -dT"));
    std::string logarithm = "G", sum = "(g - G)";
    if constexpr (F::decimal) {
      const Term e = operand(last, 1);
      s.truth(e, "LE", enclosure(Real(1) / Real::apply(mpfr_log, Real(10)) - Real(e.value())));
      logarithm = "G*LE";
      hint(text("g * ", e, " - G*LE -> (g - G)*", e, " + -(G*dLE)"));
      sum = text("((", last, " - g * ", e, ") + (g * ", e, " - G*LE))");
    }
    if (!isScaled)
      s.define("S", logarithm);
    else if (const Term product = operand(value, 0); group.isOne()) {
      s.truth(product, "KL", enclosure(Real(group.low) * F::of(2) - Real(product.value()), 1024));
      s.define("S", "KL + " + logarithm);
      hint(text(s.operationOf(value), " - S -> -dKL + ", sum));
    } else {
      const Term k = operand(product, 0), log2 = operand(product, 1);
      s.cut(k, "k", "fixed<0,ne>");
      s.real("k", {static_cast<double>(group.low), static_cast<double>(group.high)});
      s.truth(log2, "L2", enclosure(F::of(2) - Real(log2.value())));
      s.define("S", "k*L2 + " + logarithm);
      hint(text(s.operationOf(value), " - S -> (", product, " - k*L2) + ", sum));
    }
    if (!isScaled && !F::decimal)
      hint(text("f - p - S -> -", off, " + -dT"));
    const bool isPositive = group.low > 0 || (group.low == 0 && piece.low >= 0);
    const Real nearest = logarithmOf<F>(isPositive ? piece.low : piece.high,
                                        isPositive ? group.low : group.high),
               farthest = logarithmOf<F>(isPositive ? piece.high : piece.low,
                                         isPositive ? group.high : group.low);
    const double ulp = std::ldexp(1.0, std::ilogb(mpfr_get_d(nearest.get(), MPFR_RNDZ)) - 52);
    const Real size = Real::apply(mpfr_abs, farthest);
    const bool isFar = mpfr_cmp((size + Real(2 * ulp)).get(), Real(ulp * 0x1p53).get()) < 0;
    require(isFar || !group.isOne(), text(name, " ", piece, ": not next to a power of two"));
    if (mayBeExact) {
      const auto end = [](double v) { return enclosure(Real::apply(mpfr_log1p, Real(v))); };
      s.real("G", {end(piece.low).low, end(piece.high).high});
      hint("f - p -> G + (f - p - G)");
    }
    if (mayBeExact &&
        (group.low > 0 ? piece.high <= evaluated.back().low : piece.low >= evaluated.back().high)) {
      s.exact(value);
      s.bound(text(F::name, " normal"), text("(", s.operationOf(value), " - S)/", ulp));
    } else
      s.lastRounding(text(F::name, " normal"), value, "S", ulp, isFar ? 2 : 1);
    proof.add(s);
  }
  proof.coversReals(name, allF);
  return worst;
}

/// A subnormal x is scaled first: by the same steps, for another k.
template <class F>
void replaySubnormal(Proof& proof) {
  Recorder::get().clear();
  const Term x = Term::argument("x");
  proof.replay(text(F::name, " subnormal"), F::library, x, F::Kernel::logarithm(x * 0x1p60, -60),
               [](std::mt19937_64& random) {
                 return std::ldexp(static_cast<double>(random() >> (12 + random() % 52) | 1),
                                   -1074);
               });
}

template <class F>
void prove(Proof& proof) {
  replaySubnormal<F>(proof);
  double worst = 0;
  for (const Group& group : groups<F>())
    worst = std::max(worst, prove<F>(proof, group));
  Script s(text(F::name, " next to powers of two"));
  s.real("error", Interval::within(above(worst)));
  s.bound(text(F::name, " normal"), "error");
  proof.add(s);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  prove<Natural>(proof);
  prove<Decimal>(proof);
  return proof.finish();
}
