// Sin, Cos and SinCos, whose kernel is one: the cosine is the sine 16 rows on.
//
// The reduction by pi/32: x, or what the reduction by pi/4 leaves of it, is N pi/32 + r + lo + eta,
// binade by binade.
//
// The reduction by pi/4, from 2^17 to 2^30: x - m pi/4 = hi + lo + eta, binade by binade; next to a
// zero once more.
//
// The rows: the sine of j pi/32 + r + lo + eta for every row j and every piece of r. Next to a
// zero, in rows 0 and 32, all depends on the size of r: binade by binade.
//
// The doubles that are too near to a multiple of pi/2 for that are found, and tried; tiny x go
// apart.
#include "trig_reduction.hpp"

#include "trig/cos.cpp"
#include "trig/sin.cpp"
#include "trig/sin_cos.cpp"

#include <cstring>

using namespace qelvm;
using namespace qelvm::proof;

namespace {

// What the reduction by pi/32 shows for the rows.
constexpr double largestR = 0x1.924p-5, largestLo = 0x1.8ep-53;
constexpr int lastOfR = -80; // r is a multiple of 2^-80
constexpr double leastR = 0x1p-57, tiny = 0x1p-32;

/// The exports, and what their bounds are called.
struct Library {
  const char* label;
  int quarterTurns; // 1: the cosine
  Proof::Export function;
  bool isRows = true; // one of each label takes the bounds of the rows
};
#define QELVM_OF_BOTH(Class, first, second)                                                        \
  [](const double* x, double* y, std::int32_t length) QELVM_CALL {                                 \
    double other;                                                                                  \
    return qelsSinCos_64f_##Class(x, first, second, length);                                       \
  }
const Library libraries[] = {{"Sin_64f_A50 normal", 0, qelsSin_64f_A50},
                             {"Sin_64f_A53 normal", 0, qelsSin_64f_A53},
                             {"Cos_64f_A50 normal", 1, qelsCos_64f_A50},
                             {"Cos_64f_A53 normal", 1, qelsCos_64f_A53},
                             {"SinCos_64f_A50 normal", 0, QELVM_OF_BOTH(A50, y, &other)},
                             {"SinCos_64f_A50 normal", 1, QELVM_OF_BOTH(A50, &other, y), false},
                             {"SinCos_64f_A53 normal", 0, QELVM_OF_BOTH(A53, y, &other)},
                             {"SinCos_64f_A53 normal", 1, QELVM_OF_BOTH(A53, &other, y), false}};

/// The stages of the kernel for row j.
template <class Lo>
struct Stages {
  Term x;
  SineCosine<Sin_64f_A53, Term> kernel;
  Term str, ct;

  Stages(const Term& hi, const Lo& xLo, int j)
      : x(hi),
        kernel((suppose(0 + lowWord(roundShifter(hi * stepsPerRadian, integerShifter).sum), j),
                TrigArgument<Term, std::int32_t, Lo>{0, hi, xLo})) {
    const Term generic = kernel.at(5 - j); // row 5, which has all terms
    const Term sums = operand(operand(operand(generic, 1), 0), 0), tails = operand(sums, 1);
    str = call(operand(operand(tails, 0), 0), "str");
    ct = call(operand(operand(tails, 1), 0), "ct");
    lo = call(operand(operand(operand(sums, 0), 0), 0), "lo");
    r = call(operand(str, 1), "r");
  }
  Term r, lo;
};

/// The largest errors of the sine or cosine, in ulps, of all doubles that are too near to a zero
/// for the rows.
void tried(Proof& proof, int quarterTurns) {
  for (const Library& l : libraries)
    if (l.quarterTurns == quarterTurns) {
      const double worst =
          worstNextToZeros(quarterTurns ? mpfr_cos : mpfr_sin, l.function, 17, quarterTurns);
      Script s(text(l.label, quarterTurns ? " cosine" : " sine", " next to zeros"));
      s.real("error", Interval::within(above(worst)));
      s.bound(l.label, "error");
      proof.add(s);
    }
}

/// The least ulp of the sine of j pi/32 + r on a piece of r: of its ends, and of what lo changes.
double leastUlp(int j, Interval r, double rest) {
  double least = 1;
  for (const double end : {r.low, r.high})
    least =
        std::min(least, std::fabs(Real::apply(mpfr_sin, ratioOfPi(j, 32) + Real(end)).toDouble()) *
                                (1 - 0x1p-50) -
                            rest);
  return std::ldexp(1.0, std::ilogb(least) - 52);
}

/// Pieces of r, cut where the sine passes a power of two.
std::vector<Interval> piecesOf(int j) {
  std::vector<Interval> result =
      pieces(Interval::within(largestR), j % 32 == 1 || j % 32 == 31 ? 16 : 4);
  if (j % 32 == 0) {
    result = binades({-largestR, -leastR}, -60);
    for (const Interval& i : binades({leastR, largestR}, -60))
      result.push_back(i);
  }
  for (int k = -10; k < 0; ++k)
    for (const double side : {1.0, -1.0}) {
      Real angle = Real::apply(mpfr_asin, twoTo(k) * Real(side));
      for (const Real& a : {angle, pi() - angle})
        for (int turn = -1; turn < 2; ++turn)
          for (const double off : {-0x1p-50, 0x1p-50})
            result = cutAt(result, (a + pi() * Real(2 * turn) - ratioOfPi(j, 32)).toDouble() + off);
    }
  return result;
}

/// S = sin(j pi/32 + r + lo + eta), by its series in lo + eta: Sj, C are sine and cosine of j
/// pi/32, SN and CS those of r, less r and 1.
void row(Proof& proof, int j) {
  Recorder::get().clear();
  const Stages<double> st(Term::argument("x"), 0.0, j);
  const Term value = call(st.kernel.at(0), "value");
  const bool special = j % 16 == 0; // sine and cosine are 0 and 1
  const SineCosineRow& entry = sineCosineRows<Sin_64f_A53>[j];
  const Term low = call(operand(value, 1), "low"), cosine = entry.cosineRest + entry.cosinePower;
  Recorder::get().freeze();
  const double middle = ratioOfPi(j, 32).toDouble();
  proof.replay(text("row ", j), qelsSin_64f_A53, st.x, value,
               Proof::uniform(middle - 0.05, middle + 0.05));
  for (const Interval& piece : piecesOf(j)) {
    Script s(text("row ", j, " ", piece));
    s.cut(st.r, "r");
    s.cut(st.lo, "lo");
    proof.over(s, text("row ", j), "r", piece);
    // Nearer to a zero r is a double of the reduction and lo less than an ulp of it.
    const bool nearer = special && piece.magnitude() <= nearZero;
    const double lo = nearer ? piece.magnitude() * 0x1p-53 : largestLo;
    const double eta = etaOfRow(special, piece.magnitude());
    s.assume(text("|lo| <= ", lo, " /\\ |eta| <= ", eta));
    if (!special)
      s.assume(text("@FIX(r,", lastOfR, ")"));
    if (j == 32)
      s.exact(operand(value, 0));             // -r
    s.real("eps", Interval::within(lo * lo)); // (lo + eta)^2/2
    // (Next to a zero the polynomials' errors are small as r is.)
    const double range =
        special ? std::min(largestR, std::ldexp(1.0, std::ilogb(piece.magnitude()) / 6 * 6))
                : largestR;
    s.truth(st.str, "SN",
            Interval::within(polynomialError(st.str, st.r, "sin(x) - x", Interval::within(range))));
    s.truth(st.ct, "CS",
            Interval::within(polynomialError(st.ct, st.r, "cos(x) - 1", Interval::within(range))));
    const std::string C = special ? text(cosine) : "C", hi = text(entry.sineHi),
                      sine = special ? hi : text("(", hi, " + LOW)");
    if (!special) {
      // (How the constant was rounded stands apart, for Gappa's precision.)
      const double rounding = twoSum<double, double>(entry.cosineRest, entry.cosinePower).lo;
      s.define("C", text(cosine, " + (", rounding, " + dC)"));
      s.real("dC", enclosure(Real::apply(mpfr_cos, ratioOfPi(j, 32)) - Real(entry.cosineRest) -
                             Real(entry.cosinePower)));
      s.stands(cosine, "C");
      s.define("LOW", text(entry.sineLo, " + dLOW"));
      s.real("dLOW", enclosure(Real::apply(mpfr_sin, ratioOfPi(j, 32)) - Real(entry.sineHi) -
                               Real(entry.sineLo)));
      s.stands(Term(entry.sineLo), "LOW");
      s.exact(operand(operand(operand(low, 0), 1), 1)); // the power of two times r
    }
    const Term restR = special ? Term(0.0) : operand(operand(low, 1), 1);
    const std::string slope = text("(", C, "*(1 + CS) - ", sine, "*(r + SN))");
    s.define("S", text(sine, "*(1 + CS) + ", C, "*(r + SN) + (lo + eta)*", slope, " + eps"));
    s.hint(text(
        s.operationOf(value), " - S -> (", low, " - ", s.ideal(low), ") + -(eta*", slope,
        ") + -(lo*(", C, "*CS - ", sine, "*SN", special ? "" : " - LOW*r", ")) + -eps",
        special ? "" : text(" + (", restR, " - ", entry.cosineRest, "*r) + -(LOW*CS) + -(dC*r)")));
    for (const Library& l : libraries)
      if (l.isRows)
        s.lastRounding(l.label, value, "S", leastUlp(j, piece, lo + eta));
    proof.add(s);
  }
}

/// Where N is zero and x tiny: x + str, str = c x^2 x with a c next to -1/6.
void tinyArguments(Proof& proof) {
  Recorder::get().clear();
  const Stages<double> st(Term::argument("x"), 0.0, 0);
  call(operand(st.str, 0), "c");
  Recorder::get().freeze();
  for (const Interval& side : {Interval{0x1p-252, tiny}, Interval{-tiny, -0x1p-252}}) {
    Script s(text("tiny ", side));
    s.cut(st.r, "r");
    proof.over(s, "tiny", "r", side);
    s.real("theta", {-0.25, 0}); // sin r - r is theta r^3
    s.define("S", "r + r*r*r*theta");
    const std::string error =
        "|(r + str - S)/r|*0x1.00001p53"; // an ulp of S is more than 2^-53 |S|
    s.hint("(r + str - S)/r -> c*(1 + (str - c*r)/(c*r)) + -(r*r*theta) { r <> 0, c <> 0 }");
    s.goal(error + " <= 1");
    for (const Library& l : libraries)
      if (l.isRows)
        s.bound(l.label, "0.5 + " + error);
    proof.add(s);
  }
  proof.covered("tiny", {-0x1p-252, 0x1p-252}); // not ordinary: x, and 1
  proof.coversReals("tiny", Interval::within(tiny));
}

/// The whole kernels as the library has them, whatever the row.
template <class Kernel>
void replays(Proof& proof, const Library& library) {
  for (const Interval& range :
       {Interval{0, 0x1p17}, {0x1p17, 0x1p23}, {0x1p23, 0x1p30}, {0x1p30, 0x1p1023}}) {
    Recorder::get().clear();
    const Term x = Term::argument("x");
    suppose(isSubtracted(x), range.low < 0x1p30);
    suppose(magnitudeWithin(magnitude(x), 0.0, 0x1p23), range.high <= 0x1p23);
    const auto results = range.low == 0 ? Kernel::compute(x) : Kernel::computeSecondRange(x);
    Term result;
    if constexpr (std::is_same_v<decltype(results), const Term>)
      result = results;
    else
      result = library.quarterTurns ? results.second : results.first;
    proof.replay(text(library.label, " ", range), library.function, x, result, sampleOf(range));
  }
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  const auto sameTable = [](const auto& table) {
    return std::memcmp(table, sineCosineRows<Sin_64f_A53>, sizeof table) == 0;
  };
  require(sameTable(sineCosineRows<Sin_64f_A50>) && sameTable(sineCosineRows<Cos_64f_A50>) &&
              sameTable(sineCosineRows<Cos_64f_A53>) && sameTable(sineCosineRows<SinCos_64f_A50>) &&
              sameTable(sineCosineRows<SinCos_64f_A53>),
          "the exports have one table");
  const auto stages = [](const Term& x, const auto& xLo) {
    const Stages<std::remove_cvref_t<decltype(xLo)>> st(x, xLo, 0);
    return Steps(x, st.r, st.lo, !std::is_same_v<decltype(xLo), const double&>);
  };
  const StepBounds most{largestR, largestLo, largestEta, lastOfR};
  for (const double sign : {1.0, -1.0}) {
    const auto signedly = [=](double low, double high) {
      return sign > 0 ? Interval{low, high} : Interval{-high, -low};
    };
    reductionBySteps<double>(proof, "arguments", signedly(0x1p-5, 0x1p17), stages, most);
    reductionBySteps<Term>(proof, "remainders", signedly(0x1p-5, largestRemainder), stages, most);
  }
  for (const auto& [name, limit] :
       {std::pair{"arguments", 0x1p17}, {"remainders", largestRemainder}}) {
    proof.covered(name, Interval::within(0x1p-5)); // N is zero: r is x, lo is xLo
    proof.coversDoubles(name, Interval::within(limit));
  }
  tried(proof, 0);
  tried(proof, 1);
  for (int j = 0; j < 64; ++j) {
    row(proof, j);
    if (j % 32 == 0)
      proof.covered(text("row ", j), Interval::within(leastR)); // tried, or tiny
    proof.coversReals(text("row ", j), Interval::within(largestR));
  }
  tinyArguments(proof);
  replays<SineKernel<Sin_64f_A50>>(proof, libraries[0]);
  replays<SineKernel<Sin_64f_A53>>(proof, libraries[1]);
  replays<CosineKernel<Cos_64f_A50>>(proof, libraries[2]);
  replays<CosineKernel<Cos_64f_A53>>(proof, libraries[3]);
  for (int i = 4; i < 6; ++i) {
    replays<SineAndCosineKernel<SinCos_64f_A50>>(proof, libraries[i]);
    replays<SineAndCosineKernel<SinCos_64f_A53>>(proof, libraries[i + 2]);
  }
  return proof.finish();
}
