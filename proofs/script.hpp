// A Gappa script for one case of a proof: definitions from the recorder's graph, what the case
// assumes, what is to be shown. Only what the goals need is printed.
//
// Every recorded node t has an ideal counterpart: the same computation without roundings, `Mt`.
// What stands for something else says so: `truth` (the function that a polynomial approximates, the
// number that a constant rounds), `stands` (an exact value defined by hand). Gappa is told `t ~ Mt`
// for all.
#pragma once

#include "enclosures.hpp"

#include <algorithm>
#include <set>
#include <sstream>

namespace qelvm::proof {

/// How terms, numbers and intervals are written in a script.
inline std::string written(const std::string& s) {
  return s;
}
inline std::string written(const char* s) {
  return s;
}
inline std::string written(double v) {
  return hex(v);
}
inline std::string written(int v) {
  return std::to_string(v);
}
inline std::string written(const Interval& i) {
  return i.text();
}
inline std::string written(const Term& t) {
  return t.isKnown() ? hex(t.value()) : nodeOf(t.id).name;
}
template <class... Parts>
std::string text(const Parts&... parts) {
  return (std::string() + ... + written(parts));
}

/// Gives a term a name for the scripts.
inline Term call(const Term& t, const std::string& name) {
  if (!t.isKnown())
    nodeOf(t.id).name = name;
  return t;
}

class Script {
public:
  explicit Script(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }

  // ---- what is what ----
  /// A double about which only the hypotheses say anything. `format`: rnd, or fixed<k,ne>, a
  /// multiple of 2^k.
  void cut(const Term& t, const std::string& name, const std::string& format = "rnd") {
    call(t, name);
    cuts_[t.id] = format;
  }
  /// A multiple of 2^k (shown as a goal): what splits of it are multiples of.
  void multiple(const Term& t, int k) {
    multiples_[t.id] = k;
    goal(text("@FIX(", t, ",", k, ")"));
  }
  /// Where a hypothesis has a term (or its ideal, for which it stands here), by its name.
  std::optional<Interval> assumed(const std::string& name) const {
    for (const std::string& h : hypotheses_)
      for (const std::string& beginning : {name + " in [", "M" + name + " in ["})
        if (double low = 0, high = 0;
            h.starts_with(beginning) &&
            std::sscanf(h.c_str() + beginning.size(), "%la,%la]", &low, &high) == 2)
          return Interval{low, high};
    return {};
  }
  /// At most 2^k (shown as a goal): what splits of it leave is at most half a last place of that.
  void atMost(const Term& t, int k) {
    tops_[t.id] = k;
    goal(text("|", t, "| <= 1b", k));
  }
  /// A real number in an interval.
  void real(const std::string& name, Interval range) { assume(text(name, " in ", range)); }
  void define(const std::string& name, const std::string& formula) { definitions_[name] = formula; }
  /// The number that t stands for is `name`, the ideal of t and an error in `error`.
  void truth(const Term& t, const std::string& name, Interval error) {
    const std::string rest = "d" + name;
    define(name, idealText(t.id) + " + " + rest);
    real(rest, error);
    seen_[t.id] = name;
    if (!t.isKnown())
      hint(text(t, " - ", name, " -> (", t, " - ", idealText(t.id), ") + -", rest));
  }
  /// The number that t stands for is `name`, defined by hand.
  void stands(const Term& t, const std::string& name) { seen_[t.id] = name; }
  /// No rounding takes place: to be shown, by the script itself.
  void exact(const Term& t) {
    if (nodeOf(t.id).kind == Kind::rounded) // (a product with one is its operand)
      exact_.insert(t.id);
  }
  /// Nor here, by Lemma Small Sum.
  void smallSum(const Term& t) {
    exact(t);
    small_.insert(t.id);
  }
  /// A product with a power of two: by Lemma Scaling.
  void scaling(const Term& t) { assume(text("|", t, " - ", operationOf(t), "| <= 1b-1075")); }
  /// The same where the last place is that of subnormal numbers: said in the form that Gappa finds
  /// there.
  void exactNextToSubnormal(const Term& t) {
    exact(t);
    equal_.insert(t.id);
  }
  /// A Fast2Sum whose condition is that a is a multiple of 2^k, |b| < 2^(k + 53).
  void orderedByMultiple(const Term& error, int k) { orders_[error.id] = k; }
  /// A Fast2Sum whose condition does not hold: what it computes is rounded twice.
  void unordered(const Term& error) {
    const Node n = nodeOf(error.id);
    unordered_.insert(error.id);
    hint(text(error, " - ", idealText(error.id), " -> (", error, " - (", ref(n.args[1]), " + rnd(",
              ref(n.args[0]), " - ", ref(n.args[2]), "))) + (rnd(", ref(n.args[0]), " - ",
              ref(n.args[2]), ") - (", ref(n.args[0]), " - ", ref(n.args[2]), "))"));
  }

  // ---- hypotheses, goals, hints ----
  void assume(const std::string& what) { hypotheses_.push_back(what); }
  void goal(const std::string& what) { goals_.push_back(what); }
  void hint(const std::string& rule) { hints_.push_back(rule); }
  /// An enclosure of the formula is to be found; reported as `label`, such as `Exp_64f_A53 normal`.
  void bound(const std::string& label, const std::string& formula) {
    const std::string name = "bound" + std::to_string(bounds_.size());
    define(name, formula);
    bounds_.push_back({name, label});
    goal(name + " in ?");
  }

  /// The error of `value` in ulps of the exact result, which are not below `ulp` in this script: by
  /// Lemma Last Rounding, half an ulp and what its operation, unrounded, is off by: one ulp at
  /// most; or `most` ulps, where S is further than that from the next power of two.
  void lastRounding(const std::string& label, const Term& value, const std::string& exact,
                    double ulp, int most = 1) {
    const std::string before = text("(", operationOf(value), " - ", exact, ")"),
                      error = text("|", before, "|/", ulp);
    goal(text(error, " <= ", most));
    bound(label, "0.5 + " + error);
  }
  /// The operation that gives a term, not rounded.
  static std::string operationOf(const Term& t) {
    const Node& n = nodeOf(t.id);
    return ref(n.args[0]) + " " + n.label + " " + ref(n.args[1]);
  }

  /// The ideal of a term, as its users see it.
  std::string ideal(const Term& t) const { return seenText(t.id); }

  std::string print() {
    body_.clear();
    emitted_.clear();
    std::string order, splits, rules;
    std::vector<std::string> texts = goals_;
    texts.insert(texts.end(), hypotheses_.begin(), hypotheses_.end());
    texts.insert(texts.end(), hints_.begin(), hints_.end());
    for (const std::string& t : texts)
      emitAll(t);
    std::vector<std::string> goals = goals_, hypotheses = hypotheses_;
    // What the printed nodes oblige to show, and what their lemmas grant.
    const auto& nodes = Recorder::get().nodes;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const Node& n = nodes[i];
      const int id = static_cast<int>(i);
      if (emitted_.count(n.name) == 0 || n.known || cuts_.count(id) != 0)
        continue;
      if (n.kind == Kind::sumError && n.needsOrder && unordered_.count(id) == 0) {
        if (const auto k = orders_.find(id); k != orders_.end())
          goals.push_back("@FIX(" + ref(n.args[0]) + "," + written(k->second) + ") /\\ |" +
                          ref(n.args[1]) + "| <= 0x1.fffffffffffffp" + written(k->second + 52));
        else
          goals.push_back("|" + ref(n.args[0]) + "| - |" + ref(n.args[1]) + "| >= 0");
      }
      if (const auto k = tops_.find(n.args.empty() ? -1 : n.args[0]);
          n.kind == Kind::splitHigh && k != tops_.end())
        hypotheses.push_back(
            text("|", ref(n.args[0]), " - ", n.name, "| <= 1b", k->second - 1 - n.bits));
      if (n.kind == Kind::splitHigh)
        hypotheses.push_back(text("@FLT(", n.name, ",", n.bits, ") /\\ @FLT(", ref(n.args[0]),
                                  " - ", n.name, ",", 53 - n.bits, ") /\\ @FIX(", n.name, ",",
                                  lastPlace(id), ") /\\ ", n.name, " -/ ", ref(n.args[0]),
                                  " in [-1b-", n.bits, ",1b-", n.bits, "]"));
      if (exact_.count(id) != 0) {
        const std::string operation = operationOf(Term::ofNode(id));
        goals.push_back(small_.count(id) != 0 ? "|" + operation + "| <= 0x1p-1021"
                        : equal_.count(id) != 0
                            ? "rnd(" + operation + ") = " + operation
                            : "rnd(" + operation + ") - (" + operation + ") in [0,0]");
      }
      if ((n.kind == Kind::rounded || unordered_.count(id) != 0) && seenText(id) != n.name &&
          mentioned(seenText(id)))
        rules += n.name + " ~ " + seenText(id) + ";\n";
    }
    std::string out = "@rnd = float<ieee_64,ne>;\n" + body_ + "{ ";
    for (std::size_t i = 0; i < hypotheses.size(); ++i)
      out += (i ? " /\\ " : "") + hypotheses[i] + "\n";
    out += hypotheses.empty() ? "" : " -> ";
    // (In an order that does not change: goals that are stated twice are printed once.)
    std::set<std::string> stated;
    bool first = true;
    for (const std::string& g : goals)
      if (stated.insert(g).second) {
        out += (first ? "" : "\n /\\ ") + g;
        first = false;
      }
    out += " }\n" + rules;
    for (const std::string& h : hints_)
      out += h + ";\n";
    return out;
  }

  struct Bound {
    std::string name, label;
  };
  const std::vector<Bound>& bounds() const { return bounds_; }

private:
  std::string name_, body_;
  std::map<int, std::string> cuts_, seen_;
  std::map<int, int> multiples_, tops_, orders_;
  std::set<int> exact_, small_, equal_, unordered_;
  std::map<std::string, std::string> definitions_;
  std::vector<std::string> hypotheses_, goals_, hints_;
  std::vector<Bound> bounds_;
  std::set<std::string> emitted_;

  static std::string ref(int id) { return written(Term::ofNode(id)); }
  bool mentioned(const std::string& name) const { return emitted_.count(name) != 0; }

  /// Its rounding error is a term of its own, so that it is its own ideal.
  static bool isKept(int id) {
    for (const Node& n : Recorder::get().nodes)
      if (n.kind == Kind::sumError && n.args[2] == id)
        return true;
    return false;
  }
  /// The ideal by its operations: `M...`, or the name itself where nothing differs.
  std::string idealText(int id) const {
    const Node& n = nodeOf(id);
    if (n.known)
      return hex(fromWord<double>(*n.known));
    if (unordered_.count(id) != 0)
      return "M" + n.name;
    if (cuts_.count(id) != 0 || (n.kind != Kind::rounded && n.kind != Kind::negative) || isKept(id))
      return n.name;
    if (n.kind == Kind::negative || exact_.count(id) != 0) {
      bool plain = true;
      for (const int a : n.args)
        plain = plain && seenText(a) == ref(a);
      if (plain)
        return n.name;
    }
    return "M" + n.name;
  }
  std::string seenText(int id) const {
    const auto found = seen_.find(id);
    return found != seen_.end() ? found->second : idealText(id);
  }

  /// Every value is a multiple of 2^k: products add, sums take the lesser, roundings keep it.
  int lastPlace(int id) const {
    const Node& n = nodeOf(id);
    int k = -1074;
    if (n.known) {
      const double v = fromWord<double>(*n.known);
      if (v == 0)
        return 2000;
      for (k = 1023; std::fmod(v, std::ldexp(1.0, k)) != 0;)
        --k;
    } else if (const auto found = multiples_.find(id); found != multiples_.end())
      k = found->second;
    else if (cuts_.count(id) != 0)
      k = -1074;
    else if (n.kind == Kind::rounded && n.label == "*")
      k = lastPlace(n.args[0]) + lastPlace(n.args[1]);
    else if (n.kind == Kind::splitHigh || n.kind == Kind::negative)
      k = lastPlace(n.args[0]);
    else if (n.kind != Kind::whole && n.kind != Kind::argument && n.label != "/") {
      k = 2000;
      for (const int a : n.args)
        k = std::min(k, lastPlace(a));
    }
    return std::max(k, -1074);
  }

  /// What the rounding of a sum left.
  static std::string restOf(const Node& n) {
    return "(" + ref(n.args[0]) + " + " + ref(n.args[1]) + ") - " + ref(n.args[2]);
  }

  void emitAll(const std::string& formula) {
    for (std::size_t p = 0; p < formula.size();) {
      const char c = formula[p];
      std::size_t q = p + 1;
      const auto word = [&](char d) {
        return std::isalnum(static_cast<unsigned char>(d)) || d == '_' || d == '.';
      };
      if (std::isdigit(static_cast<unsigned char>(c))) {
        while (q < formula.size() &&
               (word(formula[q]) || ((formula[q] == '-' || formula[q] == '+') &&
                                     (formula[q - 1] == 'p' || formula[q - 1] == 'b'))))
          ++q;
      } else if (std::isalpha(static_cast<unsigned char>(c)) || c == '_' || c == '@') {
        while (q < formula.size() && word(formula[q]))
          ++q;
        if (c != '@')
          emit(formula.substr(p, q - p));
      }
      p = q;
    }
  }

  void emit(const std::string& name) {
    if (name == "in" || name == "rnd" || name == "sqrt" || !emitted_.insert(name).second)
      return;
    if (const auto d = definitions_.find(name); d != definitions_.end()) {
      emitAll(d->second);
      body_ += name + " = " + d->second + ";\n";
      return;
    }
    const auto& nodes = Recorder::get().nodes;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const int id = static_cast<int>(i);
      const Node n = nodes[i];
      if (n.known)
        continue;
      if (n.name == name)
        return emitNode(id, n);
      if ("M" + n.name == name) {
        const std::string formula =
            n.kind == Kind::negative ? "-" + seenText(n.args[0])
            : n.kind == Kind::sumError
                ? restOf(n)
                : seenText(n.args[0]) + " " + n.label + " " + seenText(n.args[1]);
        emitAll(formula);
        body_ += name + " = " + formula + ";\n";
        return;
      }
    } // else a real number, of which the hypotheses say what is known
  }

  void emitNode(int id, const Node& n) {
    if (const auto c = cuts_.find(id); c != cuts_.end()) {
      body_ += n.name + " = " + c->second + "(" + n.name + "_);\n";
      return;
    }
    for (const int a : n.args)
      emitAll(ref(a));
    switch (n.kind) {
    case Kind::rounded: {
      const std::string operation = operationOf(Term::ofNode(id));
      body_ += n.name + " = " + (exact_.count(id) ? operation : "rnd(" + operation + ")") + ";\n";
      // (for `t ~ Mt`)
      emitAll(seenText(id));
      break;
    }
    case Kind::negative:
      body_ += n.name + " = -" + ref(n.args[0]) + ";\n";
      break;
    case Kind::sumError:
      if (unordered_.count(id) != 0) {
        emitAll(seenText(id));
        body_ += n.name + " = rnd(" + ref(n.args[1]) + " + rnd(" + ref(n.args[0]) + " - " +
                 ref(n.args[2]) + "));\n";
      } else
        body_ += n.name + " = " + restOf(n) + ";\n";
      break;
    case Kind::splitLow:
      body_ += n.name + " = " + ref(n.args[0]) + " - " + ref(n.args[1]) + ";\n";
      break;
    case Kind::splitHigh:
      break; // a number of which Lemma Split says what is known
    default:
      fail("script '" + name_ + "' does not say what " + n.name + " = " + n.label + " is");
    }
  }
};

} // namespace qelvm::proof
