// Atanh, Asinh and Acosh.
//
// 1. The series next to zero, by pieces of binades; that of Acosh, sqrt(2t) (1 + t Q(t)), t = x -
// 1, of
//    any root as seeded_root.hpp shows it.
// 2. What the logarithm is of, z = m 2^k + low: how far it is off (1 + a)/(1 - a), or a + sqrt(a^2
// +- 1).
// 3. The logarithm, by pieces of m, of any z that is as far off as 2. says.
#include "seeded_root.hpp"

#include "hyperbolic/acosh.cpp"
#include "hyperbolic/asinh.cpp"
#include "hyperbolic/atanh.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

Real logarithm(const Real& x) {
  return Real::apply(mpfr_log, x);
}
const auto itself = [](const Real& v) { return v; };

// ---- series -------------------------------------------------------------------------------------

/// x + (s p(s)) x, s = x^2
template <class Kernel>
void series(Proof& proof, const std::string& name, Proof::Export library,
            const std::string& function, int (*of)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t),
            double limit) {
  const auto value0 = [=](const Real& x) { return Real::apply(of, x); };
  for (const Interval& binade : binades({0x1p-57, limit}, -60))
    for (const Interval& piece : pieces(binade, binade.low < 0x1p-7 ? 1 : 4)) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), value = call(Kernel::computeSecondRange(x), "value");
      const Term trailing = operand(value, 1);
      Recorder::get().freeze();
      proof.replay(text(name, " series ", piece), library, x, value,
                   Proof::eitherSign({piece.low, below(piece.high)}));
      const double error =
          polynomialError("x + " + formulaOf(trailing, x, "x"), function + "(x)", {0, limit}, true);
      Script s(text(name, " series ", piece)); // (odd, sign for sign)
      s.cut(x, "x");
      proof.over(s, name + " series", "x", piece);
      s.define("P", "x + " + s.ideal(trailing));
      s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
      s.define("S", "P*(1 + dS)");
      s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                  ") + -(P*dS)"));
      s.lastRounding(name + " normal", value, "S", leastUlp(value0, piece.low, piece.high));
      proof.add(s);
    }
  proof.coversReals(name + " series", {0x1p-57, limit});
}

/// Below 2^-8, of a root in [1,2], which is any scale: of products with powers of two nothing is
/// rounded.
template <class Tag>
void acoshSeries(Proof& proof, const std::string& name, Proof::Export library,
                 const std::vector<RootGroup>& groups) {
  for (const Interval& binade : binades({0x1p-52, 0x1p-4}, -8))
    for (const Interval& piece :
         cutAt(pieces(binade, binade.low < 0x1p-8 ? 1 : 8), 0x1.01560cp-5)) { // above cosh(1/4) - 1
      Recorder::get().clear();
      const Term x = Term::argument("x"), t = call(x - 1.0, "t");
      const Term value = call(InverseCosine<Tag>::computeSecondRange(x), "value");
      const auto root = seededRoot<Tag>(2.0 * t);
      const Term trailing = operand(value, 1), p = operand(operand(trailing, 0), 0);
      Recorder::get().freeze();
      proof.replay(text(name, " series ", piece), library, x, value,
                   Proof::uniform(1 + std::max(piece.low, 0x1p-52), below(1 + piece.high)));
      const double error = polynomialError("x*(1 + " + formulaOf(p, t, "(x^2/2)") + ")",
                                           "2*asinh(x/2)", {0, 0x1.6a09e667f3bcdp-2}, true);
      const bool anyScale = piece.high <= 0x1p-8;
      const RootGroup group = rootOf(groups, {anyScale ? 0 : 2 * piece.low, 2 * piece.high});
      const std::vector<Interval> all{
          {std::sqrt(2 * piece.low) * (1 - 0x1p-50), std::sqrt(2 * piece.high) * (1 + 0x1p-50)}};
      for (const Interval& u : anyScale ? pieces({1, 2}, 4) : all) {
        Script s(text(name, " series ", piece, anyScale ? text(" ", u) : ""));
        s.cut(t, "t", "fixed<-52,ne>");
        proof.over(s, name + " series", "t", piece);
        s.cut(root.hi, "rootHi");
        s.cut(root.lo, "rootLo");
        s.real("U", u);
        s.assume(text("|rootHi + rootLo - U| <= ", group.error * u.high,
                      " /\\ |rootLo| <= ", group.low * u.high));
        s.define("P", text("1 + ", s.ideal(p)));
        s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
        s.define("S", "U*P*(1 + dS)");
        s.hint(text("rootHi -> U + (rootHi + rootLo - U) - rootLo"));
        s.hint(text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing),
                    ") + P*(rootHi + rootLo - U) + -(U*P*dS)"));
        const auto at = [](double v) { return Real::apply(mpfr_acosh, Real(1) + Real(v)); };
        // (acosh(1 + t) > sqrt(2t) (1 - t/12): next to a power of two the ulp below.)
        s.lastRounding(name + " normal", value, "S",
                       anyScale ? leastUlp(itself, u.low * (1 - 0x1p-11), u.high)
                                : leastUlp(itself, at(piece.low), at(piece.high)));
        proof.add(s);
        if (anyScale)
          proof.covered(name + " roots", u);
      }
    }
  proof.coversReals(name + " series", {0x1p-52, 0x1p-4});
  proof.coversReals(name + " roots", {1, 2});
}

// ---- what the logarithm is of -------------------------------------------------------------------

/// A quotient of [1,4], any 1 + a by any 1 - a scaled to [1/2,1], is off by this at most.
constexpr double quotientError = 0x1p-68;

void atanhQuotient(Proof& proof) {
  const Term a = (Recorder::get().clear(), Term::argument("a"));
  const auto n = onePlus(a), d = onePlus(-a);
  const Reciprocal<Term> reciprocal(d);
  const auto q = quotient(n, reciprocal);
  const Term e = call(operand(operand(reciprocal.correction, 0), 1), "e"), rest = operand(e, 0);
  const Term inverse = 1.0 / d.hi;
  Recorder::get().freeze();
  // Both sums without an error; from 1/2 on 1 - a itself is exact, and dLo what its split leaves.
  for (const Interval& piece : binades({0x1p-4, 1}, -4)) {
    Script s(text("Atanh sums ", piece));
    s.cut(a, "a");
    s.multiple(a, std::ilogb(piece.low) - 52);
    proof.over(s, "Atanh sums", "a", piece);
    s.exact(n.lo);
    s.exact(d.lo);
    s.goal(text("|", n.lo, "| <= 0x1.01p-25"));
    if (piece.low < 0.5)
      s.goal(text("|", d.lo, "| <= 0x1.01p-26"));
    else
      s.goal(text(operand(d.lo, 0), " in [0,0]"));
    proof.add(s);
  }
  proof.coversReals("Atanh sums", {0x1p-4, 1});
  Script s("Atanh quotient");
  s.cut(n.hi, "nHi");
  s.cut(n.lo, "nLo");
  s.cut(d.hi, "dHi");
  s.cut(d.lo, "dLo");
  call(reciprocal.seed, "seed");
  s.assume("@FLT(nHi,26) /\\ @FLT(dHi,26) /\\ dHi in [0.5,1] /\\ |dLo| <= 0x1.01p-26 /\\ nHi in "
           "[1,2] /\\ "
           "|nLo| <= 0x1.01p-25");
  for (const Term& t : {operand(rest, 1), rest, q.hi})
    s.exact(t);
  s.define("N", "nHi + nLo");
  s.define("Y", "dHi + dLo");
  s.define("E", "1 - Y*seed");
  s.stands(e, "E");
  s.hint(text("e - E -> e - (", s.operationOf(e), ") + -(", operand(e, 1), " - dLo*seed)"));
  s.hint(text("1 - dHi*seed -> -(dHi*(seed - ", inverse, ")) - dHi*(", inverse,
              " - 1/dHi) {dHi <> 0}"));
  s.real("Q", {0.99, 4.01});
  s.assume("Q*Y - N in [0,0]"); // (rather than a quotient: atan.cpp)
  s.hint(text(q.hi, " + ", q.lo, " - Q -> (", q.lo, " - ",
              s.ideal(q.lo), // seed (1 + E + E^2) Y = 1 - E^3
              ") + -(Q*E*E*E) + (N - Q*Y)*seed*(1 + E + E*E)"));
  s.goal(text("|", q.hi, " + ", q.lo, " - Q| <= ", quotientError, " /\\ |", q.hi, "| - |", q.lo,
              "| >= 0"));
  proof.add(s);
}

/// What a^2 + 1 or x^2 - 1, as the kernel computes it, is off at most, in a^2 at the low end of a
/// binade; x^2 - 1 from 2^26 on.
constexpr double squareError = 0x1p-74, largeSquareError = 0x1.01p-52;

/// `sign` 1: Asinh, -1: Acosh.
template <template <class> class Kernel, class Tag>
void squares(Proof& proof, const std::string& name, int sign) {
  const Term x = (Recorder::get().clear(), Term::argument("x")), a = sign > 0 ? magnitude(x) : x;
  Kernel<Tag>::compute(x);
  const auto part = splitHiLo(a, split26Bits);
  const Term squareHi = part.hi * part.hi, lo = (a + part.hi) * part.lo;
  const auto sum = sign > 0 ? twoSum(squareHi, 1.0) : DoubleDoubleOf<Term>{squareHi - 1.0, 0.0};
  const Term uLo = lo + sum.lo;
  const auto u = fastTwoSum(sum.hi, uLo);
  const auto exact = seededRoot<Tag>(u.hi, u.lo);
  const auto root = fastTwoSum(exact.hi, exact.lo), z = twoSum(root.hi, a);
  const Term low = root.lo + z.lo;
  Recorder::get().freeze();
  for (const Interval& range : binades({sign > 0 ? 0.125 : 1.0625, 0x1p28}, -3)) {
    Script s(text(name, " square ", range));
    s.cut(a, "a");
    s.multiple(a, std::ilogb(range.low) - 52);
    proof.over(s, name + " square", "a", range);
    s.exact(squareHi);
    const bool large = sign < 0 && range.low >= 0x1p26;
    if (sign < 0 && !large)
      s.exact(sum.hi);
    if (large) // the double next to y - 1 is not farther from it than y
      s.assume(text("|", sum.hi, " - (", squareHi, " - 1)| <= 1"));
    s.define("T", sign > 0 ? "a*a + 1" : "a*a - 1");
    s.hint(text("(", u.hi, " + ", u.lo, ") - T -> (", uLo, " - ", s.ideal(uLo), ")",
                large ? text(" + (", sum.hi, " - ", s.ideal(sum.hi), ")") : ""));
    s.goal(text("|(", u.hi, " + ", u.lo,
                ") - T| <= ", (large ? largeSquareError : squareError) * range.low * range.low));
    proof.add(s);
  }
  proof.coversReals(name + " square", {sign > 0 ? 0.125 : 1.0625, 0x1p28});
  // The sum with the root, of any scale.
  Script s(name + " sum");
  s.cut(exact.hi, "hi");
  s.cut(exact.lo, "lo");
  s.cut(a, "a");
  s.assume("hi in [0.25,2] /\\ |lo| <= 0x1p-8 /\\ a in [0,2]");
  s.assume(text(z.hi, " in [1,2]"));
  s.hint(
      text("(", z.hi, " + ", low, ") - (hi + lo + a) -> ", low, " - (", root.lo, " + ", z.lo, ")"));
  s.goal(text("|", low, "| <= 0x1p-51 /\\ |(", z.hi, " + ", low, ") - (hi + lo + a)| <= 0x1p-100"));
  proof.add(s);
}

// ---- the logarithm ------------------------------------------------------------------------------

struct Row {
  Interval m;
  double r, hi, lo;
  Interval rest;
};
/// A logarithm's operations, found in the record.
struct Parts {
  Term value, trailing = operand(value, 1), leading = operand(value, 0),
              tail = operand(trailing, 1);
  Term rest = operand(operand(trailing, 0), 0), uLo = operand(operand(trailing, 0), 1);
  Term sum = operand(leading, 0), uHi = operand(leading, 1), logHi = operand(sum, 1);
  Term kHi = operand(sum, 0), k = operand(kHi, 0), logLo = operand(rest, 1);
  Term product = operand(uHi, 0), mHi = operand(product, 0), r = operand(product, 1);
  Term mLo = operand(uLo, 0);
  bool hasLow = nodeOf(mLo.id).label == "+";
  Term mRest = hasLow ? operand(mLo, 0) : mLo, m = operand(mRest, 0);
  Term u = operand(operand(tail, 0), 0), p = operand(tail, 1);
};

/// The rows of the table, from a record.
template <class Tag>
std::vector<Row> tableRows() {
  Recorder::get().clear();
  const Term z = Term::argument("z");
  const Parts parts{naturalLogarithm<Tag>(DoubleDoubleOf<Term>{z, 0.0})};
  const auto at = [&](double v, int node) {
    return (*Recorder::get().evaluate({{z.id, v}}))[static_cast<std::size_t>(node)];
  };
  const int index = nodeOf(parts.r.id).args[0];
  std::vector<Row> rows;
  for (const auto& [j, m] :
       preimages([&](double v) { return fromWord<std::int32_t>(at(v, index)); }, {1, below(2)})) {
    const auto entry = [&, low = m.low](const Term& t) { return fromWord<double>(at(low, t.id)); };
    Row row{m, entry(parts.r), entry(parts.logHi), entry(parts.logLo), {}};
    row.rest = enclosure(Real(0) - logarithm(row.r) - Real(row.hi) - Real(row.lo));
    rows.push_back(row);
  }
  return rows;
}

struct Hull {
  Interval all{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
  void add(Interval i) { all = {std::min(all.low, i.low), std::max(all.high, i.high)}; }
};

/// The logarithm of (m + low) 2^k that is off what the function is of by `error` of it at most.
void logarithmOf(Proof& proof, const std::string& name, const std::string& label, const Parts& t,
                 const std::vector<Row>& rows, Interval k, Interval m, double error) {
  Hull r, hi, lo, rest, u;
  for (const Row& row : rows)
    if (row.m.low <= m.high && row.m.high >= m.low) {
      r.add({row.r, row.r});
      hi.add({row.hi, row.hi});
      lo.add({row.lo, row.lo});
      rest.add(row.rest);
      u.add({std::max(m.low, row.m.low) * row.r - 1 - 0x1p-48,
             std::min(m.high, row.m.high) * row.r - 1 + 0x1p-48});
    }
  Script s(text(name, " k ", static_cast<int>(k.low), " ", m));
  s.cut(t.m, "m");
  s.multiple(t.m, -52);
  proof.over(s, text(name, " k ", static_cast<int>(k.low)), "m", m);
  s.cut(t.k, "k", "fixed<0,ne>");
  // (Gappa does not see that a product with [0,0] is exact; 0 is in [0,1], too.)
  s.real("k", {k.low, k.high == 0 ? 1 : k.high});
  s.cut(t.r, "r", "fixed<-11,ne>");
  s.cut(t.logHi, "logHi", "fixed<-42,ne>");
  s.cut(t.logLo, "logLo");
  s.assume(text("r in ", r.all, " /\\ logHi in ", hi.all, " /\\ logLo in ", lo.all));
  for (const Term& e : {t.mHi, t.mRest, t.product, t.uHi, t.kHi, t.sum, t.leading})
    s.exact(e);
  s.stands(t.mHi, text(t.mHi));
  const Term w = operand(t.mHi, 0), shifter = operand(w, 1);
  s.hint(text("m - ", t.mHi, " -> -(", w, " - (m + ", shifter, ")) + -(", t.mHi, " - (", w, " - ",
              shifter, "))"));
  s.truth(Term(NaturalLogarithm::log2Lo), "LOG2",
          enclosure(ln2() - Real(NaturalLogarithm::log2Hi) - Real(NaturalLogarithm::log2Lo)));
  s.truth(t.logLo, "ROW", rest.all);
  std::string z = "m";
  if (t.hasLow) {
    s.cut(operand(t.mLo, 1), "low");
    s.assume("low in [-0x1p-50,0x1p-50]");
    z = "(m + low)";
  }
  s.define("U", z + "*r - 1");
  s.assume(text("U in ", u.all));
  call(t.u, "u");
  s.stands(t.u, "U");
  s.hint(text("u - U -> (u - (", t.uHi, " + ", t.uLo, ")) + (", t.uLo, " - ", s.ideal(t.uLo), ")"));
  s.hint(text(t.uHi, " -> U - ", s.ideal(t.uLo)));
  s.real("dT", Interval::within(polynomialError("x^2*" + formulaOf(t.p, t.u, "x"), "log1p(x) - x",
                                                Interval::within(0x1.05p-7))));
  s.real("dZ", Interval::within(error * (1 + 0x1p-20)));
  s.define("S", text("k*(", NaturalLogarithm::log2Hi, " + LOG2) + (logHi + ROW) + U + U*U*",
                     s.ideal(t.p), " + dT + dZ"));
  s.hint(text(s.operationOf(t.value), " - S -> (", t.trailing, " - ", s.ideal(t.trailing),
              ") + -(dT + dZ)"));
  s.lastRounding(label, t.value, "S",
                 leastUlp(logarithm, Real(m.low) * twoTo(static_cast<long>(k.low)),
                          Real(m.high) * twoTo(static_cast<long>(k.high))));
  proof.add(s);
}

/// Pieces of z, of which the logarithms between two are next to each other, from `least` up to 4:
/// those of m for k = 0 and 1. Cut just above where the ulps of the logarithm change.
std::vector<std::pair<int, Interval>> piecesOf(double least) {
  std::vector<std::pair<int, Interval>> result;
  const double e8 = 0x1.22161p0, e4 = 0x1.48b5e4p0, e2 = 0x1.a6129ap0,
               e1 = 0x1.5bf0a9p0; // e^(1/8), ..., e/2
  for (const double e : {e8, e4, e2, e1})
    require(mpfr_cmp(logarithm(e == e1 ? 2 * e : e).get(), Real(e == e8   ? 0.125
                                                                : e == e4 ? 0.25
                                                                : e == e2 ? 0.5
                                                                          : 1)
                                                               .get()) > 0,
            "just above");
  const auto add = [&](int k, Interval whole, int count) {
    if (whole.low < whole.high)
      for (const Interval& piece : pieces(whole, count))
        result.push_back({k, piece});
  };
  add(0, {least, e8}, 1);
  add(0, {std::max(least, e8), e4}, 8);
  add(0, {std::max(least, e4), e2}, 4);
  add(0, {e2, 2}, 1);
  add(1, {1, e1}, 1);
  add(1, {e1, 2}, 1);
  return result;
}

/// a, or x, of the z of Asinh, or Acosh: its root.
Real rootOfZ(double z, int sign) {
  return (Real(z) + Real(sign) / Real(z)) / Real(2);
}

template <template <class> class Kernel, class Tag>
void withRoot(Proof& proof, const std::string& name, Proof::Export library, int sign,
              const std::vector<RootGroup>& groups) {
  const double limit = sign > 0 ? 0.125 : 1.0625;
  const double least = (sign > 0 ? 0x1.21fep0 : 0x1.6be9p0);
  require(mpfr_cmp(logarithm(least).get(),
                   Real::apply(sign > 0 ? mpfr_asinh : mpfr_acosh, Real(limit)).get()) < 0,
          "no z is less");
  const auto rows = tableRows<Tag>();
  Recorder::get().clear();
  const Term x = Term::argument("x"), result = Kernel<Tag>::compute(x);
  const Parts parts{call(sign > 0 ? operand(result, 0) : result, "value")};
  Recorder::get().freeze();
  proof.replay(name + " logarithm", library, x, result, [&](std::mt19937_64& random) {
    const double a = std::ldexp(Proof::uniform(1, 2)(random), static_cast<int>(random() % 31) - 3);
    return sign < 0 ? std::max(a, limit) : random() % 2 ? a : -a;
  });
  // (The square is off by squareError of a^2, at most 2^4 of the root's square.)
  const auto errorOf = [&](Interval z, double square) {
    const Real low = rootOfZ(z.low, sign), high = rootOfZ(z.high, sign);
    const double share = std::max((low / Real(z.low)).toDouble(), (high / Real(z.high)).toDouble());
    const Interval w{(low * low).toDouble() * (1 - 0x1p-40),
                     (high * high).toDouble() * (1 + 0x1p-40)};
    return (rootOf(groups, z.high >= 4 ? Interval{0, 0} : w).error + square / 2) * share + 0x1p-99;
  };
  const std::string label = name + " normal";
  for (const auto& [k, m] : piecesOf(least)) {
    const double scale = k + 1; // 2^k
    logarithmOf(proof, name, label, parts, rows, {double(k), double(k)}, m,
                errorOf({m.low * scale, m.high * scale}, 16 * squareError));
  }
  proof.coversReals(name + " k 0", {least, 2});
  proof.coversReals(name + " k 1", {1, 2});
  logarithmOf(proof, name, label, parts, rows, {2, 26}, {1, 2},
              errorOf({4, 0x1p27}, 16 * squareError));
  logarithmOf(proof, name, label, parts, rows, {27, 29}, {1, 2},
              errorOf({0x1p27, 0x1p30}, sign < 0 ? largeSquareError : 16 * squareError));
  for (const int k : {2, 27})
    proof.coversReals(text(name, " k ", k), {1, 2});
  // From 2^28 on log 2a. The kernel has it for doubles alone, so that it stands here again.
  Recorder::get().clear();
  const Term y = Term::argument("x"), a = sign > 0 ? magnitude(y) : y;
  const Term twice =
      call(naturalLogarithm<Tag>(withExponent(1023, a), exponentField(a) - 1022), "value");
  const Parts large{twice};
  Recorder::get().freeze();
  proof.replay(name + " large", library, y, twice, [&](std::mt19937_64& random) {
    return std::ldexp(Proof::uniform(1, 2)(random), 28 + static_cast<int>(random() % 995));
  });
  logarithmOf(proof, name + " large", label, large, rows, {29, 1024}, {1, 2},
              0x1p-57); // asinh a - log 2a < 1/(4 a^2)
  proof.coversReals(name + " large k 29", {1, 2});
}

template <class Tag>
void atanh(Proof& proof, const std::string& name, Proof::Export library) {
  const double least = 0x1.2222p0; // (1 + 1/16)/(1 - 1/16)
  require(least * 15 < 17, "no quotient is less");
  const auto rows = tableRows<Tag>();
  Recorder::get().clear();
  const Term x = Term::argument("x"), result = InverseTangent<Tag>::compute(x);
  const Parts parts{call(operand(operand(result, 0), 0), "value")};
  Recorder::get().freeze();
  proof.replay(name + " logarithm", library, x, result, Proof::eitherSign({0.0625, below(1)}));
  for (const auto& [k, m] : piecesOf(least))
    logarithmOf(proof, name, name + " normal", parts, rows, {double(k), double(k)}, m,
                quotientError);
  logarithmOf(proof, name, name + " normal", parts, rows, {2, 54}, {1, 2}, quotientError);
  proof.coversReals(name + " k 0", {least, 2});
  for (const int k : {1, 2})
    proof.coversReals(text(name, " k ", k), {1, 2});
}

template <class AtanhTag, class AsinhTag, class AcoshTag>
void prove(Proof& proof, const std::string& level, Proof::Export atanhOf, Proof::Export asinhOf,
           Proof::Export acoshOf) {
  const std::string at = "Atanh_64f_" + level, as = "Asinh_64f_" + level, ac = "Acosh_64f_" + level;
  series<InverseTangent<AtanhTag>>(proof, at, atanhOf, "atanh", mpfr_atanh, 0.0625);
  series<InverseSine<AsinhTag>>(proof, as, asinhOf, "asinh", mpfr_asinh, 0.125);
  acoshSeries<AcoshTag>(proof, ac, acoshOf, seededRootGroups<AcoshTag>(proof));
  atanh<AtanhTag>(proof, at, atanhOf);
  const auto groups = seededRootGroups<AsinhTag, Term>(proof, 1.09, {0x1.03ffp0, 0x1.0406p0});
  squares<InverseSine, AsinhTag>(proof, as, 1);
  withRoot<InverseSine, AsinhTag>(proof, as, asinhOf, 1, groups);
  seededRootGroups<AcoshTag, Term>(proof, 1.09, {0x1.03ffp0, 0x1.0406p0});
  squares<InverseCosine, AcoshTag>(proof, ac, -1);
  withRoot<InverseCosine, AcoshTag>(proof, ac, acoshOf, -1, groups);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  atanhQuotient(proof);
  prove<Atanh_64f_A50, Asinh_64f_A50, Acosh_64f_A50>(proof, "A50", qelsAtanh_64f_A50,
                                                     qelsAsinh_64f_A50, qelsAcosh_64f_A50);
  prove<Atanh_64f_A53, Asinh_64f_A53, Acosh_64f_A53>(proof, "A53", qelsAtanh_64f_A53,
                                                     qelsAsinh_64f_A53, qelsAcosh_64f_A53);
  return proof.finish();
}
