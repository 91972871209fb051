// Ln and Log10 in A53 (A50: logarithm_series.cpp).
//
// x = m 2^k, u = m r - c exactly, the result k log 2 - log(r/c) + log(1 + u/c), for every row
// and groups of k; near one the series in x - 1, binade by binade.
#include "proof.hpp"

#include "explog/ln.cpp"
#include "explog/log10.cpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

/// The row of a significand, as the kernels find it.
template <class V>
auto rowOf(const V& m) {
  return lowWord(m + 0x1.000000000004p46) & 0x7F;
}

struct Natural {
  using Function = NaturalTable;
  using Tag = Ln_64f_A53;
  static constexpr const char* name = "Ln_64f_A53";
  static constexpr auto library = qelsLn_64f_A53;
  static constexpr const char* power = "x^2*"; // times the polynomial is the function
  static constexpr const char* inU = "U*U*";
  static constexpr const char* function = "log1p(x) - x";
  static Real of(const Real& x) { return Real::apply(mpfr_log, x); }
};
struct Decimal {
  using Function = DecimalTable;
  using Tag = Log10_64f_A53;
  static constexpr const char* name = "Log10_64f_A53";
  static constexpr auto library = qelsLog10_64f_A53;
  static constexpr const char* power = "x*";
  static constexpr const char* inU = "U*";
  static constexpr const char* function = "log10(1 + x/0x1.bcp-2) - x";
  static Real of(const Real& x) { return Real::apply(mpfr_log10, x); }
};

/// Groups of k: next to one, k = 0 and -1 apart.
constexpr std::pair<int, int> groups[] = {{-1082, -2}, {-1, -1}, {0, 0}, {1, 1023}};

template <class F>
Real rowLogarithm(const LogarithmRow& row) {
  return F::of(Real(F::Function::c) / Real(row.reciprocal));
}

/// Row j of the table, for the m that have it.
template <class F>
void row(Proof& proof, int j, Interval m) {
  using Function = typename F::Function;
  Recorder::get().clear();
  const Term x = Term::argument("x");
  const auto split = splitExponent(x, 1.0);
  const auto integer = split.k + 0;
  suppose(rowOf(split.m), j);
  const auto sum = reduceLogarithm<typename F::Tag, Function>(split.m, integer);
  const Term value = call(TableLogarithm<typename F::Tag, Function>::compute(x), "value");
  const Term k = toDouble(integer), u = call(sum.uHi + sum.uLo, "u");
  const Term p = Function::polynomial(u);
  const Rounded<Term> leadingM = roundShifter(split.m, Function::splitShifter);
  const LogarithmRow& entry = Function::template rows<typename F::Tag>()[j];
  const Term kHi = k * Function::log2Hi, r = entry.reciprocal, mHi = leadingM.value;
  const Term exactOnes[] = {mHi,     split.m - mHi, mHi * r,           sum.uHi,
                            sum.uLo, kHi,           kHi + entry.logHi, sum.leading};
  Recorder::get().freeze();
  proof.replay(text(F::name, " row ", j), F::library, x, value, [&](std::mt19937_64& random) {
    const int e = static_cast<int>(random() % 2046) - 1022;
    return std::ldexp(Proof::uniform(m.low, m.high)(random), e);
  });
  const double largestU = Function::c == 1 ? 0x1.05p-7 : 0x1.4ep-8;
  const double error =
      polynomialError(F::power + formulaOf(p, u, "x"), F::function, Interval::within(largestU));
  for (const auto& [kLow, kHigh] : groups) {
    Interval piece = m;
    if (kLow == 0) // what the second range has
      piece.low = std::max(piece.low, above(above(1 + Function::nearOne)));
    if (kLow == -1)
      piece.high = std::min(piece.high, below(2 * (1 - Function::nearOne)));
    if (piece.low > piece.high)
      continue;
    // Next to one the ulps change within a row.
    const bool near = (kLow == 0 && j < 4) || (kLow == -1 && j > 60);
    for (const Interval& part : pieces(piece, near ? 8 : 1)) {
      Script s(text(F::name, " row ", j, " k ", kLow, " ", part));
      s.cut(split.m, "m");
      s.multiple(split.m, -52);
      proof.over(s, text(F::name, " k ", kLow), "m", part);
      s.cut(k, "k", "fixed<0,ne>");
      // (Gappa does not see that a product with [0,0] is exact; 0 is in [0,1], too.)
      s.real("k", {static_cast<double>(kLow), std::max<double>(kHigh, kLow == 0 ? 1 : kHigh)});
      for (const Term& t : exactOnes)
        s.exact(t);
      s.stands(mHi, text(mHi));
      s.truth(Term(Function::log2Lo), "LOG2",
              enclosure(F::of(2) - Real(Function::log2Hi) - Real(Function::log2Lo)));
      if (entry.logLo == Function::log2Lo) // row 64: the same constant
        require(entry.logHi == Function::log2Hi, "the logarithm of row 64 is that of 2");
      else if (entry.logLo != 0)
        s.truth(Term(entry.logLo), "ROW",
                enclosure(rowLogarithm<F>(entry) - Real(entry.logHi) - Real(entry.logLo)));
      else
        require(entry.reciprocal == Function::c, "the logarithm of this row is zero");
      const std::string w = text(leadingM.sum);
      s.hint(text("m - ", mHi, " -> -(", w, " - (m + ", Function::splitShifter, ")) + -(", mHi,
                  " - (", w, " - ", Function::splitShifter, "))"));
      s.define("U", text("m*", r, " - ", Function::c));
      s.stands(u, "U");
      s.hint(text("u - U -> u - (", sum.uHi, " + ", sum.uLo, ")"));
      s.hint(text(sum.uHi, " -> U - ", sum.uLo));
      s.goal(text("|U| <= ", largestU));
      s.real("dT", Interval::within(error));
      const Term trailing = operand(value, 1);
      s.define("S", text("k*(", Function::log2Hi, " + LOG2) + (", entry.logHi,
                         entry.logLo == Function::log2Lo ? " + LOG2"
                         : entry.logLo != 0              ? " + ROW"
                                                         : "",
                         ") + U + ", F::inU, s.ideal(p), " + dT"));
      s.hint(
          text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing), ") + -dT"));
      s.lastRounding(text(F::name, " normal"), value, "S",
                     leastUlp(F::of, Real(part.low) * twoTo(kLow), Real(part.high) * twoTo(kHigh)));
      proof.add(s);
    }
  }
}

/// The largest pieces, where the polynomial costs most, cut again.
std::vector<Interval> finer(const std::vector<Interval>& whole) {
  std::vector<Interval> result;
  for (const Interval& piece : whole)
    for (const Interval& part :
         pieces(piece, std::max(std::fabs(piece.low), std::fabs(piece.high)) > 0x1p-9 ? 4 : 1))
      result.push_back(part);
  return result;
}

/// Next to one: d = x - 1 exactly.
template <class F>
void series(Proof& proof) {
  using Function = typename F::Function;
  const double limit = Function::nearOne;
  for (const Interval& whole : {Interval{-limit, 0}, Interval{0, above(1 + limit) - 1}})
    for (const Interval& piece : finer(binades(whole, -53))) {
      Recorder::get().clear();
      const Term x = Term::argument("x"), d = x - 1.0;
      const Term value =
          call(TableLogarithm<typename F::Tag, Function>::computeSecondRange(x), "value");
      const Term v = Function::c == 1 ? d : Function::c * d, p = Function::polynomial(v);
      Recorder::get().freeze();
      proof.replay(text(F::name, " near one"), F::library, x, value,
                   Proof::uniform(1 + piece.low, 1 + piece.high));
      if (piece.low == 0 || piece.high == 0) {
        proof.covered(text(F::name, " d"),
                      piece); // d is a multiple of 2^-53: 0, and exactly so, or the ends
        continue;
      }
      Script s(text(F::name, " d ", piece));
      s.cut(x, "x");
      s.exact(d);
      s.exact(v);
      call(d, "d");
      proof.over(s, text(F::name, " d"), "d", piece);
      s.hint("x -> d + 1");
      s.goal("@FIX(x,-53)");
      s.real("dT", Interval::within(
                       polynomialError(F::power + formulaOf(p, v, "x"), F::function,
                                       {piece.low * Function::c, piece.high * Function::c})));
      s.define("S",
               text(Function::c, "*d + ", F::power[1] == '^' ? "d*d*" : text(Function::c, "*d*"),
                    s.ideal(p), " + dT"));
      const Term trailing = operand(value, 1);
      s.hint(
          text(s.operationOf(value), " - S -> (", trailing, " - ", s.ideal(trailing), ") + -dT"));
      s.lastRounding(text(F::name, " normal"), value, "S",
                     leastUlp(F::of, Real(1) + Real(piece.low), Real(1) + Real(piece.high)));
      proof.add(s);
    }
  proof.coversReals(text(F::name, " d"), {-limit, limit});
}

template <class F>
void prove(Proof& proof) {
  series<F>(proof);
  for (const auto& [j, m] : preimages([](double v) { return rowOf(v); }, {1, below(2)}))
    row<F>(proof, j, m);
  for (const auto& [kLow, kHigh] : groups)
    proof.coversDoubles(text(F::name, " k ", kLow),
                        {kLow == 0 ? above(above(1 + F::Function::nearOne)) : 1,
                         kLow == -1 ? below(2 * (1 - F::Function::nearOne)) : below(2)});
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  prove<Natural>(proof);
  prove<Decimal>(proof);
  return proof.finish();
}
