// The recorder: Term, a value type of the kernels beside double, Lanes and registers. A kernel
// computed over it leaves a graph of its operations, each a double operation rounded once or a step
// on bits; from the graph come the definitions of a Gappa script, and its replay in double.
//
// Equal operations on equal operands are one node. So a proof names an intermediate of a kernel by
// writing it again with the kernel's own building blocks, and `Recorder::freeze` makes sure that it
// wrote nothing that the kernel does not compute.
#pragma once

#include "core/export.hpp"
#include "core/floating_point.hpp"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

// The exports' tags, without their functions: these are in the library, which the replay calls.
#undef QELVM_EXPORT
#define QELVM_EXPORT(name, T, ...) QELVM_TAG(name, T)

namespace qelvm::proof {

[[noreturn]] inline void fail(const std::string& message) {
  std::fprintf(stderr, "proof: %s\n", message.c_str());
  std::exit(1);
}

inline std::string hex(double value) {
  char text[40];
  std::snprintf(text, sizeof text, "%a", value);
  return value < 0 ? "(" + std::string(text) + ")" : text;
}

/// Patterns of doubles, integers and truth values, in one word.
using Word = std::uint64_t;
template <class T>
Word wordOf(T value) {
  if constexpr (std::is_same_v<T, double>)
    return bitsOf(value);
  else
    return static_cast<Word>(value);
}
template <class T>
T fromWord(Word word) {
  if constexpr (std::is_same_v<T, double>)
    return std::bit_cast<double>(word);
  else
    return static_cast<T>(word);
}

enum class Kind {
  constant,
  argument,  // of the kernel: a double
  rounded,   // + - * /, rounded once
  negative,  // exact
  sumError,  // what the rounding of a sum left: exactly args[0] + args[1] - args[2]
  splitHigh, // args[0] cut to `bits` bits
  splitLow,  // args[0] - args[1], exactly
  whole,     // a step on bits, a table, a choice: to be said what it is, where its value counts
};

struct Node {
  Kind kind;
  std::string label; // of the operation
  std::vector<int> args;
  std::function<Word(const std::vector<Word>&)> evaluate;
  std::optional<Word> known; // a constant, or what the case supposes
  bool supposed = false;
  std::string name;
  int bits = 0;
  bool needsOrder = false; // sumError: |args[0]| >= |args[1]| is to be proven
};

class Recorder {
public:
  std::vector<Node> nodes;

  static Recorder& get() {
    static Recorder recorder;
    return recorder;
  }
  /// Forgets the last case.
  void clear() { *this = Recorder(); }
  /// From here on every operation must be one that is there.
  void freeze() { frozen_ = true; }

  int add(Node node) {
    std::string key = node.label;
    for (const int i : node.args)
      key += " " + std::to_string(i);
    if (node.kind == Kind::constant)
      key += std::to_string(*node.known);
    if (const auto found = index_.find(key); found != index_.end())
      return found->second;
    if (frozen_ && node.kind != Kind::constant)
      fail("the kernel does not compute " + node.label + " of " + describe(node));
    if (node.name.empty())
      node.name = "t" + std::to_string(nodes.size());
    nodes.push_back(std::move(node));
    return index_[key] = static_cast<int>(nodes.size()) - 1;
  }

  /// All values for these arguments; nothing if the arguments do not belong to the case.
  std::optional<std::vector<Word>> evaluate(const std::map<int, double>& arguments) const {
    std::vector<Word> value(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      const Node& n = nodes[i];
      if (n.kind == Kind::constant) {
        value[i] = *n.known;
        continue;
      }
      if (n.kind == Kind::argument) {
        value[i] = wordOf(arguments.at(static_cast<int>(i)));
        continue;
      }
      std::vector<Word> operands;
      for (const int a : n.args)
        operands.push_back(value[static_cast<std::size_t>(a)]);
      value[i] = n.evaluate(operands);
      if (n.known && value[i] != *n.known)
        return std::nullopt;
    }
    return value;
  }

private:
  std::map<std::string, int> index_;
  bool frozen_ = false;

  std::string describe(const Node& node) const {
    std::string text;
    for (const int i : node.args) {
      const Node& n = nodes[static_cast<std::size_t>(i)];
      text += n.known ? hex(fromWord<double>(*n.known)) + " " : n.name + " ";
    }
    return text;
  }
};

inline Node& nodeOf(int id) {
  return Recorder::get().nodes[static_cast<std::size_t>(id)];
}

} // namespace qelvm::proof

namespace qelvm {

/// A recorded value that is not a double: an integer, a pattern, the result of a test.
template <class T>
struct Whole {
  int id = -1;
  Whole() = default;
  Whole(T value) // NOLINT(google-explicit-constructor)
      : id(proof::Recorder::get().add(
            {proof::Kind::constant, "whole", {}, {}, proof::wordOf(value), false, {}, 0, false})) {}
  static Whole ofNode(int node) {
    Whole w;
    w.id = node;
    return w;
  }
  bool isKnown() const { return proof::nodeOf(id).known.has_value(); }
  /// A test in an `if` of a kernel.
  explicit operator bool() const requires std::is_same_v<T, bool> { return value(); }
  T value() const {
    const proof::Node& n = proof::nodeOf(id);
    if (!n.known)
      proof::fail("the case does not say what " + n.label + " is");
    return proof::fromWord<T>(*n.known);
  }
};

/// A recorded double.
struct Term {
  int id = -1;
  Term() = default;
  Term(double value) // NOLINT(google-explicit-constructor)
      : id(proof::Recorder::get().add(
            {proof::Kind::constant, "double", {}, {}, proof::wordOf(value), false, {}, 0, false})) {
  }
  static Term ofNode(int node) {
    Term t;
    t.id = node;
    return t;
  }
  static Term argument(const std::string& name) {
    return ofNode(proof::Recorder::get().add(
        {proof::Kind::argument, name, {}, {}, {}, false, name, 0, false}));
  }
  bool isKnown() const { return proof::nodeOf(id).known.has_value(); }
  double value() const { return proof::fromWord<double>(*proof::nodeOf(id).known); }
};

template <>
struct ElementTraits<Term> {
  static constexpr int count = 1;
  using Scalar = double;
  template <class U>
  using Rebind = std::conditional_t<std::is_same_v<U, double>, Term, Whole<U>>;
};
template <class T>
struct ElementTraits<Whole<T>> {
  static constexpr int count = 1;
  using Scalar = T;
  template <class U>
  using Rebind = std::conditional_t<std::is_same_v<U, double>, Term, Whole<U>>;
};

namespace proof {

template <class T>
struct RecordedOf {
  using Type = Whole<T>;
};
template <>
struct RecordedOf<double> {
  using Type = Term;
};
template <class R>
struct PlainOf {
  using Type = R;
};
template <class T>
struct PlainOf<Whole<T>> {
  using Type = T;
};
template <>
struct PlainOf<Term> {
  using Type = double;
};
template <class R>
using Plain = typename PlainOf<R>::Type;
template <class R>
inline constexpr bool isRecorded = !std::is_same_v<Plain<R>, R>;

/// A node `f(args)`, computed at once where all of these are known.
template <class Result, class... Plains, class F>
typename RecordedOf<Result>::Type recordNode(Kind kind, const std::string& label, F f,
                                             std::vector<int> args) {
  const auto evaluate = [f](const std::vector<Word>& operands) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      return wordOf<Result>(f(fromWord<Plains>(operands[I])...));
    }
    (std::index_sequence_for<Plains...>{});
  };
  bool known = true;
  std::vector<Word> operands;
  for (const int i : args) {
    known = known && nodeOf(i).known;
    operands.push_back(nodeOf(i).known.value_or(0));
  }
  if (known)
    return typename RecordedOf<Result>::Type(fromWord<Result>(evaluate(operands)));
  return RecordedOf<Result>::Type::ofNode(
      Recorder::get().add({kind, label, std::move(args), evaluate, {}, false, {}, 0, false}));
}
/// A step on bits of these operands.
template <class F, class... Operands>
auto step(const std::string& label, F f, const Operands&... operands) {
  using Result = decltype(f(std::declval<Plain<Operands>>()...));
  const auto node = [](const auto& o) {
    using O = std::remove_cvref_t<decltype(o)>;
    if constexpr (isRecorded<O>)
      return o.id;
    else
      return typename RecordedOf<O>::Type(o).id;
  };
  return recordNode<Result, Plain<Operands>...>(Kind::whole, label, f, {node(operands)...});
}

} // namespace proof

// ---- arithmetic ---------------------------------------------------------------------------------

namespace proof {
inline bool isKnownAs(const Term& t, double value) {
  return t.isKnown() && t.value() == value;
}
/// A rounded operation. (Sums with a known zero and products with one are their operand: exactly,
/// the sign of a zero aside, which the replay sees.)
template <class F>
Term rounded(const std::string& label, F f, const Term& a, const Term& b) {
  if ((label == "+" || label == "-") && isKnownAs(b, 0))
    return a;
  if (label == "+" && isKnownAs(a, 0))
    return b;
  if (label == "*" && (isKnownAs(a, 0) || isKnownAs(b, 0)))
    return Term(0.0);
  if (label == "*" && isKnownAs(a, 1))
    return b;
  if ((label == "*" || label == "/") && isKnownAs(b, 1))
    return a;
  return recordNode<double, double, double>(Kind::rounded, label, f, {a.id, b.id});
}
} // namespace proof

#define QELVM_TERM_OPERATOR(op)                                                                    \
  inline Term operator op(const Term& a, const Term& b) {                                          \
    return proof::rounded(                                                                         \
        #op, [](double x, double y) { return x op y; }, a, b);                                     \
  }
QELVM_TERM_OPERATOR(+)
QELVM_TERM_OPERATOR(-)
QELVM_TERM_OPERATOR(*)
QELVM_TERM_OPERATOR(/)
#undef QELVM_TERM_OPERATOR
inline Term operator-(const Term& a) {
  return proof::recordNode<double, double>(proof::Kind::negative, "neg",
                                           [](double x) { return -x; }, {a.id});
}

/// The rest of a sum: exact by Lemma Fast2Sum, or 2Sum (README.md).
inline Term sumError(const std::string& label, bool needsOrder, const Term& a, const Term& b,
                     const Term& s, double (*rest)(double, double)) {
  const Term error = proof::recordNode<double, double, double, double>(
      proof::Kind::sumError, label, [=](double x, double y, double) { return rest(x, y); },
      {a.id, b.id, s.id});
  if (!error.isKnown())
    proof::nodeOf(error.id).needsOrder = needsOrder;
  return error;
}
inline DoubleDoubleOf<Term> fastTwoSum(const Term& a, const Term& b) {
  if (proof::isKnownAs(a, 0) || proof::isKnownAs(b, 0))
    return {a + b, Term(0.0)};
  const Term s = a + b;
  return {s, sumError("fastTwoSum", true, a, b, s,
                      [](double x, double y) { return fastTwoSum<double, double>(x, y).lo; })};
}
inline DoubleDoubleOf<Term> twoSum(const Term& a, const Term& b) {
  if (proof::isKnownAs(a, 0) || proof::isKnownAs(b, 0))
    return {a + b, Term(0.0)};
  const Term s = a + b;
  return {s, sumError("twoSum", false, a, b, s,
                      [](double x, double y) { return twoSum<double, double>(x, y).lo; })};
}
#define QELVM_MIXED_SUM(name)                                                                      \
  inline DoubleDoubleOf<Term> name(double a, const Term& b) {                                      \
    return name(Term(a), b);                                                                       \
  }                                                                                                \
  inline DoubleDoubleOf<Term> name(const Term& a, double b) {                                      \
    return name(a, Term(b));                                                                       \
  }
QELVM_MIXED_SUM(fastTwoSum)
QELVM_MIXED_SUM(twoSum)
#undef QELVM_MIXED_SUM

/// A rest that a kernel writes out: (a - s) + b for s = a + b is that of a Fast2Sum.
inline Term asFastTwoSum(const Term& error) {
  proof::Node& n = proof::nodeOf(error.id);
  const proof::Node& difference = proof::nodeOf(n.args.at(0));
  const int a = difference.args.at(0), s = difference.args.at(1), b = n.args.at(1);
  if (n.label != "+" || difference.label != "-" || proof::nodeOf(s).label != "+" ||
      proof::nodeOf(s).args != std::vector{a, b})
    proof::fail("no Fast2Sum");
  n.kind = proof::Kind::sumError;
  n.args = {a, b, s};
  n.evaluate = [](const std::vector<proof::Word>& w) {
    const auto v = [&](std::size_t k) { return proof::fromWord<double>(w[k]); };
    return proof::wordOf((v(0) - v(2)) + v(1));
  };
  n.needsOrder = true;
  return error;
}

/// By Lemma Split: hi has 53 - k bits for a splitter of 2^k + 1 or 2^k; lo = x - hi exactly.
inline DoubleDoubleOf<Term> splitHiLo(const Term& x, double splitter) {
  int exponent = 0;
  if (std::frexp(splitter, &exponent) == 0.5 && exponent - 1 < 27)
    proof::fail("Lemma Split is not for this splitter: " + proof::hex(splitter));
  const auto label = "split by " + proof::hex(splitter);
  const Term hi = proof::recordNode<double, double>(
      proof::Kind::splitHigh, label, [=](double v) { return splitHiLo<double>(v, splitter).hi; },
      {x.id});
  const Term lo = proof::recordNode<double, double, double>(
      proof::Kind::splitLow, label + " lo", [](double v, double h) { return v - h; },
      {x.id, hi.id});
  if (!hi.isKnown())
    proof::nodeOf(hi.id).bits = 53 - (exponent - 1);
  return {hi, lo};
}

// ---- bits ---------------------------------------------------------------------------------------

#define QELVM_WHOLE_OPERATOR(op)                                                                   \
  template <class A, class B>                                                                      \
  requires((proof::isRecorded<A> || proof::isRecorded<B>)&&!std::is_same_v<A, Term> &&             \
           !std::is_same_v<B, Term>) inline auto                                                   \
  operator op(const A& a, const B& b) {                                                            \
    return proof::step(                                                                            \
        #op,                                                                                       \
        [](auto x, auto y) {                                                                       \
          return static_cast<std::common_type_t<decltype(x), decltype(y)>>(x op y);                \
        },                                                                                         \
        a, b);                                                                                     \
  }
#define QELVM_WHOLE_TEST(op)                                                                       \
  template <class A, class B>                                                                      \
  requires((proof::isRecorded<A> || proof::isRecorded<B>)&&!std::is_same_v<A, Term> &&             \
           !std::is_same_v<B, Term>) inline auto                                                   \
  operator op(const A& a, const B& b) {                                                            \
    return proof::step(                                                                            \
        #op, [](auto x, auto y) { return x op static_cast<decltype(x)>(y); }, a, b);               \
  }
#define QELVM_WHOLE_SHIFT(op)                                                                      \
  template <class A, class B>                                                                      \
  requires((proof::isRecorded<A> || proof::isRecorded<B>)&&!std::is_same_v<A, Term> &&             \
           !std::is_same_v<B, Term>) inline auto                                                   \
  operator op(const A& a, const B& b) {                                                            \
    return proof::step(                                                                            \
        #op, [](auto x, auto y) { return static_cast<decltype(x)>(x op y); }, a, b);               \
  }
QELVM_WHOLE_OPERATOR(+)
QELVM_WHOLE_OPERATOR(-)
QELVM_WHOLE_OPERATOR(*)
QELVM_WHOLE_OPERATOR(/)
QELVM_WHOLE_OPERATOR(&)
QELVM_WHOLE_OPERATOR(|)
QELVM_WHOLE_OPERATOR(^)
QELVM_WHOLE_SHIFT(<<)
QELVM_WHOLE_SHIFT(>>)
QELVM_WHOLE_TEST(<)
QELVM_WHOLE_TEST(>)
QELVM_WHOLE_TEST(<=)
QELVM_WHOLE_TEST(>=)
QELVM_WHOLE_TEST(==)
QELVM_WHOLE_TEST(!=)
#undef QELVM_WHOLE_OPERATOR
#undef QELVM_WHOLE_SHIFT
#undef QELVM_WHOLE_TEST
template <class T>
Whole<T> operator~(const Whole<T>& a) {
  return proof::step(
      "~", [](T x) { return static_cast<T>(~x); }, a);
}
template <class T>
Whole<T> operator-(const Whole<T>& a) {
  return proof::step(
      "minus", [](T x) { return static_cast<T>(-x); }, a);
}
inline Whole<bool> operator!(const Whole<bool>& a) {
  return proof::step(
      "!", [](bool x) { return !x; }, a);
}

inline Whole<std::uint64_t> bitsOf(const Term& x) {
  return proof::step(
      "bitsOf", [](double v) { return bitsOf(v); }, x);
}
inline Term fromBits(const Whole<std::uint64_t>& bits) {
  return proof::step(
      "fromBits", [](std::uint64_t b) { return fromBits(b); }, bits);
}
/// As bits.hpp and tables.hpp have them for one element.
#define QELVM_WHOLE_STEP(name, Operand)                                                            \
  inline auto name(const Operand& x) {                                                             \
    return proof::step(                                                                            \
        #name, [](proof::Plain<Operand> v) { return name(v); }, x);                                \
  }
QELVM_WHOLE_STEP(lowInteger, Whole<std::uint64_t>)
QELVM_WHOLE_STEP(lowBits, Whole<std::int32_t>)
QELVM_WHOLE_STEP(signedExponent, Whole<std::uint64_t>)
QELVM_WHOLE_STEP(fillWhereNegative, Whole<std::uint64_t>)
QELVM_WHOLE_STEP(fillWhereNonzero, Whole<std::int32_t>)
QELVM_WHOLE_STEP(exactDouble, Whole<std::int32_t>)
QELVM_WHOLE_STEP(truncated, Term)
QELVM_WHOLE_STEP(isNegative, Term)
QELVM_WHOLE_STEP(magnitude, Term)
QELVM_WHOLE_STEP(exponentField, Term)
QELVM_WHOLE_STEP(lowWord, Term)
QELVM_WHOLE_STEP(highWord, Term)
#undef QELVM_WHOLE_STEP
inline Term widened(const Term& x) {
  return x;
}

/// The pattern with another exponent, as one step; of a known field and pattern, a constant.
template <class I, class P>
requires((std::is_same_v<I, Whole<std::int32_t>> || std::is_same_v<P, Term>)) inline Term
    withExponent(const I& field, const P& pattern) {
  return proof::step(
      "withExponent",
      [](std::int32_t e, double p) { return withExponent<std::int32_t, double>(e, p); },
      Whole<std::int32_t>(field), Term(pattern));
}
template <class V, class S>
requires(std::is_same_v<S, Term> || std::is_same_v<V, Term>) inline Term
    copySign(const V& value, const S& sign) {
  return proof::step(
      "copySign", [](double v, double s) { return copySign<double, double>(v, s); }, Term(value),
      Term(sign));
}
template <class V, class S>
requires(std::is_same_v<S, Term> || std::is_same_v<V, Term>) inline Term
    flipSign(const V& value, const S& sign) {
  if (const Whole<bool> negative = isNegative(Term(sign)); negative.isKnown())
    return negative.value() ? -Term(value) : Term(value);
  return proof::step(
      "flipSign", [](double v, double s) { return flipSign<double, double>(v, s); }, Term(value),
      Term(sign));
}
template <class V, class S>
requires(std::is_same_v<S, Term> || std::is_same_v<V, Term>) inline Term
    whereNegative(const V& value, const S& sign) {
  if (const Whole<bool> negative = isNegative(Term(sign)); negative.isKnown())
    return negative.value() ? Term(value) : Term(0.0);
  return proof::step(
      "whereNegative", [](double v, double s) { return whereNegative<double, double>(v, s); },
      Term(value), Term(sign));
}
template <class V>
requires(std::is_same_v<V, Term>) inline Term
    selectWhereZero(const Whole<std::int32_t>& index, const V& whereZero, const V& value) {
  if (index.isKnown())
    return index.value() == 0 ? whereZero : value;
  return proof::step(
      "selectWhereZero", [](std::int32_t i, double a, double b) { return i == 0 ? a : b; }, index,
      whereZero, value);
}

inline bool allTrue(const Whole<bool>& test) {
  return test.value();
}
/// A choice that the case knows is the chosen one.
inline Term select(const Whole<bool>& test, const Term& where, const Term& elsewhere) {
  if (test.isKnown())
    return test.value() ? where : elsewhere;
  return proof::step(
      "select", [](bool t, double a, double b) { return t ? a : b; }, test, where, elsewhere);
}
template <class T>
Whole<T> select(const Whole<bool>& test, const Whole<T>& where, const Whole<T>& elsewhere) {
  if (test.isKnown())
    return test.value() ? where : elsewhere;
  return proof::step(
      "select", [](bool t, T a, T b) { return t ? a : b; }, test, where, elsewhere);
}

// ---- tables -------------------------------------------------------------------------------------

inline std::string place(const void* table) {
  char text[40];
  std::snprintf(text, sizeof text, "table %p", table);
  return text;
}
inline Term entryOf(const double* table, const Whole<std::int32_t>& index) {
  return proof::step(
      place(table), [=](std::int32_t i) { return entryOf(table, i); }, index);
}
template <class Row, class Field>
typename proof::RecordedOf<Field>::Type entryOf(const Row* table, const Whole<std::int32_t>& index,
                                                Field Row::*field) {
  return proof::step(
      place(&(table->*field)), [=](std::int32_t i) { return entryOf(table, i, field); }, index);
}
template <class Row, class Field, int N>
typename proof::RecordedOf<Field>::Type entryOf(const Row* table, const Whole<std::int32_t>& index,
                                                Field (Row::*field)[N], int k) {
  return proof::step(
      place(&(table->*field)[k]), [=](std::int32_t i) { return entryOf(table, i, field, k); },
      index);
}

// ---- scaling ------------------------------------------------------------------------------------

inline Term scaleTwoStep(const Term& r, const Whole<std::int32_t>& m) {
  return proof::step(
      "scaleTwoStep",
      [](double v, std::int32_t e) { return scaleTwoStep<double, std::int32_t>(v, e); }, r, m);
}

namespace proof {

/// Operand k of an operation: constants of a kernel are taken from its record.
inline Term operand(const Term& t, std::size_t k) {
  return Term::ofNode(nodeOf(t.id).args.at(k));
}

/// A result without the power of two that scales it.
inline Term unscaled(const Term& result) {
  if (result.isKnown() || nodeOf(result.id).label != "*" ||
      nodeOf(nodeOf(result.id).args[1]).label != "withExponent")
    fail("the result is not scaled by a power of two");
  return operand(result, 0);
}

/// The case supposes that a step has this value; those of its arguments that give it another belong
/// to other cases. To be called before the kernel computes it.
template <class T>
void suppose(const Whole<T>& whole, T value) {
  Node& n = nodeOf(whole.id);
  if (n.known && n.supposed == false && fromWord<T>(*n.known) != value)
    fail("a constant supposed to be another");
  n.known = wordOf(value);
  n.supposed = n.kind != Kind::constant;
}
inline void suppose(const Term& term, double value) {
  suppose(Whole<double>::ofNode(term.id), value);
}

} // namespace proof
} // namespace qelvm
