// Atan2: the angle of (x, y) from atan(b) + atan T, T = (|y| - b |x|) / (|x| + b |y|).
//
// 1. |y| - b |x| exactly, and |x| + b |y|, in two words. Powers of two change nothing: both b of
//    three bits stand for all, the numerator with |y| in [1,2), the denominator in [1,2).
// 2. T in two words: how far they are off, absolutely; in row 0, b = 0, relatively.
// 3. The angle from any T that is off by no more than that: rows by the binade of their b, all at
//    once where x is negative; row 0 by binades of T.
// 4. What the table has no row for: exponents far apart, and quotients beyond it.
#include "proof.hpp"

#include "invtrig/atan2.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

// What a part shows for those after it. For a denominator in [1,2], than which |y| is less:
constexpr double denominatorError = 0x1.1p-78, denominatorLow = 0x1.1p-25; // its lower word
constexpr double numeratorLow = 0x1.1p-27;                 // the numerator's lower word, beside |y|
constexpr double ratioError = 0x1p-74, ratioLow = 0x1p-24; // of T
constexpr double seriesError = 0x1p-69, seriesLow = 0x1p-21; // of T in row 0, relatively
constexpr double largestT = 0x1p-3;
constexpr double leastT = 0x1p-106;    // of a positive x, with exponents less than 54 apart
constexpr double beyondTable = 0.7244; // ulp, where the row is not that of b

/// An export with its name.
struct Export {
  std::string name;
  QelStatus(QELVM_CALL* function)(const double*, const double*, double*, std::int32_t);
};

/// For |y| and |y / x| whose binary logarithms are drawn evenly.
void replayOf(Proof& proof, const std::string& what, const Export& library,
              const std::array<Term, 2>& arguments, const Term& result, Interval exponents,
              Interval quotients) {
  proof.replay(
      library.name + " " + what, arguments, result,
      [&](std::mt19937_64& random) {
        const double v = std::exp2(Proof::uniform(exponents.low, exponents.high)(random));
        const double w = v / std::exp2(Proof::uniform(quotients.low, quotients.high)(random));
        return std::array{random() % 2 ? v : -v, random() % 2 ? w : -w};
      },
      [&](const std::array<double, 2>& v, double* to) { library.function(&v[0], &v[1], to, 1); });
}

/// The kernel's steps for a y and an x, as it computes them for a power of two that scales both.
template <class Tag>
struct Record {
  Term y = Term::argument("ordinate"), x = Term::argument("abscissa");
  Ratio<Term> ratio;
  Whole<std::int32_t> row;
  Term b, root, tail, value, result;
  DoubleDoubleOf<Term> denominator, numerator, t, angle;

  /// x is negative; the row and its b, where a case supposes them; a power of two for all y, or
  /// that of the ordinary ones.
  Record(bool negative, std::optional<int> supposedRow = {}, double center = 0,
         std::optional<int> scaleField = {}, std::optional<int> lastRow = {})
      : ratio(y, x, scaleField ? Whole<std::int32_t>(*scaleField) : 2046 - exponentField(y)),
        row(arctanRow(ratio.quotient)) {
    suppose(isNegative(x), negative);
    if (supposedRow)
      suppose(row, *supposedRow);
    if (lastRow)
      row = *lastRow;
    b = arctanCentre(ratio.quotient, row);
    if (supposedRow)
      suppose(Whole<std::uint64_t>::ofNode(nodeOf(b.id).args[0]), bitsOf(center));
    if (supposedRow)
      b = Term(center);
    const DoubleDoubleOf<Term> both = ratioAngle<Tag>(ratio, row);
    result = scaleField || lastRow ? inQuadrant(both, y, x) : ArcTangentOfTwo<Tag>::compute(y, x);
    value = call(operand(result, 0), "value");
    denominator = addProduct(ratio.x, b, ratio.y);
    numerator = addProduct(ratio.y, -b, ratio.x);
    t = quotient(numerator, Reciprocal<Term>(denominator));
    root = selectWhereZero(row, ratio.quotient, t.hi + t.lo);
    tail = arctanTail(root * root);
    angle = arctangentOf(t, tail);
    Recorder::get().freeze();
  }

  void replay(Proof& proof, const std::string& what, const Export& library, Interval exponents,
              Interval quotients) const {
    replayOf(proof, what, library, {y, x}, result, exponents, quotients);
  }
};

Real arctangent(const Real& x) {
  return Real::apply(mpfr_atan, x);
}
void extend(Interval& hull, const Interval& by) {
  hull = {std::min(hull.low, by.low), std::max(hull.high, by.high)};
}
/// (q - b) / (1 + b q)
Real offCenter(const Real& q, double b) {
  return (q - Real(b)) / (Real(1) + Real(b) * q);
}

// ---- 1. numerator and denominator ---------------------------------------------------------------

template <class Tag>
void sums(Proof& proof, const Export& library, double b, Interval quotients) {
  Recorder::get().clear();
  const Record<Tag> record(false, arctanRow(b), b);
  record.replay(proof, text("numerator ", b), library, {-900, 900},
                {std::log2(quotients.low), std::log2(quotients.high)});
  const Term y = record.ratio.y, x = record.ratio.x;
  const auto xHi = splitHiLo(x, split26Bits), yHi = splitHiLo(y, split26Bits);
  {
    const Term high = xHi.hi * -record.b, low = xHi.lo * -record.b;
    const auto product = fastTwoSum(high, low), sum = twoSum(y, product.hi);
    const Term rests = product.lo + sum.lo;
    const DoubleDoubleOf<Term> n = {call(record.numerator.hi, "nHi"),
                                    call(record.numerator.lo, "nLo")};
    Script s(text("numerator ", b));
    s.cut(y, "y");
    s.cut(x, "x");
    s.multiple(y, -52);
    s.multiple(x, -53);
    s.assume("y in [1,2] /\\ x in [0.5,0x1.0000000000001p1]");
    s.real("Q", quotients);
    s.assume("Q*x - y in [0,0]");
    for (const Term& e : {high, low, sum.hi, rests, n.lo})
      s.exact(e);
    s.hint(text(product.lo, " -> -(", product.hi, " - (", high, " + ", low, "))"));
    s.hint(text("y + ", product.hi, " -> (Q - ", b, ")*x + -", product.lo, " + -(Q*x - y)"));
    s.hint(text("nHi + nLo - (y - ", b, "*x) -> 0"));
    s.goal(text("nHi + nLo - (y - ", b, "*x) in [0,0]"));
    s.goal(text("|nLo| <= ", numeratorLow));
    proof.addOnce(s);
  }
  const Term high = yHi.hi * record.b, low = yHi.lo * record.b;
  const auto product = fastTwoSum(high, low), sum = twoSum(x, product.hi);
  call(record.denominator.hi, "dHi"), call(record.denominator.lo, "dLo");
  Script s(text("denominator ", b));
  s.cut(y, "y");
  s.cut(x, "x");
  s.multiple(y, -300);
  s.multiple(x, -300);
  s.assume("y in [0x1p-230,2] /\\ x in [0x1p-230,2]");
  s.define("D", text("x + ", b, "*y"));
  s.assume("D in [1,2]");
  s.exact(high), s.exact(low);
  s.hint(text(product.lo, " -> -(", product.hi, " - (", high, " + ", low, "))"));
  s.hint(text("x + ", product.hi, " -> D + -", product.lo));
  s.hint(text(sum.lo, " -> -(", sum.hi, " - (x + ", product.hi, "))"));
  s.hint("dHi + dLo - D -> dLo - MdLo");
  s.goal(text("|dHi + dLo - D| <= ", denominatorError));
  s.goal(text("|dLo| <= ", denominatorLow));
  proof.addOnce(s);
}

// ---- 2. their quotient --------------------------------------------------------------------------

/// T, which times the denominator D is the numerator N.
template <class Tag>
void ratio(Proof& proof, bool series) {
  Recorder::get().clear();
  const double b = series ? 0 : 1.25;
  const Record<Tag> record(false, series ? 0 : arctanRow(b), b);
  const auto [nHi, nLo] = record.numerator;
  const auto [dHi, dLo] = record.denominator;
  const Term tHi = call(record.t.hi, "tHi"), tLo = call(record.t.lo, "tLo");
  call(operand(tHi, 1), "seed");
  const Term correction = operand(operand(operand(tLo, 0), 0), 1);
  const Term e = call(operand(operand(correction, 0), 1), "e"), first = operand(e, 0),
             inverse = 1.0 / dHi;
  Script s(series ? "ratio row 0" : "ratio");
  s.define("N", "nHi + nLo");
  if (series) {
    s.cut(record.ratio.y, "y");
    s.cut(record.ratio.x, "x");
    s.assume("y in [1,2] /\\ x in [1,2]");
    s.multiple(record.ratio.y, -52);
    s.multiple(record.ratio.x, -52);
    call(nHi, "nHi"), call(nLo, "nLo"), call(dHi, "dHi"), call(dLo, "dLo");
    s.real("dD", {0, 0});
    s.real("T", {0.5, 2});
    s.hint("N - y -> 0");
    s.hint("dHi + dLo - x -> 0");
    s.goal("N - y in [0,0] /\\ dHi + dLo - x in [0,0]");
  } else {
    s.cut(nHi, "nHi", "float<26,-400,ne>");
    s.cut(nLo, "nLo", "float<53,-400,ne>");
    s.cut(dHi, "dHi", "float<26,-400,ne>");
    s.cut(dLo, "dLo", "float<53,-400,ne>");
    s.real("dD", Interval::within(denominatorError));
    s.real("T", Interval::within(largestT));
    s.assume(text("|dLo| <= ", denominatorLow, " /\\ |nLo| <= ", 2 * numeratorLow));
    s.assume("D in [1,2]");
    s.hint("nHi -> T*D + -nLo + -(T*D - N)");
    s.hint("dHi -> D + -dLo + -dD");
    s.multiple(nLo, -400);
  }
  s.define("D", "dHi + dLo + dD");
  s.assume("T*D - N in [0,0]");
  call(inverse, "inverse");
  for (const Term& exactOne : {operand(first, 1), first, tHi})
    s.exact(exactOne);
  s.hint(text("1 - ", operand(first, 1),
              " -> -(dHi*(seed - inverse)) - dHi*(inverse - 1/dHi) {dHi "
              "<> 0}"));
  s.hint("tHi + tLo - T -> (tLo - MtLo) + -(T*Me*Me*Me) + T*dD*seed*(1 + Me + Me*Me) + -((T*D - "
         "N)*seed*(1 + Me + Me*Me))");
  s.goal(text("|tHi + tLo - T| <= ", series ? seriesError / 2 : ratioError));
  s.goal(text("|tLo| <= ", series ? seriesLow / 2 : ratioLow));
  proof.addOnce(s);
}

// ---- 3. the angle -------------------------------------------------------------------------------

/// What rows have: T, the first word, what both words leave, the lower one, the least angle.
struct Rows {
  Interval t{0, 0}, high{2, 0}, rests{0, 0};
  double lowWord = 0, least = 2;
};

/// The steps from T to its arctangent: `exact`, and what they are off it but for the roundings of
/// the lower word.
struct Angle {
  std::string exact = "T + T*Mtail + dS";
  std::string off = "(product - tailHi*uHi) + dT*(1 + tail) + T*(tail - Mtail) + -dS";

  /// `isExact`: the scripts show that the Fast2Sum's operands are ordered and the leading product
  /// exact. (Rows have no need of it: their ulps are larger, their T may be zero.)
  template <class Tag>
  Angle(Script& s, const Record<Tag>& record, bool isExact) {
    const auto [tHi, tLo] = record.t;
    const auto sum = fastTwoSum(tHi, tLo);
    s.cut(tHi, "tHi");
    s.cut(tLo, "tLo");
    const Term product = call(operand(record.angle.hi, 0), "product");
    call(sum.hi, "u");
    call(operand(product, 0), "tailHi"), call(operand(product, 1), "uHi");
    const Term tail = call(record.tail, "tail");
    if (isExact)
      s.exact(product);
    else
      s.unordered(sum.lo);
    s.stands(record.root, "T");
    s.stands(tail, "tail");
    s.hint("tail ~ Mtail");
    s.define("dT", "tHi + tLo - T");
    s.hint("tHi -> T + dT + -tLo");
    s.hint("tHi + tLo -> T + dT");
  }
};

/// What the polynomial leaves of the arctangent.
template <class Tag>
double polynomialErrorOf(const Record<Tag>& record, Interval range, bool relative) {
  return polynomialError("x + x*" + formulaOf(record.tail, record.root, "x"), "atan(x)", range,
                         relative);
}

/// The angle of the point: `rowSum` is what the row adds.
template <class Tag>
void result(Proof& proof, Script& s, const Record<Tag>& record, const Angle& angle, bool negative,
            const std::string& rowSum, const std::vector<std::string>& labels, double ulp) {
  const Term low = call(operand(record.value, 1), "low");
  if (negative) {
    s.truth(Term(qelvm::pi.lo), "PILO",
            enclosure(proof::pi() - Real(qelvm::pi.hi) - Real(qelvm::pi.lo)));
    s.define("S", text(qelvm::pi.hi, " + PILO - (", rowSum, angle.exact, ")"));
    s.hint(text(s.operationOf(record.value), " - S -> (low - ", s.ideal(low), ") + -(", angle.off,
                ")"));
  } else {
    s.define("S", text(rowSum, angle.exact));
    s.hint(text(s.operationOf(record.value), " - S -> (low - ", s.ideal(low), ") + ", angle.off));
  }
  for (const std::string& label : labels)
    s.lastRounding(label + " normal", record.value, "S", ulp);
  proof.addOnce(s);
}

/// Any row of a group.
template <class Tag>
void rows(Proof& proof, const std::string& name, const Rows& group, bool negative,
          const std::vector<std::string>& labels) {
  Recorder::get().clear();
  const Record<Tag> record(negative);
  const Term high = lookUp(arctanTable<Tag>, record.row, &PairRow::hi),
             rest = lookUp(arctanTable<Tag>, record.row, &PairRow::lo);
  for (const Interval& piece : pieces(group.t, negative ? 1 : 8)) {
    Script s(text(name, negative ? " negative " : " ", piece));
    const Angle angle(s, record, false);
    proof.over(s, text(name, " ", negative), "T", piece);
    s.assume(text("|dT| <= ", ratioError, " /\\ |tLo| <= ", ratioLow));
    s.cut(record.root, "root");
    s.assume("root - u in [0,0]");
    s.hint("root - T -> (root - u) + (u - (tHi + tLo)) + dT");
    s.cut(high, "high");
    s.cut(rest, "rest");
    s.assume(text("high in ", group.high, " /\\ |rest| <= ", group.lowWord));
    s.truth(rest, "REST", group.rests);
    s.real("dS", Interval::within(polynomialErrorOf(record, Interval::within(largestT), false)));
    result(proof, s, record, angle, negative, "high + REST + ", labels,
           negative ? 0x1p-52 : std::ldexp(1.0, std::ilogb(group.least) - 52));
  }
  proof.coversReals(text(name, " ", negative), group.t);
}

/// Row 0: T is the quotient.
template <class Tag>
void series(Proof& proof, bool negative, const std::vector<std::string>& labels) {
  Recorder::get().clear();
  const Record<Tag> record(negative, 0, 0.0);
  std::vector<Interval> all;
  if (negative)
    all = {{0, largestT}};
  else
    for (const Interval& binade : binades({leastT, largestT}, -200))
      for (const Interval& piece : pieces(binade, binade.low < 0x1p-6 ? 1 : 8))
        all.push_back(piece);
  const double error = polynomialErrorOf(record, {0, largestT}, true);
  const std::string domain = negative ? "row 0 negative" : "row 0";
  for (const Interval& piece : all) {
    Script s(text(domain, " ", piece));
    const Angle angle(s, record, !negative);
    proof.over(s, domain, "T", piece);
    s.assume(text("|dT| <= ", seriesError * piece.high, " /\\ |tLo| <= ", seriesLow * piece.high));
    s.cut(record.root, "root"); // the quotient, rounded
    s.assume("root_ - T in [0,0]");
    s.hint("root - T -> (root - root_) + (root_ - T)");
    if (!negative)
      s.multiple(record.tail, -400);
    s.real("dP", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
    s.define("dS", "(T + T*Mtail)*dP");
    result(proof, s, record, angle, negative, "", labels,
           negative ? 0x1p-52 : leastUlp(arctangent, piece.low, piece.high));
  }
  proof.coversReals(domain, {negative ? 0 : leastT, largestT});
}

template <class Tag>
void angles(Proof& proof, const std::vector<std::string>& labels) {
  std::map<int, Rows> groups;
  Rows all;
  for (const auto& [j, q] :
       preimages([](double v) { return arctanRow(v); }, {0x1p-3, below(0x1p54)})) {
    const double b = arctanCentre(q.low, j), off = 0x1p-53; // of a rounded quotient
    require(arctanCentre(q.high, j) == b && std::fmod(b, std::ldexp(0.25, std::ilogb(b))) == 0,
            "b has three bits, for a whole row");
    const Real low = Real(q.low) * Real(1 - off), high = Real(q.high) * Real(1 + 2 * off);
    const PairRow& entry = arctanTable<Tag>[j];
    const Interval t = {below(offCenter(low, b).toDouble()), above(offCenter(high, b).toDouble())};
    const Interval rest = enclosure(arctangent(b) - Real(entry.hi) - Real(entry.lo));
    require(std::max(-t.low, t.high) <= largestT, "|T|");
    require((high / (Real(1) + Real(b) * high)).toDouble() < 1, "|y| is less than the denominator");
    for (Rows* r : {&groups[std::min(std::ilogb(b), 1)], &all}) {
      extend(r->t, t), extend(r->high, {entry.hi, entry.hi}), extend(r->rests, rest);
      r->lowWord = std::max(r->lowWord, std::fabs(entry.lo));
      r->least = std::min(r->least, below(arctangent(low).toDouble()));
    }
  }
  for (const auto& [exponent, group] : groups)
    rows<Tag>(proof, text("rows 2^", exponent), group, false, labels);
  rows<Tag>(proof, "rows", all, true, labels);
  for (const bool negative : {false, true})
    series<Tag>(proof, negative, labels);
}

/// The whole kernel, ordinary or not, and at the ends of the exponent range.
template <class Tag>
void replays(Proof& proof, const Export& library) {
  for (const bool negative : {false, true}) {
    Recorder::get().clear();
    const Record<Tag> all(negative);
    all.replay(proof, text("rows ", negative), library, {-950, 950}, {-53.9, 53.9});
    all.replay(proof, text("subnormal x ", negative), library, {-1021.9, -1021}, {-50, 40});
    Recorder::get().clear();
    Record<Tag>(negative, 0, 0.0)
        .replay(proof, text("row 0 ", negative), library, {-950, 950}, {-53.9, -3.01});
    Recorder::get().clear();
    Record<Tag>(negative, {}, 0, 1)
        .replay(proof, text("last binade ", negative), library, {1023.01, 1023.99}, {0, 53});
    Recorder::get().clear();
    Record<Tag>(negative, {}, 0, 2045)
        .replay(proof, text("subnormal y ", negative), library, {-1073.9, -1022.1}, {-50, -0.5});
  }
}

// ---- 4. beyond the table ------------------------------------------------------------------------

/// x is subnormal and the quotient above 2^54: the row is the last, b that of the quotient, and all
/// results are one double. S is pi/2 -+ w, w = atan |x/y|.
template <class Tag>
void beyond(Proof& proof, const Export& library, bool negative) {
  Recorder::get().clear();
  const Record<Tag> record(negative, {}, 0, {}, arctanRows - 1);
  record.replay(proof, text("beyond the table ", negative), library, {-1000, -969.1}, {54.01, 70});
  Script s(text("beyond the table ", negative));
  const Angle angle(s, record, false);
  Interval range{0, 0};
  for (int exponent = 54; exponent <= 106; ++exponent)
    for (const double low : {1.0, 1.5}) {
      const double q = std::ldexp(low, exponent), next = std::ldexp(low + 0.5, exponent),
                   b = arctanCentre(q, arctanRows - 1);
      extend(range, {offCenter(Real(q) * Real(1 - 0x1p-50), b).toDouble(),
                     offCenter(Real(next) * Real(1 + 0x1p-50), b).toDouble()});
    }
  s.real("T", range);
  s.assume(text("|dT| <= ", ratioError, " /\\ |tLo| <= ", ratioLow));
  s.real("w", {0, 0x1.0000000000001p-54});
  s.real("REST", enclosure(proof::pi() / Real(2) - Real(halfPi.hi)));
  s.define("S", text(halfPi.hi, " + REST ", negative ? "+ w" : "- w"));
  const double constant = negative ? above(halfPi.hi) : halfPi.hi;
  s.goal(text("value in ", Interval{constant, constant}));
  s.hint(text("value - S -> (value - ", constant, ") + ", constant - halfPi.hi, " - REST ",
              negative ? "- w" : "+ w"));
  s.goal(text("|value - S| <= ", beyondTable * 0x1p-52));
  proof.addOnce(s);
}

/// The exponents are 54 or more apart: S from r = x/|y| or |y|/|x|, whose arctangent is r less at
/// most r^3/2; `value` is what the kernel computes, r where it is no constant.
void farApart(Proof& proof, const Export& library, const std::vector<std::string>& labels) {
  const auto arguments = [] {
    Recorder::get().clear();
    return std::array{Term::argument("ordinate"), Term::argument("abscissa")};
  };
  {
    const auto [y, x] = arguments();
    const Term r = call(x / magnitude(y), "r");
    const Term value = call((halfPi.lo - r) + halfPi.hi, "value"), low = operand(value, 0);
    const Term result = copySign(value, y);
    Recorder::get().freeze();
    replayOf(proof, "y large", library, {y, x}, result, {-890, 1020}, {55, 73});
    Script s("y large");
    s.cut(r, "r");
    s.stands(r, "r_");
    s.real("r_", Interval::within(0x1p-53));
    s.real("theta", {0, 0.5});
    s.truth(Term(halfPi.lo), "REST",
            enclosure(proof::pi() / Real(2) - Real(halfPi.hi) - Real(halfPi.lo)));
    s.define("S", text(halfPi.hi, " + REST - r_ + r_*r_*r_*theta"));
    s.hint(
        text(s.operationOf(value), " - S -> (", low, " - ", s.ideal(low), ") + -(r_*r_*r_*theta)"));
    for (const std::string& label : labels)
      s.lastRounding(label + " normal", value, "S", 0x1p-52);
    proof.addOnce(s);
  }
  const auto constant = [&](const std::string& name, const DoubleDouble& angle, const Real& exact,
                            Interval off, double ulp, Interval quotients, bool negative) {
    const auto [y, x] = arguments();
    if (negative)
      suppose(isNegative(x), true);
    const double value = roundedAngle(angle);
    replayOf(proof, name, library, {y, x}, copySign(Term(value), y), {-20, 20}, quotients);
    Script s(name);
    s.real("w", off);
    s.real("REST", enclosure(exact - Real(value)));
    s.define("S", text(value, " + REST - w"));
    for (const std::string& label : labels)
      s.bound(label + " normal", text("(", value, " - S)/", ulp));
    proof.addOnce(s);
  };
  constant("y larger", halfPi, proof::pi() / Real(2), Interval::within(0x1p-73), 0x1p-52, {75, 900},
           false);
  constant("x large and negative", qelvm::pi, proof::pi(), {0, 0x1p-53}, 0x1p-51, {-900, -55},
           true);

  for (const bool subnormal : {false, true}) {
    const auto [y, x] = arguments();
    suppose(isNegative(x), false);
    const Term quotient = call(magnitude(y) / x, "quotient");
    if (subnormal)
      suppose(quotient * quotient, 0.0);
    else
      suppose(1.0 + quotient, 1.0);
    const Term value =
        subnormal ? quotient + quotient * quotient : quotient * (1.0 + quotient); // a goal
    const Term result = copySign(value, y);
    require(value.id == quotient.id, "the quotient");
    Recorder::get().freeze();
    const std::string name = subnormal ? "subnormal" : "x large";
    replayOf(proof, name, library, {y, x}, result, {-50, 50},
             subnormal ? Interval{-1073, -1023} : Interval{-960, -55});
    Script s(name);
    s.cut(quotient, "quotient");
    s.real("theta", {0, 0.5});
    if (subnormal) {
      s.real("quotient_", {0, 0x1p-1022});
      s.goal("rnd(quotient*quotient) in [0,0]");
      s.define("S", "quotient_ - quotient_*quotient_*quotient_*theta");
      s.hint("quotient - S -> (quotient - quotient_) + quotient_*quotient_*quotient_*theta");
      for (const std::string& label : labels)
        s.bound(label + " subnormal", "(quotient - S)/0x1p-1074");
    } else { // an ulp is more than 2^-53 of S: by Lemma Last Rounding
      s.real("quotient_", {0x1p-1022, 0x1p-53});
      s.goal("rnd(1 + quotient) in [1,1]");
      for (const std::string& label : labels)
        s.bound(label + " normal", "0.5 + quotient_*quotient_*theta*0x1.00001p53");
    }
    proof.addOnce(s);
  }
}

template <class Tag>
void prove(Proof& proof, const Export& library, const std::vector<std::string>& labels) {
  sums<Tag>(proof, library, 1.25, {1 - 0x1p-53, 1.5});
  sums<Tag>(proof, library, 1.75, {1.5 - 0x1p-52, 2});
  for (const bool series : {false, true})
    ratio<Tag>(proof, series);
  angles<Tag>(proof, labels);
  for (const bool negative : {false, true})
    beyond<Tag>(proof, library, negative);
  farApart(proof, library, labels);
  replays<Tag>(proof, library);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  const Export exports[] = {{"Atan2_64f_A50", qelsAtan2_64f_A50},
                            {"Atan2_64f_A53", qelsAtan2_64f_A53}};
  const std::vector<std::string> labels = {exports[0].name, exports[1].name};
  prove<Atan2_64f_A50>(proof, exports[0], labels);
  prove<Atan2_64f_A53>(proof, exports[1], labels);
  return proof.finish();
}
