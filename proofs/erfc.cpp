// Erfc: of a = |x| a polynomial V, from row 6 on times G = e^(-a^2). For negative x, 2 - erfc(a).
//
// 1. The polynomial of each row, in double-words.
// 2. The Gaussian: -a^2 = N ln2/64 + R, N = 64 m + j, and 2^(j/64) e^R as a double-word, of powers
//    and R in pieces.
// 3. Their product, rounded: in the main range and where it is subnormal; less than two.
#include "exp_reduction.hpp"

#include "errfunc/erfc.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

Real erfc(const Real& x) {
  return Real::apply(mpfr_erfc, x);
}
Real scaledErfc(const Real& x) {
  return erfc(x) * Real::apply(mpfr_exp, x * x);
}

// What 1. and 2. show for 3., relative.
constexpr double tiny = ErfcKernel<Erfc_64f_A53>::tiny;
constexpr double directError = 0x1p-60; // absolute, of the rows without the Gaussian
constexpr double scaledError = 0x1p-62; // relative, of the others

/// What a row leaves of f(a) = e^(a^2) erfc(a), relative: a bound of |P/f - 1|. Its error d has
/// d' = 2 a d + rho, with rho = P' - 2 a P + 2/sqrt(pi), as f' = 2 a f - 2/sqrt(pi). So d(a) is
/// d(b) e^(a^2 - b^2) less the integral of rho e^(a^2 - s^2) from a to b: at most |d(b)| + (b - a)
/// |rho|.
template <class P>
double scaledRowError(const std::string& polynomial, const P& value, double center,
                      Interval range) {
  static std::map<std::string, double> known;
  const auto [found, isNew] = known.emplace(polynomial, 0);
  if (isNew) {
    const double rho =
        polynomialError(text("diff(", polynomial, ") - 2*(", center, " + x)*(", polynomial, ")"),
                        "-2/sqrt(pi)", {below(range.low - center), above(range.high - center)});
    for (const Interval& piece : pieces(range, 64)) {
      const Real exact = scaledErfc(piece.high);
      const double off = std::fabs((value(Real(piece.high) - Real(center)) - exact).toDouble());
      found->second = std::max(found->second, above((off + (piece.high - piece.low) * rho) *
                                                    (1 + 0x1p-50) / exact.toDouble()));
    }
  }
  return found->second;
}

int lastPlaceOf(double v) {
  int k = std::ilogb(v);
  while (std::fmod(v, std::ldexp(1.0, k)) != 0)
    --k;
  return k;
}

/// Row j, for the a that have it.
template <class Tag>
void row(Proof& proof, const std::string& name, Proof::Export library, int j, Interval range) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), a = magnitude(x);
  const Term square = (1.0 + a) * (1.0 + a);
  const auto index = exponentField(square * square) - Format<double>::bias;
  suppose(index, j);
  const DoubleDoubleOf<Term> value = erfcPolynomial<Tag>(a);
  call(value.hi, "vHi"), call(value.lo, "vLo");
  const bool direct = j < 6;
  const Term rounded = call(value.hi + value.lo, "value");
  if (direct) {
    suppose(isNegative(x), false);
    const Term result = ErfcKernel<Tag>::computeSecondRange(x);
    require(result.id == rounded.id, "the result is the polynomial, rounded");
    proof.replay(text(name, " row ", j), library, x, result, Proof::uniform(range.low, range.high));
    require(range.high < ErfcKernel<Tag>::gaussian, "the range without the Gaussian");
  } else
    require(range.low >= ErfcKernel<Tag>::gaussian, "the range with it");
  const auto f = [&](int k) { return lookUp(rowsOfErfc<Tag>(), index, k); };
  const DoubleDoubleOf<Term> t = twoSum(a, f(0));
  call(t.hi, "tHi"), call(t.lo, "tLo");
  // The steps, the last first: their sums and low words.
  std::vector<DoubleDoubleOf<Term>> steps{{operand(value.hi, 0), operand(value.hi, 1)}};
  std::vector<Term> rests;
  Term tail;
  for (int k = 0;; ++k) {
    const DoubleDoubleOf<Term> step = steps[static_cast<std::size_t>(k)];
    call(step.lo, text("lo", k)), call(step.hi, text("hi", k));
    tail = operand(step.hi, 1);
    if (k == 5)
      break;
    const Term next = operand(operand(tail, 0), 0); // of the split
    const Term low = operand(operand(step.lo, 0), 1),
               nextLo = operand(operand(operand(operand(low, 0), 1), 0), 1);
    steps.push_back({next, nextLo});
  }
  for (const auto& step : steps)
    rests.push_back(fastTwoSum(operand(step.hi, 0), operand(step.hi, 1)).lo);
  Recorder::get().freeze();
  const double center = -f(0).value();
  const std::string whole = text("(", formulaOf(tail, t.hi, "x"), ")");
  std::string polynomial = "0";
  for (int k = 5; k >= 0; --k)
    polynomial = text("(", f(2 * k + 1), " + ", f(2 * k + 2), ") + ",
                      k == 5 ? whole : text("x*(", polynomial, ")"));
  const auto function = direct ? erfc : scaledErfc;
  const auto value_ = [&](const Real& v) {
    Real sum = polynomialAt(v, tail, t.hi, [](double c) { return Real(c); });
    for (int k = 5; k >= 0; --k)
      sum = (k == 5 ? sum : v * sum) + Real(f(2 * k + 1).value()) + Real(f(2 * k + 2).value());
    return sum;
  };
  const double error =
      direct ? polynomialError(polynomial, text("erfc(", center, " + x)"),
                               {below(range.low - center), above(range.high - center)}, true)
             : scaledRowError(polynomial, value_, center, range);
  for (const Interval& piece : pieces(range, direct ? 2 : 1)) {
    Script s(text(name, " row ", j, " ", piece));
    s.cut(a, "a");
    proof.over(s, name + " rows", "a", piece);
    s.multiple(t.hi, std::ilogb(piece.low) - 52);
    s.define("T", "tHi + tLo");
    // Next to zero a + (-c) is rounded; the terms from the sixth degree on see that.
    const double off = piece.low < center / 2 ? std::ldexp(1.0, std::ilogb(center) - 53) : 0;
    s.goal(text("|tLo| <= ", off));
    // Its slope is largest where all terms have one sign.
    const double most = above(Interval{range.low - center, range.high - center}.magnitude());
    const auto coefficient = [](double c) { return WithSlope{Real(std::fabs(c)), Real(0)}; };
    const double slope = above(
        polynomialAt(WithSlope{Real(most), Real(1)}, tail, t.hi, coefficient).slope.toDouble());
    s.real("dTail", Interval::within(off * slope));
    for (int k = 5; k >= 0; --k) {
      const auto [hi, lo] = steps[static_cast<std::size_t>(k)];
      const std::string v = text("V", k), rest = text("E", k), ideal = s.ideal(lo);
      s.define(v, text("(", f(2 * k + 1), " + ", f(2 * k + 2), ") + ",
                       k == 5 ? s.ideal(tail) + " + dTail" : text("T*V", k + 1)));
      s.define(rest, text(v, " - ", hi));
      s.hint(text(lo, " - ", rest, " -> (", lo, " - ", ideal, ")",
                  k == 5 ? text(" + (", tail, " - ", s.ideal(tail), ") + -dTail") : ""));
      s.hint(text(rest, " -> ", lo, " - (", lo, " - ", rest, ")"));
      s.stands(lo, rest);
      s.multiple(hi, std::ilogb(f(2 * k + 1).value()) - 56);
      s.orderedByMultiple(rests[static_cast<std::size_t>(k)], lastPlaceOf(f(2 * k + 1).value()));
      if (k < 5)
        s.exact(operand(hi, 1));
    }
    s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
    s.define("S", "V0*(1 + dS)");
    s.hint("vHi + vLo - S -> (lo0 - E0) + -(V0*dS)");
    s.goal(text("|vHi + vLo - S| <= ",
                direct ? directError : scaledError * function(piece.high).toDouble()));
    if (direct)
      s.lastRounding(name + " normal", rounded, "S", leastUlp(function, piece.low, piece.high));
    proof.add(s);
  }
}

/// -a^2 = -(square.hi + square.lo) - ...: square.hi exact, square.lo small.
struct Gaussian {
  Term a;
  DoubleDoubleOf<Term> as = splitHiLo(a, split26Bits), square = productOfShort(as, as);
  Reduction red{-square.hi};
  explicit Gaussian(const Term& argument) : a(call(argument, "a")) {
    call(square.hi, "sHi"), call(square.lo, "sLo");
  }
};
constexpr double largestLo = 0x1p-15, squareError = 0x1p-66; // of a^2's low word
constexpr int lastPlaceOfR = -104, lastPlaceOfU = -700;
constexpr Interval squares{-0x1.74910d52d3052p9, -1}; // -a^2
constexpr double exponentialError = 0x1.0e1p-61, largestU = 0x1.69p-8, largestULo = 0x1p-33;
constexpr double gaussianError = 0x1.19p-61; // relative
constexpr double largestSumLo = 0x1p-24;

void square(Proof& proof, Interval range) {
  for (const Interval& binade : binades(range, 0)) {
    Recorder::get().clear();
    const Gaussian g(Term::argument("a"));
    Script s(text("square ", binade));
    s.cut(g.a, "a");
    s.multiple(g.a, std::ilogb(binade.low) - 52);
    proof.over(s, "square", "a", binade);
    s.exact(g.square.hi);
    s.goal(text("|sLo| <= ", largestLo));
    s.goal(text("|sLo - (a*a - sHi)| <= ", squareError));
    s.hint("sLo - (a*a - sHi) -> sLo - MsLo");
    s.goal(text("sHi in ", Interval{-squares.high, -squares.low}));
    // So that no product underflows.
    s.cut(g.red.n, "N", "fixed<0,ne>");
    s.goal(text("@FIX(sLo,", lastPlaceOfR, ") /\\ @FIX(l,", lastPlaceOfR, ")"));
    proof.add(s);
  }
  proof.coversReals("square", range);
}

/// The record of 2^(j/64) e^R, R = Mr - (a^2 - sHi).
template <class Tag>
struct Power {
  Gaussian g;
  ScaledPair<Term> of; // a value times it
  DoubleDoubleOf<Term> r1 = g.red.reduced.exactR(), r2 = twoSum(r1.hi, -g.square.lo);
  Term r = call(r2.hi, "rHi"), rLo = r1.lo + r2.lo, tail = expTail<ExpPolynomialLong>(r);
  Term u = call(r + tail, "u"), inner = call(tail - u, "inner"), uError = call(r + inner, "uError");
  DoubleDoubleOf<Term> us = splitHiLo(u, split26Bits);
  Term uHi = call(us.hi, "uHi"), uLo = call(rLo + (uError + us.lo), "uLo");
  DoubleDoubleOf<Term> power{lookUp(erfcPowers<Tag>, g.red.reduced.j, &PairRow::hi),
                             lookUp(erfcPowers<Tag>, g.red.reduced.j, &PairRow::lo)};
  DoubleDoubleOf<Term> parts = productOfShort(power, DoubleDoubleOf<Term>{uHi, uLo});
  DoubleDoubleOf<Term> sum = twoSum(power.hi, parts.hi);
  Term gHi = call(sum.hi, "gHi"), gLo = call(parts.lo + (sum.lo + power.lo), "gLo");

  Power(const Term& a, const DoubleDoubleOf<Term>& value)
      : g(a), of(timesGaussian<Tag>(value, a)) {}
  Power() : Power(Term::argument("a"), {Term::argument("vHi"), Term::argument("vLo")}) {}
};

/// e^R - 1 as uHi + uLo.
template <class Tag>
void exponential(Proof& proof, const std::string& name) {
  Recorder::get().clear();
  const Power<Tag> p;
  Recorder::get().freeze();
  const double error =
      polynomialError(p.tail, p.r, "expm1(x) - x", Interval::within(largestR + 2 * largestLo));
  Script s(name + " exponential");
  p.g.red.over(proof, s, s.name(), Interval::within(largestR));
  proof.coversReals(s.name(), Interval::within(largestR));
  const std::string multiple = text("fixed<", lastPlaceOfR, ",ne>");
  s.cut(p.g.red.l, "l", multiple);
  s.cut(p.g.square.lo, "sLo", multiple);
  s.multiple(p.u, lastPlaceOfU);
  s.real("sLo", Interval::within(largestLo));
  s.real("dSquare", Interval::within(squareError));
  s.define("R", "Mr - (sLo + dSquare)");
  s.stands(p.r, "R");
  s.hint(text("rHi - R -> -(", s.ideal(p.rLo), ") + -(trailing - Mtrailing) + dSquare"));
  s.truth(p.tail, "Q", Interval::within(error));
  s.stands(p.inner, "inner");
  s.stands(p.uError, "uError");
  s.hint(text("uError -> (uError - (rHi + inner)) + (inner - (", p.tail, " - u)) + -(u - (rHi + ",
              p.tail, "))"));
  s.define("E", "R + Q - uHi");
  s.hint(text("uLo - E -> (uLo - ", s.ideal(p.uLo), ") + (uError - (rHi + inner)) + (inner - (",
              p.tail, " - u)) + (", p.tail, " - Q) + -(trailing - Mtrailing) + dSquare"));
  s.goal(text("|uLo - E| <= ", exponentialError));
  s.goal(text("|uHi| <= ", largestU, " /\\ |uLo| <= ", largestULo));
  proof.add(s);
}

/// 2^(j/64) e^R = (power + powerLo + dPower)(1 + X) as gHi + gLo, for neighbouring rows.
template <class Tag>
void gaussian(Proof& proof, const std::string& name, int first, int last) {
  Recorder::get().clear();
  const Power<Tag> p;
  Recorder::get().freeze();
  double hi[2] = {3, 0}, lo = 0;
  Interval rest{1, -1};
  for (int k = first; k <= last; ++k) {
    const PairRow& row = erfcPowers<Tag>[k];
    require(row.hi < 2 && std::fmod(row.hi, 0x1p-25) == 0, "26 bits");
    hi[0] = std::min(hi[0], row.hi), hi[1] = std::max(hi[1], row.hi);
    lo = std::max(lo, std::fabs(row.lo));
    const Interval i = enclosure(proof::power(k) - Real(row.hi) - Real(row.lo));
    rest = {std::min(rest.low, i.low), std::max(rest.high, i.high)};
  }
  require(mpfr_cmp_d(Real::apply(mpfr_exp, Real(-largestR - 2 * largestLo)).get(), 0.9941) > 0,
          "e^R");
  Script s(text(name, " power ", first, " to ", last));
  s.cut(p.power.hi, "power", "float<26,-1074,ne>");
  s.cut(p.power.lo, "powerLo");
  s.real("power", {hi[0], hi[1]});
  s.real("powerLo", Interval::within(lo));
  s.real("dPower", rest);
  s.cut(p.uHi, "uHi", text("float<26,", lastPlaceOfU, ",ne>"));
  s.cut(p.uLo, "uLo");
  s.assume(text("|uHi| <= ", largestU, " /\\ |uLo| <= ", largestULo));
  s.assume(text("|uLo - E| <= ", exponentialError));
  s.define("X", "uHi + E");
  s.stands(p.uLo, "E");
  s.hint("uLo ~ E");
  s.hint("E -> uLo - (uLo - E)");
  s.exact(p.parts.hi);
  s.define("G", "(power + powerLo + dPower)*(1 + X)");
  s.hint(text("gHi + gLo - G -> (gLo - ", s.ideal(p.gLo), ") + -(dPower*(1 + X))"));
  s.goal(text("|gHi + gLo - G| <= ", gaussianError * hi[0] * 0.994)); // e^R > 0.994
  s.goal(text("gHi in [0x1.f8p-1,0x1.01p+1] /\\ |gLo| <= ", largestSumLo));
  proof.add(s);
}

/// V G from their words, each a significand: any binade is as good as another.
struct Product {
  DoubleDoubleOf<Term> v, g; // the words
  ScaledPair<Term> of;
  template <class Tag>
  static Product record(const Term& a) {
    const DoubleDoubleOf<Term> v = erfcPolynomial<Tag>(a);
    const Power<Tag> power(a, v);
    const auto wordOf = [&](std::size_t k) { return operand(operand(power.of.hi, k), 0).id; };
    require(wordOf(0) == v.hi.id && wordOf(1) == power.gHi.id, "the words of the product");
    return {v, {power.gHi, power.gLo}, power.of};
  }
  /// hi + lo stands for S = V G.
  void operator()(Script& s) const {
    s.cut(v.hi, "vHi"), s.cut(v.lo, "vLo"), s.cut(g.hi, "gHi"), s.cut(g.lo, "gLo");
    s.real("vHi", {1, 2}), s.real("vLo", Interval::within(0x1p-52));
    s.real("gHi", {0x1.f8p-1, 0x1.01p+1}), s.real("gLo", Interval::within(largestSumLo));
    s.real("dV", Interval::within(scaledError * (1 + 0x1p-50)));
    s.real("dG", Interval::within(gaussianError * (1 + 0x1p-50)));
    s.exact(of.hi);
    s.define("Y", "(vHi + vLo)*(gHi + gLo)");
    s.define("d", "dV + dG + dV*dG");
    s.define("S", "Y*(1 + d)");
    s.hint(text(of.hi, " + ", of.lo, " - S - -(Y*d) -> ", of.lo, " - ", s.ideal(of.lo)));
    s.goal(
        text("|", of.hi, " + ", of.lo, " - S - -(Y*d)| <= ", productError, " /\\ Y >= 0x1.f7p-1"));
    s.goal(text("|", of.lo, "| <= ", largestLow / 1.04));
  }
  static constexpr double productError = 0x1p-73;
  static constexpr double largestLow = 0x1.1p-22; // of |lo| / |S|
  /// |hi + lo - S| / |S| is below this: |Y d| and the error of lo, which is less than 1.02 of it.
  static constexpr double relative =
      (scaledError + gaussianError + 1.04 * productError) * (1 + 0x1p-40);
};

/// Subnormal results, which the kernel has for doubles alone: they stand here again. Of hi + lo,
/// 2^200 times the result.
template <class Tag>
void subnormal(Proof& proof, const std::string& name, Proof::Export library) {
  using Limits = ErfcLimits<double>;
  const std::string label = name + " subnormal";
  for (const bool once : {true, false}) {
    Recorder::get().clear();
    const Term x = Term::argument("x");
    const ScaledPair<Term> value = timesGaussian<Tag>(erfcPolynomial<Tag>(x), x);
    const Term scale = withExponent(value.exponent + 200 + 1023, 1.0);
    const Term hi = value.hi * scale, lo = value.lo * scale;
    const DoubleDoubleOf<Term> sum = twoSum(hi, lo), leading = splitHiLo(sum.hi, split26Bits);
    const Term rounded = (hi + lo) * twoToMinus200, low = call(sum.lo + leading.lo, "low");
    const Term y = call(once ? leading.hi * twoToMinus200 + low * twoToMinus200 : rounded, "y");
    const Term result = once ? y : y + y * y; // the square is zero
    Recorder::get().freeze();
    const Interval range = once ? Interval{Limits::subnormal, Limits::singleRounding}
                                : Interval{above(Limits::singleRounding), below(Limits::underflow)};
    proof.replay(text(name, " subnormal ", range), library, x, result,
                 Proof::uniform(range.low, range.high));
    const auto exponent = [](double v) { return static_cast<int>(mpfr_get_exp(erfc(v).get())); };
    const int bottom = exponent(range.high) - 1, top = exponent(range.low);
    Script s(text(name, once ? " rounded once" : " rounded twice"));
    s.cut(hi, "hi"), s.cut(lo, "lo");
    s.assume(text("S in [1b", bottom, ",1b", top,
                  "] /\\ |hi + lo - S*0x1p200| <= ", std::ldexp(Product::relative, top + 200),
                  " /\\ |lo| <= ", std::ldexp(Product::largestLow, top + 200)));
    if (once) {
      const Term scaled = operand(y, 1), kept = operand(y, 0);
      s.hint(text(sum.hi, " -> (", sum.hi, " - (hi + lo)) + S*0x1p200 + (hi + lo - S*0x1p200)"));
      s.hint(text(leading.hi, " -> ", sum.hi, " + (", leading.hi, " - ", sum.hi, ")"));
      s.exactNextToSubnormal(kept);
      s.smallSum(y);
      s.scaling(scaled);
      s.hint(text("y - S -> (", scaled, " - ", s.operationOf(scaled), ") + (low - ", s.ideal(low),
                  ")*0x1p-200 + (hi + lo - S*0x1p200)*0x1p-200"));
      s.bound(label, "(y - S)/0x1p-1074");
    } else {
      s.hint(text(s.operationOf(y), " - S -> (", sum.hi,
                  " - (hi + lo))*0x1p-200 + (hi + lo - S*0x1p200)*0x1p-200"));
      s.lastRounding(label, y, "S", 0x1p-1074);
    }
    proof.add(s);
  }
}

/// 2 - W, of both ranges: W = erfc(|x|) by the polynomial alone, and times the Gaussian, where it
/// is below 2^-6 and the error relative.
template <class Tag>
void negative(Proof& proof, const std::string& name, Proof::Export library) {
  static_assert(Product::relative * 0x1p-6 < directError && Product::largestLow * 0x1p-6 < 0x1p-24);
  require(erfc(ErfcKernel<Tag>::gaussian).toDouble() < 0x1p-6, "the first range is small");
  for (const bool isFirst : {false, true}) {
    Recorder::get().clear();
    const Term x = Term::argument("x");
    suppose(isNegative(x), true);
    const Term result =
        isFirst ? ErfcKernel<Tag>::compute(x) : ErfcKernel<Tag>::computeSecondRange(x);
    const Term value = call(result, "value"), sum = operand(value, 0);
    const Term wHi = operand(operand(operand(sum, 0), 1), 0), wLo = operand(operand(sum, 1), 0);
    if (isFirst) {
      const ScaledPair<Term> w = Product::record<Tag>(magnitude(x)).of;
      require(unscaled(wHi).id == w.hi.id && unscaled(wLo).id == w.lo.id &&
                  operand(wHi, 1).id == operand(wLo, 1).id,
              "2 less the product, scaled");
    } else {
      const DoubleDoubleOf<Term> w = erfcPolynomial<Tag>(magnitude(x));
      require(wHi.id == w.hi.id && wLo.id == w.lo.id, "2 less the polynomial");
    }
    Recorder::get().freeze();
    const std::string label = name + (isFirst ? " negative, first range" : " negative");
    proof.replay(label, library, x, result,
                 isFirst ? Proof::uniform(-5.86, -1.83) : Proof::uniform(-1.82, -0.001));
    Script s(label);
    s.cut(wHi, "wHi"), s.cut(wLo, "wLo");
    s.real("wHi", {0, 1}), s.real("wLo", Interval::within(0x1p-24));
    s.assume(text("W in [0,1] /\\ |wHi + wLo - W| <= ", directError));
    s.define("S", "2 - W");
    const Term rest = operand(value, 1);
    s.hint(text(s.operationOf(value), " - S -> (", rest, " - ", s.ideal(rest),
                ") + -(wHi + wLo - W)"));
    s.lastRounding(name + " normal", value, "S", 0x1p-52);
    proof.add(s);
  }
}

/// What is left: 1 + x, and 2 and zero; where the ranges meet.
void ends(Proof& proof, const std::string& name, Proof::Export library) {
  using Limits = ErfcLimits<double>;
  Recorder::get().clear();
  const Term x = Term::argument("x"), value = call(1.0 + x, "value");
  proof.replay(name + " tiny", library, x, value, Proof::uniform(-0.99 * tiny, 0.99 * tiny));
  Script s(name + " tiny");
  s.cut(x, "x");
  s.real("x", Interval::within(tiny));
  s.real("dS", Interval::within(1.2 * tiny)); // erf x is at most 2/sqrt(pi) x
  s.define("S", "1 - dS");
  s.hint("1 + x - S -> x + dS");
  s.lastRounding(name + " normal", value, "S", 0x1p-53);
  proof.add(s);
  const auto less = [](const Real& a, const Real& b) { return mpfr_cmp(a.get(), b.get()) < 0; };
  require(less(Real(2) - Real(0x1.0001p-53), erfc(-Limits::saturation)) &&
              less(erfc(Limits::underflow), twoTo(-1075)),
          "2 and zero are off by 0.5001 ulp at most");
  require(less(erfc(Limits::subnormal), twoTo(-1022)) &&
              less(twoTo(-1022) + twoTo(-1070), erfc(below(Limits::subnormal))),
          "results are normal up to the limit");
  const double limits[] = {-Limits::saturation, -std::numeric_limits<double>::max(),
                           Limits::underflow, std::numeric_limits<double>::max()};
  double results[4];
  library(limits, results, 4);
  require(results[0] == 2 && results[1] == 2 && results[2] == 0 && results[3] == 0,
          "the results are 2 and zero there");
}

template <class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library) {
  using Limits = ErfcLimits<double>;
  const Interval whole{tiny, below(Limits::underflow)};
  const auto rowOf = [](double a) {
    const double square = (1.0 + a) * (1.0 + a);
    return exponentField(square * square) - Format<double>::bias;
  };
  for (const auto& [j, range] : preimages(rowOf, whole))
    row<Tag>(proof, name, library, j, range);
  proof.coversDoubles(name + " rows", whole);
  for (int j = 0; j < 64; j += 4)
    gaussian<Tag>(proof, name, j, j + 3);
  exponential<Tag>(proof, name);
  {
    Recorder::get().clear();
    const Term x = Term::argument("x");
    suppose(isNegative(x), false);
    const Term result = ErfcKernel<Tag>::compute(x), value = unscaled(result);
    const Product product = Product::record<Tag>(magnitude(x));
    require(operand(value, 0).id == product.of.hi.id && operand(value, 1).id == product.of.lo.id,
            "the result is the product, rounded");
    Recorder::get().freeze();
    proof.replay(name + " product", library, x, result, Proof::uniform(1.83, 26.5));
    Script s(name + " product");
    product(s);
    // An ulp is more than 2^-53 of S.
    s.bound(name + " normal", text("0.5 + 0x1p53*", Product::relative));
    proof.add(s);
  }
  negative<Tag>(proof, name, library);
  subnormal<Tag>(proof, name, library);
  ends(proof, name, library);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  reduction(proof, squares);
  proof.coversDoubles("arguments", squares);
  square(proof, {ErfcKernel<Erfc_64f_A53>::gaussian, ErfcLimits<double>::underflow});
  prove<Erfc_64f_A53>(proof, "Erfc_64f_A53", qelsErfc_64f_A53);
  prove<Erfc_64f_A50>(proof, "Erfc_64f_A50", qelsErfc_64f_A50);
  return proof.finish();
}
