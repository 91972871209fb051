// The square root as a stage of Asin, Acos, Asinh and Acosh (stages/seeded_root.hpp): hi + lo is
// the root of w + low, 1 <= w < 4, for groups of rows. (The scale is a power of two, and exact.)
#pragma once

#include "proof.hpp"

#include "stages/seeded_root.hpp"

namespace qelvm::proof {

/// What is shown for the w of a group: |hi + lo - root| <= error root, |lo| <= low root.
struct RootGroup {
  Interval w;
  double error, low;
};
/// The same for every w of [low, high] 4^k, one of them in [1, 4); for all, if low is zero.
inline RootGroup rootOf(const std::vector<RootGroup>& groups, Interval u) {
  while (u.low > 0 && (u.low < 1 || u.low >= 4)) {
    const double scale = u.low < 1 ? 4 : 0.25;
    u = {scale * u.low, scale * u.high};
  }
  RootGroup worst{u, 0, 0};
  for (const RootGroup& g : groups)
    if (u.low == 0 || (g.w.low <= u.high && g.w.high >= u.low) || 4 * g.w.low <= u.high) {
      worst.error = std::max(worst.error, g.error);
      worst.low = std::max(worst.low, g.low);
    }
  return worst;
}

/// Proves the root of `Tag`, with a second word where `Rest` is a Term. Its scripts are those of
/// every tag. Each row up to `alone` is a group, and so is a part of one.
template <class Tag, class... Rest>
std::vector<RootGroup> seededRootGroups(Proof& proof, double alone = 1, Interval part = {1, 1}) {
  constexpr bool hasRest = sizeof...(Rest) == 1;
  const std::string what = hasRest ? "root of two words" : "root";
  Recorder::get().clear();
  const Term u = Term::argument("u");
  const auto root = seededRoot<Tag>(u, Rest(Term::argument("rest"))...);
  const Term hi = call(operand(root.hi, 0), "hi"), lo = call(operand(root.lo, 0), "lo");
  const Term leading = operand(hi, 0), w = operand(leading, 0), g = operand(hi, 1);
  const Term product = operand(lo, 1), wFull = operand(product, 0),
             p = operand(operand(product, 1), 1);
  const Term d = operand(p, 0), dLo = operand(d, 1), square = g * g;
  const Term exactOnes[] = {hi, square, leading * square, leading * square - 1.0};
  Recorder::get().freeze();
  // Rows, from the record: the w that have each, its entry, and d.
  const auto valueAt = [&](double argument, int node) {
    std::map<int, double> arguments{{u.id, argument}};
    if constexpr (hasRest)
      arguments[Term::argument("rest").id] = 0;
    return (*Recorder::get().evaluate(arguments))[static_cast<std::size_t>(node)];
  };
  const int row = nodeOf(g.id).args[0];
  struct Row {
    Interval w, d;
    double g;
  };
  std::vector<Row> rows;
  const auto rowAt = [&](double v) { return fromWord<std::int32_t>(valueAt(v, row)); };
  auto ranges = preimages(rowAt, {1, below(2)});
  for (const auto& upper : preimages(rowAt, {2, below(4)}))
    ranges.push_back(upper);
  for (const auto& [j, range] : ranges) {
    const double entry = fromWord<double>(valueAt(range.low, g.id));
    const auto at = [&, e = entry](double v) { return Real(v) * Real(e) * Real(e) - Real(1); };
    for (const Interval& cut : cutAt(cutAt({range}, part.low), part.high))
      rows.push_back({cut, {enclosure(at(cut.low)).low, enclosure(at(cut.high)).high}, entry});
  }
  std::vector<RootGroup> groups;
  for (std::size_t i = 0; i < rows.size();) {
    Interval ws = rows[i].w, ds = rows[i].d, gs{rows[i].g, rows[i].g};
    for (std::size_t n = ws.low <= alone ? 15 : 0;
         n < 16 && i < rows.size() && (ws.low >= 2) == (rows[i].w.low >= 2); ++n, ++i) {
      ws.high = rows[i].w.high;
      gs = {std::min(gs.low, rows[i].g), std::max(gs.high, rows[i].g)};
      ds = {std::min(ds.low, rows[i].d.low), std::max(ds.high, rows[i].d.high)};
    }
    ds = {ds.low - 0x1p-40, ds.high + 0x1p-40};
    const double least = std::sqrt(ws.low) * (1 - 0x1p-50); // of the root
    const double low =
        (1 / std::sqrt(1 - ds.magnitude()) - 1 + 0x1p-28) * ws.high * gs.high / least;
    // Half an ulp of every product and sum, of the largest values; the script shows whether it is
    // enough.
    const auto half = [](double v) { return std::ldexp(1.0, std::ilogb(v) - 53); };
    const double most = 1 / std::sqrt(1 - ds.magnitude()) - 1, leadingRoot = ws.high * gs.high;
    const double error =
        2 * half(low * least) + ws.high * half(gs.high * most) +
        leadingRoot * (half(most) + half(ds.magnitude()) / 2 +
                       std::max(std::max(0.0, -ds.low) * 0x1p-54, ds.high * 0x1p-55)) +
        (hasRest ? gs.high * most * half(ws.low) : 0);
    groups.push_back({ws, error * (1 + 0x1p-5) / least, low});
    Script s(text(what, " ", ws));
    s.cut(w, "w");
    s.multiple(w, -52);
    proof.over(s, what, "w", ws);
    s.cut(g, "g", "fixed<-11,ne>");
    s.assume(text("g in ", gs));
    for (const Term& t : exactOnes)
      s.exact(t);
    std::string whole = "w";
    if (hasRest) {
      const Term rest = operand(wFull, 1);
      s.cut(rest, "low");
      s.assume(text("low in ", Interval::within(ws.low < 2 ? 0x1p-53 : 0x1p-52)));
      s.define("W", whole = "w + low");
      s.stands(wFull, whole = "W");
    }
    s.define("D", text(whole, "*", square, " - 1"));
    s.assume(text("D in ", ds));
    s.stands(d, "D");
    s.hint(
        text(d, " - D -> (", d, " - (", s.operationOf(d), ")) + (", dLo, " - ", s.ideal(dLo), ")"));
    s.real("dR", Interval::within(polynomialError(p, d, "(1+x)^(-1/2)-1", ds)));
    s.define("R", text(whole, "*g*(1 + ", s.ideal(p), " + dR)"));
    s.hint(text("hi + lo - R -> (lo - ", s.ideal(lo), ") + -(", whole, "*g*dR)"));
    s.goal(text("|hi + lo - R| <= ", groups.back().error * least, " /\\ |lo| <= ", low * least));
    proof.addOnce(s);
  }
  proof.coversDoubles(what, {1, below(4)});
  return groups;
}

} // namespace qelvm::proof
