// The reduction of large arguments by pi/4: to x = k pi/2 + hi + lo + eta.
//
// By subtraction, from directLimit of the tangent on: x - m pi/4 = hi + lo + eta, binade by binade;
// next to a zero once more.
//
// By multiplication, from 2^30 on: x = xh + xl times words of 4/pi. Scripts are for the place of x
// in its first word, rho = 1 to 25, and any words between the least and the greatest that stand
// there; another first word changes exponents alone. What is cut off is less than one unit in the
// place of the last bit kept, and a word and its products are multiples of their places.
#include "trig_reduction.hpp"

using namespace qelvm;
using namespace qelvm::proof;

namespace {

/// Below 2^30: a - m pi/4 = hi + lo + eta. m is the even integer next to v = fl(a 4/pi).
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
      e < 23 ? std::vector{-90, -60, std::min(-35, e - 52)} : std::vector{-84, -64, -64, -42, -35};
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
  s.goal(text("|lo| <= ", largestRemainderLo));
  const std::string eta = text("a - ", multiple, " - (hi + lo)");
  s.hint(text(eta, " -> ", hint));
  s.goal(text("|", eta, "| <= ", near ? largestEtaNearZero(e) : largestEta));
  if (near)
    s.assume(text("|hi| <= ", nearZero));
  proof.add(s);
}

constexpr int firstWords = 40;

/// The least and the greatest word number k from the first one that matters, for all arguments.
Interval words(int k) {
  Interval result{0x1p25, 0};
  for (int i = 0; i < firstWords; ++i) {
    const double word = std::ldexp(fourOverPiBits[i + k], 25 * (i + k) - 201);
    result = {std::min(result.low, word), std::max(result.high, word)};
  }
  return result;
}

/// The record of the multiplication: one for all arguments. h[k] is the k-th of its exact sums, of
/// h[k - 1] and a term, l[k] the sum of what they leave.
struct Multiplication {
  Term a = Term::argument("a"), hi, lo, y, kept, product, rest, last, h[11], l[11], T, odd, d,
       front, leading, xh, xl, total;

  struct Product {
    Term term;
    int word, place; // a multiple of 2^(rho + place)
    double most(int rho) const {
      return power(rho + place) * words(word).high *
             (place == 5 - 25 * word ? 0x1p26 - 1 : 0x1p27 - 1);
    }
  };
  std::vector<Product> products;

  Multiplication() {
    const auto result = reduceByMultiplication(a, Term(1.0)).remainder;
    hi = call(result.hi, "hi"), lo = call(result.lo, "lo");
    product = call(operand(hi, 0), "product"), rest = call(operand(hi, 1), "rest");
    kept = operand(product, 0);
    y = call(operand(operand(kept, 0), 0), "y"), last = call(operand(y, 1), "last");
    h[10] = operand(y, 0);
    l[10] = operand(operand(operand(rest, 0), 0), 1);
    for (int k = 10; k > 3; --k)
      h[k - 1] = operand(h[k], 0), l[k - 1] = operand(l[k], 0);
    h[2] = operand(h[3], 0), l[2] = operand(l[3], 0);
    odd = operand(h[2], 1);
    d = call(operand(operand(h[2], 0), 0), "d"), l[1] = operand(operand(h[2], 0), 1);
    h[1] = operand(d, 0), T = operand(d, 1);
    h[0] = operand(h[1], 0), l[0] = operand(l[1], 0);
    const Term difference = operand(h[0], 0);
    front = operand(difference, 1), leading = call(operand(difference, 0), "leading");
    for (int k = 0; k < 11; ++k)
      call(h[k], text("h", k)), call(l[k], text("l", k));
    xl = operand(operand(h[3], 1), 0), xh = operand(operand(h[4], 1), 0);
    total = call(((h[1] + l[1]) + operand(h[3], 1)) + operand(h[4], 1), "total");
    const auto& nodes = Recorder::get().nodes;
    for (std::size_t i = 0; i < nodes.size(); ++i)
      if (nodes[i].label == "*" && (nodes[i].args[0] == xl.id || nodes[i].args[0] == xh.id)) {
        const Term p = Term::ofNode(static_cast<int>(i));
        int k = 0;
        while (nodeOf(operand(p, 1).id).label != place(fourOverPiBits + k))
          ++k;
        const bool high = nodes[i].args[0] == xh.id;
        call(operand(p, 1), text("b", k));
        products.push_back(
            {call(p, text(high ? "high" : "low", k)), k, high ? 5 - 25 * k : -22 - 25 * k});
      }
    require(products.size() == 16, "16 products");
    Recorder::get().freeze();
  }

  /// The products as the later stages know them.
  void cutProducts(Script& s, int rho) const {
    for (const Product& p : products) {
      s.cut(p.term, nodeOf(p.term.id).name, text("fixed<", rho + p.place, ",ne>"));
      s.real(nodeOf(p.term.id).name, {0, p.most(rho)});
    }
  }
};

/// What the scripts suppose of x and of the words, for every exponent.
void places() {
  mpfr_t rest, word;
  mpfr_inits2(1600, rest, word, static_cast<mpfr_ptr>(nullptr));
  mpfr_const_pi(rest, MPFR_RNDN);
  mpfr_ui_div(rest, 4, rest, MPFR_RNDN);
  for (int k = 0; k < 50; ++k) { // rest times 2^(25 k - 1)
    mpfr_mul_2si(rest, rest, k == 0 ? -1 : 25, MPFR_RNDN);
    mpfr_floor(word, rest);
    mpfr_sub(rest, rest, word, MPFR_RNDN);
    require(std::ldexp(mpfr_get_d(word, MPFR_RNDN), 201 - 25 * k) == fourOverPiBits[k],
            "25 bits of 4/pi");
  }
  mpfr_clears(rest, word, static_cast<mpfr_ptr>(nullptr));
  Recorder::get().clear();
  const Multiplication m;
  const int first = nodeOf(operand(m.products[0].term, 1).id).args[0];
  const int cleared = nodeOf(nodeOf(m.front.id).args[0]).args[1];
  for (int e = 30; e < 1024; ++e)
    for (const double a : {power(e), below(power(e) * 2), power(e) * (1 + 0x1p-25 - 0x1p-52)}) {
      const auto values = *Recorder::get().evaluate({{m.a.id, a}});
      const auto whole = [&](int id) {
        return fromWord<std::int32_t>(values[static_cast<std::size_t>(id)]);
      };
      const auto number = [&](const Term& t) {
        return fromWord<double>(values[static_cast<std::size_t>(t.id)]);
      };
      const int i = whole(first), rho = e - 29 - 25 * i;
      require(i >= 0 && i < firstWords && rho >= 1 && rho <= 25 && whole(cleared) == 38 - rho,
              "the first word that matters");
      const double unit = power(e - 25 - 200), high = number(m.xh);
      require(high == std::floor(a / power(e - 25)) * unit && high + number(m.xl) == a * 0x1p-200,
              "26 bits of x, and the rest");
    }
}

/// The sum before the k-th is a multiple of 2^(rho - this).
int placeOfSum(int k) {
  return 47 + 25 * ((k - 2) / 2);
}

/// Up to the fraction less a2 and b3: nothing is rounded.
void leadingSums(Proof& proof, int rho) {
  Recorder::get().clear();
  const Multiplication m;
  Script s(text("leading ", rho));
  s.cut(m.xh, "xh", text("fixed<", rho - 196, ",ne>"));
  s.cut(m.xl, "xl", text("fixed<", rho - 223, ",ne>"));
  s.real("xh", {power(rho - 171), power(rho - 170) - power(rho - 196)});
  s.real("xl", {0, power(rho - 196) - power(rho - 223)});
  std::set<int> met;
  for (const auto& p : m.products) {
    const double unit = power(201 - 25 * p.word);
    const Term b = operand(p.term, 1);
    s.exact(p.term);
    s.goal(
        text("@FIX(", p.term, ",", rho + p.place, ") /\\ ", p.term, " in [0,", p.most(rho), "]"));
    if (met.insert(p.word).second) {
      s.cut(b, nodeOf(b.id).name, text("fixed<", 201 - 25 * p.word, ",ne>"));
      s.real(nodeOf(b.id).name, {words(p.word).low * unit, words(p.word).high * unit});
    }
  }
  s.cut(m.front, "front", "fixed<11,ne>");
  s.cut(m.T, "T", "fixed<0,ne>");
  s.cut(m.odd, "odd", "fixed<0,ne>");
  s.real("leading - front", {0, 0x1p17});
  s.real("total - T", {0, 1});
  s.real("odd", {-1, 0});
  s.goal(text("leading >= ", power(rho + 25), " /\\ total >= 1 /\\ total <= 0x1p40"));
  const Term d1 = operand(m.h[2], 0), a2 = operand(m.h[3], 1), b3 = operand(m.h[4], 1);
  for (const Term& t : {operand(m.h[0], 0), m.l[0], m.l[1], m.d, d1, m.h[2]})
    s.exact(t);
  s.orderedByMultiple(restOf(m.leading), rho - 22);
  s.orderedByMultiple(restOf(m.h[0]), rho - 22);
  s.orderedByMultiple(restOf(m.h[1]), rho - 47);
  s.orderedByMultiple(m.l[2], rho - 47);
  for (int k = 3; k <= 10; ++k)
    s.orderedByMultiple(restOf(m.h[k]), rho - placeOfSum(k));
  const std::string ideal = s.ideal(m.total);
  s.hint(text("d -> (total - T) - (total - ", ideal, ") - l1 - ", a2, " - ", b3));
  s.hint(text("h3 + ", b3, " -> (total - T + odd) - (total - ", ideal, ") - ", restOf(m.h[3])));
  s.goal(text("@FIX(h2,", rho - 47, ") /\\ l2 in [0,0] /\\ |y| <= ", levels[0].most));
  const std::string off = "low0 + high1 + low1 + high2 - front - T + odd - (h2 + l2)";
  s.hint(off + " -> 0");
  s.goal(off + " in [0,0]");
  proof.add(s);
}

/// The sums from `from` to `to`, and what they leave.
void sums(Proof& proof, int rho, const Level& level, int from, int to) {
  Recorder::get().clear();
  const Multiplication m;
  const bool last = to == 10;
  Script s(text(last ? "last" : "middle", " sums ", rho, " ", Interval{level.least, level.most}));
  m.cutProducts(s, rho);
  s.cut(m.h[from], nodeOf(m.h[from].id).name, text("fixed<", rho - (last ? 97 : 47), ",ne>"));
  s.cut(m.l[from], nodeOf(m.l[from].id).name, text("fixed<", rho - (last ? 97 : 0), ",ne>"));
  const Term before = m.l[from], after = m.l[to];
  if (last) {
    s.real(text(before), Interval::within(level.errors()));
    proof.over(s, text("fraction ", rho), "|y|", {level.least, level.most});
    s.hint("h10 -> y - (y - (h10 + last)) - last");
    s.goal(text("|h6| <= ", level.sum(rho), " /\\ |last| <= 0x1p-118"));
    s.goal(text("|l10| <= ", level.errors() * 2));
    s.real("REST", {0, power(rho - 168)});
    const Term c5 = operand(m.h[9], 1), c6 = operand(m.h[10], 1);
    const std::string error =
        text("-(l10 - ", s.ideal(after), ") - (", c5, " - ", s.ideal(c5), ") - (", c6, " - ",
             s.ideal(c6), ") - (last - ", s.ideal(m.last), ") + REST");
    const std::string off = "h6 + l6 + low4 + high5 + low5 + high6 + low6 + high7 + low7 + high8 + "
                            "REST - (h10 + l10 + last)";
    s.hint(off + " -> " + error);
    s.goal(text("|", off, "| <= ", level.roundings()));
  } else {
    s.real(text(before), {0, 0});
    s.assume(text("|h6| <= ", level.sum(rho)));
    s.goal(text("|l6| <= ", level.errors(), " /\\ @FIX(h6,", rho - 97, ") /\\ @FIX(l6,", rho - 97,
                ")"));
    const std::string off = "h2 + l2 + low2 + high3 + low3 + high4 - (h6 + l6)";
    s.hint(off + " -> 0");
    s.goal(off + " in [0,0]");
  }
  for (int k = from + 1; k <= to; ++k) {
    const Term& sum = m.h[k];
    if (!last)
      s.exact(m.l[k]);
    s.orderedByMultiple(restOf(sum), rho - placeOfSum(k));
    const Term first = operand(sum, 0), second = operand(sum, 1);
    s.hint(text(first, " + ", second, " -> ", sum, " + ", restOf(sum)));
    s.hint(text(first, " -> ", sum, " + ", restOf(sum), " - ", second));
  }
  proof.add(s);
}

/// Times pi/4.
void timesQuarterPi(Proof& proof, const Level& level) {
  Recorder::get().clear();
  const Multiplication m;
  Script s(text("times pi/4 ", Interval{level.least, level.most}));
  s.cut(m.h[10], "h10");
  s.cut(m.l[10], "l10");
  s.cut(m.last, "last");
  s.cut(m.kept, "kept", "float<27,-150,ne>");
  s.assume(text("|y| in ", Interval{level.least, level.most}));
  s.assume(text("|l10| <= ", level.errors() * 2, " /\\ |last| <= 0x1p-118"));
  s.assume("kept -/ y in [-1b-25,1b-25]");
  s.exact(m.product);
  const Term qHi = operand(m.product, 1), qLo = operand(operand(m.rest, 1), 1);
  s.truth(qLo, "QLO", enclosure(pi() / Real(4) - Real(qHi.value()) - Real(qLo.value())));
  const std::string off = text("(h10 + last + l10)*(", qHi, " + QLO) - (hi + lo)");
  s.hint(text(off, " -> -(rest - ", s.ideal(m.rest), ")"));
  s.hint("h10 -> y - (y - (h10 + last)) - last");
  s.hint("h10 - kept -> -(kept - y) - (y - (h10 + last)) - last");
  s.goal(text("|", off, "| <= ", level.eta() - level.roundings()));
  s.goal(text("|hi| <= ", largestRemainder, " /\\ |lo| <= ", largestRemainderLo));
  proof.add(s);
}

} // namespace

int main(int argc, char** argv) {
  Proof proof(argc, argv);
  proof.replayedBy("trig and tan");
  for (int e = 13; e < 30; ++e)
    for (const bool near : {false, true})
      subtraction(proof, e, near);
  for (const char* name : {"subtracted", "near zero"})
    proof.coversDoubles(name, {0x1p13, below(0x1p30)});
  places();
  for (const Level& level : levels)
    timesQuarterPi(proof, level);
  for (int rho = 1; rho <= 25; ++rho) {
    leadingSums(proof, rho);
    for (const Level& level : levels) {
      sums(proof, rho, level, 2, 6);
      sums(proof, rho, level, 6, 10);
    }
    proof.coversReals(text("fraction ", rho), {nearestLevel.least, levels[0].most});
  }
  return proof.finish();
}
