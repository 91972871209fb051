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
constexpr double directError = 0x1p-60;   // absolute, of the rows without the Gaussian
constexpr double scaledError = 0x1.6p-61; // relative, of the others

/// A recorded polynomial, without roundings.
Real realOf(const Term& t, const Term& variable, const Real& x) {
  if (t.id == variable.id)
    return x;
  if (t.isKnown())
    return Real(t.value());
  const Real a = realOf(operand(t, 0), variable, x), b = realOf(operand(t, 1), variable, x);
  const std::string& label = nodeOf(t.id).label;
  require(label == "+" || label == "*", "a polynomial");
  return label == "+" ? a + b : a * b;
}

/// What a row leaves of f(a) = e^(a^2) erfc(a), relative: a bound of |P/f - 1|. Its error d has
/// d' = 2 a d + rho, with rho = P' - 2 a P + 2/sqrt(pi), as f' = 2 a f - 2/sqrt(pi). So d(a) is
/// d(b) e^(a^2 - b^2) less the integral of rho e^(a^2 - s^2) from a to b: at most |d(b)| + (b - a) |rho|.
template <class P>
double scaledRowError(const std::string& polynomial, const P& value, double center, Interval range) {
  static std::map<std::string, double> known;
  const auto [found, isNew] = known.emplace(polynomial, 0);
  if (isNew) {
    const double rho = polynomialError(text("diff(", polynomial, ") - 2*(", center, " + x)*(", polynomial, ")"),
                                       "-2/sqrt(pi)", {below(range.low - center), above(range.high - center)});
    for (const Interval& piece : pieces(range, 512)) {
      const Real exact = scaledErfc(piece.high);
      const double off = std::fabs((value(Real(piece.high) - Real(center)) - exact).toDouble());
      found->second = std::max(found->second, above((off + (piece.high - piece.low) * rho) * (1 + 0x1p-50) / exact.toDouble()));
    }
  }
  return found->second;
}

/// Row j, for the a that have it.
template <class Tag>
void row(Proof& proof, const std::string& name, int j, Interval range) {
  Recorder::get().clear();
  const Term x = Term::argument("x"), a = magnitude(x);
  const Term square = (1.0 + a) * (1.0 + a);
  const auto index = exponentField(square * square) - Format<double>::bias;
  suppose(index, j);
  const DoubleDoubleOf<Term> value = erfcPolynomial<Tag>(a);
  call(value.hi, "vHi"), call(value.lo, "vLo");
  const Term rounded = call(value.hi + value.lo, "value");
  const auto f = [&](int k) { return lookUp(rowsOfErfc<Tag>(), index, k); };
  const DoubleDoubleOf<Term> t = twoSum(a, f(0)), ts = splitHiLo(t.hi, split26Bits);
  call(t.hi, "tHi"), call(t.lo, "tLo");
  // The steps, the last first: their sums and low words.
  std::vector<DoubleDoubleOf<Term>> steps{{operand(value.hi, 0), operand(value.hi, 1)}};
  Term tail;
  for (int k = 0;; ++k) {
    const DoubleDoubleOf<Term> step = steps[static_cast<std::size_t>(k)];
    call(step.lo, text("lo", k)), call(step.hi, text("hi", k));
    tail = operand(step.hi, 1);
    if (k == 5)
      break;
    const Term next = operand(operand(tail, 0), 0); // of the split
    const Term low = operand(operand(step.lo, 0), 1), nextLo = operand(operand(operand(operand(low, 0), 1), 0), 1);
    steps.push_back({next, nextLo});
  }
  Recorder::get().freeze();
  const bool direct = j < 6;
  const double center = -f(0).value();
  const std::string whole = text("(", formulaOf(tail, t.hi, "x"), ")");
  std::string polynomial = "0";
  for (int k = 5; k >= 0; --k)
    polynomial = text("(", f(2 * k + 1), " + ", f(2 * k + 2), ") + ", k == 5 ? whole : text("x*(", polynomial, ")"));
  const auto function = direct ? erfc : scaledErfc;
  const auto value_ = [&](const Real& v) {
    Real sum = realOf(tail, t.hi, v);
    for (int k = 5; k >= 0; --k)
      sum = (k == 5 ? sum : v * sum) + Real(f(2 * k + 1).value()) + Real(f(2 * k + 2).value());
    return sum;
  };
  const double error = direct ? polynomialError(polynomial, text("erfc(", center, " + x)"), {below(range.low - center), above(range.high - center)}, true)
      : scaledRowError(polynomial, value_, center, range);
  if (std::getenv("RAW")) std::printf("# row %d: 2^%.2f\n", j, std::log2(error));
  for (const Interval& piece : pieces(range, 4)) {
    Script s(text(name, " row ", j, " ", piece));
    s.cut(a, "a");
    proof.over(s, name + " rows", "a", piece);
    s.multiple(t.hi, std::ilogb(piece.low) - 52);
    s.define("T", "tHi + tLo");
    s.stands(tail, "tail");
    for (int k = 5; k >= 0; --k) {
      const auto [hi, lo] = steps[static_cast<std::size_t>(k)];
      const std::string v = text("V", k), rest = text("E", k), ideal = s.ideal(lo);
      s.define(v, text("(", f(2 * k + 1), " + ", f(2 * k + 2), ") + ", k == 5 ? s.ideal(tail) : text("T*V", k + 1)));
      s.define(rest, text(v, " - ", hi));
      s.hint(text(lo, " - ", rest, " -> (", lo, " - ", ideal, ")", k == 5 ? text(" + (", tail, " - ", s.ideal(tail), ")") : ""));
      s.hint(text(rest, " -> ", lo, " - (", lo, " - ", rest, ")"));
      s.stands(lo, rest);
      s.multiple(hi, std::ilogb(f(2 * k + 1).value()) - 56);
      if (k < 5)
        s.exact(operand(hi, 1));
    }
    s.goal("tLo in [0,0]");
    s.real("dS", Interval::within(above(error + error * error * 2))); // 1/(1 + e) - 1
    s.define("S", "V0*(1 + dS)");
    s.hint("vHi + vLo - S -> (lo0 - E0) + -(V0*dS)");
    s.goal(text("|vHi + vLo - S| <= ", direct ? directError : scaledError * function(piece.high).toDouble()));
    if (direct)
      s.lastRounding(name + " normal", rounded, "S", leastUlp(function, piece.low, piece.high));
    proof.add(s);
  }
}

template <class Tag>
void prove(Proof& proof, const std::string& name, Proof::Export library) {
  using Limits = ErfcLimits<double>;
  const Interval whole{0x1p-70, below(Limits::underflow)};
  const auto rowOf = [](double a) { const double square = (1.0 + a) * (1.0 + a); return exponentField(square * square) - Format<double>::bias; };
  for (const auto& [j, range] : preimages(rowOf, whole))
    row<Tag>(proof, name, j, range);
  proof.coversDoubles(name + " rows", whole);
  (void)library;
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  prove<Erfc_64f_A53>(proof, "Erfc_64f_A53", qelsErfc_64f_A53);
  return proof.finish();
}
