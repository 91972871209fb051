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
#include "proof.hpp"

#include "trig/cos.cpp"
#include "trig/reduce_trig_argument.cpp"
#include "trig/sin.cpp"
#include "trig/sin_cos.cpp"

#include <cstring>

namespace qelvm {
/// For a Term as for one element.
inline TrigReductionOf<Term> reduceTrigArguments(const Term& x) {
  return reduceAny(x);
}
} // namespace qelvm

using namespace qelvm;
using namespace qelvm::proof;

namespace {

// What the reductions show for the rows.
constexpr double largestR = 0x1.924p-5, largestLo = 0x1.8ep-53, largestEta = 0x1p-104;
constexpr int lastOfR = -80; // r is a multiple of 2^-80
constexpr double largestRemainder = 0x1.925p-1;
// Doubles nearer to a multiple of pi/2 than nearZero, below 2^17, are tried; from there on those
// nearer than nearerZero, or so near that eta is more than relativeEta of what is left.
constexpr double nearZero = 0x1p-44, nearerZero = 0x1p-56, relativeEta = 0x1p-59;
constexpr double leastR = 0x1p-57, tiny = 0x1p-32;
double largestEtaNearZero(int e) {
  return std::ldexp(1.125, e - 138);
}

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
const Library libraries[] = {{"Sin_64f_A50 below2p30", 0, qelsSin_64f_A50},
                             {"Sin_64f_A53 below2p30", 0, qelsSin_64f_A53},
                             {"Cos_64f_A50 below2p30", 1, qelsCos_64f_A50},
                             {"Cos_64f_A53 below2p30", 1, qelsCos_64f_A53},
                             {"SinCos_64f_A50 below2p30", 0, QELVM_OF_BOTH(A50, y, &other)},
                             {"SinCos_64f_A50 below2p30", 1, QELVM_OF_BOTH(A50, &other, y), false},
                             {"SinCos_64f_A53 below2p30", 0, QELVM_OF_BOTH(A53, y, &other)},
                             {"SinCos_64f_A53 below2p30", 1, QELVM_OF_BOTH(A53, &other, y), false}};

/// The stages of the kernel for row j.
template <class Lo>
struct Stages {
  Term x;
  SineCosine<Sin_64f_A53, Term> kernel;
  Term str, ct, r, lo, rest, tLo, w, n;

  Stages(const Term& hi, const Lo& xLo, int j)
      : x(hi),
        kernel((suppose(0 + lowWord(roundShifter(hi * stepsPerRadian, integerShifter).sum), j),
                TrigArgument<Term, std::int32_t, Lo>{0, hi, xLo})) {
    const Term generic = kernel.at(5 - j); // row 5, which has all terms
    const Term sums = operand(operand(operand(generic, 1), 0), 0), tails = operand(sums, 1);
    str = call(operand(operand(tails, 0), 0), "str");
    ct = call(operand(operand(tails, 1), 0), "ct");
    r = call(operand(str, 1), "r");
    lo = call(operand(operand(operand(sums, 0), 0), 0), "lo");
    rest = std::is_same_v<Lo, Term> ? operand(lo, 0) : lo;
    tLo = call(operand(rest, 0), "tLo");
    w = call(operand(tLo, 0), "w");
    n = call(operand(operand(rest, 1), 0), "N");
  }
};

Real ratioOfPi(int j, int n) {
  return pi() * Real(j) / Real(n);
}

/// x + xLo - N pi/32 = r + lo + eta.
template <class Lo>
void reduction(Proof& proof, const std::string& name, Interval range, const char* xLoName) {
  for (const Interval& binade : binades(range, -60)) {
    Recorder::get().clear();
    const Lo xLo = [&] {
      if constexpr (std::is_same_v<Lo, Term>)
        return Term::argument("xLo");
      else
        return 0.0;
    }();
    const Stages<Lo> st(Term::argument("x"), xLo, 0);
    const Term step1 = operand(operand(st.w, 1), 1), p2 = operand(operand(st.tLo, 1), 0),
               step2 = operand(p2, 1), step3 = operand(operand(st.rest, 1), 1),
               inverse = operand(operand(operand(st.n, 0), 0), 1);
    Script s(text(name, " ", binade));
    s.cut(st.x, "x");
    s.stands(st.n, "N");
    s.truth(step3, "STEP",
            enclosure(ratioOfPi(1, 32) - Real(step1.value()) - Real(step2.value()) -
                      Real(step3.value())));
    for (const Term& t : {operand(st.w, 1), st.w, p2})
      s.exact(t);
    s.orderedByMultiple(
        st.tLo,
        std::min(-34, std::ilogb(std::min(std::fabs(binade.low), std::fabs(binade.high))) - 52));
    proof.over(s, name, "x", binade);
    if constexpr (std::is_same_v<Lo, Term>) {
      s.cut(xLo, "xLo");
      s.assume(text("|xLo| <= 0x1p-54"));
    }
    const std::string steps = text("(", step1, " + ", step2, ")"),
                      eta =
                          text("x", xLoName, " - N*(", step1, " + ", step2, " + STEP) - (r + lo)");
    s.goal(text("@FIX(N,0) /\\ @FIX(r,", lastOfR, ")"));
    s.goal(text("|r| <= ", largestR));
    s.goal(text("|lo| <= ", largestLo));
    s.goal(text("|", eta, "| <= ", std::is_same_v<Lo, Term> ? largestEta / 2 : largestEta));
    s.hint(text("MN -> x*", inverse));
    s.hint(text("w -> (x*", inverse, " - N)*", step1, " + x*(1 - ", inverse, "*", step1, ")"));
    s.hint(text(Script::operationOf(st.r), " -> (x*", inverse, " - N)*", steps, " + x*(1 - ",
                inverse, "*", steps, ")"));
    s.hint(text("tLo -> -(r - (", Script::operationOf(st.r), "))"));
    s.hint(text(eta, " -> -(lo - Mlo)"));
    proof.add(s);
  }
}

/// All doubles of [2^e, 2^(e + 1)) nearer than `distance` to a multiple k pi/2, k even or odd, by
/// the convergents p/q of alpha = 2^(e-52) 2/pi: let p/q and p'/q' be neighbours, q alpha - p and
/// q' alpha - p' of different signs, and |p q' - p' q| = 1. Then (m, k) = u (q, p) + v (q', p') for
/// integers u and v, which for 0 < m < q' are not of one sign, and u is not zero: |m alpha - k| >=
/// |u| |q alpha - p|. (k pi/2 is further off than |m alpha - k|.)
std::vector<double> nextToZeros(int e, double distance, int odd) {
  const Real alpha = twoTo(e - 51) / pi();
  Real rest = alpha, p[2] = {0, 1}, q[2] = {1, 0};
  const auto off = [&](int i) { return (q[i] * alpha - p[i]).toDouble(); };
  while (q[1].toDouble() < 0x1p53) {
    Real digit;
    mpfr_floor(digit.get(), rest.get());
    rest = Real(1) / (rest - digit);
    for (Real* c : {p, q}) {
      const Real next = digit * c[1] + c[0];
      c[0] = c[1], c[1] = next;
    }
  }
  require(std::fabs((p[0] * q[1] - p[1] * q[0]).toDouble()) == 1 && off(0) * off(1) < 0,
          "neighbouring convergents");
  std::vector<double> result;
  const double most = std::ceil(distance / std::fabs(off(0)));
  for (double u = -most; u <= most; ++u) {
    Real v = (Real(0x1p52) - Real(u) * q[0]) / q[1];
    mpfr_ceil(v.get(), v.get());
    const Real m = Real(u) * q[0] + v * q[1], k = Real(u) * p[0] + v * p[1];
    if (m.toDouble() < 0x1p53 && std::fmod(k.toDouble(), 2) == odd &&
        std::fabs((m * alpha - k).toDouble()) < distance)
      result.push_back(std::ldexp(m.toDouble(), e - 52));
  }
  return result;
}

/// What the rounding of a sum left, a Fast2Sum's.
Term restOf(const Term& sum) {
  const auto& nodes = Recorder::get().nodes;
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].kind == Kind::sumError && nodes[i].args[2] == sum.id)
      return Term::ofNode(static_cast<int>(i));
  fail("no Fast2Sum");
}

/// From 2^17 to 2^30: a - m pi/4 = hi + lo + eta. m is the even integer next to v = fl(a 4/pi).
void subtraction(Proof& proof, int e, bool near) {
  Recorder::get().clear();
  const Term a = Term::argument("a");
  suppose(magnitudeWithin(a, 0.0, 0x1p23), e < 23);
  const auto [hi, lo] = reduceBySubtraction(a, Term(1.0)).remainder;
  call(hi, "hi"), call(lo, "lo");
  const Term last = call(operand(hi, 1), "last"), m = call(operand(operand(last, 1), 0), "m"),
             lastPiece = operand(operand(last, 1), 1);
  Script s(text("subtraction 2^", e, near ? " near zero" : ""));
  const Term v = call(operand(operand(operand(m, 0), 0), 0), "v"), inverse = operand(v, 1);
  s.cut(a, "a");
  s.cut(m, "m", "fixed<1,ne>");
  s.assume("|m - v| <= 1");
  proof.over(s, near ? "near zero" : "subtracted", "a",
             {std::ldexp(1.0, e), std::ldexp(1.0, e + 1)});
  s.hint(text("a*", inverse, " - m -> -(m - v) - (v - Mv)"));
  // The sums that lead to hi, the last first, and what the pieces leave of pi/4.
  std::vector<int> places =
      e < 23 ? std::vector{-90, -60, -35} : std::vector{-84, -64, -64, -42, -35};
  std::string multiple = text("m*(PIECE"), hint = "-(last - Mlast)";
  Real left = pi() / Real(4) - Real(lastPiece.value());
  std::size_t i = 0;
  for (Term sum = hi; sum.id != a.id; sum = operand(sum, 0)) {
    const Term first = operand(sum, 0), second = operand(sum, 1);
    const bool isProduct = nodeOf(second.id).kind == Kind::negative || first.id == a.id;
    if (isProduct) { // less m times a piece
      const Term product = first.id == a.id ? second : operand(second, 0),
                 piece = operand(product, 1);
      s.exact(product);
      left = left - Real(piece.value());
      multiple += text(" + ", piece);
      if (first.id == a.id)
        s.hint(
            text(sum, " -> (a*", inverse, " - m)*", piece, " + a*(1 - ", inverse, "*", piece, ")"));
    } else if (sum.id != hi.id)
      hint += text(" + -(", second, " - ", s.ideal(second), ")");
    if (first.id == a.id)
      s.exact(sum);
    else {
      const Term rest = restOf(sum);
      s.orderedByMultiple(rest, places.at(i++));
      if (operand(first, 0).id == a.id) {
        const std::string both =
            text("(", operand(operand(first, 1), 1), " + ", operand(operand(second, 0), 1), ")");
        s.hint(text(first, " + ", second, " -> (a*", inverse, " - m)*", both, " + a*(1 - ", inverse,
                    "*", both, ")"));
      }
      if (near && sum.id != hi.id) {
        s.hint(text(first, " + ", second, " -> ", sum, " + ", rest));
        s.hint(text(first, " -> ", sum, " + ", rest, " - ", second));
      }
    }
  }
  multiple += ")";
  s.truth(lastPiece, "PIECE", enclosure(left));
  s.goal(text("|hi| <= ", largestRemainder));
  s.goal(text("|lo| <= 0x1p-54"));
  const std::string eta = text("a - ", multiple, " - (hi + lo)");
  s.hint(text(eta, " -> ", hint));
  s.goal(text("|", eta, "| <= ", near ? largestEtaNearZero(e) : largestEta / 2));
  if (near)
    s.assume(text("|hi| <= ", nearZero));
  proof.add(s);
}

/// The largest errors of the sine or cosine, in ulps, of all doubles that are too near to a zero
/// for the rows.
void tried(Proof& proof, int quarterTurns) {
  double worst[std::size(libraries)] = {};
  for (int e = 0; e < 30; ++e) {
    const double distance =
        e < 17 ? nearZero : std::max(nearerZero, largestEtaNearZero(e) / relativeEta);
    for (const double next : nextToZeros(e, distance, quarterTurns))
      for (const double x : {next, -next}) {
        const Real exact = Real::apply(quarterTurns ? mpfr_cos : mpfr_sin, Real(x));
        const int place = std::ilogb(mpfr_get_d(exact.get(), MPFR_RNDZ)) - 52;
        for (std::size_t i = 0; i < std::size(libraries); ++i) {
          double result = 0;
          if (libraries[i].quarterTurns != quarterTurns)
            continue;
          libraries[i].function(&x, &result, 1);
          worst[i] =
              std::max(worst[i], std::ldexp(std::fabs((Real(result) - exact).toDouble()), -place));
        }
      }
  }
  for (std::size_t i = 0; i < std::size(libraries); ++i)
    if (libraries[i].quarterTurns == quarterTurns) {
      Script s(text(libraries[i].label, quarterTurns ? " cosine" : " sine", " next to zeros"));
      s.real("error", Interval::within(above(worst[i])));
      s.bound(libraries[i].label, "error");
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
               Proof::uniform(middle - 0.04, middle + 0.04));
  for (const Interval& piece : piecesOf(j)) {
    Script s(text("row ", j, " ", piece));
    s.cut(st.r, "r");
    s.cut(st.lo, "lo");
    proof.over(s, text("row ", j), "r", piece);
    // Nearer to a zero r is a double of the reduction and lo less than an ulp of it.
    const bool nearer = special && piece.magnitude() <= nearZero;
    const double lo = nearer ? piece.magnitude() * 0x1p-53 : largestLo;
    const double eta = nearer ? piece.magnitude() * relativeEta : largestEta;
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
  for (const Interval& range : {Interval{0, 0x1p17}, {0x1p17, 0x1p23}, {0x1p23, below(0x1p30)}}) {
    Recorder::get().clear();
    const Term x = Term::argument("x");
    suppose(isSubtracted(magnitude(x)), true);
    suppose(isSubtracted(x), true);
    suppose(magnitudeWithin(magnitude(x), 0.0, 0x1p23), range.high <= 0x1p23);
    const auto results = range.low == 0 ? Kernel::compute(x) : Kernel::computeSecondRange(x);
    Term result;
    if constexpr (std::is_same_v<decltype(results), const Term>)
      result = results;
    else
      result = library.quarterTurns ? results.second : results.first;
    proof.replay(text(library.label, " ", range), library.function, x, result,
                 [&](std::mt19937_64& random) {
                   const double drawn = Proof::uniform(range.low, range.high)(random);
                   return random() % 2 ? drawn : -drawn;
                 });
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
  for (const double sign : {1.0, -1.0}) {
    const auto signedly = [=](double low, double high) {
      return sign > 0 ? Interval{low, high} : Interval{-high, -low};
    };
    reduction<double>(proof, "arguments", signedly(0x1p-5, 0x1p17), "");
    reduction<Term>(proof, "remainders", signedly(0x1p-5, largestRemainder), " + xLo");
  }
  for (const auto& [name, limit] :
       {std::pair{"arguments", 0x1p17}, {"remainders", largestRemainder}}) {
    proof.covered(name, Interval::within(0x1p-5)); // N is zero: r is x, lo is xLo
    proof.coversDoubles(name, Interval::within(limit));
  }
  for (int e = 17; e < 30; ++e)
    for (const bool near : {false, true})
      subtraction(proof, e, near);
  tried(proof, 0);
  tried(proof, 1);
  for (const char* name : {"subtracted", "near zero"})
    proof.coversDoubles(name, {0x1p17, below(0x1p30)});
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
