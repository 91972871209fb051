// Pow and Powx: x^y = 2^(y log2 x).
//
// 1. log2 x = hi + lo, relatively: for the rows next to one by themselves, piece by piece; for all
//    others at once, whose sums and remainders are enumerated.
// 2. y log2 x = n/128 + R: how far r is off R, binade by binade. Only products of y and log2 x are
//    computed, so that a power of two may go from one to the other: y is in [1,2].
// 3. 2^R for every row of the powers, for any r that is off by no more than that.
// 4. Subnormal results, by what 3. has shown of the sum before its last rounding.
#include "proof.hpp"

#include "explog/pow.cpp"
#include "explog/powx.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

// What a part shows for those after it. Of the logarithm:
constexpr double logError = 0x1.eaap-67; // hi + lo is off by, relatively
constexpr double largestLo = 0x1p-36;    // |lo|, relatively
constexpr double largestError = 0x1p-51; // |error|, what m3 is off m r
constexpr double restError = 0x1p-104;   // `error` itself is off by
constexpr double largestLow = 0x1p-41;   // the sum of the low words
constexpr double lowError = 0x1p-94;     // and what it is off by
// Of the exponent, where the result is normal, and where it is subnormal or rounds to zero:
constexpr double largestExponent = 0x1.0001p10, largestBelow = 1090; // |y log2 x|
constexpr double exponentError = 0x1.fb4p-57, exponentErrorBelow = 0x1.0fp-56;
constexpr double largestR = 0x1.03p-8;
// Of power + rest where the result is subnormal, as a significand:
constexpr double sumError = 0x1.c8p-56;

constexpr double L = 0x1.715474p0; // as in the kernel: see Steps

/// An export with the arguments of a replay, as a function of both.
struct Export {
  std::string name;
  std::function<void(double, double, double*)> call;
};

// ---- the record ---------------------------------------------------------------------------------

struct Arguments {
  Term a = Term::argument("a"), y = Term::argument("y");
  Term m = withExponent(1023, a);
};

/// The rows, as the kernel finds them.
template <class V>
auto row1(const V& m) {
  return ((highWord(m) & 0xFC000) + 0x4000) >> 15;
}
template <class V>
auto row2(const V& m1) {
  return ((highWord(m1) & 0xFC00) + 0x400) >> 11;
}
template <class V>
auto row3(const V& m2) {
  return ((highWord(m2) & 0xFF0) + 0x10) >> 5;
}

/// The steps of a recorded logarithm.
struct Steps {
  Term hi, lo, w, g2, g, series, u, p, v, error, m3;

  explicit Steps(const Log2<Term>& log) {
    hi = call(log.hi, "hi"), lo = call(log.lo, "lo");
    asFastTwoSum(operand(lo, 0)), asFastTwoSum(operand(lo, 1));
    g2 = call(operand(hi, 0), "g2"), w = call(operand(hi, 1), "w");
    g = call(operand(g2, 0), "g"), series = call(operand(g2, 1), "series");
    u = call(operand(series, 0), "u"), p = operand(series, 1);
    v = call(operand(u, 0), "v"), error = call(operand(u, 1), "error");
    m3 = operand(v, 0);
    require(operand(v, 1).value() == L, "L is the kernel's");
  }
};

/// The parts that all scripts of the logarithm have. U and `sum`, the exact logarithm but for that
/// of 1 + U/L, are defined by the caller; `differences` is what they make of hi + lo - S; `least`
/// is not above |S|.
void logarithm(Script& s, const Steps& log, double polynomial, const std::string& sum,
               const std::string& differences, double least) {
  s.stands(log.u, "U");
  s.stands(log.m3, text(log.m3));
  s.stands(log.g, text(log.g));
  s.define("P", text("U + U*", s.ideal(log.p)));
  s.real("dS", Interval::within(above(polynomial * (1 + 2 * polynomial))));
  s.define("S", text(sum, "P*(1 + dS)"));
  const Term e = operand(log.lo, 0), e3 = operand(log.lo, 1);
  s.hint(text("hi + lo - S -> (lo - (", e, " + ", e3, ")) + (series - U*", s.ideal(log.p), ")",
              differences, " + -(P*dS)"));
  s.goal(text("|hi + lo - S| <= ", logError * least));
  s.goal(text("|lo| <= ", largestLo * least));
  s.goal(text("|", log.g, " - S| <= ", 0.75 * least));
}

/// The whole kernel, which finds what the case has supposed before.
template <class Tag>
struct Record {
  Arguments x;
  Log2<Term> log = log2Of<Tag>(x.a, 0);
  Power<Tag, Term> power{log, PowExponent<Term>(x.y)};
  Steps steps{log};
  Term result = power.value();

  explicit Record(const Arguments& arguments) : x(arguments) {}

  /// For bases that `sample` draws and exponents that give the result an exponent from `exponents`.
  template <class Sample>
  void
  replay(Proof& proof, const std::string& what, const Export& library, const Sample& sample,
         const std::function<double(std::mt19937_64&)>& exponents = Proof::uniform(-1020,
                                                                                   1022)) const {
    proof.replay(
        text(library.name, " ", what), std::array{x.a, x.y}, result,
        [&](std::mt19937_64& random) {
          const double a = sample(random);
          return std::array{a, exponents(random) / std::log2(a)};
        },
        [&](const std::array<double, 2>& v, double* to) { library.call(v[0], v[1], to); });
  }
};

/// What the polynomial leaves of log2(1 + x/L), relatively.
double relativeError(const Steps& log, Interval range) {
  const auto over = [&](Interval side) {
    return polynomialError("x + x*" + formulaOf(log.p, log.u, "x"), text("log2(1 + x/", L, ")"),
                           side, true);
  };
  const double low = range.low - 0x1p-50, high = range.high + 0x1p-50; // (whose ends are rounded)
  return low < 0 && high > 0 ? std::max(over({low, 0}), over({0, high})) : over({low, high});
}

/// r, of the sum of both words of a power and its rest.
template <class Tag>
Term rOf(const Power<Tag, Term>& power) {
  Term t = power.rest;
  while (nodeOf(t.id).label != "*" || operand(t, 1).isKnown() ||
         nodeOf(operand(t, 1).id).kind == Kind::whole)
    t = operand(t, 0);
  return operand(t, 0);
}

// ---- 1. the logarithm ---------------------------------------------------------------------------

Real exactLog2(const Real& x) {
  return Real::apply(mpfr_log2, x);
}
/// What the words of a row leave of minus the logarithm of r / of.
Real restOf(const PowLogRow& row, double of) {
  return exactLog2(Real(of) / Real(row.reciprocal)) - Real(row.logHi) - Real(row.logLo);
}

/// The first rows of significands that count as half, with the next exponent.
bool isHalved(int i1) {
  return i1 >= 16;
}

/// A row next to one, k = 0, for significands in pieces.
template <class Tag>
void nextToOne(Proof& proof, const Export& library, int i1, int i2, int i3,
               const std::vector<Interval>& pieces) {
  const PowLogRow &one = powLogs1<Tag>[i1], &two = powLogs2<Tag>[i2], &three = powLogs3<Tag>[i3];
  require(one.logHi == 0 && two.logHi == 0 && std::fabs(two.reciprocal) == 1,
          "rows of no logarithm");
  const double r = one.reciprocal * three.reciprocal, scale = one.reciprocal;
  const std::string name = text("log2 rows ", i1, " ", i2, " ", i3);
  for (const Interval& piece : pieces) {
    Recorder::get().clear();
    const Arguments x;
    suppose(((highWord(x.a) - 0x3FE7C000) >> 20) + 0, 0);
    suppose(row1(x.m), i1);
    const Term m1 = x.m * one.reciprocal;
    suppose(row2(m1), i2);
    suppose(row3(m1), i3);
    const Term v = m1 * three.reciprocal - L, g = three.logHi + v;
    const Term t = call((three.logHi - g) + v, "t");
    if (three.logHi == 0)
      suppose(t, 0.0); // -v + v
    const Record<Tag> record(x);
    const Steps& log = record.steps;
    Recorder::get().freeze();
    record.replay(proof, text(name, " ", piece), library, [&](std::mt19937_64& random) {
      const double m =
          Proof::uniform(piece.low, std::max(piece.low, below(piece.high)))(random) * scale;
      return m > 0.6 ? m : 2 * m;
    });
    Script s(text(name, " ", piece));
    s.cut(x.m, "m");
    s.multiple(x.m, -52);
    proof.over(s, name, "m", piece);
    s.define("U", text("m*", r, " - ", L));
    s.hint("U -> v + error");
    s.hint(text("error -> -(", log.m3, " - ", m1, "*", three.reciprocal, ")"));
    for (const Term& e : {m1, v, log.error, operand(log.error, 0), operand(log.error, 1),
                          operand(operand(log.error, 0), 0)})
      s.exact(e);
    std::string sum, differences;
    if (three.logHi == 0)
      s.hint(text("v - S -> -error + -(U*", s.ideal(log.p), ") + -(P*dS)"));
    else {
      s.exact(operand(t, 0));
      s.exact(t);
      s.stands(t, "t");
      s.hint(text("t -> -(g - (", three.logHi, " + v))"));
      s.truth(Term(three.logLo), "LO", enclosure(restOf(three, L)));
      sum = text(three.logHi, " + LO + ");
      differences = text(" + (w - (", three.logLo, " + (error + t))) + (", three.logLo, " - LO)");
    }
    const auto logOf = [&](double m) {
      return std::fabs(exactLog2(Real(m) * Real(scale)).toDouble());
    };
    logarithm(s, log, relativeError(log, {piece.low * r - L, piece.high * r - L}), sum, differences,
              std::min(logOf(piece.low), logOf(piece.high)) * (1 - 0x1p-50));
    proof.addOnce(s);
  }
}

/// What is added up where no row is next to one: the sum of the leading words and v.
struct Group {
  Interval sum, v;
};
const Group groups[] = {{{-1100, -0.25}, Interval::within(0x1.8p-16)},
                        {{-0.75, -0x1p-12}, Interval::within(0x1.8p-16)},
                        {{-0x1p-12, -0x1.6fff4bp-16}, Interval::within(0x1.8p-17)},
                        {{0x1.7p-14, 0.75}, Interval::within(0x1.8p-16)},
                        {{0.25, 1100}, Interval::within(0x1.8p-16)}};
struct Ranges {
  Interval m1{1, 1}, m2{1, 1}, m3{L, L};
};
void extend(Interval& hull, const Interval& by) {
  hull = {std::min(hull.low, by.low), std::max(hull.high, by.high)};
}

/// What the rows reach: every product by a reciprocal is monotonic, and so are the rows in a
/// product on either side of one. `near` are the rows that have scripts of their own where k is 0.
template <class Tag>
Ranges reach(const std::vector<std::array<int, 3>>& near) {
  Ranges ranges;
  const auto product = [](Interval i, double r) { return Interval{i.low * r, i.high * r}; };
  const auto sides = [](Interval i) {
    std::vector<Interval> result;
    if (i.low < 1)
      result.push_back({i.low, std::min(i.high, below(1))});
    if (i.high >= 1)
      result.push_back({std::max(i.low, 1.0), i.high});
    return result;
  };
  int met = 0;
  for (const auto& [i1, m] : preimages(row1<double>, {1, below(2)})) {
    const PowLogRow& one = powLogs1<Tag>[i1];
    const Interval m1 = product(m, one.reciprocal);
    for (const double end : {m.low, m.high})
      require((highWord(end) - 0x3FE7C000) >> 20 == isHalved(i1), "the exponent goes with the row");
    require(m1.low >= 1 - 0x1p-5 && m1.high < 1 + 0x1p-4, "one period of the second rows");
    extend(ranges.m1, m1);
    for (const Interval& side1 : sides(m1))
      for (const auto& [i2, part1] : preimages(row2<double>, side1)) {
        const PowLogRow& two = powLogs2<Tag>[i2];
        const Interval m2 = product(part1, two.reciprocal);
        require(m2.low >= 1 - 0x1p-9 && m2.high < 1 + 0x1p-8, "one period of the third rows");
        extend(ranges.m2, m2);
        for (const Interval& side2 : sides(m2))
          for (const auto& [i3, part2] : preimages(row3<double>, side2)) {
            const PowLogRow& three = powLogs3<Tag>[i3];
            const Interval m3 = product(part2, three.reciprocal);
            extend(ranges.m3, m3);
            const double sum = (one.logHi + two.logHi) + three.logHi;
            require(std::fabs(sum) < 0.75, "with any other k, |sum| is above 1/4");
            require(std::max(std::fabs(m3.low - L), std::fabs(m3.high - L)) <= 0x1.8p-16, "v");
            if (std::count(near.begin(), near.end(), std::array{i1, i2, i3}) != 0) {
              ++met;
              continue;
            }
            require(std::any_of(std::begin(groups), std::end(groups),
                                [&](const Group& g) {
                                  return g.sum.low <= sum && sum <= g.sum.high &&
                                         g.v.low <= m3.low - L && m3.high - L <= g.v.high;
                                }),
                    text("a group has the rows ", i1, " ", i2, " ", i3));
          }
      }
  }
  require(met >= static_cast<int>(near.size()), "the rows next to one are reached");
  return ranges;
}

/// All other rows at once: what v, `error` and the sums are; then the logarithm.
template <class Tag>
void elsewhere(Proof& proof, const Export& library, const Ranges& ranges) {
  Recorder::get().clear();
  const Arguments x;
  const Record<Tag> record(x);
  const Steps& log = record.steps;
  const Term sumHi = call(operand(log.g, 0), "sumHi"), sumLo = call(operand(log.w, 0), "sumLo");
  const Term t = call(operand(operand(log.w, 1), 1), "t");
  const Term m2 = operand(log.m3, 0), m1 = operand(m2, 0);
  const Term rLo = operand(operand(log.error, 1), 1), r = call(operand(rLo, 0), "r"),
             r12 = operand(r, 0);
  const Term r1 = operand(r12, 0), r2 = operand(r12, 1), r3 = operand(r, 1);
  const Term h3 = operand(sumHi, 1), kh12 = operand(sumHi, 0), h2 = operand(kh12, 1),
             kh1 = operand(kh12, 0);
  const Term k = operand(kh1, 0), h1 = operand(kh1, 1);
  const Term l1 = operand(sumLo, 1), l23 = operand(sumLo, 0), l2 = operand(l23, 0),
             l3 = operand(l23, 1);
  Recorder::get().freeze();
  record.replay(proof, "log2", library, [&](std::mt19937_64& random) {
    return std::ldexp(Proof::uniform(1, 2)(random), static_cast<int>(random() % 2046) - 1022);
  });

  const Term parts = operand(log.error, 0), upToLow = operand(parts, 0),
             difference = operand(upToLow, 0);
  const Term hiHi = operand(difference, 0), hiLo = operand(upToLow, 1), loHi = operand(parts, 1);
  const Term loLo = operand(log.error, 1), mLo = operand(loLo, 0), mHi = operand(hiHi, 0);
  for (const Interval& piece : {Interval{1, 1.44}, {1.44, 1.5}, {1.5, 1.75}, {1.75, 2}}) {
    Script s(text("log2 products ", piece));
    s.cut(x.m, "m");
    s.multiple(x.m, -52);
    proof.over(s, "log2 products", "m", piece);
    const auto row = [&](const Term& term, const std::string& name, int place, Interval range) {
      s.cut(term, name, text("fixed<", place, ",ne>"));
      s.assume(text(name, " in ", range));
    };
    row(r1, "R1", -15, {0.5, 1});
    row(r2, "R2", -15, {0.96, 1.04});
    row(r3, "R3", -22, {1.43, 1.46});
    call(m1, "m1"), call(m2, "m2"), call(log.m3, "m3");
    for (const auto& [name, range] :
         {std::pair{"m1", ranges.m1}, {"m2", ranges.m2}, {"m3", ranges.m3}})
      s.assume(text(name, " in ", range));
    s.assume(text("r in ", Interval{(L - 0x1p-15) / piece.high,
                                    (L + 0x1p-15) / piece.low})); // m r is next to m3
    for (const Term& e : {r12, r, log.v, hiHi, hiLo, loHi, difference, upToLow, parts})
      s.exact(e);
    for (const Term& e : {m1, m2, log.m3})
      s.stands(e, text(e));
    s.hint("m3 - m*r -> (m3 - m2*R3) + (m2 - m1*R2)*R3 + (m1 - m*R1)*(R2*R3)");
    s.hint(text(difference, " -> -(m3 - m*r) + -(", mHi, "*", rLo, " + ", mLo, "*r)"));
    s.hint(text(upToLow, " -> -(m3 - m*r) + -(m*", rLo, ")"));
    s.hint(text(parts, " -> -(m3 - m*r) + -(", mLo, "*", rLo, ")"));
    s.hint(text("error - (m*r - m3) -> (error - (", parts, " + ", loLo, ")) + (", loLo, " - ", mLo,
                "*", rLo, ")"));
    s.goal("@FIX(v,-52)");
    s.goal(text("|m3 - m*r| <= ", largestError));
    s.hint("error -> (error - (m*r - m3)) + -(m3 - m*r)");
    s.goal(text("|error| <= ", largestError));
    s.goal(text("|error - (m*r - m3)| <= ", restError));
    proof.addOnce(s);
  }
  proof.coversReals("log2 products", {1, 2});

  Script sums("log2 sums");
  sums.cut(k, "k", "fixed<0,ne>");
  sums.assume("|k| <= 1100");
  double rests = 0;
  const auto stage = [&](const auto& table, const auto& of, const Term& high, const Term& low,
                         int places, int number) {
    double largestRest = 0, largest = 0;
    for (int i = 0; const PowLogRow& row : table) {
      const auto isMultiple = [](double v, int place) {
        return std::fmod(v, std::ldexp(1.0, place)) == 0;
      };
      require(isMultiple(row.logHi, -42) && isMultiple(row.reciprocal, places) &&
                  std::fabs(row.logHi) < 0.6,
              "places of the rows' words");
      largestRest = std::max(largestRest, enclosure(restOf(row, of(i++))).magnitude());
      largest = std::max(largest, std::fabs(row.logLo));
    }
    rests += largestRest;
    sums.cut(high, text("h", number), "fixed<-42,ne>");
    sums.cut(low, text("l", number));
    sums.assume(text("|", high, "| <= 0.6"));
    sums.assume(text("|", low, "| <= ", largest));
  };
  stage(
      powLogs1<Tag>, [](int i) { return isHalved(i) ? 0.5 : 1; }, h1, l1, -15, 1);
  stage(
      powLogs2<Tag>, [](int) { return 1; }, h2, l2, -15, 2);
  stage(
      powLogs3<Tag>, [](int) { return L; }, h3, l3, -22, 3);
  for (const Term& e : {kh1, kh12, sumHi})
    sums.exact(e);
  sums.goal("sumHi - (k + h1 + h2 + h3) in [0,0]");
  sums.hint(text("sumLo - (l1 + l2 + l3) -> (sumLo - (", l23, " + l1)) + (", l23, " - (l2 + l3))"));
  sums.goal(text("|sumLo - (l1 + l2 + l3)| <= ", lowError));
  sums.goal(text("|sumLo| <= ", largestLow));
  proof.addOnce(sums);

  for (const Group& group : groups) {
    Script s(text("log2 elsewhere ", group.sum));
    s.cut(sumHi, "sumHi", "fixed<-42,ne>");
    s.cut(log.v, "v", "fixed<-52,ne>");
    s.cut(sumLo, "sumLo");
    s.cut(log.error, "error");
    s.assume(text("sumHi in ", group.sum, " /\\ v in ", group.v, " /\\ |sumLo| <= ", largestLow));
    s.assume(text("|error| <= ", largestError));
    s.real("dE", Interval::within(restError));
    s.real("dLO", Interval::within(above(lowError + above(rests))));
    s.define("U", "v + error + dE");
    s.exact(operand(t, 0));
    s.exact(t);
    s.stands(t, "t");
    s.hint("t -> -(g - (sumHi + v))");
    s.hint("u - U -> (u - (v + error)) + -dE");
    s.hint(
        text("g - S -> -t + -error + -dE + -sumLo + -dLO + -(U*", s.ideal(log.p), ") + -(P*dS)"));
    const double least = std::min(std::fabs(group.sum.low), std::fabs(group.sum.high)),
                 far = group.v.high * 1.001;
    logarithm(s, log, relativeError(log, Interval::within(far)), "sumHi + sumLo + dLO + ",
              " + (w - (sumLo + (error + t))) + -dE + -dLO", least - far);
    proof.addOnce(s);
  }
}

// ---- 2. the exponent ----------------------------------------------------------------------------

/// y log2 x = E (1 + dL) with E = y (G + l), whose leading product is cut at a multiple of 1/128.
template <class Tag>
void exponent(Proof& proof, Interval logs, double largest, double error) {
  Recorder::get().clear();
  const Arguments x;
  const Term logHi = log2Of<Tag>(x.a, 0).hi;
  const auto g = splitHiLo(logHi, split26Bits), y = splitHiLo(x.y, split26Bits);
  const Term product = call(y.hi * g.hi, "product");
  const Rounded<Term> rounded = roundShifter(product, Power<Tag, Term>::shifter);
  const bool isSmall = logs.magnitude() <= 0x1p-10; // product then rounds to 0: a goal
  if (isSmall)
    suppose(rounded.value, 0.0);
  const Record<Tag> record(x);
  const Term r = call(rOf(record.power), "r");
  Recorder::get().freeze();
  Script s(text("exponent ", largest, " ", logs));
  s.cut(logHi, "G", "float<53,-300,ne>");
  s.multiple(logHi, -300);
  s.cut(record.log.lo, "l");
  s.cut(x.y, "y");
  // (|E| gives y its end where G is large.)
  const double nearest = std::min(std::fabs(logs.low), std::fabs(logs.high));
  s.assume(text("y in [1,", nearest < 512 ? 2.0 : std::min(2.0, 1.001 * largest / nearest),
                "] /\\ |l| <= ", largestLo * logs.magnitude()));
  proof.over(s, text("exponent ", largest), "G", logs);
  s.real("dL", Interval::within(above(logError)));
  s.define("E", "y*(G + l)");
  s.assume(text("|E| <= ", largest));
  s.exact(product);
  s.exact(operand(r, 0));
  s.stands(rounded.value, text(rounded.value));
  if (isSmall)
    s.goal(text("|product| <= 0x1p-8 /\\ ", rounded.sum, " - ", record.power.shifter, " in [0,0]"));
  else
    s.hint(text("product - ", rounded.value, " -> -(", rounded.sum, " - (product + ",
                record.power.shifter, ")) + -(", rounded.value, " - (", rounded.sum, " - ",
                record.power.shifter, "))"));
  s.hint(text("E*(1 + dL) - ", rounded.value, " - r -> E*dL + -(r - ", s.ideal(r), ")"));
  s.goal(text("|E*(1 + dL) - ", rounded.value, " - r| <= ", error));
  s.goal(text("|r| <= ", largestR));
  proof.addOnce(s);
}

template <class Tag>
void exponents(Proof& proof) {
  for (const bool normal : {true, false}) {
    const double largest = normal ? largestExponent : largestBelow;
    const double error = normal ? exponentError : exponentErrorBelow;
    for (const int sign : {1, -1}) {
      const auto part = [&](double low, double high) {
        exponent<Tag>(proof, sign > 0 ? Interval{low, high} : Interval{-high, -low}, largest,
                      error);
      };
      part(0, 0x1p-10);
      for (const Interval& binade : binades({0x1p-10, largest}, -60))
        for (const Interval& i : pieces(binade, binade.low == 512 ? 4 : 1))
          part(i.low, i.high);
    }
  }
}

// ---- 3. the power -------------------------------------------------------------------------------

/// 2^R = 2^(j/128) 2^r (1 + dX), r off R by the exponent's error.
template <class Tag>
void power(Proof& proof, const Export& library, const std::vector<std::string>& labels, int j) {
  Recorder::get().clear();
  const Arguments x;
  {
    const Term logHi = log2Of<Tag>(x.a, 0).hi;
    const Term product = splitHiLo(x.y, split26Bits).hi * splitHiLo(logHi, split26Bits).hi;
    suppose(lowWord(roundShifter(product, Power<Tag, Term>::shifter).sum) & 127, j);
  }
  const Record<Tag> record(x);
  const double hi = powPowers<Tag>[j].hi, lo = powPowers<Tag>[j].lo;
  const Term value = call(record.power.significand, "value"),
             rest = call(record.power.rest, "rest"); // (in row 0 it is q)
  const Term r = call(rOf(record.power), "r");
  const Term product = j == 0 ? rest : operand(rest, 0),
             q = call(j == 0 ? product : operand(product, 0), "q");
  Recorder::get().freeze();
  record.replay(proof, text("row ", j), library, Proof::uniform(0.1, 5),
                [&](std::mt19937_64& random) {
                  return static_cast<int>(random() % 2040) - 1020 +
                         (j + Proof::uniform(-0.5, 0.5)(random)) / 128;
                });
  const auto relative = [](double exponent) { // 2^exponent - 1
    return above((Real::apply(mpfr_exp2, Real(exponent)) - Real(1)).toDouble());
  };
  for (const Interval& piece : j == 0 ? std::vector{Interval{-largestR, 0}, Interval{0, largestR}}
                                      : pieces(Interval::within(largestR), j >= 120 ? 4 : 1)) {
    Script s(text("power row ", j, " ", piece));
    s.cut(r, "r");
    s.assume(text("|r| <= ", largestR));
    proof.over(s, text("power row ", j), "R", piece);
    s.real("dR", Interval::within(exponentErrorBelow));
    s.define("R", "r + dR");
    s.hint("r -> R - dR");
    s.real("dX", Interval::within(relative(exponentError)));
    s.real("dB", Interval::within(relative(exponentErrorBelow)));
    s.truth(q, "Q",
            Interval::within(
                polynomialError(q, r, "2^x - 1", {piece.low - 0x1p-55, piece.high + 0x1p-55})));
    if (j != 0)
      s.truth(Term(lo), "LO",
              enclosure(Real::apply(mpfr_exp2, Real(j) / Real(128)) - Real(hi) - Real(lo)));
    s.define("S0", j == 0 ? "1 + Q" : text("(", hi, " + LO)*(1 + Q)"));
    s.define("S", "S0*(1 + dX)");
    s.hint(text(hi, " + ", rest, " - S0 -> (", rest, " - ", s.ideal(rest), ")",
                j == 0 ? "" : " + -(LO*Q)"));
    s.hint(text(hi, " + ", rest, " - S -> (", hi, " + ", rest, " - S0) + -(S0*dX)"));
    const bool belowOne = j == 0 && piece.low < 0;
    s.define("SB", "S0*(1 + dB)");
    s.hint(text(hi, " + ", rest, " - SB -> (", hi, " + ", rest, " - S0) + -(S0*dB)"));
    s.goal(text("|", hi, " + ", rest, " - SB| <= ", belowOne ? sumError / 2 : sumError));
    s.goal(text("|", rest, "| <= 0x1p-6 /\\ value <= ", belowOne ? 1.0 : 2.0));
    for (const std::string& label : labels)
      s.lastRounding(label + " normal", value, "S", belowOne ? 0x1p-53 : 0x1p-52);
    proof.addOnce(s);
  }
}

// ---- 4. subnormal results -----------------------------------------------------------------------

/// Power::subnormal has them for doubles alone, so that its steps stand here again. What is scaled
/// by 2^(n + 200) is exact, and off by sumError 2^-1023 2^200 at most: n is -1022 only with a
/// significand below one.
template <class Tag>
void subnormal(Proof& proof, const Export& library, const std::vector<std::string>& labels,
               bool isShort) {
  Recorder::get().clear();
  const Arguments x;
  Record<Tag> record(x);
  const Term scale = withExponent(record.power.n() + 200 + 1023, 1.0);
  const Term scaled = record.power.significand * scale;
  Term rest, upper;
  if (isShort)
    record.result = scaled * twoToMinus200;
  else {
    rest = ((record.power.power - record.power.significand) + record.power.rest) * scale;
    const auto leading = splitHiLo(scaled, split26Bits);
    upper = leading.hi;
    record.result = leading.hi * twoToMinus200 + (rest + leading.lo) * twoToMinus200;
  }
  const Term result = call(record.result, "result");
  Recorder::get().freeze();
  record.replay(proof, text("subnormal ", isShort), library, Proof::uniform(0.1, 5),
                isShort ? Proof::uniform(-1076, -1032.001) : Proof::uniform(-1031.999, -1022.001));
  Script s(isShort ? "subnormal below 2^-1032" : "subnormal");
  s.cut(scaled, "scaled");
  if (isShort) {
    s.assume(
        text("scaled in [0,0x1p-832] /\\ |scaled - T| <= ", std::ldexp(sumError + 0x1p-53, -832)));
    s.hint("result - T*0x1p-200 -> (result - scaled*0x1p-200) + (scaled - T)*0x1p-200");
  } else {
    // (By itself, Gappa would not use the last place of the leading part.)
    const std::string range = "scaled in [0x1p-832,0x1p-822]";
    Script split("subnormal split");
    split.cut(scaled, "scaled");
    split.assume(range);
    split.goal(text("@FIX(", upper, ",-858) /\\ |scaled - ", upper, "| <= 0x1p-848"));
    proof.addOnce(split);
    s.cut(rest, "rest");
    s.cut(upper, "upper", "fixed<-858,ne>");
    s.exactNextToSubnormal(operand(result, 0));
    s.exactNextToSubnormal(result);
    s.assume(
        text(range,
             " /\\ |scaled - upper| <= 0x1p-848 /\\ |rest| <= 0x1p-875 /\\ |scaled + rest - T| <= ",
             std::ldexp(sumError, -823)));
    s.hint("result - T*0x1p-200 -> (result - Mresult) + (scaled + rest - T)*0x1p-200");
  }
  for (const std::string& label : labels)
    s.bound(label + " subnormal", "(result - T*0x1p-200)/0x1p-1074");
  proof.addOnce(s);
}

/// Pieces of significands above one, up to 2^-17 and, finely, 2^-16 from it.
std::vector<Interval> fromOne() {
  std::vector<Interval> result{{above(1), above(1)}};
  const int ends[] = {-51, -44, -37, -30, -25, -22, -20, -18, -17};
  for (int i = 0; i < 8; ++i)
    result.push_back({1 + std::ldexp(1.0, ends[i]), 1 + std::ldexp(1.0, ends[i + 1])});
  return result;
}

template <class Tag>
void prove(Proof& proof, const Export& library, const std::vector<std::string>& labels) {
  std::vector<Interval> up = fromOne(), down;
  for (const Interval& i : up)
    down.push_back({3 - i.high, 3 - i.low});
  down.push_back({2 - 0x1p-16, 2 - 0x1p-17});
  for (const Interval& i : pieces({1 + 0x1p-17, 1 + 0x1p-16}, 8))
    up.push_back(i);
  nextToOne<Tag>(proof, library, 0, 0, 0, up);
  nextToOne<Tag>(proof, library, 32, 32, 128, down);
  nextToOne<Tag>(proof, library, 0, 0, 1, pieces({1 + 0x1p-16, 1 + 0x3p-16}, 8));
  elsewhere<Tag>(proof, library, reach<Tag>({{0, 0, 0}, {32, 32, 128}, {0, 0, 1}}));
  exponents<Tag>(proof);
  for (int j = 0; j < 128; ++j)
    power<Tag>(proof, library, labels, j);
  for (const bool isShort : {false, true})
    subnormal<Tag>(proof, library, labels, isShort);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  const Export exports[] = {
      {"Pow_64f_A50", [](double x, double y, double* to) { qelsPow_64f_A50(&x, &y, to, 1); }},
      {"Pow_64f_A53", [](double x, double y, double* to) { qelsPow_64f_A53(&x, &y, to, 1); }},
      {"Powx_64f_A50", [](double x, double y, double* to) { qelsPowx_64f_A50(&x, y, to, 1); }},
      {"Powx_64f_A53", [](double x, double y, double* to) { qelsPowx_64f_A53(&x, y, to, 1); }}};
  std::vector<std::string> names;
  for (const Export& e : exports)
    names.push_back(e.name);
  prove<Pow_64f_A50>(proof, exports[0], names);
  prove<Pow_64f_A53>(proof, exports[1], names);
  prove<Powx_64f_A50>(proof, exports[2], names);
  prove<Powx_64f_A53>(proof, exports[3], names);
  proof.coversDoubles("log2 rows 0 0 0", {1 + 0x1p-52, 1 + 0x1p-16});
  proof.coversDoubles("log2 rows 32 32 128", {2 - 0x1p-16, 2 - 0x1p-52});
  proof.coversReals("log2 rows 0 0 1", {1 + 0x1p-16, 1 + 0x3p-16});
  for (const double largest : {largestExponent, largestBelow})
    proof.coversReals(text("exponent ", largest), Interval::within(largest));
  for (int j = 0; j < 128; ++j)
    proof.coversReals(text("power row ", j), Interval::within(largestR));
  return proof.finish();
}
