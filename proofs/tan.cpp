// Tan: the tangent of j pi/32 + R, R = r + lo + eta, for every row j and every piece of r; next to
// the pole less 1/G, G = g + gLow + etaG its distance. The reductions by pi/32 and by 16 pi/32
// leave R and G. Next to a zero and a pole, in rows 0 and 16, all depends on the size of r: binade
// by binade. The doubles that are too near to a multiple of pi/2 for that are tried; tiny x go
// apart.
//
// The kernel is odd: every operation of -x is that of x with another sign, and row 32 - j is row j
// with signs changed. So x is positive, and rows 0 to 16 are enough.
#include "trig_reduction.hpp"

#include "trig/tan.cpp"

#include <cstring>

using namespace qelvm;
using namespace qelvm::proof;

namespace {

using Tag = Tan_64f_A53;
const struct {
  const char* label;
  Proof::Export function;
} libraries[] = {{"Tan_64f_A50 normal", qelsTan_64f_A50}, {"Tan_64f_A53 normal", qelsTan_64f_A53}};

constexpr double largestR = 0x1.924p-5, leastR = 0x1p-57, tiny = 0x1p-32;

Term find(const std::string& label, const std::function<bool(const std::vector<int>&)>& has) {
  const auto& nodes = Recorder::get().nodes;
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].label == label && has(nodes[i].args))
      return Term::ofNode(static_cast<int>(i));
  fail("the kernel has no such " + label);
}

/// The stages of the kernel for row j.
struct Stages {
  Term value, square, r, lo, v, gHi, g, gLow, gLo, inverse;

  template <class Lo>
  Stages(const Term& x, const Lo& xLo, int j) {
    suppose(lowWord(roundShifter(x * stepsPerRadian, integerShifter).sum), j);
    const TrigArgument<Term, std::int32_t, Lo> argument{0, x, xLo};
    Tangent<Tag>::result(argument);
    v = call(find("/", [](const auto&) { return true; }), "v");
    const Term bits = find("bitsOf", [this](const auto& a) { return a[0] == v.id; });
    const Term kept = find("&", [&](const auto& a) { return a[0] == bits.id; });
    inverse = call(find("fromBits", [&](const auto& a) { return a[0] == kept.id; }), "inverse");
    if (tangentRows<Tag>[j].keep == 0) // no bits are kept: once more, with zero
      suppose(Whole<std::uint64_t>::ofNode(kept.id), std::uint64_t{0});
    value = call(Tangent<Tag>::result(argument), "value");
    square = find("*", [](const auto& a) { return a[0] == a[1]; });
    r = call(operand(square, 0), "r"), lo = call(restOf(r), "lo");
    gHi = call(operand(v, 1), "gHi");
    const Term shifted = operand(operand(gHi, 0), 0); // bits of g, less the low ones
    g = call(operand(operand(shifted, 0), 0), "g"), gLow = call(restOf(g), "gLow");
    gLo = call(find("+", [this](const auto& a) { return a[0] == gLow.id; }), "gLo");
  }
};

Real tangent(const Real& x) {
  return Real::apply(mpfr_tan, x);
}
/// The derivative of what the series of row j is of, at r.
Real derivative(int j, bool pole, const Real& r) {
  const Real t = tangent(ratioOfPi(j, 32) + r), g = ratioOfPi(j - 16, 32) + r;
  return Real(1) + t * t - (pole ? Real(1) / (g * g) : Real(0));
}

/// A bound of what the recorded series leaves of its function, |r| <= range.
double seriesError(const Term& series, const Term& r, int j, double range) {
  const std::string angle = text("(", j, "*pi/32)"), t = "tan" + angle;
  return polynomialError(series, r, text("tan(", angle, "+x) - ", t, " - (1 + ", t, "^2)*x"),
                         Interval::within(range));
}

/// The same in a row next to the pole. With G = -K + r, tan + 1/G is 1/G - cot G, the sum of a_n
/// G^(2n-1), a_n = 2 zeta(2n)/pi^(2n); the coefficients at -K follow from it. Those of which the
/// kernel has none count in full: they are positive at K, and their sum is less than 2^-90 from
/// degree 40 on, from n = 100 on.
double poleSeriesError(const Term& series, const Term& r, int j) {
  constexpr int degrees = 40;
  const Real k = ratioOfPi(16 - j, 32), pi2 = pi() * pi();
  Real exact[degrees] = {}, a = 2.0;
  for (int n = 1; n <= 100; ++n) {
    Real zeta, term;
    mpfr_zeta_ui(zeta.get(), static_cast<unsigned long>(2 * n), MPFR_RNDN);
    a = a / pi2;
    term = a * zeta;
    // The coefficient of r^d: a_n (2n-1 over d) (-K)^(2n-1-d), d from 2n-1 down.
    for (int d = 2 * n - 1; d >= 0; --d) {
      if (d < degrees)
        exact[d] = exact[d] + term;
      term = term * Real(-d) * k / Real(2 * n - d);
    }
  }
  Real error = twoTo(-90), place = Real(largestR) * Real(largestR);
  Term rest = operand(series, 1);
  for (int d = 2; d < degrees; ++d, place = place * Real(largestR)) {
    Real coefficient;
    if (rest.isKnown()) {
      coefficient = rest.value();
      rest = Term(0.0);
    } else {
      const bool sum = nodeOf(rest.id).label == "+"; // else the coefficient is zero
      coefficient = sum ? operand(rest, 1).value() : 0.0;
      const Term product = sum ? operand(rest, 0) : rest;
      const bool last = operand(product, 1).isKnown(); // r times the last coefficient
      require(nodeOf(product.id).label == "*" && operand(product, last ? 0 : 1).id == r.id,
              "Horner's rule");
      rest = operand(product, last ? 1 : 0);
    }
    error = error + Real::apply(mpfr_abs, coefficient - exact[d]) * place;
  }
  require(rest.isKnown(), "all coefficients");
  return above(error.toDouble());
}

/// Pieces of r, cut where the tangent passes a power of two.
std::vector<Interval> piecesOf(int j) {
  std::vector<Interval> result = pieces(Interval::within(largestR), 8);
  if (j == 0 || j == 16) { // just beyond the powers of two that the tangent passes
    result = {{leastR, largestR}};
    for (int k = -56; k < -4; ++k)
      result = cutAt(result, power(k) * (j == 0 ? 1 + 0x1p-20 : 1 - 0x1p-12));
  }
  for (int k = -10; k <= 10; ++k)
    for (const double off : {-0x1p-50, 0x1p-50})
      result =
          cutAt(result, (Real::apply(mpfr_atan, twoTo(k)) - ratioOfPi(j, 32)).toDouble() + off);
  return result;
}

/// S = tan(j pi/32 + r + lo + eta): the series at r, and lo + eta times the derivative between.
void row(Proof& proof, int j) {
  Recorder::get().clear();
  const Term x = Term::argument("x");
  const Stages st(x, 0.0, j);
  const TangentRow& entry = tangentRows<Tag>[j];
  const bool pole = entry.pole != 0, special = j % 16 == 0;
  const Term &value = st.value, &r = st.r, sum = call(operand(value, 0), "sum"),
             low = call(operand(value, 1), "low");
  const Term series = call(
      find("*", [&](const auto& a) { return a[0] == st.square.id && a[1] != a[0]; }), "series");
  const Term power1 = Term(entry.slopePower) * r, power2 = Term(entry.slopePower) * st.lo,
             product = call(Term(entry.slopeRest) * r, "product");
  require(entry.slopeRest == 0 || product.id != r.id, "a product");
  const bool twoProducts = entry.slopePower != 0 && entry.slopeRest != 0;
  const Term start = operand(sum, 0); // the value less the inverse
  Recorder::get().freeze();
  const double middle = ratioOfPi(j, 32).toDouble();
  for (const auto& l : libraries)
    proof.replay(text(l.label, " row ", j), l.function, x, value,
                 Proof::uniform(middle - 0.04, middle + 0.04));
  for (const Interval& piece : piecesOf(j)) {
    Script s(text("row ", j, " ", piece));
    s.cut(r, "r");
    s.cut(st.lo, "lo");
    proof.over(s, text("row ", j), "r", piece);
    const double lo = special ? piece.magnitude() * 0x1p-53 : 0x1p-58,
                 eta = etaOfRow(special, piece.magnitude());
    s.assume(text("|lo| <= ", lo, " /\\ |eta| <= ", eta));
    const double range = special && !pole
                             ? std::min(largestR, power(std::ilogb(piece.magnitude()) / 6 * 6))
                             : largestR;
    s.truth(
        series, "SERIES",
        Interval::within(pole ? poleSeriesError(series, r, j) : seriesError(series, r, j, range)));
    Interval slopes = {derivative(j, pole, piece.low).toDouble(),
                       derivative(j, pole, piece.high).toDouble()};
    if (slopes.low > slopes.high)
      std::swap(slopes.low, slopes.high);
    s.real("SLOPE", {slopes.low - 0x1p-40, slopes.high + 0x1p-40});
    std::string value0 = text(entry.valueHi),
                slope = text("(", entry.slopePower, " + ", entry.slopeRest), rest = "";
    const Real distance = ratioOfPi(j - 16, 32);
    if (!special) {
      const Real inverse = pole ? Real(1) / distance : Real(0), t = tangent(ratioOfPi(j, 32));
      if (entry.valueLo != 0) {
        s.truth(Term(entry.valueLo), "LOW",
                enclosure(t + inverse - Real(entry.valueHi) - Real(entry.valueLo)));
        value0 += " + LOW";
      }
      s.real("dSLOPE", enclosure(Real(1) + t * t - inverse * inverse - Real(entry.slopePower) -
                                 Real(entry.slopeRest)));
      slope += " + dSLOPE";
      rest += " + -(dSLOPE*r)";
    }
    if (j == 16) { // zero less the inverse
      s.cut(start, "start", "float<18,-200,ne>");
      s.assume("start + inverse in [0,0]");
      s.hint("start -> (start + inverse) - inverse");
      rest += " + (start + inverse)";
    } else
      s.exact(start);
    if (pole) {
      const Interval g = {(distance + Real(piece.low)).toDouble(),
                          (distance + Real(piece.high)).toDouble()};
      const double wider = g.magnitude() * 0x1p-40;
      const Interval around = special ? Interval{g.low * (1 - 0x1p-40), g.high * (1 + 0x1p-40)}
                                      : Interval{g.low - wider, g.high + wider};
      s.cut(st.g, "g");
      s.cut(st.gLow, "gLow");
      s.real("g", around);
      s.assume(text("|gLow| <= ", g.magnitude() * 0x1.001p-53));
      s.cut(st.gHi, "gHi", "float<35,-200,ne>");
      s.assume("gHi -/ g in [-1b-34,0]");
      s.cut(st.inverse, "inverse", "float<18,-200,ne>");
      s.assume("inverse -/ v in [-1b-17,0]");
      s.truth(st.gLo, "L", Interval::within(eta));
      const Interval inverses = {below(1 / around.high), above(1 / around.low)};
      s.real("IG", {inverses.low - std::fabs(inverses.low) * 0x1p-40,
                    inverses.high + std::fabs(inverses.high) * 0x1p-40});
      s.assume("IG*(gHi + L) - 1 in [0,0]");
      const Term correction = call(find("*",
                                        [&](const auto& a) {
                                          return nodeOf(a[0]).kind == Kind::rounded &&
                                                 a[0] == st.v.id && a[1] != st.v.id;
                                        }),
                                   "rest");
      const Term off = operand(operand(correction, 1), 0); // gHi*inverse - 1
      s.exact(off), s.exact(operand(off, 0));
      s.hint(text(s.operationOf(off), " -> gHi*(v - Mv)*(1 + (inverse - v)/v) + (inverse - v)/v ",
                  "{ gHi <> 0, v <> 0 }"));
      s.define("REST", "inverse - IG");
      s.stands(correction, "REST");
      s.hint("rest ~ Mrest");
      s.hint("rest - REST -> (rest - Mrest) + Mv*(IG*(gHi + L) - 1)*(1 - L*Mv) + L*Mv*L*Mv*IG { "
             "gHi <> 0 }");
      value0 += " - IG";
    }
    if (twoProducts) {
      s.unordered(restOf(operand(sum, 1)));
    }
    if (entry.slopePower != 0) {
      s.exact(power1), s.exact(power2);
    }
    if (entry.slopeRest != 0)
      rest += text(" + (product - ", entry.slopeRest, "*r)");
    s.define("S", text(value0, " + ", slope, ")*r + SERIES + (lo + eta)*SLOPE"));
    s.hint(text(s.operationOf(value), " - S -> (low - ", s.ideal(low), ")", rest,
                " + -(eta*SLOPE) + -(lo*(SLOPE - ", entry.slopePower, " - ", entry.slopeRest,
                "))"));
    const double ulp =
        leastUlp([&](const Real& at) { return tangent(ratioOfPi(j, 32) + at); },
                 Real(piece.low) - Real(lo + eta), Real(piece.high) + Real(lo + eta));
    for (const auto& l : libraries)
      s.lastRounding(l.label, value, "S", ulp);
    proof.add(s);
  }
}

/// Where N is zero and x tiny: x + series, series = x^2 (x q) with a q next to 1/3.
void tinyArguments(Proof& proof) {
  Recorder::get().clear();
  const Stages st(Term::argument("x"), 0.0, 0);
  const Term square = call(st.square, "square");
  const Term series =
      call(find("*", [&](const auto& a) { return a[0] == square.id && a[1] != a[0]; }), "series");
  const Term p = call(operand(series, 1), "p");
  call(operand(p, 0), "q");
  Recorder::get().freeze();
  Script s("tiny");
  s.cut(st.r, "r");
  proof.over(s, "tiny", "r", {0x1p-252, tiny});
  s.real("theta", {0, 0.5}); // tan r - r is theta r^3
  s.define("S", "r + r*r*r*theta");
  const std::string error =
      "|(r + series - S)/r|*0x1.00001p53"; // an ulp of S is more than 2^-53 |S|
  s.hint(
      "(r + series - S)/r -> square*q*(1 + (series - square*p)/(square*p))*(1 + (p - q*r)/(q*r)) "
      "+ -(r*r*theta) { r <> 0, p <> 0, q <> 0, square <> 0 }");
  s.goal(error + " <= 1");
  for (const auto& l : libraries)
    s.bound(l.label, "0.5 + " + error);
  proof.add(s);
  proof.covered("tiny", {0, 0x1p-252}); // not ordinary: x
  proof.coversReals("tiny", {0, tiny});
}

/// The doubles that are too near to a zero or a pole for the rows.
void tried(Proof& proof) {
  for (const auto& l : libraries) {
    const double worst = std::max(worstNextToZeros(mpfr_tan, l.function, 14, 0),
                                  worstNextToZeros(mpfr_tan, l.function, 14, 1));
    Script s(text(l.label, " next to zeros and poles"));
    s.real("error", Interval::within(above(worst)));
    s.bound(l.label, "error");
    proof.add(s);
  }
}

/// The whole kernels as the library has them, whatever the row.
template <class Export>
void replays(Proof& proof, const std::string& label, Proof::Export function) {
  using Kernel = TangentKernel<Export>;
  const double limit = Kernel::directLimit;
  for (const Interval& range :
       {Interval{0, limit}, {limit, 0x1p23}, {0x1p23, 0x1p30}, {0x1p30, 0x1p1023}}) {
    Recorder::get().clear();
    const Term x = Term::argument("x");
    suppose(isSubtracted(x), range.low < 0x1p30);
    suppose(magnitudeWithin(magnitude(x), 0.0, 0x1p23), range.low < 0x1p23);
    const Term result = range.low == 0 ? Kernel::compute(x) : Kernel::computeSecondRange(x);
    proof.replay(text(label, " ", range), function, x, result, sampleOf(range));
  }
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  require(std::memcmp(tangentRows<Tan_64f_A50>, tangentRows<Tag>, sizeof tangentRows<Tag>) == 0,
          "the exports have one table");
  for (int j = 1; j < 32; ++j) {
    const TangentRow &row = tangentRows<Tag>[j], &other = tangentRows<Tag>[32 - j];
    bool mirrored = row.valueHi == -other.valueHi && row.valueLo == -other.valueLo &&
                    row.slopePower == other.slopePower && row.slopeRest == other.slopeRest &&
                    row.pole == other.pole && row.keep == other.keep;
    for (int k = 0; k < 14; ++k)
      mirrored = mirrored && row.c[k] == (k % 2 == 0 ? -1 : 1) * other.c[k];
    require(mirrored, "row 32 - j has the signs of row j changed");
  }
  const auto stages = [](bool distance) {
    return [distance](const Term& x, const auto& xLo) {
      const Stages st(x, xLo, 0);
      call(st.r, "rSum"), call(st.lo, "rRest");
      const Term sum = distance ? st.g : st.r;
      return Steps(x, operand(sum, 0), operand(sum, 1),
                   !std::is_same_v<decltype(xLo), const double&>);
    };
  };
  // (Before they are normalised.)
  const StepBounds offset{0x1.923p-5, 0x1.2p-54, largestEta, -80},
      distance{0x1.923p-1, 0x1p-53, largestEta, -84};
  const double limit = TangentKernel<Tag>::directLimit;
  reductionBySteps<double>(proof, "arguments", {0x1p-5, limit}, stages(false), offset);
  reductionBySteps<double>(proof, "distances", {0x1p-1, limit}, stages(true), distance);
  reductionBySteps<Term>(proof, "remainders", {0x1p-5, largestRemainder}, stages(false), offset);
  proof.covered("arguments", {0, 0x1p-5}); // N is zero
  proof.covered("distances", {0, 0x1p-1});
  proof.covered("remainders", {0, 0x1p-5});
  for (const char* name : {"arguments", "distances"})
    proof.coversDoubles(name, {0, limit});
  proof.coversDoubles("remainders", {0, largestRemainder});
  tried(proof);
  for (int j = 0; j <= 16; ++j) {
    row(proof, j);
    const bool special = j % 16 == 0;
    if (special)
      proof.covered(text("row ", j), {0, leastR}); // tried, or tiny
    proof.coversReals(text("row ", j),
                      special ? Interval{0, largestR} : Interval::within(largestR));
  }
  tinyArguments(proof);
  replays<Tan_64f_A50>(proof, libraries[0].label, libraries[0].function);
  replays<Tan_64f_A53>(proof, libraries[1].label, libraries[1].function);
  return proof.finish();
}
