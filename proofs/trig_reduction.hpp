// What the proofs of the trigonometric families share: what the reduction by pi/4 shows for their
// rows (trig_reduction.cpp), the reduction by steps of pi/32, the doubles that are too near to a
// multiple of pi/2 for both.
#pragma once

#include "proof.hpp"

#include "trig/reduce_trig_argument.cpp"

namespace qelvm {
/// For a Term as for one element.
inline TrigReductionOf<Term> reduceTrigArguments(const Term& x) {
  return reduceAny(x);
}
} // namespace qelvm

namespace qelvm::proof {

inline double power(int k) {
  return std::ldexp(1.0, k);
}
inline Real ratioOfPi(int j, int n) {
  return pi() * Real(j) / Real(n);
}

/// What the rounding of a sum left, a Fast2Sum's.
inline Term restOf(const Term& sum) {
  const auto& nodes = Recorder::get().nodes;
  for (std::size_t i = 0; i < nodes.size(); ++i)
    if (nodes[i].kind == Kind::sumError && nodes[i].args[2] == sum.id)
      return Term::ofNode(static_cast<int>(i));
  fail("no Fast2Sum");
}

// ---- the reduction by pi/4
// -----------------------------------------------------------------------

// x = k pi/2 + hi + lo + eta.
inline constexpr double largestRemainder = 0x1.96p-1, largestRemainderLo = 0x1p-54;
/// Of a remainder by subtraction, and of every reduction by steps.
inline constexpr double largestEta = 0x1p-105;
/// Doubles that are nearer to a multiple of pi/2 than nearZero where they are not reduced by pi/4,
/// are tried; else those nearer than nearerZero, or so near that eta is more than relativeEta of
/// what is left.
inline constexpr double nearZero = 0x1p-44, nearerZero = 0x1p-56, relativeEta = 0x1p-59;
/// By subtraction, of |hi| <= nearZero, for an argument from 2^e on.
inline double largestEtaNearZero(int e) {
  return std::ldexp(1.125, e - 138);
}

/// By multiplication, of a fraction of pi/4 with least <= |y| <= most; and what its stages show
/// each other.
struct Level {
  double least, most;
  double errors() const { return most * 0x1p-25; }                      // of the leading sums
  double roundings() const { return most * 0x1.4p-76 + 0x1p-121; }      // of the sums of these
  double sum(int rho) const { return most * 1.0001 + power(rho - 67); } // of the leading terms
  double eta() const { return most * 0x1.8p-74 + 0x1p-120; }
};
inline constexpr Level levels[] = {{0x1p-12, 0x1.02p0},
                                   {0x1p-23, 0x1.8p-12},
                                   {0x1p-34, 0x1.8p-23},
                                   {0x1p-44, 0x1.8p-34},
                                   {nearerZero, 0x1.8p-44}};
inline constexpr const Level& nearestLevel = levels[std::size(levels) - 1];

/// eta of a remainder between `most`/2 and `most`.
inline double remainderEta(double most) {
  if (most <= nearZero / 2) {
    require(nearestLevel.eta() <= relativeEta * nearerZero / 2,
            "eta is small next to the remainder");
    return most * relativeEta;
  }
  double result = 0;
  for (const Level& level : levels) // (y is above 1.27 of the remainder)
    if (most <= level.most * 0.75 || level.most > 1)
      result = level.eta();
  return std::max(result, largestEta);
}

/// eta of what the reductions leave for a row: of r near `most`, where all depends on its size.
inline double etaOfRow(bool isNextToZero, double most) {
  if (!isNextToZero)
    return largestEta + remainderEta(largestRemainder);
  return most <= nearZero ? remainderEta(most) : largestEta + remainderEta(most);
}

/// All doubles of [2^e, 2^(e + 1)) nearer than `distance` to a multiple k pi/2, k even or odd, by
/// the convergents p/q of alpha = 2^(e-52) 2/pi, less a multiple of 2: let p/q and p'/q' be
/// neighbours, q alpha - p and q' alpha - p' of different signs, and |p q' - p' q| = 1. Then (m, k)
/// = u (q, p) + v (q', p') for integers u and v, which for 0 < m < q' are not of one sign, and u is
/// not zero: |m alpha - k| >= |u| |q alpha - p|. (k pi/2 is further off than |m alpha - k|.)
inline std::vector<double> nextToZeros(int e, double distance, int odd) {
  const Real alpha = [e] { // 300 bits of the fraction of up to 1300
    mpfr_t all, two;
    mpfr_inits2(1600, all, two, static_cast<mpfr_ptr>(nullptr));
    mpfr_const_pi(all, MPFR_RNDN);
    mpfr_set_ui(two, 2, MPFR_RNDN);
    mpfr_ui_div(all, 2, all, MPFR_RNDN);
    mpfr_mul_2si(all, all, e - 52, MPFR_RNDN);
    mpfr_fmod(all, all, two, MPFR_RNDN);
    Real result;
    mpfr_set(result.get(), all, MPFR_RNDN);
    mpfr_clears(all, two, static_cast<mpfr_ptr>(nullptr));
    return result;
  }();
  const auto floor = [](const Real& r) {
    Real result;
    mpfr_floor(result.get(), r.get());
    return result;
  };
  Real rest = alpha, p[2] = {0, 1}, q[2] = {1, 0};
  const auto off = [&](int i) { return (q[i] * alpha - p[i]).toDouble(); };
  while (q[1].toDouble() < 0x1p53) {
    const Real digit = floor(rest);
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
    const Real v = Real(0) - floor((Real(u) * q[0] - Real(0x1p52)) / q[1]);
    const Real m = Real(u) * q[0] + v * q[1], k = Real(u) * p[0] + v * p[1];
    if (m.toDouble() < 0x1p53 && std::fmod(k.toDouble(), 2) == odd &&
        std::fabs((m * alpha - k).toDouble()) < distance)
      result.push_back(std::ldexp(m.toDouble(), e - 52));
  }
  return result;
}

/// The largest error, in ulps, of an export of all doubles that are too near to a multiple k pi/2
/// for its rows, k even or odd; from 2^direct on they are reduced by pi/4.
template <class Exact, class Export>
double worstNextToZeros(const Exact& exactly, const Export& function, int direct, int odd) {
  double worst = 0;
  for (int e = 0; e < 1024; ++e) {
    const double distance = e < direct ? nearZero
                            : e < 30   ? std::max(nearerZero, largestEtaNearZero(e) / relativeEta)
                                       : nearerZero;
    for (const double next : nextToZeros(e, distance, odd))
      for (const double x : {next, -next}) {
        const Real exact = Real::apply(exactly, Real(x));
        const int place = std::ilogb(mpfr_get_d(exact.get(), MPFR_RNDZ)) - 52;
        double result = 0;
        function(&x, &result, 1);
        const double error = std::ldexp(std::fabs((Real(result) - exact).toDouble()), -place);
        require(error < 0.541 || std::fabs(x) == 0x1.65a1dd290660fp+16,
                "one argument and its negative alone are beyond the bound of the rows");
        worst = std::max(worst, error);
      }
  }
  return worst;
}

/// Draws from a range of either sign; from 2^30 on evenly in the exponents.
inline auto sampleOf(Interval range) {
  return [=](std::mt19937_64& random) {
    const double drawn = range.low < 0x1p30 ? Proof::uniform(range.low, below(range.high))(random)
                                            : Proof::uniform(1, 2)(random) *
                                                  power(30 + static_cast<int>(random() % 994));
    return random() % 2 ? drawn : -drawn;
  };
}

// ---- the reduction by steps
// ----------------------------------------------------------------------

/// x - N step = r + lo, of three pieces of the step, as recorded: lo = (tLo - N piece3) + xLo.
struct Steps {
  Term x, r, lo, rest, tLo, w, n;
  Steps(const Term& argument, const Term& hi, const Term& low, bool hasLow)
      : x(argument),
        r(call(hi, "r")),
        lo(call(low, "lo")),
        rest(hasLow ? operand(lo, 0) : lo),
        tLo(call(operand(rest, 0), "tLo")),
        w(call(operand(tLo, 0), "w")),
        n(call(operand(operand(rest, 1), 0), "N")) {}
};
struct StepBounds {
  double r, lo, eta;
  int place; // r is a multiple of 2^place
};

/// x + xLo - N pi/32 = r + lo + eta, binade by binade. `stages` records it for a Term and a Term or
/// zero.
template <class Lo, class Stages>
void reductionBySteps(Proof& proof, const std::string& name, Interval range, const Stages& stages,
                      const StepBounds& most) {
  constexpr bool hasLow = std::is_same_v<Lo, Term>;
  for (const Interval& binade : binades(range, -60)) {
    Recorder::get().clear();
    const Lo xLo = [&] {
      if constexpr (hasLow)
        return Term::argument("xLo");
      else
        return 0.0;
    }();
    const Steps st = stages(Term::argument("x"), xLo);
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
        std::min(-42, std::ilogb(std::min(std::fabs(binade.low), std::fabs(binade.high))) - 52));
    proof.over(s, name, "x", binade);
    if constexpr (hasLow) {
      s.cut(xLo, "xLo");
      s.assume(text("|xLo| <= ", largestRemainderLo));
    }
    const std::string steps = text("(", step1, " + ", step2, ")"),
                      eta = text("x", hasLow ? " + xLo" : "", " - N*(", step1, " + ", step2,
                                 " + STEP) - (r + lo)");
    s.goal(text("@FIX(N,0) /\\ @FIX(r,", most.place, ")"));
    s.goal(text("|r| <= ", most.r));
    s.goal(text("|lo| <= ", most.lo));
    s.goal(text("|", eta, "| <= ", most.eta));
    s.hint(text("MN -> x*", inverse));
    s.hint(text("w -> (x*", inverse, " - N)*", step1, " + x*(1 - ", inverse, "*", step1, ")"));
    s.hint(text(Script::operationOf(st.r), " -> (x*", inverse, " - N)*", steps, " + x*(1 - ",
                inverse, "*", steps, ")"));
    s.hint(text("tLo -> -(r - (", Script::operationOf(st.r), "))"));
    s.hint(text(eta, " -> -(lo - Mlo)"));
    proof.add(s);
  }
}

} // namespace qelvm::proof
